#include "convert/conversion_form.h"

#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "convert/bitrates.h"
#include "convert/genres.h"
#include "convert/output_name.h"
#include "platform/text_encoding.h"

namespace vexolo {

namespace {

constexpr const char* kTagsSection = "Tags";
constexpr const char* kBorrowedKey = "Emprunt";  ///< the keys that a run under way has borrowed
constexpr const char* kNotKept = "Les réglages n'ont pas pu être enregistrés :\n";

/// A tag that the prefill may fill: its key, and where it stands in each of the records.
struct PrefilledTag {
  const char* key;
  std::string SongTags::*tag;
  std::string ConversionBoxes::*box;
  std::optional<std::string> BorrowedTags::*borrowed;
};
constexpr std::array<PrefilledTag, 3> kPrefilledTags = {{
    {"Artiste", &SongTags::artist, &ConversionBoxes::artist, &BorrowedTags::artist},
    {"Titre", &SongTags::title, &ConversionBoxes::title, &BorrowedTags::title},
    {"Commentaire", &SongTags::comment, &ConversionBoxes::comment, &BorrowedTags::comment},
}};

/// As much of a text as the settings can give back.
std::string Storable(const std::string& text) {
  return std::string(CutToCharacters(text, ConversionForm::kMaxText));
}

ConversionBoxes BoxesOf(const ConversionSettings& settings) {
  const SongTags& tags = settings.tags;
  ConversionBoxes boxes;
  boxes.format = settings.format;
  boxes.bitrate = SelectedBitrate(settings.rate);
  boxes.artist = tags.artist;
  boxes.title = tags.title;
  boxes.album = tags.album;
  boxes.year = tags.year;
  boxes.track = tags.track;
  boxes.genre = GenrePlace(tags.genre);
  boxes.comment = tags.comment;
  boxes.line_length = std::to_string(settings.max_line_length);
  boxes.make_lyrics_file = settings.make_lyrics_file;
  boxes.folder = settings.folder;
  boxes.scheme = settings.scheme;
  return boxes;
}

void WriteBorrowedKeys(ModIni& ini, const std::string& keys) {
  if (ini.ReadIni(kTagsSection, kBorrowedKey) != keys) {
    ini.WriteIni(kTagsSection, kBorrowedKey, keys);
  }
}

/// A program that was killed in a run has left its borrowed tags behind.
void ForgetTagsOfKilledRun(ModIni& ini) {
  const std::string keys = ini.ReadIni(kTagsSection, kBorrowedKey);
  const IniGroup group(ini);
  for (const PrefilledTag& tag : kPrefilledTags) {
    if (keys.find(tag.key) != std::string::npos) ini.WriteIni(kTagsSection, tag.key, "");
  }
  WriteBorrowedKeys(ini, "");
}

OutputBase BaseOf(const ConversionSettings& settings, const std::string& song_path,
                  PathStyle style) {
  return MakeOutputBase(
      {settings.folder, settings.scheme, settings.tags.artist, settings.tags.title, song_path},
      style);
}

}  // namespace

void ForgetBorrowedTags(ModIni& ini, const BorrowedTags& borrowed) {
  if (borrowed == BorrowedTags()) return;  // what a killed run has left is the next dialog's
  const IniGroup group(ini);
  for (const PrefilledTag& tag : kPrefilledTags) {
    const std::optional<std::string>& value = borrowed.*tag.borrowed;
    if (value && ini.ReadIni(kTagsSection, tag.key) == *value) {
      ini.WriteIni(kTagsSection, tag.key, "");
    }
  }
  WriteBorrowedKeys(ini, "");
}

ConversionForm::ConversionForm(ModIni& ini, SongIdentity song, std::chrono::year_month_day today,
                               ProgramVersion version, PathStyle style)
    : ini_(ini), song_(std::move(song)), style_(style) {
  ForgetTagsOfKilledRun(ini_);
  const ConversionSettings stored = LoadConversionSettings(ini_);
  boxes = BoxesOf(stored);
  SongTags tags = stored.tags;
  PrefillTags(tags, song_, today, version, style_);
  for (const PrefilledTag& tag : kPrefilledTags) {
    if (tags.*tag.tag == stored.tags.*tag.tag) continue;
    boxes.*tag.box = Storable(tags.*tag.tag);
    prefilled_.*tag.borrowed = boxes.*tag.box;
  }
}

void ConversionForm::ValidateFolder() { boxes.folder = ValidatedFolder(boxes.folder, style_); }

std::string ConversionForm::Preview() const {
  if (song_.path.empty()) return {};
  const ConversionSettings settings = WithFullFolder(Settings(), song_.path, style_);
  return AudioPath(BaseOf(settings, song_.path, style_), settings.format);
}

bool ConversionForm::Confirm(bool convert_all, MessageBoxes& message_boxes) {
  if (!AcceptFolder(boxes.folder, message_boxes, style_)) return false;
  settings_ = Settings();
  {
    const IniGroup group(ini_);
    MemoParam(ini_, settings_, style_);
    std::string keys;
    for (const PrefilledTag& tag : kPrefilledTags) {
      if (prefilled_.*tag.borrowed != boxes.*tag.box) continue;
      borrowed_.*tag.borrowed = settings_.tags.*tag.tag;
      if (!keys.empty()) keys += ',';
      keys += tag.key;
    }
    WriteBorrowedKeys(ini_, keys);
  }
  if (!ini_.kept()) {
    message_boxes.Show(kNotKept + ini_.default_file(), "Error", BoxIcon::kExclamation);
  }
  boxes.folder = settings_.folder;
  boxes.line_length = std::to_string(settings_.max_line_length);
  convert_all_ = convert_all;
  confirmed_ = true;
  return true;
}

ConversionSettings ConversionForm::Settings() const {
  ConversionSettings settings;
  settings.folder = boxes.folder;
  settings.scheme = boxes.scheme;
  settings.format = boxes.format;
  if (boxes.bitrate >= 0) settings.rate = kBitrates.at(static_cast<std::size_t>(boxes.bitrate));
  settings.make_lyrics_file = boxes.make_lyrics_file;
  settings.max_line_length = CleanedLineLength(boxes.line_length);
  settings.tags = Tags();
  return settings;
}

SongTags ConversionForm::Tags() const {
  return {boxes.artist, boxes.title, boxes.album,
          boxes.year,   boxes.track, std::string(GenreAt(boxes.genre)),
          boxes.comment};
}

ConversionSettings WithFullFolder(ConversionSettings settings, const std::string& song_path,
                                  PathStyle style) {
  const std::string path = BaseOf(settings, song_path, style).Path();
  if (IsAbsolute(path, style) || path.starts_with(SeparatorOf(style))) return settings;
  std::error_code error;
  const std::string beside = FolderOf(song_path, style);
  const std::string folder = Join(beside.empty() ? "." : beside, settings.folder, style);
  const auto full = std::filesystem::absolute(ToNativePath(folder), error);
  if (!error) {
    settings.folder = ValidatedFolder(FromNativePath(full.lexically_normal()), style);
  }
  return settings;
}

}  // namespace vexolo
