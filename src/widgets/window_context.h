/// What every window of the program gets.
#pragma once

#include <QString>
#include <atomic>
#include <string>
#include <string_view>

#include "platform/file_dialogs.h"
#include "platform/message_box.h"
#include "settings/language.h"
#include "settings/mod_ini.h"

namespace vexolo {

class Skin;

/// References to what outlives the windows. Window thread only.
struct WindowContext {
  ModIni& ini;
  const Skin& skin;
  MessageBoxes& boxes;
  FileDialogs& files;
  const std::string& language_file;   ///< in use; full path, changes when the user switches
  const std::atomic<bool>& quitting;  ///< the program is ending: windows close for good
  char separator = '.';               ///< of decimals

  LanguageSection Section(std::string_view name) const {
    return LanguageSection(ini, language_file, std::string(name));
  }
};

inline QString Q(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace vexolo
