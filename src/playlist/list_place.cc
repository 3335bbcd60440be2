#include "playlist/list_place.h"

#include <algorithm>

namespace vexolo {

ScreenArea DockedPlace(const ScreenArea& main_window, const ScreenArea& screen,
                       const WindowExtent& wanted, const WindowExtent& least) {
  const int below = screen.bottom() - main_window.bottom();
  if (below >= least.height) {
    return {main_window.x, main_window.bottom(), std::max(main_window.width, least.width),
            std::min(wanted.height, below)};
  }
  ScreenArea area = {main_window.right(), main_window.y, wanted.width,
                     std::max(wanted.height, main_window.height)};
  if (area.right() > screen.right()) area.x = main_window.x - wanted.width;
  if (area.x < screen.x) {
    area = {main_window.x, screen.bottom() - wanted.height, main_window.width, wanted.height};
  }
  area.height = std::min(area.height, screen.height);
  area.y = std::clamp(area.y, screen.y, screen.bottom() - area.height);
  return area;
}

}  // namespace vexolo
