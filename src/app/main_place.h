/// Where the main window opens. Window thread only.
#pragma once

#include "settings/mod_ini.h"
#include "settings/window_place.h"

namespace vexolo {

/// What all screens together make. Its corner is not (0, 0) where a screen stands to the left of
/// the first one or above it.
struct Desktop {
  WindowPlace corner;
  WindowExtent extent;
};

/// The place that the settings keep ("Main"), as long as it is on the desktop: its left edge and
/// its top before the desktop's right and lower edges, and some of the window to the right of and
/// below the desktop's corner. Else the place that centres the window on the first screen.
WindowPlace MainPlace(ModIni& ini, const WindowExtent& window, const Desktop& desktop,
                      const WindowExtent& screen);

void StoreMainPlace(ModIni& ini, const WindowPlace& place);

}  // namespace vexolo
