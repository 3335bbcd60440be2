// layer: core
// Lyric model and lyrics file: any marks give lines and syllables that fit each other.
//
// Input: number of tracks, longest line, then marks: type and track in one byte, two bytes of
// distance to the mark before, the text up to a zero byte.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "convert/lyrics_file.h"
#include "lyrics/lyric_model.h"

namespace {

using namespace bass;

struct Mark {
  DWORD track;
  DWORD pos;
  std::string text;
};

/// The song that the library functions below tell of.
struct Song {
  DWORD tracks = 0;
  std::vector<Mark> lyric;
  std::vector<Mark> text;
  QWORD position = 0;
};

Song g_song;

BOOL BASS_CALLBACK GetMark(HSTREAM, DWORD type, DWORD index, BASS_MIDI_MARK* mark) {
  const auto& marks = type == BASS_MIDI_MARK_LYRIC ? g_song.lyric : g_song.text;
  if (index >= marks.size()) return 0;
  *mark = {marks[index].track, marks[index].pos, marks[index].text.c_str()};
  return 1;
}

const char* BASS_CALLBACK GetTags(DWORD, DWORD tag) {
  return tag - BASS_TAG_MIDI_TRACK < g_song.tracks ? "" : nullptr;
}

QWORD BASS_CALLBACK GetLength(DWORD, DWORD) { return 20000000; }

QWORD BASS_CALLBACK GetPosition(DWORD, DWORD mode) {
  return mode == BASS_POS_MIDI_TICK ? g_song.position / 100 : g_song.position;
}

BOOL BASS_CALLBACK SetPosition(DWORD, QWORD pos, DWORD) {
  g_song.position = pos;
  return 1;
}

double BASS_CALLBACK ToSeconds(DWORD, QWORD bytes) { return static_cast<double>(bytes) / 176400; }

HSYNC BASS_CALLBACK SetSync(DWORD, DWORD, QWORD, SYNCPROC*, void*) { return 1; }

Api MakeApi() {
  Api api{};
  api.BASS_MIDI_StreamGetMark = &GetMark;
  api.BASS_ChannelGetTags = &GetTags;
  api.BASS_ChannelGetLength = &GetLength;
  api.BASS_ChannelGetPosition = &GetPosition;
  api.BASS_ChannelSetPosition = &SetPosition;
  api.BASS_ChannelBytes2Seconds = &ToSeconds;
  api.BASS_ChannelSetSync = &SetSync;
  return api;
}

Song ReadSong(std::string_view input) {
  Song song;
  song.tracks = static_cast<unsigned char>(input[0]) % 8;
  input.remove_prefix(2);
  DWORD pos = 0;
  while (input.size() >= 3) {
    const auto kind = static_cast<unsigned char>(input[0]);
    pos += static_cast<unsigned char>(input[1]) * 256u + static_cast<unsigned char>(input[2]);
    input.remove_prefix(3);
    const std::string_view text = input.substr(0, input.find('\0'));
    (kind & 1 ? song.text : song.lyric).push_back({kind / 2u % 8, pos, std::string(text)});
    input.remove_prefix(std::min(input.size(), text.size() + 1));
  }
  return song;
}

void Require(bool holds) {
  if (!holds) std::abort();
}

void CheckModel(const vexolo::LyricModel& model) {
  for (int n = 1; n <= model.line_count(); ++n) {
    const std::string& line = model.line_text(n);
    Require(!line.empty() && line.front() != ' ');
    Require(line.find_first_of(";\r\n") == std::string::npos);
    Require(model.ConvertLyricText(line).size() == line.size());
  }
  std::int32_t line = 1;
  std::int32_t column = 0;
  for (const vexolo::LyricSyllable& syllable : model.syllables()) {
    if (syllable.line != line) {
      Require(syllable.line == line + 1 && syllable.column == 0);
      line = syllable.line;
      column = 0;
    }
    Require(syllable.column == column && syllable.length >= 0);
    column += syllable.length;
    // Empty syllables may trail behind the last line.
    Require(syllable.line <= model.line_count() || syllable.length == 0);
  }
  Require(model.nNbParoles() <= model.syllable_capacity());
  Require(model.line_count() < model.line_capacity());
  Require(model.minimum_line_gap() == 0);
}

void CheckFile(const std::string& text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n') Require(i > 0 && text[i - 1] == '\r');
    if (text[i] == '\r') Require(i + 1 < text.size() && text[i + 1] == '\n');
  }
  Require(text.empty() || text.ends_with(";"));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  g_song = ReadSong({reinterpret_cast<const char*>(data), size});
  const Api api = MakeApi();
  vexolo::LyricModel model(api, nullptr);
  model.set_max_line_length(data[1]);
  model.InitLyrics(1, true);
  Require(g_song.position == 0);
  CheckModel(model);

  vexolo::LyricsFileOptions options;
  options.lyric_track = model.nCanalLyrics();
  options.mark_type = static_cast<DWORD>(model.mark_type());
  options.markers = {0.2, 40, data[0] > 127};
  options.max_length = data[1];
  options.convert = [&model](std::string_view text) { return model.ConvertLyricText(text); };
  CheckFile(vexolo::LyricsFileText(api, 1, options));
  return 0;
}
