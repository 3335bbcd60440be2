#include "settings/ini_document.h"

#include <algorithm>

namespace vexolo {
namespace {

constexpr std::string_view kBlanks = " \t\r\v\f";

std::string_view Trim(std::string_view text) {
  const std::size_t start = text.find_first_not_of(kBlanks);
  if (start == std::string_view::npos) return {};
  return text.substr(start, text.find_last_not_of(kBlanks) - start + 1);
}

/// The name in a line "[name]". The last bracket closes it, so that a name may hold one.
std::optional<std::string_view> SectionOf(std::string_view line) {
  line = Trim(line);
  const std::size_t end = line.rfind(']');
  if (!line.starts_with('[') || end == std::string_view::npos) return std::nullopt;
  return Trim(line.substr(1, end - 1));
}

/// The name before the equals sign; nothing for comments, sections and unknown lines.
std::optional<std::string_view> KeyOf(std::string_view line) {
  line = Trim(line);
  if (line.starts_with(';') || line.starts_with('[')) return std::nullopt;
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  const std::string_view key = Trim(line.substr(0, equals));
  return key.empty() ? std::nullopt : std::optional(key);
}

std::string_view ValueOf(std::string_view line) { return Trim(line.substr(line.find('=') + 1)); }

/// A name or a value as it can stand in a line.
std::string Clean(std::string_view text) {
  std::string clean = IsValidUtf8(text) ? std::string(text) : Utf8FromWindows1252(text);
  std::erase_if(clean, [](char character) { return character == '\r' || character == '\n'; });
  return std::string(Trim(clean));
}

/// Section names cannot hold a line break, so that it keeps the two parts apart.
std::string IndexKey(std::string_view folded_section, std::string_view key) {
  return std::string(folded_section).append("\n").append(FoldCase(key));
}

bool IsRepresentable(const std::string& section, const std::string& key) {
  return !section.empty() && KeyOf(key + "=") == std::string_view(key);
}

}  // namespace

IniDocument IniDocument::Parse(std::string_view bytes) {
  DecodedText decoded = DecodeText(bytes);
  IniDocument document;
  document.encoding_ = decoded.encoding;
  document.has_byte_order_mark_ = decoded.has_byte_order_mark;
  std::string_view rest = decoded.text;
  while (!rest.empty()) {
    const std::size_t feed = rest.find('\n');
    const std::size_t length = feed == std::string_view::npos ? rest.size() : feed + 1;
    std::string_view text = rest.substr(0, length);
    Line line;
    if (text.ends_with("\r\n")) {
      line.end = "\r\n";
    } else if (text.ends_with('\n')) {
      line.end = "\n";
    }
    text.remove_suffix(line.end.size());
    line.text = text;
    document.lines_.push_back(std::move(line));
    rest.remove_prefix(length);
  }
  if (!document.lines_.empty() && !document.lines_.front().end.empty()) {
    document.line_end_ = document.lines_.front().end;
  }
  document.BuildIndex();
  return document;
}

void IniDocument::BuildIndex() {
  keys_.clear();
  sections_.clear();
  std::string section;
  // Keys are added to the first piece of a section, behind its last key.
  bool is_first_piece = false;
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    if (const auto name = SectionOf(lines_[i].text)) {
      section = FoldCase(*name);
      is_first_piece = sections_.emplace(section, i).second;
    } else if (const auto key = KeyOf(lines_[i].text)) {
      keys_.emplace(IndexKey(section, *key), i);
      if (is_first_piece) sections_[section] = i;
    }
  }
}

std::optional<std::string> IniDocument::Get(std::string_view section, std::string_view key) const {
  const auto found = keys_.find(IndexKey(FoldCase(Clean(section)), Clean(key)));
  if (found == keys_.end()) return std::nullopt;
  return std::string(ValueOf(lines_[found->second].text));
}

void IniDocument::InsertLine(std::size_t at, std::string text) {
  // A file's last line need not be ended.
  if (at > 0 && lines_[at - 1].end.empty()) lines_[at - 1].end = line_end_;
  lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(at), {std::move(text), line_end_});
}

bool IniDocument::Set(std::string_view section, std::string_view key, std::string_view value) {
  const std::string section_name = Clean(section);
  const std::string key_name = Clean(key);
  const std::string text = Clean(value);
  if (!IsRepresentable(section_name, key_name)) return false;
  const std::string folded = FoldCase(section_name);
  if (const auto found = keys_.find(IndexKey(folded, key_name)); found != keys_.end()) {
    std::string& line = lines_[found->second].text;
    if (ValueOf(line) == text) return false;
    const std::size_t after_equals = line.find('=') + 1;
    const std::size_t start = line.find_first_not_of(kBlanks, after_equals);
    line.resize(std::min(start, line.size()));
    line += text;
    return true;
  }
  const auto place = sections_.find(folded);
  std::size_t at = lines_.size();
  if (place == sections_.end()) {
    InsertLine(at++, "[" + section_name + "]");
  } else {
    at = place->second + 1;
  }
  InsertLine(at, key_name + "=" + text);
  BuildIndex();
  return true;
}

std::string IniDocument::Serialize() const {
  std::string text;
  for (const Line& line : lines_) text.append(line.text).append(line.end);
  // A mark stands only in what was valid UTF-8, which stays UTF-8.
  if (has_byte_order_mark_) return std::string(kUtf8ByteOrderMark).append(text);
  return EncodeText(text, encoding_);
}

}  // namespace vexolo
