// layer: gui
// Conversions in the program's own windows, over the open engine.
#include "app/conversion_window.h"

#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QTest>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/conversion_bench.h"
#include "mixer/song_settings.h"

namespace vexolo {
namespace {

using ::testing::HasSubstr;

class ConversionWindowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(bench_.Start());
    ModIni& ini = bench_.program->ini;
    ini.WriteIni("Wave", "SaveFolder", bench_.folder / "out/");
    ini.WriteIni("Wave", "SaveScheme", "%T");
    for (const char* name : {"a-la-claire-fontaine.mid", "au-clair-de-la-lune.kar"}) {
      const std::string path = bench_.AddSong(std::string(VEXOLO_SONGS) + "/" + name, name);
      const std::string file = SongSettingsPath(path);
      ini.WriteIni("Marqueurs", "Marche", "1", file);
      ini.WriteIni("Marqueurs", "Debut", "10,000", file);
      ini.WriteIni("Marqueurs", "Fin", "10,500", file);
    }
  }
  void UseWholeSong(int place) {
    const std::string path = bench_.program->state.playlist.Path(place);
    bench_.program->ini.WriteIni("Marqueurs", "Marche", "0", SongSettingsPath(path));
  }

  QDialog* RunDialogShown() const {
    auto* dialog = bench_.window->findChild<QDialog*>("RunDialog");
    return dialog != nullptr && dialog->isVisible() ? dialog : nullptr;
  }
  bool WaitForRun() {
    return QTest::qWaitFor([this] { return RunDialogShown() != nullptr; }, 20000);
  }
  bool WaitForEnd() {
    return QTest::qWaitFor([this] { return !bench_.program->state.converting; }, 60000);
  }
  bool LedShows(const std::string& text) {
    return bench_.window->panel().title().shown().starts_with(text);
  }
  bool HasFile(const std::string& name) { return FileExists(bench_.folder / ("out/" + name)); }

  ConversionBench bench_{VEXOLO_TEST_BANK, VEXOLO_PROGRAM_FOLDER "/oggenc"};
};

TEST_F(ConversionWindowTest, RecordOpensTheDialogAndItsButtonConverts) {
  bench_.RecordAnd([](QDialog& dialog) {
    EXPECT_TRUE(dialog.isModal());
    EXPECT_EQ(dialog.findChild<QLineEdit*>("TextTitre")->text(), "À la claire fontaine");
    ConversionBench::Click(dialog, "Validation");
  });
  ASSERT_TRUE(WaitForRun());
  ASSERT_TRUE(WaitForEnd());
  EXPECT_TRUE(HasFile("À la claire fontaine.wav"));
  EXPECT_TRUE(HasFile("À la claire fontaine.kok"));
  EXPECT_EQ(RunDialogShown(), nullptr);
  EXPECT_TRUE(QTest::qWaitFor([this] { return LedShows("Chanson convertie"); }, 2000));
  EXPECT_TRUE(QTest::qWaitFor([this] { return LedShows("1/2"); }, 10000));
}

TEST_F(ConversionWindowTest, EscapeInTheDialogConvertsNothing) {
  bool closed = false;
  bench_.RecordAnd([&](QDialog& dialog) {
    QTest::keyClick(&dialog, Qt::Key_Escape);
    closed = !dialog.isVisible();
  });
  ASSERT_TRUE(QTest::qWaitFor([&] { return closed; }, 10000));
  QTest::qWait(100);
  EXPECT_FALSE(FolderExists(bench_.folder / "out"));
  EXPECT_FALSE(bench_.program->state.converting);
}

TEST_F(ConversionWindowTest, WhatWouldDisturbTheRunIsDisabledAndComesBack) {
  UseWholeSong(1);
  bench_.RecordAnd([](QDialog& dialog) { ConversionBench::Click(dialog, "Validation"); });
  ASSERT_TRUE(WaitForRun());
  MainPanelWidget& panel = bench_.window->panel();
  for (const int button : {0, 16, 33, 34, 35, 38, 41}) {
    EXPECT_FALSE(panel.sm(button).isEnabled()) << button;
  }
  EXPECT_FALSE(panel.potard(0).isEnabled());
  EXPECT_FALSE(panel.slider().isEnabled());
  EXPECT_TRUE(bench_.window->isEnabled());
  auto* options = bench_.window->findChild<QDialog*>("OptionsDlg");
  ASSERT_NE(options, nullptr);
  EXPECT_FALSE(options->isEnabled());
  bench_.ClickRecord();  // shows the run again, and nothing else
  EXPECT_EQ(bench_.window->findChild<QDialog*>("Tags"), nullptr);

  ConversionBench::Click(*RunDialogShown(), "Cancel");
  ASSERT_TRUE(WaitForEnd());
  EXPECT_FALSE(HasFile("À la claire fontaine.wav"));
  EXPECT_TRUE(panel.sm(33).isEnabled());
  EXPECT_TRUE(panel.potard(0).isEnabled());
  EXPECT_TRUE(options->isEnabled());
}

TEST_F(ConversionWindowTest, TousConvertsTheListAndSumsUp) {
  bench_.RecordAnd([](QDialog& dialog) {
    dialog.findChild<QRadioButton*>("OptionOgg")->click();
    ConversionBench::Click(dialog, "Tous");
  });
  QDialog* summary = nullptr;
  ASSERT_TRUE(QTest::qWaitFor(
      [&] {
        summary = bench_.window->findChild<QDialog*>("SummaryDialog");
        return summary != nullptr && summary->isVisible();
      },
      60000));
  EXPECT_TRUE(HasFile("À la claire fontaine.ogg"));
  EXPECT_TRUE(HasFile("Au clair de la lune.ogg"));
  EXPECT_THAT(summary->findChild<QPlainTextEdit*>("Text")->toPlainText().toStdString(),
              HasSubstr("2"));
  EXPECT_FALSE(bench_.program->state.converting);
  EXPECT_TRUE(bench_.boxes.shown.empty());
}

TEST_F(ConversionWindowTest, ASummaryMakesRoomForTheNextRun) {
  bench_.program->state.playlist.PlayListSelect(2);
  bench_.RecordAnd([](QDialog& dialog) { ConversionBench::Click(dialog, "Tous"); });
  const auto is_summed_up = [this] {
    const auto* summary = bench_.window->findChild<QDialog*>("SummaryDialog");
    return summary != nullptr && summary->isVisible();
  };
  ASSERT_TRUE(QTest::qWaitFor(is_summed_up, 60000));
  UseWholeSong(2);
  bench_.boxes.answers = {true};
  bench_.RecordAnd([](QDialog& dialog) { ConversionBench::Click(dialog, "Validation"); });
  ASSERT_TRUE(WaitForRun());
  EXPECT_FALSE(is_summed_up());
}

TEST_F(ConversionWindowTest, ClosingTheProgramEndsTheRun) {
  UseWholeSong(1);
  bench_.RecordAnd([](QDialog& dialog) { ConversionBench::Click(dialog, "Validation"); });
  ASSERT_TRUE(WaitForRun());
  bench_.Quit();
  EXPECT_FALSE(HasFile("À la claire fontaine.wav"));
}

TEST_F(ConversionWindowTest, ASongThatPlaysGivesWayToTheRun) {
  bench_.window->Action_PlaySelected(2);
  const bass::HSTREAM played = bench_.program->state.audio.stream;
  ASSERT_NE(played, 0u);
  bench_.RecordAnd([&](QDialog& dialog) {
    EXPECT_EQ(bench_.program->state.audio.stream, played);
    ConversionBench::Click(dialog, "Validation");
  });
  ASSERT_TRUE(WaitForRun());
  EXPECT_NE(bench_.program->state.audio.stream, played);
  ASSERT_TRUE(WaitForEnd());
  EXPECT_TRUE(HasFile("Au clair de la lune.wav"));
  EXPECT_FALSE(bench_.program->state.playing);
}

}  // namespace
}  // namespace vexolo
