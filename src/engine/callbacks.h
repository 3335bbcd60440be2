/// The syncs and DSPs of one stream.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "audio/bass.h"
#include "engine/time_line.h"

namespace vexolo::engine {

/// A list that threads append to while another walks it: entries never move and never go away, and
/// are seen only when they are complete. Nobody takes a lock. The room is fixed, so that a callback
/// on the mixing thread may append too.
template <typename Entry, std::size_t kCapacity>
class AppendOnlyList {
 public:
  static constexpr std::size_t kRoom = kCapacity;

  /// False where the list is full.
  bool Append(const Entry& entry) {
    const std::size_t place = taken_.fetch_add(1, std::memory_order_relaxed);
    if (place >= kCapacity) return false;
    slots_[place].entry = entry;
    slots_[place].complete.store(true, std::memory_order_release);
    return true;
  }

  std::size_t size() const {
    const std::size_t taken = taken_.load(std::memory_order_acquire);
    return taken < kCapacity ? taken : kCapacity;
  }

  /// The entry of the walking thread's choice, null while it is still being filled.
  Entry* At(std::size_t index) {
    Slot& slot = slots_[index];
    return slot.complete.load(std::memory_order_acquire) ? &slot.entry : nullptr;
  }

 private:
  struct Slot {
    Entry entry;
    std::atomic<bool> complete{false};
  };
  std::array<Slot, kCapacity> slots_{};
  std::atomic<std::size_t> taken_{0};
};

struct Sync {
  bass::HSYNC handle = 0;
  bass::DWORD type = 0;  ///< without BASS_SYNC_MIXTIME
  bool mix_time = false;
  bass::QWORD param = 0;
  bass::SYNCPROC* proc = nullptr;
  void* user = nullptr;

  // Position syncs only: the place as it was named ...
  std::uint64_t named_frame = 0;
  TempoRatio named_ratio;
  // ... and what the renderer keeps: the frame at the ratio in force.
  std::uint64_t frame = 0;
  std::uint32_t ratio_serial = 0;  ///< which ratio `frame` was computed for; 0 = none yet
  bool passed = false;             ///< fired, or behind the place of the last seek
};

struct Dsp {
  bass::HDSP handle = 0;
  bass::DSPPROC* proc = nullptr;
  void* user = nullptr;
  int priority = 0;
  int first_frame = 0;  ///< of the block under way: where it begins to see the sound
};

using SyncList = AppendOnlyList<Sync, 512>;
using DspList = AppendOnlyList<Dsp, 64>;

}  // namespace vexolo::engine
