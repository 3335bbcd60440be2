// layer: core
#include "app/convert_command.h"

#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "audio/loader.h"
#include "fakes/temporary_folder.h"
#include "platform/file_io.h"
#include "platform/text_encoding.h"
#include "song_builder.h"

namespace vexolo {
namespace {

namespace fs = std::filesystem;
using ::testing::AnyOf;
using ::testing::ContainsRegex;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

using engine::testing::SongBuilder;

constexpr int kBass = 0;
constexpr int kMelody = 3;  // channel 4 for the user
constexpr int kSyllables = 12;

/// Three seconds: a held bass note, and a melody with a syllable to each of its notes.
std::string KaraokeSong(const std::string& title = "L'\xC9t\xE9", const std::string& artist =
                                                                      "\xC9"
                                                                      "dith") {
  SongBuilder song;
  song.Tempo(0, 500000).Program(0, kBass, 33).Program(0, kMelody, 73);
  song.Note(0, 240 * kSyllables, kBass, 40);
  song.Name("Words", 1).Text(0, "@LFREN", 1);
  if (!title.empty()) song.Text(0, "@T" + title, 1);
  if (!artist.empty()) song.Text(0, "@T" + artist, 1);
  for (int syllable = 0; syllable < kSyllables; ++syllable) {
    const auto tick = static_cast<std::uint32_t>(240 * syllable);
    song.Note(tick, 200, kMelody, 72 + syllable % 5);
    song.Text(tick, (syllable % 4 == 0 ? "/la" : "la"), 1);
  }
  return song.Song();
}

/// 16-bit samples of a WAV file.
std::vector<std::int16_t> Samples(const std::string& wav) {
  std::vector<std::int16_t> samples(wav.size() > 44 ? (wav.size() - 44) / 2 : 0);
  if (!samples.empty()) std::memcpy(samples.data(), wav.data() + 44, samples.size() * 2);
  return samples;
}

double Rms(const std::vector<std::int16_t>& samples) {
  double sum = 0;
  for (const std::int16_t sample : samples) sum += static_cast<double>(sample) * sample;
  return samples.empty() ? 0 : std::sqrt(sum / static_cast<double>(samples.size()));
}

double Seconds(const std::string& wav) {
  return static_cast<double>(Samples(wav).size()) / 2 / 44100;
}

/// The text of a frame of an ID3v2.3 tag, as UTF-8; "-" where there is none.
std::string Id3Frame(const std::string& file, const std::string& name) {
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(file.at(at)); };
  const std::size_t tag_end = 10 + (byte(6) << 21 | byte(7) << 14 | byte(8) << 7 | byte(9));
  for (std::size_t at = 10; at + 10 < tag_end && file[at] != '\0';) {
    const std::size_t size =
        byte(at + 4) << 24 | byte(at + 5) << 16 | byte(at + 6) << 8 | byte(at + 7);
    std::string content = file.substr(at + 10, size);
    if (file.substr(at, 4) != name) {
      at += 10 + size;
      continue;
    }
    const bool is_utf16 = content[0] == 1;
    content.erase(0, 1);
    if (name == "COMM") content.erase(0, is_utf16 ? 5 : 4);  // language, empty description
    if (!is_utf16) return Utf8FromWindows1252(content);
    std::string text;
    for (std::size_t i = 2; i + 1 < content.size(); i += 2) {  // after the byte-order mark
      const unsigned code = static_cast<unsigned char>(content[i]) |
                            static_cast<unsigned>(static_cast<unsigned char>(content[i + 1])) << 8;
      if (code < 0x80) {
        text += static_cast<char>(code);
      } else if (code < 0x800) {
        text += static_cast<char>(0xC0 | code >> 6);
        text += static_cast<char>(0x80 | (code & 0x3F));
      } else {
        text += static_cast<char>(0xE0 | code >> 12);
        text += static_cast<char>(0x80 | (code >> 6 & 0x3F));
        text += static_cast<char>(0x80 | (code & 0x3F));
      }
    }
    return text;
  }
  return "-";
}

class ConvertCommandTest : public ::testing::Test {
 protected:
  ConvertCommandTest() : library_(AudioLibrary::OpenEngine()) {
    fs::create_directories(folder_ / "songs");
    fs::create_directories(folder_ / "program");
    song_ = folder_.Write("songs/tune.kar", KaraokeSong());
    // Most tests ask for the whole mix; the lyrics channel is left out only where they say so.
    WriteSettings("[Vexolo]\r\nAutoMute=0\r\n");
  }

  void WriteSettings(const std::string& content) { folder_.Write("Vexolo.ini", content); }
  void WriteSongSettings(const std::string& content) { folder_.Write("songs/tune.zvn", content); }

  int Run(std::vector<std::string> arguments, const std::string& program_folder = {}) {
    out_.str({});
    err_.str({});
    ConvertEnvironment environment = {
        library_->api(),
        {out_, err_, is_terminal_, is_terminal_},
        program_folder.empty() ? VEXOLO_PROGRAM_FOLDER : program_folder,
        folder_ / "Vexolo.ini",
        ',',
        [this] { return --rounds_before_interrupt_ < 0; },
        clock_};
    return RunConvertCommand(arguments, environment);
  }

  /// Converts to out/, through the test bank.
  int Convert(std::vector<std::string> arguments, const std::string& program_folder = {}) {
    arguments.insert(arguments.begin(), {"-s", VEXOLO_TEST_BANK, "-o", folder_ / "out"});
    return Run(std::move(arguments), program_folder);
  }

  /// The bytes of the WAV file that the song becomes.
  std::string Wav(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"-f", "wav", "-y", "-n", "wav", song_});
    EXPECT_EQ(Convert(std::move(arguments)), 0) << err_.str();
    return folder_.Read("out/wav.wav");
  }

  std::string Out(const std::string& name) { return folder_ / ("out/" + name); }

  std::string FakeLame(const std::string& script) {
    const std::string path = folder_.Write("program/lame", "#!/bin/sh\n" + script);
    fs::permissions(path, fs::perms::owner_all);
    return folder_ / "program";
  }

  TemporaryFolder folder_;
  std::unique_ptr<AudioLibrary> library_;
  std::string song_;
  std::ostringstream out_;
  std::ostringstream err_;
  bool is_terminal_ = false;
  std::atomic<int> rounds_before_interrupt_ = 1 << 30;
  ConvertReport::Clock clock_;
};

// ---- Help and wrong usage

TEST_F(ConvertCommandTest, HelpAndVersionGoToStandardOutput) {
  EXPECT_EQ(Run({"--help"}), 0);
  EXPECT_THAT(out_.str(), StartsWith("Usage: vexolo-convert"));
  EXPECT_EQ(Run({"--version"}), 0);
  EXPECT_THAT(out_.str(), ContainsRegex("^vexolo-convert [0-9]+\\.[0-9]+\\.[0-9]+\n$"));
  EXPECT_EQ(err_.str(), "");
}

TEST_F(ConvertCommandTest, WrongUsageIsExitStatus2AndDoesNothing) {
  EXPECT_EQ(Run({"--loud", song_}), 2);
  EXPECT_THAT(err_.str(), StartsWith("vexolo-convert: there is no option --loud\n"));
  EXPECT_EQ(Run({}), 2);
  EXPECT_EQ(out_.str(), "");
  EXPECT_FALSE(FolderExists(folder_ / "out"));
}

// ---- Output

TEST_F(ConvertCommandTest, WavCarriesArtistAndTitleInItsNameAndLyricsBesideIt) {
  EXPECT_EQ(Convert({"-f", "wav", song_}), 0) << err_.str();
  EXPECT_EQ(out_.str(), Out("Édith - L'Été.wav") + "\n");
  EXPECT_GT(Rms(Samples(folder_.Read("out/Édith - L'Été.wav"))), 100);
  EXPECT_THAT(folder_.Read("out/Édith - L'Été.kok"),
              StartsWith("la;0,0000;la;0,2500;la;0,5000;la;0,7500;\r\nla;1,0000;"));
}

TEST_F(ConvertCommandTest, FilesGoBesideTheSongByDefault) {
  EXPECT_EQ(Run({"-s", VEXOLO_TEST_BANK, "-f", "wav", song_}), 0) << err_.str();
  EXPECT_TRUE(FileExists(folder_ / "songs/Édith - L'Été.wav"));
}

TEST_F(ConvertCommandTest, FormatIsMp3ByDefault) {
  const std::string program = FakeLame("for last; do :; done\ncat > \"$last\"\n");
  EXPECT_EQ(Convert({song_}, program), 0) << err_.str();
  EXPECT_EQ(out_.str(), Out("Édith - L'Été.mp3") + "\n");
}

TEST_F(ConvertCommandTest, SchemeMakesFolders) {
  EXPECT_EQ(Convert({"-f", "wav", "-n", "%a\\%t", song_}), 0) << err_.str();
  EXPECT_TRUE(FileExists(Out("Édith/L'Été.wav")));
}

TEST_F(ConvertCommandTest, SongWithoutNamesKeepsItsFilesName) {
  folder_.Write("songs/tune.kar", KaraokeSong("", ""));
  EXPECT_EQ(Convert({"-f", "wav", song_}), 0) << err_.str();
  EXPECT_TRUE(FileExists(Out("tune.wav")));
}

TEST_F(ConvertCommandTest, GivenNamesGoBeforeTheSongs) {
  EXPECT_EQ(Convert({"-f", "wav", "--artist", "X/Y", "--title", "Z", song_}), 0) << err_.str();
  EXPECT_TRUE(FileExists(Out("X_Y - Z.wav")));
}

TEST_F(ConvertCommandTest, MemorisedTagsOfTheDialogAreNotUsed) {
  WriteSettings(
      "[Tags]\r\nArtiste=Old\r\nTitre=Old\r\nCommentaire=Old\r\n[Wave]\r\n"
      "SaveFolder=/nowhere/\r\nSaveScheme=Old\r\nEncoding=0\r\n");
  const std::string program = FakeLame(
      "for last; do :; done\necho \"$@\" > \"$last\"\n"
      "cat > /dev/null\n");
  EXPECT_EQ(Convert({song_}, program), 0) << err_.str();
  EXPECT_EQ(
      folder_.Read("out/Édith - L'Été.mp3"),
      "-h -b128 --ignore-tag-errors --ta Édith --tt L'Été - " + Out("Édith - L'Été.mp3") + "\n");
}

TEST_F(ConvertCommandTest, RateComesFromTheCommandLineThenFromTheSettings) {
  const std::string program = FakeLame(
      "for last; do :; done\necho \"$2\" > \"$last\"\n"
      "cat > /dev/null\n");
  const auto rate = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"-y", "-n", "x", song_});
    EXPECT_EQ(Convert(std::move(arguments), program), 0) << err_.str();
    return folder_.Read("out/x.mp3");
  };
  EXPECT_EQ(rate({}), "-b128\n");
  WriteSettings("[Wave]\r\nRate=192\r\n");
  EXPECT_EQ(rate({}), "-b192\n");
  EXPECT_EQ(rate({"-r", "64"}), "-b64\n");
  WriteSettings("[Wave]\r\nRate=100\r\n");
  EXPECT_EQ(rate({}), "-b128\n") << "not in the list";
}

TEST_F(ConvertCommandTest, ExistingFileIsKeptAndTheSongFails) {
  fs::create_directories(folder_ / "out");
  folder_.Write("out/x.wav", "old");
  EXPECT_EQ(Convert({"-f", "wav", "-n", "x", song_}), 1);
  EXPECT_THAT(err_.str(), HasSubstr("tune.kar: " + Out("x.wav") + " is there already"));
  EXPECT_EQ(out_.str(), "");
  EXPECT_EQ(folder_.Read("out/x.wav"), "old");
  EXPECT_EQ(Convert({"-f", "wav", "-n", "x", "-y", song_}), 0) << err_.str();
  EXPECT_NE(folder_.Read("out/x.wav"), "old");
}

TEST_F(ConvertCommandTest, TwoSongsOfOneCallNeverOverwriteEachOther) {
  const std::string other = folder_.Write("songs/other.kar", KaraokeSong());
  EXPECT_EQ(Convert({"-f", "wav", "-y", song_, other}), 1);
  EXPECT_THAT(err_.str(), HasSubstr("other.kar: " + Out("Édith - L'Été.wav") + " is the file of " +
                                    song_ + " already"));
  EXPECT_TRUE(FileExists(Out("Édith - L'Été.wav")));
}

// ---- What fails

TEST_F(ConvertCommandTest, OneSongThatFailsLeavesTheOthersDone) {
  const std::string bad = folder_.Write("songs/bad.mid", "no song");
  EXPECT_EQ(Convert({"-f", "wav", folder_ / "missing.mid", bad, song_}), 1);
  EXPECT_THAT(err_.str(), HasSubstr("missing.mid: there is no such file\n"));
  EXPECT_THAT(err_.str(), HasSubstr("bad.mid: cannot be read (BASS_ERROR_FILEFORM)\n"));
  EXPECT_EQ(out_.str(), Out("Édith - L'Été.wav") + "\n");
}

TEST_F(ConvertCommandTest, TheSongItselfIsNeverReplaced) {
  const std::string song = folder_.Write("songs/tune.wav", KaraokeSong());
  EXPECT_EQ(
      Run({"-s", VEXOLO_TEST_BANK, "-o", folder_ / "songs", "-f", "wav", "-y", "-n", "tune", song}),
      1);
  EXPECT_THAT(err_.str(), HasSubstr("songs/tune.wav is the song itself\n"));
  EXPECT_EQ(folder_.Read("songs/tune.wav"), KaraokeSong());
}

TEST_F(ConvertCommandTest, LyricsThatCannotBeWrittenAreToldAndTheSoundIsKept) {
  fs::create_directories(folder_ / "out/tune.kok/in the way");
  EXPECT_EQ(Convert({"-f", "wav", "-n", "tune", song_}), 1);
  EXPECT_THAT(err_.str(), HasSubstr("tune.kar: the lyrics file could not be written: "));
  EXPECT_GE(Seconds(folder_.Read("out/tune.wav")), 3);
}

TEST_F(ConvertCommandTest, MissingBankIsTold) {
  EXPECT_EQ(Run({song_}, folder_ / "program"), 1);
  EXPECT_THAT(err_.str(), HasSubstr("no SoundFont"));
  EXPECT_EQ(Run({"-s", folder_ / "none.sf2", song_}), 1);
  EXPECT_THAT(err_.str(), HasSubstr("none.sf2: there is no such SoundFont"));
  EXPECT_EQ(Run({"-s", song_, song_}), 1);
  EXPECT_THAT(err_.str(), HasSubstr("the SoundFont cannot be opened (BASS_ERROR_FILEFORM)"));
}

TEST_F(ConvertCommandTest, BankOfTheSettingsAndOfTheProgramFolder) {
  WriteSettings("[SF2]\r\nBase=" VEXOLO_TEST_BANK "\r\n");
  EXPECT_EQ(Run({"-f", "wav", song_}, folder_ / "program"), 0) << err_.str();
  WriteSettings("");
  fs::create_symlink(VEXOLO_TEST_BANK, folder_ / "program/Orvanel.SF2");
  EXPECT_EQ(Run({"-f", "wav", "-y", song_}, folder_ / "program"), 0) << err_.str();
}

TEST_F(ConvertCommandTest, EncoderThatIsMissingIsTold) {
  EXPECT_EQ(Convert({"-f", "ogg", song_}, folder_ / "program"), 1);
  EXPECT_THAT(err_.str(), HasSubstr("oggenc cannot be started"));
  EXPECT_EQ(folder_.CountEntries(), 4U) << "songs, program, out, Vexolo.ini";
}

TEST_F(ConvertCommandTest, EncoderThatDiesIsAFailureAndItsPieceOfFileStays) {
  const std::string program = FakeLame("for last; do :; done\nhead -c 5000 > \"$last\"\nexit 3\n");
  EXPECT_EQ(Convert({song_}, program), 1);
  EXPECT_THAT(err_.str(), HasSubstr("lame ended before the file was complete"));
  EXPECT_TRUE(FileExists(Out("Édith - L'Été.mp3")));
}

TEST_F(ConvertCommandTest, EncoderThatReportsFailureAtTheEndIsAFailureToo) {
  const std::string program = FakeLame("for last; do :; done\ncat > \"$last\"\nexit 1\n");
  EXPECT_EQ(Convert({song_}, program), 1);
  EXPECT_THAT(err_.str(), HasSubstr("lame ended before"));
}

// Encoders die of it, but that is not what the user has to know.
TEST_F(ConvertCommandTest, PlaceThatAnEncoderCannotWriteToIsTold) {
  for (const char* format : {"mp3", "ogg", "wav"}) {
    const std::string path = Out(std::string("x.") + format);
    fs::create_directories(path);
    EXPECT_EQ(Convert({"-f", format, "-n", "x", song_}), 1);
    EXPECT_THAT(err_.str(), HasSubstr(path + " cannot be written"));
    EXPECT_TRUE(FolderExists(path));
  }
}

TEST_F(ConvertCommandTest, QuoteInATagNamesTheField) {
  EXPECT_EQ(Convert({"-f", "ogg", "--album", "12\" single", song_}), 1);
  EXPECT_THAT(err_.str(), HasSubstr("the field \"Album\" has a quote in it"));
  EXPECT_FALSE(FolderExists(folder_ / "out"));
}

TEST_F(ConvertCommandTest, FolderThatCannotBeMadeIsTold) {
  folder_.Write("out", "a file");
  EXPECT_EQ(Convert({"-f", "wav", song_}), 1);
  EXPECT_THAT(err_.str(), HasSubstr("cannot be made"));
}

// ---- Lists

TEST_F(ConvertCommandTest, ListStandsForItsSongs) {
  folder_.Write("songs/b.mid", KaraokeSong("B", "A"));
  folder_.Write("songs/all.m3u", "#EXTM3U\r\ntune.kar\r\nb.mid\r\n");
  EXPECT_EQ(Convert({"-f", "wav", folder_ / "songs/all.m3u"}), 0) << err_.str();
  EXPECT_EQ(out_.str(), Out("Édith - L'Été.wav") + "\n" + Out("A - B.wav") + "\n");
  fs::rename(folder_ / "songs/all.m3u", folder_ / "songs/all.ZVP");
  EXPECT_EQ(Convert({"-y", "-f", "wav", folder_ / "songs/all.ZVP"}), 0) << err_.str();
}

TEST_F(ConvertCommandTest, ListThatCannotBeReadOrNamesNoSongFails) {
  folder_.Write("empty.zvp", "# nothing\r\n");
  EXPECT_EQ(Convert({"-f", "wav", folder_ / "missing.m3u", folder_ / "empty.zvp", song_}), 1);
  EXPECT_THAT(err_.str(), HasSubstr("missing.m3u: "));
  EXPECT_THAT(err_.str(), HasSubstr("empty.zvp: the list names no song\n"));
  EXPECT_TRUE(FileExists(Out("Édith - L'Été.wav"))) << "the song is converted all the same";
}

// ---- Sound: what an option does is what the song's settings do

TEST_F(ConvertCommandTest, TransposeTempoGainAndMuteSoundAsInTheSongsSettings) {
  const std::string plain = Wav({});
  const struct {
    std::vector<std::string> option;
    const char* settings;
  } kPairs[] = {
      {{"--transpose", "3"}, "[Transpose]\r\nSlider=3\r\n"},
      {{"--tempo", "12.5"}, "[Tempo]\r\nSlider=12,5\r\n"},
      {{"--tempo", "-50"}, "[Tempo]\r\nSlider=-50\r\n"},
      {{"--gain", "-6"}, "[Gain]\r\nSlider=-6\r\n"},
      {{"--mute", "4"}, "[Mute]\r\nCh3=1\r\n"},
      {{"--start", "1", "--end", "2,0"}, "[Marqueurs]\r\nMarche=1\r\nDebut=1.0\r\nFin=2,000\r\n"}};
  for (const auto& [option, settings] : kPairs) {
    WriteSongSettings("");
    const std::string by_option = Wav(option);
    EXPECT_NE(by_option, plain) << settings;
    WriteSongSettings(settings);
    EXPECT_TRUE(Wav({}) == by_option) << settings;
    EXPECT_TRUE(Wav({"--ignore-song-settings"}) == plain) << settings;
  }
}

TEST_F(ConvertCommandTest, CommandLineGoesBeforeTheSongsSettings) {
  WriteSongSettings("");
  const std::string expected = Wav({"--transpose", "5", "--tempo", "20", "--gain", "3"});
  WriteSongSettings("[Transpose]\r\nSlider=-2\r\n[Tempo]\r\nSlider=-10\r\n[Gain]\r\nSlider=-9\r\n");
  EXPECT_TRUE(Wav({"--transpose", "5", "--tempo", "20", "--gain", "3"}) == expected);
}

TEST_F(ConvertCommandTest, MuteIsAddedToTheSongsMutes) {
  WriteSongSettings("[Mute]\r\nCh0=1\r\n");
  EXPECT_GT(Rms(Samples(Wav({}))), 10);
  EXPECT_EQ(Rms(Samples(Wav({"--mute", "4"}))), 0) << "both channels are out";
}

TEST_F(ConvertCommandTest, GainIsInDecibels) {
  const double plain = Rms(Samples(Wav({})));
  EXPECT_NEAR(Rms(Samples(Wav({"--gain", "-20"}))) / plain, 0.1, 0.01);
}

TEST_F(ConvertCommandTest, AutoMuteComesFromTheCommandLineThenFromTheSettings) {
  const std::string whole = Wav({"--no-auto-mute"});
  const std::string without_melody = Wav({"--mute", "4"});
  EXPECT_NE(whole, without_melody);
  EXPECT_TRUE(Wav({}) == whole) << "off in the settings";
  EXPECT_TRUE(Wav({"--auto-mute"}) == without_melody);
  WriteSettings("");
  EXPECT_TRUE(Wav({}) == without_melody) << "on where the settings say nothing";
  EXPECT_TRUE(Wav({"--no-auto-mute"}) == whole);
}

TEST_F(ConvertCommandTest, TempoStretchesAudioAndLyrics) {
  EXPECT_NEAR(Seconds(Wav({"--tempo", "-100"})), Seconds(Wav({})) + 3, 0.5);
  Wav({"--tempo", "-100"});
  EXPECT_THAT(folder_.Read("out/wav.kok"), StartsWith("la;0,0000;la;0,5000;la;1,0000;"));
}

TEST_F(ConvertCommandTest, MarkersCutAudioAndLyrics) {
  const std::string cut = Wav({"--start", "1", "--end", "2"});
  EXPECT_NEAR(Seconds(cut), 1.31, 0.001) << "with 0.3 s of fade and 0.01 s of tail";
  EXPECT_EQ(folder_.Read("out/wav.kok"), "la;0,0000;la;0,2500;la;0,5000;la;0,7500;\r\nla;1,0000;");
}

TEST_F(ConvertCommandTest, MarkersOnTheCommandLineAreTimesAtTheSpeedInForce) {
  Wav({"--tempo", "-100", "--start", "2", "--end", "4"});
  EXPECT_THAT(folder_.Read("out/wav.kok"), StartsWith("la;0,0000;la;0,5000;"));
  EXPECT_NEAR(Seconds(folder_.Read("out/wav.wav")), 2.31, 0.001);
}

TEST_F(ConvertCommandTest, MarkersOfTheSongKeepTheirMusicalPlaceAtAnotherSpeed) {
  WriteSongSettings("[Marqueurs]\r\nMarche=1\r\nDebut=1\r\nFin=2\r\n");
  Wav({"--tempo", "-100"});
  EXPECT_NEAR(Seconds(folder_.Read("out/wav.wav")), 2.31, 0.001);
}

TEST_F(ConvertCommandTest, OneMarkerOfTheCommandLineLeavesTheOtherOfTheSong) {
  WriteSongSettings("[Marqueurs]\r\nMarche=1\r\nDebut=0,5\r\nFin=2\r\n");
  EXPECT_NEAR(Seconds(Wav({"--start", "1"})), 1.31, 0.001);
  WriteSongSettings("[Marqueurs]\r\nMarche=0\r\nDebut=0,5\r\nFin=2\r\n");
  EXPECT_NEAR(Seconds(Wav({"--end", "1"})), 1.31, 0.001) << "markers that are off stay off";
}

TEST_F(ConvertCommandTest, SongsSettingsAreNeverTouched) {
  const std::string content = "[Gain]\nSlider=3\n[Marqueurs]\nMarche=1\nDebut=1\nFin=2\n";
  WriteSongSettings(content);
  const auto before = fs::last_write_time(folder_ / "songs/tune.zvn");
  Wav({"--tempo", "20", "--gain", "1", "--start", "0,5", "--mute", "1"});
  EXPECT_EQ(folder_.Read("songs/tune.zvn"), content);
  EXPECT_EQ(fs::last_write_time(folder_ / "songs/tune.zvn"), before);
  fs::remove(folder_ / "songs/tune.zvn");
  Wav({"--tempo", "20"});
  EXPECT_FALSE(FileExists(folder_ / "songs/tune.zvn"));
  EXPECT_EQ(folder_.Read("Vexolo.ini"), "[Vexolo]\r\nAutoMute=0\r\n");
}

// ---- Lyrics

TEST_F(ConvertCommandTest, LyricsFileFollowsCommandLineThenSettings) {
  const auto has_lyrics = [&](std::vector<std::string> arguments) {
    fs::remove(folder_ / "out/wav.kok");
    Wav(std::move(arguments));
    return FileExists(Out("wav.kok"));
  };
  EXPECT_TRUE(has_lyrics({}));
  EXPECT_FALSE(has_lyrics({"--no-lyrics"}));
  WriteSettings("[Lyrics]\r\nMakeFile=0\r\n");
  EXPECT_FALSE(has_lyrics({}));
  EXPECT_TRUE(has_lyrics({"--lyrics"}));
}

TEST_F(ConvertCommandTest, LineLengthFollowsCommandLineThenSettings) {
  SongBuilder song;
  song.Note(0, 480, kBass, 40).Text(0, "un deux", 1).Text(240, "trois", 1);
  folder_.Write("songs/tune.kar", song.Song());
  Wav({});
  EXPECT_EQ(folder_.Read("out/wav.kok"), "un deux;0,0000;trois;0,2500;");
  WriteSettings("[Lyrics]\r\nMaxLength=10\r\n");
  Wav({});
  EXPECT_EQ(folder_.Read("out/wav.kok"), "un\r\ndeux;0,0000;trois;0,2500;");
  Wav({"--max-length", "0"});
  EXPECT_EQ(folder_.Read("out/wav.kok"), "un deux;0,0000;trois;0,2500;");
}

TEST_F(ConvertCommandTest, ALineLengthThatTheDialogWouldRefuseIsNoLimit) {
  const std::string words = "un " + std::string(110, 'x');
  SongBuilder song;
  song.Note(0, 480, kBass, 40).Text(0, words, 1);
  folder_.Write("songs/tune.kar", song.Song());
  for (const char* length : {"105", "-7", "1e9"}) {
    WriteSettings(std::string("[Lyrics]\r\nMaxLength=") + length + "\r\n");
    Wav({});
    EXPECT_EQ(folder_.Read("out/wav.kok"), words + ";0,0000;") << length;
  }
}

TEST_F(ConvertCommandTest, SongWithoutWordsGivesAnEmptyLyricsFile) {
  folder_.Write("songs/tune.kar", SongBuilder().Note(0, 480, kBass, 40).Song());
  Wav({});
  EXPECT_TRUE(FileExists(Out("wav.kok")));
  EXPECT_EQ(folder_.Read("out/wav.kok"), "");
}

// ---- Tags

const std::vector<std::string> kAllTags = {
    "--artist", "Édith œ Ж", "--title", "L'été",   "--album", "Très bien", "--year",
    "1958",     "--track",   "3",       "--genre", "Chanson", "--comment", "À l'œuvre"};

TEST_F(ConvertCommandTest, Mp3TagsArriveWhateverTheUsersLocaleIs) {
  const char* old = std::getenv("LC_ALL");
  const std::string restore = old == nullptr ? "" : old;
  for (const char* locale : {"C", "POSIX", "C.UTF-8", "fr_FR.ISO-8859-1"}) {
    setenv("LC_ALL", locale, 1);
    std::vector<std::string> arguments = kAllTags;
    arguments.insert(arguments.end(), {"-y", "-n", "x", song_});
    ASSERT_EQ(Convert(arguments), 0) << err_.str();
    const std::string file = folder_.Read("out/x.mp3");
    ASSERT_THAT(file, StartsWith("ID3\x03"));
    EXPECT_EQ(Id3Frame(file, "TPE1"), "Édith œ Ж") << locale;
    EXPECT_EQ(Id3Frame(file, "TIT2"), "L'été");
    EXPECT_EQ(Id3Frame(file, "TALB"), "Très bien");
    EXPECT_EQ(Id3Frame(file, "TYER"), "1958");
    EXPECT_EQ(Id3Frame(file, "TRCK"), "3");
    EXPECT_EQ(Id3Frame(file, "TCON"), "Chanson");
    EXPECT_EQ(Id3Frame(file, "COMM"), "À l'œuvre");
  }
  old == nullptr ? unsetenv("LC_ALL") : setenv("LC_ALL", restore.c_str(), 1);
}

// The length is not known when the tags are written, and a wrong one is what players would show.
TEST_F(ConvertCommandTest, Mp3TagsClaimNoLengthThatTheSoundDoesNotHave) {
  ASSERT_EQ(Convert({"-n", "x", song_}), 0) << err_.str();
  const std::string file = folder_.Read("out/x.mp3");
  ASSERT_THAT(file, StartsWith("ID3\x03"));
  EXPECT_THAT(Id3Frame(file, "TLEN"), AnyOf("", "0"));
}

TEST_F(ConvertCommandTest, OggTagsArrive) {
  std::vector<std::string> arguments = kAllTags;
  arguments.insert(arguments.end(), {"-f", "ogg", "-n", "x", song_});
  ASSERT_EQ(Convert(arguments), 0) << err_.str();
  const std::string file = folder_.Read("out/x.ogg");
  EXPECT_THAT(file, StartsWith("OggS"));
  for (const char* comment :
       {"Édith œ Ж", "L'été", "Très bien", "1958", "Chanson", "comment=À l'œuvre"}) {
    EXPECT_THAT(file, HasSubstr(comment));
  }
}

TEST_F(ConvertCommandTest, SongsOwnNamesBecomeTags) {
  ASSERT_EQ(Convert({"-n", "x", song_}), 0) << err_.str();
  const std::string file = folder_.Read("out/x.mp3");
  EXPECT_EQ(Id3Frame(file, "TPE1"), "Édith");
  EXPECT_EQ(Id3Frame(file, "TIT2"), "L'Été");
  EXPECT_EQ(Id3Frame(file, "COMM"), "-");
}

TEST_F(ConvertCommandTest, SecondRunGivesTheSameBytesInAllFormats) {
  for (const std::string format : {"wav", "mp3", "ogg"}) {
    ASSERT_EQ(Convert({"-f", format, "-n", "1", song_}), 0) << err_.str();
    ASSERT_EQ(Convert({"-f", format, "-n", "2", song_}), 0) << err_.str();
    const std::string first = folder_.Read("out/1." + format);
    EXPECT_GT(first.size(), 10000U);
    EXPECT_TRUE(first == folder_.Read("out/2." + format)) << format;
  }
}

// ---- Several at a time

TEST_F(ConvertCommandTest, SongsAtATimeSoundAsOneByOne) {
  std::vector<std::string> songs;
  for (int number = 0; number < 6; ++number) {
    const std::string name = "song" + std::to_string(number);
    songs.push_back(folder_.Write("songs/" + name + ".mid", KaraokeSong(name, "A")));
    folder_.Write("songs/" + name + ".zvn",
                  "[Gain]\r\nSlider=" + std::to_string(number % 3) +
                      "\r\n[Transpose]\r\nSlider=" + std::to_string(number) + "\r\n");
  }
  const auto convert = [&](const char* scheme, const char* jobs) {
    std::vector<std::string> arguments = {"-f", "wav", "-n", scheme, "-j", jobs};
    arguments.insert(arguments.end(), songs.begin(), songs.end());
    EXPECT_EQ(Convert(arguments), 0) << err_.str();
  };
  convert("one/%T", "1");
  convert("many/%T", "4");
  for (int number = 0; number < 6; ++number) {
    const std::string name = "song" + std::to_string(number);
    EXPECT_TRUE(folder_.Read("out/one/" + name + ".wav") ==
                folder_.Read("out/many/" + name + ".wav"))
        << name;
    EXPECT_EQ(folder_.Read("out/one/" + name + ".kok"), folder_.Read("out/many/" + name + ".kok"));
  }
}

// ---- Ctrl-C

TEST_F(ConvertCommandTest, InterruptRemovesTheUnfinishedFileAndLeavesTheRest) {
  rounds_before_interrupt_ = 20;
  EXPECT_EQ(Convert({"-f", "wav", song_, song_}), 130);
  EXPECT_FALSE(FileExists(Out("Édith - L'Été.wav")));
  EXPECT_FALSE(FileExists(Out("Édith - L'Été.kok")));
  EXPECT_EQ(out_.str(), "");
  EXPECT_THAT(err_.str(), EndsWith("vexolo-convert: interrupted\n"));
}

TEST_F(ConvertCommandTest, InterruptRemovesTheUnfinishedFileOfAnEncoderToo) {
  rounds_before_interrupt_ = 100;
  EXPECT_EQ(Convert({song_, song_}), 130);
  EXPECT_FALSE(FileExists(Out("Édith - L'Été.mp3")));
}

// ---- What is told

TEST_F(ConvertCommandTest, QuietSaysNothingButWhatFails) {
  EXPECT_EQ(Convert({"-q", "-f", "wav", song_, folder_ / "missing.mid"}), 1);
  EXPECT_EQ(out_.str(), "");
  EXPECT_THAT(err_.str(), EndsWith("missing.mid: there is no such file\n"));
}

TEST_F(ConvertCommandTest, JsonGivesAnObjectForEachSongAndASummary) {
  double now = 0;
  clock_ = [&] { return now += 0.5; };
  EXPECT_EQ(Convert({"--json", "-f", "wav", "-n", "a \"%T\"", song_, folder_ / "missing.mid"}), 1);
  std::istringstream lines(out_.str());
  std::string converted;
  std::string failed;
  std::string summary;
  std::getline(lines, converted);
  std::getline(lines, failed);
  std::getline(lines, summary);
  EXPECT_THAT(
      converted,
      StartsWith("{\"song\":\"" + song_ + "\",\"status\":\"converted\",\"output\":\"" +
                 Out("a \\\"L'Été\\\".wav") + "\",\"lyrics\":\"" + Out("a \\\"L'Été\\\".kok") +
                 "\",\"artist\":\"Édith\",\"title\":\"L'Été\",\"seconds\":5."));
  EXPECT_THAT(converted, ContainsRegex(",\"elapsed\":[0-9]+\\.[0-9]{3}}$"));
  EXPECT_THAT(failed, StartsWith("{\"song\":\"" + (folder_ / "missing.mid") +
                                 "\",\"status\":\"failed\",\"error\":\"there is no such file\""));
  EXPECT_THAT(summary, StartsWith("{\"summary\":{\"songs\":2,\"converted\":1,\"failed\":1,"
                                  "\"interrupted\":0,\"elapsed\":"));
  EXPECT_FALSE(std::getline(lines, summary));
}

TEST_F(ConvertCommandTest, TerminalGetsAProgressBarWithTheTimeLeft) {
  is_terminal_ = true;
  double now = 0;
  clock_ = [&] { return now += 0.2; };
  EXPECT_EQ(Convert({"-f", "wav", song_}), 0);
  EXPECT_EQ(out_.str(), "") << "the bar instead of lines";
  EXPECT_THAT(err_.str(), ContainsRegex("\\[####+ +\\] [0-9]+ %  0/1  [0-9]+:[0-9][0-9] left"));
  EXPECT_THAT(err_.str(), HasSubstr("1 song converted, 0 failed"));
}

TEST_F(ConvertCommandTest, NoBarWithoutATerminal) {
  EXPECT_EQ(Convert({"-f", "wav", song_}), 0);
  EXPECT_EQ(err_.str(), "");
}

TEST_F(ConvertCommandTest, QuietDrawsNoBar) {
  is_terminal_ = true;
  EXPECT_EQ(Convert({"-q", "-f", "wav", song_}), 0);
  EXPECT_EQ(err_.str(), "");
}

TEST_F(ConvertCommandTest, DumpPrintsTheStructureAndConvertsNothing) {
  EXPECT_EQ(Run({"--dump", song_}), 0) << err_.str();
  EXPECT_THAT(out_.str(), StartsWith(song_));
  EXPECT_THAT(out_.str(), HasSubstr("MTrk"));
  EXPECT_FALSE(FolderExists(folder_ / "out"));
  EXPECT_FALSE(FileExists(song_ + ".txt"));
  EXPECT_EQ(Run({"--dump", folder_ / "missing.mid", song_}), 1);
  EXPECT_THAT(err_.str(), HasSubstr("missing.mid: cannot be read"));
}

TEST(JsonTextTest, EscapesWhatJsonReserves) {
  EXPECT_EQ(JsonText("a\"b\\c\n\x01"), "\"a\\\"b\\\\c\\u000a\\u0001\"");
  EXPECT_EQ(JsonText("é"), "\"é\"");
  EXPECT_EQ(JsonText("\xE9"), "\"é\"") << "bytes that are not UTF-8";
}

TEST_F(ConvertCommandTest, MissingMemoryIsAMessageAndTheExitStatusOfAFailure) {
  clock_ = []() -> double { throw std::bad_alloc(); };
  EXPECT_EQ(Convert({"-f", "wav", song_}), 1);
  EXPECT_THAT(err_.str(), HasSubstr("memory has run out"));
}

}  // namespace
}  // namespace vexolo
