#include "song_list.h"

#include <fstream>

namespace vexolo::songs {

std::vector<Song> MakeSongs() { return {MakeFontaine(), MakeLune(), MakeMaman(), MakeCanon()}; }

bool WriteSongs(const std::filesystem::path& folder) {
  for (const Song& song : MakeSongs()) {
    std::ofstream file(folder / song.file_name, std::ios::binary);
    file << Serialize(song) << std::flush;
    if (!file) return false;
  }
  return true;
}

}  // namespace vexolo::songs
