// layer: core
#include "lyrics/lyric_model.h"

#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_bass.h"

namespace vexolo {
namespace {

using namespace bass;
using ::testing::ElementsAre;

class RecordingDisplay : public LyricDisplay {
 public:
  void EffaceLyrics() override { calls.push_back("efface"); }
  void DisplayLyrics(int mark_index) override { calls.push_back(std::to_string(mark_index)); }
  std::vector<std::string> calls;
};

class LyricModelTest : public ::testing::Test {
 protected:
  LyricModelTest() {
    song_.track_names = {"", "words"};
    song_.bytes_per_tick = 100;
    song_.length = 1000000;
  }

  /// One lyric mark on track 1, `pos` bytes in; without it 1000 bytes after the one before.
  void Lyric(const std::string& text) {
    auto& marks = song_.marks[BASS_MIDI_MARK_LYRIC];
    Lyric(text, marks.empty() ? 1000 : marks.back().pos + 1000);
  }
  void Lyric(const std::string& text, DWORD pos, DWORD track = 1) {
    song_.marks[BASS_MIDI_MARK_LYRIC].push_back({track, pos, text});
  }
  void Text(const std::string& text, DWORD pos, DWORD track = 1) {
    song_.marks[BASS_MIDI_MARK_TEXT].push_back({track, pos, text});
  }

  void Load(bool song_loaded = true) {
    stream_ = fake_.AddStream(song_);
    model_.ResetForSong();
    model_.InitLyrics(stream_, song_loaded);
  }

  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    for (int n = 1; n <= model_.line_count(); ++n) lines.push_back(model_.line_text(n));
    return lines;
  }

  /// The text of a syllable, taken out of its line.
  std::string SyllableText(int number) const {
    const LyricSyllable& s = model_.syllable(number);
    return model_.line_text(s.line).substr(static_cast<std::size_t>(s.column),
                                           static_cast<std::size_t>(s.length));
  }

  FakeBass fake_;
  FakeBass::Song song_;
  RecordingDisplay display_;
  LyricModel model_{fake_.api(), &display_};
  HSTREAM stream_ = 0;
};

// ---- Choice of the track

TEST_F(LyricModelTest, TracksAreCountedUpToTheFirstWithoutAName) {
  song_.track_names = {"a", "", "c"};
  EXPECT_EQ(3, model_.CountTracks(fake_.AddStream(song_)));
  EXPECT_EQ(4, fake_.CallCount("BASS_ChannelGetTags"));
  EXPECT_EQ(0, model_.CountTracks(99));
}

TEST_F(LyricModelTest, BeforeSelectionNothingIsChosen) {
  EXPECT_EQ(-1, model_.nCanalLyrics());
  EXPECT_EQ(-1, model_.mark_type());
  EXPECT_EQ(0, model_.sync_type());
}

TEST_F(LyricModelTest, AsManyTextMarksAsLyricMarksUsesTheLyricMarks) {
  Lyric("a", 100);
  Text("b", 100);
  Load();
  EXPECT_EQ(2, model_.mark_type());
  EXPECT_EQ(0x10002, model_.sync_type());
  EXPECT_EQ(1, model_.nCanalLyrics());
}

TEST_F(LyricModelTest, StrictlyMoreTextMarksUsesTheTextMarks) {
  Lyric("a", 100, 1);
  Text("b", 100, 0);
  Text("c", 200, 0);
  Load();
  EXPECT_EQ(3, model_.mark_type());
  EXPECT_EQ(0x10003, model_.sync_type());
  EXPECT_EQ(0, model_.nCanalLyrics());
  EXPECT_THAT(Lines(), ElementsAre("bc"));
}

TEST_F(LyricModelTest, TextMarksCountByTheirRichestTrackNotByTheirSum) {
  Lyric("a", 100, 1);
  Lyric("a", 200, 1);
  Text("b", 100, 0);
  Text("b", 200, 0);
  Text("c", 200, 1);
  Load();
  EXPECT_EQ(2, model_.mark_type());
}

TEST_F(LyricModelTest, OnlyTextMarksUsesThem) {
  Text("b", 100);
  Load();
  EXPECT_EQ(3, model_.mark_type());
  EXPECT_EQ(1, model_.nCanalLyrics());
}

TEST_F(LyricModelTest, TwoTracksWithTheSameGreatestNumberTheLowerIsChosen) {
  song_.track_names = {"", "", "", ""};
  Lyric("x", 100, 1);
  Lyric("a", 200, 3);
  Lyric("b", 300, 2);
  Lyric("c", 400, 2);
  Lyric("d", 500, 3);
  Load();
  EXPECT_EQ(2, model_.nCanalLyrics());
  EXPECT_THAT(Lines(), ElementsAre("bc"));
}

TEST_F(LyricModelTest, MarksOfATrackThatIsNotThereAreIgnored) {
  Lyric("a", 100, 70000);
  Lyric("b", 200, 1);
  Load();
  EXPECT_EQ(1, model_.nCanalLyrics());
  EXPECT_THAT(Lines(), ElementsAre("b"));
}

TEST_F(LyricModelTest, NoMarksGivesNoTrackEmptyListsAndNoSync) {
  Load();
  EXPECT_EQ(-1, model_.nCanalLyrics());
  EXPECT_EQ(3, model_.mark_type());
  EXPECT_EQ(0x10003, model_.sync_type());
  EXPECT_EQ(0, model_.nNbParoles());
  EXPECT_EQ(0, model_.line_count());
  EXPECT_EQ(100, model_.syllable_capacity());
  EXPECT_EQ(100, model_.line_capacity());
  EXPECT_EQ("", model_.title());
  EXPECT_EQ("", model_.artist());
  EXPECT_TRUE(fake_.texts().empty());
}

// ---- Syllables

TEST_F(LyricModelTest, SyllableCarriesItsPlaceAndAllItsTimes) {
  Lyric("other", 500, 0);
  Lyric("Hel", 88200);
  Lyric("lo ", 176400);
  Lyric("/wor", 264600);
  Load();
  ASSERT_EQ(3, model_.nNbParoles());
  const LyricSyllable& second = model_.syllable(2);
  EXPECT_EQ(1, second.line);
  EXPECT_EQ(3, second.column);
  EXPECT_EQ(3, second.length);
  EXPECT_DOUBLE_EQ(1.0, second.time);
  EXPECT_EQ(2, second.mark_index);
  EXPECT_EQ(176400, second.byte_position);
  EXPECT_EQ(1764, second.tick);
  EXPECT_EQ(2, model_.syllable(3).line);
  EXPECT_EQ(0, model_.syllable(3).column);
  EXPECT_EQ("Hel", SyllableText(1));
  EXPECT_EQ("lo ", SyllableText(2));
  EXPECT_EQ("wor", SyllableText(3));
}

TEST_F(LyricModelTest, LineCarriesTheStartOfItsFirstSyllable) {
  Lyric("a", 88200);
  Lyric("b", 100000);
  Lyric("/c", 132300);
  Load();
  EXPECT_THAT(Lines(), ElementsAre("ab", "c"));
  EXPECT_EQ(88200, model_.line_start_byte(1));
  EXPECT_EQ(882, model_.line_start_tick(1));
  EXPECT_FLOAT_EQ(0.5f, model_.line_start_time(1));
  EXPECT_EQ(132300, model_.line_start_byte(2));
  EXPECT_EQ(1323, model_.line_start_tick(2));
  EXPECT_FLOAT_EQ(0.75f, model_.line_start_time(2));
}

TEST_F(LyricModelTest, SlashAndBackslashStartANewLineAndAreRemoved) {
  Lyric("One");
  Lyric("/Hello");
  Lyric("\\Again");
  Load();
  EXPECT_THAT(Lines(), ElementsAre("One", "Hello", "Again"));
  EXPECT_EQ("Hello", SyllableText(2));
}

TEST_F(LyricModelTest, OnlyOneLeadingSlashIsTaken) {
  Lyric("/\\a");
  Load();
  EXPECT_THAT(Lines(), ElementsAre("\\a"));
}

TEST_F(LyricModelTest, BreakOnAnEmptyLineDoesNothing) {
  Lyric("/First");
  Lyric("/");
  Lyric("/");
  Lyric("/Second");
  Load();
  EXPECT_THAT(Lines(), ElementsAre("First", "Second"));
  EXPECT_EQ(2, model_.syllable(2).line);
}

TEST_F(LyricModelTest, LineFeedEndsTheLineAfterItsSyllableAndIsRemoved) {
  Lyric("One\n");
  Lyric("Two\r");
  Lyric("T\r\nhree");
  Lyric("Four");
  Load();
  EXPECT_THAT(Lines(), ElementsAre("One", "Two", "Three", "Four"));
  EXPECT_EQ(5, model_.syllable(3).length);
}

TEST_F(LyricModelTest, LineFeedAloneBreaksAfterItself) {
  Lyric("One");
  Lyric("\n");
  Lyric("Two");
  Load();
  EXPECT_THAT(Lines(), ElementsAre("One", "Two"));
  ASSERT_EQ(3, model_.nNbParoles());
  EXPECT_EQ(0, model_.syllable(2).length);
  EXPECT_EQ(3, model_.syllable(2).column);
}

TEST_F(LyricModelTest, SlashAfterALineFeedBreaksOnce) {
  Lyric("One\n");
  Lyric("/Two");
  Load();
  EXPECT_THAT(Lines(), ElementsAre("One", "Two"));
  EXPECT_EQ(2, model_.syllable(2).line);
}

TEST_F(LyricModelTest, EmptyTextAddsNoSyllableButItsBreakClosesTheLine) {
  Lyric("One");
  Lyric("/");
  Lyric("Two\n");
  Lyric("");
  Lyric("Three");
  Load();
  EXPECT_EQ(3, model_.nNbParoles());
  EXPECT_THAT(Lines(), ElementsAre("One", "Two", "Three"));
}

TEST_F(LyricModelTest, SemicolonsBecomeSpacesAndRunsOfSpacesShrinkToOne) {
  Lyric("a;b");
  Lyric("  c ;  d  ");
  Load();
  EXPECT_THAT(Lines(), ElementsAre("a b c d "));
  EXPECT_EQ(5, model_.syllable(2).length);
}

TEST_F(LyricModelTest, FirstSyllableOfALineLosesItsLeadingSpaces) {
  Lyric("  a");
  Lyric(" b");
  Lyric("/ ; c");
  Load();
  EXPECT_THAT(Lines(), ElementsAre("a b", "c"));
}

TEST_F(LyricModelTest, SyllableThatIsCleanedAwayIsKeptWithoutLength) {
  Lyric("  ", 1000);
  Lyric("a", 2000);
  Load();
  ASSERT_EQ(2, model_.nNbParoles());
  EXPECT_EQ(0, model_.syllable(1).length);
  EXPECT_THAT(Lines(), ElementsAre("a"));
  EXPECT_EQ(2000, model_.line_start_byte(1)) << "the line starts where its text does";
}

TEST_F(LyricModelTest, RawBytesStayInTheModel) {
  Lyric("caf\x82");
  Load();
  EXPECT_THAT(Lines(), ElementsAre("caf\x82"));
  EXPECT_EQ("caf\xE9", model_.ConvertLyricText(model_.line_text(1)));
}

// ---- Headers

TEST_F(LyricModelTest, FirstAndSecondTitleHeadersGiveTitleAndArtist) {
  Lyric("@KMIDI KARAOKE FILE");
  Lyric("@TMy Song");
  Lyric("@T Artist Name ");
  Lyric("@TThird");
  Lyric("@");
  Lyric("@Idropped");
  Lyric("la");
  Load();
  EXPECT_EQ("My Song", model_.title());
  EXPECT_EQ("Artist Name", model_.artist());
  EXPECT_EQ(1, model_.nNbParoles());
  EXPECT_EQ(6, model_.syllable(1).mark_index);
}

TEST_F(LyricModelTest, EmptyTitleHeaderStillCounts) {
  Lyric("@T");
  Lyric("@T   ");
  Lyric("@TLate");
  Load();
  EXPECT_EQ("", model_.title());
  EXPECT_EQ("", model_.artist());
}

TEST_F(LyricModelTest, HeaderLeavesAPendingBreakPending) {
  Lyric("One\n");
  Lyric("@Ix");
  Lyric("Two");
  Load();
  EXPECT_THAT(Lines(), ElementsAre("One", "Two"));
}

TEST_F(LyricModelTest, HeadersCountForTheCodePage) {
  Lyric("@T\x82t\x82");
  Lyric("la");
  Load();
  EXPECT_EQ(kCodePageDos, model_.code_pages().detected());
}

// ---- Longest line

TEST_F(LyricModelTest, FullLineEndingInASpaceIsClosedWithoutItBeforeTheNextSyllable) {
  model_.set_max_line_length(10);
  Lyric("Il etait ");
  Lyric("un ");
  Lyric("pe");
  Load();
  EXPECT_THAT(Lines(), ElementsAre("Il etait un", "pe"));
  EXPECT_EQ(2, model_.syllable(3).line);
}

TEST_F(LyricModelTest, SyllableWithASpaceStartsTheLineAfterAFullOneWithoutThatSpace) {
  model_.set_max_line_length(10);
  Lyric("Il etait un ");
  Lyric(" petit");
  Load();
  EXPECT_THAT(Lines(), ElementsAre("Il etait un ", "petit"));
  EXPECT_EQ(5, model_.syllable(2).length);
}

TEST_F(LyricModelTest, FullLineWithoutASpaceGoesOnGrowing) {
  model_.set_max_line_length(4);
  Lyric("anti");
  Lyric("consti");
  Lyric(" tu");
  Load();
  EXPECT_THAT(Lines(), ElementsAre("anticonsti", "tu"));
}

TEST_F(LyricModelTest, ShorterLineAndNoLimitAreNotBroken) {
  model_.set_max_line_length(5);
  Lyric("four");
  Lyric(" x");
  Load();
  EXPECT_THAT(Lines(), ElementsAre("four x"));
  for (const std::int16_t limit : {std::int16_t{0}, std::int16_t{-1}}) {
    model_.set_max_line_length(limit);
    Load();
    EXPECT_THAT(Lines(), ElementsAre("four x"));
  }
}

TEST_F(LyricModelTest, PendingBreakGoesBeforeTheLimitAndKeepsTheLineAsItIs) {
  model_.set_max_line_length(3);
  Lyric("One \n");
  Lyric("Two");
  Load();
  EXPECT_THAT(Lines(), ElementsAre("One ", "Two"));
}

// ---- Gap and growth

TEST_F(LyricModelTest, OneLineOnlyGivesLineCountOneAndGapZero) {
  Lyric("a");
  Lyric("b");
  Load();
  EXPECT_EQ(1, model_.line_count());
  EXPECT_EQ(0, model_.minimum_line_gap());
}

TEST_F(LyricModelTest, GapStaysZeroWhileLineStartsDoNotDecrease) {
  Lyric("a");
  Lyric("/b");
  Lyric("/c");
  Load();
  EXPECT_EQ(3, model_.line_count());
  EXPECT_EQ(0, model_.minimum_line_gap());
}

TEST_F(LyricModelTest, GapIsARunningMinimumFromZeroAndResetByTheNextSong) {
  Lyric("a", 5000);
  Lyric("/b", 3000);
  Lyric("/c", 2000);
  Load();
  EXPECT_EQ(-20, model_.minimum_line_gap());
  song_.marks.clear();
  Lyric("a");
  Load();
  EXPECT_EQ(0, model_.minimum_line_gap());
}

TEST_F(LyricModelTest, SyllableListGrowsBy100WhenItIsFull) {
  for (int i = 0; i < 100; ++i) Lyric("a");
  Load();
  EXPECT_EQ(100, model_.syllable_capacity());
  Lyric("a");
  Load();
  EXPECT_EQ(101, model_.nNbParoles());
  EXPECT_EQ(200, model_.syllable_capacity());
  EXPECT_EQ(1, model_.syllable(1).line);
  EXPECT_EQ(99, model_.syllable(100).column);
}

TEST_F(LyricModelTest, LineArraysGrowOneStepEarlier) {
  for (int i = 0; i < 99; ++i) Lyric("/a");
  Load();
  EXPECT_EQ(99, model_.line_count());
  EXPECT_EQ(100, model_.line_capacity());
  Lyric("/a");
  Load();
  EXPECT_EQ(100, model_.line_count());
  EXPECT_EQ(200, model_.line_capacity());
  EXPECT_EQ(100, model_.syllable_capacity());
}

TEST_F(LyricModelTest, RebuildStartsFromEmpty) {
  for (int i = 0; i < 250; ++i) Lyric("/@a");
  Lyric("@TTitle");
  Load();
  EXPECT_EQ(300, model_.syllable_capacity());
  song_.marks.clear();
  Load();
  EXPECT_EQ(0, model_.nNbParoles());
  EXPECT_EQ(0, model_.line_count());
  EXPECT_EQ(100, model_.syllable_capacity());
  EXPECT_EQ(100, model_.line_capacity());
  EXPECT_EQ("", model_.title());
}

// ---- Calls to the engine

TEST_F(LyricModelTest, StreamPositionAfterBuildingEqualsTheOneBefore) {
  Lyric("a");
  Lyric("/b");
  stream_ = fake_.AddStream(song_);
  fake_.stream(stream_).position = 4400;
  model_.InitLyrics(stream_, true);
  EXPECT_EQ(4400u, fake_.stream(stream_).position);
}

TEST_F(LyricModelTest, OneSeekForEachSyllableAndOneBackAndNoMoreConversionsThanNeeded) {
  for (int i = 0; i < 5; ++i) Lyric("a");
  Lyric("@Tx");
  Lyric("/");
  Lyric("b");
  Load();
  const auto seeks = fake_.Calls<FakeBass::SetPosition>();
  ASSERT_EQ(7u, seeks.size());
  EXPECT_EQ(0u, seeks.back().pos);
  EXPECT_EQ(1000u, seeks.front().pos);
  EXPECT_EQ(7, fake_.CallCount("BASS_ChannelGetPosition"));
  EXPECT_EQ(6 + 2, fake_.CallCount("BASS_ChannelBytes2Seconds"));
  EXPECT_EQ(9 + 9 + 1, fake_.CallCount("BASS_MIDI_StreamGetMark"));
}

TEST_F(LyricModelTest, InitClearsTheDisplayFirstAndInstallsOneSync) {
  Lyric("a");
  Load();
  EXPECT_THAT(display_.calls, ElementsAre("efface"));
  const auto syncs = fake_.Calls<FakeBass::SetSync>();
  ASSERT_EQ(1u, syncs.size());
  EXPECT_EQ(BASS_SYNC_MIDI_LYRIC, syncs[0].type);
  EXPECT_EQ(0u, syncs[0].param);
  EXPECT_TRUE(fake_.texts().back().starts_with("SetSync"));
}

TEST_F(LyricModelTest, NoSyncWithoutALoadedSong) {
  Lyric("a");
  Load(false);
  EXPECT_EQ(1, model_.nNbParoles());
  EXPECT_TRUE(fake_.Calls<FakeBass::SetSync>().empty());
}

TEST_F(LyricModelTest, MarksThatFailEndTheEnumeration) {
  Lyric("a");
  fake_.Fail("BASS_MIDI_StreamGetMark", BASS_ERROR_UNKNOWN);
  Load();
  EXPECT_EQ(-1, model_.nCanalLyrics());
  EXPECT_EQ(0, model_.nNbParoles());
}

TEST_F(LyricModelTest, SurvivesAStreamThatCannotSeek) {
  Lyric("a");
  Lyric("/b");
  fake_.Fail("BASS_ChannelSetPosition", BASS_ERROR_NOTAVAIL);
  fake_.Fail("BASS_ChannelGetPosition", BASS_ERROR_NOTAVAIL);
  Load();
  EXPECT_THAT(Lines(), ElementsAre("a", "b"));
}

TEST_F(LyricModelTest, WorksWithoutADisplay) {
  Lyric("a");
  LyricModel model(fake_.api(), nullptr);
  stream_ = fake_.AddStream(song_);
  model.InitLyrics(stream_, true);
  EXPECT_EQ(1, fake_.FireSync(stream_, BASS_SYNC_MIDI_LYRIC, 0, 0));
  EXPECT_EQ(1, model.nNbParoles());
}

// ---- The sync

TEST_F(LyricModelTest, SyncForwardsTheIndexOfMarksOfTheTrack) {
  Lyric("a", 0);
  Lyric("b", 1000);
  Lyric("other", 2000, 0);
  Load();
  display_.calls.clear();
  for (DWORD i = 0; i < 5; ++i) fake_.FireSync(stream_, BASS_SYNC_MIDI_LYRIC, 0, i);
  EXPECT_THAT(display_.calls, ElementsAre("1"));
}

TEST_F(LyricModelTest, SyncOfTheOtherTypeIsIgnoredOnceTheTypeChanged) {
  Lyric("a");
  Load();
  const HSTREAM old_stream = stream_;
  song_.marks.clear();
  Text("b", 1000);
  Text("c", 2000);
  Load();
  display_.calls.clear();
  EXPECT_EQ(1, fake_.FireSync(old_stream, BASS_SYNC_MIDI_LYRIC, 0, 0));
  EXPECT_TRUE(display_.calls.empty());
  EXPECT_EQ(1, fake_.FireSync(stream_, BASS_SYNC_MIDI_TEXT, 0, 1));
  EXPECT_THAT(display_.calls, ElementsAre("1"));
}

// ---- Code page state

TEST_F(LyricModelTest, RebuildResetsTheStatistics) {
  Lyric("\x82");
  Load();
  EXPECT_EQ(kCodePageDos, model_.code_pages().detected());
  song_.marks.clear();
  Lyric("plain");
  Load();
  EXPECT_EQ(-1, model_.code_pages().detected());
  EXPECT_EQ(0, model_.code_pages().count(kCodePageDos));
}

TEST_F(LyricModelTest, MarksOfOtherTracksDoNotCountForTheCodePage) {
  Lyric("\x8E\x8E\x8E", 500, 0);
  Lyric("\x82", 1000);
  Lyric("a", 2000);
  Load();
  EXPECT_EQ(kCodePageDos, model_.code_pages().detected());
}

TEST_F(LyricModelTest, ResetForSongForgetsTrackAndPages) {
  Lyric("\x82");
  Load();
  model_.code_pages().set_forced(kCodePageMacintosh);
  model_.ResetForSong();
  EXPECT_EQ(-1, model_.nCanalLyrics());
  EXPECT_EQ(-1, model_.code_pages().detected());
  EXPECT_EQ(-1, model_.code_pages().forced());
}

TEST_F(LyricModelTest, FiveThousandSyllablesTakeLittleTimeOfTheirOwn) {
  for (int i = 0; i < 5000; ++i) Lyric(i % 8 == 0 ? "/syl" : "la ");
  song_.length = 10000000;
  stream_ = fake_.AddStream(song_);
  const auto start = std::chrono::steady_clock::now();
  model_.ChooseLyricTrack(stream_);
  model_.BuildLyrics(stream_);
  const auto spent = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(5000, model_.nNbParoles());
  EXPECT_EQ(5000, model_.syllable_capacity());
  EXPECT_EQ(625, model_.line_count());
  RecordProperty(
      "microseconds",
      static_cast<int>(std::chrono::duration_cast<std::chrono::microseconds>(spent).count()));
  // Far above what it takes, for machines that are busy or run a sanitizer.
  EXPECT_LT(spent, std::chrono::seconds(2));
}

}  // namespace
}  // namespace vexolo
