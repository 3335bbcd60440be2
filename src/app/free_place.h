/// Where a window opens beside others that has no place of its own yet. Pure; any thread.
#pragma once

#include <span>

#include "playlist/list_place.h"

namespace vexolo {

/// On the screen, wholly where it fits, where it covers least of what is `taken` and stands nearest
/// to the first of these, which is to be covered last of all. Areas and `window` include frames;
/// `taken` is not empty.
WindowPlace FreePlace(const ScreenArea& screen, std::span<const ScreenArea> taken,
                      const WindowExtent& window);

}  // namespace vexolo
