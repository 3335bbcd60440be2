/// The program's icon.
#pragma once

#include <QIcon>

namespace vexolo {

/// In sizes from 16 to 256. Window thread.
QIcon ProgramIcon();

}  // namespace vexolo
