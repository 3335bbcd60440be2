#include "app/convert_options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

#include "app/time_format.h"
#include "convert/bitrates.h"
#include "mixer/mix_state.h"
#include "platform/locale_format.h"

namespace vexolo {

const char* const kConvertHelp =
    R"(Usage: vexolo-convert [options] SONG|LIST...

Turns MIDI and karaoke songs (.mid, .kar) into finished backing tracks: an audio file with tags
and, beside it, a file with the timed lyrics (.kok). A list (.m3u, .zvp) stands for its songs.

Output
  -f, --format FORMAT        wav, mp3 or ogg (default: mp3)
  -r, --rate RATE            kbit/s of MP3 and Ogg: 32, 40, 48, 56, 64, 80, 96, 112, 128, 160,
                             192, 224, 256 or 320 (default: as in the settings file, else 128)
  -o, --output-folder FOLDER where the files go (default: beside each song)
  -n, --name SCHEME          their names: %A is the artist, %T the title, "/" makes folders
                             (default: "%A - %T"; a song without both keeps its file's name)
  -y, --overwrite            replace files that are there (default: keep them; the song fails)

Tags
      --artist TEXT          (default: as the song says)
      --title TEXT           (default: as the song says)
      --album TEXT  --year TEXT  --track TEXT  --genre TEXT  --comment TEXT

Lyrics file
      --[no-]lyrics          write it or not (default: as in the settings file, else yes)
      --max-length N         longest line in characters, 0 to 99; 0 is no limit
                             (default: as in the settings file)

Sound
  -s, --soundfont FILE       the SoundFont bank (default: as in the settings file, else
                             Orvanel.SF2 in the program's folder)
      --start TIME           convert from here on: minutes:seconds ("1:15,5") or seconds
      --end TIME             and fade out from here on
      --transpose N          semitones, -12 to 12
      --tempo PERCENT        -250 to 60; positive is faster
      --gain DB              decibels, -20 to 20
      --mute LIST            channels 1 to 16 to leave out, as in "4,10-12", besides those that
                             the song's settings mute
      --[no-]auto-mute       leave out the channel that sings (default: as in the settings file,
                             else yes)
      --ignore-song-settings do not read the settings beside the song (.zvn)

Running
  -j, --jobs N               convert N songs at a time, 1 to 64 (default: 1)
  -q, --quiet                say nothing but what fails
      --json                 report in JSON: one object for each song, then a summary
      --dump                 print the structure of the songs' files; nothing is converted
      --help                 print this
      --version              print the version

The command line goes before a song's settings, and these go before the program's settings. No
settings are ever written. What fails is told on standard error, and the other songs are done.
Exit status: 0 all songs are converted, 1 some are not, 2 wrong usage, 130 interrupted (Ctrl-C);
an interrupted song leaves no file behind.
)";

namespace {

using Options = ConvertOptions;

/// Empty where the value is taken, else what is wrong with it.
using Reader = std::string (*)(Options& options, std::string_view value);

std::optional<int> WholeNumber(std::string_view text) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  int number = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (code != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// Digits with at most one decimal separator of either kind, and a sign before them.
bool IsDecimal(std::string_view text) {
  if (text.starts_with('-') || text.starts_with('+')) text.remove_prefix(1);
  const auto separators =
      std::count_if(text.begin(), text.end(), [](char c) { return c == '.' || c == ','; });
  return separators <= 1 && text.find_first_of("0123456789") != std::string_view::npos &&
         text.find_first_not_of("0123456789.,") == std::string_view::npos;
}

/// On one line: control characters of what was typed become "?".
std::string OnOneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
  return text;
}

std::string Range(int lowest, int highest) {
  return "must be a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest);
}

template <typename Number>
std::string ReadNumber(std::string_view value, int lowest, int highest, Number& to) {
  const std::optional<int> number = WholeNumber(value);
  if (!number || *number < lowest || *number > highest) return Range(lowest, highest);
  to = static_cast<std::int16_t>(*number);
  return {};
}

template <auto Field>
std::string ReadText(Options& options, std::string_view value) {
  options.*Field = std::string(value);
  return {};
}

template <auto Field, bool Value>
std::string SetFlag(Options& options, std::string_view /*value*/) {
  options.*Field = Value;
  return {};
}

template <Options::Task Task>
std::string SetTask(Options& options, std::string_view /*value*/) {
  options.task = Task;
  return {};
}

std::string ReadFormat(Options& options, std::string_view value) {
  constexpr std::array<std::string_view, 3> kNames = {"wav", "mp3", "ogg"};
  const auto* const found = std::find(kNames.begin(), kNames.end(), value);
  if (found == kNames.end()) return "must be wav, mp3 or ogg";
  options.format = static_cast<AudioFormat>(found - kNames.begin());
  return {};
}

std::string ReadRate(Options& options, std::string_view value) {
  if (BitratePlace(value) < 0) return "is not one of the bitrates; see --help";
  options.rate = std::string(value);
  return {};
}

template <auto Field>
std::string ReadTime(Options& options, std::string_view value) {
  const std::size_t colon = value.find(':');
  const bool has_minutes = colon != std::string_view::npos;
  const bool is_time = has_minutes ? WholeNumber(value.substr(0, colon)).has_value() &&
                                         IsDecimal(value.substr(colon + 1))
                                   : IsDecimal(value);
  if (!is_time || value.find_first_of("+-") != std::string_view::npos) {
    return "must be a time, as in 1:15,5 or 75.5";
  }
  options.*Field = ParseTime(value);
  return {};
}

std::string ReadTempo(Options& options, std::string_view value) {
  const double tempo = TextToNumber(value) * 10;
  if (!IsDecimal(value) || tempo < kSlowestTempo || tempo > kFastestTempo) {
    return "must be a percentage from -250 to 60";
  }
  options.tempo = static_cast<std::int16_t>(RoundToInt(tempo));
  return {};
}

std::string ReadTranspose(Options& options, std::string_view value) {
  return ReadNumber(value, -kMaxTranspose, kMaxTranspose, options.transpose);
}

std::string ReadGain(Options& options, std::string_view value) {
  return ReadNumber(value, -kMaxGain, kMaxGain, options.gain);
}

std::string ReadMaxLength(Options& options, std::string_view value) {
  return ReadNumber(value, 0, 99, options.max_length);
}

std::string ReadJobs(Options& options, std::string_view value) {
  return ReadNumber(value, 1, 64, options.jobs);
}

std::string ReadMute(Options& options, std::string_view value) {
  constexpr const char* kWrong = "must be channels from 1 to 16, as in 4,10-12";
  while (true) {
    const std::string_view item = value.substr(0, value.find(','));
    const std::size_t dash = item.find('-');
    const auto first = WholeNumber(item.substr(0, dash));
    const auto last = dash == std::string_view::npos ? first : WholeNumber(item.substr(dash + 1));
    if (!first || !last || *first < 1 || *last > kChannels || *first > *last) return kWrong;
    for (int channel = *first; channel <= *last; ++channel) {
      options.mute = static_cast<std::uint16_t>(options.mute | 1U << (channel - 1));
    }
    if (item.size() == value.size()) return {};
    value.remove_prefix(item.size() + 1);
  }
}

struct Option {
  char letter;  ///< 0 = none
  std::string_view name;
  bool takes_value;
  Reader read;
};

constexpr std::array kOptions = {
    Option{'f', "format", true, ReadFormat},
    Option{'r', "rate", true, ReadRate},
    Option{'o', "output-folder", true, ReadText<&Options::output_folder>},
    Option{'n', "name", true, ReadText<&Options::name_scheme>},
    Option{'y', "overwrite", false, SetFlag<&Options::overwrite, true>},
    Option{0, "artist", true, ReadText<&Options::artist>},
    Option{0, "title", true, ReadText<&Options::title>},
    Option{0, "album", true, ReadText<&Options::album>},
    Option{0, "year", true, ReadText<&Options::year>},
    Option{0, "track", true, ReadText<&Options::track>},
    Option{0, "genre", true, ReadText<&Options::genre>},
    Option{0, "comment", true, ReadText<&Options::comment>},
    Option{0, "lyrics", false, SetFlag<&Options::lyrics, true>},
    Option{0, "no-lyrics", false, SetFlag<&Options::lyrics, false>},
    Option{0, "max-length", true, ReadMaxLength},
    Option{'s', "soundfont", true, ReadText<&Options::sound_font>},
    Option{0, "start", true, ReadTime<&Options::start>},
    Option{0, "end", true, ReadTime<&Options::end>},
    Option{0, "transpose", true, ReadTranspose},
    Option{0, "tempo", true, ReadTempo},
    Option{0, "gain", true, ReadGain},
    Option{0, "mute", true, ReadMute},
    Option{0, "auto-mute", false, SetFlag<&Options::auto_mute, true>},
    Option{0, "no-auto-mute", false, SetFlag<&Options::auto_mute, false>},
    Option{0, "ignore-song-settings", false, SetFlag<&Options::ignore_song_settings, true>},
    Option{'j', "jobs", true, ReadJobs},
    Option{'q', "quiet", false, SetFlag<&Options::quiet, true>},
    Option{0, "json", false, SetFlag<&Options::json, true>},
    Option{0, "dump", false, SetTask<Options::Task::kDump>},
    Option{0, "help", false, SetTask<Options::Task::kHelp>},
    Option{0, "version", false, SetTask<Options::Task::kVersion>},
};

/// Walks the arguments; stops at the first one that is wrong.
class Parser {
 public:
  explicit Parser(const std::vector<std::string>& arguments) : arguments_(arguments) {}

  bool Run() {
    while (error_.empty() && next_ < arguments_.size()) {
      const std::string_view argument = arguments_[next_++];
      if (options_over_ || argument == "-" || !argument.starts_with('-')) {
        if (argument.empty()) error_ = "an empty name is no song";
        options_.inputs.emplace_back(argument);
      } else if (argument == "--") {
        options_over_ = true;
      } else if (argument.starts_with("--")) {
        ReadLong(argument.substr(2));
      } else {
        ReadShort(argument.substr(1));
      }
    }
    return error_.empty();
  }

  const Options& options() const { return options_; }
  const std::string& error() const { return error_; }

 private:
  void ReadLong(std::string_view text) {
    const std::size_t equals = text.find('=');
    const std::string_view name = text.substr(0, equals);
    const auto* const option = std::find_if(kOptions.begin(), kOptions.end(),
                                            [&](const Option& o) { return o.name == name; });
    if (option == kOptions.end()) {
      error_ = "there is no option --" + std::string(name);
    } else if (equals == std::string_view::npos) {
      Take(*option, "--" + std::string(name), std::nullopt);
    } else if (!option->takes_value) {
      error_ = "--" + std::string(name) + " takes no value";
    } else {
      Take(*option, "--" + std::string(name), text.substr(equals + 1));
    }
  }

  /// Letters without a value may stand together ("-qy").
  void ReadShort(std::string_view letters) {
    while (error_.empty() && !letters.empty()) {
      const char letter = letters.front();
      letters.remove_prefix(1);
      const auto* const option = std::find_if(kOptions.begin(), kOptions.end(),
                                              [&](const Option& o) { return o.letter == letter; });
      const std::string typed = std::string("-") + letter;
      if (option == kOptions.end()) {
        error_ = "there is no option " + typed;
      } else if (!option->takes_value || letters.empty()) {
        Take(*option, typed, std::nullopt);
      } else {
        Take(*option, typed, letters);
        return;
      }
    }
  }

  void Take(const Option& option, const std::string& typed, std::optional<std::string_view> value) {
    if (option.takes_value && !value) {
      if (next_ == arguments_.size()) {
        error_ = typed + " needs a value";
        return;
      }
      value = arguments_[next_++];
    }
    const std::string wrong = option.read(options_, value.value_or(std::string_view()));
    if (!wrong.empty()) error_ = typed + " \"" + std::string(*value) + "\" " + wrong;
  }

  const std::vector<std::string>& arguments_;
  std::size_t next_ = 0;
  bool options_over_ = false;
  Options options_;
  std::string error_;
};

}  // namespace

std::optional<ConvertOptions> ParseConvertOptions(const std::vector<std::string>& arguments,
                                                  std::string* error) {
  Parser parser(arguments);
  const bool is_right = parser.Run();
  const Options::Task task = parser.options().task;
  if (is_right && (task == Options::Task::kHelp || task == Options::Task::kVersion)) {
    return parser.options();
  }
  *error = OnOneLine(parser.error());
  if (is_right && parser.options().inputs.empty()) *error = "no song is given";
  if (!error->empty()) return std::nullopt;
  return parser.options();
}

std::vector<std::string> ConvertOptionNames() {
  std::vector<std::string> names;
  for (const Option& option : kOptions) {
    if (option.letter != 0) names.push_back(std::string("-") + option.letter);
    names.push_back("--" + std::string(option.name));
  }
  return names;
}

}  // namespace vexolo
