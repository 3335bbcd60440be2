/// The one pair of settings helpers: sections in brackets, lines of key, equals sign and value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_io.h"
#include "platform/message_box.h"
#include "settings/ini_document.h"

namespace vexolo {

/// Reads and writes private-profile files: the program's settings, the settings of a song and the
/// language files. Text is UTF-8 at this interface; in a file it is UTF-8, or Windows-1252 where
/// the file is not valid UTF-8, and a file keeps its encoding when it is rewritten. Section and key
/// names are compared without regard to case (accented letters included).
///
/// Nothing is reported but a missing section or key name: a file that cannot be read gives empty
/// values (or, where it could be read before, what stood in it then), one that cannot be written
/// stays as it is (`kept` says so to who asks). Window thread only.
class ModIni {
 public:
  static constexpr std::size_t kMaxLength = 128;  ///< characters of a value that are read

  /// `default_file`: the settings file that a call without a file means (UTF-8 path).
  ModIni(std::string default_file, MessageBoxes& boxes);

  /// At most kMaxLength characters, then without the pair of double quotes that may enclose them.
  /// Empty where the file, section or key is missing. An empty `file` means the default file.
  std::string ReadIni(std::string_view section, std::string_view key, const std::string& file = {});

  /// Replaces or adds one key. Line breaks are taken out of the value; an empty value leaves an
  /// empty key. The file is replaced as a whole, so that whatever ends the program leaves the old
  /// one or the new one, and not touched when nothing changes; folders are not made. Within an
  /// IniGroup the file follows at the group's end.
  void WriteIni(std::string_view section, std::string_view key, std::string_view value,
                const std::string& file = {});

  /// Whether all that the most recent write, or group of them, changed is in its files. Outside of
  /// groups.
  bool kept() const { return kept_; }

  /// What the most recent ReadIni read, and its length in characters.
  const std::string& last_value() const { return last_value_; }
  std::size_t last_length() const { return last_length_; }

  const std::string& default_file() const { return default_file_; }

 private:
  friend class IniGroup;
  /// A file as the group under way will leave it.
  struct Draft {
    std::string path;
    IniDocument document;
    bool is_changed = false;
    bool may_replace = true;  ///< no, where nobody can tell what stands in the file
  };
  /// A file as it was last read. It is parsed once for the hundreds of keys of a language file, and
  /// again when the file on disk has changed.
  struct CachedFile {
    std::string path;
    std::optional<FileStamp> stamp;  ///< of what `document` holds; nothing = not read yet
    bool is_settled = false;         ///< no later change can hide behind the same stamp
    std::uint64_t last_use = 0;
    IniDocument document;
  };

  bool Refuse(std::string_view section, std::string_view key, const char* text);
  CachedFile& CacheEntry(const std::string& path);
  /// What a file holds, as far as it can be told.
  struct Loaded {
    const IniDocument* document = nullptr;  ///< null = nothing is known
    bool is_current = false;                ///< it is what stands there now
  };

  Loaded Load(const std::string& path);
  Draft* FindDraft(const std::string& path);
  Draft& OpenDraft(const std::string& path);
  void EndGroup(bool is_given_up);

  std::string default_file_;
  MessageBoxes& boxes_;
  std::string last_value_;
  std::size_t last_length_ = 0;
  std::vector<CachedFile> cache_;
  std::uint64_t uses_ = 0;
  int groups_ = 0;
  bool kept_ = true;
  std::vector<Draft> drafts_;
};

/// Makes one write of all that one action of the user changes: while it lives ReadIni gives the new
/// values, and at its end each file is replaced once. Groups may stand within each other; the
/// outermost counts. A group that an exception ends has changed nothing. Lives on the stack of the
/// window thread, for no longer than it takes: what it has gathered is on no disk yet.
class IniGroup {
 public:
  explicit IniGroup(ModIni& ini);
  ~IniGroup();
  IniGroup(const IniGroup&) = delete;
  IniGroup& operator=(const IniGroup&) = delete;

 private:
  ModIni& ini_;
  const int exceptions_;  ///< on their way when the group began
};

}  // namespace vexolo
