// layer: engine
// Banks taken apart: of every bank that passes the check each preset makes a bank that passes it
// too, and that can be read from end to end.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "engine/preset_bank.h"
#include "engine/sound_font_tables.h"

namespace {

using namespace vexolo::engine;

void Require(bool holds) {
  if (!holds) std::abort();
}

/// The presets that the bank's own table names, a few of them.
std::vector<std::pair<int, int>> PresetsOf(ByteSource& source, const SoundFontHeader& header) {
  std::vector<std::pair<int, int>> presets = {{0, 0}, {128, 127}};
  sf2::Tables tables;
  if (!sf2::FindTables(source, header.parameters, &tables)) std::abort();
  for (std::uint32_t i = 0; i < std::min(header.presets, 8u); ++i) {
    std::array<std::uint8_t, 4> numbers;
    Require(source.Read(tables[sf2::kPhdr].offset + 38ull * i + 20, numbers));
    presets.emplace_back(sf2::Word(numbers.data() + 2), sf2::Word(numbers.data()));
  }
  return presets;
}

void CheckBank(PresetBank& bank) {
  Require(bank.size() < (1u << 26));
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(bank.size()));
  Require(bank.Read(0, bytes));
  Require(!bank.Read(bank.size(), {bytes.data(), 1}));
  SoundFontHeader header;
  Require(LooksLikeSoundFont({bytes.data(), bytes.size()}, &header));
  Require(header.presets == 1);
  // Piece by piece the same.
  std::array<std::uint8_t, 7> piece;
  for (std::uint64_t at = 0; at + piece.size() <= bank.size(); at += 1 + bank.size() / 16) {
    Require(bank.Read(at, piece));
    Require(std::equal(piece.begin(), piece.end(), bytes.begin() + static_cast<long>(at)));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  MemorySource source({data, size});
  SoundFontHeader header;
  if (!LooksLikeSoundFont(source, &header)) return 0;
  for (const auto& [bank, program] : PresetsOf(source, header)) {
    if (const auto preset = PresetBank::Make(source, header, bank, program)) CheckBank(*preset);
  }
  return 0;
}
