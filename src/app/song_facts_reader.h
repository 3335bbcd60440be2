/// Facts of a song file for the list.
#pragma once

#include <string>

#include "playlist/song_facts.h"

namespace vexolo {

/// Length, title and artist of a song, without disturbing what plays: the file is read, not opened
/// as a stream. None of a file that cannot be read, is no song, or is far bigger than any. Any
/// thread.
SongFacts ReadFactsOfSong(const std::string& path);

}  // namespace vexolo
