/// What an effect needs to know about the sound that it still holds.
#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

namespace vexolo::engine {

/// Frames between two looks at an effect's state. No delay line inside a feedback loop of the
/// reverb may be shorter.
inline constexpr int kCell = 64;

/// Whether an effect whose output is bounded by this much should empty its lines: below -120 dBFS
/// to rest, and where a number that is none (or infinity) would otherwise go round for ever.
inline bool IsOverOrBroken(float bound) {
  constexpr float kSilent = 1e-6F;
  return bound < kSilent || !std::isfinite(bound);
}

/// The loudest sample that went into an effect's lines during the last `kCells` cells. Where
/// that span is as long as the longest line, nothing in the lines is louder.
template <int kCells>
class PeakHistory {
 public:
  /// Takes note of what was written during a part of the present cell. The bits of the amounts are
  /// in the order of the amounts, and whole numbers are compared four at a time.
  void Add(const float* samples, int frames) {
    std::int32_t peak = present_;
    for (int i = 0; i < frames; ++i) {
      const std::int32_t amount = std::bit_cast<std::int32_t>(samples[i]) & 0x7FFFFFFF;
      peak = amount > peak ? amount : peak;
    }
    present_ = peak;
  }

  /// The present cell is full.
  void Turn() {
    peaks_[next_] = present_;
    next_ = next_ + 1 == kCells ? 0 : next_ + 1;
    present_ = 0;
  }

  float Max() const {
    std::int32_t peak = present_;
    for (const std::int32_t cell : peaks_) peak = cell > peak ? cell : peak;
    return std::bit_cast<float>(peak);
  }

  void Clear() { *this = PeakHistory(); }

 private:
  std::array<std::int32_t, kCells> peaks_{};
  std::int32_t present_ = 0;
  int next_ = 0;
};

inline bool AllZero(const float* samples, int frames) {
  bool zero = true;
  for (int i = 0; i < frames; ++i) zero &= samples[i] == 0.0F;
  return zero;
}

}  // namespace vexolo::engine
