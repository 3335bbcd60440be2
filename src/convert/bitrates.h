/// The bitrates that MP3 and Ogg files can be given. Pure functions; any thread.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace vexolo {

/// kbit/s, as they are shown, stored and handed to the encoder.
inline constexpr std::array<std::string_view, 14> kBitrates = {
    "32", "40", "48", "56", "64", "80", "96", "112", "128", "160", "192", "224", "256", "320"};
inline constexpr std::string_view kDefaultBitrate = "128";

/// Place of the entry with exactly this text; -1 where there is none.
constexpr int BitratePlace(std::string_view text) {
  for (std::size_t index = 0; index < kBitrates.size(); ++index) {
    if (kBitrates[index] == text) return static_cast<int>(index);
  }
  return -1;
}

/// The entry that the list shows as selected for a stored text: the default one where nothing is
/// stored, none (-1) for a text that is not in the list.
constexpr int SelectedBitrate(std::string_view stored) {
  return BitratePlace(stored.empty() ? kDefaultBitrate : stored);
}

/// What a conversion uses: a text that is not in the list counts as the default.
constexpr std::string_view BitrateInUse(std::string_view text) {
  return BitratePlace(text) < 0 ? kDefaultBitrate : text;
}

}  // namespace vexolo
