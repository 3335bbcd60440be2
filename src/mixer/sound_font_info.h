/// What a SoundFont file says about itself: format version and the sound engine it was made for.
/// Reads the file's own chunks, whatever the audio library thinks of the rest of it.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "audio/audio_state.h"
#include "audio/bass.h"
#include "platform/message_box.h"

namespace vexolo {

struct SoundFontInfo {
  /// The level that is missing, as a text for the user; null where everything was found.
  const char* problem = nullptr;
  std::uint16_t major = 0;
  std::uint16_t minor = 0;
  std::string engine;  ///< UTF-8, up to the zeros that end it in the file
};

/// Reads any bytes at all. The version holds as soon as it was read, also beside a problem that
/// came after it. Bytes that a file cut short does not have any more count as zero.
SoundFontInfo ReadSoundFontInfo(std::istream& file);

/// A file that cannot be opened is no bank. Reads a few headers, not the samples.
SoundFontInfo ReadSoundFontInfo(const std::string& path);

/// Name of the sound engine, then "Version " with both numbers.
std::string SoundFontInfoText(const SoundFontInfo& info);

/// The font in use and what the current stream (without one: a new stream) plays it for:
/// "font_=101", then " font=101 -001 000" for each entry: font, preset (-1 = all), bank.
std::string FontListing(const bass::Api& api, const AudioState& audio);

/// Shows the listing, then either what the bank's file says or which level of it is missing.
/// Window thread only.
void ShowSoundFontInfo(const bass::Api& api, const AudioState& audio, MessageBoxes& boxes,
                       const std::string& title);

}  // namespace vexolo
