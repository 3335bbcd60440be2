/// The content of a private-profile file, apart from any file.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/text_encoding.h"

namespace vexolo {

/// Sections in brackets, lines of key, equals sign and value. Everything else (comments, which
/// begin with ";", empty and unknown lines) is kept where it is, and so are order, encoding,
/// byte-order mark and line ends. What was parsed and not changed is given back byte for byte.
///
/// Names are compared without regard to case and to blanks around them. Of a key that is there
/// twice, the first one counts; a section may be there in several pieces. All text is UTF-8 at this
/// interface. Takes any bytes; nothing throws. Not for several threads at once.
class IniDocument {
 public:
  /// An empty document: UTF-8, lines ended by "\r\n".
  IniDocument() = default;

  static IniDocument Parse(std::string_view bytes);

  /// The value without blanks around it; nothing where section or key is missing.
  std::optional<std::string> Get(std::string_view section, std::string_view key) const;

  /// Replaces the value of a key, or adds the key at the end of its section, or adds the section at
  /// the end. Line breaks are taken out of all three texts, blanks around them too; text that is
  /// not UTF-8 counts as Windows-1252. True when the document has changed. Names that could not be
  /// read back (empty ones, a key with "=" or one that begins as a comment or a section) change
  /// nothing.
  bool Set(std::string_view section, std::string_view key, std::string_view value);

  /// In the encoding that was read. Windows-1252 becomes UTF-8 where a character has no place in
  /// it, or where the bytes would be taken for UTF-8 on reading.
  std::string Serialize() const;

  TextEncoding encoding() const { return encoding_; }

 private:
  struct Line {
    std::string text;
    std::string end;  ///< "\n", "\r\n", or nothing at the end of the file
  };

  void BuildIndex();
  void InsertLine(std::size_t at, std::string text);

  TextEncoding encoding_ = TextEncoding::kUtf8;
  bool has_byte_order_mark_ = false;
  std::string line_end_ = "\r\n";  ///< of new lines
  std::vector<Line> lines_;
  std::unordered_map<std::string, std::size_t> keys_;      ///< section, line break, key: its line
  std::unordered_map<std::string, std::size_t> sections_;  ///< the line after which a key is added
};

}  // namespace vexolo
