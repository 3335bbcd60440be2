#include "app/main_place.h"

namespace vexolo {
namespace {

constexpr const char* kSection = "Main";

bool IsOnScreen(const WindowPlace& place, const WindowExtent& window, const WindowExtent& screen) {
  return place.x < screen.width && place.y < screen.height && place.x + window.width > 0 &&
         place.y + window.height > 0;
}

}  // namespace

WindowPlace MainPlace(ModIni& ini, const WindowExtent& window, const WindowExtent& screen) {
  const auto kept = ReadPlace(ini, kSection);
  if (kept && IsOnScreen(*kept, window, screen)) return *kept;
  return {(screen.width - window.width) / 2, (screen.height - window.height) / 2};
}

void StoreMainPlace(ModIni& ini, const WindowPlace& place) { WritePlace(ini, kSection, place); }

}  // namespace vexolo
