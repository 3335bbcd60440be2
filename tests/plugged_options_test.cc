// layer: gui
// Options, about box and system information in the program as a whole.
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "about/about_dialog.h"
#include "about/about_texts.h"
#include "about/system_info_dialog.h"
#include "app/other_window.h"
#include "fakes/fake_registry.h"
#include "fakes/level_listener.h"
#include "fakes/main_window_bench.h"
#include "mixer/options_dialog.h"
#include "mixer/reglage_window.h"
#include "song_builder.h"

namespace vexolo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr int kChangeSF = 41;
constexpr int kSetup = 45;
constexpr int kHelp = 46;

/// The dialog of that kind that is open; null where none is.
template <typename Dialog>
Dialog* Shown() {
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    auto* dialog = dynamic_cast<Dialog*>(widget);
    if (dialog != nullptr && dialog->isVisible()) return dialog;
  }
  return nullptr;
}

template <typename Control>
Control* Find(const QDialog* dialog, const char* name) {
  auto* control = dialog->findChild<Control*>(name);
  EXPECT_NE(control, nullptr) << name;
  return control;
}

void Press(const QDialog* dialog, const char* name) { Find<QPushButton>(dialog, name)->click(); }

struct PluggedOptionsTest : testing::Test, MainWindowBench {
  PluggedOptionsTest() {
    const OtherWindows windows = ProgramWindows();
    others.options = windows.options;
    others.about = windows.about;
  }

  OptionsDlg* OpenOptions(OptionsTab tab = kLanguageTab) {
    Click(kSetup);
    auto* dialog = Shown<OptionsDlg>();
    EXPECT_NE(dialog, nullptr);
    EXPECT_TRUE(QTest::qWaitForWindowExposed(dialog));
    dialog->findChild<QTabWidget*>()->setCurrentIndex(tab);
    return dialog;
  }
  About* ClickOnTheNamePlate() {
    QTest::mouseClick(&window->panel().name_plate(), Qt::LeftButton);
    return Shown<About>();
  }
  /// Runs `actions` while the start of the program waits for a dialog.
  void DuringStart(std::function<void(OptionsDlg*)> actions) {
    QObject::connect(&look_, &QTimer::timeout, &look_, [this, actions = std::move(actions)] {
      auto* dialog = Shown<OptionsDlg>();
      if (dialog == nullptr) return;
      look_.stop();
      EXPECT_TRUE(QTest::qWaitForWindowExposed(dialog));
      actions(dialog);
    });
    look_.start(10);
  }
  std::string InfoText(const OptionsDlg* dialog) {
    return Find<QLabel>(dialog, "BankInfo")->text().toStdString();
  }
  void WaitForTicks() { QTest::qWait(kMainTimerInterval * 6); }

  QTimer look_;
};

// ---- The start

TEST_F(PluggedOptionsTest, TheVeryFirstStartBeginsWithTheChoiceOfALanguage) {
  std::filesystem::remove(folder / "Vexolo.ini");
  Make();
  DuringStart([&](OptionsDlg* dialog) {
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(dialog->findChild<QTabWidget*>()->currentIndex(), kLanguageTab);
    EXPECT_TRUE(Find<QLabel>(dialog, "Welcome")->isVisible());
    EXPECT_FALSE(Find<QPushButton>(dialog, "btnReplace")->isEnabled());
    auto* list = Find<QComboBox>(dialog, "ComboLng");
    QTest::keyClick(list, Qt::Key_Home);
    EXPECT_EQ(list->currentText(), "Deutsch");
    Press(dialog, "Close");
  });
  ASSERT_TRUE(window->Start());
  WaitForBank();
  EXPECT_EQ(Shown<OptionsDlg>(), nullptr);
  EXPECT_EQ(state().language_file, folder / "de.lng");
  EXPECT_EQ(Setting("Vexolo", "Lng"), "de");
  EXPECT_FALSE(state().mix.AutoMute);
  EXPECT_EQ(Button(kHelp).toolTip().toStdString(), "Hilfe (F1)");
}

TEST_F(PluggedOptionsTest, TheSecondStartAsksNothing) {
  ASSERT_TRUE(Start());
  EXPECT_EQ(Shown<OptionsDlg>(), nullptr);
  EXPECT_EQ(Shown<About>(), nullptr);
}

TEST_F(PluggedOptionsTest, AMissingBankIsAskedForInTheOptions) {
  std::filesystem::remove(folder / "Orvanel.SF2");
  const std::string bank = folder.Write("other.sf2", "bank");
  files.answers = {{bank}};
  Make();
  DuringStart([&](OptionsDlg* dialog) {
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(dialog->findChild<QTabWidget*>()->currentIndex(), kSoundFontTab);
    EXPECT_TRUE(Find<QLabel>(dialog, "ChooseBank")->isVisible());
    Press(dialog, "btnReplace");
    WaitForBank();
    WaitForTicks();
    EXPECT_FALSE(Find<QLabel>(dialog, "ChooseBank")->isVisible());
    EXPECT_THAT(InfoText(dialog), HasSubstr("Fake bank"));
    Press(dialog, "Close");
  });
  ASSERT_TRUE(window->Start());
  EXPECT_EQ(state().audio.font_path, bank);
  EXPECT_EQ(Setting("SF2", "Base"), bank);
  EXPECT_EQ(Setting("SF2", "Path"), folder.path());
}

TEST_F(PluggedOptionsTest, ABankThatTheSettingsNameAndThatIsGoneIsAskedForToo) {
  folder.Write("Vexolo.ini", "[Vexolo]\r\nLng=fr\r\n[SF2]\r\nBase=/gone/away.sf2\r\n");
  Make();
  bool asked = false;
  DuringStart([&](OptionsDlg* dialog) {
    asked = true;
    EXPECT_EQ(dialog->findChild<QTabWidget*>()->currentIndex(), kSoundFontTab);
    QTest::keyClick(dialog, Qt::Key_Escape);
  });
  ASSERT_TRUE(window->Start());
  EXPECT_TRUE(asked);
  EXPECT_EQ(state().audio.font, 0u);
}

TEST_F(PluggedOptionsTest, TheAboutBoxOpensAtStartWhereTheUserWantsIt) {
  folder.Write("Vexolo.ini", "[Vexolo]\r\nLng=fr\r\nAboutAtOpen=1\r\n");
  ASSERT_TRUE(Start());
  auto* about = Shown<About>();
  ASSERT_NE(about, nullptr);
  EXPECT_TRUE(Find<QCheckBox>(about, "chkOK")->isChecked());
  Find<QCheckBox>(about, "chkOK")->click();
  Press(about, "cmdOK");
  EXPECT_EQ(Setting("Vexolo", "AboutAtOpen"), "0");
  ASSERT_TRUE(Start());
  EXPECT_EQ(Shown<About>(), nullptr);
}

TEST_F(PluggedOptionsTest, AtStartTheBoxOpensWhenTheSongPlays) {
  folder.Write("Vexolo.ini", "[Vexolo]\r\nLng=fr\r\nAboutAtOpen=1\r\n");
  const std::string song = Song("one.mid");
  ASSERT_TRUE(Start(song));
  EXPECT_EQ(Playing(), song);
  EXPECT_NE(Shown<About>(), nullptr);
}

// ---- Options

TEST_F(PluggedOptionsTest, AnotherLanguageRenewsEveryOpenWindowAtOnce) {
  AddCompanion(Companion::kReverb);
  ASSERT_TRUE(Start());
  window->Action_Reverb();
  auto* companion = dynamic_cast<FakeCompanion*>(window->companion(Companion::kReverb));
  const int before = companion->captions_loaded;
  ASSERT_NE(ClickOnTheNamePlate(), nullptr);
  Press(Shown<About>(), "cmdSysInfo");
  ASSERT_NE(Shown<SystemInfoDialog>(), nullptr);
  OptionsDlg* dialog = OpenOptions();
  auto* list = Find<QComboBox>(dialog, "ComboLng");
  list->setFocus();
  QTest::keyClick(list, Qt::Key_Home);
  EXPECT_EQ(Button(kHelp).toolTip().toStdString(), "Hilfe (F1)");
  EXPECT_GT(companion->captions_loaded, before);
  EXPECT_EQ(dialog->windowTitle(), "Optionen");
  EXPECT_EQ(Shown<About>()->windowTitle(), "Über Vexolo");
  EXPECT_EQ(Shown<SystemInfoDialog>()->windowTitle(), "Systeminformationen");
  EXPECT_EQ(Setting("Vexolo", "Lng"), "de");
}

TEST_F(PluggedOptionsTest, AutomaticMutingIsHeardAtOnce) {
  ASSERT_TRUE(Start(Song("one.mid")));
  ASSERT_NE(Stream(), 0u);
  state().mix.MelodyChannel = 3;
  OptionsDlg* dialog = OpenOptions(kSoundTab);
  auto* box = Find<QCheckBox>(dialog, "chkAutoMute");
  ASSERT_TRUE(box->isChecked());
  box->click();
  EXPECT_EQ(bass.Value(Stream(), 3, bass::MIDI_EVENT_MIXLEVEL), 100u);
  box->click();
  EXPECT_EQ(bass.Value(Stream(), 3, bass::MIDI_EVENT_MIXLEVEL), 0u);
  EXPECT_EQ(Setting("Vexolo", "AutoMute"), "1");
}

TEST_F(PluggedOptionsTest, TheMainTimerBringsTheBanksInformation) {
  bass.font.name = "Grand bank";
  ASSERT_TRUE(Start());
  OptionsDlg* dialog = OpenOptions(kSoundFontTab);
  WaitForTicks();
  EXPECT_THAT(InfoText(dialog), HasSubstr("Grand bank\nSons"));
  dialog->close();
  bass.font.name = "Other bank";
  files.answers = {{folder.Write("other.sf2", "bank")}};
  Click(kChangeSF);
  WaitForBank();
  WaitForTicks();
  EXPECT_THAT(InfoText(OpenOptions(kSoundFontTab)), HasSubstr("Other bank"));
}

TEST_F(PluggedOptionsTest, ReplacingTheBankAsksWithTheFilterAndTheLastFolder) {
  ASSERT_TRUE(Start());
  const std::string bank = folder.Write("other.sf2", "bank");
  files.answers = {{bank}};
  OptionsDlg* dialog = OpenOptions(kSoundFontTab);
  Press(dialog, "btnReplace");
  EXPECT_TRUE(program->bank_loader.loading());
  EXPECT_TRUE(dialog->findChild<QProgressBar*>()->isVisible());
  EXPECT_FALSE(Find<QPushButton>(dialog, "btnReplace")->isEnabled());
  WaitForBank();
  EXPECT_FALSE(dialog->findChild<QProgressBar*>()->isVisible());
  EXPECT_TRUE(Find<QPushButton>(dialog, "btnReplace")->isEnabled());
  ASSERT_EQ(files.asked.size(), 1u);
  EXPECT_EQ(files.asked[0].title, "Choisir une SoundFont");
  EXPECT_THAT(files.asked[0].filter, HasSubstr("*.sf2"));
  EXPECT_EQ(files.asked[0].folder, folder.path());
  EXPECT_EQ(Setting("SF2", "Base"), bank);
}

TEST_F(PluggedOptionsTest, WithoutAnAnswerTheBankStays) {
  ASSERT_TRUE(Start());
  const bass::HSOUNDFONT font = state().audio.font;
  Press(OpenOptions(kSoundFontTab), "btnReplace");
  EXPECT_FALSE(program->bank_loader.loading());
  EXPECT_EQ(state().audio.font, font);
}

TEST_F(PluggedOptionsTest, APathThatTheSettingsCannotKeepIsRefused) {
  ASSERT_TRUE(Start());
  files.answers = {{"/" + std::string(150, 'x') + ".sf2"}};
  Press(OpenOptions(kSoundFontTab), "btnReplace");
  EXPECT_FALSE(program->bank_loader.loading());
  ASSERT_EQ(boxes.shown.size(), 1u);
  EXPECT_THAT(boxes.shown[0].text, HasSubstr("128"));
}

TEST_F(PluggedOptionsTest, ABankThatCannotBeOpenedLeavesTheOldOne) {
  ASSERT_TRUE(Start());
  const bass::HSOUNDFONT font = state().audio.font;
  const std::string base = Setting("SF2", "Base");
  bass.Fail("BASS_MIDI_FontInit", bass::BASS_ERROR_FILEFORM);
  files.answers = {{folder.Write("broken.sf2", "x")}};
  OptionsDlg* dialog = OpenOptions(kSoundFontTab);
  Press(dialog, "btnReplace");
  WaitForBank();
  EXPECT_EQ(state().audio.font, font);
  EXPECT_EQ(Setting("SF2", "Base"), base);
  EXPECT_TRUE(boxes.shown.empty());
  EXPECT_TRUE(Find<QPushButton>(dialog, "btnReplace")->isEnabled());
}

TEST_F(PluggedOptionsTest, ABankReplacedWhileASongPlaysReachesTheStreamAndTheNames) {
  bass.fonts_by_path[folder / "other.sf2"].presets[{0, 0}] = "Other piano";
  ASSERT_TRUE(Start(Song("one.mid")));
  const bass::HSTREAM stream = Stream();
  files.answers = {{folder.Write("other.sf2", "bank")}};
  Press(OpenOptions(kSoundFontTab), "btnReplace");
  WaitForBank();
  EXPECT_EQ(Stream(), stream);
  ASSERT_EQ(bass.stream(stream).fonts.size(), 1u);
  EXPECT_EQ(bass.stream(stream).fonts[0].font, state().audio.font);
  EXPECT_EQ(state().audio.presets.At(0, 0), "Other piano");
}

TEST_F(PluggedOptionsTest, WhereSoundGoesIsSaid) {
  ASSERT_TRUE(Start());
  library.is_silent = true;
  EXPECT_THAT(Find<QLabel>(OpenOptions(kSoundTab), "SoundOutput")->text().toStdString(),
              HasSubstr("non disponible"));
}

// ---- About

TEST_F(PluggedOptionsTest, TheNamePlateAndTheOptionsOpenTheSameBox) {
  ASSERT_TRUE(Start());
  About* about = ClickOnTheNamePlate();
  ASSERT_NE(about, nullptr);
  Press(about, "cmdOK");
  EXPECT_EQ(Shown<About>(), nullptr);
  Press(OpenOptions(kAboutTab), "About");
  EXPECT_EQ(Shown<About>(), about);
}

TEST_F(PluggedOptionsTest, WithoutARegistryTheFactsAreShown) {
  ASSERT_TRUE(Start());
  Press(ClickOnTheNamePlate(), "cmdSysInfo");
  auto* dialog = Shown<SystemInfoDialog>();
  ASSERT_NE(dialog, nullptr);
  Press(dialog, "Copy");
  const std::string copied = QApplication::clipboard()->text().toStdString();
  EXPECT_THAT(copied, HasSubstr(state().audio.font_path));
  EXPECT_THAT(copied, HasSubstr("2.4.15.0"));
  EXPECT_THAT(copied, HasSubstr(ToolkitVersion()));
  EXPECT_TRUE(boxes.shown.empty());
}

TEST_F(PluggedOptionsTest, WithARegistryItsToolIsStarted) {
  FakeRegistry fake;
  std::vector<std::string> started;
  fake.values[{"SOFTWARE\\Microsoft\\Shared Tools\\MSINFO", "PATH"}] = "C:\\info.exe";
  registry = &fake;
  start_program = [&](const std::string& path) {
    started.push_back(path);
    return true;
  };
  ASSERT_TRUE(Start());
  Press(ClickOnTheNamePlate(), "cmdSysInfo");
  EXPECT_THAT(started, ElementsAre("C:\\info.exe"));
  EXPECT_EQ(Shown<SystemInfoDialog>(), nullptr);
  fake.values.clear();
  Press(Shown<About>(), "cmdSysInfo");
  EXPECT_EQ(started.size(), 1u);
  ASSERT_EQ(boxes.shown.size(), 1u);
  EXPECT_EQ(boxes.shown[0].text, "Les informations système ne sont pas disponibles actuellement");
  Quit();
}

TEST_F(PluggedOptionsTest, AboveTheChoiceOfABankTheBoxCanBeUsed) {
  std::filesystem::remove(folder / "Orvanel.SF2");
  Make();
  DuringStart([&](OptionsDlg* dialog) {
    dialog->findChild<QTabWidget*>()->setCurrentIndex(kAboutTab);
    Press(dialog, "About");
    auto* about = Shown<About>();
    ASSERT_NE(about, nullptr);
    EXPECT_EQ(QApplication::activeModalWidget(), about);
    Press(about, "cmdSysInfo");
    EXPECT_EQ(QApplication::activeModalWidget(), Shown<SystemInfoDialog>());
    Press(Shown<SystemInfoDialog>(), "Close");
    Press(about, "cmdOK");
    EXPECT_EQ(QApplication::activeModalWidget(), dialog);
    dialog->reject();
  });
  ASSERT_TRUE(window->Start());
}

TEST_F(PluggedOptionsTest, TheDialogsGoWithTheProgram) {
  ASSERT_TRUE(Start());
  OpenOptions();
  About* about = ClickOnTheNamePlate();
  Find<QCheckBox>(about, "chkOK")->setChecked(true);
  Press(about, "cmdSysInfo");
  Quit();
  EXPECT_EQ(Shown<OptionsDlg>(), nullptr);
  EXPECT_EQ(Shown<About>(), nullptr);
  EXPECT_EQ(Shown<SystemInfoDialog>(), nullptr);
  EXPECT_THAT(folder.Read("Vexolo.ini"), HasSubstr("AboutAtOpen=1"));
}

TEST_F(PluggedOptionsTest, OpenedAndClosedManyTimes) {
  ASSERT_TRUE(Start());
  for (int i = 0; i < 50; ++i) {
    Click(kSetup);
    Shown<OptionsDlg>()->close();
    Press(ClickOnTheNamePlate(), "cmdSysInfo");
    Shown<SystemInfoDialog>()->close();
    Shown<About>()->close();
    if (i % 10 < 9) continue;
    ASSERT_TRUE(Start());
  }
  EXPECT_TRUE(boxes.shown.empty());
}

TEST_F(PluggedOptionsTest, TheBanksInformationIsToldByTheMainWindowToo) {
  folder.Write("Orvanel.SF2", engine::SmallBank().Bytes());
  ASSERT_TRUE(Start());
  Click(kChangeSF, Qt::RightButton);
  EXPECT_TRUE(files.asked.empty());
  ASSERT_EQ(boxes.shown.size(), 2u);
  EXPECT_THAT(boxes.shown[0].text, testing::StartsWith("font_="));
  EXPECT_EQ(boxes.shown[1].text, "EMU8000\nVersion 2.1");
}

// ---- The bank, on the real engine

struct BankInTheProgram : testing::Test, MainWindowBench {
  BankInTheProgram() {
    real_library = AudioLibrary::OpenEngine();
    others = ProgramWindows();
    folder.Write("Orvanel.SF2", NamedToneBank('A', 0.5));
    folder.Write(
        "song.mid",
        engine::testing::SongBuilder().Control(0, 0, 91, 0).Press(0, 0, 60, 100).End(9600).Song());
  }
};

TEST_F(BankInTheProgram, ReplacedWhileASongPlaysItSoundsAtOnceAndItsNamesAreShown) {
  using Clock = std::chrono::steady_clock;
  const auto milliseconds = [](Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
  };
  LevelListener listener;
  ASSERT_TRUE(Start(folder / "song.mid"));
  const bass::HSTREAM stream = Stream();
  ASSERT_TRUE(listener.Attach(program->api, stream));
  window->Action_Reglage();
  auto& reglage = dynamic_cast<Reglage&>(*window->companion(Companion::kReglage));
  EXPECT_THAT(reglage.name_button(0).text().toStdString(), HasSubstr("Aone0"));
  ASSERT_TRUE(QTest::qWaitFor([&] { return listener.blocks().size() >= 50; }));
  const double loud = listener.blocks()[40].level;

  // A heartbeat of the window thread, which must not be held up while the bank is loaded.
  Clock::time_point last_beat = Clock::now();
  double longest_beat = 0;
  QTimer heart;
  QObject::connect(&heart, &QTimer::timeout, [&] {
    longest_beat = std::max(longest_beat, milliseconds(Clock::now() - last_beat));
    last_beat = Clock::now();
  });
  heart.start(2);

  files.answers = {{folder.Write("other.sf2", NamedToneBank('B', 0.15))}};
  Click(kSetup);
  Press(Shown<OptionsDlg>(), "btnReplace");
  ASSERT_TRUE(QTest::qWaitFor([&] { return !program->bank_loader.loading(); }));
  const Clock::time_point adopted = Clock::now();
  const std::size_t then = listener.blocks().size();
  EXPECT_THAT(reglage.name_button(0).text().toStdString(), HasSubstr("Bone0"));
  ASSERT_TRUE(QTest::qWaitFor([&] { return listener.blocks().size() >= then + 60; }));
  const auto blocks = listener.blocks();
  const std::size_t changed = SofterFrom(blocks, then + 60, 0.6 * loud);
  const double delay = milliseconds(blocks[changed].mixed - adopted);
  const double gap = LongestGap(blocks, 20, then + 60, 0.06 * loud);
  RecordProperty("delay_ms", std::to_string(delay));
  RecordProperty("gap_ms", std::to_string(gap));
  RecordProperty("longest_beat_ms", std::to_string(longest_beat));
  EXPECT_LT(changed, then + 60) << "it never sounded like the other bank";
  EXPECT_LT(delay, 200);
  EXPECT_LE(gap, 50);
  EXPECT_EQ(Stream(), stream);
  EXPECT_TRUE(state().playing);
  Quit();
}

}  // namespace
}  // namespace vexolo
