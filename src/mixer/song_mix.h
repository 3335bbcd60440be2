/// The mix of one song as plain values, for the way from one thread to another.
#pragma once

#include <array>
#include <cstdint>

#include "mixer/mix_state.h"

namespace vexolo {

/// Everything in a MixState that belongs to a song. Fields are those of MixState.
struct SongMix {
  // What the user sets.
  std::array<std::uint8_t, kChannels> solo{};
  std::array<std::uint8_t, kChannels> mute{};
  std::array<std::int16_t, kChannels> volume{};
  bool melody_override = false;
  std::int16_t gain = 0;
  std::int16_t transpose = 0;
  std::int16_t tempo = 0;
  std::array<std::int32_t, ControllerTable::kEntries> overrides{};

  // What the song itself brings.
  std::int16_t melody_channel = -1;
  std::array<std::int32_t, ControllerTable::kEntries> current_values{};

  bool operator==(const SongMix&) const = default;
};

/// For the thread that the state belongs to.
SongMix CopyOfMix(const MixState& state);

/// Puts the user's part into a state; the song's own stays.
void SetUserMix(const SongMix& mix, MixState& state);

/// Puts both parts into a state.
void SetMix(const SongMix& mix, MixState& state);

}  // namespace vexolo
