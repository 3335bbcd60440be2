#include "playlist/list_file.h"

#include <algorithm>
#include <array>
#include <optional>

#include "platform/file_io.h"
#include "settings/language.h"

namespace vexolo {
namespace {

constexpr std::array<std::string_view, 3> kSongEndings = {".mid", ".kar", "midi"};
constexpr std::string_view kDefaultExtensions = "mid,kar";
constexpr int kMostTries = 100;  ///< a disk far away must not hold up the window

std::string_view TrimSpaces(std::string_view text) {
  const std::size_t start = text.find_first_not_of(' ');
  if (start == std::string_view::npos) return {};
  return text.substr(start, text.find_last_not_of(' ') - start + 1);
}

std::string ResolveWindows(std::string_view entry, std::string_view list_path) {
  if (IsAbsolute(entry, PathStyle::kWindows)) return std::string(entry);
  if (entry.starts_with('\\')) return std::string(list_path.substr(0, 2)).append(entry);
  return Join(FolderOf(list_path, PathStyle::kWindows), entry, PathStyle::kWindows);
}

/// "D:\..." or "\\server\...": names a place that only Windows has. A drive needs its separator
/// here, for "a:b.mid" is an ordinary name elsewhere.
bool IsWindowsPlace(std::string_view entry) {
  const bool has_drive = entry.size() > 2 && entry[1] == ':' && entry[2] == '\\';
  return has_drive || entry.starts_with("\\\\");
}

std::string ResolvePosix(std::string_view entry, std::string_view list_path) {
  if (IsAbsolute(entry, PathStyle::kPosix) || IsWindowsPlace(entry)) return std::string(entry);
  std::string path(entry);
  std::replace(path.begin(), path.end(), '\\', '/');
  if (path.starts_with('/')) return path;
  return Join(FolderOf(list_path, PathStyle::kPosix), path, PathStyle::kPosix);
}

/// The songs that lines of text name.
std::vector<std::string> SongsIn(std::string_view text, std::string_view list_path,
                                 PathStyle style) {
  std::vector<std::string> paths;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    const std::string_view line = TrimSpaces(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.starts_with('#') || !IsSongName(line)) continue;
    paths.push_back(style == PathStyle::kWindows ? ResolveWindows(line, list_path)
                                                 : ResolvePosix(line, list_path));
  }
  return paths;
}

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<signed char>(c) >= 0; });
}

/// Whether one of these is a file here; only names that are more than ASCII tell.
bool AreNamesOfThisSystem(const std::vector<std::string>& paths) {
  int tries = kMostTries;
  for (const std::string& path : paths) {
    if (IsAscii(path)) continue;
    if (FileExists(path)) return true;
    if (--tries == 0) break;
  }
  return false;
}

void ShowError(MessageBoxes& boxes, const FileError& error) {
  boxes.Show(FileErrorText(error), {}, BoxIcon::kExclamation);
}

}  // namespace

bool IsSongName(std::string_view path) {
  if (path.size() < 4) return false;
  const std::string ending = FoldCase(path.substr(path.size() - 4));
  return std::find(kSongEndings.begin(), kSongEndings.end(), ending) != kSongEndings.end();
}

std::vector<std::string> ParseList(std::string_view bytes, std::string_view list_path,
                                   PathStyle style) {
  return SongsIn(DecodeText(bytes).text, list_path, style);
}

std::vector<std::string> SongsOfList(std::string_view bytes, std::string_view list_path) {
  if (kNativePathStyle == PathStyle::kPosix && !IsValidUtf8(bytes)) {
    std::vector<std::string> paths = SongsIn(bytes, list_path, kNativePathStyle);
    if (AreNamesOfThisSystem(paths)) return paths;
  }
  return ParseList(bytes, list_path);
}

std::string FormatList(const std::vector<std::string>& paths) {
  std::string text;
  for (const std::string& path : paths) text.append(path).append("\r\n");
  return text;
}

bool LoadPlayList(const std::string& path, PlayListModel& list, MessageBoxes& boxes) {
  FileError error;
  const std::optional<std::string> bytes = ReadWholeFile(path, &error, kMaxTextFileSize);
  if (!bytes) {
    ShowError(boxes, error);
    return false;
  }
  for (const std::string& song : SongsOfList(*bytes, path)) list.AjouteFichierPlayList(song);
  return true;
}

bool SauvePlayList(const std::string& path, const PlayListModel& list, MessageBoxes& boxes) {
  const std::optional<std::string> old = ReadWholeFile(path, nullptr, kMaxTextFileSize);
  const TextEncoding encoding = old ? DecodeText(*old).encoding : TextEncoding::kUtf8;
  const auto error = WriteWholeFile(path, EncodeText(FormatList(list.paths()), encoding));
  if (error) ShowError(boxes, *error);
  return !error;
}

void StoreListFolder(ModIni& ini, std::string_view list_path) {
  ini.WriteIni("Lst", "Path", FolderOf(list_path));
}

void StoreSongFolder(ModIni& ini, std::string_view song_path) {
  ini.WriteIni("Mid", "Path", FolderOf(song_path));
}

std::string SongPattern(std::string_view extensions) {
  std::string pattern = "*.";
  for (const char character : extensions.empty() ? kDefaultExtensions : extensions) {
    if (character == ',') {
      pattern += ";*.";
    } else {
      pattern += character;
    }
  }
  return pattern;
}

std::string SongFilter(std::string_view filter, std::string_view extensions) {
  const std::string pattern = SongPattern(extensions);
  return FillIn(filter, {pattern, pattern});
}

std::string ListFilter(std::string_view filter) {
  return FillIn(filter, {".zvp", "*.zvp", ".m3u", "*.m3u"});
}

std::vector<std::string> ChosenFiles(const std::vector<std::string>& chosen, PathStyle style) {
  if (chosen.size() < 2 || IsAbsolute(chosen[1], style)) return chosen;
  std::vector<std::string> paths;
  for (std::size_t i = 1; i < chosen.size(); ++i) {
    paths.push_back(Join(chosen[0], chosen[i], style));
  }
  return paths;
}

}  // namespace vexolo
