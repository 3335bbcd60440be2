/// What the options dialog does, without its window. Window thread only.
#pragma once

#include <string>
#include <vector>

#include "mixer/mix_state.h"
#include "settings/language.h"
#include "settings/mod_ini.h"

namespace vexolo {

/// The tabs in their order; the captions of the language file are numbered in the same way.
enum OptionsTab { kLanguageTab, kSoundTab, kSoundFontTab, kAboutTab, kOptionsTabs };

/// The languages to choose from.
struct LanguageList {
  std::vector<LanguageEntry> entries;  ///< at most kMaxLanguages
  int selected = -1;                   ///< the one in use; -1 where it is not among them
};

/// The language files of the program folder. The one in use is the entry of `language_file`, else
/// the first whose name is the same (the default language file is not listed itself).
LanguageList ListLanguagesToChoose(ModIni& ini, const std::string& program_folder,
                                   const std::string& language_file);

/// Takes the language at `index` into use: `language_file` becomes its path, and its stem is kept
/// in the settings. False, with nothing changed, where there is no such entry. The caller then
/// loads the captions of every open window anew.
bool SwitchLanguage(ModIni& ini, LanguageList& list, int index, std::string& language_file);

/// Sets and keeps the option. The caller then sends the channels' levels and draws the strips.
void SwitchAutoMute(ModIni& ini, MixState& mix, bool on);

}  // namespace vexolo
