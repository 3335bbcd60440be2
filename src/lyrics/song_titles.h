/// Title and artist of a song that is not open.
#pragma once

#include <string>
#include <vector>

#include "audio/loader.h"

namespace vexolo {

/// UTF-8; empty where the song names none.
struct SongTitles {
  std::string title;
  std::string artist;
  bool operator==(const SongTitles&) const = default;
};

/// What the lyric model finds when the song is opened: the first and the second "@T" line of the
/// track that carries the words, out of the code page that its words are written in. Any thread.
SongTitles TitlesOf(const std::vector<OutlineMark>& marks);

}  // namespace vexolo
