// layer: core
#include "app/passage_marks.h"

#include <gtest/gtest.h>

#include "fakes/fake_bass.h"

namespace vexolo {
namespace {

/// Ten seconds and 1000 ticks: the first half of the ticks takes 2 s, the second one 8 s.
class PassageMarksTest : public testing::Test {
 protected:
  PassageMarksTest() {
    FakeBass::Song song;
    song.events = {{Tempo(0, 0), Tempo(500, 2)}};
    audio_.stream = bass_.AddStream(song);
    audio_.song_length = 10;
    audio_.song_length_ticks = 1000;
  }

  static bass::BASS_MIDI_EVENT Tempo(bass::DWORD tick, bass::DWORD seconds) {
    const auto bytes = static_cast<bass::DWORD>(seconds * FakeBass::kBytesPerSecond);
    return {bass::MIDI_EVENT_TEMPO, 500000, 0, tick, bytes};
  }

  PassageMarks Marks() { return MarksOnSlider(bass_.api(), audio_); }

  FakeBass bass_;
  AudioState audio_;
};

TEST_F(PassageMarksTest, StandWhereTheSliderIsWhenTheyAct) {
  audio_.markers = {1, 6, true};
  EXPECT_DOUBLE_EQ(Marks().start.value_or(-1), 0.25);
  EXPECT_DOUBLE_EQ(Marks().end.value_or(-1), 0.75);
}

TEST_F(PassageMarksTest, AreOnlyThereWhileInForce) {
  audio_.markers = {1, 6, false};
  EXPECT_EQ(Marks(), PassageMarks());
  audio_.markers = {0, 2, true};
  EXPECT_FALSE(Marks().start);
  EXPECT_DOUBLE_EQ(Marks().end.value_or(-1), 0.5);
  audio_.markers = {2, 0, true};
  EXPECT_DOUBLE_EQ(Marks().start.value_or(-1), 0.5);
  EXPECT_FALSE(Marks().end);
}

TEST_F(PassageMarksTest, EventsAreOnlyAskedForWhereAMarkIsInForce) {
  audio_.markers = {1, 6, false};
  Marks();
  EXPECT_EQ(bass_.CallCount("BASS_MIDI_StreamGetEvents"), 0);
  audio_.markers.on = true;
  Marks();
  EXPECT_GT(bass_.CallCount("BASS_MIDI_StreamGetEvents"), 0);
}

TEST_F(PassageMarksTest, StayWhenTheSpeedChanges) {
  audio_.markers = {1, 6, true};
  const PassageMarks before = Marks();
  bass_.stream(audio_.stream).ratio = 2;
  audio_.speed_factor = 2;
  audio_.song_length = 20;
  RescaleForSpeed(audio_.markers, 1, 2);
  EXPECT_DOUBLE_EQ(Marks().start.value_or(-1), before.start.value_or(-2));
  EXPECT_DOUBLE_EQ(Marks().end.value_or(-1), before.end.value_or(-2));
}

TEST_F(PassageMarksTest, AreEvenlySpacedWithoutTempoChanges) {
  bass_.Fail("BASS_MIDI_StreamGetEvents", bass::BASS_ERROR_HANDLE);
  audio_.markers = {1, 6, true};
  EXPECT_DOUBLE_EQ(Marks().start.value_or(-1), 0.1);
}

TEST_F(PassageMarksTest, AreNowhereWithoutASong) {
  audio_.markers = {1, 6, true};
  bass_.Fail("BASS_ChannelGetLength", bass::BASS_ERROR_HANDLE);
  EXPECT_EQ(Marks(), PassageMarks());
  audio_.stream = 0;
  EXPECT_EQ(Marks(), PassageMarks());
}

}  // namespace
}  // namespace vexolo
