#include "engine/chorus.h"

#include <algorithm>
#include <cmath>

#include "engine/vectorized.h"

namespace vexolo::engine {
namespace {

constexpr float kLargestFeedback = 0.98F;
constexpr float kShortest = 2.0F;  // frames: the interpolation looks one frame ahead
constexpr std::uint32_t kQuarterTurn = 1U << 30;

float Frames(float milliseconds) {
  return static_cast<float>(static_cast<double>(milliseconds) * kFrameRate / 1000.0);
}

/// Sine of a phase, error below 4e-6: the turn is folded to a half and the series cut after x^9.
float Sine(std::uint32_t phase) {
  float x = static_cast<float>(static_cast<std::int32_t>(phase)) * 0x1p-31F;  // -1..1 = half turns
  x = x > 0.5F ? 1.0F - x : x;
  x = x < -0.5F ? -1.0F - x : x;
  const float square = x * x;
  return x * (3.14159265F +
              square * (-5.16771278F + square * (2.55016404F + square * (-0.599264529F +
                                                                         square * 0.0821458866F))));
}

/// At least kShortest, with a parabola between so that the pitch does not jump.
float Shortened(float delay) {
  const float above = delay > 0.0F ? delay : 0.0F;
  const float bent = kShortest + above * above * (0.25F / kShortest);
  return delay >= 2.0F * kShortest ? delay : bent;
}

}  // namespace

Chorus::Chorus() : level_(1.0F) {
  for (auto& line : lines_) line.resize(kMask + 1);
  wanted_tap_ = tap_;
  SetRate(0.4F);
  Snap();
}

void Chorus::SetDelay(float milliseconds) { wanted_tap_.delay = Frames(milliseconds); }
void Chorus::SetDepth(float milliseconds) { wanted_tap_.depth = Frames(milliseconds); }

void Chorus::SetRate(float hertz) {
  phase_step_ = static_cast<std::uint32_t>(std::lround(hertz / kFrameRate * 0x1p32));
}

void Chorus::SetFeedback(float amount) {
  const float feedback = std::clamp(amount, -kLargestFeedback, kLargestFeedback);
  feedback_.Set(feedback);
  level_.Set(std::sqrt(1.0F - feedback * feedback));
}

void Chorus::Snap() {
  tap_ = wanted_tap_;
  fade_left_ = 0;
  feedback_.Snap();
  level_.Snap();
}

void Chorus::Silence() {
  for (auto& line : lines_) std::fill(line.begin(), line.end(), 0.0F);
  written_.Clear();
  resting_ = true;
  cell_position_ = 0;
  write_ = 0;
  phase_ = 0;
}

float Chorus::TailBound() const {
  constexpr float kOvershoot = 1.25F;  // of the cubic interpolation
  return written_.Max() * level_.Bound() * kOvershoot;
}

void Chorus::Process(const float* in_left, const float* in_right, float* out_left, float* out_right,
                     int frames) {
  for (int done = 0; done < frames;) {
    if (fade_left_ == 0 && wanted_tap_ != tap_) {
      next_tap_ = wanted_tap_;
      fade_left_ = kRampFrames;
    }
    int part = std::min(frames - done, kCell - cell_position_);
    if (fade_left_ > 0) part = std::min(part, fade_left_);
    resting_ = resting_ && AllZero(in_left + done, part) && AllZero(in_right + done, part);
    if (resting_) {
      std::fill_n(out_left + done, part, 0.0F);
      std::fill_n(out_right + done, part, 0.0F);
      feedback_.Advance(part);
      level_.Advance(part);
    } else {
      Cell feedback;
      Cell level;
      feedback_.Fill(feedback.data(), part);
      level_.Fill(level.data(), part);
      ProcessSide(0, in_left + done, out_left + done, part, feedback);
      ProcessSide(1, in_right + done, out_right + done, part, feedback);
      for (int i = 0; i < part; ++i) out_left[done + i] *= level[i];
      for (int i = 0; i < part; ++i) out_right[done + i] *= level[i];
    }
    EndPart(part);
    done += part;
  }
}

/// For the output, the cubic through four neighbours (Lagrange): bright. For the feedback, the
/// straight line between two: no value outside of theirs, so that nothing can build up.
inline Chorus::Reading Chorus::Interpolate(float before, float here, float after, float last,
                                           float f) {
  const float down = f - 1.0F;
  const float down2 = f - 2.0F;
  const float up = f + 1.0F;
  const float out = (up * down) * (0.5F * (down2 * here) + (1.0F / 6.0F) * (f * last)) -
                    (f * down2) * (0.5F * (up * after) + (1.0F / 6.0F) * (down * before));
  return {out, here + f * (after - here)};
}

inline Chorus::Reading Chorus::Read(const float* line, int write, float delay) {
  const int whole = static_cast<int>(delay);
  const int at = write - whole;
  return Interpolate(line[(at + 1) & kMask], line[at & kMask], line[(at - 1) & kMask],
                     line[(at - 2) & kMask], delay - static_cast<float>(whole));
}

VEXOLO_VECTORIZED void Chorus::ProcessSide(int side, const float* in, float* out, int frames,
                                           const Cell& feedback) {
  Cell sine;
  Cell delay;
  Cell next_delay;
  const std::uint32_t phase = side == 0 ? phase_ : phase_ + kQuarterTurn;
  for (int i = 0; i < frames; ++i) {
    sine[i] = Sine(phase + phase_step_ * static_cast<std::uint32_t>(i));
  }
  for (int i = 0; i < frames; ++i) delay[i] = Shortened(tap_.delay + tap_.depth * sine[i]);
  if (fade_left_ > 0) {
    for (int i = 0; i < frames; ++i) {
      next_delay[i] = Shortened(next_tap_.delay + next_tap_.depth * sine[i]);
    }
  }
  Cell written;
  if (fade_left_ == 0 && *std::min_element(delay.begin(), delay.begin() + frames) > kCell + 2) {
    ReadApart(side, delay, in, out, written, frames, feedback);
  } else {
    ReadOneByOne(side, delay, next_delay, in, out, written, frames, feedback);
  }
  written_.Add(written.data(), frames);
}

/// Where nothing that is read is written by these frames: first all neighbours are brought
/// together, then every frame is computed on its own.
VEXOLO_VECTORIZED void Chorus::ReadApart(int side, const Cell& delay, const float* in, float* out,
                                         Cell& written, int frames, const Cell& feedback) {
  float* line = lines_[side].data();
  Neighbours near;
  Cell fraction;
  for (int i = 0; i < frames; ++i) {
    const int whole = static_cast<int>(delay[i]);
    fraction[i] = delay[i] - static_cast<float>(whole);
    const int at = write_ + i - whole;
    for (int place = 0; place < 4; ++place) near[place][i] = line[(at + 1 - place) & kMask];
  }
  for (int i = 0; i < frames; ++i) {
    const Reading reading =
        Interpolate(near[0][i], near[1][i], near[2][i], near[3][i], fraction[i]);
    out[i] = reading.out;
    written[i] = in[i] + feedback[i] * reading.back;
  }
  const int first = std::min(frames, kMask + 1 - write_);
  std::copy_n(written.data(), first, line + write_);
  std::copy_n(written.data() + first, frames - first, line);
}

VEXOLO_VECTORIZED void Chorus::ReadOneByOne(int side, const Cell& delay, const Cell& next_delay,
                                            const float* in, float* out, Cell& written, int frames,
                                            const Cell& feedback) {
  float* line = lines_[side].data();
  for (int i = 0; i < frames; ++i) {
    const int write = (write_ + i) & kMask;
    Reading reading = Read(line, write, delay[i]);
    if (fade_left_ > 0) {
      const Reading next = Read(line, write, next_delay[i]);
      const float old = static_cast<float>(fade_left_ - 1 - i) / kRampFrames;
      reading.out = reading.out * old + next.out * (1.0F - old);
      reading.back = reading.back * old + next.back * (1.0F - old);
    }
    out[i] = reading.out;
    written[i] = in[i] + feedback[i] * reading.back;
    line[write] = written[i];
  }
}

void Chorus::EndPart(int frames) {
  phase_ += phase_step_ * static_cast<std::uint32_t>(frames);
  write_ = (write_ + frames) & kMask;
  if (fade_left_ > 0) {
    fade_left_ -= frames;
    if (fade_left_ == 0) tap_ = next_tap_;
  }
  cell_position_ += frames;
  if (cell_position_ < kCell) return;
  cell_position_ = 0;
  written_.Turn();
  if (!resting_ && IsOverOrBroken(TailBound())) {
    const std::uint32_t phase = phase_;
    Silence();
    phase_ = phase;
  }
}

}  // namespace vexolo::engine
