#include "convert/conversion_settings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>

#include "platform/locale_format.h"
#include "platform/text_encoding.h"

namespace vexolo {

namespace {

constexpr int kLongestLine = 99;

struct TagKey {
  const char* key;
  std::string SongTags::*value;
};
constexpr std::array<TagKey, 7> kTagKeys = {{
    {"Artiste", &SongTags::artist},
    {"Titre", &SongTags::title},
    {"Album", &SongTags::album},
    {"Année", &SongTags::year},
    {"Piste", &SongTags::track},
    {"Genre", &SongTags::genre},
    {"Commentaire", &SongTags::comment},
}};

AudioFormat FormatOf(std::string_view text) {
  const double number = TextToNumber(text);
  if (number == 1) return AudioFormat::kMp3;
  if (number == 2) return AudioFormat::kOgg;
  return AudioFormat::kWav;
}

std::int16_t ToInt16(int number) {
  using Limits = std::numeric_limits<std::int16_t>;
  return static_cast<std::int16_t>(std::clamp<int>(number, Limits::min(), Limits::max()));
}

}  // namespace

std::string_view AudioExtension(AudioFormat format) {
  constexpr std::array<std::string_view, 3> kExtensions = {".wav", ".mp3", ".ogg"};
  return kExtensions[static_cast<std::size_t>(format)];
}

ConversionSettings LoadConversionSettings(ModIni& ini) {
  ConversionSettings settings;
  settings.folder = ini.ReadIni("Wave", "SaveFolder");
  settings.scheme = ini.ReadIni("Wave", "SaveScheme");
  settings.format = FormatOf(ini.ReadIni("Wave", "Encoding"));
  settings.rate = ini.ReadIni("Wave", "Rate");
  settings.make_lyrics_file = ini.ReadIni("Lyrics", "MakeFile") != "0";
  const std::string length = ini.ReadIni("Lyrics", "MaxLength") + ".0";
  settings.max_line_length = ToInt16(RoundToInt(TextToNumber(length)));
  for (const TagKey& tag : kTagKeys) settings.tags.*tag.value = ini.ReadIni("Tags", tag.key);
  return settings;
}

bool MemoParam(ModIni& ini, ConversionSettings& settings, PathStyle style) {
  settings.folder = ValidatedFolder(settings.folder, style);
  settings.max_line_length = CleanedLineLength(std::to_string(settings.max_line_length));
  {
    const IniGroup group(ini);
    ini.WriteIni("Wave", "SaveFolder", settings.folder);
    ini.WriteIni("Wave", "SaveScheme", settings.scheme);
    ini.WriteIni("Wave", "Encoding", std::to_string(static_cast<int>(settings.format)));
    ini.WriteIni("Wave", "Rate", settings.rate);
    ini.WriteIni("Lyrics", "MakeFile", settings.make_lyrics_file ? "1" : "0");
    ini.WriteIni("Lyrics", "MaxLength", std::to_string(settings.max_line_length));
    for (const TagKey& tag : kTagKeys) ini.WriteIni("Tags", tag.key, settings.tags.*tag.value);
    settings = LoadConversionSettings(ini);
  }
  return ini.kept();
}

std::string ValidatedFolder(std::string_view folder, PathStyle style) {
  std::string validated(folder);
  const char separator = SeparatorOf(style);
  if (!validated.empty() && validated.back() != separator) validated += separator;
  return validated;
}

bool AcceptFolder(const std::string& folder, MessageBoxes& boxes, PathStyle style) {
  if (CountCharacters(ValidatedFolder(folder, style)) <= ModIni::kMaxLength) return true;
  boxes.Show(
      "Le dossier dépasse " + std::to_string(ModIni::kMaxLength) + " caractères :\n" + folder,
      "Error", BoxIcon::kExclamation);
  return false;
}

std::int16_t CleanedLineLength(std::string_view text) {
  const double length = std::trunc(TextToNumber(text));
  return length < 0 || length > kLongestLine ? std::int16_t{0} : static_cast<std::int16_t>(length);
}

std::string AutomaticComment(std::string_view song_path, std::chrono::year_month_day today,
                             ProgramVersion version, PathStyle style) {
  std::array<char, 32> date;
  std::snprintf(date.data(), date.size(), "%02u/%02u/%04d", static_cast<unsigned>(today.day()),
                static_cast<unsigned>(today.month()), static_cast<int>(today.year()));
  return "Converti de " + FileNameOf(song_path, style) + " le " + date.data() + " avec Vexolo V" +
         std::to_string(version.major_number) + "." + std::to_string(version.minor_number);
}

void PrefillTags(SongTags& tags, const SongIdentity& song, std::chrono::year_month_day today,
                 ProgramVersion version, PathStyle style) {
  if (song.path.empty()) return;
  if (tags.artist.empty()) tags.artist = song.artist;
  if (tags.title.empty()) tags.title = song.title;
  if (tags.comment.empty()) tags.comment = AutomaticComment(song.path, today, version, style);
}

}  // namespace vexolo
