#include "engine/time_line.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace vexolo::engine {
namespace {

// Products: moment (64 bits) x numerator (24) x 44100 (16); frame (64) x denominator (24) x
// division (15) x 10^6 (20). Both fit.
__extension__ using Wide = unsigned __int128;

constexpr std::uint16_t kSmpteFlag = 0x8000;
constexpr std::uint16_t kFallbackDivision = 96;
constexpr std::uint32_t kMicrosecondsPerSecond = 1'000'000;
constexpr std::uint32_t kMaxTick = std::numeric_limits<std::uint32_t>::max();

/// Length of a tick: `tempo` / `division` microseconds. Division 0: the header's means nothing.
struct TickLength {
  std::uint32_t division;
  std::uint32_t tempo;
};

TickLength SmpteTickLength(std::uint16_t division) {
  const auto ticks_per_frame = static_cast<std::uint32_t>(division & 0xFF);
  const auto frames_per_second = static_cast<std::uint32_t>(0x100 - (division >> 8));
  switch (frames_per_second) {
    case 24:
    case 25:
    case 30:
      return {frames_per_second * ticks_per_frame, kMicrosecondsPerSecond};
    case 29:  // "drop frame": 30 frames in 1.001 seconds
      return {30 * ticks_per_frame, kMicrosecondsPerSecond / 1000 * 1001};
    default:
      return {0, kMicrosecondsPerSecond};
  }
}

bool IsSmpte(std::uint16_t division) { return (division & kSmpteFlag) != 0; }

/// Numbers of everyday songs fit 64 bits, for which there is an instruction.
Wide Divide(Wide dividend, Wide divisor) {
  if ((dividend | divisor) >> 64 != 0) return dividend / divisor;
  return static_cast<std::uint64_t>(dividend) / static_cast<std::uint64_t>(divisor);
}

Wide DivideUp(Wide dividend, Wide divisor) { return Divide(dividend + divisor - 1, divisor); }

std::uint64_t Saturate(Wide value) {
  constexpr auto kMax = std::numeric_limits<std::uint64_t>::max();
  return value > kMax ? kMax : static_cast<std::uint64_t>(value);
}

/// Moment x Multiplier / Divisor = frame.
Wide Multiplier(TempoRatio ratio) { return Wide{ratio.numerator} * kSampleRate; }

Wide Divisor(TempoRatio ratio, std::uint64_t division) {
  return Wide{ratio.denominator} * division * kMicrosecondsPerSecond;
}

/// One entry for each tick, the first at tick 0.
std::vector<TempoChange> Normalized(std::vector<TempoChange> changes) {
  if (changes.empty() || changes.front().tick != 0) {
    changes.insert(changes.begin(), {0, kDefaultTempo});
  }
  auto last = changes.begin();
  for (const TempoChange& change : changes) {
    if (change.tick != last->tick) ++last;
    *last = change;
  }
  changes.erase(last + 1, changes.end());
  return changes;
}

}  // namespace

bool TimeLine::IsDivision(std::uint16_t division) {
  return IsSmpte(division) ? SmpteTickLength(division).division != 0 : division != 0;
}

TimeLine::TimeLine(std::uint16_t division, std::vector<TempoChange> changes)
    : tempos_(Normalized(std::move(changes))),
      division_(IsDivision(division) ? division : kFallbackDivision) {
  if (IsDivision(division) && IsSmpte(division)) {
    const TickLength length = SmpteTickLength(division);
    division_ = length.division;
    segments_.push_back({0, length.tempo, 0});
    return;
  }
  segments_.reserve(tempos_.size());
  std::uint64_t moment = 0;
  for (const TempoChange& change : tempos_) {
    if (!segments_.empty()) {
      const Segment& last = segments_.back();
      moment += std::uint64_t{change.tick - last.tick} * last.tempo;
    }
    segments_.push_back({change.tick, change.tempo, moment});
  }
}

const TimeLine::Segment& TimeLine::SegmentOfTick(std::uint32_t tick) const {
  const auto next = std::upper_bound(
      segments_.begin(), segments_.end(), tick,
      [](std::uint32_t value, const Segment& segment) { return value < segment.tick; });
  return *std::prev(next);
}

std::uint32_t TimeLine::TempoAt(std::uint32_t tick) const {
  const auto next = std::upper_bound(
      tempos_.begin(), tempos_.end(), tick,
      [](std::uint32_t value, const TempoChange& change) { return value < change.tick; });
  return std::prev(next)->tempo;
}

std::uint64_t TimeLine::FrameOfTick(std::uint32_t tick, TempoRatio ratio) const {
  const Segment& segment = SegmentOfTick(tick);
  const std::uint64_t moment = segment.moment + std::uint64_t{tick - segment.tick} * segment.tempo;
  return Saturate(DivideUp(moment * Multiplier(ratio), Divisor(ratio, division_)));
}

std::uint32_t TimeLine::TickOfFrame(std::uint64_t frame, TempoRatio ratio) const {
  // A tick's frame is not after `frame` exactly where its moment is not after this one.
  const std::uint64_t moment =
      Saturate(Divide(frame * Divisor(ratio, division_), Multiplier(ratio)));
  const auto next = std::upper_bound(
      segments_.begin(), segments_.end(), moment,
      [](std::uint64_t value, const Segment& segment) { return value < segment.moment; });
  const Segment& segment = *std::prev(next);
  const std::uint64_t ticks = (moment - segment.moment) / segment.tempo;
  return ticks < kMaxTick - segment.tick ? segment.tick + static_cast<std::uint32_t>(ticks)
                                         : kMaxTick;
}

std::uint64_t TimeLine::Rescale(std::uint64_t frame, TempoRatio from, TempoRatio to) const {
  const std::uint32_t tick = TickOfFrame(frame, from);
  const std::uint64_t first = FrameOfTick(tick, to);
  if (frame == FrameOfTick(tick, from)) return first;
  // Between two ticks: in proportion, but rounding up must not reach the next tick.
  const Wide stretched = Wide{frame} * (std::uint64_t{to.numerator} * from.denominator);
  const std::uint64_t place =
      Saturate(DivideUp(stretched, std::uint64_t{to.denominator} * from.numerator));
  if (tick == kMaxTick) return std::max(place, first);
  const std::uint64_t next = FrameOfTick(tick + 1, to);
  return next > first ? std::clamp(place, first, next - 1) : first;
}

}  // namespace vexolo::engine
