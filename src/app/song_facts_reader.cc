#include "app/song_facts_reader.h"

#include <cstdint>
#include <optional>
#include <utility>

#include "audio/loader.h"
#include "lyrics/song_titles.h"
#include "platform/file_io.h"

namespace vexolo {
namespace {

/// Songs have some hundred kilobytes at most.
constexpr std::uintmax_t kLargestSong = 16u << 20;

}  // namespace

SongFacts ReadFactsOfSong(const std::string& path) {
  if (!IsPlainFile(path)) return {};
  const auto bytes = ReadWholeFile(path, nullptr, kLargestSong);
  if (!bytes) return {};
  const std::optional<SongOutline> outline = ReadSongOutline(*bytes);
  if (!outline) return {};
  SongTitles titles = TitlesOf(outline->marks);
  return {outline->seconds, std::move(titles.title), std::move(titles.artist)};
}

}  // namespace vexolo
