/// Standard input (WAV) to an Ogg Vorbis file, for the conversion of songs.
#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

#include "oggenc/options.h"
#include "oggenc/vorbis_writer.h"
#include "oggenc/wav_reader.h"

namespace {

using vexolo::oggenc::Options;
using vexolo::oggenc::VorbisWriter;
using vexolo::oggenc::WavReader;

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUse = 2;

int Fail(const std::string& subject, const std::string& error) {
  std::fprintf(stderr, "oggenc: %s: %s\n", subject.c_str(), error.c_str());
  return kFailed;
}

int Encode(const Options& options) {
#ifdef _WIN32
  _setmode(_fileno(stdin), _O_BINARY);
#endif
  WavReader reader(stdin);
  if (!reader.ReadHeader()) return Fail("standard input", reader.error());
  VorbisWriter writer;
  if (!writer.Open(options.output, reader.format(), options.bitrate, options.comments)) {
    return Fail(options.output, writer.error());
  }
  std::array<std::int16_t, 8192> samples;
  while (const std::size_t frames = reader.ReadFrames(samples)) {
    if (!writer.Write({samples.data(), frames * reader.format().channels})) {
      return Fail(options.output, writer.error());
    }
  }
  if (!writer.Finish()) return Fail(options.output, writer.error());
  if (!reader.error().empty()) return Fail("standard input", reader.error());
  return kDone;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  Options options;
  std::string error;
  if (!vexolo::oggenc::ParseOptions(arguments, options, error)) {
    std::fprintf(stderr, "oggenc: %s; \"oggenc --help\" tells more\n", error.c_str());
    return kWrongUse;
  }
  switch (options.task) {
    case Options::Task::kHelp:
      std::fputs(vexolo::oggenc::kHelpText, stdout);
      return kDone;
    case Options::Task::kVersion:
      std::puts("oggenc (Vexolo) " VEXOLO_VERSION);
      return kDone;
    case Options::Task::kEncode:
      break;
  }
  return Encode(options);
}
