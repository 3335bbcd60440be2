/// The terminal that a command-line program may be run from. Any thread.
#pragma once

#include <cstdio>

namespace vexolo {

/// Whether what is written to `file` is read by a person at a terminal.
bool IsTerminal(std::FILE* file);

}  // namespace vexolo
