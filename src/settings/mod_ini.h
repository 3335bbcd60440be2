/// The one pair of settings helpers: sections in brackets, lines of key, equals sign and value.
#pragma once

#include <cstddef>
#include <cstdint>
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
/// values, one that cannot be written stays as it is. Window thread only.
class ModIni {
 public:
  static constexpr std::size_t kMaxLength = 128;  ///< characters of a value that are read

  /// `default_file`: the settings file that a call without a file means (UTF-8 path).
  ModIni(std::string default_file, MessageBoxes& boxes);

  /// At most kMaxLength characters, then without the pair of double quotes that may enclose them.
  /// Empty where the file, section or key is missing. An empty `file` means the default file.
  std::string ReadIni(std::string_view section, std::string_view key, const std::string& file = {});

  /// Replaces or adds one key. Line breaks are taken out of the value; an empty value leaves an
  /// empty key. The file is replaced as a whole, and not touched when nothing changes; folders are
  /// not made.
  void WriteIni(std::string_view section, std::string_view key, std::string_view value,
                const std::string& file = {});

  /// What the most recent ReadIni read, and its length in characters.
  const std::string& last_value() const { return last_value_; }
  std::size_t last_length() const { return last_length_; }

  const std::string& default_file() const { return default_file_; }

 private:
  /// A file as it was last read. It is parsed once for the hundreds of keys of a language file, and
  /// again when the file on disk has changed.
  struct CachedFile {
    std::string path;
    FileStamp stamp;
    bool is_settled = false;  ///< no later change can hide behind the same stamp
    std::uint64_t last_use = 0;
    IniDocument document;
  };

  bool Refuse(std::string_view section, std::string_view key, const char* text);
  CachedFile& CacheEntry(const std::string& path);
  const IniDocument* Load(const std::string& path);

  std::string default_file_;
  MessageBoxes& boxes_;
  std::string last_value_;
  std::size_t last_length_ = 0;
  std::vector<CachedFile> cache_;
  std::uint64_t uses_ = 0;
};

}  // namespace vexolo
