#include <chrono>
#include <filesystem>
#include <fstream>

#include "faults/fault_points.h"
#include "faults/whole_run.h"
#include "song_builder.h"
#include "tone_bank.h"

namespace vexolo::faults {
namespace {

namespace fs = std::filesystem;
using engine::testing::SongBuilder;
using engine::testing::ToneBank;

/// Long, for a busy machine: whatever does not come about is a failure, or has been told.
constexpr std::chrono::seconds kPatience{30};
/// Where nothing has been under way for so long, nothing comes about any more.
constexpr std::chrono::seconds kStandstill{1};

void Write(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

/// Less than a second, with a word to every note.
std::string Song(int number) {
  SongBuilder song;
  song.Tempo(0, 500000).Name("Words", 1).Text(0, "@TTitle " + std::to_string(number), 1);
  for (std::uint32_t beat = 0; beat < 6; ++beat) {
    song.Note(120 * beat, 60, 3, 60 + static_cast<int>(beat));
    song.Note(120 * beat, 60, 5, 48);
    song.Text(120 * beat, "la ", 1);
  }
  return song.Song();
}

}  // namespace

std::string Place::command_line() const {
  std::string quoted = song(1);
  quoted.insert(quoted.begin(), '"');
  quoted.push_back('"');
  return quoted;
}

Place Furnish(const std::string& root) {
  const Place place{root};
  fs::create_directories(place.program());
  fs::create_directories(root + "/songs");
  fs::create_directories(root + "/output");
  const std::string languages = std::string(VEXOLO_SOURCES) + "/src/resources/languages/";
  fs::copy_file(languages + "fr.lng", place.program() + "/fr.lng");
  fs::copy_file(languages + "fr.lng", place.program() + "/vexolo.dll");
  Write(place.program() + "/Orvanel.SF2", ToneBank());
  // An encoder that keeps what it gets.
  const std::string encoder = place.program() + "/lame";
  Write(encoder, "#!/bin/sh\nfor last; do :; done\nexec cat >\"$last\"\n");
  fs::permissions(encoder, fs::perms(0755));
  Write(place.settings(),
        "[Vexolo]\r\nLng=fr\r\nAutoMute=1\r\n[Keep]\r\nMe=as I am\r\n[Wave]\r\n"
        "SaveFolder=/nowhere/\r\n[Tags]\r\nAlbum=Kept\r\n[Repeat]\r\nMode=0\r\n");
  for (const int number : {1, 2}) {
    Write(place.song(number), Song(number));
    Write(place.song_settings(number),
          "[Gain]\r\nSlider=3\r\n[Volume]\r\nCh3=150\r\nCh5=40\r\n[Mute]\r\nCh7=1\r\n"
          "[CC]\r\nCC3=90\r\n[Marqueurs]\r\nMarche=0\r\nDebut=0.000\r\nFin=0.000\r\n");
  }
  Write(place.list(), place.song(1) + "\r\n");
  // As a user's files are. One that was written this instant is read again for every key.
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (entry.is_regular_file()) {
      fs::last_write_time(entry.path(), fs::file_time_type::clock::now() - std::chrono::hours(1));
    }
  }
  return place;
}

bool Await(const Outcome& outcome, const std::function<bool()>& comes,
           const std::function<bool()>& is_under_way) {
  using Clock = std::chrono::steady_clock;
  const std::size_t told = outcome.boxes.size();
  const auto end = Clock::now() + kPatience;
  auto still_since = Clock::now();
  while (Clock::now() < end && Clock::now() - still_since < kStandstill) {
    if (comes()) return true;
    if (is_under_way()) still_since = Clock::now();
    if (outcome.boxes.size() > told) return false;
  }
  return false;
}

void NotedBoxes::Show(const std::string& text, const std::string&, BoxIcon) {
  const Quiet quiet;
  outcome_.boxes.push_back(text);
}

}  // namespace vexolo::faults
