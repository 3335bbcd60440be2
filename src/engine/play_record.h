/// What of a stream has been handed to the device when: from mixing positions to heard ones.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "engine/time_line.h"

namespace vexolo::engine {

/// Written by the mixing thread, read by any; no locks, no allocation.
///
/// Device frames count what the output has taken since it was opened. Only the last kEntries pieces
/// without a jump in position or ratio are remembered, which reaches back much further than any
/// device queues.
class PlayRecord {
 public:
  struct Place {
    std::uint64_t position = 0;
    TempoRatio ratio;
  };

  /// The stream is at `place` from device frame `device_frame` on (start, seek).
  void Begin(std::uint64_t device_frame, Place place) {
    Append(device_frame, 0, place);
    floor_.store(device_frame, std::memory_order_release);
  }

  /// `frames` frames from `place` on were handed over at `device_frame`.
  void Add(std::uint64_t device_frame, std::uint64_t frames, Place place) {
    const std::uint64_t count = count_.load(std::memory_order_relaxed);
    if (count > 0) {
      Entry& last = entries_[(count - 1) % kEntries];
      const std::uint64_t had = last.frames.load(std::memory_order_relaxed);
      if (last.device_frame.load(std::memory_order_relaxed) + had == device_frame &&
          last.position.load(std::memory_order_relaxed) + had == place.position &&
          last.ratio.load(std::memory_order_relaxed) == Pack(place.ratio)) {
        last.frames.store(had + frames, std::memory_order_release);
        return;
      }
    }
    Append(device_frame, frames, place);
  }

  /// The place that is heard when the device has played `device_frame` frames.
  Place At(std::uint64_t device_frame) const {
    const std::uint64_t floor = floor_.load(std::memory_order_acquire);
    if (device_frame < floor) device_frame = floor;
    for (;;) {
      const std::uint64_t count = count_.load(std::memory_order_acquire);
      const std::uint64_t oldest = count > kEntries / 2 ? count - kEntries / 2 : 0;
      Place place;
      for (std::uint64_t index = count; index > oldest; --index) {
        const Entry& entry = entries_[(index - 1) % kEntries];
        const std::uint64_t begin = entry.device_frame.load(std::memory_order_acquire);
        const std::uint64_t frames = entry.frames.load(std::memory_order_acquire);
        place = {entry.position.load(std::memory_order_acquire),
                 Unpack(entry.ratio.load(std::memory_order_acquire))};
        if (begin > device_frame) continue;
        const std::uint64_t gone = device_frame - begin;
        place.position += gone < frames ? gone : frames;
        break;
      }
      // Entries are written over only kEntries / 2 appends after they were last looked at; who
      // reads a value that was written over since then also sees the count that came before it.
      if (count_.load(std::memory_order_relaxed) - count < kEntries / 2) return place;
    }
  }

  static std::uint64_t Pack(TempoRatio ratio) {
    return (static_cast<std::uint64_t>(ratio.numerator) << 32) | ratio.denominator;
  }
  static TempoRatio Unpack(std::uint64_t packed) {
    return {static_cast<std::uint32_t>(packed >> 32), static_cast<std::uint32_t>(packed)};
  }

 private:
  static constexpr std::uint64_t kEntries = 4096;
  struct Entry {
    std::atomic<std::uint64_t> device_frame{0};
    std::atomic<std::uint64_t> frames{0};
    std::atomic<std::uint64_t> position{0};
    std::atomic<std::uint64_t> ratio{0};
  };

  void Append(std::uint64_t device_frame, std::uint64_t frames, Place place) {
    const std::uint64_t count = count_.load(std::memory_order_relaxed);
    Entry& entry = entries_[count % kEntries];
    entry.device_frame.store(device_frame, std::memory_order_release);
    entry.position.store(place.position, std::memory_order_release);
    entry.ratio.store(Pack(place.ratio), std::memory_order_release);
    entry.frames.store(frames, std::memory_order_release);
    count_.store(count + 1, std::memory_order_release);
  }

  std::array<Entry, kEntries> entries_;
  std::atomic<std::uint64_t> count_{0};
  std::atomic<std::uint64_t> floor_{0};
};

}  // namespace vexolo::engine
