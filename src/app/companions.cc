#include "app/companions.h"

namespace vexolo {

void CompanionToggles::Toggle(Companion companion) {
  const bool shown = !view_.IsShown(companion);
  view_.SetShown(companion, shown);
  Store(companion, shown);
  view_.DrawFace(companion, shown);
}

void CompanionToggles::ShowAgain(Companion companion) {
  if (ini_.ReadIni(InfoOf(companion).show_section, "Show") != "1") return;
  view_.SetShown(companion, true);
  view_.DrawFace(companion, true);
}

void CompanionToggles::ClosedByUser(Companion companion) {
  Store(companion, false);
  view_.DrawFace(companion, false);
}

void CompanionToggles::Store(Companion companion, bool shown) {
  ini_.WriteIni(InfoOf(companion).show_section, "Show", shown ? "1" : "0");
}

}  // namespace vexolo
