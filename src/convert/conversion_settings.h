/// What the user decides about a conversion, and how it is memorised in the settings file.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/message_box.h"
#include "platform/paths.h"
#include "settings/mod_ini.h"

namespace vexolo {

/// The numbers are those of the settings file.
enum class AudioFormat { kWav = 0, kMp3 = 1, kOgg = 2 };

/// ".wav", ".mp3" or ".ogg".
std::string_view AudioExtension(AudioFormat format);

inline constexpr const char* kLyricsExtension = ".kok";

/// All as text; an empty one is not written into the file.
struct SongTags {
  std::string artist;
  std::string title;
  std::string album;
  std::string year;
  std::string track;
  std::string genre;  ///< its name
  std::string comment;
  bool operator==(const SongTags&) const = default;
};

struct ConversionSettings {
  std::string folder;  ///< of the finished files, with a separator at its end, or empty
  std::string scheme;  ///< of their names, such as "%A - %T"
  AudioFormat format = AudioFormat::kWav;
  std::string rate;  ///< kbit/s; empty while none is selected
  bool make_lyrics_file = true;
  std::int16_t max_line_length = 0;  ///< characters of a line of the lyrics file, 0 = no limit
  SongTags tags;
  bool operator==(const ConversionSettings&) const = default;
};

/// Reads everything that is memorised, as it stands. Window thread only.
ConversionSettings LoadConversionSettings(ModIni& ini);

/// Memorises everything (`MémoParam`). Folder and line length are cleaned first; the caller shows
/// the cleaned values. Values that a prefill has put in are stored like typed ones, for the run
/// reads its tags back from the settings: `settings` becomes what will be read. That holds where
/// the file cannot be written, too; false then. Window thread only.
bool MemoParam(ModIni& ini, ConversionSettings& settings, PathStyle style = kNativePathStyle);

/// With a separator at its end, unless it is empty (the `Validate` event of `RecFolder`).
std::string ValidatedFolder(std::string_view folder, PathStyle style = kNativePathStyle);

/// False, after a message, for a folder that is longer than the settings file can give back
/// (ModIni::kMaxLength characters, the separator at its end included). To be asked when a folder is
/// chosen and before the settings are stored.
bool AcceptFolder(const std::string& folder, MessageBoxes& boxes,
                  PathStyle style = kNativePathStyle);

/// The number in the text of `LyricsMax`, truncated; below 0 or above 99 it is 0.
std::int16_t CleanedLineLength(std::string_view text);

/// A song as the prefill knows it; texts are UTF-8.
struct SongIdentity {
  std::string artist;  ///< empty where the song does not tell
  std::string title;
  std::string path;  ///< empty = no song is loaded
};

/// Major and minor number of the program.
struct ProgramVersion {
  int major_number = VEXOLO_VERSION_MAJOR;
  int minor_number = VEXOLO_VERSION_MINOR;
};

/// Fills empty fields from the song: artist, title and a comment that tells where the file comes
/// from. What is there stays; without a song everything does.
void PrefillTags(SongTags& tags, const SongIdentity& song, std::chrono::year_month_day today,
                 ProgramVersion version = {}, PathStyle style = kNativePathStyle);

/// "Converti de Ma chanson.kar le 05/03/2009 avec Vexolo V1.4".
std::string AutomaticComment(std::string_view song_path, std::chrono::year_month_day today,
                             ProgramVersion version, PathStyle style = kNativePathStyle);

}  // namespace vexolo
