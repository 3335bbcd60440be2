// layer: core
#include "app/companions.h"

#include <array>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class View : public CompanionView {
 public:
  bool IsShown(Companion companion) const override { return shown[Place(companion)]; }
  void SetShown(Companion companion, bool is_shown) override {
    shown[Place(companion)] = is_shown && !cannot_be_shown;
  }
  void DrawFace(Companion companion, bool pressed) override {
    faces.push_back(std::to_string(InfoOf(companion).button) + (pressed ? " down" : " up"));
  }
  static std::size_t Place(Companion companion) { return static_cast<std::size_t>(companion); }
  std::array<bool, 4> shown{};
  bool cannot_be_shown = false;
  std::vector<std::string> faces;
};

class CompanionsTest : public testing::Test {
 protected:
  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  View view_;
  CompanionToggles toggles_{ini_, view_};
};

TEST_F(CompanionsTest, EachToggleShowsAndHidesItsWindowKeepsThatAndDrawsItsButton) {
  for (const CompanionInfo& info : kCompanions) {
    view_.faces.clear();
    toggles_.Toggle(info.companion);
    EXPECT_TRUE(view_.IsShown(info.companion));
    EXPECT_EQ("1", ini_.ReadIni(info.show_section, "Show"));
    toggles_.Toggle(info.companion);
    EXPECT_FALSE(view_.IsShown(info.companion));
    EXPECT_EQ("0", ini_.ReadIni(info.show_section, "Show"));
    const std::string button = std::to_string(info.button);
    EXPECT_THAT(view_.faces, ElementsAre(button + " down", button + " up"));
  }
}

TEST_F(CompanionsTest, AWindowThatCannotBeShownCountsAsClosed) {
  view_.cannot_be_shown = true;
  toggles_.Toggle(Companion::kLyrics);
  EXPECT_EQ("0", ini_.ReadIni("Lyrics", "Show"));
  ini_.WriteIni("Lyrics", "Show", "1");
  toggles_.ShowAgain(Companion::kLyrics);
  EXPECT_THAT(view_.faces, ElementsAre("37 up", "37 up"));
}

TEST_F(CompanionsTest, TheSectionsAreThoseOfTheSettings) {
  std::vector<std::string> sections;
  for (const CompanionInfo& info : kCompanions) {
    EXPECT_EQ(&info, &InfoOf(info.companion));
    sections.push_back(std::string(info.place_section) + " " + info.show_section);
  }
  EXPECT_THAT(sections, ElementsAre("Reglage Reglage", "Reverb Reverb", "Paroles Lyrics",
                                    "PlayList PlayList"));
}

TEST_F(CompanionsTest, WhatWasOpenIsShownAgain) {
  ini_.WriteIni("Lyrics", "Show", "1");
  ini_.WriteIni("Reverb", "Show", "0");
  ini_.WriteIni("Paroles", "Show", "1");  // not the key that counts
  ini_.WriteIni("Reglage", "Show", "yes");
  for (const CompanionInfo& info : kCompanions) toggles_.ShowAgain(info.companion);
  EXPECT_THAT(view_.shown, ElementsAre(false, false, true, false));
  EXPECT_THAT(view_.faces, ElementsAre("37 down"));
}

TEST_F(CompanionsTest, AWindowThatTheUserHasClosedStaysClosedNextTime) {
  toggles_.Toggle(Companion::kLyrics);
  view_.faces.clear();
  view_.shown = {};
  toggles_.ClosedByUser(Companion::kLyrics);
  EXPECT_THAT(view_.faces, ElementsAre("37 up"));
  view_.faces.clear();
  toggles_.ShowAgain(Companion::kLyrics);
  EXPECT_THAT(view_.faces, IsEmpty());
}

}  // namespace
}  // namespace vexolo
