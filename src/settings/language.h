/// The language file: which one is used, and how texts are read from it.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/message_box.h"
#include "platform/paths.h"
#include "settings/mod_ini.h"

namespace vexolo {

inline constexpr const char* kLanguageExtension = ".lng";
inline constexpr const char* kDefaultLanguageFile = "vexolo.dll";  ///< a language file all the same
inline constexpr std::size_t kMaxLanguages = 101;

/// What the start of the program learns from the settings before any window is shown.
struct LanguageChoice {
  std::string language_file;  ///< full path
  std::string code;           ///< the language file's stem
  std::string name;           ///< the language's name, as the file itself gives it
  bool first_run = false;     ///< no language was chosen yet: the options dialog has to be shown
  bool auto_mute = false;
  std::array<bool, 2> further_flags = {};  ///< true after a start with a chosen language
  std::string save_folder;
  std::string save_scheme;
};

/// Chooses the language file: the one that the settings name, else French, else the default one; on
/// the first run (the settings name none) the default one as it is, with all flags false. Where
/// there is no usable file, shows "Missing " + its path (critical, "Error") and returns nothing:
/// the program must end. Window thread only.
std::optional<LanguageChoice> ChooseLanguage(ModIni& ini, const std::string& program_folder,
                                             MessageBoxes& boxes);

/// True unless `value` (of "Vexolo"/"AutoMute") is exactly "0".
bool IsAutoMuteOn(std::string_view value);

/// One language that can be chosen.
struct LanguageEntry {
  std::string name;  ///< shown to the user
  std::string code;
  std::string path;
};

/// The language files of a folder in the order of their file names, at most kMaxLanguages. A file
/// that does not name its language is no language file.
std::vector<LanguageEntry> ListLanguages(ModIni& ini, const std::string& program_folder);

/// Keeps the language for the next start. The caller reloads the captions.
void StoreLanguage(ModIni& ini, const LanguageEntry& language);

/// "SM(3)": the key of a member of a control array.
std::string ArrayKey(std::string_view array, int index);

/// Every "|" turned into a line break ("\n").
std::string BreakLines(std::string_view text);

/// "%1", "%2", ... replaced by the values; what a value holds is not looked at again, and a number
/// without value stays as it is.
std::string FillIn(std::string_view text, const std::vector<std::string>& values);

/// Reads the texts of one section of a language file; a missing one is empty. Refers to `ini`,
/// which must outlive it. Window thread only.
class LanguageSection {
 public:
  LanguageSection(ModIni& ini, std::string language_file, std::string section);

  /// As it stands in the file (file filters use "|" for themselves).
  std::string Text(std::string_view key) const;
  /// The text of a member of a control array.
  std::string Text(std::string_view array, int index) const;
  /// With line breaks and values filled in.
  std::string Message(std::string_view key, const std::vector<std::string>& values = {}) const;

 private:
  ModIni& ini_;
  std::string language_file_;
  std::string section_;
};

}  // namespace vexolo
