/// Where the main window opens. Window thread only.
#pragma once

#include "settings/mod_ini.h"
#include "settings/window_place.h"

namespace vexolo {

/// The place that the settings keep ("Main"), as long as it is on the screen: its left edge below
/// the screen's width, its top below the screen's height, and some of the window to the right of
/// and below the screen's origin. Else the place that centres the window.
WindowPlace MainPlace(ModIni& ini, const WindowExtent& window, const WindowExtent& screen);

void StoreMainPlace(ModIni& ini, const WindowPlace& place);

}  // namespace vexolo
