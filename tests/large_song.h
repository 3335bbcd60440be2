/// A song of a megabyte, with 5,000 syllables and changes of tempo, for measuring how long songs
/// take to be opened.
#pragma once

#include <cstdint>
#include <string>

#include "song_builder.h"

namespace vexolo::engine::testing {

inline std::string LargeSong() {
  constexpr int kNotes = 112000;
  constexpr int kSyllables = 5000;
  SongBuilder song(480);
  unsigned state = 1;
  const auto random = [&](unsigned end) {
    state = state * 1664525 + 1013904223;
    return static_cast<int>((state >> 8) % end);
  };
  std::uint32_t tick = 0;
  for (int note = 0; note < kNotes; ++note) {
    const int channel = random(16);
    const auto length = static_cast<std::uint32_t>(1 + random(200));
    song.Note(tick, length, channel, 30 + random(60), 1 + random(127), 1 + channel);
    if (random(4) == 0) song.Control(tick, channel, random(120), random(128), 1 + channel);
    if (random(1000) == 0) song.Tempo(tick, 300000 + random(400000));
    if (note % (kNotes / kSyllables) == 0) song.Lyric(tick, "la ");
    tick += static_cast<std::uint32_t>(random(20));
  }
  return song.End(tick + 1000).Song();
}

}  // namespace vexolo::engine::testing
