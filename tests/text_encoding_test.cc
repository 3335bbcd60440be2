// layer: core
#include "platform/text_encoding.h"

#include <gtest/gtest.h>

namespace vexolo {
namespace {

TEST(TextEncoding, TellsValidUtf8) {
  EXPECT_TRUE(IsValidUtf8(""));
  EXPECT_TRUE(IsValidUtf8("Année €\xF0\x9F\x8E\xA4"));
  EXPECT_TRUE(IsValidUtf8(std::string_view("\0a", 2)));
  for (const char* bad :
       {"\x80", "\xC3", "\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80",
        "\xF5\x80\x80\x80", "\xE2\x82", "a\xFF", "\xE9t\xE9"}) {
    EXPECT_FALSE(IsValidUtf8(bad)) << bad;
  }
}

TEST(TextEncoding, EveryWindows1252CodeSurvivesTheWayToUtf8AndBack) {
  for (int code = 0; code < 256; ++code) {
    const std::string byte(1, static_cast<char>(code));
    const std::string text = Utf8FromWindows1252(byte);
    EXPECT_TRUE(IsValidUtf8(text)) << code;
    EXPECT_EQ(CountCharacters(text), 1u) << code;
    EXPECT_EQ(Windows1252FromUtf8(text), byte) << code;
  }
}

TEST(TextEncoding, MapsTheCodesOutsideLatin1) {
  EXPECT_EQ(Utf8FromWindows1252("\x80\x85\x8C\x9C\x92\x9F\xE9"), "€…Œœ’Ÿé");
  EXPECT_EQ(Utf8FromWindows1252("\x81\x8D\x8F\x90\x9D"), "\u0081\u008D\u008F\u0090\u009D");
}

TEST(TextEncoding, CharactersWithoutAPlaceInWindows1252AreReported) {
  EXPECT_FALSE(Windows1252FromUtf8("č"));
  EXPECT_FALSE(Windows1252FromUtf8("\u0080"));  // its place is taken by the euro sign
  EXPECT_FALSE(Windows1252FromUtf8("\xE9"));
  EXPECT_EQ(Windows1252FromUtf8OrReplace("ačé\xF0\x9F\x8E\xA4"), "a?\xE9?");
  EXPECT_EQ(Windows1252FromUtf8OrReplace("\xFFz", '_'), "_z");
}

TEST(TextEncoding, DecodesUtf8ElseWindows1252AndTakesOffTheByteOrderMark) {
  EXPECT_EQ(DecodeText("Année").text, "Année");
  EXPECT_EQ(DecodeText("Année").encoding, TextEncoding::kUtf8);
  EXPECT_EQ(DecodeText("Ann\xE9"
                       "e")
                .text,
            "Année");
  EXPECT_EQ(DecodeText("Ann\xE9").encoding, TextEncoding::kWindows1252);
  const DecodedText marked = DecodeText("\xEF\xBB\xBFx");
  EXPECT_EQ(marked.text, "x");
  EXPECT_TRUE(marked.has_byte_order_mark);
  EXPECT_FALSE(DecodeText("x").has_byte_order_mark);
}

TEST(TextEncoding, WhatIsEncodedIsDecodedAgain) {
  EXPECT_EQ(EncodeText("é", TextEncoding::kWindows1252), "\xE9");
  EXPECT_EQ(EncodeText("é", TextEncoding::kUtf8), "é");
  EXPECT_EQ(EncodeText("éč", TextEncoding::kWindows1252), "éč");
  EXPECT_EQ(EncodeText("Ã©", TextEncoding::kWindows1252), "Ã©");  // else it would be read as "é"
  EXPECT_EQ(EncodeText("plain", TextEncoding::kWindows1252), "plain");
}

TEST(TextEncoding, FoldsAccentedLettersButNotSigns) {
  EXPECT_EQ(FoldCase("ANNÉE"), "année");
  EXPECT_EQ(FoldCase("ÀÖØÞŒŠŽŸ"), "àöøþœšžÿ");
  EXPECT_EQ(FoldCase("×÷ß€[@`{1"), "×÷ß€[@`{1");
  EXPECT_EQ(FoldCase("A\xC9Z\xFF"), "a\xC9z\xFF");  // not UTF-8: only what is understood
}

TEST(TextEncoding, CountsAndCutsCharactersNotBytes) {
  EXPECT_EQ(CountCharacters(""), 0u);
  EXPECT_EQ(CountCharacters("é€\xF0\x9F\x8E\xA4z"), 4u);
  EXPECT_EQ(CutToCharacters("é€z", 2), "é€");
  EXPECT_EQ(CutToCharacters("é€z", 0), "");
  EXPECT_EQ(CutToCharacters("é€z", 3), "é€z");
  EXPECT_EQ(CutToCharacters("é€z", 9), "é€z");
}

}  // namespace
}  // namespace vexolo
