/// What the main timer shows, without the windows that show it. Window thread only.
#pragma once

#include <string>
#include <string_view>

#include "audio/audio_state.h"
#include "audio/bass.h"

namespace vexolo {

inline constexpr int kMainTimerInterval = 100;  ///< milliseconds

/// Counts 0, 1, 2, 3, 0, ...
class TickCounter {
 public:
  /// Once a tick. True at every fourth: what changes rarely is shown again.
  bool Tick();

 private:
  int count_ = 0;
};

/// Where the position slider stands, 0..maximum. Nothing known of the song or of the position: 0.
double SliderValue(const bass::Api& api, const AudioState& audio, double maximum);

/// `ShowTime`: position " / " length.
std::string TimeText(const bass::Api& api, const AudioState& audio, char separator);

/// What is told of the bank in use. `load_text`: the language's "SF2LoadInfo", with "%1" for the
/// bank's name, "%2" for the number of its presets, "%3" for the size of its samples in megabytes;
/// `none_text`: "SF2NoneInfo". "|" breaks lines in both.
std::string BankInfoText(const bass::Api& api, bass::HSOUNDFONT font, std::string_view load_text,
                         std::string_view none_text, char separator);

}  // namespace vexolo
