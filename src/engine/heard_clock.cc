#include "engine/heard_clock.h"

#include <algorithm>
#include <thread>

#include "engine/time_line.h"

namespace vexolo::engine {

namespace {

/// Longer than anything that is queued; a count of frames in it stays within 64 bits.
constexpr std::chrono::nanoseconds kLongest = std::chrono::hours(1);

std::int64_t Nanoseconds(HeardClock::Time time) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
}

}  // namespace

void HeardClock::BeginBlock(Time now, const Block& block) {
  if (block.lead == 0) current_.floor = MostHeardOf(current_);
  current_.asked = current_.handed;
  current_.since = Nanoseconds(now);
  current_.latency = block.latency + static_cast<std::uint32_t>(block.lead);
  current_.playable = static_cast<std::uint32_t>(block.lead + block.frames);
  block_frames_ = static_cast<std::uint32_t>(block.frames);
  Publish();
}

void HeardClock::EndBlock() {
  current_.handed = current_.asked + block_frames_;
  Publish();
}

void HeardClock::Drain(Time now, std::uint32_t latency) {
  current_.floor = MostHeardOf(current_);
  current_.asked = current_.handed;
  current_.since = Nanoseconds(now);
  current_.latency = latency;
  current_.playable = latency;
  Publish();
}

std::uint64_t HeardClock::Heard(Time now) const { return HeardOf(Read(), now); }

std::uint32_t HeardClock::Queued(Time now) const {
  const Snapshot snapshot = Read();
  const std::uint64_t heard = HeardOf(snapshot, now);
  return static_cast<std::uint32_t>(snapshot.handed > heard ? snapshot.handed - heard : 0);
}

std::uint64_t HeardClock::HeardOf(const Snapshot& snapshot, Time now) {
  const std::int64_t passed = std::max<std::int64_t>(Nanoseconds(now) - snapshot.since, 0);
  const auto frames = static_cast<std::uint64_t>(std::min(passed, std::int64_t{kLongest.count()})) *
                      kSampleRate / 1'000'000'000;
  const std::uint64_t reached = snapshot.asked + std::min<std::uint64_t>(frames, snapshot.playable);
  return std::max(snapshot.floor,
                  reached > snapshot.latency ? reached - snapshot.latency : std::uint64_t{0});
}

/// What any reader may have been told by this snapshot.
std::uint64_t HeardClock::MostHeardOf(const Snapshot& snapshot) {
  return HeardOf(snapshot, Time(std::chrono::nanoseconds(snapshot.since) + kLongest));
}

void HeardClock::Publish() {
  const std::uint32_t sequence = sequence_.load(std::memory_order_relaxed);
  sequence_.store(sequence + 1, std::memory_order_relaxed);
  // Each release keeps the odd number in front of it for whoever sees the new value.
  asked_.store(current_.asked, std::memory_order_release);
  handed_.store(current_.handed, std::memory_order_release);
  floor_.store(current_.floor, std::memory_order_release);
  since_.store(current_.since, std::memory_order_release);
  latency_.store(current_.latency, std::memory_order_release);
  playable_.store(current_.playable, std::memory_order_release);
  sequence_.store(sequence + 2, std::memory_order_release);
}

HeardClock::Snapshot HeardClock::Read() const {
  for (;;) {
    const std::uint32_t before = sequence_.load(std::memory_order_acquire);
    Snapshot snapshot;
    snapshot.asked = asked_.load(std::memory_order_acquire);
    snapshot.handed = handed_.load(std::memory_order_acquire);
    snapshot.floor = floor_.load(std::memory_order_acquire);
    snapshot.since = since_.load(std::memory_order_acquire);
    snapshot.latency = latency_.load(std::memory_order_acquire);
    snapshot.playable = playable_.load(std::memory_order_acquire);
    if (before % 2 == 0 && sequence_.load(std::memory_order_relaxed) == before) return snapshot;
    std::this_thread::yield();
  }
}

}  // namespace vexolo::engine
