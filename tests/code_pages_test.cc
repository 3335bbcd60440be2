// layer: core
#include "lyrics/code_pages.h"

#include <gtest/gtest.h>

namespace vexolo {
namespace {

std::string Byte(int code) { return std::string(1, static_cast<char>(code)); }

std::string Converted(std::int16_t page, int code) {
  LyricCodePages pages;
  pages.set_forced(page);
  return pages.ConvertLyricText(Byte(code));
}

TEST(CodePages, NothingIsDetectedAtFirstAndPlainTextDecidesNothing) {
  LyricCodePages pages;
  EXPECT_EQ(-1, pages.detected());
  EXPECT_EQ(-1, pages.forced());
  pages.DetectCodePage("Hello");
  EXPECT_EQ(-1, pages.detected());
}

TEST(CodePages, EachProbeLetterCountsForItsPage) {
  const int probes[3][7] = {{224, 231, 233, 232, 234, 235, 249},
                            {133, 135, 130, 138, 136, 137, 151},
                            {136, 141, 142, 143, 144, 145, 157}};
  for (int page = 0; page < 3; ++page) {
    for (const int code : probes[page]) {
      LyricCodePages pages;
      pages.DetectCodePage(Byte(code));
      EXPECT_EQ(code == 136 ? 1 : page, pages.detected()) << code;
      EXPECT_EQ(1, pages.count(code == 136 ? 1 : page)) << code;
    }
  }
}

TEST(CodePages, Code136CountsForDosNotMacintosh) {
  LyricCodePages pages;
  pages.DetectCodePage("\x88");
  EXPECT_EQ(1, pages.count(kCodePageDos));
  EXPECT_EQ(0, pages.count(kCodePageMacintosh));
}

TEST(CodePages, EAcuteAsCode130IsDosAndShowsEAcuteAfterConversion) {
  LyricCodePages pages;
  pages.DetectCodePage("caf\x82");
  EXPECT_EQ(kCodePageDos, pages.detected());
  EXPECT_EQ("caf\xE9", pages.ConvertLyricText("caf\x82"));
}

TEST(CodePages, GreatestCountWinsAndTiesKeepTheLowerPage) {
  LyricCodePages pages;
  pages.DetectCodePage("\x8E\x8E\x82");
  EXPECT_EQ(kCodePageMacintosh, pages.detected());
  pages.DetectCodePage("\x82");
  EXPECT_EQ(kCodePageDos, pages.detected());
  pages.DetectCodePage("\xE9\xE9");
  EXPECT_EQ(kCodePageWindows, pages.detected());
}

TEST(CodePages, CountsAddUpOverTextsUntilTheReset) {
  LyricCodePages pages;
  pages.DetectCodePage("\x82");
  pages.DetectCodePage("plain");
  EXPECT_EQ(kCodePageDos, pages.detected());
  pages.DetectCodePage("*RAZ*");
  EXPECT_EQ(-1, pages.detected());
  for (int page = 0; page < 3; ++page) EXPECT_EQ(0, pages.count(page));
}

TEST(CodePages, UnknownHighCharacterAloneGivesNoPage) {
  LyricCodePages pages;
  pages.set_detected(kCodePageMacintosh);
  pages.DetectCodePage("\xFF");
  EXPECT_EQ(-1, pages.detected());
}

TEST(CodePages, CountersStopAtTheirLimitInsteadOfWrapping) {
  LyricCodePages pages;
  pages.DetectCodePage(std::string(40000, '\x82'));
  EXPECT_EQ(32767, pages.count(kCodePageDos));
  EXPECT_EQ(kCodePageDos, pages.detected());
}

TEST(CodePages, ForcedPageGoesBeforeTheDetectedOne) {
  LyricCodePages pages;
  pages.DetectCodePage("\x82");
  pages.set_forced(kCodePageWindows);
  EXPECT_EQ("\x82", pages.ConvertLyricText("\x82"));
  pages.set_forced(kCodePageMacintosh);
  EXPECT_EQ("\xC7", pages.ConvertLyricText("\x82"));
  pages.set_forced(-1);
  EXPECT_EQ("\xE9", pages.ConvertLyricText("\x82"));
}

TEST(CodePages, AForcedPageWithoutATableLeavesTheTextAlone) {
  EXPECT_EQ("\x82", Converted(4, 0x82));
  EXPECT_EQ("\x82", Converted(32767, 0x82));
}

TEST(CodePages, Utf8IsNeverDetectedButCanBeForced) {
  LyricCodePages pages;
  pages.DetectCodePage("d\xC3\xA9j\xC3\xA0");
  EXPECT_EQ(-1, pages.detected());
  pages.set_forced(kCodePageUtf8);
  EXPECT_EQ("d\xE9j\xE0", pages.ConvertLyricText("d\xC3\xA9j\xC3\xA0"));
  EXPECT_EQ("c\x9Cur \x80", pages.ConvertLyricText("c\xC5\x93ur \xE2\x82\xAC"));
  EXPECT_EQ("", pages.ConvertLyricText(""));
}

TEST(CodePages, WhatUtf8CannotShowBecomesAQuestionMark) {
  LyricCodePages pages;
  pages.set_forced(kCodePageUtf8);
  EXPECT_EQ("a?b", pages.ConvertLyricText("a\xD0\x96"
                                          "b"));  // a letter without a place
  EXPECT_EQ("a?b", pages.ConvertLyricText("a\x82"
                                          "b"));     // no UTF-8
  EXPECT_EQ("a?", pages.ConvertLyricText("a\xC3"));  // cut in the middle
  EXPECT_EQ("ab", pages.ConvertLyricText("\xEF\xBB\xBF"
                                         "a\xEF\xBB\xBF"
                                         "b"));
}

TEST(CodePages, ConversionsAreAppended) {
  LyricCodePages pages;
  for (std::int16_t page = -1; page <= 3; ++page) {
    pages.set_forced(page);
    std::string text = "one ";
    pages.AppendConverted("two", text);
    EXPECT_EQ("one two", text);
  }
}

TEST(CodePages, CharactersBelow128AreCopied) {
  for (int page = 0; page < 3; ++page) {
    for (int code = 0; code < 128; ++code) {
      ASSERT_EQ(Byte(code), Converted(static_cast<std::int16_t>(page), code));
    }
  }
}

TEST(CodePages, DosLettersAndLookAlikes) {
  const struct {
    int dos, windows;
  } kPairs[] = {{0x80, 0xC7}, {0x85, 0xE0}, {0x87, 0xE7}, {0x82, 0xE9}, {0x8A, 0xE8}, {0x88, 0xEA},
                {0x89, 0xEB}, {0x97, 0xF9}, {0x9D, 0xD8}, {0x9F, 0x83}, {0xB5, 0xC1}, {0xE1, 0xDF},
                {0xFF, 0xA0}, {0xF5, 0xA7}, {0xB3, 0xA6}, {0xC5, '+'},  {0xC4, '-'},  {0xDB, '_'}};
  for (const auto& pair : kPairs) EXPECT_EQ(Byte(pair.windows), Converted(1, pair.dos)) << pair.dos;
}

TEST(CodePages, MacintoshLettersAndLookAlikes) {
  const struct {
    int mac, windows;
  } kPairs[] = {{0x80, 0xC4}, {0x88, 0xE0}, {0x8D, 0xE7}, {0x8E, 0xE9}, {0x8F, 0xE8}, {0x90, 0xEA},
                {0x91, 0xEB}, {0x9D, 0xF9}, {0xCF, 0x9C}, {0xD2, 0x93}, {0xC9, 0x85}, {0xB0, '8'},
                {0xB2, '='},  {0xB3, '='},  {0xB9, 'p'},  {0xBD, 'O'},  {0xC3, 'v'},  {0xDA, '/'},
                {0xF5, 'i'},  {0xAD, '?'},  {0xB7, '?'},  {0xD7, '?'},  {0xDE, '?'},  {0xF0, '?'}};
  for (const auto& pair : kPairs) EXPECT_EQ(Byte(pair.windows), Converted(2, pair.mac)) << pair.mac;
}

TEST(CodePages, TablesHoldOnlyCharactersThatWindowsCanShow) {
  for (int page = 1; page < 3; ++page) {
    for (int code = 128; code < 256; ++code) {
      const auto out =
          static_cast<unsigned char>(Converted(static_cast<std::int16_t>(page), code)[0]);
      EXPECT_GE(out, 32);
      for (const int hole : {0x81, 0x8D, 0x8F, 0x90, 0x9D, 0x7F}) EXPECT_NE(hole, out) << code;
    }
  }
}

}  // namespace
}  // namespace vexolo
