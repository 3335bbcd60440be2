#include "platform/text_encoding.h"

#include <array>
#include <utility>

namespace vexolo {
namespace {

/// Code points of the codes 0x80 to 0x9F; all other codes are their own code point.
constexpr std::array<char32_t, 32> kUpperControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

struct CasePair {
  char32_t upper;
  char32_t lower;
};

/// Letters of Windows-1252 that lie outside Latin-1.
constexpr std::array<CasePair, 4> kCasePairs = {
    {{0x0152, 0x0153}, {0x0160, 0x0161}, {0x0178, 0x00FF}, {0x017D, 0x017E}}};

struct Character {
  char32_t code = 0;
  std::size_t length = 0;  ///< bytes; 0 = not a character
};

bool IsContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

/// Length that a lead byte announces, with the bits it carries; 0 for no lead byte.
Character LeadOf(unsigned char byte) {
  if (byte < 0x80) return {byte, 1};
  if (byte >= 0xC2 && byte <= 0xDF) return {static_cast<char32_t>(byte & 0x1F), 2};
  if (byte >= 0xE0 && byte <= 0xEF) return {static_cast<char32_t>(byte & 0x0F), 3};
  if (byte >= 0xF0 && byte <= 0xF4) return {static_cast<char32_t>(byte & 0x07), 4};
  return {};
}

/// The character at the start of `text` (which is not empty).
Character DecodeFirst(std::string_view text) {
  constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
  Character character = LeadOf(static_cast<unsigned char>(text[0]));
  if (character.length > text.size()) return {};
  for (std::size_t i = 1; i < character.length; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (!IsContinuation(byte)) return {};
    character.code = (character.code << 6) | (byte & 0x3F);
  }
  const bool is_surrogate = character.code >= 0xD800 && character.code <= 0xDFFF;
  if (character.length > 1 && character.code < kSmallest[character.length]) return {};
  if (is_surrogate || character.code > 0x10FFFF) return {};
  return character;
}

/// `code` is at most U+FFFF here: Windows-1252 and its case pairs hold nothing higher.
void AppendUtf8(std::string& text, char32_t code) {
  if (code < 0x80) {
    text += static_cast<char>(code);
  } else if (code < 0x800) {
    text += static_cast<char>(0xC0 | (code >> 6));
    text += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    text += static_cast<char>(0xE0 | (code >> 12));
    text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    text += static_cast<char>(0x80 | (code & 0x3F));
  }
}

/// The Windows-1252 code of a character, or -1.
int Windows1252CodeOf(char32_t code) {
  if (code < 0x80 || (code >= 0xA0 && code <= 0xFF)) return static_cast<int>(code);
  for (std::size_t i = 0; i < kUpperControls.size(); ++i) {
    if (kUpperControls[i] == code) return static_cast<int>(0x80 + i);
  }
  return -1;
}

char32_t LowerOf(char32_t code) {
  if (code >= 'A' && code <= 'Z') return code + 32;
  if (code >= 0xC0 && code <= 0xDE && code != 0xD7) return code + 32;  // 0xD7 is the times sign
  for (const CasePair& pair : kCasePairs) {
    if (pair.upper == code) return pair.lower;
  }
  return code;
}

}  // namespace

bool IsValidUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t length = DecodeFirst(bytes).length;
    if (length == 0) return false;
    bytes.remove_prefix(length);
  }
  return true;
}

std::string Utf8FromWindows1252(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size() + bytes.size() / 8);
  for (const char byte : bytes) {
    const auto code = static_cast<unsigned char>(byte);
    AppendUtf8(text, code >= 0x80 && code < 0xA0 ? kUpperControls[code - 0x80] : code);
  }
  return text;
}

std::optional<std::string> Windows1252FromUtf8(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  while (!text.empty()) {
    const Character character = DecodeFirst(text);
    if (character.length == 0) return std::nullopt;
    const int code = Windows1252CodeOf(character.code);
    if (code < 0) return std::nullopt;
    bytes += static_cast<char>(code);
    text.remove_prefix(character.length);
  }
  return bytes;
}

std::string Windows1252FromUtf8OrReplace(std::string_view text, char replacement) {
  std::string bytes;
  bytes.reserve(text.size());
  AppendWindows1252FromUtf8(text, replacement, bytes);
  return bytes;
}

void AppendWindows1252FromUtf8(std::string_view text, char replacement, std::string& bytes) {
  while (!text.empty()) {
    const Character character = DecodeFirst(text);
    const int code = character.length == 0 ? -1 : Windows1252CodeOf(character.code);
    bytes += code < 0 ? replacement : static_cast<char>(code);
    text.remove_prefix(character.length == 0 ? 1 : character.length);
  }
}

DecodedText DecodeText(std::string_view bytes) {
  DecodedText decoded;
  if (!IsValidUtf8(bytes)) {
    decoded.encoding = TextEncoding::kWindows1252;
    decoded.text = Utf8FromWindows1252(bytes);
    return decoded;
  }
  if (bytes.starts_with(kUtf8ByteOrderMark)) {
    decoded.has_byte_order_mark = true;
    bytes.remove_prefix(kUtf8ByteOrderMark.size());
  }
  decoded.text = bytes;
  return decoded;
}

std::string EncodeText(std::string_view text, TextEncoding encoding) {
  if (encoding == TextEncoding::kWindows1252) {
    std::optional<std::string> bytes = Windows1252FromUtf8(text);
    if (bytes && (*bytes == text || !IsValidUtf8(*bytes))) return *std::move(bytes);
  }
  return std::string(text);
}

std::string FoldCase(std::string_view text) {
  std::string folded;
  folded.reserve(text.size());
  while (!text.empty()) {
    const Character character = DecodeFirst(text);
    const char32_t lower = LowerOf(character.code);
    if (character.length == 0 || lower == character.code) {
      const std::size_t length = character.length == 0 ? 1 : character.length;
      folded.append(text.substr(0, length));
      text.remove_prefix(length);
    } else {
      AppendUtf8(folded, lower);
      text.remove_prefix(character.length);
    }
  }
  return folded;
}

std::size_t CountCharacters(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (i == 0 || !IsContinuation(static_cast<unsigned char>(text[i]))) ++count;
  }
  return count;
}

std::string_view CutToCharacters(std::string_view text, std::size_t count) {
  std::size_t seen = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool starts = i == 0 || !IsContinuation(static_cast<unsigned char>(text[i]));
    if (starts && seen++ == count) return text.substr(0, i);
  }
  return text;
}

}  // namespace vexolo
