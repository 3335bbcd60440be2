#include "app/main_place.h"

namespace vexolo {
namespace {

constexpr const char* kSection = "Main";

bool IsOn(const Desktop& desktop, const WindowPlace& place, const WindowExtent& window) {
  const WindowPlace& corner = desktop.corner;
  return place.x < corner.x + desktop.extent.width && place.y < corner.y + desktop.extent.height &&
         place.x + window.width > corner.x && place.y + window.height > corner.y;
}

}  // namespace

WindowPlace MainPlace(ModIni& ini, const WindowExtent& window, const Desktop& desktop,
                      const WindowExtent& screen) {
  const auto kept = ReadPlace(ini, kSection);
  if (kept && IsOn(desktop, *kept, window)) return *kept;
  return {(screen.width - window.width) / 2, (screen.height - window.height) / 2};
}

void StoreMainPlace(ModIni& ini, const WindowPlace& place) { WritePlace(ini, kSection, place); }

}  // namespace vexolo
