/// The options of vexolo-convert.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "convert/conversion_settings.h"

namespace vexolo {

/// What was asked for. What is not there comes from the song's settings, then from the program's.
struct ConvertOptions {
  enum class Task { kConvert, kDump, kHelp, kVersion };

  Task task = Task::kConvert;
  std::vector<std::string> inputs;  ///< songs and lists

  AudioFormat format = AudioFormat::kMp3;
  std::optional<std::string> rate;
  std::optional<std::string> output_folder;
  std::string name_scheme = "%A - %T";
  std::optional<std::string> sound_font;

  std::optional<std::string> artist;
  std::optional<std::string> title;
  std::string album;
  std::string year;
  std::string track;
  std::string genre;
  std::string comment;

  std::optional<bool> lyrics;
  std::optional<std::int16_t> max_length;
  std::optional<double> start;  ///< seconds of the converted song, at its speed
  std::optional<double> end;

  std::optional<std::int16_t> transpose;  ///< semitones
  std::optional<std::int16_t> tempo;      ///< tenths of a percent, positive is faster
  std::optional<std::int16_t> gain;       ///< decibels
  std::uint16_t mute = 0;                 ///< bit c: channel c, from 0
  std::optional<bool> auto_mute;
  bool ignore_song_settings = false;

  bool overwrite = false;
  int jobs = 1;
  bool quiet = false;
  bool json = false;
};

/// Reads the arguments that follow the program's name. On failure returns nothing and puts one line
/// into `error`. Options and inputs may come in any order; "--" ends the options. Values follow
/// their option, or are attached to it ("-fwav", "--format=wav").
std::optional<ConvertOptions> ParseConvertOptions(const std::vector<std::string>& arguments,
                                                  std::string* error);

/// What --help prints.
extern const char* const kConvertHelp;

/// Every option as it is typed ("-f", "--format", ...), for the tests of help and completion.
std::vector<std::string> ConvertOptionNames();

}  // namespace vexolo
