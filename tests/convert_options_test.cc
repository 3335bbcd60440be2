// layer: core
#include "app/convert_options.h"

#include <cstring>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vexolo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Task = ConvertOptions::Task;

ConvertOptions Parse(std::vector<std::string> arguments) {
  arguments.push_back("song.mid");
  std::string error;
  const auto options = ParseConvertOptions(arguments, &error);
  EXPECT_TRUE(options.has_value()) << error;
  return options.value_or(ConvertOptions());
}

std::string Error(std::vector<std::string> arguments) {
  arguments.push_back("song.mid");
  std::string error;
  EXPECT_FALSE(ParseConvertOptions(arguments, &error).has_value()) << arguments.front();
  return error;
}

TEST(ConvertOptionsTest, DefaultsLeaveTheRestToTheSettings) {
  const ConvertOptions options = Parse({});
  EXPECT_EQ(options.task, Task::kConvert);
  EXPECT_THAT(options.inputs, ElementsAre("song.mid"));
  EXPECT_EQ(options.format, AudioFormat::kMp3);
  EXPECT_EQ(options.name_scheme, "%A - %T");
  EXPECT_EQ(options.jobs, 1);
  EXPECT_FALSE(options.rate || options.output_folder || options.sound_font || options.artist ||
               options.title || options.lyrics || options.max_length || options.start ||
               options.end || options.transpose || options.tempo || options.gain ||
               options.auto_mute);
  EXPECT_FALSE(options.overwrite || options.quiet || options.json || options.ignore_song_settings);
}

TEST(ConvertOptionsTest, EveryOptionIsRead) {
  const ConvertOptions options = Parse({"-f",
                                        "ogg",
                                        "-r",
                                        "192",
                                        "-o",
                                        "out",
                                        "-n",
                                        "%T",
                                        "-s",
                                        "a.sf2",
                                        "--artist",
                                        "A",
                                        "--title",
                                        "T",
                                        "--album",
                                        "L",
                                        "--year",
                                        "1958",
                                        "--track",
                                        "3",
                                        "--genre",
                                        "Rock",
                                        "--comment",
                                        "C",
                                        "--start",
                                        "0:01,5",
                                        "--end",
                                        "1:15",
                                        "--transpose",
                                        "-3",
                                        "--tempo",
                                        "12.5",
                                        "--gain",
                                        "+6",
                                        "--mute",
                                        "4",
                                        "--no-lyrics",
                                        "--max-length",
                                        "40",
                                        "--no-auto-mute",
                                        "--ignore-song-settings",
                                        "-y",
                                        "-j",
                                        "2",
                                        "-q",
                                        "--json"});
  EXPECT_EQ(options.format, AudioFormat::kOgg);
  EXPECT_EQ(options.rate, "192");
  EXPECT_EQ(options.output_folder, "out");
  EXPECT_EQ(options.name_scheme, "%T");
  EXPECT_EQ(options.sound_font, "a.sf2");
  EXPECT_EQ(options.artist, "A");
  EXPECT_EQ(options.title, "T");
  EXPECT_EQ(options.album, "L");
  EXPECT_EQ(options.year, "1958");
  EXPECT_EQ(options.track, "3");
  EXPECT_EQ(options.genre, "Rock");
  EXPECT_EQ(options.comment, "C");
  EXPECT_EQ(options.start, 1.5);
  EXPECT_EQ(options.end, 75.0);
  EXPECT_EQ(options.transpose, -3);
  EXPECT_EQ(options.tempo, 125);
  EXPECT_EQ(options.gain, 6);
  EXPECT_EQ(options.mute, 1U << 3);
  EXPECT_EQ(options.lyrics, false);
  EXPECT_EQ(options.max_length, 40);
  EXPECT_EQ(options.auto_mute, false);
  EXPECT_TRUE(options.ignore_song_settings);
  EXPECT_TRUE(options.overwrite);
  EXPECT_EQ(options.jobs, 2);
  EXPECT_TRUE(options.quiet);
  EXPECT_TRUE(options.json);
  EXPECT_EQ(Parse({"--auto-mute"}).auto_mute, true);
  EXPECT_EQ(Parse({"--lyrics"}).lyrics, true);
}

TEST(ConvertOptionsTest, LongNamesOfTheShortOptions) {
  const ConvertOptions options =
      Parse({"--format", "wav", "--rate=64", "--output-folder=o", "--name=", "--soundfont", "b",
             "--overwrite", "--jobs=3", "--quiet"});
  EXPECT_EQ(options.format, AudioFormat::kWav);
  EXPECT_EQ(options.rate, "64");
  EXPECT_EQ(options.output_folder, "o");
  EXPECT_EQ(options.name_scheme, "");
  EXPECT_EQ(options.sound_font, "b");
  EXPECT_TRUE(options.overwrite && options.quiet);
  EXPECT_EQ(options.jobs, 3);
}

TEST(ConvertOptionsTest, ValuesMayBeAttachedAndLettersJoined) {
  const ConvertOptions options = Parse({"-fwav", "-qyj4", "-o-out"});
  EXPECT_EQ(options.format, AudioFormat::kWav);
  EXPECT_TRUE(options.quiet && options.overwrite);
  EXPECT_EQ(options.jobs, 4);
  EXPECT_EQ(options.output_folder, "-out");
}

TEST(ConvertOptionsTest, SongsAndOptionsMayComeInAnyOrder) {
  EXPECT_THAT(Parse({"a.mid", "-y", "b.m3u"}).inputs, ElementsAre("a.mid", "b.m3u", "song.mid"));
  EXPECT_THAT(Parse({"--", "-y"}).inputs, ElementsAre("-y", "song.mid"));
}

TEST(ConvertOptionsTest, MuteTakesChannelsAndRanges) {
  EXPECT_EQ(Parse({"--mute", "1,16"}).mute, 0x8001);
  EXPECT_EQ(Parse({"--mute", "2-4,4"}).mute, 0x000E);
  EXPECT_EQ(Parse({"--mute", "1-16"}).mute, 0xFFFF);
  EXPECT_EQ(Parse({"--mute", "1", "--mute", "2"}).mute, 0x0003);
  for (const char* wrong : {"", "0", "17", "4-2", "1,", ",1", "a", "1-", "-1", "1--2", "1;2"}) {
    EXPECT_THAT(Error({"--mute", wrong}), HasSubstr("channels from 1 to 16")) << wrong;
  }
}

TEST(ConvertOptionsTest, TimesAreThoseOfTheTimeDialog) {
  EXPECT_EQ(Parse({"--start", "75,5"}).start, 75.5);
  EXPECT_EQ(Parse({"--start", "75.5"}).start, 75.5);
  EXPECT_EQ(Parse({"--start", "1:15,500"}).start, 75.5);
  EXPECT_EQ(Parse({"--start", "0"}).start, 0.0);
  for (const char* wrong : {"", "soon", "1:", ":5", "-3", "1:2:3", "1:-5", "1.2.3", "5s"}) {
    EXPECT_THAT(Error({"--start", wrong}), HasSubstr("must be a time")) << wrong;
    EXPECT_THAT(Error({"--end", wrong}), HasSubstr("must be a time")) << wrong;
  }
}

TEST(ConvertOptionsTest, TempoIsAPercentageAsInTheSongsSettings) {
  EXPECT_EQ(Parse({"--tempo", "12,5"}).tempo, 125);
  EXPECT_EQ(Parse({"--tempo", "-250"}).tempo, -2500);
  EXPECT_EQ(Parse({"--tempo", "60"}).tempo, 600);
  for (const char* wrong : {"60.1", "-251", "fast", "", "10%"}) {
    EXPECT_THAT(Error({"--tempo", wrong}), HasSubstr("percentage")) << wrong;
  }
}

TEST(ConvertOptionsTest, NumbersAreHeldToTheirRange) {
  const std::pair<const char*, std::vector<const char*>> kWrong[] = {
      {"--transpose", {"13", "-13", "1.5", "up", "", "+-5", "++5"}},
      {"--gain", {"21", "-21", "loud"}},
      {"--max-length", {"100", "-1"}},
      {"--jobs", {"0", "65", "many"}}};
  for (const auto& [option, values] : kWrong) {
    for (const char* value : values) {
      EXPECT_THAT(Error({option, value}), HasSubstr("whole number from")) << option << value;
    }
  }
  EXPECT_EQ(Parse({"--transpose", "12"}).transpose, 12);
  EXPECT_EQ(Parse({"--gain", "-20"}).gain, -20);
  EXPECT_EQ(Parse({"--max-length", "0"}).max_length, 0);
}

TEST(ConvertOptionsTest, WrongUsageIsToldInOneLine) {
  EXPECT_EQ(Error({"--loud"}), "there is no option --loud");
  EXPECT_EQ(Error({"-z"}), "there is no option -z");
  EXPECT_EQ(Error({"--json=1"}), "--json takes no value");
  EXPECT_EQ(Error({"-f", "flac"}), "-f \"flac\" must be wav, mp3 or ogg");
  EXPECT_THAT(Error({"-r", "100"}), HasSubstr("bitrates"));
  EXPECT_EQ(Error({""}), "an empty name is no song");
  EXPECT_EQ(Error({"--lo\nud\x1B"}), "there is no option --lo?ud?");
  EXPECT_EQ(Error({"-f", "wav\r\n"}), "-f \"wav??\" must be wav, mp3 or ogg");
  std::string error;
  EXPECT_FALSE(ParseConvertOptions({}, &error));
  EXPECT_EQ(error, "no song is given");
  EXPECT_FALSE(ParseConvertOptions({"song.mid", "-o"}, &error));
  EXPECT_EQ(error, "-o needs a value");
}

TEST(ConvertOptionsTest, HelpAndVersionNeedNoSong) {
  std::string error;
  EXPECT_EQ(ParseConvertOptions({"--help"}, &error)->task, Task::kHelp);
  EXPECT_EQ(ParseConvertOptions({"--version"}, &error)->task, Task::kVersion);
  EXPECT_FALSE(ParseConvertOptions({"--dump"}, &error));
  EXPECT_EQ(Parse({"--dump"}).task, Task::kDump);
}

std::string ReadSource(const std::string& name) {
  std::ostringstream content;
  content << std::ifstream(std::string(VEXOLO_SOURCES) + "/" + name).rdbuf();
  return content.str();
}

/// Whether the option stands there by itself: "-f" is not told by "--format".
bool HasOption(const std::string& text, const std::string& option) {
  constexpr const char* kNameCharacters = "abcdefghijklmnopqrstuvwxyz-";
  for (std::size_t at = text.find(option); at != std::string::npos;
       at = text.find(option, at + 1)) {
    const std::size_t end = at + option.size();
    const bool starts = at == 0 || std::strchr(kNameCharacters, text[at - 1]) == nullptr;
    const bool ends = end == text.size() || std::strchr(kNameCharacters, text[end]) == nullptr;
    if (starts && ends) return true;
  }
  return false;
}

/// "--no-x" is told together with "--x" there.
bool Tells(const std::string& text, const std::string& option) {
  const std::string both =
      option.starts_with("--no-") ? "--[no-]" + option.substr(5) : "--[no-]" + option.substr(2);
  return HasOption(text, option) || HasOption(text, both);
}

TEST(ConvertOptionsTest, HelpManualAndCompletionTellEveryOption) {
  std::string manual = ReadSource("docs/vexolo-convert.1");
  std::erase(manual, '\\');
  const std::string completion = ReadSource("share/bash-completion/completions/vexolo-convert");
  for (const std::string& option : ConvertOptionNames()) {
    EXPECT_TRUE(Tells(kConvertHelp, option)) << option;
    EXPECT_TRUE(Tells(manual, option)) << option;
    EXPECT_TRUE(HasOption(completion, option)) << option;
  }
}

TEST(ConvertOptionsTest, HelpFitsATerminal) {
  std::istringstream lines(kConvertHelp);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 100U) << line;
}

}  // namespace
}  // namespace vexolo
