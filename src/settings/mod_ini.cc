#include "settings/mod_ini.h"

#include <algorithm>
#include <exception>
#include <new>
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

ModIni::Loaded ModIni::Load(const std::string& path) {
  FileError error;
  const std::optional<FileStamp> stamp = StampOf(path, &error);
  if (!stamp && MeansMissing(error)) return {};
  CachedFile& entry = CacheEntry(path);
  if (stamp && entry.is_settled && entry.stamp == stamp) return {&entry.document, true};
  // Asked before reading: a file that changes meanwhile must not look settled.
  const bool is_settled = stamp && IsSettled(*stamp);
  const std::optional<std::string> content =
      stamp ? ReadWholeFile(path, nullptr, kMaxTextFileSize) : std::nullopt;
  if (!content) {
    // A read that fails once must not turn what the user has set into defaults.
    if (!entry.stamp) return {};
    return {&entry.document, stamp == entry.stamp};
  }
  entry.is_settled = false;
  entry.document = IniDocument::Parse(*content);
  entry.stamp = stamp;
  entry.is_settled = is_settled;
  return {&entry.document, true};
}

ModIni::Draft* ModIni::FindDraft(const std::string& path) {
  const auto found = std::find_if(drafts_.begin(), drafts_.end(),
                                  [&](const Draft& draft) { return draft.path == path; });
  return found == drafts_.end() ? nullptr : &*found;
}

/// A file that is there and that nobody can read must not be replaced by one that holds a single
/// key: what is written to it lasts as long as the group.
ModIni::Draft& ModIni::OpenDraft(const std::string& path) {
  if (Draft* draft = FindDraft(path)) return *draft;
  FileError error;
  Draft draft{path, {}};
  if (StampOf(path, &error) || !MeansMissing(error)) {
    const Loaded loaded = Load(path);
    if (loaded.document != nullptr) draft.document = *loaded.document;
    draft.may_replace = loaded.is_current;
  }
  return drafts_.emplace_back(std::move(draft));
}

std::string ModIni::ReadIni(std::string_view section, std::string_view key,
                            const std::string& file) {
  last_value_.clear();
  last_length_ = 0;
  if (Refuse(section, key, kReadRefused)) return {};
  const std::string& path = file.empty() ? default_file_ : file;
  const Draft* draft = FindDraft(path);
  const IniDocument* document = draft != nullptr ? &draft->document : Load(path).document;
  if (document == nullptr) return {};
  const std::string value = document->Get(section, key).value_or(std::string());
  last_value_ = WithoutQuotes(CutToCharacters(value, kMaxLength));
  last_length_ = CountCharacters(last_value_);
  return last_value_;
}

void ModIni::WriteIni(std::string_view section, std::string_view key, std::string_view value,
                      const std::string& file) {
  if (Refuse(section, key, kWriteRefused)) return;
  const IniGroup group(*this);
  Draft& draft = OpenDraft(file.empty() ? default_file_ : file);
  if (draft.document.Set(section, key, value)) draft.is_changed = true;
}

void ModIni::EndGroup(bool is_given_up) {
  if (--groups_ > 0) return;
  const std::vector<Draft> drafts = std::exchange(drafts_, {});
  kept_ = false;
  if (is_given_up) return;
  bool kept = true;
  for (const Draft& draft : drafts) {
    if (!draft.is_changed) continue;
    // Settings are written while a knob is being turned: waiting for the disk would show.
    const bool is_written =
        draft.may_replace &&
        !WriteWholeFile(draft.path, draft.document.Serialize(), Durability::kInSystem);
    kept = kept && is_written;
  }
  kept_ = kept;
}

IniGroup::IniGroup(ModIni& ini) : ini_(ini), exceptions_(std::uncaught_exceptions()) {
  ++ini_.groups_;
}

IniGroup::~IniGroup() {
  try {
    ini_.EndGroup(std::uncaught_exceptions() > exceptions_);
  } catch (const std::bad_alloc&) {
    // A file that cannot be written stays as it is, whatever keeps it from being written.
  }
}

}  // namespace vexolo
