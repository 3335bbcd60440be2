/// One preset of a SoundFont as a small bank of its own.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "engine/sound_font_check.h"

namespace vexolo::engine {

/// A bank with one preset of another bank, its instruments and their samples, and nothing else. The
/// samples are read from the other bank when they are asked for. (The links between the samples of
/// a stereo pair, which no voice follows, are left out.)
class PresetBank final : public ByteSource {
 public:
  /// Null where the bank cannot be read or has no such preset, where the preset plays nothing, and
  /// where its samples, which may overlap in the whole bank, would take more than 2 GB. `bank`
  /// holds what `header` says of it, and outlives the result. Of several presets at one place the
  /// last counts, as it does for the synthesiser.
  static std::unique_ptr<PresetBank> Make(ByteSource& bank, const SoundFontHeader& header,
                                          int bank_number, int program);

  /// The bytes of the bank follow one another in pieces.
  struct Piece {
    std::uint64_t begin = 0;  ///< in this bank
    std::uint64_t size = 0;
    std::vector<std::uint8_t> bytes;   ///< the piece itself, or empty:
    std::uint64_t place_in_whole = 0;  ///< where it stands in the other bank
  };

  explicit PresetBank(ByteSource& bank, std::vector<Piece> pieces);

  std::uint64_t size() const override { return pieces_.back().begin + pieces_.back().size; }

  /// Any thread.
  bool Read(std::uint64_t offset, std::span<std::uint8_t> to) override;

 private:
  ByteSource& bank_;
  const std::vector<Piece> pieces_;
};

}  // namespace vexolo::engine
