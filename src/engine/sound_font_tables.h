/// How a SoundFont 2 file is built: its chunks and the tables of its "pdta" list.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "engine/sound_font_check.h"

namespace vexolo::engine::sf2 {

/// SoundFont 2.04, 7.2 and 7.6: the tables of "pdta" in their order.
enum Table { kPhdr, kPbag, kPmod, kPgen, kInst, kIbag, kImod, kIgen, kShdr, kTables };

struct TableForm {
  std::string_view id;
  std::uint32_t record;   ///< bytes
  std::uint32_t minimum;  ///< records
};

inline constexpr std::array<TableForm, kTables> kTableForms = {{
    {"phdr", 38, 2},
    {"pbag", 4, 1},
    {"pmod", 10, 0},
    {"pgen", 4, 0},
    {"inst", 22, 2},
    {"ibag", 4, 1},
    {"imod", 10, 0},
    {"igen", 4, 0},
    {"shdr", 46, 2},
}};

using Tables = std::array<ChunkPlace, kTables>;

/// One of the two levels of a bank: presets made of instruments, instruments made of samples.
struct Level {
  Table headers;
  Table bags;
  Table modulators;
  Table generators;
  Table targets;
  std::uint32_t bag_index;       ///< where a header holds the index of its first zone
  std::uint16_t link_generator;  ///< ends a zone and names its target
};

inline constexpr Level kPresetLevel = {kPhdr, kPbag, kPmod, kPgen, kInst, 24, 41};
inline constexpr Level kInstrumentLevel = {kInst, kIbag, kImod, kIgen, kShdr, 20, 53};

std::uint16_t Word(const std::uint8_t* bytes);
std::uint32_t DoubleWord(const std::uint8_t* bytes);

struct Chunk {
  std::string id;
  ChunkPlace place;
};

/// Goes through the chunks that stand one after the other in a part of the file.
class ChunkWalk {
 public:
  ChunkWalk(ByteSource& source, std::uint64_t begin, std::uint64_t end)
      : source_(source), at_(begin), end_(end) {}

  bool AtEnd() const { return at_ >= end_; }

  /// False where no whole chunk follows.
  bool Next(Chunk* chunk);

  /// The same for a list of the type asked for; the place leaves the type out.
  bool NextList(std::string_view type, ChunkPlace* place);

 private:
  ByteSource& source_;
  std::uint64_t at_;
  std::uint64_t end_;
};

ChunkWalk Inside(ByteSource& source, const ChunkPlace& place);

/// Whether a "pdta" list holds the nine tables, each of whole records, enough and not too many.
bool FindTables(ByteSource& source, const ChunkPlace& list, Tables* tables);

}  // namespace vexolo::engine::sf2
