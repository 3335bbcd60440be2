// layer: core
#include "convert/lyrics_file.h"

#include <chrono>
#include <filesystem>

#include <gtest/gtest.h>

#include "fakes/fake_bass.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

using namespace bass;

class LyricsFileTest : public ::testing::Test {
 protected:
  LyricsFileTest() {
    song_.length = 100 * FakeBass::kBytesPerSecond;
    options_.lyric_track = 1;
    options_.mark_type = BASS_MIDI_MARK_LYRIC;
  }

  void Mark(double seconds, const std::string& text, DWORD track = 1) {
    song_.marks[BASS_MIDI_MARK_LYRIC].push_back(
        {track, static_cast<DWORD>(seconds * FakeBass::kBytesPerSecond), text});
  }

  std::string File() { return LyricsFileText(fake_.api(), fake_.AddStream(song_), options_); }

  FakeBass fake_;
  FakeBass::Song song_;
  LyricsFileOptions options_;
};

// ---- Layout

TEST_F(LyricsFileTest, SyllablesKeepTheirSpacesAndGetTheirTimes) {
  Mark(0.5, "Hel");
  Mark(0.75, "lo ");
  Mark(1, "world");
  EXPECT_EQ("Hel;0,5000;lo ;0,7500;world;1,0000;", File());
}

TEST_F(LyricsFileTest, TimesHaveFourDecimalsAndALeadingZero) {
  Mark(0, "a");
  Mark(4 / 176400.0, "b");
  Mark(99.99, "c");
  EXPECT_EQ("a;0,0000;b;0,0000;c;99,9900;", File());
}

TEST_F(LyricsFileTest, SongWithoutLyricMarksGivesAnEmptyFile) {
  EXPECT_EQ("", File());
  Mark(1, "a");
  options_.lyric_track = -1;
  EXPECT_EQ("", File());
}

TEST_F(LyricsFileTest, OnlyMarksOfTheLyricsTrackAndTypeAreTaken) {
  Mark(1, "other", 0);
  Mark(2, "a");
  song_.marks[BASS_MIDI_MARK_TEXT].push_back({1, 176400, "text"});
  EXPECT_EQ("a;2,0000;", File());
  options_.mark_type = BASS_MIDI_MARK_TEXT;
  EXPECT_EQ("text;1,0000;", File());
}

TEST_F(LyricsFileTest, SlashBeginsALineExceptAtTheStart) {
  Mark(1, "/a");
  Mark(2, "/b");
  EXPECT_EQ("a;1,0000;\r\nb;2,0000;", File());
}

TEST_F(LyricsFileTest, BackslashGivesALineHoldingASingleSpace) {
  Mark(1, "\\a");
  Mark(2, "\\b");
  EXPECT_EQ("a;1,0000;\r\n \r\nb;2,0000;", File());
}

TEST_F(LyricsFileTest, HeadersAreLeftOut) {
  Mark(0, "@TTitle");
  Mark(0, "@");
  Mark(1, "/a");
  EXPECT_EQ("a;1,0000;", File());
}

TEST_F(LyricsFileTest, OnlyTheFirstCharacterMakesAHeaderOrALine) {
  Mark(1, "a@/\\");
  Mark(2, "/@b");
  EXPECT_EQ("a@/\\;1,0000;\r\n@b;2,0000;", File());
}

TEST_F(LyricsFileTest, EmptyAndBlankSyllablesAreEntriesToo) {
  Mark(1, "a");
  Mark(2, "");
  Mark(3, "/");
  Mark(4, " ");
  EXPECT_EQ("a;1,0000;;2,0000;\r\n;3,0000; ;4,0000;", File());
}

// ---- Cleaning

TEST_F(LyricsFileTest, SemicolonBecomesASpaceSoThatEntriesStaySeparable) {
  Mark(1, "a;b;");
  EXPECT_EQ("a b ;1,0000;", File());
}

TEST_F(LyricsFileTest, EveryFormOfLineBreakInsideBecomesCrLf) {
  Mark(1, "a\r\nb\nc\rd\n\re");
  EXPECT_EQ("a\r\nb\r\nc\r\nd\r\n\r\ne;1,0000;", File());
}

TEST_F(LyricsFileTest, LineBreaksAtTheEndAreRemoved) {
  Mark(1, "a\n");
  Mark(2, "b\r\n\r\n\r");
  Mark(3, "\n");
  EXPECT_EQ("a;1,0000;b;2,0000;;3,0000;", File());
}

TEST_F(LyricsFileTest, TheInternalMarkerNeverReachesTheFile) {
  Mark(1,
       "a\xA7\xB5"
       "b\xA7\xB5");
  Mark(2, "\xA7");
  EXPECT_EQ("a\r\nb;1,0000;\xA7;2,0000;", File());
}

TEST_F(LyricsFileTest, SyllablesThatAreNotBlankPassThroughTheConversion) {
  std::vector<std::string> seen;
  options_.convert = [&seen](std::string_view text) {
    seen.emplace_back(text);
    return std::string("<").append(text).append(">");
  };
  Mark(1, "/caf\x82;\n");
  Mark(2, "  ");
  Mark(3, "\n");
  EXPECT_EQ("<caf\x82 >;1,0000;  ;2,0000;;3,0000;", File());
  EXPECT_EQ(std::vector<std::string>{"caf\x82 "}, seen);
}

// ---- Markers

TEST_F(LyricsFileTest, TimesCountFromTheStartMarker) {
  options_.markers = {2.25, 0, true};
  Mark(12.5, "a");
  EXPECT_EQ("a;10,2500;", File());
}

TEST_F(LyricsFileTest, MarksBeforeTheStartMarkerAreNotWrittenNorAreTheirBreaks) {
  options_.markers = {2, 0, true};
  Mark(1, "a");
  Mark(1.5, "/b");
  Mark(2, "/c");
  Mark(3, "/d");
  EXPECT_EQ("c;0,0000;\r\nd;1,0000;", File());
}

TEST_F(LyricsFileTest, MarksBeyondTheEndMarkerAreNotWritten) {
  options_.markers = {0, 2, true};
  Mark(1, "a");
  Mark(2, "b");
  Mark(2.5, "c");
  EXPECT_EQ("a;1,0000;b;2,0000;", File());
}

TEST_F(LyricsFileTest, EndMarkerIsATimeOfTheSongNotOfTheFile) {
  options_.markers = {5, 10, true};
  Mark(6, "a");
  Mark(9, "b");
  Mark(11, "c");
  EXPECT_EQ("a;1,0000;b;4,0000;", File());
}

TEST_F(LyricsFileTest, MarkersThatAreOffOrNotInForceDropNothing) {
  Mark(1, "a");
  Mark(50, "b");
  const std::string all = "a;1,0000;b;50,0000;";
  const Markers not_in_force[] = {{2, 40, false}, {0, 0, true},   {100, 0, true},
                                  {500, 0, true}, {0, 100, true}, {-3, -2, true}};
  for (const Markers& markers : not_in_force) {
    options_.markers = markers;
    EXPECT_EQ(all, File()) << markers.start << ' ' << markers.end;
  }
}

TEST_F(LyricsFileTest, EndMarkerBeforeTheStartMarkerDropsNothingAfterTheStart) {
  options_.markers = {20, 10, true};
  Mark(1, "a");
  Mark(50, "b");
  EXPECT_EQ("b;30,0000;", File());
}

TEST_F(LyricsFileTest, MarkersActAtTheTypedTimeWhateverTheSpeed) {
  options_.speed_factor = 2;
  options_.markers = {StoredTime(30, 2), StoredTime(60, 2), true};
  Mark(20, "a");
  Mark(31, "b");
  Mark(61, "c");
  EXPECT_EQ("b;1,0000;", File());
}

TEST_F(LyricsFileTest, PositionsAreThoseOfTheTempoInForce) {
  song_.rescale_on_tempo = true;
  Mark(1, "a");
  const HSTREAM stream = fake_.AddStream(song_);
  fake_.api().BASS_MIDI_StreamEvent(stream, 0, MIDI_EVENT_TEMPO, 1000000);
  EXPECT_EQ("a;2,0000;", LyricsFileText(fake_.api(), stream, options_));
}

// ---- Line length

TEST_F(LyricsFileTest, TooLongALineIsBrokenAtTheLastSpaceInsideASyllable) {
  options_.max_length = 20;
  Mark(1, "one two");  // "one two;1,0000;" holds 15 characters
  Mark(2, "three");    // just 20
  EXPECT_EQ("one two;1,0000;three;2,0000;", File());
  options_.max_length = 19;
  EXPECT_EQ("one\r\ntwo;1,0000;three;2,0000;", File());
}

TEST_F(LyricsFileTest, SpaceBesideASeparatorDoesNotBreakTheLine) {
  options_.max_length = 10;
  Mark(1, "one ");
  Mark(2, "two");
  EXPECT_EQ("one ;1,0000;two;2,0000;", File());
  song_.marks.clear();
  Mark(1, "one");
  Mark(2, " two");
  Mark(3, "three");
  EXPECT_EQ("one;1,0000; two;2,0000;three;3,0000;", File());
}

TEST_F(LyricsFileTest, OnlyTheVeryLastSpaceIsLookedAt) {
  options_.max_length = 10;
  Mark(1, "a b ");
  Mark(2, "c");
  EXPECT_EQ("a b ;1,0000;c;2,0000;", File());
}

TEST_F(LyricsFileTest, SpaceAtTheStartOfTheLineBreaksIt) {
  options_.max_length = 5;
  Mark(1, " a");
  Mark(2, "b");
  EXPECT_EQ("\r\na;1,0000;b;2,0000;", File());
}

TEST_F(LyricsFileTest, ALineThatIsBrokenCountsFromItsNewStart) {
  options_.max_length = 20;
  Mark(1, "aa bb");
  Mark(2, "cc dd");  // 13 + 5 characters
  Mark(3, "ee");     // 26 + 2: broken in "cc dd"
  Mark(4, "ff gg");  // "dd;2,0000;ee;3,0000;" + 5, no space left in it
  Mark(5, "hh");     // broken in "ff gg"
  EXPECT_EQ("aa bb;1,0000;cc\r\ndd;2,0000;ee;3,0000;ff\r\ngg;4,0000;hh;5,0000;", File());
}

TEST_F(LyricsFileTest, LineBreakInsideASyllableStartsANewLineForTheCount) {
  options_.max_length = 20;
  Mark(1, "a b\nc");
  Mark(2, "0123456789");
  EXPECT_EQ("a b\r\nc;1,0000;0123456789;2,0000;", File());
  options_.max_length = 5;
  EXPECT_EQ("a b\r\nc;1,0000;0123456789;2,0000;", File());
}

TEST_F(LyricsFileTest, ParagraphAndLineBreaksStartANewLineForTheCount) {
  options_.max_length = 12;
  Mark(1, "a b");
  Mark(2, "\\cd");
  Mark(3, "/ef");
  EXPECT_EQ("a b;1,0000;\r\n \r\ncd;2,0000;\r\nef;3,0000;", File());
}

TEST_F(LyricsFileTest, EmptySyllableAndNoLimitBreakNothing) {
  options_.max_length = 5;
  Mark(1, "a b");
  Mark(2, "");
  EXPECT_EQ("a b;1,0000;;2,0000;", File());
  options_.max_length = 0;
  Mark(3, "c");
  EXPECT_EQ("a b;1,0000;;2,0000;c;3,0000;", File());
}

/// The rule as it is said: the whole current line scanned anew for each syllable.
std::string BreakByTheRule(const std::vector<std::string>& syllables, std::size_t max_length) {
  std::string out;
  for (const std::string& syllable : syllables) {
    const std::size_t last_break = out.rfind("\r\n");
    const std::size_t start = last_break == std::string::npos ? 0 : last_break + 2;
    bool in_syllable = true;
    std::size_t space = std::string::npos;
    for (std::size_t i = start; i < out.size(); ++i) {
      if (out[i] == ';') in_syllable = !in_syllable;
      if (out[i] == ' ' && in_syllable) space = i;
    }
    const bool too_long = out.size() - start + syllable.size() > max_length;
    if (!syllable.empty() && too_long && space != std::string::npos &&
        (space == start || out[space - 1] != ';') &&
        (space + 1 == out.size() || out[space + 1] != ';')) {
      out.replace(space, 1, "\r\n");
    }
    out += syllable + ";0,0000;";
  }
  return out;
}

TEST_F(LyricsFileTest, BreaksAreThoseOfScanningTheWholeLineForEachSyllable) {
  std::uint32_t random = 1;
  for (int round = 0; round < 200; ++round) {
    song_.marks.clear();
    std::vector<std::string> syllables;
    for (int i = 0; i < 30; ++i) {
      std::string text;
      random = random * 1664525 + 1013904223;
      for (std::uint32_t n = random >> 16 & 7; n > 0; --n) {
        random = random * 1664525 + 1013904223;
        text += (random >> 20) % 3 == 0 ? ' ' : 'x';
      }
      syllables.push_back(text);
      Mark(0, text);
    }
    options_.max_length = 10 + round % 50;
    ASSERT_EQ(BreakByTheRule(syllables, static_cast<std::size_t>(options_.max_length)), File());
  }
}

TEST_F(LyricsFileTest, ASongOnOneEndlessLineTakesNoQuadraticTime) {
  for (int i = 0; i < 20000; ++i) Mark(0, "syllable");
  options_.max_length = 40;
  const auto start = std::chrono::steady_clock::now();
  const std::string text = File();
  const auto spent = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(20000u * 16, text.size());
  EXPECT_LT(spent, std::chrono::seconds(2));
}

// ---- Writing

TEST(LyricsFileWriting, ReplacesAnExistingFileByteForByte) {
  TemporaryFolder folder;
  const std::string path = folder.Write("song.kok", std::string(1000, 'x'));
  EXPECT_FALSE(WriteLyricsFile(path, "\xE9;1,0000;\r\n"));
  EXPECT_EQ("\xE9;1,0000;\r\n", folder.Read("song.kok"));
  EXPECT_FALSE(WriteLyricsFile(path, ""));
  EXPECT_EQ("", folder.Read("song.kok"));
}

TEST(LyricsFileWriting, ReturnsTheErrorOfAFileThatCannotBeWritten) {
  TemporaryFolder folder;
  const auto missing = WriteLyricsFile(folder / "missing/song.kok", "a");
  ASSERT_TRUE(missing);
  EXPECT_NE(0, missing->number);
  EXPECT_FALSE(missing->description.empty());
  std::filesystem::create_directory(folder / "folder.kok");
  EXPECT_TRUE(WriteLyricsFile(folder / "folder.kok", "a"));
}

TEST(LyricsFileWriting, ReturnsTheErrorOfAFullDisk) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no such device here";
  EXPECT_TRUE(WriteLyricsFile("/dev/full", "a"));
}

}  // namespace
}  // namespace vexolo
