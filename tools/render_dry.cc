/// render_dry BANK SONG OUT.wav: renders a song through the engine without reverb and chorus, for
/// comparing it with another synthesiser.
#include <cstdio>
#include <vector>

#include "audio/error_report.h"
#include "audio/loader.h"

namespace {

const bass::Api* api = nullptr;

// Resets within the song put the effects' levels back; this takes them down again.
void KeepEffectsOff(bass::HSYNC, bass::DWORD stream, bass::DWORD, void*) {
  api->BASS_MIDI_StreamEvent(stream, 0, bass::MIDI_EVENT_REVERB_LEVEL, 0);
  api->BASS_MIDI_StreamEvent(stream, 0, bass::MIDI_EVENT_CHORUS_LEVEL, 0);
}

int Fail(const char* what) {
  std::fprintf(stderr, "render_dry: %s: %s\n", what,
               vexolo::AudioErrorName(api->BASS_ErrorGetCode()).c_str());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fputs("Usage: render_dry BANK SONG OUT.wav\n", stderr);
    return 2;
  }
  const auto library = vexolo::AudioLibrary::OpenEngine();
  api = &library->api();
  if (api->BASS_Init(0, 44100, 0, nullptr, nullptr) == 0) return Fail("BASS_Init");
  const bass::HSOUNDFONT bank = api->BASS_MIDI_FontInit(argv[1], 0);
  if (bank == 0) return Fail(argv[1]);
  const bass::BASS_MIDI_FONT fonts = {bank, -1, 0};
  api->BASS_MIDI_StreamSetFonts(0, &fonts, 1);
  const bass::HSTREAM stream = api->BASS_MIDI_StreamCreateFile(
      0, argv[2], 0, 0, bass::BASS_STREAM_DECODE | bass::BASS_MIDI_DECAYEND, 0);
  if (stream == 0) return Fail(argv[2]);
  for (const bass::DWORD event : {bass::MIDI_EVENT_REVERB_LEVEL, bass::MIDI_EVENT_CHORUS_LEVEL}) {
    api->BASS_ChannelSetSync(stream, bass::BASS_SYNC_MIDI_EVENT | bass::BASS_SYNC_MIXTIME, event,
                             KeepEffectsOff, nullptr);
  }
  KeepEffectsOff(0, stream, 0, nullptr);
  const bass::HENCODE file =
      api->BASS_Encode_Start(stream, argv[3], bass::BASS_ENCODE_PCM, nullptr, nullptr);
  if (file == 0) return Fail(argv[3]);
  std::vector<char> block(16384);
  while (api->BASS_ChannelGetData(stream, block.data(), static_cast<bass::DWORD>(block.size())) !=
         bass::kError32) {
  }
  const bool complete = api->BASS_Encode_Stop(file) != 0;
  if (!complete) return Fail(argv[3]);
  api->BASS_Free();
  return 0;
}
