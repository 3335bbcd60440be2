/// Converts songs one after the other, as the options of vexolo-convert ask for it.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "app/bank_pool.h"
#include "app/convert_options.h"
#include "app/separate_song.h"
#include "convert/encoding_run.h"
#include "platform/message_box.h"
#include "settings/mod_ini.h"

namespace vexolo {

/// What became of one song.
struct SongReport {
  enum class Outcome { kConverted, kFailed, kInterrupted };

  std::string song;
  Outcome outcome = Outcome::kConverted;
  std::string reason;  ///< why it failed, one line
  std::string artist;  ///< as tagged
  std::string title;
  std::string audio_path;   ///< of the finished file, or the one that was meant
  std::string lyrics_path;  ///< empty where none was written
  double seconds = 0;       ///< of audio
};

/// Which files the songs of one call have taken, so that none overwrites another's. Any thread.
class OutputClaims {
 public:
  /// Takes a file for a song. The song that has it already, or nothing where the claim succeeds.
  std::string Claim(const std::string& path, const std::string& song);

 private:
  std::mutex mutex_;
  std::map<std::string, std::string> songs_;
};

/// What the settings file says where the command line says nothing.
struct ConvertDefaults {
  std::string rate;
  bool lyrics = true;
  std::int16_t max_length = 0;
  bool auto_mute = true;
};
ConvertDefaults LoadConvertDefaults(ModIni& ini);

/// What all songs of one call share.
struct ConvertContext {
  const bass::Api& api;
  const ConvertOptions& options;
  const ConvertDefaults& defaults;
  BankPool& banks;
  OutputClaims& claims;
  std::string program_folder;
  std::string settings_file;
  char decimal_separator = '.';
};

/// Answers the overwrite question by the options; everything else is told by the report.
class ConvertBoxes : public MessageBoxes {
 public:
  explicit ConvertBoxes(bool overwrite) : overwrite_(overwrite) {}
  void Show(const std::string&, const std::string&, BoxIcon) override {}
  bool AskYesNo(const std::string&, const std::string&) override { return overwrite_; }

 private:
  bool overwrite_;
};

/// Belongs to one thread; converters of different threads share the context. Reads the settings
/// beside the songs and never writes them.
class SongConverter {
 public:
  /// The context must outlive this object.
  explicit SongConverter(const ConvertContext& context);
  SongConverter(const SongConverter&) = delete;
  SongConverter& operator=(const SongConverter&) = delete;

  /// `progress` as for RunConversion: false interrupts.
  SongReport Convert(const std::string& song, const RunProgress& progress);

 private:
  class OpenSong;

  /// Empty, or what keeps the song from being opened.
  std::string Open(const std::string& song);
  void AdjustMix(MixState& mix);
  void AdjustMarkers(Markers& markers);
  RunRequest MakeRequest(const std::string& song) const;

  const ConvertContext& context_;
  ConvertBoxes boxes_;
  SeparateSong song_;
  double stored_factor_ = 1;  ///< speed factor of the song's settings, to which its markers belong
};

}  // namespace vexolo
