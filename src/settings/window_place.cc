#include "settings/window_place.h"

#include <string>
#include <utility>

#include "platform/locale_format.h"

namespace vexolo {
namespace {

/// Two keys of a section, in pixels.
std::optional<std::pair<int, int>> ReadPair(ModIni& ini, std::string_view section,
                                            std::string_view first, std::string_view second) {
  const std::string a = ini.ReadIni(section, first);
  const std::string b = ini.ReadIni(section, second);
  if (a.empty() || b.empty()) return std::nullopt;
  return std::pair(RoundToInt(TextToNumber(a) / kTwipsPerPixel),
                   RoundToInt(TextToNumber(b) / kTwipsPerPixel));
}

void WriteTwips(ModIni& ini, std::string_view section, std::string_view key, int pixels) {
  ini.WriteIni(section, key, std::to_string(static_cast<long long>(pixels) * kTwipsPerPixel));
}

}  // namespace

std::optional<WindowPlace> ReadPlace(ModIni& ini, std::string_view section) {
  const auto pair = ReadPair(ini, section, "X", "Y");
  if (!pair) return std::nullopt;
  return WindowPlace{pair->first, pair->second};
}

void WritePlace(ModIni& ini, std::string_view section, const WindowPlace& place) {
  const IniGroup group(ini);
  WriteTwips(ini, section, "X", place.x);
  WriteTwips(ini, section, "Y", place.y);
}

std::optional<WindowExtent> ReadExtent(ModIni& ini, std::string_view section) {
  const auto pair = ReadPair(ini, section, "W", "H");
  if (!pair || pair->first <= 0 || pair->second <= 0) return std::nullopt;
  return WindowExtent{pair->first, pair->second};
}

void WriteExtent(ModIni& ini, std::string_view section, const WindowExtent& extent) {
  const IniGroup group(ini);
  WriteTwips(ini, section, "W", extent.width);
  WriteTwips(ini, section, "H", extent.height);
}

bool ReadShow(ModIni& ini, std::string_view section) { return ini.ReadIni(section, "Show") == "1"; }

void WriteShow(ModIni& ini, std::string_view section, bool show) {
  ini.WriteIni(section, "Show", show ? "1" : "0");
}

}  // namespace vexolo
