// layer: engine
// The demo songs come out loud but not overloaded at Gain 0.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/exports.h"

namespace vexolo::engine {
namespace {

class LoudnessTest : public ::testing::TestWithParam<const char*> {};

int PeakOf(const bass::Api& api, const std::string& song) {
  const bass::HSTREAM stream = api.BASS_MIDI_StreamCreateFile(
      0, song.c_str(), 0, 0, bass::BASS_STREAM_DECODE | bass::BASS_MIDI_DECAYEND, 0);
  std::vector<std::int16_t> block(32768);
  int peak = 0;
  for (;;) {
    const bass::DWORD got = api.BASS_ChannelGetData(stream, block.data(), 65536);
    if (got == bass::kError32) break;
    for (std::size_t index = 0; index < got / 2; ++index) {
      peak = std::max(peak, std::abs(static_cast<int>(block[index])));
    }
  }
  api.BASS_StreamFree(stream);
  return peak;
}

TEST_P(LoudnessTest, PeaksBetweenSixAndOneDecibelBelowFullScale) {
  const bass::Api& api = EngineApi();
  ASSERT_TRUE(api.BASS_Init(0, 44100, 0, nullptr, nullptr));
  const bass::HSOUNDFONT bank = api.BASS_MIDI_FontInit(VEXOLO_TEST_BANK, 0);
  const bass::BASS_MIDI_FONT fonts = {bank, -1, 0};
  ASSERT_TRUE(api.BASS_MIDI_StreamSetFonts(0, &fonts, 1));
  const int peak = PeakOf(api, std::string(VEXOLO_SONGS) + "/" + GetParam());
  api.BASS_Free();
  ASSERT_GT(peak, 0);
  const double decibels = 20 * std::log10(peak / 32768.0);
  EXPECT_GT(decibels, -6.0);
  EXPECT_LT(decibels, -1.0);
}

INSTANTIATE_TEST_SUITE_P(DemoSongs, LoudnessTest,
                         ::testing::Values("a-la-claire-fontaine.mid", "ah-vous-dirai-je-maman.mid",
                                           "au-clair-de-la-lune.kar", "canon.mid"));

}  // namespace
}  // namespace vexolo::engine
