/// One preset of a SoundFont as a small bank of its own.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "engine/sound_font_check.h"

namespace vexolo::engine {

/// The bytes of a bank up to its tables, and behind them tables in which stand one preset, its
/// instruments and their samples only. A reader has little to read and to keep, and finds the
/// samples where they stand in the whole bank. (The links between the samples of a stereo pair,
/// which no voice follows, are left out.)
class PresetBank final : public ByteSource {
 public:
  /// Null where the bank cannot be read or has no such preset. `bank` holds what `header` says of
  /// it, and outlives the result. Of several presets at one place the first counts.
  static std::unique_ptr<PresetBank> Make(ByteSource& bank, const SoundFontHeader& header,
                                          int bank_number, int program);

  std::uint64_t size() const override { return begin_ + tables_.size(); }

  /// Any thread.
  bool Read(std::uint64_t offset, std::span<std::uint8_t> to) override;

 private:
  PresetBank(ByteSource& bank, std::uint64_t begin, std::vector<std::uint8_t> tables);

  ByteSource& bank_;
  const std::uint64_t begin_;               ///< where the tables' list begins
  const std::vector<std::uint8_t> tables_;  ///< that list
};

}  // namespace vexolo::engine
