#include "mixer/instrument_list.h"

#include <sstream>

#include "platform/text_encoding.h"

namespace vexolo {
namespace {

constexpr int kProgramsOfAFamily = 8;
constexpr int kDrumBank = PresetNames::kBanks - 1;

}  // namespace

std::vector<InstrumentEntry> ListInstruments(const PresetNames& presets, bool is_drum_channel) {
  std::vector<InstrumentEntry> entries;
  const int first = is_drum_channel ? kDrumBank : 0;
  const int last = is_drum_channel ? kDrumBank : kDrumBank - 1;
  for (int program = 0; program < PresetNames::kPresets; ++program) {
    const int family = is_drum_channel ? kDrumKitFamily : program / kProgramsOfAFamily;
    for (int bank = first; bank <= last; ++bank) {
      const std::string& name = presets.At(bank, program);
      if (name.empty()) continue;
      entries.push_back({{is_drum_channel ? 0 : bank, program}, name, family});
    }
  }
  return entries;
}

bool MatchesSearch(std::string_view name, std::string_view search) {
  const std::string folded = FoldCase(name);
  std::istringstream words(FoldCase(search));
  for (std::string word; words >> word;) {
    if (folded.find(word) == std::string::npos) return false;
  }
  return true;
}

}  // namespace vexolo
