/// Where the main window opens. Window thread only.
#pragma once

#include "settings/mod_ini.h"
#include "settings/window_place.h"

namespace vexolo {

/// The place that the settings keep ("Main"), as long as it is on the desktop, which all screens
/// together make: its left edge below the desktop's width, its top below its height, and some of
/// the window to the right of and below its origin. Else the place that centres the window on the
/// first screen.
WindowPlace MainPlace(ModIni& ini, const WindowExtent& window, const WindowExtent& desktop,
                      const WindowExtent& screen);

void StoreMainPlace(ModIni& ini, const WindowPlace& place);

}  // namespace vexolo
