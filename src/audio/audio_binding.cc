#include "audio/audio_binding.h"

#include <string_view>
#include <utility>

#include "audio/error_report.h"
#include "platform/file_io.h"
#include "platform/locale_format.h"
#include "platform/paths.h"
#include "platform/text_encoding.h"

namespace vexolo {
namespace {

#ifdef _WIN32
std::wstring WidePath(const std::string& path) { return ToNativePath(path).wstring(); }
#else
const std::string& WidePath(const std::string& path) { return path; }
#endif

std::string PresetName(const bass::Api& api, bass::HSOUNDFONT font, int preset, int bank) {
  const char* name = api.BASS_MIDI_FontGetPreset(font, preset, bank);
  return name == nullptr ? std::string() : DecodeText(name).text;
}

}  // namespace

bass::HSTREAM CreateStream(const bass::Api& api, bool mem, const std::string& path,
                           bass::QWORD offset, bass::QWORD length, bass::DWORD flags,
                           bass::DWORD freq) {
  return api.BASS_MIDI_StreamCreateFile(mem ? 1 : 0, WidePath(path).c_str(), offset, length,
                                        flags | bass::BASS_UNICODE, freq);
}

bool SetStreamPosition(const bass::Api& api, bass::DWORD handle, bass::QWORD position,
                       bass::DWORD mode) {
  return api.BASS_ChannelSetPosition(handle, position, mode) != 0;
}

double SecondsOf(const bass::Api& api, bass::DWORD handle, bass::QWORD bytes) {
  return api.BASS_ChannelBytes2Seconds(handle, bytes);
}

bass::HSYNC SetStreamSync(const bass::Api& api, bass::DWORD handle, bass::DWORD type,
                          bass::QWORD param, bass::SYNCPROC* proc, void* user) {
  return api.BASS_ChannelSetSync(handle, type, param, proc, user);
}

void RefreshBaseTempo(const bass::Api& api, bass::HSTREAM stream, AudioState& audio) {
  const bass::DWORD tempo = api.BASS_MIDI_StreamGetEvent(stream, 0, bass::MIDI_EVENT_TEMPO);
  if (tempo != bass::kError32) audio.base_tempo = static_cast<std::int32_t>(tempo);
}

void ApplyTempo(const bass::Api& api, bass::HSTREAM stream, const AudioState& audio) {
  if (stream == 0) return;
  std::int32_t base = 0;
  double factor = 0;
  do {
    base = audio.base_tempo;
    factor = audio.speed_factor;
    const int tempo = RoundToInt(base * factor);
    if (tempo <= 0) return;
    api.BASS_MIDI_StreamEvent(stream, 0, bass::MIDI_EVENT_TEMPO, static_cast<bass::DWORD>(tempo));
  } while (base != audio.base_tempo || factor != audio.speed_factor);
}

BankAtStart FindBankAtStart(ModIni& ini, const std::string& program_folder) {
  std::string path = ini.ReadIni("SF2", "Base");
  if (path.empty()) path = Join(program_folder, kDefaultBank);
  if (FileExists(path)) return {path, false};
  return {{}, true};
}

bool AcceptBankPath(const std::string& path, MessageBoxes& boxes) {
  if (CountCharacters(path) <= ModIni::kMaxLength) return true;
  boxes.Show("Le chemin dépasse " + std::to_string(ModIni::kMaxLength) + " caractères :\n" + path,
             "Error", BoxIcon::kExclamation);
  return false;
}

AudioBinding::AudioBinding(const bass::Api& api, AudioState& audio, ModIni& ini,
                           MessageBoxes& boxes)
    : api_(api), audio_(audio), ini_(ini), boxes_(boxes) {}

bool AudioBinding::Initialise(void* window, int device) {
  api_.BASS_Encode_IsActive(0);
  if (api_.BASS_Init(device, kOutputRate, 0, window, nullptr) == 0) {
    ReportAudioError(api_, boxes_, "Erreur d'initialisation BASS");
    return false;
  }
  bass::BASS_MIDI_FONT entry = {};
  const bass::DWORD count = api_.BASS_MIDI_StreamGetFonts(0, &entry, 1);
  if (count != 0 && count != bass::kError32) audio_.font = entry.font;
  return true;
}

bass::HSOUNDFONT AudioBinding::LoadBank(const std::string& path) const {
  return api_.BASS_MIDI_FontInit(WidePath(path).c_str(), bass::BASS_UNICODE);
}

bool AudioBinding::AdoptBank(bass::HSOUNDFONT font, const std::string& path, KeepBank keep) {
  if (font == 0) return false;
  if (keep == KeepBank::kInSettings) {
    const IniGroup group(ini_);
    ini_.WriteIni("SF2", "Path", FolderOf(path));
    ini_.WriteIni("SF2", "Base", path);
  }
  if (linear_gain_) api_.BASS_MIDI_FontSetVolume(font, linear_gain_());
  const bass::BASS_MIDI_FONT entry = {font, -1, 0};
  api_.BASS_MIDI_StreamSetFonts(0, &entry, 1);
  if (audio_.stream != 0) api_.BASS_MIDI_StreamSetFonts(audio_.stream, &entry, 1);
  const bass::HSOUNDFONT previous = std::exchange(audio_.font, font);
  if (previous != 0 && previous != font) api_.BASS_MIDI_FontFree(previous);
  audio_.font_path = path;
  RebuildPresetNames();
  if (presets_changed_) presets_changed_();
  return true;
}

bool AudioBinding::ReplaceFont(const std::string& path, KeepBank keep) {
  return AdoptBank(LoadBank(path), path, keep);
}

void AudioBinding::RebuildPresetNames() {
  PresetNames& presets = audio_.presets;
  presets.highest_bank = 0;
  for (int bank = 0; bank < PresetNames::kBanks; ++bank) {
    for (int preset = 0; preset < PresetNames::kPresets; ++preset) {
      std::string& name = presets.At(bank, preset);
      name = PresetName(api_, audio_.font, preset, bank);
      if (!name.empty() && bank < PresetNames::kBanks - 1) presets.highest_bank = bank;
    }
  }
}

void AudioBinding::FreeStream() {
  const bass::HSTREAM stream = std::exchange(audio_.stream, 0);
  if (stream == 0) return;
  api_.BASS_ChannelStop(stream);
  api_.BASS_StreamFree(stream);
}

void AudioBinding::Shutdown() {
  FreeStream();
  const bass::HSOUNDFONT font = std::exchange(audio_.font, 0);
  if (font != 0) api_.BASS_MIDI_FontFree(font);
  api_.BASS_Free();
  api_.BASS_PluginFree(0);
}

}  // namespace vexolo
