// layer: core
#include "app/transport.h"

#include <new>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_bass.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class View : public TransportView {
 public:
  void ShowTitle(const std::string& song_path) override { titles.push_back(song_path); }
  void DrawPlay(bool pressed) override { play.push_back(pressed); }
  void DrawRepeat(int mode) override { repeat.push_back(mode); }
  void AfficherMarqueurs() override { ++markers_drawn; }
  void DrawMix() override { ++mixes_drawn; }
  void ShowTime() override { ++times_shown; }
  void EnableTimer(bool enabled) override { timer.push_back(enabled); }
  std::optional<std::string> AskTime(const std::string& proposed) override {
    proposals.push_back(proposed);
    return answer;
  }

  std::vector<std::string> titles;
  std::vector<bool> play;
  std::vector<int> repeat;
  std::vector<bool> timer;
  std::vector<std::string> proposals;
  std::optional<std::string> answer;
  int markers_drawn = 0;
  int mixes_drawn = 0;
  int times_shown = 0;
};

class Display : public LyricDisplay {
 public:
  void EffaceLyrics() override { ++cleared; }
  void DisplayLyrics(int mark_index) override { shown.push_back(mark_index); }
  int cleared = 0;
  std::vector<int> shown;
};

class TransportTest : public testing::Test {
 protected:
  TransportTest() {
    bass_.song.values[{0, bass::MIDI_EVENT_TEMPO}] = 500000;
    for (const char* name : {"a.mid", "b.mid", "c.mid"}) {
      const std::string path = folder_.Write(name, "x");
      state_.playlist.AjouteFichierPlayList(path);
      songs_.push_back(path);
    }
    state_.language_file = folder_ / "fr.lng";
  }
  std::string Stored(const char* key) { return ini_.ReadIni("Marqueurs", key, folder_ / "a.zvn"); }
  int Current() const { return state_.playlist.current(); }
  bass::HSTREAM Stream() const { return state_.audio.stream; }
  std::string Playing() { return Stream() == 0 ? "" : bass_.stream(Stream()).path; }

  FakeBass bass_;
  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  Display display_;
  View view_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  modMidiTest state_{bass_.api(), &display_};
  AudioBinding binding_{bass_.api(), state_.audio, ini_, boxes_};
  SongSettings settings_{ini_, ','};
  SongStart start_{bass_.api(), state_, binding_, ini_, settings_, nullptr};
  Transport transport_{
      {bass_.api(), state_, start_, settings_, ini_, boxes_, view_, &display_, ','}};
  std::vector<std::string> songs_;
};

// ---- Play and stop

TEST_F(TransportTest, PlayDrawsItsButtonAndStartsTheCurrentSong) {
  state_.playlist.set_current(2);
  transport_.Action_Play();
  EXPECT_EQ(songs_[1], Playing());
  EXPECT_TRUE(state_.playing);
  EXPECT_THAT(view_.play, ElementsAre(true));
  EXPECT_EQ(1, view_.mixes_drawn);
  EXPECT_EQ(1, view_.markers_drawn);
}

TEST_F(TransportTest, PlayTakesTheFirstSongWhereThereIsNoCurrentOne) {
  transport_.Action_Play();
  EXPECT_EQ(songs_[0], Playing());
  EXPECT_EQ(1, state_.playlist.playing());
}

TEST_F(TransportTest, PlayShowsTheTitleOfASongThatWasNotShownYet) {
  transport_.Action_PlaySelected(3);
  transport_.Action_Next();
  ASSERT_EQ("", view_.titles.back());
  transport_.Action_Play();  // after the end of the list
  EXPECT_EQ(songs_[0], view_.titles.back());
  transport_.Action_PlaySelected(3);
  transport_.Action_Next();
  state_.playlist.AjouteFichierPlayList(songs_[1]);
  transport_.Action_Play();
  EXPECT_EQ(songs_[1], Playing());
  EXPECT_EQ(songs_[1], view_.titles.back());
  EXPECT_EQ(4, state_.playlist.playing());
  const std::size_t shown = view_.titles.size();
  transport_.Action_Stop();
  transport_.Action_Play();
  EXPECT_EQ(shown, view_.titles.size());
}

TEST_F(TransportTest, PlayWithAnEmptyListDoesNothing) {
  state_.playlist.Clear();
  transport_.Action_Play();
  EXPECT_EQ(0u, Stream());
  EXPECT_FALSE(state_.playing);
  EXPECT_THAT(view_.play, ElementsAre(true, false));
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(TransportTest, StopFreesTheStreamAndKeepsTheSongCurrent) {
  transport_.Action_PlaySelected(2);
  bass_.ClearCalls();
  transport_.Action_Stop();
  EXPECT_THAT(bass_.texts(), ElementsAre("Stop 1", "StreamFree 1"));
  EXPECT_EQ(0u, Stream());
  EXPECT_FALSE(state_.playing);
  EXPECT_EQ(2, Current());
  EXPECT_FALSE(view_.play.back());
}

TEST_F(TransportTest, ASongThatCannotBeOpenedIsToldInTheUsersLanguageAndNothingPlays) {
  ini_.WriteIni("Main", "MidiReadError", "Lecture impossible|%1", state_.language_file);
  bass_.Fail("BASS_MIDI_StreamCreateFile", bass::BASS_ERROR_FILEFORM);
  transport_.Action_PlaySelected(1);
  EXPECT_EQ(0u, Stream());
  EXPECT_FALSE(state_.playing);
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_TRUE(boxes_.shown[0].text.starts_with("Lecture impossible\n" + songs_[0]));
  EXPECT_NE(std::string::npos, boxes_.shown[0].text.find("BASS_ERROR_FILEFORM"));
  EXPECT_EQ("Error", boxes_.shown[0].title);
  EXPECT_FALSE(view_.play.back());
  EXPECT_EQ(0, view_.mixes_drawn);
}

TEST_F(TransportTest, AStreamThatCannotPlayIsToldAndFreed) {
  bass_.Fail("BASS_ChannelPlay", bass::BASS_ERROR_START);
  transport_.Action_PlaySelected(1);
  EXPECT_EQ(0u, bass_.stream_count());
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_NE(std::string::npos, boxes_.shown[0].text.find("BASS_ERROR_START"));
}

// ---- Next and previous

TEST_F(TransportTest, NextPlaysTheFollowingSong) {
  transport_.Action_PlaySelected(1);
  transport_.Action_Next();
  EXPECT_EQ(songs_[1], Playing());
  EXPECT_EQ(2, Current());
  EXPECT_EQ(songs_[1], view_.titles.back());
  EXPECT_EQ(1u, bass_.stream_count());
}

TEST_F(TransportTest, NextAtTheEndOfTheListStopsQuietly) {
  for (const int mode : {0, 2}) {
    state_.repeat_mode = mode;
    transport_.Action_PlaySelected(3);
    transport_.Action_Next();
    EXPECT_EQ(0u, Stream()) << mode;
    EXPECT_FALSE(state_.playing);
    EXPECT_EQ("", view_.titles.back());
    EXPECT_EQ(4, Current());
    EXPECT_EQ("", settings_.path());
    transport_.Action_Next();
    EXPECT_EQ(4, Current());
    transport_.Action_Prev();
    EXPECT_EQ(songs_[2], Playing());
  }
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(TransportTest, NextGoesRoundWhenTheWholeListIsRepeatedAndASongPlays) {
  state_.repeat_mode = kRepeatList;
  transport_.Action_PlaySelected(3);
  transport_.Action_Next();
  EXPECT_EQ(songs_[0], Playing());
  transport_.Action_PlaySelected(3);
  transport_.Action_Stop();
  transport_.Action_Next();  // the playing flag is not set any more
  EXPECT_EQ(0u, Stream());
}

TEST_F(TransportTest, PreviousOnTheFirstSongGoesToTheLastInEveryMode) {
  for (const int mode : {0, 2, 3}) {
    state_.repeat_mode = mode;
    transport_.Action_PlaySelected(1);
    transport_.Action_Prev();
    EXPECT_EQ(songs_[2], Playing()) << mode;
    transport_.Action_Prev();
    EXPECT_EQ(songs_[1], Playing()) << mode;
  }
}

TEST_F(TransportTest, PreviousInAnEmptyListPlaysNothing) {
  state_.playlist.Clear();
  transport_.Action_Prev();
  EXPECT_EQ(0u, Stream());
  EXPECT_EQ(0, Current());
}

TEST_F(TransportTest, APlaceBeyondTheListPlaysTheFirstSongOnlyWhereTheListIsRepeated) {
  transport_.Action_PlaySelected(4);
  EXPECT_EQ(0u, Stream());
  EXPECT_EQ("", view_.titles.back());
  state_.repeat_mode = kRepeatList;
  transport_.Action_PlaySelected(4);
  EXPECT_EQ(songs_[0], Playing());
}

// ---- Repeat

TEST_F(TransportTest, RepeatGoesThroughItsThreeModesAndKeepsThem) {
  for (const int mode : {2, 3, 0, 2}) {
    transport_.Action_Repeat();
    EXPECT_EQ(mode, state_.repeat_mode);
    EXPECT_EQ(std::to_string(mode), ini_.ReadIni("Repeat", "Mode"));
  }
  EXPECT_THAT(view_.repeat, ElementsAre(2, 3, 0, 2));
}

TEST_F(TransportTest, TheStoredModeIsTakenUnlessItIsNone) {
  const std::vector<std::pair<const char*, int>> stored = {{"", 0},  {"2", 2}, {"3", 3},
                                                           {"1", 0}, {"9", 0}, {"x", 0}};
  for (const auto& [text, mode] : stored) {
    ini_.WriteIni("Repeat", "Mode", text);
    transport_.LoadRepeat();
    EXPECT_EQ(mode, state_.repeat_mode) << text;
  }
}

// ---- End of a song

TEST_F(TransportTest, AtTheEndTheNextSongFollows) {
  transport_.Action_PlaySelected(1);
  const int cleared = display_.cleared;
  transport_.EndOfSong(Stream());
  EXPECT_EQ(songs_[1], Playing());
  EXPECT_GT(display_.cleared, cleared);
  transport_.EndOfSong(Stream());
  transport_.EndOfSong(Stream());
  EXPECT_EQ(0u, Stream());
  EXPECT_FALSE(state_.playing);
}

TEST_F(TransportTest, RepeatingTheSongReplaysItForEverAndNextStillMovesOn) {
  state_.repeat_mode = kRepeatSong;
  transport_.Action_PlaySelected(1);
  for (int i = 0; i < 5; ++i) {
    const bass::HSTREAM before = Stream();
    transport_.EndOfSong(before);
    EXPECT_EQ(songs_[0], Playing());
    EXPECT_NE(before, Stream());
  }
  transport_.Action_Next();
  EXPECT_EQ(songs_[1], Playing());
}

TEST_F(TransportTest, RepeatingTheListStartsTheFirstSongAfterTheLast) {
  state_.repeat_mode = kRepeatList;
  transport_.Action_PlaySelected(3);
  transport_.EndOfSong(Stream());
  EXPECT_EQ(songs_[0], Playing());
}

TEST_F(TransportTest, TheEndOfAStreamThatIsGoneChangesNothing) {
  transport_.Action_PlaySelected(1);
  const bass::HSTREAM first = Stream();
  transport_.Action_Next();
  transport_.EndOfSong(first);  // the message was under way
  EXPECT_EQ(songs_[1], Playing());
  transport_.Action_Stop();
  transport_.EndOfSong(0);
  EXPECT_EQ(0u, Stream());
}

TEST_F(TransportTest, NothingFollowsTheEndWhereNothingIsMeantToGoOn) {
  transport_.Action_PlaySelected(1);
  const bass::HSTREAM stream = Stream();
  const int cleared = display_.cleared;
  state_.playing = false;
  transport_.EndOfSong(stream);
  EXPECT_EQ(stream, Stream());
  EXPECT_EQ(cleared + 1, display_.cleared);
}

TEST_F(TransportTest, TheTransportLeavesTheStreamOfAConversionAlone) {
  ASSERT_EQ(SongStartResult::kStarted, start_.Start(songs_[0], {.use = SongUse::kConversion}));
  state_.converting = true;
  const bass::HSTREAM stream = Stream();
  transport_.Action_Play();
  transport_.Action_Stop();
  transport_.Action_Next();
  transport_.Action_Prev();
  transport_.Action_PlaySelected(2);
  transport_.EndOfSong(stream);
  EXPECT_EQ(stream, Stream());
}

TEST_F(TransportTest, TheWholeListIsConvertedOneSongAfterTheOther) {
  state_.playlist.set_current(1);
  EXPECT_EQ(std::nullopt, transport_.NextToConvert());  // one song alone was asked for
  EXPECT_EQ(1, Current());
  state_.convert_all = true;
  state_.repeat_mode = kRepeatList;
  EXPECT_EQ(songs_[1], transport_.NextToConvert());
  EXPECT_EQ(songs_[1], view_.titles.back());
  EXPECT_EQ(songs_[2], transport_.NextToConvert());
  EXPECT_TRUE(state_.convert_all);
  EXPECT_EQ(std::nullopt, transport_.NextToConvert());
  EXPECT_FALSE(state_.convert_all);
  EXPECT_EQ(3, Current());
}

// ---- Markers

TEST_F(TransportTest, PunchTurnsTheMarkersOnAndOffAndSavesThem) {
  transport_.Action_PlaySelected(1);
  const int drawn = view_.markers_drawn;
  transport_.Action_Punch();
  EXPECT_TRUE(state_.audio.markers.on);
  EXPECT_EQ("1", Stored("Marche"));
  transport_.Action_Punch();
  EXPECT_FALSE(state_.audio.markers.on);
  EXPECT_EQ("0", Stored("Marche"));
  EXPECT_EQ(drawn + 2, view_.markers_drawn);
}

TEST_F(TransportTest, ThirtySecondsTypedAtFactorTwoAreStoredAsSixty) {
  transport_.Action_PlaySelected(1);
  state_.audio.speed_factor = 2;
  view_.answer = "0:30,000";
  transport_.Action_PunchIn();
  EXPECT_DOUBLE_EQ(60, state_.audio.markers.start);
  EXPECT_EQ("60,000", Stored("Debut"));
  view_.answer = "45.5";
  transport_.Action_PunchOut();
  EXPECT_DOUBLE_EQ(91, state_.audio.markers.end);
  EXPECT_EQ("91,000", Stored("Fin"));
}

TEST_F(TransportTest, TheProposedTimeIsThePositionOrWithoutAStreamTheStoredMarker) {
  transport_.Action_PlaySelected(1);
  bass_.stream(Stream()).position = 176400 * 3 / 2;
  transport_.Action_PunchIn();
  transport_.Action_Stop();
  state_.audio.speed_factor = 2;
  state_.audio.markers.start = 151;
  state_.audio.markers.end = 10;
  transport_.Action_PunchIn();
  transport_.Action_PunchOut();
  EXPECT_THAT(view_.proposals, ElementsAre("0:01,500", "1:15,500", "0:05,000"));
}

TEST_F(TransportTest, ATimeThatIsNotValidatedChangesNothing) {
  transport_.Action_PlaySelected(1);
  state_.audio.markers.start = 3;
  transport_.Action_PunchIn();
  EXPECT_DOUBLE_EQ(3, state_.audio.markers.start);
  EXPECT_EQ("", Stored("Debut"));
}

TEST_F(TransportTest, AChangeOfSpeedRereadsTheLengthAndStretchesTheFade) {
  bass_.song.rescale_on_tempo = true;
  transport_.Action_PlaySelected(1);
  EXPECT_DOUBLE_EQ(10, state_.audio.song_length);
  state_.audio.speed_factor = 0.5;
  ApplyTempo(bass_.api(), Stream(), state_.audio);
  transport_.SpeedChanged(1.0);
  EXPECT_DOUBLE_EQ(5, state_.audio.song_length);
  EXPECT_DOUBLE_EQ(0.15, state_.audio.fade_length);
  EXPECT_EQ(1, view_.times_shown);
}

// ---- Slider

TEST_F(TransportTest, HoldingTheSliderStopsTheTimerAndReleasingItSeeksInTicks) {
  transport_.Action_PlaySelected(1);
  ASSERT_EQ(17640u, state_.audio.song_length_ticks);
  bass_.ClearCalls();
  transport_.SliderPressed();
  EXPECT_TRUE(state_.seeking);
  EXPECT_THAT(view_.timer, ElementsAre(false));
  transport_.SliderReleased(250, 1000);
  EXPECT_FALSE(state_.seeking);
  EXPECT_THAT(view_.timer, ElementsAre(false, true));
  EXPECT_EQ("SetPosition 1 4410 2", bass_.texts()[0]);
  EXPECT_EQ("StreamEvent 1 0 62 500000", bass_.texts()[1]);
}

TEST_F(TransportTest, ReleasingTheSliderWithoutASongOnlyStartsTheTimerAgain) {
  transport_.SliderPressed();
  transport_.SliderReleased(250, 1000);
  EXPECT_TRUE(bass_.texts().empty());
  EXPECT_FALSE(state_.seeking);
  EXPECT_THAT(view_.timer, ElementsAre(false, true));
  transport_.Action_PlaySelected(1);
  bass_.ClearCalls();
  transport_.SliderReleased(250, 0);
  EXPECT_TRUE(bass_.texts().empty());
}

TEST_F(TransportTest, TheSliderDoesNotMoveTheStreamOfAConversion) {
  ASSERT_EQ(SongStartResult::kStarted, start_.Start(songs_[0], {.use = SongUse::kConversion}));
  state_.converting = true;
  bass_.ClearCalls();
  transport_.SliderPressed();
  transport_.SliderReleased(250, 1000);
  EXPECT_TRUE(bass_.texts().empty());
  EXPECT_FALSE(state_.seeking);
  EXPECT_THAT(view_.timer, ElementsAre(false, true));
}

TEST_F(TransportTest, AfterASeekTheDisplayShowsTheSyllableOfTheNewPlace) {
  bass_.song.track_names = {"words"};
  bass_.song.marks[bass::BASS_MIDI_MARK_LYRIC] = {
      {0, 176400, "un "}, {0, 352800, "deux "}, {0, 1058400, "trois"}};
  transport_.Action_PlaySelected(1);
  const int cleared = display_.cleared;
  transport_.SliderReleased(300, 1000);  // 3 seconds
  EXPECT_EQ(cleared + 1, display_.cleared);
  EXPECT_THAT(display_.shown, ElementsAre(1));
  transport_.SliderReleased(10, 1000);  // before the first
  EXPECT_THAT(display_.shown, ElementsAre(1));
  transport_.SliderReleased(1000, 1000);
  EXPECT_THAT(display_.shown, ElementsAre(1, 2));
}

// ---- Seeking by the keyboard

TEST_F(TransportTest, SeekByMovesTheSongAndTheLyrics) {
  bass_.song.length = 60 * FakeBass::kBytesPerSecond;
  bass_.song.track_names = {"Words"};
  bass_.song.marks[bass::BASS_MIDI_MARK_LYRIC] = {{0, 4 * 176400, "la "}, {0, 30 * 176400, "li"}};
  transport_.Action_PlaySelected(1);
  display_.shown.clear();
  transport_.SeekBy(5);
  EXPECT_EQ(5 * FakeBass::kBytesPerSecond, bass_.stream(Stream()).position);
  EXPECT_THAT(display_.shown, ElementsAre(0));
  transport_.SeekBy(-20);
  EXPECT_EQ(0u, bass_.stream(Stream()).position);
  transport_.SeekBy(1000);
  EXPECT_NEAR(59.9, static_cast<double>(bass_.stream(Stream()).position) / 176400, 0.001);
}

TEST_F(TransportTest, SeekByDoesNothingWithoutASongOrDuringAConversion) {
  transport_.SeekBy(5);
  EXPECT_THAT(bass_.texts(), IsEmpty());
  transport_.Action_PlaySelected(1);
  state_.converting = true;
  bass_.ClearCalls();
  transport_.SeekBy(5);
  EXPECT_THAT(bass_.texts(), IsEmpty());
}

// ---- Without memory

TEST_F(TransportTest, WhereMemoryRunsOutNothingPlaysAndTheButtonComesUp) {
  bass_.on_stream_event = [](const FakeBass::StreamEvent&) { throw std::bad_alloc(); };
  EXPECT_THROW(transport_.Action_Play(), std::bad_alloc);
  EXPECT_FALSE(state_.playing);
  EXPECT_EQ(0u, Stream());
  EXPECT_FALSE(view_.play.back());
  bass_.on_stream_event = {};
  transport_.Action_Play();
  EXPECT_EQ(songs_[0], Playing());
}

}  // namespace
}  // namespace vexolo
