// layer: core
#include "mixer/sound_font_info.h"

#include <chrono>
#include <sstream>

#include <gtest/gtest.h>

#include "fakes/fake_bass.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "small_bank.h"

namespace vexolo {
namespace {

using Box = FakeMessageBoxes::Box;
using engine::Chunk;
using engine::DoubleWord;
using engine::Pair;
using engine::SmallBank;

SoundFontInfo Read(const std::string& bytes) {
  std::istringstream file(bytes);
  return ReadSoundFontInfo(file);
}

std::string ProblemOf(const std::string& bytes) {
  const SoundFontInfo info = Read(bytes);
  return info.problem == nullptr ? "" : info.problem;
}

std::string Bank(const std::string& contents) { return Chunk("RIFF", "sfbk" + contents); }
std::string InfoList(const std::string& contents) { return Chunk("LIST", "INFO" + contents); }

TEST(SoundFontInfo, VersionAndEngineOfABank) {
  SmallBank bank;
  bank.info[0].second = Pair(2, 304);
  const SoundFontInfo info = Read(bank.Bytes());
  EXPECT_EQ(info.problem, nullptr);
  EXPECT_EQ(info.major, 2);
  EXPECT_EQ(info.minor, 304);
  EXPECT_EQ(info.engine, "EMU8000");
  EXPECT_EQ(SoundFontInfoText(info), "EMU8000\nVersion 2.304");
}

TEST(SoundFontInfo, TheVersionIsTwoUnsignedWords) {
  const SoundFontInfo info =
      Read(Bank(InfoList(Chunk("ifil", "\xFF\xFF\x01\x80") + Chunk("isng", "x"))));
  EXPECT_EQ(info.major, 65535);
  EXPECT_EQ(info.minor, 32769);
}

TEST(SoundFontInfo, ARealBank) {
  const SoundFontInfo info = ReadSoundFontInfo(std::string(VEXOLO_TEST_BANK));
  EXPECT_EQ(info.problem, nullptr);
  EXPECT_EQ(info.major, 2);
  EXPECT_FALSE(info.engine.empty());
}

TEST(SoundFontInfo, AnotherKindOfFileIsNoBank) {
  const char* kNoBank = "No soundfont bank found!";
  EXPECT_EQ(ProblemOf(Chunk("RIFF", "WAVE" + Chunk("fmt ", std::string(16, '\1')))), kNoBank);
  EXPECT_EQ(ProblemOf(""), kNoBank);
  EXPECT_EQ(ProblemOf("RIFF"), kNoBank);
  EXPECT_EQ(ProblemOf("RIFF\x04"), kNoBank);
  EXPECT_EQ(ProblemOf(std::string("RIFF\x04\0\0\0sfb", 11)), kNoBank);
  EXPECT_EQ(ProblemOf(Chunk("LIST", "sfbk")), kNoBank);
  EXPECT_EQ(ProblemOf(std::string(5000, 'x')), kNoBank);
}

TEST(SoundFontInfo, AFileThatCannotBeReadIsNoBank) {
  const TemporaryFolder folder;
  EXPECT_STREQ(ReadSoundFontInfo(folder / "missing.sf2").problem, "No soundfont bank found!");
  EXPECT_STREQ(ReadSoundFontInfo(folder.path()).problem, "No soundfont bank found!");
  EXPECT_STREQ(ReadSoundFontInfo(std::string()).problem, "No soundfont bank found!");
}

TEST(SoundFontInfo, TheMissingLevelIsNamed) {
  const std::string version = Chunk("ifil", Pair(2, 1));
  EXPECT_EQ(ProblemOf(Bank("")), "No LIST chunk found!");
  EXPECT_EQ(ProblemOf(Bank(Chunk("data", "xx"))), "No LIST chunk found!");
  EXPECT_EQ(ProblemOf(Bank(InfoList(""))), "No ifil chunk found!");
  EXPECT_EQ(ProblemOf(Bank(InfoList(Chunk("INAM", "Piano")))), "No ifil chunk found!");
  EXPECT_EQ(ProblemOf(Bank(InfoList(version))), "No isng chunk found!");
  EXPECT_EQ(ProblemOf(Bank(InfoList(version + Chunk("INAM", "Piano")))), "No isng chunk found!");
  EXPECT_EQ(ProblemOf(Bank(InfoList(version + Chunk("isng", "E-mu")))), "");
}

TEST(SoundFontInfo, TheVersionWasReadWhereOnlyTheEngineIsMissing) {
  SmallBank bank;
  bank.info.erase(bank.info.begin() + 1);
  const SoundFontInfo info = Read(bank.Bytes());
  EXPECT_STREQ(info.problem, "No isng chunk found!");
  EXPECT_EQ(info.major, 2);
  EXPECT_EQ(info.minor, 1);
}

TEST(SoundFontInfo, ChunksInBetweenArePassedOver) {
  const std::string junk = Chunk("JUNK", "odd");  // of an odd length
  const SoundFontInfo info =
      Read(junk + Chunk("RIFF", "WAVE") +
           Bank(junk + InfoList(junk + Chunk("ifil", Pair(1, 2)) + junk + Chunk("isng", "abc"))));
  EXPECT_EQ(info.problem, nullptr);
  EXPECT_EQ(SoundFontInfoText(info), "abc\nVersion 1.2");
}

TEST(SoundFontInfo, OnlyTheFirstListIsLookedInto) {
  EXPECT_EQ(ProblemOf(Bank(Chunk("LIST", "sdta") +
                           InfoList(Chunk("ifil", Pair(2, 1)) + Chunk("isng", "abc")))),
            "No ifil chunk found!");
}

TEST(SoundFontInfo, TheEngineIsLookedForBehindTheVersion) {
  EXPECT_EQ(ProblemOf(Bank(InfoList(Chunk("isng", "abc") + Chunk("ifil", Pair(2, 1))))),
            "No isng chunk found!");
}

TEST(SoundFontInfo, WhatStandsBehindTheListDoesNotBelongToIt) {
  EXPECT_EQ(ProblemOf(Bank(InfoList("") + Chunk("ifil", Pair(2, 1)))), "No ifil chunk found!");
  EXPECT_EQ(ProblemOf(Bank(InfoList(Chunk("ifil", Pair(2, 1))) + Chunk("isng", "abc"))),
            "No isng chunk found!");
  EXPECT_EQ(ProblemOf(Bank("") + InfoList(Chunk("ifil", Pair(2, 1)))), "No LIST chunk found!");
}

TEST(SoundFontInfo, SizesBeyondTheFileAreHarmless) {
  const std::string huge = "\xFF\xFF\xFF\xFF";
  EXPECT_EQ(ProblemOf("junk" + huge + Bank("")), "No soundfont bank found!");
  EXPECT_EQ(ProblemOf(Bank("junk" + huge)), "No LIST chunk found!");
  const SoundFontInfo info = Read("RIFF" + huge + "sfbk" + "LIST" + huge + "INFO" +
                                  Chunk("ifil", Pair(2, 1)) + "isng" + huge + "abc");
  EXPECT_EQ(info.problem, nullptr);
  EXPECT_EQ(info.engine, "abc");
}

TEST(SoundFontInfo, MissingBytesCountAsZero) {
  const SoundFontInfo info = Read(Bank(InfoList(Chunk("ifil", "\x02") + Chunk("isng", ""))));
  EXPECT_EQ(SoundFontInfoText(info), "\nVersion 2.0");
}

TEST(SoundFontInfo, TheEngineIsShownAsText) {
  const auto engine_of = [](const std::string& bytes) {
    return Read(Bank(InfoList(Chunk("ifil", Pair(2, 1)) + Chunk("isng", bytes)))).engine;
  };
  EXPECT_EQ(engine_of("caf\xE9"), "café");
  EXPECT_EQ(engine_of("café"), "café");
  EXPECT_EQ(engine_of(std::string("abc\0def", 7)), "abc");
  EXPECT_EQ(engine_of(std::string(5000, 'x')).size(), 1024u);
}

TEST(SoundFontInfo, AFileOfEmptyChunksIsGivenUpSoon) {
  const std::string bytes(64u << 20, '\0');
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(ProblemOf(bytes), "No soundfont bank found!");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
}

class SoundFontInfoBoxesTest : public testing::Test {
 protected:
  void Show() { ShowSoundFontInfo(bass_.api(), audio_, boxes_, "Informations"); }

  TemporaryFolder folder_;
  FakeBass bass_;
  AudioState audio_;
  FakeMessageBoxes boxes_;
};

TEST_F(SoundFontInfoBoxesTest, TheListingNamesTheFontAndTheEntriesOfTheStream) {
  audio_.font = bass_.AddFont({});
  audio_.stream = bass_.AddStream({});
  bass_.stream(audio_.stream).fonts = {{101, -1, 0}, {7, 12, 128}};
  EXPECT_EQ(FontListing(bass_.api(), audio_), "font_=101\n font=101 -001 000\n font=7 012 128\n");
}

TEST_F(SoundFontInfoBoxesTest, WithoutAStreamTheDefaultEntriesAreListed) {
  const bass::BASS_MIDI_FONT entry = {bass_.AddFont({}), -1, 0};
  audio_.font = entry.font;
  bass_.api().BASS_MIDI_StreamSetFonts(0, &entry, 1);
  EXPECT_EQ(FontListing(bass_.api(), audio_), "font_=101\n font=101 -001 000\n");
}

TEST_F(SoundFontInfoBoxesTest, WithoutAFontTheListingIsOneLine) {
  EXPECT_EQ(FontListing(bass_.api(), audio_), "font_=0\n");
  bass_.Fail("BASS_MIDI_StreamGetFonts", 5);
  EXPECT_EQ(FontListing(bass_.api(), audio_), "font_=0\n");
}

TEST_F(SoundFontInfoBoxesTest, ListingThenVersion) {
  audio_.font_path = folder_.Write("small.sf2", SmallBank().Bytes());
  Show();
  EXPECT_EQ(boxes_.shown, (std::vector<Box>{
                              {"font_=0\n", "Informations", BoxIcon::kInformation},
                              {"EMU8000\nVersion 2.1", "Informations", BoxIcon::kNone},
                          }));
}

TEST_F(SoundFontInfoBoxesTest, AProblemIsCritical) {
  audio_.font_path = folder_.Write("song.wav", Chunk("RIFF", "WAVE"));
  Show();
  ASSERT_EQ(boxes_.shown.size(), 2u);
  EXPECT_EQ(boxes_.shown[1], (Box{"No soundfont bank found!", "Informations", BoxIcon::kCritical}));
  SmallBank bank;
  bank.info.erase(bank.info.begin() + 1);
  audio_.font_path = folder_.Write("no_engine.sf2", bank.Bytes());
  Show();
  EXPECT_EQ(boxes_.shown.back().text, "No isng chunk found!");
  EXPECT_EQ(boxes_.shown.size(), 4u);
}

TEST_F(SoundFontInfoBoxesTest, TheFileIsClosedAfterwards) {
  audio_.font_path = folder_.Write("small.sf2", SmallBank().Bytes());
  Show();
  std::size_t open = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    if (std::filesystem::read_symlink(entry, error) == audio_.font_path) ++open;
  }
  EXPECT_EQ(open, 0u);
}

}  // namespace
}  // namespace vexolo
