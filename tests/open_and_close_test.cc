// layer: gui
// Every window opened and closed again and again: nothing piles up.
#include <QDialog>
#include <QTest>
#include <string>

#include <gtest/gtest.h>

#include "audio/loader.h"
#include "fakes/main_window_bench.h"
#include "support/resident_memory.h"

namespace vexolo {
namespace {

constexpr int kTimes = 200;
constexpr int kWarmUp = 40;
constexpr double kMost = 1;  ///< megabytes that may come on top: some six kilobytes at each time

struct OpenAndClose : testing::Test, MainWindowBench {
  OpenAndClose() {
    others = ProgramWindows();
    for (const CompanionInfo& info : kCompanions) {
      const auto index = static_cast<std::size_t>(info.companion);
      if (!others.companions[index]) AddCompanion(info.companion);
    }
  }

  /// Opens what stands beside the window and closes it: by its button and by its close box.
  void ToggleCompanions() {
    for (const CompanionInfo& info : kCompanions) {
      CompanionWindow* companion = window->companion(info.companion);
      Click(info.button);
      ASSERT_TRUE(companion->isVisible()) << info.place_section;
      Click(info.button);
      ASSERT_FALSE(companion->isVisible()) << info.place_section;
      Click(info.button);
      companion->close();
      ASSERT_FALSE(companion->isVisible()) << info.place_section;
    }
  }
  void OpenDialogs() {
    for (const auto action : {&frmMidiTest::Action_Setup, &frmMidiTest::Action_About}) {
      (window.get()->*action)();
      QCoreApplication::processEvents();
      int open = 0;
      for (QWidget* top : QApplication::topLevelWidgets()) {
        if (!qobject_cast<QDialog*>(top) || !top->isVisible()) continue;
        ++open;
        top->close();
      }
      ASSERT_EQ(open, 1);
    }
  }
};

TEST_F(OpenAndClose, TwoHundredTimes) {
  ASSERT_TRUE(Start());
  double warm = 0;
  const auto children = [this] { return window->findChildren<QObject*>().size(); };
  qsizetype objects = 0;
  for (int i = 0; i < kTimes; ++i) {
    ToggleCompanions();
    OpenDialogs();
    if (HasFatalFailure()) return;
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    if (i == kWarmUp) {
      warm = ResidentMegabytes();
      objects = children();
    }
  }
  EXPECT_EQ(children(), objects);
  RecordProperty("grown_megabytes", std::to_string(ResidentMegabytes() - warm));
#ifndef __SANITIZE_ADDRESS__  // what is freed is held back there
  EXPECT_LT(ResidentMegabytes() - warm, kMost);
#endif
}

}  // namespace
}  // namespace vexolo
