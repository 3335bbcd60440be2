/// How the current song is mixed: one portion of the program-wide record.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace vexolo {

inline constexpr int kChannels = 16;

inline constexpr std::int16_t kNormalLevel = 100;  ///< of a channel, percent
inline constexpr int kMaxLevel = 200;
inline constexpr int kMaxGain = 20;          ///< decibels; the lowest is its negative
inline constexpr int kMaxTranspose = 12;     ///< semitones; the lowest is its negative
inline constexpr int kFastestTempo = 600;    ///< of the Speed knob
inline constexpr int kSlowestTempo = -2500;  ///< of the Speed knob

/// A table of the mixer's controllers: 7 kinds x 16 channels, then the eleven song-wide reverb and
/// chorus parameters (see controller_table.h for what an entry is). A negative value is none. Any
/// thread may read and write an entry; entries are independent of each other.
class ControllerTable {
 public:
  static constexpr int kEntries = 123;
  static constexpr std::int32_t kNone = -1;

  ControllerTable() { Clear(); }

  std::int32_t Get(int entry) const { return Slot(entry).load(std::memory_order_relaxed); }
  void Set(int entry, std::int32_t value) {
    values_[static_cast<std::size_t>(entry)].store(value, std::memory_order_relaxed);
  }
  bool Has(int entry) const { return Get(entry) >= 0; }
  void Clear() {
    for (auto& value : values_) value.store(kNone, std::memory_order_relaxed);
  }

 private:
  const std::atomic<std::int32_t>& Slot(int entry) const {
    return values_[static_cast<std::size_t>(entry)];
  }
  std::array<std::atomic<std::int32_t>, kEntries> values_;
};

/// Window thread only, but for the atomic fields, which the library's callbacks use too.
struct MixState {
  std::array<std::uint8_t, kChannels> ChannelSolo{};  ///< 0 or 1
  /// 0 or 1; any other value, which only a file written by hand can bring, counts as 1.
  std::array<std::uint8_t, kChannels> ChannelMute{};
  std::array<std::int16_t, kChannels> ChannelVolume = AllNormal();  ///< percent, 0..200

  std::int16_t MelodyChannel = -1;  ///< -1 = none was found
  bool AutoMute = false;            ///< the option: mute the melody channel
  bool MelodyOverride = false;      ///< the user wants to hear it all the same

  std::int16_t Gain = 0;       ///< decibels, -20..20
  std::int16_t Transpose = 0;  ///< semitones, -12..12
  /// Tenths of a percent, positive is faster: -2500..600 from the knob, more from a file.
  std::int16_t Tempo = 0;

  std::array<std::atomic<int>, kChannels> lamp_levels{};  ///< 0..127, raised by the note callback
  int held_peak = 0;                                      ///< of the output meter, 0..32768

  /// For comparing: the effect's output is held at 0 whatever the song and the user set. Not kept.
  std::atomic<bool> bypass_reverb{false};
  std::atomic<bool> bypass_chorus{false};

  ControllerTable overrides;  ///< what the user has set
  /// What the song itself has set, whether overridden or not. Kept by ReadCurrentValues and by the
  /// mix-time callback.
  ControllerTable current_values;

 private:
  static constexpr std::array<std::int16_t, kChannels> AllNormal() {
    std::array<std::int16_t, kChannels> levels{};
    levels.fill(kNormalLevel);
    return levels;
  }
};

/// To be called for each new song, before anything of it is loaded: no solo, no melody channel, no
/// melody override, no bypass, current values unknown. What belongs to the song's settings file
/// comes with its load operations.
void ResetForSong(MixState& state);

}  // namespace vexolo
