/// The command line of the Vorbis encoder.
#pragma once

#include <span>
#include <string>
#include <vector>

namespace vexolo::oggenc {

/// One Vorbis comment, such as ARTIST = "Édith". Both are UTF-8.
struct Comment {
  std::string name;
  std::string value;

  bool operator==(const Comment&) const = default;
};

struct Options {
  enum class Task { kEncode, kHelp, kVersion };

  Task task = Task::kEncode;
  int bitrate = 128;  ///< nominal, kbit/s
  std::vector<Comment> comments;
  std::string output;  ///< path of the file to write
};

constexpr int kMinBitrate = 1;
constexpr int kMaxBitrate = 1000;

/// Reads the arguments that follow the program's name. The last two are always the output path
/// and "-", so a path may begin with "-"; what comes before them is options in any order. Values
/// are attached to their letter ("-aArtist"), save that -b also takes the next argument. An empty
/// value adds no comment. A value that is not UTF-8 is taken as Latin-1.
/// On failure returns false and puts one line without a line break into `error`.
bool ParseOptions(std::span<const std::string> arguments, Options& options, std::string& error);

/// `text` as it stands when it is UTF-8; otherwise each byte turned from Latin-1 to UTF-8.
std::string ToUtf8(const std::string& text);

/// What --help prints.
extern const char* const kHelpText;

}  // namespace vexolo::oggenc
