#include "mixer/song_settings.h"

#include <algorithm>
#include <limits>

#include "platform/locale_format.h"
#include "platform/paths.h"

namespace vexolo {
namespace {

constexpr const char* kSlider = "Slider";
constexpr const char* kLyrics = "Lyrics";
constexpr const char* kCodePage = "CodePage";

std::string ChannelKey(int channel) { return "Ch" + std::to_string(channel); }
std::string ControllerKey(int entry) { return "CC" + std::to_string(entry); }

/// Rounded, halves to even, at the ends of the type.
template <typename T>
T ToInteger(double value) {
  constexpr double kLowest = std::numeric_limits<T>::min();
  constexpr double kHighest = std::numeric_limits<T>::max();
  return static_cast<T>(RoundHalfToEven(std::clamp(value, kLowest, kHighest)));
}

template <typename T>
T ToInteger(const std::string& text) {
  return ToInteger<T>(TextToNumber(text));
}

/// Calls `save` for one channel, or for all when `channel` is negative.
template <typename Save>
void ForChannels(int channel, Save save) {
  if (channel >= kChannels) return;
  const int first = std::max(channel, 0);
  const int last = channel < 0 ? kChannels - 1 : channel;
  for (int i = first; i <= last; ++i) save(i);
}

}  // namespace

std::string SongSettingsPath(std::string_view song_path) {
  return song_path.empty() ? std::string() : ReplaceExtension(song_path, kSongSettingsExtension);
}

SongSettings::SongSettings(ModIni& ini, char separator) : ini_(ini), separator_(separator) {}

void SongSettings::SetSong(std::string_view song_path) { path_ = SongSettingsPath(song_path); }

std::string SongSettings::Read(std::string_view section, std::string_view key) {
  // Without a path ModIni would take the program's own settings.
  return path_.empty() ? std::string() : ini_.ReadIni(section, key, path_);
}

void SongSettings::Write(std::string_view section, std::string_view key, std::string_view value) {
  if (!path_.empty()) ini_.WriteIni(section, key, value, path_);
}

void SongSettings::LoadGain(MixState& state) {
  state.Gain = ToInteger<std::int16_t>(Read("Gain", kSlider));
}

void SongSettings::LoadTempo(MixState& state) {
  state.Tempo = ToInteger<std::int16_t>(TextToNumber(Read("Tempo", kSlider)) * 10);
}

void SongSettings::LoadTranspose(MixState& state) {
  state.Transpose = ToInteger<std::int16_t>(Read("Transpose", kSlider));
}

void SongSettings::LoadVolume(MixState& state) {
  for (int channel = 0; channel < kChannels; ++channel) {
    const auto at = static_cast<std::size_t>(channel);
    const std::string value = Read("Volume", ChannelKey(channel));
    state.ChannelVolume[at] = kNormalLevel;
    if (value == "0") {
      state.ChannelMute[at] = 1;
    } else if (!value.empty()) {
      state.ChannelVolume[at] = ToInteger<std::int16_t>(value);
    }
  }
}

void SongSettings::LoadMute(MixState& state) {
  for (int channel = 0; channel < kChannels; ++channel) {
    state.ChannelMute[static_cast<std::size_t>(channel)] =
        ToInteger<std::uint8_t>(Read("Mute", ChannelKey(channel)));
  }
}

void SongSettings::LoadCC(MixState& state) {
  for (int entry = 0; entry < ControllerTable::kEntries; ++entry) {
    const std::string value = Read("CC", ControllerKey(entry));
    const auto number = ToInteger<std::int32_t>(value);
    state.overrides.Set(entry, value.empty() || number < 0 ? ControllerTable::kNone : number);
  }
}

void SongSettings::LoadMarqueurs(Markers& markers) {
  markers.on = Read("Marqueurs", "Marche") == "1";
  markers.start = TextToNumber(Read("Marqueurs", "Debut"));
  markers.end = TextToNumber(Read("Marqueurs", "Fin"));
}

void SongSettings::LoadMix(MixState& state) {
  LoadGain(state);
  LoadTempo(state);
  LoadTranspose(state);
  LoadMute(state);
  LoadVolume(state);
  LoadCC(state);
}

void SongSettings::SaveGain(const MixState& state) {
  Write("Gain", kSlider, FormatNumber(state.Gain, "##0", separator_));
}

void SongSettings::SaveTempo(const MixState& state) {
  Write("Tempo", kSlider, FormatNumber(state.Tempo / 10.0, "#####0.0", separator_));
}

void SongSettings::SaveTranspose(const MixState& state) {
  Write("Transpose", kSlider, FormatNumber(state.Transpose, "##0", separator_));
}

void SongSettings::SaveVolume(const MixState& state, int channel) {
  const IniGroup group(ini_);
  ForChannels(channel, [&](int i) {
    Write("Volume", ChannelKey(i),
          std::to_string(state.ChannelVolume[static_cast<std::size_t>(i)]));
  });
}

void SongSettings::SaveMute(const MixState& state, int channel) {
  const IniGroup group(ini_);
  ForChannels(channel, [&](int i) {
    Write("Mute", ChannelKey(i), state.ChannelMute[static_cast<std::size_t>(i)] != 0 ? "1" : "0");
  });
}

void SongSettings::SaveCC(const MixState& state, int entry) {
  const std::int32_t value = state.overrides.Get(entry);
  Write("CC", ControllerKey(entry), value >= 0 ? std::to_string(value) : std::string());
}

void SongSettings::SaveMarqueurs(const Markers& markers) {
  const IniGroup group(ini_);
  Write("Marqueurs", "Marche", markers.on ? "1" : "0");
  Write("Marqueurs", "Debut", FormatNumber(markers.start, "0.000", separator_));
  Write("Marqueurs", "Fin", FormatNumber(markers.end, "0.000", separator_));
}

std::int16_t SongSettings::LoadCodePage() {
  const std::string value = Read(kLyrics, kCodePage);
  if (value.size() != 1 || value[0] < '0' || value[0] > '3') return -1;
  return static_cast<std::int16_t>(value[0] - '0');
}

void SongSettings::SaveCodePage(std::int16_t page) {
  Write(kLyrics, kCodePage, page < 0 ? std::string() : std::to_string(page));
}

}  // namespace vexolo
