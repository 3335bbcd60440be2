/// A song ready to be played: events, time line, marks, and the state at any place.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "audio/bass.h"
#include "engine/control_state.h"
#include "engine/midi_file.h"
#include "engine/time_line.h"

namespace vexolo::engine {

/// Immutable after construction: any thread may read it.
class Song {
 public:
  enum class MarkKind : std::uint8_t { kLyric, kText };

  /// Null where the bytes hold nothing that can be played.
  static std::shared_ptr<const Song> Parse(std::span<const std::uint8_t> bytes);

  const MidiFile& file() const { return *file_; }
  const TimeLine& time_line() const { return time_line_; }
  const std::vector<MidiEvent>& events() const { return file_->events(); }

  /// Indexes into events() of the marks of one kind, all tracks, in time order.
  const std::vector<std::uint32_t>& marks(MarkKind kind) const {
    return kind == MarkKind::kLyric ? lyrics_ : texts_;
  }

  /// Index of the first event at or after a tick.
  std::size_t FirstEventAt(std::uint32_t tick) const;

  /// What all events before index `end` have set, beginning with `survivors`: its mix levels and
  /// transposes pass through. Costs at most kCheckpointEvery events.
  ControlState StateBefore(std::size_t end, const ControlState& survivors) const;

 private:
  static constexpr std::size_t kCheckpointEvery = 4096;

  explicit Song(std::unique_ptr<const MidiFile> file);

  std::unique_ptr<const MidiFile> file_;
  TimeLine time_line_;
  std::vector<std::uint32_t> lyrics_;
  std::vector<std::uint32_t> texts_;
  std::vector<ControlState> checkpoints_;  ///< before event 0, kCheckpointEvery, ...
};

}  // namespace vexolo::engine
