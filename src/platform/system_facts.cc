#include "platform/system_facts.h"

#include <charconv>
#include <thread>

#ifdef _WIN32
#include <windows.h>

#include "platform/registry.h"
#else
#include <sys/utsname.h>

#include "platform/file_io.h"
#endif

namespace vexolo {
namespace {

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlank = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlank);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

/// What stands behind the separator in the first line that names `key`.
std::string_view ValueOf(std::string_view text, std::string_view key, char separator) {
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    const std::size_t middle = line.find(separator);
    if (middle != std::string_view::npos && Trimmed(line.substr(0, middle)) == key) {
      return Trimmed(line.substr(middle + 1));
    }
    text.remove_prefix(line.size() == text.size() ? line.size() : line.size() + 1);
  }
  return {};
}

}  // namespace

std::string SystemName(std::string_view os_release) {
  std::string_view name = ValueOf(os_release, "PRETTY_NAME", '=');
  if (name.size() >= 2 && name.front() == name.back() && (name[0] == '"' || name[0] == '\'')) {
    name = name.substr(1, name.size() - 2);
  }
  return std::string(name);
}

std::string ProcessorModel(std::string_view cpuinfo) {
  // Not every architecture uses the same word for it.
  for (const std::string_view key : {"model name", "Model", "cpu model", "uarch"}) {
    const std::string_view model = ValueOf(cpuinfo, key, ':');
    if (!model.empty()) return std::string(model);
  }
  return {};
}

std::uint64_t MemoryBytes(std::string_view meminfo, std::string_view name) {
  const std::string_view value = ValueOf(meminfo, name, ':');
  std::uint64_t kibibytes = 0;
  std::from_chars(value.data(), value.data() + value.size(), kibibytes);
  return kibibytes <= UINT64_MAX / 1024 ? kibibytes * 1024 : 0;
}

#ifdef _WIN32

SystemFacts GatherSystemFacts() {
  const std::unique_ptr<Registry> registry = SystemRegistry();
  const auto read = [&](const char* key, const char* value) {
    const auto text = registry->Read(RegistryRoot::kLocalMachine, key, value).value_or("");
    return std::string(Trimmed(text));
  };
  constexpr const char* kVersion = "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
  SystemFacts facts;
  facts.system = read(kVersion, "ProductName");
  facts.kernel = read(kVersion, "CurrentBuildNumber");
  facts.processor =
      read("HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0", "ProcessorNameString");
  facts.processors = std::thread::hardware_concurrency();
  MEMORYSTATUSEX memory = {};
  memory.dwLength = sizeof memory;
  if (GlobalMemoryStatusEx(&memory) != 0) facts.memory = memory.ullTotalPhys;
  return facts;
}

#else

SystemFacts GatherSystemFacts() {
  SystemFacts facts;
  utsname kernel = {};
  if (uname(&kernel) == 0) {
    facts.kernel = std::string(kernel.sysname) + " " + kernel.release + " " + kernel.machine;
    facts.system = kernel.sysname;
  }
  for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
    const std::string name = SystemName(ReadWholeFile(path).value_or(""));
    if (name.empty()) continue;
    facts.system = name;
    break;
  }
  facts.processor = ProcessorModel(ReadWholeFile("/proc/cpuinfo").value_or(""));
  facts.processors = std::thread::hardware_concurrency();
  facts.memory = MemoryBytes(ReadWholeFile("/proc/meminfo").value_or(""), "MemTotal");
  return facts;
}

#endif

}  // namespace vexolo
