// layer: core
// Settings file of a song: any bytes load, whatever they hold is sent and drawn within its range,
// and what is saved loads as the same.
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "audio/audio_state.h"
#include "mixer/channel_strips.h"
#include "mixer/controller_table.h"
#include "mixer/controllers.h"
#include "mixer/knobs.h"
#include "mixer/mix_state.h"
#include "mixer/song_settings.h"
#include "platform/message_box.h"
#include "settings/mod_ini.h"

namespace {

using namespace bass;
using namespace vexolo;

class NoBoxes : public MessageBoxes {
 public:
  void Show(const std::string&, const std::string&, BoxIcon) override { std::abort(); }
  bool AskYesNo(const std::string&, const std::string&) override { std::abort(); }
};

/// The largest value that may be sent for an event.
DWORD Limit(DWORD event) {
  if (event == MIDI_EVENT_MIXLEVEL) return 200;
  if (event == MIDI_EVENT_TRANSPOSE) return 112;
  if (event == MIDI_EVENT_DRUMS) return 1;
  if (event == MIDI_EVENT_TEMPO || event >= MIDI_EVENT_REVERB_TIME) return INT32_MAX;
  return 127;
}

BOOL BASS_CALLBACK StreamEvent(HSTREAM, DWORD channel, DWORD event, DWORD param) {
  if (channel > 15 || param > Limit(event)) std::abort();
  if (event == MIDI_EVENT_TEMPO && param == 0) std::abort();
  return 1;
}

DWORD BASS_CALLBACK StreamGetEvent(HSTREAM, DWORD, DWORD) { return 0; }

BOOL BASS_CALLBACK FontSetVolume(HSOUNDFONT, float volume) {
  if (!(volume > 0.09f && volume < 10.1f)) std::abort();
  return 1;
}

void Check(bool holds) {
  if (!holds) std::abort();
}

/// One file for the whole run, gone with it.
struct SongFile {
  /// A file that has just changed is parsed for each key; one that is old only once.
  void Age() const {
    std::error_code error;
    const auto now = std::filesystem::file_time_type::clock::now();
    std::filesystem::last_write_time(path, now - std::chrono::hours(1), error);
  }
  std::filesystem::path path = std::filesystem::temp_directory_path() /
                               ("vexolo-fuzz-" + std::to_string(std::random_device()()) + ".zvn");
  ~SongFile() {
    std::error_code error;
    std::filesystem::remove(path, error);
  }
};

void ActOn(const MixState& state, AudioState& audio) {
  Api api{};
  api.BASS_MIDI_StreamEvent = StreamEvent;
  api.BASS_MIDI_StreamGetEvent = StreamGetEvent;
  api.BASS_MIDI_FontSetVolume = FontSetVolume;
  ApplyVolume(api, audio.stream, state);
  ApplyLevels(api, audio.font, state.Gain);
  ApplyTranspose(api, audio.stream, state.Transpose);
  NewTempo(api, state, audio);
  ApplyAllOverrides(api, audio.stream, state);
  Check(audio.speed_factor > 0);
}

void Draw(const MixState& state) {
  for (std::size_t i = 0; i < kChannels; ++i) {
    const int frame = KnobFrame(static_cast<int>(i), state.ChannelVolume[i]);
    Check(frame >= 0 && frame <= 40);
    KnobTip(static_cast<int>(i), state.ChannelVolume[i], "");
  }
  Check(KnobFrame(kGainKnob, state.Gain) >= 0 && KnobFrame(kGainKnob, state.Gain) <= 40);
  const int transpose = KnobFrame(kTransposeKnob, state.Transpose);
  Check(transpose >= 0 && transpose <= 24);
  Check(SpeedKnobText(500000, state.Tempo).text.size() == 3);
  for (const int look : SoloMuteStates(state)) Check(look >= 0 && look <= 3);
  for (int entry = 0; entry < kFirstSongEntry; ++entry) {
    ControllerText(KindOf(entry), state.overrides.Get(entry));
    const int frame = ControllerFrame(state.overrides.Get(entry), 32);
    Check(frame >= 0 && frame < 32);
  }
}

void CheckSame(const MixState& a, const MixState& b) {
  Check(a.Gain == b.Gain && a.Tempo == b.Tempo && a.Transpose == b.Transpose);
  for (std::size_t i = 0; i < kChannels; ++i) {
    // A level of 0 is read as a mute.
    if (a.ChannelVolume[i] == 0) continue;
    Check(a.ChannelVolume[i] == b.ChannelVolume[i]);
    Check((a.ChannelMute[i] != 0) == (b.ChannelMute[i] != 0));
  }
  Check(a.overrides.Get(0) == b.overrides.Get(0));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const SongFile file;
  std::ofstream(file.path, std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  file.Age();
  NoBoxes boxes;
  ModIni ini("", boxes);
  SongSettings settings(ini, size % 2 == 0 ? '.' : ',');
  settings.SetSong(file.path.string());
  MixState state;
  AudioState audio;
  audio.stream = audio.font = 1;
  settings.LoadMix(state);
  settings.LoadMarqueurs(audio.markers);
  Check(std::isfinite(audio.markers.start) && std::isfinite(audio.markers.end));
  ActOn(state, audio);
  Draw(state);

  settings.SaveGain(state);
  settings.SaveTempo(state);
  settings.SaveTranspose(state);
  settings.SaveVolume(state, 1);
  settings.SaveMute(state, 1);
  settings.SaveCC(state, 0);
  settings.SaveMarqueurs(audio.markers);
  file.Age();
  ModIni fresh_ini("", boxes);
  SongSettings fresh_settings(fresh_ini, '.');
  fresh_settings.SetSong(file.path.string());
  MixState again;
  fresh_settings.LoadMix(again);
  CheckSame(state, again);
  return 0;
}
