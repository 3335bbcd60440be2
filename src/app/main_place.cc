#include "app/main_place.h"

namespace vexolo {
namespace {

constexpr const char* kSection = "Main";

bool IsOn(const WindowExtent& desktop, const WindowPlace& place, const WindowExtent& window) {
  return place.x < desktop.width && place.y < desktop.height && place.x + window.width > 0 &&
         place.y + window.height > 0;
}

}  // namespace

WindowPlace MainPlace(ModIni& ini, const WindowExtent& window, const WindowExtent& desktop,
                      const WindowExtent& screen) {
  const auto kept = ReadPlace(ini, kSection);
  if (kept && IsOn(desktop, *kept, window)) return *kept;
  return {(screen.width - window.width) / 2, (screen.height - window.height) / 2};
}

void StoreMainPlace(ModIni& ini, const WindowPlace& place) { WritePlace(ini, kSection, place); }

}  // namespace vexolo
