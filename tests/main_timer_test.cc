// layer: core
#include "app/main_timer.h"

#include <array>
#include <string>
#include <utility>
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

// ---- The steps of a tick

class RecordingView : public MainTimerView {
 public:
  void DispMiscButtons() override { steps.push_back("buttons"); }
  void DispLeds() override { steps.push_back("leds"); }
  void DrawVuMeters(const VuMeter& drawn) override {
    steps.push_back("level");
    meter = drawn;
  }
  void DrawMeters(const std::array<int, kChannels>& drawn) override {
    steps.push_back("lamps");
    levels = drawn;
  }
  void RefreshChannels() override { steps.push_back("channels"); }
  void MoveSlider(double value) override {
    steps.push_back("slider");
    slider = value;
  }
  double slider_maximum() const override { return 1000; }
  void ShowTime() override { steps.push_back("time"); }
  void ShowBankInfo(const std::string& text) override { steps.push_back("bank " + text); }

  std::vector<std::string> Take() { return std::exchange(steps, {}); }

  std::vector<std::string> steps;
  VuMeter meter;
  std::array<int, kChannels> levels{};
  double slider = -1;
};

class MainTimerSteps : public testing::Test {
 protected:
  void LoadSong() {
    FakeBass::Song song;
    song.bytes_per_tick = 100;
    state_.audio.stream = bass_.AddStream(song);
    state_.audio.song_length_ticks = 8000;
    bass_.stream(state_.audio.stream).position = 400000;
  }

  FakeBass bass_;
  modMidiTest state_{bass_.api(), nullptr};
  RecordingView view_;
  MainTimer timer_{bass_.api(), state_, view_, ','};
};

TEST_F(MainTimerSteps, ComeInThisOrder) {
  LoadSong();
  state_.playing = true;
  timer_.set_bank_texts({"%1", "none"});
  for (int i = 0; i < 3; ++i) {
    timer_.Tick();
    EXPECT_THAT(view_.Take(),
                ElementsAre("buttons", "leds", "level", "lamps", "channels", "slider", "time"));
  }
  timer_.Tick();
  EXPECT_THAT(view_.Take(), ElementsAre("buttons", "leds", "level", "lamps", "channels", "slider",
                                        "time", "bank none"));
  EXPECT_DOUBLE_EQ(500, view_.slider);
}

TEST_F(MainTimerSteps, ChannelsAreLeftAloneUnlessASongPlaysAndNobodySeeks) {
  LoadSong();
  timer_.Tick();
  EXPECT_THAT(view_.Take(), testing::Not(testing::Contains("channels")));
  state_.playing = true;
  state_.seeking = true;
  timer_.Tick();
  EXPECT_THAT(view_.Take(), testing::Not(testing::Contains("channels")));
}

TEST_F(MainTimerSteps, WithoutASongTheSliderIsLeftAlone) {
  timer_.Tick();
  EXPECT_THAT(view_.Take(), ElementsAre("buttons", "leds", "level", "lamps", "time"));
}

TEST_F(MainTimerSteps, MetersRiseAndFall) {
  LoadSong();
  bass_.stream(state_.audio.stream).level = 0x40008000;  // left full, right half
  state_.mix.lamp_levels[3] = 127;
  timer_.Tick();
  EXPECT_EQ(11, view_.meter.level);
  EXPECT_EQ(127, view_.levels[3]);
  bass_.stream(state_.audio.stream).level = 0;
  timer_.Tick();
  EXPECT_EQ(0, view_.meter.level);
  EXPECT_EQ(11, view_.meter.peak);
  EXPECT_EQ(119, view_.levels[3]);
}

TEST_F(MainTimerSteps, TheBankInUseIsTold) {
  FakeBass::Font font;
  font.name = "Piano";
  state_.audio.font = bass_.AddFont(font);
  timer_.set_bank_texts({"%1: %2|%3", "none"});
  for (int i = 0; i < 4; ++i) timer_.Tick();
  EXPECT_EQ("bank Piano: 0\n0,0", view_.steps.back());
}

}  // namespace
}  // namespace vexolo
