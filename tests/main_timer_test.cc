// layer: core
#include "app/main_timer.h"

#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_bass.h"

namespace vexolo {
namespace {

using testing::ElementsAre;

TEST(MainTimer, EveryFourthTickShowsWhatChangesRarely) {
  TickCounter counter;
  std::vector<bool> shown;
  for (int i = 0; i < 9; ++i) shown.push_back(counter.Tick());
  EXPECT_THAT(shown, ElementsAre(false, false, false, true, false, false, false, true, false));
}

TEST(MainTimer, TheSliderStandsAtThePositionsShareOfTheLengthInTicks) {
  FakeBass bass;
  AudioState audio;
  EXPECT_EQ(0, SliderValue(bass.api(), audio, 1000));
  FakeBass::Song song;
  song.bytes_per_tick = 100;
  audio.stream = bass.AddStream(song);
  EXPECT_EQ(0, SliderValue(bass.api(), audio, 1000));  // no song: no length
  audio.song_length_ticks = 8000;
  bass.stream(audio.stream).position = 200000;
  EXPECT_DOUBLE_EQ(250, SliderValue(bass.api(), audio, 1000));
  bass.Fail("BASS_ChannelGetPosition", bass::BASS_ERROR_HANDLE);
  EXPECT_EQ(0, SliderValue(bass.api(), audio, 1000));
}

TEST(MainTimer, TheTimeIsPositionAndLength) {
  FakeBass bass;
  AudioState audio;
  EXPECT_EQ("0:00,000 / 0:00,000", TimeText(bass.api(), audio, ','));
  audio.stream = bass.AddStream({});
  audio.song_length = 75.5;
  bass.stream(audio.stream).position = 176400 * 3 / 2;
  EXPECT_EQ("0:01,500 / 1:15,500", TimeText(bass.api(), audio, ','));
}

TEST(MainTimer, TheBankIsTold) {
  FakeBass bass;
  constexpr const char* kLoaded = "%1|%2 sons, %3 Mo";
  constexpr const char* kNone = "Pas|de banque";
  EXPECT_EQ("Pas\nde banque", BankInfoText(bass.api(), 0, kLoaded, kNone, ','));
  EXPECT_EQ("Pas\nde banque", BankInfoText(bass.api(), 77, kLoaded, kNone, ','));
  FakeBass::Font font;
  font.name = "Gros |%2 Piano \xE9";
  font.presets = {{{0, 0}, "a"}, {{1, 0}, "b"}};
  font.samsize = 1024 * 1024 * 5 / 2;
  const bass::HSOUNDFONT handle = bass.AddFont(font);
  EXPECT_EQ("Gros |%2 Piano é\n2 sons, 2,5 Mo",
            BankInfoText(bass.api(), handle, kLoaded, kNone, ','));
}

}  // namespace
}  // namespace vexolo
