/// Work that has time.
#pragma once

namespace vexolo {

/// The calling thread runs when nothing else wants the processor, or little more than that; for
/// its whole life. Where the system refuses, it runs as before.
void LowerThreadPriority();

}  // namespace vexolo
