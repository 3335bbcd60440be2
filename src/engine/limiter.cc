#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "engine/console.h"
#include "engine/vectorized.h"

namespace vexolo::engine {
namespace {

constexpr float kScale = 32768.0F;
constexpr float kKnee = 0.8912509F;            // -1 dBFS
constexpr float kCeiling = 32766.0F / kScale;  // one step below the largest sample
constexpr float kRoom = kCeiling - kKnee;
constexpr float kFarEnough = 1e6F;  // times the room: the curve has reached its ceiling
constexpr int kPart = 128;

/// Adding this much to a number below 2^22 leaves no bits behind the point; the processor's
/// rounding (to nearest, halves to even) does the rest. Unlike std::rint it is vectorised.
constexpr float kRounder = 12582912.0F;  // 1.5 * 2^23

using Part = std::array<float, kPart>;

float Amount(float x) { return x < 0.0F ? -x : x; }

/// Also for NaN.
bool Overloaded(const Part& samples) {
  int over = 0;
  for (const float sample : samples) over |= Amount(sample) <= kKnee ? 0 : 1;
  return over != 0;
}

/// Above the knee: knee + room * u / sqrt(1 + u^2), u = (amount - knee) / room. The curve leaves
/// the straight line with the same slope and without curvature.
void Bend(Part& samples) {
  for (float& sample : samples) {
    const float number = sample == sample ? sample : 0.0F;
    const float amount = Amount(number);
    const float beyond = amount > kKnee ? (amount - kKnee) / kRoom : 0.0F;
    const float u = beyond < kFarEnough ? beyond : kFarEnough;
    const float bent = kKnee + kRoom * (u / std::sqrt(1.0F + u * u));
    const float limited = amount > kKnee ? std::min(bent, kCeiling) : amount;
    sample = number < 0.0F ? -limited : limited;
  }
}

std::int16_t ToSample(float x) {
  const float rounded = (x * kScale + kRounder) - kRounder;
  return static_cast<std::int16_t>(static_cast<std::int32_t>(rounded));
}

}  // namespace

VEXOLO_VECTORIZED void LimitTo16Bit(const float* left, const float* right, std::int16_t* out,
                                    int frames) {
  for (int done = 0; done < frames; done += kPart) {
    const int part = std::min(kPart, frames - done);
    Part l{};
    Part r{};
    std::copy_n(left + done, part, l.data());
    std::copy_n(right + done, part, r.data());
    if (Overloaded(l)) Bend(l);
    if (Overloaded(r)) Bend(r);
    std::int16_t* to = out + 2 * done;
    for (int i = 0; i < part; ++i) {
      to[2 * i] = ToSample(l[i]);
      to[2 * i + 1] = ToSample(r[i]);
    }
  }
}

}  // namespace vexolo::engine
