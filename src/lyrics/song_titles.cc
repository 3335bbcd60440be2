#include "lyrics/song_titles.h"

#include <cstdint>
#include <map>
#include <string_view>

#include "lyrics/code_pages.h"
#include "platform/text_encoding.h"

namespace vexolo {
namespace {

struct BestTrack {
  std::uint32_t track = 0;
  int marks = 0;
};

/// The track with most marks of a kind, the first of equals.
BestTrack FindBestTrack(const std::vector<OutlineMark>& marks, bool lyrics) {
  std::map<std::uint32_t, int> counts;
  for (const OutlineMark& mark : marks) counts[mark.track] += mark.is_lyric == lyrics;
  BestTrack best;
  for (const auto& [track, count] : counts) {
    if (count > best.marks) best = {track, count};
  }
  return best;
}

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

}  // namespace

SongTitles TitlesOf(const std::vector<OutlineMark>& marks) {
  const BestTrack lyrics = FindBestTrack(marks, true);
  const BestTrack texts = FindBestTrack(marks, false);
  const bool takes_lyrics = lyrics.marks >= texts.marks;
  const BestTrack& best = takes_lyrics ? lyrics : texts;
  LyricCodePages code_pages;
  std::vector<std::string_view> titles;
  for (const OutlineMark& mark : marks) {
    if (mark.is_lyric != takes_lyrics || mark.track != best.track) continue;
    code_pages.DetectCodePage(mark.text);
    const std::string_view text = mark.text;
    if (text.starts_with("@T")) titles.push_back(Trimmed(text.substr(2)));
  }
  titles.resize(2);
  const auto readable = [&](std::string_view text) {
    return DecodeText(code_pages.ConvertLyricText(text)).text;
  };
  return {readable(titles[0]), readable(titles[1])};
}

}  // namespace vexolo
