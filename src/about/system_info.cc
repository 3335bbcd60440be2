#include "about/system_info.h"

#include <optional>
#include <utility>

#include "about/about_texts.h"
#include "platform/file_io.h"
#include "platform/locale_format.h"
#include "platform/paths.h"

namespace vexolo {
namespace {

constexpr const char* kToolKey = "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO";
constexpr const char* kToolValue = "PATH";
constexpr const char* kFolderKey = "SOFTWARE\\Microsoft\\Shared Tools Location";
constexpr const char* kFolderValue = "MSINFO";
constexpr const char* kToolFile = "MSINFO32.EXE";
constexpr const char* kNoTool = "Les informations système ne sont pas disponibles actuellement";

constexpr double kMegabyte = 1024.0 * 1024.0;

/// "name (details)"; either may be missing.
std::string WithDetails(const std::string& name, const std::string& details) {
  if (details.empty() || details == name) return name;
  return name.empty() ? details : name + " (" + details + ")";
}

std::string Joined(const std::vector<std::string>& texts) {
  std::string joined;
  for (const std::string& text : texts) joined += (joined.empty() ? "" : ", ") + text;
  return joined;
}

}  // namespace

bool GetKeyValue(Registry& registry, RegistryRoot root, const std::string& key,
                 const std::string& value, std::string* text) {
  std::optional<std::string> found = registry.Read(root, key, value);
  if (!found) return false;
  *text = std::move(*found);
  return true;
}

std::string FindSysInfoTool(Registry& registry) {
  std::string text;
  if (GetKeyValue(registry, RegistryRoot::kLocalMachine, kToolKey, kToolValue, &text)) return text;
  if (!GetKeyValue(registry, RegistryRoot::kLocalMachine, kFolderKey, kFolderValue, &text)) {
    return {};
  }
  const std::string tool = Join(text, kToolFile);
  return FileExists(tool) ? tool : std::string();
}

void StartSysInfo(Registry& registry, const std::function<bool(const std::string&)>& start,
                  MessageBoxes& boxes) {
  const std::string tool = FindSysInfoTool(registry);
  if (!tool.empty() && start(tool)) return;
  boxes.Show(kNoTool, "", BoxIcon::kInformation);
}

std::vector<SystemInfoRow> SystemInfoRows(const LanguageSection& texts, const SystemInfo& info,
                                          char separator) {
  const std::string none = texts.Text("None");
  const std::string unknown = texts.Text("Unknown");
  const auto or_else = [](const std::string& value, const std::string& other) {
    return value.empty() ? other : value;
  };
  const std::string program = std::to_string(kProgramNumbers[0]) + "." +
                              std::to_string(kProgramNumbers[1]) + "." +
                              std::to_string(kProgramNumbers[2]);
  const SystemFacts& machine = info.machine;
  const std::string cores = machine.processors == 0 ? "" : std::to_string(machine.processors);
  const double megabytes = static_cast<double>(machine.memory) / kMegabyte;
  const std::string memory =
      machine.memory == 0 ? std::string()
                          : texts.Message("Megabytes", {FormatNumber(megabytes, "0", separator)});
  return {
      {texts.Text("System"), or_else(WithDetails(machine.system, machine.kernel), unknown)},
      {texts.Text("Processor"), or_else(machine.processor, unknown)},
      {texts.Text("Cores"), or_else(cores, unknown)},
      {texts.Text("Memory"), or_else(memory, unknown)},
      {texts.Text("SoundDevice"), or_else(info.sound_device, info.is_silent ? none : unknown)},
      {texts.Text("OpenGL"), or_else(info.open_gl, none)},
      {texts.Text("Program"), WithDetails(program, info.toolkit)},
      {texts.Text("Library"),
       WithDetails(LibraryVersionText(info.library_version), Joined(info.components))},
      {texts.Text("SoundFont"), or_else(info.bank, none)},
      {texts.Text("Lame"), or_else(info.lame, none)},
      {texts.Text("OggEnc"), or_else(info.ogg_enc, none)},
  };
}

std::string SystemInfoText(const std::vector<SystemInfoRow>& rows) {
  std::string text;
  for (const SystemInfoRow& row : rows) text += row.caption + ": " + row.value + "\n";
  return text;
}

std::string LibraryVersionText(bass::DWORD version) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    text += std::to_string(version >> shift & 0xFF) + (shift > 0 ? "." : "");
  }
  return text;
}

}  // namespace vexolo
