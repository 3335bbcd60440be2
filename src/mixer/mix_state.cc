#include "mixer/mix_state.h"

namespace vexolo {

void ResetForSong(MixState& state) {
  state.ChannelSolo.fill(0);
  state.MelodyChannel = -1;
  state.MelodyOverride = false;
  state.bypass_reverb = false;
  state.bypass_chorus = false;
  state.current_values.Clear();
}

}  // namespace vexolo
