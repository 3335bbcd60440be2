#include "app/companions.h"

namespace vexolo {

void CompanionToggles::Toggle(Companion companion) {
  view_.SetShown(companion, !view_.IsShown(companion));
  // A window that cannot be shown has said why, and stays away.
  const bool shown = view_.IsShown(companion);
  Store(companion, shown);
  view_.DrawFace(companion, shown);
}

void CompanionToggles::ShowAgain(Companion companion) {
  if (ini_.ReadIni(InfoOf(companion).show_section, "Show") != "1") return;
  view_.SetShown(companion, true);
  view_.DrawFace(companion, view_.IsShown(companion));
}

void CompanionToggles::ClosedByUser(Companion companion) {
  Store(companion, false);
  view_.DrawFace(companion, false);
}

void CompanionToggles::Store(Companion companion, bool shown) {
  ini_.WriteIni(InfoOf(companion).show_section, "Show", shown ? "1" : "0");
}

}  // namespace vexolo
