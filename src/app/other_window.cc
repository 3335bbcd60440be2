#include "app/other_window.h"

namespace vexolo {

OtherWindows ProgramWindows() { return {}; }

}  // namespace vexolo
