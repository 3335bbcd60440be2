/// All that it takes to open and render a song apart from the program-wide record.
#pragma once

#include <string>
#include <string_view>

#include "app/program_state.h"
#include "app/song_start.h"
#include "audio/audio_binding.h"
#include "audio/bass.h"
#include "mixer/song_settings.h"
#include "platform/message_box.h"
#include "settings/mod_ini.h"

namespace vexolo {

/// For threads that convert: a record of their own and what works on it. Reads the settings file
/// and the settings beside songs, and writes neither. Belongs to one thread at a time.
struct SeparateSong {
  /// `api` and `boxes` must outlive this object; `separator`: of decimals.
  SeparateSong(const bass::Api& api, const std::string& settings_file, char separator,
               MessageBoxes& boxes);
  /// Closes the song.
  ~SeparateSong();
  SeparateSong(const SeparateSong&) = delete;
  SeparateSong& operator=(const SeparateSong&) = delete;

  /// A text of the open song (its artist, its title) as UTF-8.
  std::string Text(std::string_view bytes) const;

  ModIni ini;
  modMidiTest state;
  AudioBinding binding;
  SongSettings settings;
  SongStart start;
};

}  // namespace vexolo
