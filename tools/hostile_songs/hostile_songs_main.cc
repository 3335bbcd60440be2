/// Writes hostile songs, and opens songs as the program does: see scripts/hostile_songs.py.

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "app/separate_song.h"
#include "audio/error_report.h"
#include "audio/loader.h"
#include "hostile_songs/hostile_songs.h"

namespace {

using namespace vexolo;

constexpr const char* kUsage =
    "Usage: hostile_songs count\n"
    "       hostile_songs write NUMBER FOLDER    (NUMBER from 1)\n"
    "       hostile_songs open SONG\n";

int Write(std::string_view number, const std::filesystem::path& folder) {
  const std::vector<HostileSong> songs = HostileSongs();
  std::size_t place = 0;
  std::from_chars(number.data(), number.data() + number.size(), place);
  if (place < 1 || place > songs.size()) return 2;
  const HostileSong& song = songs[place - 1];
  std::ofstream file(folder / song.name, std::ios::binary);
  file << song.bytes() << std::flush;
  std::puts(song.family.c_str());
  return file ? 0 : 1;
}

class NoBoxes : public MessageBoxes {
 public:
  void Show(const std::string& text, const std::string&, BoxIcon) override {
    std::fprintf(stderr, "%s\n", text.c_str());
  }
  bool AskYesNo(const std::string&, const std::string&) override { return false; }
};

/// Stream, lyrics, settings, syncs, mix, markers: all that stands between a song and its first
/// sound, without a bank.
int Open(const std::string& path) {
  const auto library = AudioLibrary::OpenEngine();
  NoBoxes boxes;
  ModIni ini("", boxes);
  AudioState audio;
  AudioBinding binding(library->api(), audio, ini, boxes);
  if (!binding.Initialise(nullptr, 0)) return 2;
  int status = 0;
  {
    SeparateSong song(library->api(), "", '.', boxes);
    SongStartOptions options;
    options.use = SongUse::kConversion;
    options.own_bank = true;
    if (song.start.Start(path, options) == SongStartResult::kStarted) {
      song.start.ReadSongLength();
      std::puts("opened");
    } else {
      std::printf("refused: %s\n", AudioErrorName(library->api().BASS_ErrorGetCode()).c_str());
      status = 1;
    }
    song.start.CloseSong();
  }
  binding.Shutdown();
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view task = argc > 1 ? argv[1] : "";
  if (task == "count" && argc == 2) {
    std::printf("%zu\n", HostileSongs().size());
    return 0;
  }
  if (task == "write" && argc == 4) return Write(argv[2], argv[3]);
  if (task == "open" && argc == 3) return Open(argv[2]);
  std::fputs(kUsage, stderr);
  return 2;
}
