// layer: tool
// The encoder as the program runs it: a pipe in, a file out, checked with a decoder.
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <vorbis/vorbisfile.h>

#include "wav_bytes.h"

namespace vexolo {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

std::string Slurp(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

/// What a decoder finds in an Ogg Vorbis file.
struct Decoded {
  long frames = -1;  ///< -1 where it is no such file
  long declared_frames = -1;
  long rate = 0;
  int channels = 0;
  long nominal_bitrate = 0;
  bool clean = true;  ///< no hole and no damaged packet
  std::vector<std::string> comments;
  std::vector<std::int16_t> samples;
};

void DecodeSamples(OggVorbis_File& file, Decoded& decoded) {
  std::vector<char> block(8192);
  int section = 0;
  while (true) {
    const long count =
        ov_read(&file, block.data(), static_cast<int>(block.size()), 0, 2, 1, &section);
    if (count == 0) break;
    if (count < 0) {
      decoded.clean = false;
      break;
    }
    for (long i = 0; i + 1 < count; i += 2) {
      decoded.samples.push_back(static_cast<std::int16_t>(
          static_cast<unsigned char>(block[i]) | static_cast<unsigned char>(block[i + 1]) << 8));
    }
  }
  decoded.frames = static_cast<long>(decoded.samples.size()) / decoded.channels;
}

Decoded Decode(const fs::path& path) {
  Decoded decoded;
  OggVorbis_File file;
  if (ov_fopen(path.c_str(), &file) != 0) return decoded;
  const vorbis_info* const info = ov_info(&file, -1);
  decoded.rate = info->rate;
  decoded.channels = info->channels;
  decoded.nominal_bitrate = info->bitrate_nominal;
  decoded.declared_frames = static_cast<long>(ov_pcm_total(&file, -1));
  const vorbis_comment* const comment = ov_comment(&file, -1);
  for (int i = 0; i < comment->comments; ++i) decoded.comments.push_back(comment->user_comments[i]);
  DecodeSamples(file, decoded);
  ov_clear(&file);
  return decoded;
}

class OggencProgram : public testing::Test {
 protected:
  OggencProgram() {
    std::string pattern = (fs::temp_directory_path() / "oggencXXXXXX").string();
    folder_ = mkdtemp(pattern.data());
  }
  ~OggencProgram() override { fs::remove_all(folder_); }

  /// Pipes `input` into the program; returns its exit status. `environment` goes before its name.
  int Run(const std::string& input, const std::vector<std::string>& arguments,
          const std::string& environment = "") {
    std::ofstream(folder_ / "input", std::ios::binary) << input;
    std::string command = "cd ";
    command += Quoted(folder_.string()) + " && cat input | " + environment + " ";
    command += Quoted(std::string(VEXOLO_PROGRAM_FOLDER) + "/oggenc");
    for (const std::string& argument : arguments) command.append(" ").append(Quoted(argument));
    command += " >output 2>errors";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  std::string Errors() const { return Slurp(folder_ / "errors"); }
  fs::path Path(const std::string& name) const { return folder_ / name; }

 private:
  fs::path folder_;
};

TEST_F(OggencProgram, TakesWhatTheProgramSends) {
  ASSERT_EQ(Run(PipedWav(Tone(44100, 2, 44100), 2, 44100, 0xFFFFFFFF),
                {"-o", "-b128", "-aÉdith \"P\"", "-tL'été", "-lÀ côté", "-d1999", "-N7",
                 "-GChanson", "-ccomment=Converti de Ça.kar le 05/03/2009", "sortie é.ogg", "-"}),
            0)
      << Errors();
  EXPECT_EQ(Errors(), "");
  const Decoded decoded = Decode(Path("sortie é.ogg"));
  EXPECT_EQ(decoded.rate, 44100);
  EXPECT_EQ(decoded.channels, 2);
  EXPECT_EQ(decoded.nominal_bitrate, 128000);
  EXPECT_EQ(decoded.frames, 44100);
  EXPECT_EQ(decoded.declared_frames, 44100);
  EXPECT_TRUE(decoded.clean);
  EXPECT_THAT(decoded.comments, ElementsAre("ARTIST=Édith \"P\"", "TITLE=L'été", "ALBUM=À côté",
                                            "DATE=1999", "TRACKNUMBER=7", "GENRE=Chanson",
                                            "comment=Converti de Ça.kar le 05/03/2009"));
}

TEST_F(OggencProgram, TagsDoNotDependOnTheLocale) {
  const std::string wav = PipedWav(Tone(1000, 2, 44100), 2, 44100, 0);
  ASSERT_EQ(Run(wav, {"-aÉté ♪", "a.ogg", "-"}, "LC_ALL=C"), 0);
  ASSERT_EQ(Run(wav, {"-aÉté ♪", "b.ogg", "-"}, "LC_ALL=fr_FR.ISO-8859-1"), 0);
  EXPECT_THAT(Decode(Path("a.ogg")).comments, ElementsAre("ARTIST=Été ♪"));
  EXPECT_EQ(Slurp(Path("a.ogg")), Slurp(Path("b.ogg")));
}

TEST_F(OggencProgram, KeepsEveryFrameWhateverTheLength) {
  for (const unsigned channels : {1U, 2U}) {
    for (const std::size_t frames : {1, 2, 63, 64, 255, 256, 1023, 1024, 1025, 2048, 4097, 50001}) {
      SCOPED_TRACE(std::to_string(frames) + " x " + std::to_string(channels));
      ASSERT_EQ(Run(PipedWav(Tone(frames, channels, 44100), channels, 44100, 0), {"x.ogg", "-"}),
                0);
      const Decoded decoded = Decode(Path("x.ogg"));
      EXPECT_EQ(decoded.frames, static_cast<long>(frames));
      EXPECT_EQ(decoded.declared_frames, static_cast<long>(frames));
    }
  }
}

TEST_F(OggencProgram, NoSoundGivesAFileWithoutSound) {
  ASSERT_EQ(Run(PlainWav({}, 2, 44100), {"-tSilence", "x.ogg", "-"}), 0) << Errors();
  const Decoded decoded = Decode(Path("x.ogg"));
  EXPECT_EQ(decoded.frames, 0);
  EXPECT_THAT(decoded.comments, ElementsAre("TITLE=Silence"));
}

TEST_F(OggencProgram, SoundsAsItCameIn) {
  const std::vector<std::int16_t> tone = Tone(44100, 2, 44100);
  ASSERT_EQ(Run(PipedWav(tone, 2, 44100, 0), {"-b192", "x.ogg", "-"}), 0);
  const Decoded decoded = Decode(Path("x.ogg"));
  ASSERT_EQ(decoded.samples.size(), tone.size());
  double signal = 0;
  double noise = 0;
  for (std::size_t i = 0; i < tone.size(); ++i) {
    signal += std::pow(tone[i], 2);
    noise += std::pow(tone[i] - decoded.samples[i], 2);
  }
  EXPECT_GT(10 * std::log10(signal / noise), 25) << "dB of the tone over what was added to it";
}

TEST_F(OggencProgram, TwoRunsAreTheSame) {
  const std::string wav = PipedWav(Tone(100000, 2, 44100), 2, 44100, 0xFFFFFFFF);
  ASSERT_EQ(Run(wav, {"-b128", "-tA", "one.ogg", "-"}), 0);
  ASSERT_EQ(Run(wav, {"-b128", "-tA", "two.ogg", "-"}), 0);
  ASSERT_EQ(Run(wav, {"-b128", "-tB", "other.ogg", "-"}), 0);
  const std::string one = Slurp(Path("one.ogg"));
  EXPECT_EQ(one, Slurp(Path("two.ogg")));
  const std::size_t serial = 14;
  EXPECT_NE(one.substr(serial, 4), Slurp(Path("other.ogg")).substr(serial, 4));
}

TEST_F(OggencProgram, EverySampleRateAndBitrateGivesAFile) {
  for (const unsigned rate :
       {8000U, 11025U, 16000U, 22050U, 32000U, 44100U, 48000U, 96000U, 192000U}) {
    for (const char* const bitrate : {"-b1", "-b32", "-b320", "-b1000"}) {
      SCOPED_TRACE(std::to_string(rate) + " Hz " + bitrate);
      ASSERT_EQ(Run(PipedWav(Tone(3000, 2, rate), 2, rate, 0), {bitrate, "x.ogg", "-"}), 0)
          << Errors();
      const Decoded decoded = Decode(Path("x.ogg"));
      EXPECT_EQ(decoded.rate, static_cast<long>(rate));
      EXPECT_EQ(decoded.frames, 3000);
    }
  }
}

TEST_F(OggencProgram, TakesTheNearestBitrateThatThereIs) {
  const std::string wav = PipedWav(Tone(3000, 2, 44100), 2, 44100, 0);
  const auto nominal = [&](const char* bitrate) {
    EXPECT_EQ(Run(wav, {bitrate, "x.ogg", "-"}), 0) << Errors();
    return Decode(Path("x.ogg")).nominal_bitrate;
  };
  EXPECT_EQ(nominal("-b320"), 320000);
  EXPECT_EQ(nominal("-b64"), 64000);
  EXPECT_EQ(nominal("-b32"), 45000);
  EXPECT_EQ(nominal("-b1000"), 500000);
}

TEST_F(OggencProgram, BitrateIsKept) {
  // Noise takes all that it is given.
  std::vector<std::int16_t> noise;
  std::uint32_t state = 1;
  for (int i = 0; i < 2 * 44100 * 8; ++i) {
    state = state * 1664525 + 1013904223;
    noise.push_back(static_cast<std::int16_t>(static_cast<std::int32_t>(state) >> 18));
  }
  for (const int bitrate : {96, 192}) {
    ASSERT_EQ(Run(PipedWav(noise, 2, 44100, 0), {"-b" + std::to_string(bitrate), "x.ogg", "-"}), 0);
    const double kilobits = 8.0 * static_cast<double>(fs::file_size(Path("x.ogg"))) / 1000;
    EXPECT_NEAR(kilobits / 8, bitrate, bitrate * 0.1);
  }
}

TEST_F(OggencProgram, BadSoundIsOneLineAndStatus1) {
  EXPECT_EQ(Run("this is no sound at all", {"x.ogg", "-"}), 1);
  EXPECT_EQ(Errors(), "oggenc: standard input: this is not a WAV file\n");
  EXPECT_FALSE(fs::exists(Path("x.ogg"))) << "nothing is created before there is sound";
  EXPECT_EQ(Run("", {"x.ogg", "-"}), 1);
  EXPECT_EQ(Errors(), "oggenc: standard input: no sound came in\n");
}

TEST_F(OggencProgram, AFileThatCannotBeCreatedIsOneLineAndStatus1) {
  EXPECT_EQ(Run(PipedWav(Tone(100, 2, 44100), 2, 44100, 0), {"nowhere/x.ogg", "-"}), 1);
  EXPECT_THAT(Errors(), MatchesRegex("oggenc: nowhere/x.ogg: cannot create the file: .+\n"));
}

TEST_F(OggencProgram, AFullDiskIsOneLineAndStatus1) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "needs /dev/full";
  for (const std::size_t frames : {10UL, 200000UL}) {
    EXPECT_EQ(Run(PipedWav(Tone(frames, 2, 44100), 2, 44100, 0), {"/dev/full", "-"}), 1);
    EXPECT_THAT(Errors(), MatchesRegex("oggenc: /dev/full: cannot write the file: [^\n]+\n"));
  }
}

TEST_F(OggencProgram, WrongUseIsOneLineAndStatus2) {
  EXPECT_EQ(Run("", {}), 2);
  EXPECT_THAT(Errors(), HasSubstr("--help"));
  EXPECT_EQ(Run("", {"-b0", "x.ogg", "-"}), 2);
  EXPECT_THAT(Errors(), MatchesRegex("oggenc: -b needs [^\n]+\n"));
  EXPECT_FALSE(fs::exists(Path("x.ogg")));
}

TEST_F(OggencProgram, AnOutputMayBeginWithAHyphen) {
  ASSERT_EQ(Run(PipedWav(Tone(100, 2, 44100), 2, 44100, 0), {"-b64", "-tname.ogg", "-"}), 0);
  EXPECT_EQ(Decode(Path("-tname.ogg")).frames, 100);
}

TEST_F(OggencProgram, HelpAndVersionGoToStandardOutput) {
  EXPECT_EQ(Run("", {"--help"}), 0);
  EXPECT_THAT(Slurp(Path("output")), HasSubstr("Usage: oggenc"));
  EXPECT_EQ(Run("", {"--version"}), 0);
  EXPECT_THAT(Slurp(Path("output")),
              MatchesRegex("oggenc \\(Vexolo\\) [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

}  // namespace
}  // namespace vexolo
