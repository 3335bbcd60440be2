// layer: gui
#include "convert/run_dialog.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <cstdlib>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "convert/summary_dialog.h"
#include "fakes/cut_texts.h"
#include "fakes/fake_file_dialogs.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "widgets/elided_label.h"
#include "widgets/skin.h"

namespace vexolo {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

class RunDialogTest : public ::testing::Test {
 protected:
  void UseLanguage(const std::string& code) {
    language_file_ = std::string(VEXOLO_SOURCES) + "/src/resources/languages/" + code + ".lng";
  }
  void Grab(QWidget& window, const QString& name) {
    if (const char* folder = std::getenv("VEXOLO_SCREENSHOTS")) {
      window.grab().save(QString("%1/%2.png").arg(folder, name));
    }
  }
  template <typename Control>
  static Control* Find(const QWidget& window, const char* name) {
    auto* control = window.findChild<Control*>(name);
    EXPECT_NE(control, nullptr) << name;
    return control;
  }

  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  FakeFileDialogs files_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  Skin skin_;
  std::string language_file_ = std::string(VEXOLO_SOURCES) + "/src/resources/languages/fr.lng";
  std::atomic<bool> quitting_{false};
  WindowContext context_{ini_, skin_, boxes_, files_, language_file_, quitting_, ','};
  SeriesProgress progress_{"Canon", 3, 17, false, {0.25, 50, 2.5, true}};
  int cancelled_ = 0;
};

TEST_F(RunDialogTest, ItShowsTheProgressAndFollowsIt) {
  RunDialog dialog(
      context_, [this] { return progress_; }, [this] { ++cancelled_; });
  dialog.Begin();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
  EXPECT_FALSE(dialog.isModal()) << "the other windows answer";
  EXPECT_THAT(Find<ElidedLabel>(dialog, "Song")->full_text().toStdString(), HasSubstr("Canon"));
  EXPECT_EQ(Find<QLabel>(dialog, "Count")->text(), "3 / 17");
  EXPECT_EQ(Find<QProgressBar>(dialog, "Bar")->value(), 250);
  EXPECT_THAT(Find<QLabel>(dialog, "Left")->text().toStdString(), HasSubstr("0:08"));
  EXPECT_THAT(Find<QLabel>(dialog, "Speed")->text().toStdString(), HasSubstr("20"));
  progress_.job.share = 0.5;
  EXPECT_TRUE(QTest::qWaitFor([&] { return Find<QProgressBar>(dialog, "Bar")->value() == 500; }));
  dialog.End();
  EXPECT_FALSE(dialog.isVisible());
}

TEST_F(RunDialogTest, TheButtonEscapeAndTheCloseBoxCancelOnce) {
  RunDialog dialog(
      context_, [this] { return progress_; },
      [this] {
        ++cancelled_;
        progress_.cancelling = true;
      });
  const auto restart = [&] {
    progress_.cancelling = false;
    cancelled_ = 0;
    dialog.Begin();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&dialog));
  };
  auto* cancel = Find<QPushButton>(dialog, "Cancel");
  restart();
  QTest::mouseClick(cancel, Qt::LeftButton);
  QTest::mouseClick(cancel, Qt::LeftButton);
  EXPECT_EQ(cancelled_, 1);
  EXPECT_TRUE(dialog.isVisible()) << "until the end of the run";
  EXPECT_FALSE(cancel->isEnabled());
  restart();
  EXPECT_TRUE(cancel->isEnabled());
  QTest::keyClick(&dialog, Qt::Key_Escape);
  QTest::keyClick(&dialog, Qt::Key_Escape);
  EXPECT_EQ(cancelled_, 1);
  EXPECT_TRUE(dialog.isVisible());
  restart();
  dialog.close();
  EXPECT_EQ(cancelled_, 1);
}

TEST_F(RunDialogTest, NothingIsCutInAnyLanguage) {
  for (const char* code : {"fr", "en", "es", "de"}) {
    UseLanguage(code);
    RunDialog dialog(
        context_, [this] { return progress_; }, [] {});
    for (const double share : {0.25, 1.0}) {
      progress_.job.share = share;
      progress_.song = share < 1 ? "Canon"
                                 : "Un titre qui est bien trop long pour une seule ligne "
                                   "de ce petit cadre, et qui continue encore";
      progress_.job.seconds = 123456;
      dialog.Begin();
      ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
      QTest::qWait(50);
      EXPECT_THAT(CutTexts(dialog), IsEmpty()) << code;
      EXPECT_THAT(UnnamedControls(dialog), IsEmpty()) << code;
      Grab(dialog, QString("run-%1-%2").arg(code).arg(share));
    }
  }
}

TEST_F(RunDialogTest, TheSummaryCanBeCopiedAndItsFolderOpened) {
  std::string opened;
  SummaryDialog dialog(context_, "Line one\n  line two\n", "/music/", [&](const std::string& path) {
    opened = path;
    return true;
  });
  dialog.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
  EXPECT_FALSE(dialog.isModal());
  QTest::mouseClick(Find<QPushButton>(dialog, "Copy"), Qt::LeftButton);
  EXPECT_EQ(QApplication::clipboard()->text(), "Line one\n  line two\n");
  QTest::mouseClick(Find<QPushButton>(dialog, "Open"), Qt::LeftButton);
  EXPECT_EQ(opened, "/music/");
  EXPECT_TRUE(dialog.isVisible());
  QTest::keyClick(&dialog, Qt::Key_Return);
  EXPECT_FALSE(dialog.isVisible());
}

TEST_F(RunDialogTest, ASummaryWithoutFilesHasNoFolderToOpen) {
  const SummaryDialog dialog(context_, "None", {}, [](const std::string&) { return true; });
  EXPECT_FALSE(Find<QPushButton>(dialog, "Open")->isEnabled());
}

TEST_F(RunDialogTest, TheSummaryIsNotCutInAnyLanguage) {
  for (const char* code : {"fr", "en", "es", "de"}) {
    UseLanguage(code);
    SummaryDialog dialog(context_, "Text", "/music/", [](const std::string&) { return true; });
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    EXPECT_THAT(CutTexts(dialog), IsEmpty()) << code;
    EXPECT_THAT(UnnamedControls(dialog), IsEmpty()) << code;
    Grab(dialog, QString("summary-%1").arg(code));
  }
}

}  // namespace
}  // namespace vexolo
