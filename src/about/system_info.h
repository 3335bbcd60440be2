/// Where the user finds out about the computer: the system's own tool, or the facts themselves.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "audio/bass.h"
#include "platform/message_box.h"
#include "platform/registry.h"
#include "platform/system_facts.h"
#include "settings/language.h"

namespace vexolo {

/// Reads one value of a key. False, and `text` left alone, where there is none.
bool GetKeyValue(Registry& registry, RegistryRoot root, const std::string& key,
                 const std::string& value, std::string* text);

/// Path of the system-information tool as the registry tells it; empty where it tells none.
std::string FindSysInfoTool(Registry& registry);

/// Starts the tool by `start` (a path; false where it cannot be started). Where there is no tool an
/// information box says so. Window thread only.
void StartSysInfo(Registry& registry, const std::function<bool(const std::string&)>& start,
                  MessageBoxes& boxes);

/// What is shown where the system has no such tool. Texts that are empty are not known or not
/// there.
struct SystemInfo {
  SystemFacts machine;
  std::string sound_device;
  bool is_silent = false;  ///< there is no sound device
  std::string open_gl;
  std::string toolkit;  ///< name and version
  bass::DWORD library_version = 0;
  std::vector<std::string> components;  ///< what the audio library is built on
  std::string bank;                     ///< path
  std::string lame;                     ///< paths of the encoders
  std::string ogg_enc;
};

struct SystemInfoRow {
  std::string caption;
  std::string value;
  bool operator==(const SystemInfoRow&) const = default;
};

/// The facts in the order in which they are shown. `texts`: section "SysInfo".
std::vector<SystemInfoRow> SystemInfoRows(const LanguageSection& texts, const SystemInfo& info,
                                          char separator);

/// The same as text to be sent to somebody, a line each: "caption: value".
std::string SystemInfoText(const std::vector<SystemInfoRow>& rows);

/// "2.4.15.0"
std::string LibraryVersionText(bass::DWORD version);

}  // namespace vexolo
