// layer: core
// One action of the user, one write: each file that it changes is replaced once.
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "audio/audio_binding.h"
#include "convert/conversion_form.h"
#include "fakes/mixer_bench.h"
#include "mixer/channel_strips.h"
#include "mixer/controllers.h"
#include "mixer/knobs.h"
#include "settings/window_place.h"
#include "support/write_watch.h"

namespace vexolo {
namespace {

struct OneWriteTest : testing::Test, MixerBench {
  /// Writes of the song's file and of the program's.
  void Expect(int song, int program, const std::function<void()>& action) {
    watch.Count("Tune.zvn");
    watch.Count("Vexolo.ini");
    action();
    EXPECT_EQ(watch.Count("Tune.zvn"), song);
    EXPECT_EQ(watch.Count("Vexolo.ini"), program);
  }

  WriteWatch watch{folder.path()};
  ChannelStrips strips{bass.api(), state, settings};
  Knobs knobs{bass.api(), state, audio, settings};
  Controllers controllers{bass.api(), state, audio, settings};
};

TEST_F(OneWriteTest, AClickInTheSoloAndMuteGridWritesAll16KeysAtOnce) {
  strips.PicSM_MouseDown(20, 1);
  Expect(1, 0, [&] { strips.PicSM_Click(20, audio.stream); });
  for (int channel = 0; channel < kChannels; ++channel) {
    EXPECT_EQ(Saved("Mute", "Ch" + std::to_string(channel)), channel == 4 ? "1" : "0");
  }
}

TEST_F(OneWriteTest, AllLevelsAreSavedAtOnce) {
  Expect(1, 0, [&] { settings.SaveVolume(state); });
}

TEST_F(OneWriteTest, AChangeOfSpeedSavesTheMarkersWithIt) {
  audio.markers = {10, 20, true};
  Expect(1, 0, [&] { knobs.Step(kSpeedKnob, 3, false); });
  EXPECT_EQ(Saved("Tempo", "Slider"), "3.0");
  EXPECT_EQ(Saved("Marqueurs", "Marche"), "1");
}

TEST_F(OneWriteTest, AnInstrumentIsSavedWithItsBank) {
  Expect(1, 0, [&] { controllers.ChooseInstrument(3, {8, 40}); });
  EXPECT_EQ(Saved("CC", "CC67"), "8");
  EXPECT_EQ(Saved("CC", "CC83"), "40");
}

TEST_F(OneWriteTest, ABankIsSavedWithItsFolder) {
  AudioBinding binding(bass.api(), audio, ini, boxes);
  Expect(0, 1, [&] { binding.ReplaceFont("/banks/one.sf2"); });
}

TEST_F(OneWriteTest, AConversionDialogIsSavedAtOnce) {
  const std::chrono::year_month_day today{std::chrono::year{2024}, std::chrono::month{2},
                                          std::chrono::day{29}};
  ConversionForm form(ini, {folder / "Tune.kar", "Somebody", "Something"}, today, {1, 0});
  form.boxes.scheme = "%A - %T";
  form.boxes.album = "Songs";
  Expect(0, 1, [&] { EXPECT_TRUE(form.Confirm(false, boxes)); });
  Expect(0, 1, [&] { ForgetBorrowedTags(ini, form.borrowed()); });
}

TEST_F(OneWriteTest, AWindowsPlaceIsSavedAtOnce) {
  Expect(0, 1, [&] { WritePlace(ini, "Main", {10, 20}); });
  Expect(0, 1, [&] { WriteExtent(ini, "Main", {10, 20}); });
}

}  // namespace
}  // namespace vexolo
