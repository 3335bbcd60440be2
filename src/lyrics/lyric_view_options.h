/// What the user has chosen for the lyric window beyond its zoom, kept in the settings file, and
/// the choices that need no window. Free functions; window thread only.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "lyrics/code_pages.h"
#include "settings/mod_ini.h"

namespace vexolo {

/// Section "Paroles".
struct LyricViewOptions {
  bool full_screen = false;
  bool second_screen = false;  ///< full screen goes to another screen than the window's
  bool on_top = false;
  int theme = 0;  ///< of kLyricThemes
  bool operator==(const LyricViewOptions&) const = default;
};

/// What is not there or makes no sense is the default.
LyricViewOptions LoadLyricViewOptions(ModIni& ini);
/// Writes what differs from `before`.
void SaveLyricViewOptions(ModIni& ini, const LyricViewOptions& options,
                          const LyricViewOptions& before);

/// The code pages of the menu, the first one being the choice by detection.
inline constexpr std::array<std::int16_t, 5> kCodePageChoices = {
    kCodePageNone, kCodePageWindows, kCodePageDos, kCodePageMacintosh, kCodePageUtf8};

/// Which of `count` screens full screen goes to: another one than `main`, where that is wanted and
/// there is one, else `own`. Numbers from 0.
int FullScreenTarget(int count, int main, int own, bool second_screen);

/// Samples for each pixel: 4 where a graphics card does it, 0 where the processor draws. `renderer`
/// is the name that OpenGL gives.
int SamplesFor(std::string_view renderer);

/// Milliseconds between two frames: 16 on a screen of 60 Hz, and where the rate is not known.
int RefreshInterval(double screen_rate);

/// How many ticks of the refresh timer `elapsed` milliseconds are, at least one.
int TicksPassed(double elapsed, int interval);

}  // namespace vexolo
