/// Places of windows as the settings file keeps them: in twips, 15 to a pixel at 96 dpi.
#pragma once

#include <optional>
#include <string_view>

#include "settings/mod_ini.h"

namespace vexolo {

inline constexpr int kTwipsPerPixel = 15;

/// Pixels at scale 1, from the left and top of what the section counts from.
struct WindowPlace {
  int x = 0;
  int y = 0;
  bool operator==(const WindowPlace&) const = default;
};

struct WindowExtent {
  int width = 0;
  int height = 0;
  bool operator==(const WindowExtent&) const = default;
};

/// Keys "X" and "Y" of a section; nothing where either is missing. Window thread only, as all here.
std::optional<WindowPlace> ReadPlace(ModIni& ini, std::string_view section);
void WritePlace(ModIni& ini, std::string_view section, const WindowPlace& place);

/// Keys "W" and "H"; nothing where either is missing or not positive.
std::optional<WindowExtent> ReadExtent(ModIni& ini, std::string_view section);
void WriteExtent(ModIni& ini, std::string_view section, const WindowExtent& extent);

/// Key "Show": whether the window was open.
bool ReadShow(ModIni& ini, std::string_view section);
void WriteShow(ModIni& ini, std::string_view section, bool show);

}  // namespace vexolo
