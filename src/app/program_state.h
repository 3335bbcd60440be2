/// The program-wide record.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "audio/audio_state.h"
#include "audio/bass.h"
#include "convert/conversion_settings.h"
#include "lyrics/lyric_model.h"
#include "mixer/mix_state.h"
#include "playlist/play_list_model.h"

namespace vexolo {

/// What the transport does at the end of a song. The numbers are stored; 1 is never set.
enum RepeatMode : std::int32_t { kPlayListOnce = 0, kRepeatSong = 2, kRepeatList = 3 };

/// Folders last used.
struct LastFolders {
  std::string banks;
  std::string songs;
  std::string lists;
};

/// Created once, in main, and handed by reference to whoever needs it. Window thread only, but for
/// the atomic fields (here and in the portions), which the library's callbacks use too.
struct modMidiTest {
  /// `display` may be null where no lyrics are shown.
  modMidiTest(const bass::Api& api, LyricDisplay* display) : lyrics(api, display) {}

  AudioState audio;
  MixState mix;
  LyricModel lyrics;
  PlayListModel playlist;  ///< with the place of the current song

  void* main_window = nullptr;  ///< its native handle
  std::int32_t repeat_mode = kPlayListOnce;
  bool playing = false;  ///< a song plays, and its end goes on by itself
  bool seeking = false;  ///< the user holds the position slider
  std::atomic<bool> quitting{false};

  std::string language_file;  ///< full path
  LastFolders folders;
  ConversionSettings conversion;
  bool converting = false;   ///< a conversion is under way
  bool convert_all = false;  ///< and the rest of the list is to follow
};

}  // namespace vexolo
