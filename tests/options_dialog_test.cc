// layer: gui
#include "mixer/options_dialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <cstdlib>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/cut_texts.h"
#include "fakes/fake_bass.h"
#include "fakes/fake_file_dialogs.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "small_bank.h"
#include "widgets/skin.h"

namespace vexolo {
namespace {

namespace fs = std::filesystem;
using Box = FakeMessageBoxes::Box;

class OptionsDlgTest : public ::testing::Test {
 protected:
  /// The program's own language files, German first among them.
  void AddLanguages() {
    const fs::path languages = fs::path(VEXOLO_SOURCES) / "src/resources/languages";
    for (const auto& entry : fs::directory_iterator(languages)) {
      if (entry.path().extension() == ".lng") {
        fs::copy_file(entry, fs::path(folder_.path()) / entry.path().filename());
      }
    }
    fs::copy_file(languages / "fr.lng", folder_ / "vexolo.dll");
  }
  void SetUp() override {
    AddLanguages();
    ini_.WriteIni("Vexolo", "Lng", "fr");
  }

  OptionsSubjects Subjects() { return {folder_.path(), language_file_, mix_, audio_, bass_.api()}; }
  OptionsActions Actions() {
    return {[this] { ++switched_; }, [this] { ++auto_muted_; }, [this] { ++replaced_; },
            [this] { ++about_; }};
  }
  std::unique_ptr<OptionsDlg> Make() {
    return std::make_unique<OptionsDlg>(context_, Subjects(), Actions());
  }
  std::unique_ptr<OptionsDlg> Show(OptionsTab tab) {
    auto dialog = Make();
    dialog->Open(tab);
    EXPECT_TRUE(QTest::qWaitForWindowExposed(dialog.get()));
    return dialog;
  }
  template <typename Control>
  static Control* Find(const QDialog& dialog, const char* name) {
    auto* control = dialog.findChild<Control*>(name);
    EXPECT_NE(control, nullptr) << name;
    return control;
  }
  static void Click(const QDialog& dialog, const char* name) {
    QTest::mouseClick(Find<QWidget>(dialog, name), Qt::LeftButton);
  }
  /// As a user does: opens the list, goes to the entry and takes it.
  static void Choose(const QDialog& dialog, int index) {
    auto* list = Find<QComboBox>(dialog, "ComboLng");
    list->setFocus();
    const int steps = index - list->currentIndex();
    for (int i = 0; i < std::abs(steps); ++i) {
      QTest::keyClick(list, steps > 0 ? Qt::Key_Down : Qt::Key_Up);
    }
  }
  /// Runs `actions` once the dialog, shown modally, has been exposed.
  template <typename Actions>
  static void WhenShown(OptionsDlg& dialog, Actions actions) {
    QTimer::singleShot(0, &dialog, [&dialog, actions] {
      EXPECT_TRUE(QTest::qWaitForWindowExposed(&dialog));
      EXPECT_TRUE(dialog.isModal());
      actions();
    });
  }
  std::string Stored(const char* key) { return ini_.ReadIni("Vexolo", key); }

  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  FakeFileDialogs files_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  Skin skin_;
  std::string language_file_ = folder_ / "fr.lng";
  std::atomic<bool> quitting_{false};
  WindowContext context_{ini_, skin_, boxes_, files_, language_file_, quitting_};
  FakeBass bass_;
  AudioState audio_;
  MixState mix_;
  int switched_ = 0;
  int auto_muted_ = 0;
  int replaced_ = 0;
  int about_ = 0;
};

TEST_F(OptionsDlgTest, CaptionsComeFromTheLanguageFile) {
  const auto dialog = Make();
  EXPECT_EQ(dialog->windowTitle(), "Options");
  const auto* tabs = dialog->findChild<QTabWidget*>();
  ASSERT_EQ(tabs->count(), kOptionsTabs);
  EXPECT_EQ(tabs->tabText(kLanguageTab), "Langue");
  EXPECT_EQ(tabs->tabText(kSoundTab), "Son");
  EXPECT_EQ(tabs->tabText(kSoundFontTab), "SoundFont");
  EXPECT_EQ(tabs->tabText(kAboutTab), "À propos");
  EXPECT_EQ(Find<QPushButton>(*dialog, "SfInfo")->text(), "&Informations…");
  EXPECT_EQ(Find<QPushButton>(*dialog, "btnReplace")->text(), "&Remplacer…");
  EXPECT_EQ(Find<QCheckBox>(*dialog, "chkAutoMute")->text(), "Couper &automatiquement la mélodie");
}

TEST_F(OptionsDlgTest, TheLanguagesAreListedAndTheOneInUseIsSelected) {
  const auto dialog = Make();
  const auto* list = Find<QComboBox>(*dialog, "ComboLng");
  ASSERT_EQ(list->count(), 4);
  EXPECT_EQ(list->itemText(0), "Deutsch");
  EXPECT_EQ(list->currentText(), "Français");
}

TEST_F(OptionsDlgTest, ChoosingALanguageChangesTheWindowsAtOnce) {
  const auto dialog = Show(kLanguageTab);
  Choose(*dialog, 2);
  EXPECT_EQ(language_file_, folder_ / "es.lng");
  EXPECT_EQ(Stored("Lng"), "es");
  EXPECT_EQ(dialog->findChild<QTabWidget*>()->tabText(kLanguageTab), "Idioma");
  EXPECT_EQ(switched_, 1);
  EXPECT_TRUE(dialog->isVisible());
}

TEST_F(OptionsDlgTest, AFolderWithoutLanguageFilesLeavesTheListEmpty) {
  for (const char* file : {"de.lng", "en.lng", "es.lng", "fr.lng"}) fs::remove(folder_ / file);
  const std::string settings = folder_.Read("Vexolo.ini");
  const auto dialog = Show(kLanguageTab);
  auto* list = Find<QComboBox>(*dialog, "ComboLng");
  EXPECT_EQ(list->count(), 0);
  QTest::keyClick(list, Qt::Key_Down);
  QTest::mouseClick(list, Qt::LeftButton);
  Click(*dialog, "Close");
  EXPECT_EQ(switched_, 0);
  EXPECT_EQ(language_file_, folder_ / "fr.lng");
  EXPECT_EQ(folder_.Read("Vexolo.ini"), settings);
}

TEST_F(OptionsDlgTest, AtMost101LanguagesAreListed) {
  for (int i = 0; i < 120; ++i) {
    folder_.Write(std::to_string(1000 + i) + ".lng", "[VEXOLO]\r\nLng=x\r\n");
  }
  EXPECT_EQ(Find<QComboBox>(*Make(), "ComboLng")->count(), 101);
}

TEST_F(OptionsDlgTest, AutomaticMutingIsSwitchedAndKept) {
  mix_.AutoMute = true;
  const auto dialog = Show(kSoundTab);
  auto* box = Find<QCheckBox>(*dialog, "chkAutoMute");
  EXPECT_TRUE(box->isChecked());
  QTest::keyClick(box, Qt::Key_Space);
  EXPECT_FALSE(mix_.AutoMute);
  EXPECT_EQ(Stored("AutoMute"), "0");
  QTest::keyClick(box, Qt::Key_Space);
  EXPECT_TRUE(mix_.AutoMute);
  EXPECT_EQ(Stored("AutoMute"), "1");
  EXPECT_EQ(auto_muted_, 2);
}

TEST_F(OptionsDlgTest, ShowingTheOptionWritesNothing) {
  const auto dialog = Show(kSoundTab);
  EXPECT_FALSE(Find<QCheckBox>(*dialog, "chkAutoMute")->isChecked());
  mix_.AutoMute = true;
  dialog->Form_Load();
  EXPECT_TRUE(Find<QCheckBox>(*dialog, "chkAutoMute")->isChecked());
  EXPECT_EQ(Stored("AutoMute"), "");
  EXPECT_EQ(auto_muted_, 0);
}

TEST_F(OptionsDlgTest, ReplacingIsLeftToTheProgram) {
  const auto dialog = Show(kSoundFontTab);
  Click(*dialog, "btnReplace");
  EXPECT_EQ(replaced_, 1);
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(OptionsDlgTest, WhileABankIsLoadedNoOtherIsAskedFor) {
  const auto dialog = Show(kSoundFontTab);
  dialog->SetBankLoading(true, "Chargement");
  Click(*dialog, "btnReplace");
  EXPECT_EQ(replaced_, 0);
  EXPECT_TRUE(Find<QLabel>(*dialog, "BankNotice")->isVisible());
  EXPECT_EQ(Find<QLabel>(*dialog, "BankNotice")->text(), "Chargement");
  EXPECT_TRUE(dialog->findChild<QProgressBar*>()->isVisible());
  dialog->SetBankLoading(false, "");
  EXPECT_FALSE(Find<QLabel>(*dialog, "BankNotice")->isVisible());
  Click(*dialog, "btnReplace");
  EXPECT_EQ(replaced_, 1);
}

TEST_F(OptionsDlgTest, WithoutAFunctionAButtonCannotBePressed) {
  OptionsDlg dialog(context_, Subjects(), {});
  EXPECT_FALSE(Find<QPushButton>(dialog, "btnReplace")->isEnabled());
  EXPECT_FALSE(Find<QPushButton>(dialog, "About")->isEnabled());
  dialog.Open(kLanguageTab);
  Choose(dialog, 0);
  EXPECT_EQ(Stored("Lng"), "de");
}

TEST_F(OptionsDlgTest, InformationsOfTheBank) {
  audio_.font = bass_.AddFont({});
  audio_.font_path = folder_.Write("small.sf2", engine::SmallBank().Bytes());
  const auto dialog = Show(kSoundFontTab);
  EXPECT_EQ(Find<QLabel>(*dialog, "SfVersion")->text(), "Version de la SoundFont\u00a0: 2.1");
  Click(*dialog, "SfInfo");
  EXPECT_EQ(boxes_.shown,
            (std::vector<Box>{{"font_=101\n", "SoundFont utilisée", BoxIcon::kInformation},
                              {"EMU8000\nVersion 2.1", "SoundFont utilisée", BoxIcon::kNone}}));
}

TEST_F(OptionsDlgTest, InformationsOfABankWithoutEngine) {
  engine::SmallBank bank;
  bank.info.erase(bank.info.begin() + 1);
  audio_.font_path = folder_.Write("small.sf2", bank.Bytes());
  Click(*Show(kSoundFontTab), "SfInfo");
  ASSERT_EQ(boxes_.shown.size(), 2u);
  EXPECT_EQ(boxes_.shown[1].text, "No isng chunk found!");
  EXPECT_EQ(boxes_.shown[1].icon, BoxIcon::kCritical);
}

TEST_F(OptionsDlgTest, InformationsOfAWaveFile) {
  audio_.font_path = folder_.Write("song.wav", engine::Chunk("RIFF", "WAVE"));
  const auto dialog = Show(kSoundFontTab);
  EXPECT_FALSE(Find<QLabel>(*dialog, "SfVersion")->isVisible());
  Click(*dialog, "SfInfo");
  ASSERT_EQ(boxes_.shown.size(), 2u);
  EXPECT_EQ(boxes_.shown[1].text, "No soundfont bank found!");
  EXPECT_EQ(boxes_.shown[1].icon, BoxIcon::kCritical);
}

TEST_F(OptionsDlgTest, WhatIsToldOfTheBankFollowsTheBank) {
  const auto dialog = Show(kSoundFontTab);
  EXPECT_TRUE(Find<QLabel>(*dialog, "ChooseBank")->isVisible());
  EXPECT_FALSE(Find<QLabel>(*dialog, "SfVersion")->isVisible());
  audio_.font = bass_.AddFont({});
  audio_.font_path = folder_.Write("small.sf2", engine::SmallBank().Bytes());
  dialog->SetBankInfo("Small <b>\nSons : 1");
  EXPECT_EQ(Find<QLabel>(*dialog, "BankInfo")->text(), "Small <b>\nSons : 1");
  EXPECT_FALSE(Find<QLabel>(*dialog, "ChooseBank")->isVisible());
  EXPECT_TRUE(Find<QLabel>(*dialog, "SfVersion")->isVisible());
}

TEST_F(OptionsDlgTest, TheSoundOutputIsNamedWhereItIsKnown) {
  const auto dialog = Show(kSoundTab);
  EXPECT_FALSE(Find<QLabel>(*dialog, "SoundOutput")->isVisible());
  dialog->SetSoundOutput("default (ALSA)");
  EXPECT_TRUE(Find<QLabel>(*dialog, "SoundOutput")->isVisible());
  EXPECT_EQ(Find<QLabel>(*dialog, "SoundOutput")->text(), "Sortie audio\u00a0: default (ALSA)");
}

TEST_F(OptionsDlgTest, TheAboutBoxIsOpenedFromItsTab) {
  const auto dialog = Show(kAboutTab);
  EXPECT_TRUE(Find<QLabel>(*dialog, "Program")->text().startsWith("Version "));
  Click(*dialog, "About");
  EXPECT_EQ(about_, 1);
}

TEST_F(OptionsDlgTest, TheFirstStartAsksForALanguage) {
  fs::remove(folder_ / "Vexolo.ini");
  language_file_ = folder_ / "vexolo.dll";
  OptionsDlg dialog(context_, Subjects(), {});
  WhenShown(dialog, [&] {
    EXPECT_EQ(dialog.findChild<QTabWidget*>()->currentIndex(), kLanguageTab);
    EXPECT_TRUE(Find<QLabel>(dialog, "Welcome")->isVisible());
    EXPECT_EQ(Find<QComboBox>(dialog, "ComboLng")->currentText(), "Français");
    Choose(dialog, 1);
    EXPECT_EQ(dialog.findChild<QTabWidget*>()->tabText(kLanguageTab), "Language");
    Click(dialog, "Close");
  });
  dialog.RunFirstStart();
  EXPECT_EQ(Stored("Lng"), "en");
  EXPECT_EQ(language_file_, folder_ / "en.lng");
}

TEST_F(OptionsDlgTest, OnTheFirstStartTheButtonTakesTheLanguageThatIsSelected) {
  fs::remove(folder_ / "Vexolo.ini");
  language_file_ = folder_ / "vexolo.dll";
  OptionsDlg dialog(context_, Subjects(), {});
  WhenShown(dialog, [&] { QTest::keyClick(&dialog, Qt::Key_Return); });
  dialog.RunFirstStart();
  EXPECT_EQ(Stored("Lng"), "fr");
  EXPECT_EQ(language_file_, folder_ / "fr.lng");
}

TEST_F(OptionsDlgTest, OnTheFirstStartEscapeChoosesNothing) {
  fs::remove(folder_ / "Vexolo.ini");
  language_file_ = folder_ / "vexolo.dll";
  OptionsDlg dialog(context_, Subjects(), {});
  WhenShown(dialog, [&] { QTest::keyClick(&dialog, Qt::Key_Escape); });
  dialog.RunFirstStart();
  EXPECT_EQ(language_file_, folder_ / "vexolo.dll");
  EXPECT_FALSE(fs::exists(folder_ / "Vexolo.ini"));
}

TEST_F(OptionsDlgTest, AtAnyOtherTimeClosingKeepsTheLanguage) {
  ini_.WriteIni("Vexolo", "Lng", "xx");  // French stood in for a file that is missing
  const auto dialog = Show(kLanguageTab);
  EXPECT_FALSE(Find<QLabel>(*dialog, "Welcome")->isVisible());
  Click(*dialog, "Close");
  EXPECT_FALSE(dialog->isVisible());
  EXPECT_EQ(Stored("Lng"), "xx");
}

TEST_F(OptionsDlgTest, WithoutABankTheChoiceOfOneIsOpened) {
  const auto dialog = Make();
  WhenShown(*dialog, [&] {
    EXPECT_EQ(dialog->findChild<QTabWidget*>()->currentIndex(), kSoundFontTab);
    EXPECT_TRUE(Find<QLabel>(*dialog, "ChooseBank")->isVisible());
    EXPECT_TRUE(Find<QPushButton>(*dialog, "btnReplace")->hasFocus());
    Click(*dialog, "btnReplace");
    Click(*dialog, "Close");
  });
  dialog->RunBankChoice();
  EXPECT_EQ(replaced_, 1);
}

TEST_F(OptionsDlgTest, EveryControlHasANameAndATooltip) {
  EXPECT_THAT(UnnamedControls(*Make()), ::testing::IsEmpty());
}

constexpr const char* kTabNames[] = {"language", "sound", "soundfont", "about"};

/// With VEXOLO_SHOTS set, what is looked at is also kept there as pictures.
void Keep(QWidget& window, const std::string& name) {
  if (const char* folder = std::getenv("VEXOLO_SHOTS")) {
    window.grab().save(QString::fromStdString(std::string(folder) + "/" + name + ".png"));
  }
}

TEST_F(OptionsDlgTest, NoTextIsCutInAnyLanguage) {
  audio_.font = bass_.AddFont({});
  audio_.font_path = folder_.Write("small.sf2", engine::SmallBank().Bytes());
  mix_.AutoMute = true;
  for (const std::string code : {"fr", "en", "de", "es"}) {
    language_file_ = folder_ / (code + ".lng");
    for (int tab = 0; tab < kOptionsTabs; ++tab) {
      const auto dialog = Show(static_cast<OptionsTab>(tab));
      dialog->SetSoundOutput("Built-in Audio Analog Stereo (Pulse)");
      dialog->SetBankInfo(
          context_.Section("Main").Message("SF2LoadInfo", {"Fluid R3 GM", "189", "141,4"}));
      QTest::qWait(20);
      EXPECT_THAT(CutTexts(*dialog), ::testing::IsEmpty()) << code << " " << tab;
      Keep(*dialog, std::string("options-") + kTabNames[tab] + "-" + code);
    }
  }
}

TEST_F(OptionsDlgTest, NoTextIsCutOnTheFirstStart) {
  for (const std::string code : {"fr", "en", "de", "es"}) {
    language_file_ = folder_ / (code + ".lng");
    OptionsDlg dialog(context_, Subjects(), {});
    WhenShown(dialog, [&] {
      QTest::qWait(20);
      EXPECT_THAT(CutTexts(dialog), ::testing::IsEmpty()) << code;
      Keep(dialog, "options-first-start-" + code);
      dialog.reject();
    });
    dialog.RunFirstStart();
  }
}

}  // namespace
}  // namespace vexolo
