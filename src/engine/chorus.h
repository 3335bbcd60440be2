/// The chorus unit: one swinging delay line for each side, without the signal itself.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "engine/ramp.h"
#include "engine/tail.h"

namespace vexolo::engine {

/// out(t) = line(t - delay - depth * sin(2 pi rate t)); the right side swings a quarter turn ahead.
///
/// Where depth exceeds delay, the line stays at its shortest (two frames) instead of running into
/// the future. The output is scaled by sqrt(1 - feedback^2), so that noise keeps its level. What
/// is fed back is read without overshoot and never amplified: no setting makes the unit unstable.
///
/// Setters take effect over a ramp or cross-fade, the rate at once (its phase runs on). One thread
/// at a time; nothing allocates after construction.
class Chorus {
 public:
  Chorus();

  void SetDelay(float milliseconds);  ///< 0.1..100
  void SetDepth(float milliseconds);  ///< 0..50, the greatest departure from the delay
  void SetRate(float hertz);          ///< 0.01..10
  void SetFeedback(float amount);     ///< -1..1, held within +-0.98

  /// The values set so far hold from the next frame on.
  void Snap();

  /// As new, but for the values.
  void Silence();

  /// Writes the delayed signal alone. The outputs may not overlap the inputs.
  void Process(const float* in_left, const float* in_right, float* out_left, float* out_right,
               int frames);

  /// No sample that comes out after this (input silent from now on) is larger.
  float TailBound() const;

 private:
  static constexpr int kMask = 8191;    // the line holds 150 ms and the interpolation's neighbours
  static constexpr int kHistory = 106;  // cells: the longest delay and one more

  using Cell = std::array<float, kCell>;
  using Neighbours = std::array<Cell, 4>;

  /// A place of reading, in frames.
  struct Tap {
    float delay = 441.0F;
    float depth = 0.0F;
    bool operator==(const Tap&) const = default;
  };

  /// What a tap gives for the output and for the feedback.
  struct Reading {
    float out;
    float back;
  };

  void ProcessSide(int side, const float* in, float* out, int frames, const Cell& feedback);
  void ReadApart(int side, const Cell& delay, const float* in, float* out, Cell& written,
                 int frames, const Cell& feedback);
  void ReadOneByOne(int side, const Cell& delay, const Cell& next_delay, const float* in,
                    float* out, Cell& written, int frames, const Cell& feedback);
  static Reading Read(const float* line, int write, float delay);
  static Reading Interpolate(float before, float here, float after, float last, float f);
  void EndPart(int frames);

  std::array<std::vector<float>, 2> lines_;
  Tap tap_;
  Tap next_tap_;
  Tap wanted_tap_;
  int fade_left_ = 0;  // from tap_ to next_tap_
  Ramp feedback_;
  Ramp level_;

  bool resting_ = true;
  int cell_position_ = 0;
  int write_ = 0;
  std::uint32_t phase_ = 0;  // 2^32 = one turn
  std::uint32_t phase_step_ = 0;
  PeakHistory<kHistory> written_;
};

}  // namespace vexolo::engine
