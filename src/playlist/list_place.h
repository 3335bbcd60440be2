/// Where the list opens when the settings keep no place for it. Pure; any thread.
#pragma once

#include "settings/window_place.h"

namespace vexolo {

/// Pixels on the screen.
struct ScreenArea {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  int right() const { return x + width; }
  int bottom() const { return y + height; }
  bool operator==(const ScreenArea&) const = default;
};

/// Under the main window, as wide as it is wide; lower than `wanted`, down to `least`, where the
/// screen ends before. Where even that does not fit: to its right, else to its left, with the
/// wanted size, else at the bottom of the screen. All areas include the windows' frames.
ScreenArea DockedPlace(const ScreenArea& main_window, const ScreenArea& screen,
                       const WindowExtent& wanted, const WindowExtent& least);

}  // namespace vexolo
