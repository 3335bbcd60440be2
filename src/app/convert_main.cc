/// vexolo-convert: songs to finished files, from the command line.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "audio/error_report.h"
#include "audio/loader.h"
#include "platform/terminal.h"

namespace {

struct Options {
  std::string song;
  std::string folder;
  std::string bank;
};

constexpr const char* kUsage =
    "usage: vexolo-convert [-o FOLDER] [-s SOUNDFONT] SONG\n"
    "Renders a MIDI or karaoke file to a WAV file beside it, or into FOLDER.\n";

bool Parse(int argc, char** argv, Options* options) {
  for (int index = 1; index < argc; ++index) {
    const std::string argument = argv[index];
    if ((argument == "-o" || argument == "-s") && index + 1 < argc) {
      (argument == "-o" ? options->folder : options->bank) = argv[++index];
    } else if (argument == "-y") {
      continue;
    } else if (!argument.empty() && argument[0] == '-') {
      return false;
    } else {
      options->song = argument;
    }
  }
  return !options->song.empty();
}

void ShowProgress(double share) {
  if (!vexolo::IsTerminal(stderr)) return;
  constexpr int kWidth = 40;
  const int full = static_cast<int>(share * kWidth);
  std::fprintf(stderr, "\r[%-*s] %3d %%", kWidth, std::string(full, '#').c_str(),
               static_cast<int>(share * 100));
}

int Fail(const bass::Api& api, const std::string& what) {
  const int code = api.BASS_ErrorGetCode();
  std::fprintf(stderr, "vexolo-convert: %s (%s)\n", what.c_str(),
               vexolo::AudioErrorName(code).c_str());
  return 1;
}

int Convert(const bass::Api& api, const Options& options, const std::string& wav) {
  const bass::HSTREAM stream = api.BASS_MIDI_StreamCreateFile(
      0, options.song.c_str(), 0, 0,
      bass::BASS_STREAM_DECODE | bass::BASS_MIDI_DECAYEND | bass::BASS_UNICODE, 0);
  if (stream == 0) return Fail(api, options.song + " cannot be read");
  const bass::HENCODE encoder =
      api.BASS_Encode_Start(stream, wav.c_str(), bass::BASS_ENCODE_PCM, nullptr, nullptr);
  if (encoder == 0) return Fail(api, wav + " cannot be written");
  const double length =
      static_cast<double>(api.BASS_ChannelGetLength(stream, bass::BASS_POS_BYTE)) + 1;
  std::vector<char> block(1024);
  double done = 0;
  while (api.BASS_ChannelIsActive(stream) == bass::BASS_ACTIVE_PLAYING &&
         api.BASS_Encode_IsActive(encoder) == 1) {
    const bass::DWORD got =
        api.BASS_ChannelGetData(stream, block.data(), static_cast<bass::DWORD>(block.size()));
    if (got == bass::kError32) break;
    done += got;
    ShowProgress(std::min(done / length, 1.0));
  }
  if (vexolo::IsTerminal(stderr)) std::fprintf(stderr, "\n");
  const bool complete = api.BASS_Encode_Stop(encoder) != 0;
  api.BASS_StreamFree(stream);
  if (!complete) return Fail(api, wav + " is incomplete");
  std::printf("%s\n", wav.c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!Parse(argc, argv, &options)) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  const std::filesystem::path program = std::filesystem::canonical("/proc/self/exe").parent_path();
  if (options.bank.empty()) options.bank = program / "Orvanel.SF2";
  const auto library = vexolo::AudioLibrary::Load(program);
  const bass::Api& api = library->api();
  if (api.BASS_Init(0, 44100, 0, nullptr, nullptr) == 0) return Fail(api, "no audio");
  const bass::HSOUNDFONT bank = api.BASS_MIDI_FontInit(options.bank.c_str(), 0);
  if (bank == 0) return Fail(api, options.bank + " cannot be loaded");
  const bass::BASS_MIDI_FONT entry = {bank, -1, 0};
  api.BASS_MIDI_StreamSetFonts(0, &entry, 1);
  std::filesystem::path wav = std::filesystem::path(options.song).replace_extension(".wav");
  if (!options.folder.empty()) wav = std::filesystem::path(options.folder) / wav.filename();
  const int status = Convert(api, options, wav);
  api.BASS_Free();
  return status;
}
