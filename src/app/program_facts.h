/// What the program knows of itself and of the machine, for the system information.
#pragma once

#include "about/system_info.h"
#include "app/program.h"

namespace vexolo {

/// All but what only the windows' toolkit can tell (OpenGL, the toolkit itself). Window thread
/// only; takes about a millisecond.
SystemInfo GatherFacts(const Program& program);

}  // namespace vexolo
