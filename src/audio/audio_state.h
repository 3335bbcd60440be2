/// What the program knows of the audio library: handles, tempo, markers, the fade under way.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "audio/bass.h"
#include "audio/markers.h"

namespace vexolo {

/// Names of the current bank's presets: bank 0..128 (128 = drum kits), preset 0..127; empty where
/// the bank has none.
struct PresetNames {
  static constexpr int kBanks = 129;
  static constexpr int kPresets = 128;
  std::vector<std::string> names = std::vector<std::string>(kBanks * kPresets);
  int highest_bank = 0;  ///< that has a preset, drum kits left out

  std::string& At(int bank, int preset) { return names[bank + preset * kBanks]; }
  const std::string& At(int bank, int preset) const { return names[bank + preset * kBanks]; }
};

/// One portion of the program-wide record. Written by the window thread, but for the atomic fields,
/// which the library's callbacks write too.
struct AudioState {
  bass::HSTREAM stream = 0;   ///< the current MIDI stream, 0 = none
  bass::HSOUNDFONT font = 0;  ///< the bank in use, 0 = none
  std::string font_path;      ///< of that bank, UTF-8
  PresetNames presets;

  std::atomic<std::int32_t> base_tempo{500000};  ///< the song's own, microseconds a quarter note
  std::atomic<double> speed_factor{1.0};         ///< on the tempo value: 2 = half as fast

  std::uint32_t song_length_ticks = 0;  ///< 0 = no song
  double song_length = 0;               ///< seconds

  Markers markers;
  std::atomic<double> fade_length{0.3};  ///< seconds; 0 or less cuts at once
  double tail = 0.01;                    ///< seconds
  std::atomic<double> fade_gain{1.0};
  std::atomic<double> fade_step{0.0};  ///< a sample (two samples a frame), negative
  std::atomic<bool> fading{false};
};

}  // namespace vexolo
