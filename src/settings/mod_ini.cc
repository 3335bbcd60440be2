#include "settings/mod_ini.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/text_encoding.h"

namespace vexolo {
namespace {

constexpr const char* kBoxTitle = "INI";
constexpr const char* kReadRefused = "Section Or Key To Read Not Specified !!!";
constexpr const char* kWriteRefused = "Section Or Key To Write Not Specified !!!";

/// Settings, the current song's file and a language file, with room for a list of languages.
constexpr std::size_t kMaxCachedFiles = 8;

/// A single quote mark is no pair.
std::string_view WithoutQuotes(std::string_view value) {
  const bool is_quoted = value.size() > 1 && value.front() == '"' && value.back() == '"';
  return is_quoted ? value.substr(1, value.size() - 2) : value;
}

}  // namespace

ModIni::ModIni(std::string default_file, MessageBoxes& boxes)
    : default_file_(std::move(default_file)), boxes_(boxes) {}

bool ModIni::Refuse(std::string_view section, std::string_view key, const char* text) {
  if (!section.empty() && !key.empty()) return false;
  boxes_.Show(text, kBoxTitle, BoxIcon::kExclamation);
  return true;
}

ModIni::CachedFile& ModIni::CacheEntry(const std::string& path) {
  auto entry = std::find_if(cache_.begin(), cache_.end(),
                            [&](const CachedFile& file) { return file.path == path; });
  if (entry == cache_.end()) {
    if (cache_.size() == kMaxCachedFiles) {
      cache_.erase(std::min_element(cache_.begin(), cache_.end(), [](const auto& a, const auto& b) {
        return a.last_use < b.last_use;
      }));
    }
    entry = cache_.insert(cache_.end(), CachedFile{});
    entry->path = path;
  }
  entry->last_use = ++uses_;
  return *entry;
}

const IniDocument* ModIni::Load(const std::string& path) {
  const std::optional<FileStamp> stamp = StampOf(path);
  if (!stamp) return nullptr;
  CachedFile& entry = CacheEntry(path);
  if (entry.is_settled && entry.stamp == *stamp) return &entry.document;
  // Asked before reading: a file that changes meanwhile must not look settled.
  entry.is_settled = IsSettled(*stamp);
  entry.stamp = *stamp;
  const std::optional<std::string> content = ReadWholeFile(path, nullptr, kMaxTextFileSize);
  if (!content) {
    entry.is_settled = false;
    return nullptr;
  }
  entry.document = IniDocument::Parse(*content);
  return &entry.document;
}

std::string ModIni::ReadIni(std::string_view section, std::string_view key,
                            const std::string& file) {
  last_value_.clear();
  last_length_ = 0;
  if (Refuse(section, key, kReadRefused)) return {};
  const IniDocument* document = Load(file.empty() ? default_file_ : file);
  if (document == nullptr) return {};
  const std::string value = document->Get(section, key).value_or(std::string());
  last_value_ = WithoutQuotes(CutToCharacters(value, kMaxLength));
  last_length_ = CountCharacters(last_value_);
  return last_value_;
}

void ModIni::WriteIni(std::string_view section, std::string_view key, std::string_view value,
                      const std::string& file) {
  if (Refuse(section, key, kWriteRefused)) return;
  const std::string& path = file.empty() ? default_file_ : file;
  IniDocument document;
  if (StampOf(path)) {
    const IniDocument* loaded = Load(path);
    // A file that is there and cannot be read must not be replaced by one that holds a single key.
    if (loaded == nullptr) return;
    document = *loaded;
  }
  if (!document.Set(section, key, value)) return;
  // Settings are written while a knob is being turned: waiting for the disk each time would show.
  WriteWholeFile(path, document.Serialize(), Durability::kInSystem);
}

}  // namespace vexolo
