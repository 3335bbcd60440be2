/// A value that reaches its target in a short straight line, counted in frames.
#pragma once

#include "engine/time_line.h"

namespace vexolo::engine {

inline constexpr double kFrameRate = kSampleRate;

/// Length of every ramp and cross-fade of the mixing desk: 14.5 ms.
inline constexpr int kRampFrames = 640;

/// The value of a frame depends on how many frames have passed since Set and on nothing else, so
/// that the sound is the same however a run is cut into blocks.
class Ramp {
 public:
  explicit Ramp(float value = 0.0F) : target_(value) {}

  void Set(float target) {
    if (target == target_) return;
    step_ = (target - Value()) / static_cast<float>(kRampFrames);
    target_ = target;
    left_ = kRampFrames;
  }

  void Snap() { left_ = 0; }

  float Target() const { return target_; }
  float Value() const { return target_ - step_ * static_cast<float>(left_); }
  bool Steady() const { return left_ == 0; }
  bool Zero() const { return left_ == 0 && target_ == 0.0F; }

  /// The larger amount of where the value is and where it goes.
  float Bound() const {
    const float here = Value() < 0.0F ? -Value() : Value();
    const float there = target_ < 0.0F ? -target_ : target_;
    return here > there ? here : there;
  }

  void Advance(int frames) { left_ = left_ > frames ? left_ - frames : 0; }

  /// Writes the values of the next `frames` frames.
  void Fill(float* out, int frames) {
    const int ramped = left_ < frames ? left_ : frames;
    for (int i = 0; i < ramped; ++i) {
      out[i] = target_ - step_ * static_cast<float>(left_ - 1 - i);
    }
    for (int i = ramped; i < frames; ++i) out[i] = target_;
    left_ -= ramped;
  }

  /// Multiplies the next `frames` frames of a signal by the value.
  void Scale(float* signal, int frames) {
    const int ramped = left_ < frames ? left_ : frames;
    for (int i = 0; i < ramped; ++i) {
      signal[i] *= target_ - step_ * static_cast<float>(left_ - 1 - i);
    }
    const float steady = target_;
    for (int i = ramped; i < frames; ++i) signal[i] *= steady;
    left_ -= ramped;
  }

 private:
  float target_;
  float step_ = 0.0F;
  int left_ = 0;
};

}  // namespace vexolo::engine
