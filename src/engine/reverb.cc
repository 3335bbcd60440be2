#include "engine/reverb.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "engine/vectorized.h"

namespace vexolo::engine {
namespace {

// Primes, so that no two lines repeat together: 16 to 75 ms, 0.71 s in all.
constexpr std::array<int, 16> kLineLengths = {701,  839,  991,  1151, 1319, 1481, 1657, 1831,
                                              2003, 2203, 2371, 2549, 2741, 2927, 3119, 3301};

// First reflections: frames (growing gaps, 25 ms in all) and signs.
constexpr std::array<std::array<int, 12>, 2> kEarlyFrames = {
    {{0, 59, 127, 181, 263, 347, 439, 541, 653, 787, 929, 1087},
     {0, 43, 101, 197, 241, 367, 421, 563, 683, 751, 947, 1061}}};
constexpr std::array<std::array<float, 12>, 2> kEarlySigns = {
    {{1, -1, 1, 1, -1, -1, 1, -1, -1, 1, 1, -1}, {1, 1, -1, 1, -1, 1, -1, -1, 1, 1, -1, -1}}};

constexpr std::array<std::array<int, 4>, 2> kDiffuserLengths = {
    {{71, 113, 179, 293}, {73, 127, 191, 277}}};
constexpr float kDiffuserGain = 0.6F;

// Signs of the lines towards the outputs (even lines left, odd ones right) and of the two inputs
// towards the lines. The input patterns are orthogonal, so that both sides excite the room alike.
constexpr std::array<float, 16> kOutSigns = {1,  1,  1,  -1, -1, 1,  1,  1,
                                             -1, -1, -1, 1,  1,  -1, -1, -1};
constexpr std::array<float, 16> kInLeft = {1, -1, 1, 1, -1, 1, 1, -1, -1, -1, 1, -1, 1, 1, -1, 1};
constexpr std::array<float, 16> kInRight = {1, 1, -1, 1, -1, -1, 1, 1, -1, 1, 1, 1, 1, -1, 1, 1};

constexpr std::array<double, 4> kRotationHertz = {0.61, -0.83, 1.03, -0.71};

// Of the noise level at 1800 ms, see SetTime.
constexpr double kNoiseGain = 0.5;  // -6 dB
constexpr double kReferenceTime = 1800.0;

float DecayGain(double frames, double milliseconds) {
  return static_cast<float>(std::pow(10.0, -3000.0 * frames / (milliseconds * kFrameRate)));
}

/// Energy of the whole response, of which the first pass has 1: what one pass leaves, summed over
/// all passes.
double ResponseEnergy(double milliseconds) {
  double kept = 0.0;
  for (const int length : kLineLengths) {
    kept += std::pow(10.0, -6000.0 * length / (milliseconds * kFrameRate));
  }
  return 1.0 / (1.0 - kept / static_cast<double>(kLineLengths.size()));
}

using EarlyGains = std::array<float, 12>;

/// Gains of the first reflections of a side: each stands for the time up to the next one, they
/// fall as the tail does, and their energies add up to `energy`.
EarlyGains EarlyReflections(int side, double milliseconds, double energy) {
  EarlyGains gains;
  const auto& frames = kEarlyFrames[side];
  double sum = 0.0;
  for (std::size_t i = 0; i < gains.size(); ++i) {
    const int gap = i + 1 < gains.size() ? frames[i + 1] - frames[i] : frames[i] - frames[i - 1];
    const float share = DecayGain(frames[i], milliseconds) * std::sqrt(static_cast<float>(gap));
    gains[i] = kEarlySigns[side][i] * share;
    sum += static_cast<double>(share) * share;
  }
  const auto scale = static_cast<float>(std::sqrt(energy / sum));
  for (float& gain : gains) gain *= scale;
  return gains;
}

int MeanDiffuserDelay() {
  int sum = 0;
  for (const auto& side : kDiffuserLengths) {
    for (const int length : side) sum += length;
  }
  return sum / 2;
}

void Butterfly(float* a, float* b, int frames) {
  for (int i = 0; i < frames; ++i) {
    const float sum = a[i] + b[i];
    b[i] = a[i] - b[i];
    a[i] = sum;
  }
}

}  // namespace

void Reverb::Line::Read(float* out, int frames) const {
  const int first = std::min(frames, length - position);
  std::memcpy(out, samples + position, sizeof(float) * static_cast<std::size_t>(first));
  std::memcpy(out + first, samples, sizeof(float) * static_cast<std::size_t>(frames - first));
}

void Reverb::Line::Write(const float* in, int frames) {
  const int first = std::min(frames, length - position);
  std::memcpy(samples + position, in, sizeof(float) * static_cast<std::size_t>(first));
  std::memcpy(samples, in + first, sizeof(float) * static_cast<std::size_t>(frames - first));
  position += frames;
  if (position >= length) position -= length;
}

void Reverb::Filter::Set(float hertz) {
  if (hertz <= 0.0F) {
    share.Set(0.0F);
    return;
  }
  warped.Set(static_cast<float>(std::tan(std::numbers::pi * hertz / kFrameRate)));
  if (share.Zero()) {
    warped.Snap();
    state = {};
  }
  share.Set(1.0F);
}

void Reverb::Filter::Snap() {
  warped.Snap();
  share.Snap();
}

void Reverb::Filter::Advance(int frames) {
  warped.Advance(frames);
  share.Advance(frames);
}

void Reverb::Filter::Process(bool high_pass, Stereo& signal, int frames) {
  if (share.Zero()) {
    Advance(frames);
    return;
  }
  Cell g;
  Cell mix;
  warped.Fill(g.data(), frames);
  share.Fill(mix.data(), frames);
  auto state_left = state[0];
  auto state_right = state[1];
  double g_before = -1.0;
  double normal = 0.0;
  const auto tick = [&](std::array<double, 2>& s, double in, double gain) {
    const double high = (in - (std::numbers::sqrt2 + gain) * s[0] - s[1]) * normal;
    const double band = gain * high + s[0];
    const double low = gain * band + s[1];
    s[0] = gain * high + band;
    s[1] = gain * band + low;
    return high_pass ? high : low;
  };
  for (int i = 0; i < frames; ++i) {
    const double gain = g[i];
    if (gain != g_before) normal = 1.0 / (1.0 + gain * (std::numbers::sqrt2 + gain));
    g_before = gain;
    const double left = signal[0][i];
    const double right = signal[1][i];
    const double share_now = mix[i];
    signal[0][i] = static_cast<float>(left + share_now * (tick(state_left, left, gain) - left));
    signal[1][i] = static_cast<float>(right + share_now * (tick(state_right, right, gain) - right));
  }
  state[0] = state_left;
  state[1] = state_right;
}

namespace {

/// Both sides at once.
using Sides = double __attribute__((vector_size(16)));

/// The same filter at rest, as one step from state to state: two multiplications follow one another
/// where Filter::Process has six, so that the processor waits less.
struct SteadyFilter {
  SteadyFilter(double gain, bool high_pass) {
    const double resonance = std::numbers::sqrt2 + gain;
    const double normal = 1.0 / (1.0 + gain * resonance);
    const double in = 2.0 * gain * normal;
    from_in = {in, in * gain};
    from_first = {1.0 - in * resonance, 2.0 * gain - in * gain * resonance};
    from_second = {-in, 1.0 - in * gain};
    out_in = high_pass ? normal : normal * gain * gain;
    out_first = high_pass ? -normal * resonance : gain - normal * gain * gain * resonance;
    out_second = high_pass ? -normal : 1.0 - normal * gain * gain;
  }

  Sides Tick(Sides& first, Sides& second, Sides in) const {
    const Sides out = out_in * in + (out_first * first + out_second * second);
    const Sides next = from_first[0] * first + (from_second[0] * second + from_in[0] * in);
    second = from_first[1] * first + (from_second[1] * second + from_in[1] * in);
    first = next;
    return out;
  }

  std::array<double, 2> from_in, from_first, from_second;  // to both parts of the state
  double out_in, out_first, out_second;
};

Sides Load(const std::array<std::array<double, 2>, 2>& state, int part) {
  return Sides{state[0][part], state[1][part]};
}

void Store(std::array<std::array<double, 2>, 2>& state, int part, Sides value) {
  state[0][part] = value[0];
  state[1][part] = value[1];
}

}  // namespace

/// High-pass, then low-pass. As a rule neither changes; then both run in one loop, the second one
/// frame behind the first as far as the processor is concerned.
void Reverb::LimitBand(Stereo& signal, int frames) {
  const bool usual =
      high_pass_.Steady() && low_pass_.Steady() && !high_pass_.Off() && !low_pass_.Off();
  if (!usual) {
    high_pass_.Process(true, signal, frames);
    low_pass_.Process(false, signal, frames);
    return;
  }
  const SteadyFilter high(high_pass_.warped.Target(), true);
  const SteadyFilter low(low_pass_.warped.Target(), false);
  Sides high_first = Load(high_pass_.state, 0);
  Sides high_second = Load(high_pass_.state, 1);
  Sides low_first = Load(low_pass_.state, 0);
  Sides low_second = Load(low_pass_.state, 1);
  for (int i = 0; i < frames; ++i) {
    const Sides in = {signal[0][i], signal[1][i]};
    const Sides out = low.Tick(low_first, low_second, high.Tick(high_first, high_second, in));
    signal[0][i] = static_cast<float>(out[0]);
    signal[1][i] = static_cast<float>(out[1]);
  }
  Store(high_pass_.state, 0, high_first);
  Store(high_pass_.state, 1, high_second);
  Store(low_pass_.state, 0, low_first);
  Store(low_pass_.state, 1, low_second);
}

Reverb::Reverb() {
  std::size_t total = 0;
  for (const int length : kLineLengths) total += static_cast<std::size_t>(length);
  for (const auto& side : kDiffuserLengths) {
    for (const int length : side) total += static_cast<std::size_t>(length);
  }
  memory_.resize(total);
  float* next = memory_.data();
  for (int i = 0; i < kLines; ++i) {
    lines_[i] = {next, kLineLengths[i], 0};
    next += kLineLengths[i];
  }
  for (int side = 0; side < 2; ++side) {
    delay_line_[side].resize(kDelayMask + 1);
    early_line_[side].resize(kEarlyMask + 1 + kCell);
    for (int i = 0; i < kDiffusers; ++i) {
      diffusers_[side][i] = {next, kDiffuserLengths[side][i], 0};
      next += kDiffuserLengths[side][i];
    }
  }
  SetTime(1800.0F);
  Snap();
  Silence();
}

void Reverb::SetTime(float milliseconds) {
  if (milliseconds == time_) return;
  time_ = milliseconds;
  for (int i = 0; i < kLines; ++i) line_gain_[i].Set(DecayGain(kLineLengths[i], milliseconds));
  // No part may ring longer than the whole.
  for (int side = 0; side < 2; ++side) {
    for (int i = 0; i < kDiffusers; ++i) {
      const float gain = DecayGain(kDiffuserLengths[side][i], milliseconds);
      diffuser_gain_[side][i].Set(std::min(gain, kDiffuserGain));
    }
  }
  // The first pass has the energy 1; what the diffusers would hold back beyond the decay goes to
  // the first reflections, which are all there is of the shortest times.
  const double diffused = DecayGain(MeanDiffuserDelay(), milliseconds);
  diffused_gain_.Set(static_cast<float>(diffused));
  for (int side = 0; side < 2; ++side) {
    const EarlyGains gains = EarlyReflections(side, milliseconds, 1.0 - diffused * diffused);
    for (int i = 0; i < kEarly; ++i) early_gain_[side][i].Set(gains[i]);
  }
  // A longer tail holds more energy. Three quarters of that (in dB) is taken back.
  const double energy = ResponseEnergy(milliseconds);
  const double reference = ResponseEnergy(kReferenceTime);
  const double grown = std::pow(energy / reference, 0.25);
  level_.Set(static_cast<float>(kNoiseGain * std::sqrt(grown / energy)));
}

void Reverb::SetDelay(float milliseconds) {
  wanted_delay_ = static_cast<int>(std::lround(milliseconds * kFrameRate / 1000.0));
}

void Reverb::SetLowPass(float hertz) { low_pass_.Set(hertz); }
void Reverb::SetHighPass(float hertz) { high_pass_.Set(hertz); }

void Reverb::Snap() {
  for (Ramp& ramp : line_gain_) ramp.Snap();
  for (auto& side : diffuser_gain_) {
    for (Ramp& ramp : side) ramp.Snap();
  }
  for (auto& side : early_gain_) {
    for (Ramp& ramp : side) ramp.Snap();
  }
  diffused_gain_.Snap();
  level_.Snap();
  low_pass_.Snap();
  high_pass_.Snap();
  delay_ = wanted_delay_;
  fade_left_ = 0;
}

void Reverb::Silence() {
  std::fill(memory_.begin(), memory_.end(), 0.0F);
  for (auto& side : delay_line_) std::fill(side.begin(), side.end(), 0.0F);
  for (auto& side : early_line_) std::fill(side.begin(), side.end(), 0.0F);
  for (Line& line : lines_) line.position = 0;
  for (auto& side : diffusers_) {
    for (Line& line : side) line.position = 0;
  }
  low_pass_.state = {};
  high_pass_.state = {};
  written_.Clear();
  resting_ = true;
  write_ = 0;
  cell_position_ = 0;
  cells_ = 0;
  UpdateRotations();
}

float Reverb::TailBound() const {
  // The lines in step would add up to eight times one of them, the first reflections to four; the
  // diffusers come on top.
  constexpr float kLargestSum = 14.0F;
  return written_.Max() * level_.Bound() * kLargestSum;
}

void Reverb::Process(const float* in_left, const float* in_right, float* out_left, float* out_right,
                     int frames) {
  for (int done = 0; done < frames;) {
    StartFade();
    int part = std::min(frames - done, kCell - cell_position_);
    if (fade_left_ > 0) part = std::min(part, fade_left_);
    const float* left = in_left + done;
    const float* right = in_right + done;
    if (resting_ && AllZero(left, part) && AllZero(right, part)) {
      Rest(out_left + done, out_right + done, part);
    } else {
      resting_ = false;
      ProcessPart(left, right, out_left + done, out_right + done, part);
    }
    EndPart(part);
    done += part;
  }
}

/// Empty lines and nothing coming in: only the clocks run.
void Reverb::Rest(float* out_left, float* out_right, int frames) {
  std::fill_n(out_left, frames, 0.0F);
  std::fill_n(out_right, frames, 0.0F);
  for (Ramp& ramp : line_gain_) ramp.Advance(frames);
  for (auto& side : diffuser_gain_) {
    for (Ramp& ramp : side) ramp.Advance(frames);
  }
  for (auto& side : early_gain_) {
    for (Ramp& ramp : side) ramp.Advance(frames);
  }
  diffused_gain_.Advance(frames);
  level_.Advance(frames);
  low_pass_.Advance(frames);
  high_pass_.Advance(frames);
}

void Reverb::StartFade() {
  if (fade_left_ > 0 || wanted_delay_ == delay_) return;
  next_delay_ = wanted_delay_;
  fade_left_ = kRampFrames;
}

void Reverb::EndPart(int frames) {
  if (fade_left_ > 0) {
    fade_left_ -= frames;
    if (fade_left_ == 0) delay_ = next_delay_;
  }
  cell_position_ += frames;
  if (cell_position_ < kCell) return;
  cell_position_ = 0;
  ++cells_;
  written_.Turn();
  if (!resting_ && IsOverOrBroken(TailBound())) {
    const std::uint32_t cells = cells_;
    Silence();
    cells_ = cells;
  }
  UpdateRotations();
}

VEXOLO_VECTORIZED void Reverb::ProcessPart(const float* in_left, const float* in_right,
                                           float* out_left, float* out_right, int frames) {
  Stereo signal;
  std::copy_n(in_left, frames, signal[0].data());
  std::copy_n(in_right, frames, signal[1].data());
  LimitBand(signal, frames);
  Delay(signal, frames);

  Stereo diffused;
  Cell gain;
  diffused_gain_.Fill(gain.data(), frames);
  for (int side = 0; side < 2; ++side) {
    Diffuse(side, signal[side], diffused[side], frames);
    for (int i = 0; i < frames; ++i) diffused[side][i] *= gain[i];
  }

  for (int line = 0; line < kLines; ++line) {
    lines_[line].Read(line_signal_[line].data(), frames);
    line_gain_[line].Scale(line_signal_[line].data(), frames);
  }
  Cell level;
  level_.Fill(level.data(), frames);
  for (int side = 0; side < 2; ++side) {
    float* out = side == 0 ? out_left : out_right;
    std::copy_n(diffused[side].data(), frames, out);
    Reflect(side, signal[side], out, frames);
    for (int line = side; line < kLines; line += 2) {
      const float sign = kOutSigns[line];
      const Cell& tap = line_signal_[line];
      for (int i = 0; i < frames; ++i) out[i] += sign * tap[i];
    }
    for (int i = 0; i < frames; ++i) out[i] *= level[i];
  }
  Rotate(frames);
  Mix(frames);
  FeedLines(diffused, frames);
  write_ = (write_ + frames) & kDelayMask;
}

/// Replaces the signal by what stood in it a delay ago; where the delay changes, fades from one
/// place to the other.
void Reverb::Delay(Stereo& signal, int frames) {
  for (int side = 0; side < 2; ++side) {
    written_.Add(signal[side].data(), frames);
    const int first = std::min(frames, kDelayMask + 1 - write_);
    std::copy_n(signal[side].data(), first, delay_line_[side].data() + write_);
    std::copy_n(signal[side].data() + first, frames - first, delay_line_[side].data());
  }
  ReadDelay(delay_, signal, frames);
  if (fade_left_ > 0) {
    Stereo next;
    ReadDelay(next_delay_, next, frames);
    for (int side = 0; side < 2; ++side) {
      for (int i = 0; i < frames; ++i) {
        const float old = static_cast<float>(fade_left_ - 1 - i) / kRampFrames;
        signal[side][i] = signal[side][i] * old + next[side][i] * (1.0F - old);
      }
    }
  }
}

void Reverb::ReadDelay(int delay, Stereo& out, int frames) const {
  const int from = (write_ - delay) & kDelayMask;
  const int first = std::min(frames, kDelayMask + 1 - from);
  for (int side = 0; side < 2; ++side) {
    std::copy_n(delay_line_[side].data() + from, first, out[side].data());
    std::copy_n(delay_line_[side].data(), frames - first, out[side].data() + first);
  }
}

/// Adds the first reflections. The first cell of the line stands once more behind its end, so that
/// no reflection has to be read in two parts.
VEXOLO_VECTORIZED void Reverb::Reflect(int side, const Cell& in, float* out, int frames) {
  float* line = early_line_[side].data();
  const int to = write_ & kEarlyMask;
  const int written = std::min(frames, kEarlyMask + 1 - to);
  std::copy_n(in.data(), written, line + to);
  std::copy_n(in.data() + written, frames - written, line);
  if (to < kCell || written < frames) std::copy_n(line, kCell, line + kEarlyMask + 1);

  const auto& gains = early_gain_[side];
  if (!std::ranges::all_of(gains, &Ramp::Steady)) {
    for (int tap = 0; tap < kEarly; ++tap) {
      Cell reflection;
      std::copy_n(Early(side, tap), frames, reflection.data());
      early_gain_[side][tap].Scale(reflection.data(), frames);
      for (int i = 0; i < frames; ++i) out[i] += reflection[i];
    }
    return;
  }
  static_assert(kEarly % 4 == 0);
  Cell sum;
  std::copy_n(out, frames, sum.data());
  for (int tap = 0; tap < kEarly; tap += 4) {
    const float* a = Early(side, tap);
    const float* b = Early(side, tap + 1);
    const float* c = Early(side, tap + 2);
    const float* d = Early(side, tap + 3);
    const float gain_a = gains[tap].Target();
    const float gain_b = gains[tap + 1].Target();
    const float gain_c = gains[tap + 2].Target();
    const float gain_d = gains[tap + 3].Target();
    for (int i = 0; i < frames; ++i) {
      sum[i] = sum[i] + a[i] * gain_a + b[i] * gain_b + c[i] * gain_c + d[i] * gain_d;
    }
  }
  std::copy_n(sum.data(), frames, out);
}

/// Where a reflection is read.
const float* Reverb::Early(int side, int tap) const {
  return early_line_[side].data() + ((write_ - kEarlyFrames[side][tap]) & kEarlyMask);
}

/// Schroeder all-passes in series: the echoes multiply, the spectrum stays.
VEXOLO_VECTORIZED void Reverb::Diffuse(int side, const Cell& in, Cell& out, int frames) {
  Cell held;
  Cell gain;
  std::copy_n(in.data(), frames, out.data());
  for (int stage = 0; stage < kDiffusers; ++stage) {
    Line& line = diffusers_[side][stage];
    line.Read(held.data(), frames);
    diffuser_gain_[side][stage].Fill(gain.data(), frames);
    for (int i = 0; i < frames; ++i) {
      const float into = out[i] - gain[i] * held[i];
      out[i] = held[i] + gain[i] * into;
      held[i] = into;
    }
    written_.Add(held.data(), frames);
    line.Write(held.data(), frames);
  }
}

/// Straight lines between the exact rotations at the ends of the cell: so short an arc that the
/// lost energy (1e-6 of it a pass) does not count.
void Reverb::UpdateRotations() {
  const double seconds = cells_ * (kCell / kFrameRate);
  for (int i = 0; i < kRotations; ++i) {
    const double turn = 2.0 * std::numbers::pi * kRotationHertz[i];
    const double here = turn * seconds;
    const double there = turn * (seconds + kCell / kFrameRate);
    cos_[i] = static_cast<float>(std::cos(here));
    sin_[i] = static_cast<float>(std::sin(here));
    cos_step_[i] = (static_cast<float>(std::cos(there)) - cos_[i]) / kCell;
    sin_step_[i] = (static_cast<float>(std::sin(there)) - sin_[i]) / kCell;
  }
}

VEXOLO_VECTORIZED void Reverb::Rotate(int frames) {
  for (int turn = 0; turn < kRotations; ++turn) {
    Cell c;
    Cell s;
    for (int i = 0; i < frames; ++i) {
      const float place = static_cast<float>(cell_position_ + i);
      c[i] = cos_[turn] + cos_step_[turn] * place;
      s[i] = sin_[turn] + sin_step_[turn] * place;
    }
    for (int pair = turn; pair < kLines / 2; pair += kRotations) {
      Cell& a = line_signal_[2 * pair];
      Cell& b = line_signal_[2 * pair + 1];
      for (int i = 0; i < frames; ++i) {
        const float rotated = c[i] * a[i] - s[i] * b[i];
        b[i] = s[i] * a[i] + c[i] * b[i];
        a[i] = rotated;
      }
    }
  }
}

/// The Hadamard matrix but for its factor, in four rounds of sums and differences.
VEXOLO_VECTORIZED void Reverb::Mix(int frames) {
  for (int distance = 1; distance < kLines; distance *= 2) {
    for (int line = 0; line < kLines; ++line) {
      if ((line & distance) != 0) continue;
      Butterfly(line_signal_[line].data(), line_signal_[line + distance].data(), frames);
    }
  }
}

VEXOLO_VECTORIZED void Reverb::FeedLines(const Stereo& diffused, int frames) {
  constexpr float kShare = 0.25F;  // 1 / sqrt(16), of the matrix and of the inputs alike
  for (int line = 0; line < kLines; ++line) {
    Cell& signal = line_signal_[line];
    const float left = kInLeft[line];
    const float right = kInRight[line];
    for (int i = 0; i < frames; ++i) {
      signal[i] = kShare * (signal[i] + left * diffused[0][i] + right * diffused[1][i]);
    }
    written_.Add(signal.data(), frames);
    lines_[line].Write(signal.data(), frames);
  }
}

}  // namespace vexolo::engine
