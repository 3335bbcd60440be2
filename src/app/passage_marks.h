/// The markers on the position slider.
#pragma once

#include <optional>

#include "audio/audio_state.h"
#include "audio/bass.h"

namespace vexolo {

/// Shares of the song's length in ticks, 0..1, as the slider measures; nothing for a marker that is
/// not in force.
struct PassageMarks {
  std::optional<double> start;
  std::optional<double> end;
  bool operator==(const PassageMarks&) const = default;
};

/// Reads the song's tempo changes: ticks are not equally long. Window thread.
PassageMarks MarksOnSlider(const bass::Api& api, const AudioState& audio);

}  // namespace vexolo
