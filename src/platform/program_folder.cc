#include "platform/program_folder.h"

#include <filesystem>
#include <system_error>

#include "platform/paths.h"

namespace vexolo {

std::string ProgramFolder() {
  std::error_code error;
  const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return {};
  return FromNativePath(executable.parent_path());
}

}  // namespace vexolo
