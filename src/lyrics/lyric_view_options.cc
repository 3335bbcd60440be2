#include "lyrics/lyric_view_options.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "lyrics/lyric_colours.h"
#include "platform/locale_format.h"

namespace vexolo {

namespace {

constexpr const char* kSection = "Paroles";
constexpr const char* kFullScreen = "FullScreen";
constexpr const char* kSecondScreen = "SecondScreen";
constexpr const char* kOnTop = "OnTop";
constexpr const char* kTheme = "Theme";

constexpr int kSamples = 4;
constexpr int kUsualInterval = 16;
constexpr double kSlowestRate = 24;
constexpr double kFastestRate = 250;
constexpr int kMostTicks = 1000;  ///< more than any flash lasts

/// Parts of the names under which OpenGL draws without a graphics card.
constexpr std::array<std::string_view, 6> kSoftwareRenderers = {
    "llvmpipe", "softpipe", "Software", "SWR", "GDI Generic", "Basic Render"};

}  // namespace

LyricViewOptions LoadLyricViewOptions(ModIni& ini) {
  LyricViewOptions options;
  options.full_screen = ini.ReadIni(kSection, kFullScreen) == "1";
  options.second_screen = ini.ReadIni(kSection, kSecondScreen) == "1";
  options.on_top = ini.ReadIni(kSection, kOnTop) == "1";
  const int theme = RoundToInt(TextToNumber(ini.ReadIni(kSection, kTheme)));
  options.theme = theme >= 0 && theme < kLyricThemeCount ? theme : 0;
  return options;
}

void SaveLyricViewOptions(ModIni& ini, const LyricViewOptions& options,
                          const LyricViewOptions& before) {
  const auto save = [&](const char* key, bool now, bool then) {
    if (now != then) ini.WriteIni(kSection, key, now ? "1" : "0");
  };
  save(kFullScreen, options.full_screen, before.full_screen);
  save(kSecondScreen, options.second_screen, before.second_screen);
  save(kOnTop, options.on_top, before.on_top);
  if (options.theme != before.theme) {
    ini.WriteIni(kSection, kTheme, std::to_string(options.theme));
  }
}

int FullScreenTarget(int count, int main, int own, bool second_screen) {
  if (!second_screen || count < 2) return own;
  if (own != main) return own;  // it stands there already
  return main == 0 ? 1 : 0;
}

int SamplesFor(std::string_view renderer) {
  const bool is_software = std::any_of(
      kSoftwareRenderers.begin(), kSoftwareRenderers.end(),
      [&](std::string_view name) { return renderer.find(name) != std::string_view::npos; });
  return is_software || renderer.empty() ? 0 : kSamples;
}

int RefreshInterval(double screen_rate) {
  if (!(screen_rate > 0)) return kUsualInterval;
  return static_cast<int>(1000 / std::clamp(screen_rate, kSlowestRate, kFastestRate));
}

int TicksPassed(double elapsed, int interval) {
  if (!(elapsed > 0) || interval <= 0) return 1;
  return static_cast<int>(std::clamp(std::round(elapsed / interval), 1.0, double{kMostTicks}));
}

}  // namespace vexolo
