/// The WAV encoder over any target, so that its limits can be tried with small ones.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "engine/encoder.h"

namespace vexolo::engine {

/// Where the bytes of a WAV file go.
class WavTarget {
 public:
  virtual ~WavTarget() = default;
  /// Appends; how many bytes were taken (fewer where the disk is full).
  virtual std::uint64_t Append(std::span<const std::uint8_t> bytes) = 0;
  /// Puts `bytes` in place of the first ones. False on failure.
  virtual bool Rewrite(std::span<const std::uint8_t> bytes) = 0;
  /// Closes; with a `length` other than what was appended the rest is cut off. False on failure.
  virtual bool Close(std::uint64_t length) = 0;
};

/// Null where the target does not take a header. `max_file_bytes` counts the header too.
std::unique_ptr<Encoder> CreateWavEncoder(std::unique_ptr<WavTarget> target,
                                          std::uint64_t max_file_bytes);

}  // namespace vexolo::engine
