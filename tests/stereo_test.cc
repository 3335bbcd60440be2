// layer: engine
// A song that sets nothing must come out of the middle: the controllers that are sent along with a
// seek may not move it.
#include <cmath>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "engine/exports.h"

namespace vexolo::engine {
namespace {

// One C5 on program 0 for a second at 120 bpm, nothing else.
const std::vector<std::uint8_t> kNoteAlone = {
    'M', 'T', 'h', 'd', 0, 0,    0,    6,    0, 0,    0,  1, 0,    96,   'M',  'T', 'r', 'k',
    0,   0,   0,   13,  0, 0x90, 0x48, 0x64, 0, 0xB0, 64, 0, 0x60, 0x80, 0x48, 0,   0,   0xFF};

double Level(const std::vector<std::int16_t>& samples, std::size_t side) {
  double sum = 0;
  for (std::size_t index = side; index < samples.size(); index += 2) {
    sum += static_cast<double>(samples[index]) * samples[index];
  }
  return 10 * std::log10(sum / static_cast<double>(samples.size() / 2) + 1e-9);
}

TEST(Stereo, ANoteThatNothingPansIsEquallyLoudOnBothSides) {
  const bass::Api& api = EngineApi();
  ASSERT_TRUE(api.BASS_Init(0, 44100, 0, nullptr, nullptr));
  const bass::HSOUNDFONT bank = api.BASS_MIDI_FontInit(VEXOLO_TEST_BANK, 0);
  const bass::BASS_MIDI_FONT fonts = {bank, -1, 0};
  ASSERT_TRUE(api.BASS_MIDI_StreamSetFonts(0, &fonts, 1));
  const bass::HSTREAM stream = api.BASS_MIDI_StreamCreateFile(
      1, kNoteAlone.data(), 0, kNoteAlone.size(), bass::BASS_STREAM_DECODE, 0);
  ASSERT_NE(stream, 0u);
  api.BASS_MIDI_StreamEvent(stream, 0, bass::MIDI_EVENT_REVERB_LEVEL, 0);
  api.BASS_MIDI_StreamEvent(stream, 0, bass::MIDI_EVENT_PROGRAM, 73);  // a single voice, centred
  std::vector<std::int16_t> sound(2 * 16384);
  ASSERT_EQ(
      api.BASS_ChannelGetData(stream, sound.data(), static_cast<bass::DWORD>(sound.size() * 2)),
      sound.size() * 2);
  EXPECT_GT(Level(sound, 0), 40.0);
  EXPECT_NEAR(Level(sound, 0), Level(sound, 1), 0.1);
  api.BASS_Free();
}

}  // namespace
}  // namespace vexolo::engine
