#include "mixer/song_mix.h"

#include <cstddef>

namespace vexolo {

namespace {

using Values = std::array<std::int32_t, ControllerTable::kEntries>;

Values ValuesOf(const ControllerTable& table) {
  Values values;
  for (std::size_t entry = 0; entry < values.size(); ++entry) {
    values[entry] = table.Get(static_cast<int>(entry));
  }
  return values;
}

void SetValues(const Values& values, ControllerTable& table) {
  for (std::size_t entry = 0; entry < values.size(); ++entry) {
    table.Set(static_cast<int>(entry), values[entry]);
  }
}

}  // namespace

SongMix CopyOfMix(const MixState& state) {
  SongMix mix;
  mix.solo = state.ChannelSolo;
  mix.mute = state.ChannelMute;
  mix.volume = state.ChannelVolume;
  mix.melody_override = state.MelodyOverride;
  mix.gain = state.Gain;
  mix.transpose = state.Transpose;
  mix.tempo = state.Tempo;
  mix.overrides = ValuesOf(state.overrides);
  mix.melody_channel = state.MelodyChannel;
  mix.current_values = ValuesOf(state.current_values);
  return mix;
}

void SetUserMix(const SongMix& mix, MixState& state) {
  state.ChannelSolo = mix.solo;
  state.ChannelMute = mix.mute;
  state.ChannelVolume = mix.volume;
  state.MelodyOverride = mix.melody_override;
  state.Gain = mix.gain;
  state.Transpose = mix.transpose;
  state.Tempo = mix.tempo;
  SetValues(mix.overrides, state.overrides);
}

void SetMix(const SongMix& mix, MixState& state) {
  SetUserMix(mix, state);
  state.MelodyChannel = mix.melody_channel;
  SetValues(mix.current_values, state.current_values);
}

}  // namespace vexolo
