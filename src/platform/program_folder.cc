#include "platform/program_folder.h"

#include <filesystem>
#include <system_error>

namespace vexolo {

std::string ProgramFolder() {
  std::error_code error;
  const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return {};
  const std::u8string folder = executable.parent_path().u8string();
  return {folder.begin(), folder.end()};
}

}  // namespace vexolo
