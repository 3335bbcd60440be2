/// Where the program stands.
#pragma once

#include <string>

namespace vexolo {

/// Folder of the running executable (links followed), UTF-8, without a separator at its end unless
/// it is a root. Empty where the system does not tell. Any thread.
std::string ProgramFolder();

}  // namespace vexolo
