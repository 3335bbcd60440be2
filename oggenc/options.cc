#include "oggenc/options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>

namespace vexolo::oggenc {
namespace {

struct Tag {
  char letter;
  const char* name;
};

constexpr std::array<Tag, 6> kTags{{{'a', "ARTIST"},
                                    {'t', "TITLE"},
                                    {'l', "ALBUM"},
                                    {'d', "DATE"},
                                    {'N', "TRACKNUMBER"},
                                    {'G', "GENRE"}}};

/// Length of the UTF-8 sequence at `at`; 0 where there is none. Refuses overlong forms, surrogates
/// and what lies past U+10FFFF.
std::size_t SequenceLength(const std::string& text, std::size_t at) {
  const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned lead = byte(at);
  if (lead < 0x80) return 1;
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() - at < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(at + i) & 0xC0) != 0x80) return 0;
  }
  const unsigned second = byte(at + 1);
  const bool refused = (lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
                       (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F);
  return refused ? 0 : length;
}

bool IsUtf8(const std::string& text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = SequenceLength(text, at);
    if (length == 0) return false;
    at += length;
  }
  return true;
}

bool ParseBitrate(const std::string& text, int& bitrate, std::string& error) {
  int value = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (code != std::errc() || end != text.data() + text.size() || value < kMinBitrate ||
      value > kMaxBitrate) {
    error = "-b needs a whole number of kbit/s from " + std::to_string(kMinBitrate) + " to " +
            std::to_string(kMaxBitrate) + ", not \"" + text + "\"";
    return false;
  }
  bitrate = value;
  return true;
}

/// A field name of a Vorbis comment: ASCII from space to "}" without "=".
bool IsFieldName(const std::string& name) {
  return !name.empty() && std::all_of(name.begin(), name.end(),
                                      [](char c) { return c >= 0x20 && c <= 0x7D && c != '='; });
}

bool ParseComment(const std::string& text, Options& options, std::string& error) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || !IsFieldName(text.substr(0, equals))) {
    error = "-c needs NAME=VALUE, not \"" + text + "\"";
    return false;
  }
  options.comments.push_back({text.substr(0, equals), ToUtf8(text.substr(equals + 1))});
  return true;
}

/// On one line: control characters of what was typed become "?".
std::string OnOneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
  return text;
}

/// Reads the option at the front of `arguments` and takes it off.
bool ParseOption(std::span<const std::string>& arguments, Options& options, std::string& error) {
  const std::string argument = arguments.front();
  arguments = arguments.subspan(1);
  if (argument == "-o") return true;
  if (argument.size() < 2 || argument[0] != '-') {
    error = "unexpected argument \"" + argument + "\"";
    return false;
  }
  const char letter = argument[1];
  std::string value = argument.substr(2);
  if (letter == 'b') {
    if (value.empty() && !arguments.empty()) {
      value = arguments.front();
      arguments = arguments.subspan(1);
    }
    return ParseBitrate(value, options.bitrate, error);
  }
  if (letter == 'c') return ParseComment(value, options, error);
  const auto* const tag = std::find_if(kTags.begin(), kTags.end(),
                                       [letter](const Tag& t) { return t.letter == letter; });
  if (tag == kTags.end()) {
    error = "unknown option \"" + argument + "\"";
    return false;
  }
  if (!value.empty()) options.comments.push_back({tag->name, ToUtf8(value)});
  return true;
}

}  // namespace

std::string ToUtf8(const std::string& text) {
  if (IsUtf8(text)) return text;
  std::string utf8;
  for (const char c : text) {
    const unsigned byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      utf8 += c;
    } else {
      utf8 += static_cast<char>(0xC0 | (byte >> 6));
      utf8 += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return utf8;
}

bool ParseOptions(std::span<const std::string> arguments, Options& options, std::string& error) {
  options = Options();
  if (arguments.size() == 1) {
    if (arguments[0] == "-h" || arguments[0] == "--help") options.task = Options::Task::kHelp;
    if (arguments[0] == "--version") options.task = Options::Task::kVersion;
    if (options.task != Options::Task::kEncode) return true;
  }
  if (arguments.size() < 2 || arguments.back() != "-") {
    error = "the last two arguments must be the output file and \"-\" (standard input)";
    return false;
  }
  options.output = arguments[arguments.size() - 2];
  if (options.output.empty() || options.output == "-") {
    error = "the output must be a file";
    return false;
  }
  std::span<const std::string> rest = arguments.first(arguments.size() - 2);
  while (!rest.empty()) {
    if (ParseOption(rest, options, error)) continue;
    error = OnOneLine(error);
    return false;
  }
  return true;
}

const char* const kHelpText =
    "Usage: oggenc [OPTION]... OUTPUT -\n"
    "\n"
    "Reads a WAV file from standard input and writes OUTPUT as Ogg Vorbis. The sound is 16-bit\n"
    "PCM, mono or stereo, 8000 to 192000 Hz; its lengths may be unknown (0 or 0xFFFFFFFF). The\n"
    "last two arguments are always the output file, whatever it begins with, and \"-\".\n"
    "\n"
    "  -bRATE        nominal bitrate in kbit/s, 1 to 1000 (default 128); the nearest that the\n"
    "                sample rate allows is taken. \"-b RATE\" is understood as well.\n"
    "  -aTEXT        artist         -dTEXT        date\n"
    "  -tTEXT        title          -NTEXT        track number\n"
    "  -lTEXT        album          -GTEXT        genre\n"
    "  -cNAME=TEXT   any other comment; may be given more than once\n"
    "  -o            accepted and without effect\n"
    "  -h, --help    this text (alone)\n"
    "  --version     the version (alone)\n"
    "\n"
    "A text stands directly after its letter and is UTF-8 in every locale.\n"
    "The same sound and options always give the same file, byte for byte.\n"
    "\n"
    "Exit status: 0 done; 1 the sound cannot be read or the file cannot be written (what was\n"
    "written stays); 2 wrong use.\n"
    "\n"
    "Example: oggenc -b160 -a\"Artist\" -t\"Title\" song.ogg - < song.wav\n";

}  // namespace vexolo::oggenc
