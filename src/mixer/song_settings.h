/// The settings file beside each song: levels, mutes, overrides, Gain, Transpose, Speed, markers,
/// code page of the lyrics.
///
/// Sections and keys are those of the settings file's format: "Gain", "Tempo", "Transpose" with the
/// key "Slider"; "Volume" and "Mute" with "Ch0".."Ch15"; "CC" with "CC0".."CC122"; "Marqueurs" with
/// "Marche", "Debut" and "Fin"; "Lyrics" with "CodePage".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "audio/markers.h"
#include "mixer/mix_state.h"
#include "settings/mod_ini.h"

namespace vexolo {

inline constexpr const char* kSongSettingsExtension = ".zvn";

/// The path of a song's settings file; empty for an empty path.
std::string SongSettingsPath(std::string_view song_path);

/// Reads and writes the settings file of one song at a time. Without a song every load operation
/// sets defaults and every save operation does nothing. Nothing is reported: what cannot be read is
/// the default, what cannot be written is not kept. Numbers are written with the user's decimal
/// separator and read with either. Values out of range are stored as they are read (at the ends of
/// the field's type); whoever draws or sends a value keeps it in range. Window thread only.
class SongSettings {
 public:
  /// `ini` must outlive this object; `separator`: "," or ".".
  SongSettings(ModIni& ini, char separator);

  /// Makes a song the current one; an empty path means that there is none.
  void SetSong(std::string_view song_path);
  const std::string& path() const { return path_; }  ///< of the file, empty = no song

  void LoadGain(MixState& state);
  void LoadTempo(MixState& state);
  void LoadTranspose(MixState& state);
  /// The value "0" is no level: it means level 100 with the channel muted. So it has to come after
  /// LoadMute, which would take that mute away again.
  void LoadVolume(MixState& state);
  void LoadMute(MixState& state);
  void LoadCC(MixState& state);
  void LoadMarqueurs(Markers& markers);
  /// The code page that the user has chosen for the lyrics, 0..3; -1 = none, go by detection.
  std::int16_t LoadCodePage();

  /// All of the mix, in the order that the operations need.
  void LoadMix(MixState& state);

  /// While the result lives, all that is saved becomes one write.
  [[nodiscard]] IniGroup Group() { return IniGroup(ini_); }

  void SaveGain(const MixState& state);
  void SaveTempo(const MixState& state);
  void SaveTranspose(const MixState& state);
  /// One channel, or all 16 when `channel` is negative.
  void SaveVolume(const MixState& state, int channel = -1);
  void SaveMute(const MixState& state, int channel = -1);
  /// The override of an entry of the controller table; an empty value where it has none.
  void SaveCC(const MixState& state, int entry);
  void SaveMarqueurs(const Markers& markers);
  void SaveCodePage(std::int16_t page);

 private:
  std::string Read(std::string_view section, std::string_view key);
  void Write(std::string_view section, std::string_view key, std::string_view value);

  ModIni& ini_;
  char separator_;
  std::string path_;
};

}  // namespace vexolo
