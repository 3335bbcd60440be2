#include "platform/settings_folder.h"

#include <cstdlib>

#include "platform/file_io.h"

namespace vexolo {
namespace {

constexpr const char* kConfigFolder = "vexolo";

/// Makes the settings file of the user out of the shipped one. False when that is not possible.
bool StartUserSettings(const std::string& shipped, const std::string& folder,
                       const std::string& file) {
  if (CreateFolders(folder) || !IsWritableFolder(folder)) return false;
  if (const auto content = ReadWholeFile(shipped, nullptr, kMaxTextFileSize)) {
    return !WriteWholeFile(file, *content);
  }
  return true;
}

}  // namespace

std::string ConfigHome(const char* xdg_config_home, const char* home) {
  if (xdg_config_home != nullptr && IsAbsolute(xdg_config_home)) return xdg_config_home;
  if (home == nullptr || *home == '\0') return {};
  return Join(home, ".config");
}

std::string UserConfigHome() {
#ifdef _WIN32
  return ConfigHome(std::getenv("APPDATA"), nullptr);
#else
  return ConfigHome(std::getenv("XDG_CONFIG_HOME"), std::getenv("HOME"));
#endif
}

bool CanKeepSettings(const std::string& folder) {
  const std::string file = Join(folder, kSettingsFileName);
  return IsWritableFolder(folder) && (!FileExists(file) || IsWritableFile(file));
}

std::string ChooseSettingsFile(const std::string& program_folder, const std::string& config_home,
                               bool can_keep) {
  std::string shipped = Join(program_folder, kSettingsFileName);
  if (can_keep || config_home.empty()) return shipped;
  const std::string folder = Join(config_home, kConfigFolder);
  std::string file = Join(folder, kSettingsFileName);
  if (FileExists(file)) return file;
  return StartUserSettings(shipped, folder, file) ? file : shipped;
}

std::string ChooseSettingsFile(const std::string& program_folder, const std::string& config_home) {
  return ChooseSettingsFile(program_folder, config_home, CanKeepSettings(program_folder));
}

}  // namespace vexolo
