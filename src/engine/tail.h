/// What an effect needs to know about the sound that it still holds.
#pragma once

#include <array>

namespace vexolo::engine {

/// Frames between two looks at an effect's state. No delay line inside a feedback loop of the
/// reverb may be shorter.
inline constexpr int kCell = 64;

/// -120 dBFS: an effect whose output can no longer reach this much empties its lines and rests.
inline constexpr float kSilent = 1e-6F;

/// The loudest sample that went into an effect's lines during the last `kCells` cells. Where
/// that span is as long as the longest line, nothing in the lines is louder.
template <int kCells>
class PeakHistory {
 public:
  /// Takes note of what was written during a part of the present cell.
  void Add(const float* samples, int frames) {
    float peak = present_;
    for (int i = 0; i < frames; ++i) {
      const float amount = samples[i] < 0.0F ? -samples[i] : samples[i];
      peak = amount > peak ? amount : peak;
    }
    present_ = peak;
  }

  /// The present cell is full.
  void Turn() {
    peaks_[next_] = present_;
    next_ = next_ + 1 == kCells ? 0 : next_ + 1;
    present_ = 0.0F;
  }

  float Max() const {
    float peak = present_;
    for (const float cell : peaks_) peak = cell > peak ? cell : peak;
    return peak;
  }

  void Clear() { *this = PeakHistory(); }

 private:
  std::array<float, kCells> peaks_{};
  float present_ = 0.0F;
  int next_ = 0;
};

inline bool AllZero(const float* samples, int frames) {
  bool zero = true;
  for (int i = 0; i < frames; ++i) zero &= samples[i] == 0.0F;
  return zero;
}

}  // namespace vexolo::engine
