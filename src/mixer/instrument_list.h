/// The instruments of a bank, by family, for choosing one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "audio/audio_state.h"
#include "mixer/controllers.h"

namespace vexolo {

/// Families of eight programs each, as General MIDI has them; the drum kits come after them.
inline constexpr int kDrumKitFamily = 16;
inline constexpr int kInstrumentFamilies = 17;

struct InstrumentEntry {
  Instrument instrument;
  std::string name;  ///< as the bank has it
  int family = 0;
};

/// What a channel can be set to: the drum kits for a drum channel (their bank reads 0), else
/// everything but them. By program, then by bank. Any thread.
std::vector<InstrumentEntry> ListInstruments(const PresetNames& presets, bool is_drum_channel);

/// Whether every word of `search` is found in `name`, whatever its case. UTF-8. Any thread.
bool MatchesSearch(std::string_view name, std::string_view search);

}  // namespace vexolo
