/// Everything that the conversion dialog (`Tags`) does apart from being a window.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "convert/conversion_settings.h"
#include "platform/message_box.h"
#include "platform/paths.h"
#include "settings/mod_ini.h"

namespace vexolo {

/// Artist, title and comment that stand in the settings only because a prefill has put them there,
/// as the settings give them back. They are the song's, not the user's. "Tags"/"Emprunt" names
/// their keys while a run is under way, for a program that does not live to its end.
struct BorrowedTags {
  std::optional<std::string> artist;
  std::optional<std::string> title;
  std::optional<std::string> comment;
  bool operator==(const BorrowedTags&) const = default;
};

/// Empties the keys again, at the end of the run. What has come into them meanwhile stays. Window
/// thread only.
void ForgetBorrowedTags(ModIni& ini, const BorrowedTags& borrowed);

/// What the boxes and lists of the dialog show.
struct ConversionBoxes {
  AudioFormat format = AudioFormat::kWav;
  int bitrate = -1;  ///< place in kBitrates; -1 = nothing is selected
  std::string artist;
  std::string title;
  std::string album;
  std::string year;
  std::string track;
  int genre = 0;  ///< place in the list shown; 0 = no genre
  std::string comment;
  std::string line_length;  ///< text of `LyricsMax`
  bool make_lyrics_file = true;
  std::string folder;  ///< text of `RecFolder`
  std::string scheme;
};

/// The dialog while it is open. The window shows `boxes`, writes into them what the user does, and
/// calls the rest. Window thread only.
class ConversionForm {
 public:
  static constexpr std::size_t kMaxText = ModIni::kMaxLength;  ///< characters of a box

  /// Opens, while no run is under way: takes everything from the settings, but for what a killed
  /// run has borrowed, and fills empty tags from the song (its path is empty where none is loaded).
  /// `ini` must outlive this object.
  ConversionForm(ModIni& ini, SongIdentity song, std::chrono::year_month_day today,
                 ProgramVersion version = {}, PathStyle style = kNativePathStyle);

  ConversionBoxes boxes;

  /// The user has left the folder's box: a separator is put at its end.
  void ValidateFolder();

  /// Full path of the audio file that the song would get by what the boxes say now; empty without a
  /// song.
  std::string Preview() const;

  /// The bitrate has a say in this format.
  bool UsesBitrate() const { return boxes.format != AudioFormat::kWav; }

  /// The OK button, or "Tous": cleans the boxes and stores them (`MémoParam`), remembers what was
  /// borrowed from the song, and confirms. False after a message where the folder cannot be stored;
  /// nothing has happened then. Settings that cannot be written are a message, but hold.
  bool Confirm(bool convert_all, MessageBoxes& message_boxes);

  bool confirmed() const { return confirmed_; }
  bool convert_all() const { return convert_all_; }
  const BorrowedTags& borrowed() const { return borrowed_; }
  /// What has been confirmed, as the settings give it back.
  const ConversionSettings& settings() const { return settings_; }

 private:
  ConversionSettings Settings() const;
  SongTags Tags() const;

  ModIni& ini_;
  const SongIdentity song_;
  const PathStyle style_;
  BorrowedTags prefilled_;  ///< what the prefill has put into the boxes
  BorrowedTags borrowed_;
  ConversionSettings settings_;
  bool confirmed_ = false;
  bool convert_all_ = false;
};

/// The settings with a folder that leads to the same files from everywhere: no folder is the
/// song's own, and a relative place is counted from there. (An encoder would take a name that
/// begins with "-" for an option; a full path never does.)
ConversionSettings WithFullFolder(ConversionSettings settings, const std::string& song_path,
                                  PathStyle style = kNativePathStyle);

}  // namespace vexolo
