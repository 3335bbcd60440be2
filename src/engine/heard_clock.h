/// How much of what was handed over has been heard.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace vexolo::engine {

/// Interpolates between blocks from the time that has passed. Written by one thread at a time (the
/// one that renders), read by any; neither side waits for a lock.
class HeardClock {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// What one call of the procedure is about.
  struct Block {
    int frames;
    /// Frames that were handed over for the same request before.
    int lead = 0;
    /// Frames that the device holds when it asks.
    std::uint32_t latency = 0;
  };

  /// A block is asked for at `now`. All that could be heard without it counts as heard, whatever
  /// the latency was then.
  void BeginBlock(Time now, const Block& block);
  /// The block has been handed over.
  void EndBlock();
  /// No block follows: the `latency` frames that are queued play out.
  void Drain(Time now, std::uint32_t latency);

  std::uint64_t Heard(Time now) const;
  std::uint32_t Queued(Time now) const;

 private:
  struct Snapshot {
    std::uint64_t asked = 0;     ///< frames before the current block
    std::uint64_t handed = 0;    ///< frames of all blocks that were handed over
    std::uint64_t floor = 0;     ///< heard at least
    std::int64_t since = 0;      ///< nanoseconds of the steady clock
    std::uint32_t latency = 0;   ///< frames
    std::uint32_t playable = 0;  ///< frames that may be heard before the next block comes
  };
  static std::uint64_t MostHeardOf(const Snapshot& snapshot);
  static std::uint64_t HeardOf(const Snapshot& snapshot, Time now);
  void Publish();
  Snapshot Read() const;

  Snapshot current_;                ///< the writer's own
  std::uint32_t block_frames_ = 0;  ///< so is this
  // A sequence lock: odd while the fields change.
  std::atomic<std::uint32_t> sequence_ = 0;
  std::atomic<std::uint64_t> asked_ = 0;
  std::atomic<std::uint64_t> handed_ = 0;
  std::atomic<std::uint64_t> floor_ = 0;
  std::atomic<std::int64_t> since_ = 0;
  std::atomic<std::uint32_t> latency_ = 0;
  std::atomic<std::uint32_t> playable_ = 0;
};

}  // namespace vexolo::engine
