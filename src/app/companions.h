/// The windows beside the main one, and the pattern by which its buttons show and hide them.
#pragma once

#include <array>
#include <cstddef>

#include "settings/mod_ini.h"

namespace vexolo {

enum class Companion { kReglage, kReverb, kLyrics, kPlayList };

struct CompanionInfo {
  Companion companion;
  const char* place_section;  ///< of the settings, keys "X" and "Y"
  const char* show_section;   ///< key "Show"
  int button;                 ///< of `PicSM`
};

/// In the order in which they are created, shown again and unloaded.
inline constexpr std::array<CompanionInfo, 4> kCompanions = {{
    {Companion::kReglage, "Reglage", "Reglage", 43},
    {Companion::kReverb, "Reverb", "Reverb", 44},
    {Companion::kLyrics, "Paroles", "Lyrics", 37},
    {Companion::kPlayList, "PlayList", "PlayList", 47},
}};

constexpr const CompanionInfo& InfoOf(Companion companion) {
  return kCompanions[static_cast<std::size_t>(companion)];
}

/// What the toggles need of the windows.
class CompanionView {
 public:
  virtual ~CompanionView() = default;
  virtual bool IsShown(Companion companion) const = 0;
  virtual void SetShown(Companion companion, bool shown) = 0;
  /// Draws the window's button pressed or up.
  virtual void DrawFace(Companion companion, bool pressed) = 0;
};

/// Window thread only.
class CompanionToggles {
 public:
  /// The objects must outlive this one.
  CompanionToggles(ModIni& ini, CompanionView& view) : ini_(ini), view_(view) {}

  /// `Action_Reglage`, `Action_Reverb`, `Action_Lyrics`, `Action_Playlist`: hides a window that is
  /// shown and shows one that is not, keeps that and draws the button.
  void Toggle(Companion companion);

  /// At the start of the program: shows the window where it was open at the last exit.
  void ShowAgain(Companion companion);

  /// The user has closed the window by its own close box.
  void ClosedByUser(Companion companion);

 private:
  void Store(Companion companion, bool shown);

  ModIni& ini_;
  CompanionView& view_;
};

}  // namespace vexolo
