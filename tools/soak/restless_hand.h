/// A hand that never rests, on the program, for a given time.
#pragma once

#include <algorithm>
#include <chrono>

#include "tools/soak/memory_watch.h"

namespace vexolo {

inline constexpr double kRest = 60;             ///< seconds between two rests
inline constexpr double kShortest = 6 * kRest;  ///< run that memory is judged by

/// Lets the hand take one step after the other for so many seconds. Once a minute it rests, which
/// lets everything go, and the memory is looked at. False where that has grown.
///
/// `Hand` has Step(), Rest() and Report(). `warm_up`: seconds before memory is judged, at most a
/// quarter of the whole.
template <typename Hand>
bool UseAndWatch(Hand& hand, double seconds, double warm_up) {
  using Clock = std::chrono::steady_clock;
  MemoryWatch memory(std::min(warm_up, seconds / 4));
  const auto begin = Clock::now();
  const auto elapsed = [&] { return std::chrono::duration<double>(Clock::now() - begin).count(); };
  for (double next_rest = kRest; elapsed() < seconds;) {
    hand.Step();
    if (elapsed() < next_rest) continue;
    hand.Rest();
    memory.Look(elapsed());
    next_rest = elapsed() + kRest;
  }
  hand.Report();
  return seconds < kShortest || memory.IsFlat();
}

}  // namespace vexolo
