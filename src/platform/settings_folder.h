/// Where the settings file lives. Paths are UTF-8. To be asked once, at start: the environment is
/// read, and folders and files may be made.
#pragma once

#include <string>

#include "platform/paths.h"

namespace vexolo {

inline constexpr const char* kSettingsFileName = "Vexolo.ini";

/// The folder under which a user's settings are kept: `xdg_config_home` where it is an absolute
/// path, else ".config" in `home`. Either may be null. Empty where neither helps.
std::string ConfigHome(const char* xdg_config_home, const char* home);

/// The same from the environment (XDG_CONFIG_HOME and HOME; APPDATA on Windows).
std::string UserConfigHome();

/// True when the settings file of this folder can be written, or made where there is none.
bool CanKeepSettings(const std::string& folder);

/// Path of the settings file: in the program folder where `can_keep`; else in the folder
/// "vexolo" of `config_home`, which is made on the way. The first time it starts as a copy of the
/// program folder's file, so that settings shipped beside the program hold until they are changed.
/// Where neither place can be written it is the program folder's: settings are read and not kept.
std::string ChooseSettingsFile(const std::string& program_folder, const std::string& config_home,
                               bool can_keep);

/// The same, with the program folder looked at.
std::string ChooseSettingsFile(const std::string& program_folder, const std::string& config_home);

}  // namespace vexolo
