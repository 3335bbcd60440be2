/// UTF-8 and Windows-1252: the two encodings that the program's text files come in.
///
/// Every function here is total: any byte sequence may be passed in, nothing throws. Free
/// functions without state; any thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vexolo {

enum class TextEncoding { kUtf8, kWindows1252 };

inline constexpr std::string_view kUtf8ByteOrderMark = "\xEF\xBB\xBF";

/// True for well-formed UTF-8: no overlong form, no surrogate, nothing above U+10FFFF.
bool IsValidUtf8(std::string_view bytes);

/// All 256 codes have a meaning: the five that Windows-1252 leaves undefined (0x81, 0x8D, 0x8F,
/// 0x90, 0x9D) stand for the C1 controls of the same number, so that any byte sequence survives
/// the way to UTF-8 and back.
std::string Utf8FromWindows1252(std::string_view bytes);

/// The reverse. Nothing where a character has no place in Windows-1252 or the text is not UTF-8.
std::optional<std::string> Windows1252FromUtf8(std::string_view text);

/// As above, but a character without a place becomes `replacement` (so does each byte that is not
/// part of a UTF-8 character).
std::string Windows1252FromUtf8OrReplace(std::string_view text, char replacement = '?');

/// The same, appended to `bytes`.
void AppendWindows1252FromUtf8(std::string_view text, char replacement, std::string& bytes);

/// A text file's content, decoded.
struct DecodedText {
  std::string text;  ///< UTF-8, without byte-order mark
  TextEncoding encoding = TextEncoding::kUtf8;
  bool has_byte_order_mark = false;
};

/// UTF-8 where `bytes` are valid UTF-8 (plain ASCII included), else Windows-1252.
DecodedText DecodeText(std::string_view bytes);

/// `text` (UTF-8) as bytes in `encoding`, so that DecodeText gives it back: UTF-8 is taken instead
/// of Windows-1252 where a character has no place in it, and where the bytes would be valid UTF-8
/// by accident. Adds no byte-order mark.
std::string EncodeText(std::string_view text, TextEncoding encoding);

/// Lower-case form for comparing names: letters of ASCII, Latin-1 and Windows-1252 (so "ANNÉE" and
/// "Année" are the same name). Everything else is left alone.
std::string FoldCase(std::string_view text);

/// Number of characters (code points); a stray continuation byte belongs to the character before.
std::size_t CountCharacters(std::string_view text);

/// The first `count` characters of `text`; never cuts inside a character.
std::string_view CutToCharacters(std::string_view text, std::size_t count);

}  // namespace vexolo
