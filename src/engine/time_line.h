/// Exact conversions between MIDI ticks, output frames and the tempo ratio.
#pragma once

#include <cstdint>
#include <vector>

namespace vexolo::engine {

inline constexpr std::uint32_t kSampleRate = 44100;     ///< frames a second, the only output rate
inline constexpr std::uint32_t kDefaultTempo = 500000;  ///< microseconds per quarter note (SMF)

/// Factor on the file's tempo values: tempo in force / tempo of the file. Above 1 = slower.
/// Neither part is 0; both stay below 2^24.
struct TempoRatio {
  std::uint32_t numerator = 1;
  std::uint32_t denominator = 1;
  bool operator==(const TempoRatio&) const = default;
};

struct TempoChange {
  std::uint32_t tick;
  std::uint32_t tempo;  ///< microseconds per quarter note, above 0
};

/// The file's tempo map. All arithmetic is exact (integers up to 128 bits), so that every position
/// that was given out leads back to the tick that it came from.
///
/// The moment N(t) of tick t is counted in units of 1 / division microseconds at the file's tempo;
/// with ratio r its frame is ceil(N(t) * r * 44100 / (division * 10^6)): the first frame at or
/// after that moment. Immutable after construction: any thread may call any function.
class TimeLine {
 public:
  /// `division` as in the file's header: ticks per quarter note, or the SMPTE form (bit 15 set), in
  /// which tempo changes do not move time. `changes` in ascending tick order; a later one at the
  /// same tick wins. A division that means nothing counts as 96 ticks per
  /// quarter note.
  TimeLine(std::uint16_t division, std::vector<TempoChange> changes);

  /// Whether a header's division means something: not 0, or SMPTE with 24, 25, 29 ("drop frame", 30
  /// in 1.001 seconds) or 30 frames a second and at least one tick a frame.
  static bool IsDivision(std::uint16_t division);

  /// The file's tempo in force at a tick, its own events there included.
  std::uint32_t TempoAt(std::uint32_t tick) const;

  /// First frame at or after the tick's moment (2^64 - 1 at most).
  std::uint64_t FrameOfTick(std::uint32_t tick, TempoRatio ratio) const;

  /// The greatest tick whose frame is not after `frame` (2^32 - 1 at most).
  std::uint32_t TickOfFrame(std::uint64_t frame, TempoRatio ratio) const;

  /// The same musical place under another ratio. Keeps the tick that TickOfFrame tells, wherever a
  /// tick is at least one frame long under both ratios; a tick's first frame leads to its first
  /// frame, and between two ticks the order of places stays.
  std::uint64_t Rescale(std::uint64_t frame, TempoRatio from, TempoRatio to) const;

 private:
  struct Segment {
    std::uint32_t tick;    ///< where it begins
    std::uint32_t tempo;   ///< unit steps per tick
    std::uint64_t moment;  ///< N(tick)
  };
  const Segment& SegmentOfTick(std::uint32_t tick) const;

  std::vector<Segment> segments_;    ///< what moves time; never empty, first at tick 0
  std::vector<TempoChange> tempos_;  ///< what TempoAt tells; never empty, first at tick 0
  std::uint64_t division_;
};

}  // namespace vexolo::engine
