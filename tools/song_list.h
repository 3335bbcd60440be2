/// The four demo songs.
#pragma once

#include <filesystem>
#include <vector>

#include "song_writer.h"

namespace vexolo::songs {

/// "À la claire fontaine": lyric marks, Windows-1252, tempo changes.
Song MakeFontaine();

/// "Au clair de la lune": karaoke file with a "Words" track of text marks, DOS code page 850.
Song MakeLune();

/// "Ah ! vous dirai-je, Maman": format 0, line feeds as breaks, Mac Roman.
Song MakeMaman();

/// Pachelbel's Canon for sixteen channels: no words, dense, resets and registered parameters.
Song MakeCanon();

std::vector<Song> MakeSongs();

/// Writes the songs into an existing folder, over files of the same names. False when one of them
/// could not be written.
bool WriteSongs(const std::filesystem::path& folder);

}  // namespace vexolo::songs
