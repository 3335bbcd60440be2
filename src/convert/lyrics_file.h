/// The lyrics file (".kok") that a conversion writes beside the audio: each syllable with its time,
/// one lyric line per line. Called by the thread of the conversion.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "audio/bass.h"
#include "audio/markers.h"
#include "platform/file_io.h"

namespace vexolo {

/// What a lyrics file depends on besides the stream.
struct LyricsFileOptions {
  std::int16_t lyric_track = -1;  ///< as the lyric model chose it; -1 = none, gives an empty file
  bass::DWORD mark_type = bass::BASS_MIDI_MARK_TEXT;
  Markers markers;
  double speed_factor = 1;
  /// Characters of a file line, times and separators included, beyond which it is broken at a
  /// space; 0 = no limit.
  int max_length = 0;
  /// From the song's code page to Windows-1252. Nothing is converted without it.
  std::function<std::string(std::string_view)> convert;
};

/// The file's content in Windows-1252, from the marks of the rendering stream at the tempo in
/// force. Times count from the start marker where that is in force; marks before it, and after the
/// end marker where that is in force, are left out. To be called when the render has stopped.
std::string LyricsFileText(const bass::Api& api, bass::HSTREAM stream,
                           const LyricsFileOptions& options);

/// Writes the content in one piece, replacing a file that is there.
std::optional<FileError> WriteLyricsFile(const std::string& path, std::string_view text);

}  // namespace vexolo
