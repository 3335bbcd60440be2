// layer: gui
#include "widgets/companion_window.h"

#include <QKeyEvent>
#include <QTest>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/fake_file_dialogs.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "settings/window_place.h"
#include "widgets/skin.h"

namespace vexolo {
namespace {

class PlainCompanion : public CompanionWindow {
 public:
  using CompanionWindow::CompanionWindow;
  void LoadLanguage() override {}
};

class CompanionWindowTest : public ::testing::Test {
 protected:
  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  FakeFileDialogs files_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  Skin skin_;
  std::string language_file_;
  std::atomic<bool> quitting_{false};
  WindowContext context_{ini_, skin_, boxes_, files_, language_file_, quitting_};
  QWidget main_;
};

TEST_F(CompanionWindowTest, ClosingHidesAndIsRemembered) {
  PlainCompanion window(context_, nullptr, "Reverb");
  int closed = 0;
  window.set_closed_by_user([&] { ++closed; });
  window.show();
  EXPECT_FALSE(window.close());
  EXPECT_FALSE(window.isVisible());
  EXPECT_EQ(ini_.ReadIni("Reverb", "Show"), "0");
  EXPECT_EQ(closed, 1);
}

TEST_F(CompanionWindowTest, AtTheEndOfTheProgramItClosesForGoodAndShowStays) {
  PlainCompanion window(context_, nullptr, "Reverb");
  WriteShow(ini_, "Reverb", true);
  window.show();
  quitting_ = true;
  EXPECT_TRUE(window.close());
  EXPECT_EQ(ini_.ReadIni("Reverb", "Show"), "1");
}

TEST_F(CompanionWindowTest, KeysThatItDoesNotUseAreTheMainWindows) {
  struct KeyWatcher : QWidget {
    void keyPressEvent(QKeyEvent* event) override { pressed.push_back(event->key()); }
    void keyReleaseEvent(QKeyEvent* event) override { released.push_back(event->key()); }
    std::vector<int> pressed, released;
  } main;
  PlainCompanion window(context_, &main, "Reverb");
  QWidget inside(&window);
  QTest::keyClick(&inside, Qt::Key_Space);
  QTest::keyClick(&window, Qt::Key_F1);
  EXPECT_EQ(main.pressed, (std::vector<int>{Qt::Key_Space, Qt::Key_F1}));
  EXPECT_EQ(main.released, (std::vector<int>{Qt::Key_Space, Qt::Key_F1}));
  PlainCompanion alone(context_, nullptr, "Reverb");
  QTest::keyClick(&alone, Qt::Key_Space);  // goes nowhere
}

TEST_F(CompanionWindowTest, GoesToItsKeptPlace) {
  PlainCompanion window(context_, nullptr, "Reglage");
  WritePlace(ini_, "Reglage", {210, 130});
  window.RestorePlace({1, 2});
  EXPECT_EQ(window.pos(), QPoint(210, 130));
}

TEST_F(CompanionWindowTest, APlaceOffTheScreensCountsAsNone) {
  main_.move(40, 50);
  PlainCompanion window(context_, &main_, "Reglage");
  WritePlace(ini_, "Reglage", {90000, 130});
  window.RestorePlace({7, 9});
  EXPECT_EQ(window.pos(), QPoint(47, 59));
}

TEST_F(CompanionWindowTest, APlacePartlyOffTheScreenIsKept) {
  PlainCompanion window(context_, &main_, "Reglage");
  window.resize(300, 200);
  WritePlace(ini_, "Reglage", {-20, -10});
  window.RestorePlace({7, 9});
  EXPECT_EQ(window.pos(), QPoint(-20, -10));
  WritePlace(ini_, "Reglage", {-300, 10});
  window.RestorePlace({7, 9});
  EXPECT_EQ(window.pos(), main_.pos() + QPoint(7, 9));
}

TEST_F(CompanionWindowTest, APlaceMayBeCountedFromTheMainWindow) {
  main_.move(40, 50);
  PlainCompanion window(context_, &main_, "Paroles", CompanionWindow::PlaceFrom::kMainWindow);
  WritePlace(ini_, "Paroles", {100, 60});
  window.RestorePlace({0, 0});
  EXPECT_EQ(window.pos(), QPoint(140, 110));
  window.Follow({5, 6});
  main_.move(45, 56);
  window.SavePlace();
  EXPECT_EQ(ReadPlace(ini_, "Paroles"), (WindowPlace{100, 60}));
}

TEST_F(CompanionWindowTest, AMoveIsKeptOnceItHasSettled) {
  PlainCompanion window(context_, nullptr, "PlayList");
  window.RestorePlace({10, 10});
  window.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
  window.move(300, 200);
  EXPECT_TRUE(QTest::qWaitFor(
      [&] {
        return ReadPlace(ini_, "PlayList") == WindowPlace{300, 200};
      },
      2000));
}

}  // namespace
}  // namespace vexolo
