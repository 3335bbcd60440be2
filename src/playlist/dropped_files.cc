#include "playlist/dropped_files.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>

#include "platform/paths.h"
#include "platform/text_encoding.h"
#include "playlist/list_file.h"

namespace vexolo {
namespace {

namespace fs = std::filesystem;

bool IsDigit(char character) { return character >= '0' && character <= '9'; }

/// Takes the number at the beginning of a text off it, without leading zeros.
std::string_view TakeNumber(std::string_view& text) {
  const auto end = std::find_if_not(text.begin(), text.end(), IsDigit);
  std::string_view number = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  text.remove_prefix(number.size());
  number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
  return number;
}

struct Listing {
  std::vector<std::string> songs;    ///< names
  std::vector<std::string> folders;  ///< names
};

class Expander {
 public:
  explicit Expander(const std::atomic<bool>& cancelled) : cancelled_(cancelled) {}

  DroppedSongs Run(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
      if (cancelled_) break;
      if (FolderExists(path)) {
        TakeFolder(path);
      } else if (IsListFile(path)) {
        TakeList(path);
      } else if (!path.empty()) {
        dropped_.songs.push_back(path);
      }
    }
    return std::move(dropped_);
  }

 private:
  void TakeList(const std::string& path) {
    FileError error;
    if (const auto bytes = ReadWholeFile(path, &error, kMaxTextFileSize)) {
      for (std::string& song : SongsOfList(*bytes, path)) dropped_.songs.push_back(std::move(song));
    } else {
      Report(error);
    }
  }

  void TakeFolder(const std::string& folder) {
    if (cancelled_ || !IsNew(folder)) return;
    const Listing listing = ListFolder(folder);
    for (const std::string& name : listing.songs) dropped_.songs.push_back(Join(folder, name));
    for (const std::string& name : listing.folders) TakeFolder(Join(folder, name));
  }

  /// False where links have led back to a folder that was listed already.
  bool IsNew(const std::string& folder) {
    std::error_code error;
    const fs::path place = fs::canonical(ToNativePath(folder), error);
    if (error) Report(MakeFileError(error.value()));
    return !error && seen_.insert(place).second;
  }

  Listing ListFolder(const std::string& folder) {
    Listing listing;
    std::error_code error;
    fs::directory_iterator entries(ToNativePath(folder), error);
    for (; !error && entries != fs::directory_iterator(); entries.increment(error)) {
      if (cancelled_) return {};
      const std::string name = FromNativePath(entries->path().filename());
      std::error_code unknown;
      if (name.starts_with('.')) continue;
      if (entries->is_directory(unknown)) {
        listing.folders.push_back(name);
      } else if (IsSongName(name)) {
        listing.songs.push_back(name);
      }
    }
    if (error) Report(MakeFileError(error.value()));
    std::sort(listing.songs.begin(), listing.songs.end(), ComesBefore);
    std::sort(listing.folders.begin(), listing.folders.end(), ComesBefore);
    return listing;
  }

  void Report(const FileError& error) {
    if (!dropped_.error) dropped_.error = error;
  }

  const std::atomic<bool>& cancelled_;
  std::set<fs::path> seen_;
  DroppedSongs dropped_;
};

}  // namespace

bool IsListFile(std::string_view path) {
  const std::string extension = FoldCase(ExtensionOf(path));
  return extension == ".m3u" || extension == ".m3u8" || extension == ".zvp";
}

DroppedSongs ExpandDropped(const std::vector<std::string>& paths,
                           const std::atomic<bool>& cancelled) {
  return Expander(cancelled).Run(paths);
}

bool ComesBefore(std::string_view name, std::string_view other) {
  const std::string folded_name = FoldCase(name);
  const std::string folded_other = FoldCase(other);
  std::string_view a = folded_name;
  std::string_view b = folded_other;
  while (!a.empty() && !b.empty()) {
    if (IsDigit(a[0]) && IsDigit(b[0])) {
      const std::string_view number_a = TakeNumber(a);
      const std::string_view number_b = TakeNumber(b);
      if (number_a.size() != number_b.size()) return number_a.size() < number_b.size();
      if (number_a != number_b) return number_a < number_b;
    } else {
      if (a[0] != b[0]) return static_cast<unsigned char>(a[0]) < static_cast<unsigned char>(b[0]);
      a.remove_prefix(1);
      b.remove_prefix(1);
    }
  }
  if (a.empty() != b.empty()) return a.empty();
  return name < other;  // the same to a reader: any order, as long as it is always the same
}

}  // namespace vexolo
