// layer: gui
#include "app/main_window.h"

#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QScreen>
#include <QToolTip>
#include <QUrl>
#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/main_window_bench.h"
#include "mixer/channel_strips.h"

namespace vexolo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr int kPrev = 32;
constexpr int kPlay = 33;
constexpr int kStop = 34;
constexpr int kNext = 35;
constexpr int kRecord = 36;
constexpr int kPunch = 38;
constexpr int kPunchIn = 39;
constexpr int kPunchOut = 40;
constexpr int kChangeSF = 41;
constexpr int kRepeat = 42;
constexpr int kSetup = 45;
constexpr int kHelp = 46;

std::string Quoted(const std::string& path) { return std::string("\"").append(path).append("\""); }

struct MainWindow : testing::Test, MainWindowBench {
  /// Of section "Main" of the French language file.
  std::string Text(const char* key, const std::vector<std::string>& values = {}) {
    return window->context().Section("Main").Message(key, values);
  }
  std::string Tip(int button) { return Button(button).toolTip().toStdString(); }
  void Tick() { QTest::qWait(kMainTimerInterval * 3 / 2); }
};

// ---- Start

TEST_F(MainWindow, WithoutASongItIsShownAndDoesNotPlay) {
  ASSERT_TRUE(Start());
  EXPECT_TRUE(window->isVisible());
  EXPECT_EQ("Vexolo", window->windowTitle());
  EXPECT_EQ(0u, Stream());
  EXPECT_FALSE(state().playing);
  EXPECT_EQ(0, state().playlist.current());
  Tick();
  EXPECT_EQ("Aucune chanson", window->panel().title().shown().substr(0, 14));
}

TEST_F(MainWindow, OfSeveralSongsTheLastOnePlays) {
  const std::string one = Song("one.mid");
  const std::string two = Song("two and a half.kar");
  ASSERT_TRUE(Start(Quoted(one) + " " + Quoted(two)));
  EXPECT_THAT(state().playlist.paths(), ElementsAre(one, two));
  EXPECT_EQ(2, state().playlist.current());
  EXPECT_EQ(two, Playing());
  EXPECT_TRUE(state().playing);
  EXPECT_EQ("two and a half – Vexolo", window->windowTitle().toStdString());
}

TEST_F(MainWindow, TwoPathsWithoutQuotesAreTwoSongs) {
  const std::string one = Song("one.mid");
  const std::string two = Song("two.mid");
  ASSERT_TRUE(Start(one + " " + two));
  EXPECT_EQ(2, state().playlist.count());
  EXPECT_EQ(two, Playing());
}

TEST_F(MainWindow, AQuotedPathBeforeAnUnquotedOneCannotBeOpened) {
  bass.Fail("BASS_MIDI_StreamCreateFile", bass::BASS_ERROR_FILEOPEN);
  ASSERT_TRUE(Start(Quoted(Song("one.mid")) + " " + Song("two.mid")));
  EXPECT_EQ(1, state().playlist.count());
  EXPECT_EQ(0u, Stream());
  ASSERT_EQ(1u, boxes.shown.size());
  EXPECT_THAT(boxes.shown[0].text, StartsWith(Text("MidiReadError", {state().playlist.Path(1)})));
}

TEST_F(MainWindow, AnotherVersionOfTheLibraryEndsTheProgram) {
  bass.version = 0x02050000;
  EXPECT_FALSE(Start());
  EXPECT_EQ("La DLL Bass est en 2050000 alors que nous attendions la 204", boxes.shown.at(0).text);
  window->ShutDown();
  EXPECT_FALSE(window->isVisible());
}

TEST_F(MainWindow, TheFirstStartAsksForALanguageAndTakesIt) {
  folder.Write("Vexolo.ini", "");
  bool asked = false;
  others.options = [&](frmMidiTest&) {
    PluggedOptions options;
    options.run_first_start = [&] {
      asked = true;
      EXPECT_FALSE(window->isVisible());
      program->state.language_file = folder / "de.lng";
    };
    return options;
  };
  ASSERT_TRUE(Start());
  EXPECT_TRUE(asked);
  EXPECT_EQ("Hilfe (F1)", Button(kHelp).toolTip().toStdString());
}

TEST_F(MainWindow, AMissingBankIsAskedForWithTheFileDialogWhereThereIsNoOptionsDialog) {
  std::filesystem::remove(folder / "Orvanel.SF2");
  const std::string bank = folder.Write("other.sf2", "bank");
  files.answers = {{bank}};
  ASSERT_TRUE(Start());
  EXPECT_EQ(bank, state().audio.font_path);
  EXPECT_EQ(bank, Setting("SF2", "Base"));
}

// ---- Place

TEST_F(MainWindow, OpensWhereItWas) {
  folder.Write("Vexolo.ini", "[Vexolo]\r\nLng=fr\r\n[Main]\r\nX=1500\r\nY=750\r\n");
  ASSERT_TRUE(Start());
  EXPECT_EQ(QPoint(100, 50), window->pos());
}

TEST_F(MainWindow, APlaceBeyondTheScreenIsIgnored) {
  const QRect area = QGuiApplication::primaryScreen()->geometry();
  folder.Write("Vexolo.ini", "[Vexolo]\r\nLng=fr\r\n[Main]\r\nX=" +
                                 std::to_string(area.width() * 15) + "\r\nY=0\r\n");
  ASSERT_TRUE(Start());
  EXPECT_EQ((area.width() - window->width()) / 2, window->pos().x());
  EXPECT_EQ((area.height() - window->height()) / 2, window->pos().y());
}

TEST_F(MainWindow, KeepsItsPlaceWhenItIsMovedAndWhenItIsClosed) {
  ASSERT_TRUE(Start());
  window->move(30, 40);
  EXPECT_TRUE(QTest::qWaitFor([&] { return Setting("Main", "X") == "450"; }));
  EXPECT_EQ("600", Setting("Main", "Y"));
  window->move(50, 60);
  window->close();
  EXPECT_EQ("750", Setting("Main", "X"));
  EXPECT_EQ("900", Setting("Main", "Y"));
}

// ---- Companion windows

constexpr Companion kAll[] = {Companion::kReglage, Companion::kReverb, Companion::kLyrics,
                              Companion::kPlayList};

TEST_F(MainWindow, EachButtonShowsAndHidesItsWindow) {
  for (const Companion companion : kAll) AddCompanion(companion);
  ASSERT_TRUE(Start());
  for (const CompanionInfo& info : kCompanions) {
    QWidget* other = window->companion(info.companion);
    Click(info.button);
    EXPECT_TRUE(other->isVisible());
    EXPECT_EQ(1, Button(info.button).state());
    EXPECT_EQ("1", Setting(info.show_section, "Show"));
    Click(info.button);
    EXPECT_FALSE(other->isVisible());
    EXPECT_EQ(0, Button(info.button).state());
    EXPECT_EQ("0", Setting(info.show_section, "Show"));
    Click(info.button);
    other->close();  // by its own close box
    EXPECT_EQ(0, Button(info.button).state());
    EXPECT_EQ("0", Setting(info.show_section, "Show"));
  }
}

TEST_F(MainWindow, AWindowThatIsOpenedForTheFirstTimeIsOnTheScreenAndCoversNoOther) {
  AddCompanion(Companion::kReglage);
  AddCompanion(Companion::kLyrics);
  ASSERT_TRUE(Start());
  const QRect screen = window->screen()->availableGeometry();
  window->move(screen.topLeft());
  Click(InfoOf(Companion::kReglage).button);
  Click(InfoOf(Companion::kLyrics).button);
  const QRect main = window->frameGeometry();
  const QRect channels = window->companion(Companion::kReglage)->frameGeometry();
  const QRect lyrics = window->companion(Companion::kLyrics)->frameGeometry();
  for (const QRect& place : {channels, lyrics}) {
    EXPECT_TRUE(screen.contains(place));
    EXPECT_FALSE(main.intersects(place));
  }
  EXPECT_FALSE(channels.intersects(lyrics));
}

TEST_F(MainWindow, AWindowThatHasAPlaceOpensThere) {
  AddCompanion(Companion::kReverb);
  folder.Write("Vexolo.ini", "[Vexolo]\r\nLng=fr\r\n[Reverb]\r\nX=300\r\nY=450\r\n");
  ASSERT_TRUE(Start());
  Click(InfoOf(Companion::kReverb).button);
  EXPECT_EQ(QPoint(20, 30), window->companion(Companion::kReverb)->pos());
}

TEST_F(MainWindow, WindowsThatWereOpenAreOpenAgain) {
  for (const Companion companion : kAll) AddCompanion(companion);
  ASSERT_TRUE(Start());
  Click(InfoOf(Companion::kPlayList).button);
  Click(InfoOf(Companion::kLyrics).button);
  ASSERT_TRUE(Start());
  for (const CompanionInfo& info : kCompanions) {
    const bool was_open =
        info.companion == Companion::kPlayList || info.companion == Companion::kLyrics;
    EXPECT_EQ(was_open, window->companion(info.companion)->isVisible());
    EXPECT_EQ(was_open ? 1 : 0, Button(info.button).state());
  }
}

TEST_F(MainWindow, CompanionsFollowIt) {
  AddCompanion(Companion::kReverb);
  ASSERT_TRUE(Start());
  Click(InfoOf(Companion::kReverb).button);
  QWidget* other = window->companion(Companion::kReverb);
  const QPoint before = other->pos() - window->pos();
  window->move(window->pos() + QPoint(37, -12));
  EXPECT_EQ(before, other->pos() - window->pos());
}

TEST_F(MainWindow, AWindowThatIsNotThereSaysSo) {
  const auto NameOf = [this](int button) {
    const std::string tip = Text(ArrayKey("SM", button).c_str());
    return tip.substr(0, tip.rfind(" ("));
  };
  ASSERT_TRUE(Start());
  for (const CompanionInfo& info : kCompanions) {
    EXPECT_FALSE(Button(info.button).isEnabled());
    EXPECT_EQ(Text("NotYet", {NameOf(info.button)}), Tip(info.button));
  }
  EXPECT_FALSE(Button(kRecord).isEnabled());
  EXPECT_FALSE(Button(kSetup).isEnabled());
}

// ---- Keyboard

TEST_F(MainWindow, F1OpensTheHelpAnywhere) {
  ASSERT_TRUE(Start());
  QTest::keyClick(window.get(), Qt::Key_F1);
  Knob(3).setFocus();
  QTest::keyClick(&Knob(3), Qt::Key_F1);
  Button(kPlay).setFocus();
  QTest::keyClick(&Button(kPlay), Qt::Key_F1);
  QTest::keyClick(&window->panel().slider(), Qt::Key_F1);
  const std::string page = folder / "help/fr.html";
  EXPECT_THAT(opened, ElementsAre(page, page, page, page));
}

TEST_F(MainWindow, HelpThatCannotBeOpenedIsTold) {
  ASSERT_TRUE(Start());
  can_open = false;
  Click(kHelp);
  ASSERT_EQ(1u, boxes.shown.size());
  EXPECT_EQ(Text("HelpMissing", {folder / "help/fr.html"}), boxes.shown[0].text);
}

TEST_F(MainWindow, OtherKeysDoNothing) {
  ASSERT_TRUE(Start());
  AddSongs({"a.mid"});
  bass.ClearCalls();
  const std::string before = folder.Read("Vexolo.ini");
  for (int key = Qt::Key_0; key <= Qt::Key_Z; ++key) {
    if (key > Qt::Key_9 && key < Qt::Key_A) continue;
    QTest::keyClick(window.get(), static_cast<Qt::Key>(key));
    QTest::keyClick(window.get(), static_cast<Qt::Key>(key), Qt::ShiftModifier);
  }
  for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape, Qt::Key_Delete,
                            Qt::Key_Home, Qt::Key_End, Qt::Key_Insert, Qt::Key_F2, Qt::Key_F12}) {
    QTest::keyClick(window.get(), key);
  }
  EXPECT_THAT(bass.texts(), IsEmpty());
  EXPECT_EQ(before, folder.Read("Vexolo.ini"));
  EXPECT_THAT(opened, IsEmpty());
  EXPECT_THAT(files.asked, IsEmpty());
}

TEST_F(MainWindow, SpacePlaysAndStopsWhateverHasTheFocus) {
  ASSERT_TRUE(Start());
  AddSongs({"a.mid"});
  QTest::keyClick(window.get(), Qt::Key_Space);
  EXPECT_TRUE(state().playing);
  QTest::keyClick(&Button(kNext), Qt::Key_Space);
  EXPECT_FALSE(state().playing);
  EXPECT_EQ(0u, Stream());
  QTest::keyClick(&Knob(0), Qt::Key_Space);
  EXPECT_TRUE(state().playing);
}

TEST_F(MainWindow, LeftAndRightSeekFiveSeconds) {
  bass.song.length = 60 * FakeBass::kBytesPerSecond;
  ASSERT_TRUE(Start());
  AddSongs({"a.mid"});
  Click(kPlay);
  const auto seconds = [&] { return bass.stream(Stream()).position / FakeBass::kBytesPerSecond; };
  QTest::keyClick(window.get(), Qt::Key_Right);
  QTest::keyClick(window.get(), Qt::Key_Right);
  EXPECT_EQ(10u, seconds());
  QTest::keyClick(&Knob(0), Qt::Key_Left);
  EXPECT_EQ(5u, seconds());
}

TEST_F(MainWindow, UpAndDownTurnTheFocusedKnob) {
  ASSERT_TRUE(Start());
  AddSongs({"a.mid"});
  Click(kPlay);
  QTest::keyClick(window.get(), Qt::Key_Up);
  QTest::keyClick(&Knob(kTransposeKnob), Qt::Key_Up);
  QTest::keyClick(&Knob(kTransposeKnob), Qt::Key_Up);
  QTest::keyClick(&Knob(kGainKnob), Qt::Key_Down);
  EXPECT_EQ(2, state().mix.Transpose);
  EXPECT_EQ(-1, state().mix.Gain);
  EXPECT_EQ(2, Knob(kTransposeKnob).value());
}

TEST_F(MainWindow, AKnobThatTheKeyboardTurnsTellsItsValueBesideItself) {
  ASSERT_TRUE(Start());
  QCursor::setPos(window->mapToGlobal(QPoint(1, 1)));
  QTest::keyClick(&Knob(kTransposeKnob), Qt::Key_Up);
  EXPECT_EQ(Text("Knob(Transpose)", {"+1"}), QToolTip::text().toStdString());
  const QWidgetList windows = QApplication::topLevelWidgets();
  const auto tip = std::find_if(windows.begin(), windows.end(), [](const QWidget* widget) {
    return widget->inherits("QTipLabel") && widget->isVisible();
  });
  ASSERT_NE(windows.end(), tip);
  const QRect knob(Knob(kTransposeKnob).mapToGlobal(QPoint()), Knob(kTransposeKnob).size());
  EXPECT_TRUE(knob.adjusted(-40, -40, 40, 40).intersects((*tip)->geometry()));
}

TEST_F(MainWindow, PageUpAndDownChangeTheSong) {
  ASSERT_TRUE(Start());
  AddSongs({"a.mid", "b.mid", "c.mid"});
  QTest::keyClick(window.get(), Qt::Key_PageDown);
  EXPECT_EQ(folder / "a.mid", Playing());
  QTest::keyClick(window.get(), Qt::Key_PageDown);
  EXPECT_EQ(folder / "b.mid", Playing());
  QTest::keyClick(window.get(), Qt::Key_PageUp);
  QTest::keyClick(window.get(), Qt::Key_PageUp);
  EXPECT_EQ(folder / "c.mid", Playing());
}

TEST_F(MainWindow, CtrlOOpensSongsAndPlaysTheLast) {
  ASSERT_TRUE(Start());
  files.answers = {{Song("a.mid"), Song("b.mid")}};
  QTest::keyClick(window.get(), Qt::Key_O, Qt::ControlModifier);
  EXPECT_EQ(folder / "b.mid", Playing());
  EXPECT_EQ(folder.path(), Setting("Mid", "Path"));
  EXPECT_EQ("Chansons (*.mid;*.kar;*.midi)|*.mid;*.kar;*.midi|Tous les fichiers|*",
            files.asked.at(0).filter);
}

TEST_F(MainWindow, CtrlLAndCtrlPToggleTheirWindowsAndCtrlRRecords) {
  AddCompanion(Companion::kLyrics);
  AddCompanion(Companion::kPlayList);
  int recorded = 0;
  others.conversion = [&](frmMidiTest&) {
    PluggedConversion conversion;
    conversion.action_record = [&] { ++recorded; };
    return conversion;
  };
  ASSERT_TRUE(Start());
  QTest::keyClick(window.get(), Qt::Key_L, Qt::ControlModifier);
  EXPECT_TRUE(window->companion(Companion::kLyrics)->isVisible());
  QTest::keyClick(window.get(), Qt::Key_P, Qt::ControlModifier);
  EXPECT_TRUE(window->companion(Companion::kPlayList)->isVisible());
  QTest::keyClick(window.get(), Qt::Key_R, Qt::ControlModifier);
  EXPECT_EQ(1, recorded);
}

// ---- Files that are dropped

TEST_F(MainWindow, DroppedFilesAreAddedAndTheLastOnePlays) {
  ASSERT_TRUE(Start());
  QMimeData data;
  data.setUrls({QUrl::fromLocalFile(QString::fromStdString(Song("a.mid"))),
                QUrl("https://example.org/b.mid"),
                QUrl::fromLocalFile(QString::fromStdString(Song("c.kar")))});
  QDragEnterEvent enter({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, {});
  QApplication::sendEvent(window.get(), &enter);
  EXPECT_TRUE(enter.isAccepted());
  QDropEvent drop({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, {});
  QApplication::sendEvent(window.get(), &drop);
  EXPECT_THAT(state().playlist.paths(), ElementsAre(folder / "a.mid", folder / "c.kar"));
  EXPECT_EQ(folder / "c.kar", Playing());
}

// ---- Transport

TEST_F(MainWindow, PlayIsPressedThenLitAndStopLetsItGo) {
  ASSERT_TRUE(Start());
  AddSongs({"a.mid"});
  Click(kPlay);
  EXPECT_EQ(1, Button(kPlay).state());
  Tick();
  EXPECT_EQ(2, Button(kPlay).state());
  Click(kStop);
  EXPECT_EQ(0, Button(kPlay).state());
  EXPECT_FALSE(state().playing);
}

TEST_F(MainWindow, RepeatGoesRoundAndIsKept) {
  ASSERT_TRUE(Start());
  std::vector<int> faces;
  std::vector<std::string> stored;
  for (int i = 0; i < 3; ++i) {
    Click(kRepeat);
    faces.push_back(Button(kRepeat).state());
    stored.push_back(Setting("Repeat", "Mode"));
  }
  EXPECT_THAT(faces, ElementsAre(2, 3, 0));
  EXPECT_THAT(stored, ElementsAre("2", "3", "0"));
  Click(kRepeat);
  ASSERT_TRUE(Start());
  EXPECT_EQ(kRepeatSong, state().repeat_mode);
  EXPECT_EQ(2, Button(kRepeat).state());
}

struct EndOfSong : MainWindow {
  /// Plays one of three songs with a repeat mode and lets it end.
  void PlayToItsEnd(int place, int mode) {
    ASSERT_TRUE(Start());
    AddSongs({"a.mid", "b.mid", "c.mid"});
    state().repeat_mode = mode;
    window->Action_PlaySelected(place);
    const bass::HSTREAM ended = Stream();
    bass.FireSync(ended, bass::BASS_SYNC_END, 0, 0);
    EXPECT_EQ(ended, Stream());  // not on the library's thread
    QCoreApplication::processEvents();
  }
};

TEST_F(EndOfSong, TheNextOneFollows) {
  PlayToItsEnd(1, kPlayListOnce);
  EXPECT_EQ(folder / "b.mid", Playing());
}

TEST_F(EndOfSong, WithRepeatedSongItStartsAgainAndNextMovesOn) {
  PlayToItsEnd(2, kRepeatSong);
  EXPECT_EQ(folder / "b.mid", Playing());
  Click(kNext);
  EXPECT_EQ(folder / "c.mid", Playing());
}

TEST_F(EndOfSong, WithRepeatedListTheFirstFollowsTheLast) {
  PlayToItsEnd(3, kRepeatList);
  EXPECT_EQ(folder / "a.mid", Playing());
}

TEST_F(EndOfSong, AtTheEndOfTheListItIsQuiet) {
  PlayToItsEnd(3, kPlayListOnce);
  EXPECT_EQ(0u, Stream());
  EXPECT_EQ(LedText(Text("Titre(z)", {"", "", "3"})),
            window->panel().title().shown().substr(0, 12));
  EXPECT_EQ(0, Button(kPlay).state());
}

TEST_F(MainWindow, PreviousOnTheFirstSongGoesToTheLastInEveryMode) {
  for (const int mode : {kPlayListOnce, kRepeatSong, kRepeatList}) {
    ASSERT_TRUE(Start());
    AddSongs({"a.mid", "b.mid", "c.mid"});
    state().repeat_mode = mode;
    window->Action_PlaySelected(1);
    Click(kPrev);
    EXPECT_EQ(folder / "c.mid", Playing());
  }
}

TEST_F(MainWindow, NextAndPreviousKeepThePlayingFlagWhichStopClears) {
  ASSERT_TRUE(Start());
  AddSongs({"a.mid", "b.mid"});
  Click(kPlay);
  Click(kNext);
  EXPECT_TRUE(state().playing);
  Click(kPrev);
  EXPECT_TRUE(state().playing);
  Click(kStop);
  EXPECT_FALSE(state().playing);
}

TEST_F(MainWindow, WhatIsPlayedBeforeTheBankIsThereWaitsForIt) {
  Make();
  holds_posts = true;  // that it has been loaded is not heard of yet
  ASSERT_TRUE(window->Start());
  AddSongs({"a.mid"});
  Click(kPlay);
  EXPECT_EQ(0u, Stream());
  Release();
  WaitForBank();
  EXPECT_EQ(folder / "a.mid", Playing());
}

// ---- Position

TEST_F(MainWindow, TheSliderShowsAndMovesThePosition) {
  bass.song.length = 40 * FakeBass::kBytesPerSecond;
  ASSERT_TRUE(Start());
  AddSongs({"a.mid"});
  Click(kPlay);
  bass.stream(Stream()).position = 10 * FakeBass::kBytesPerSecond;
  Tick();
  PositionSlider& slider = window->panel().slider();
  EXPECT_EQ(PositionSlider::kMaximum / 4, slider.value());
  EXPECT_EQ("0:10,000 / 0:40,000", window->panel().time().shown());
  const QPoint half(slider.width() / 2, slider.height() / 2);
  QTest::mousePress(&slider, Qt::LeftButton, {}, half);
  EXPECT_TRUE(state().seeking);
  bass.stream(Stream()).position = 11 * FakeBass::kBytesPerSecond;
  Tick();
  EXPECT_EQ("0:10,000 / 0:40,000", window->panel().time().shown());  // it stands still
  QTest::mouseRelease(&slider, Qt::LeftButton, {}, half);
  EXPECT_FALSE(state().seeking);
  EXPECT_NEAR(20.0, static_cast<double>(bass.stream(Stream()).position) / FakeBass::kBytesPerSecond,
              0.1);
  Tick();
  EXPECT_NEAR(PositionSlider::kMaximum / 2.0, slider.value(), 20);
  Click(kStop);
  Tick();
  EXPECT_EQ(0, slider.value());
}

TEST_F(MainWindow, LettingTheSliderGoWithoutASongChangesNothingAndTheTimerGoesOn) {
  ASSERT_TRUE(Start());
  bass.ClearCalls();
  PositionSlider& slider = window->panel().slider();
  QTest::mousePress(&slider, Qt::LeftButton, {}, {300, 10});
  QTest::mouseRelease(&slider, Qt::LeftButton, {}, {300, 10});
  EXPECT_THAT(bass.texts(), IsEmpty());
  const int asked = bass.CallCount("BASS_ChannelGetLevel");
  Tick();
  EXPECT_GT(bass.CallCount("BASS_ChannelGetLevel"), asked);
}

TEST_F(MainWindow, WhatIsHeldIsLetGoWhenABoxOpens) {
  bass.song.length = 40 * FakeBass::kBytesPerSecond;
  ASSERT_TRUE(Start());
  AddSongs({"a.mid"});
  Click(kPlay);
  QDialog box(window.get());
  box.setModal(true);
  PositionSlider& slider = window->panel().slider();
  QTest::mousePress(&slider, Qt::LeftButton, {}, {slider.width() / 2, slider.height() / 2});
  ASSERT_TRUE(state().seeking);
  box.show();
  EXPECT_FALSE(state().seeking);
  EXPECT_NEAR(20.0, static_cast<double>(bass.stream(Stream()).position) / FakeBass::kBytesPerSecond,
              0.1);
  box.hide();
  QTest::mousePress(&Knob(3), Qt::LeftButton, {}, Knob(3).rect().center());
  ASSERT_EQ(3, program->knobs.held_knob());
  box.show();
  EXPECT_EQ(-1, program->knobs.held_knob());
  box.hide();
  QTest::mousePress(&Button(kStop), Qt::LeftButton);
  box.show();
  EXPECT_EQ(kButtonUp, Button(kStop).drawn_state());
  EXPECT_NE(0u, Stream());  // it has not been clicked
  box.hide();
  Click(kStop);
  EXPECT_EQ(0u, Stream());
}

// ---- Markers

struct MarkerButtons : MainWindow {
  /// Answers the time dialog when it opens.
  void Type(const QString& text, const char* button) {
    QTimer::singleShot(0, window.get(), [this, text, button] {
      QWidget* dialog = QApplication::activeModalWidget();
      ASSERT_NE(nullptr, dialog);
      auto* line = dialog->findChild<QLineEdit*>();
      proposed = line->text().toStdString();
      dialog_caption = dialog->windowTitle().toStdString();
      if (!text.isNull()) line->setText(text);
      for (QPushButton* candidate : dialog->findChildren<QPushButton*>()) {
        if (candidate->text() == button) candidate->click();
      }
      result = line->text().toStdString();
    });
  }
  std::string Stored(const std::string& key) {
    return program->ini.ReadIni("Marqueurs", key, folder / "a.zvn");
  }
  std::string proposed;
  std::string dialog_caption;
  std::string result;
};

TEST_F(MarkerButtons, AreTypedAndKeptWithTheSong) {
  ASSERT_TRUE(Start());
  AddSongs({"a.mid"});
  Click(kPlay);
  bass.stream(Stream()).position = 5 * FakeBass::kBytesPerSecond / 2;
  Type("1:15,500", "&Valider");
  Click(kPunchIn);
  EXPECT_EQ("0:02,500", proposed);
  EXPECT_EQ("Saisie d’un temps", dialog_caption);
  EXPECT_EQ("75,500", Stored("Debut"));
  Type("80", "&Valider");
  Click(kPunchOut);
  EXPECT_EQ("80,000", Stored("Fin"));
  Click(kPunch);
  EXPECT_EQ("1", Stored("Marche"));
  EXPECT_EQ(1, Button(kPunch).state());
  EXPECT_EQ(Text("SM(Start-1)", {"1:15,500"}), Tip(kPunchIn));
  Click(kPunch);
  EXPECT_EQ(Text("SM(End-0)", {"1:20,000"}), Tip(kPunchOut));
}

TEST_F(MarkerButtons, AbandoningChangesNothing) {
  ASSERT_TRUE(Start());
  AddSongs({"a.mid"});
  Click(kPlay);
  Type("12", "&Annuler");
  Click(kPunchIn);
  EXPECT_EQ(0, state().audio.markers.start);
  EXPECT_EQ("", Stored("Debut"));
}

TEST_F(MarkerButtons, TheResetButtonPutsZeroIntoTheBox) {
  ASSERT_TRUE(Start());
  AddSongs({"a.mid"});
  Click(kPlay);
  QTimer::singleShot(0, window.get(), [this] {
    QWidget* dialog = QApplication::activeModalWidget();
    for (QPushButton* candidate : dialog->findChildren<QPushButton*>()) {
      if (candidate->text() == "&Remettre à zéro") candidate->click();
    }
    result = dialog->findChild<QLineEdit*>()->text().toStdString();
    EXPECT_TRUE(dialog->isVisible());
    const QPoint middle = dialog->frameGeometry().center() - dialog->screen()->geometry().center();
    EXPECT_LE(middle.manhattanLength(), 2);
    dialog->close();
  });
  Click(kPunchOut);
  EXPECT_EQ("0:00,000", result);
  EXPECT_EQ(0, state().audio.markers.end);
}

TEST_F(MarkerButtons, TypedAtHalfSpeedTheyAreStoredTwiceAsLong) {
  ASSERT_TRUE(Start());
  AddSongs({"a.mid"});
  Click(kPlay);
  state().audio.speed_factor = 2.0;
  Type("0:30,000", "&Valider");
  Click(kPunchIn);
  EXPECT_EQ("60,000", Stored("Debut"));
}

TEST_F(MarkerButtons, TextThatIsNoNumberIsZero) {
  ASSERT_TRUE(Start());
  AddSongs({"a.mid"});
  Click(kPlay);
  state().audio.markers.start = 5;
  Type("abc", "&Valider");
  Click(kPunchIn);
  EXPECT_EQ("0,000", Stored("Debut"));
}

TEST_F(MarkerButtons, AtZeroTheyNeitherSeekNorEndTheSong) {
  ASSERT_TRUE(Start());
  AddSongs({"a.mid"});
  program->ini.WriteIni("Marqueurs", "Marche", "1", folder / "a.zvn");
  Click(kPlay);
  EXPECT_TRUE(state().audio.markers.on);
  EXPECT_THAT(bass.Calls<FakeBass::SetPosition>(), IsEmpty());
  for (const auto& sync : bass.Calls<FakeBass::SetSync>()) {
    EXPECT_NE(bass::BASS_SYNC_POS, sync.type & ~bass::BASS_SYNC_MIXTIME);
  }
}

// ---- Strips

struct Strips : MainWindow {
  Strips() { Start(); }
  void Open() {
    AddSongs({"a.mid"});
    Click(kPlay);
  }
  /// A song whose channel 3 sings.
  void OpenWithMelody() {
    FakeBass::Song song = bass.song;
    song.track_names = {"Words", "Melody"};
    song.events.resize(2);
    for (bass::DWORD i = 0; i < 12; ++i) {
      const bass::DWORD tick = 100 + i * 100;
      song.marks[bass::BASS_MIDI_MARK_LYRIC].push_back({0, tick * 100, "la "});
      song.events[1].push_back({bass::MIDI_EVENT_NOTE, 100 << 8 | 60, 3, tick, tick * 100});
    }
    bass.songs[folder / "a.mid"] = song;
    Open();
    ASSERT_EQ(3, state().mix.MelodyChannel);
  }
  std::string Stored(const std::string& key) {
    return program->ini.ReadIni("Mute", key, folder / "a.zvn");
  }
};

TEST_F(Strips, SoloLightsItsLampAndMutesTheOthers) {
  Open();
  Click(5);
  EXPECT_EQ(3, Button(5).state());
  EXPECT_EQ(3, Button(16).state());
  EXPECT_EQ(0, Button(16 + 5).state());
  EXPECT_EQ("1", Stored("Ch0"));
  EXPECT_EQ("0", Stored("Ch5"));
  Click(5);
  EXPECT_EQ(0, Button(5).state());
  EXPECT_EQ(0, Button(16).state());
}

TEST_F(Strips, MutingAllButOneLightsItsSoloLampUntilASecondOneSounds) {
  Open();
  for (int channel = 1; channel < 16; ++channel) Click(16 + channel);
  EXPECT_EQ(3, Button(0).state());
  Click(16 + 7);
  EXPECT_EQ(0, Button(0).state());
}

TEST_F(Strips, TheRightButtonOpensTheMixAndLeavesTheLamp) {
  Open();
  Click(5);
  Click(5, Qt::RightButton);
  EXPECT_EQ(3, Button(5).state());
  EXPECT_EQ(0, Button(16).state());
  Click(16 + 2);
  Click(16 + 2, Qt::RightButton);
  EXPECT_EQ(0, Button(16 + 2).state());
}

TEST_F(Strips, TheMelodyIsHeldAndCanBeHeard) {
  OpenWithMelody();
  EXPECT_EQ(1, Button(16 + 3).state());
  EXPECT_EQ(Text("Melody", {"4"}), Tip(16 + 3));
  Click(3);
  EXPECT_TRUE(state().mix.MelodyOverride);
  EXPECT_EQ(100, EffectiveLevel(state().mix, 3));
  EXPECT_EQ(0, Button(16 + 3).state());
  Click(16 + 3, Qt::RightButton);
  EXPECT_EQ(0, EffectiveLevel(state().mix, 3));
}

TEST_F(Strips, WithFewSyllablesThereIsNoMelody) {
  Open();
  EXPECT_EQ(-1, state().mix.MelodyChannel);
  EXPECT_EQ(0, Button(16 + 3).state());
}

TEST_F(Strips, AClickElsewhereThanOnTheButtonDoesNothing) {
  Open();
  QTest::mousePress(&Button(5), Qt::LeftButton);
  QTest::mouseMove(&Button(5), QPoint(200, 200));
  QTest::mouseRelease(&Button(5), Qt::LeftButton, {}, QPoint(200, 200));
  EXPECT_EQ(0, Button(5).state());
}

// ---- Knobs

TEST_F(Strips, ALevelIsDraggedHeardAndKept) {
  Open();
  bass.ClearCalls();
  Drag(2, 500, 45);  // sideways does not count
  EXPECT_EQ(199, state().mix.ChannelVolume[2]);
  EXPECT_EQ("199", program->ini.ReadIni("Volume", "Ch2", folder / "a.zvn"));
  EXPECT_EQ("x 1.99", Knob(2).toolTip());
  const FakeBass::StreamEvent heard = {Stream(), 2, bass::MIDI_EVENT_MIXLEVEL, 199};
  EXPECT_THAT(bass.Calls<FakeBass::StreamEvent>(), testing::Contains(heard));
}

TEST_F(Strips, TheRightButtonAndADoubleClickResetAKnob) {
  Open();
  Drag(2, 0, 45);
  QTest::mouseClick(&Knob(2), Qt::RightButton);
  EXPECT_EQ(100, state().mix.ChannelVolume[2]);
  Drag(kGainKnob, 0, 20);
  EXPECT_NE(0, state().mix.Gain);
  QTest::mouseDClick(&Knob(kGainKnob), Qt::LeftButton);
  EXPECT_EQ(0, state().mix.Gain);
  EXPECT_EQ("100 %", window->panel().label_gain().text());
}

TEST_F(Strips, ResettingTheLevelOfAMutedChannelDoesNotMakeItHeard) {
  Open();
  Drag(2, 0, -20);
  Click(16 + 2);
  bass.ClearCalls();
  QTest::mouseClick(&Knob(2), Qt::RightButton);
  EXPECT_EQ(100, state().mix.ChannelVolume[2]);
  EXPECT_THAT(bass.Calls<FakeBass::StreamEvent>(), IsEmpty());
}

TEST_F(Strips, GainTransposeAndSpeedAreKept) {
  Open();
  Drag(kGainKnob, 0, 13);
  Drag(kTransposeKnob, 10, 2);
  Drag(kSpeedKnob, 10, 6);
  const auto stored = [&](const char* section) {
    return program->ini.ReadIni(section, "Slider", folder / "a.zvn");
  };
  EXPECT_EQ("6", stored("Gain"));
  EXPECT_EQ("3", stored("Transpose"));
  EXPECT_EQ("9,9", stored("Tempo"));
  EXPECT_EQ("200 %", window->panel().label_gain().text());
  EXPECT_EQ(Text("Knob(Gain)", {"+6"}), Knob(kGainKnob).toolTip().toStdString());
  EXPECT_EQ(Text("Knob(Transpose)", {"+3"}), Knob(kTransposeKnob).toolTip().toStdString());
  EXPECT_EQ("", Knob(kSpeedKnob).toolTip());
}

TEST_F(Strips, TheSpeedStopsAtItsSlowest) {
  Open();
  const QPoint from = Knob(kSpeedKnob).rect().center();
  QTest::mousePress(&Knob(kSpeedKnob), Qt::LeftButton, {}, from);
  QTest::mouseMove(&Knob(kSpeedKnob), from + QPoint(-1000, 1000));
  EXPECT_EQ(1.0, state().audio.speed_factor);  // not before it is let go
  QTest::mouseRelease(&Knob(kSpeedKnob), Qt::LeftButton, {}, from + QPoint(-1000, 1000));
  EXPECT_EQ(-2500, state().mix.Tempo);
  EXPECT_EQ("-250,0", program->ini.ReadIni("Tempo", "Slider", folder / "a.zvn"));
}

TEST_F(Strips, ASpeedOutOfTheKnobsReachIsStillShown) {
  program->ini.WriteIni("Tempo", "Slider", "-1000,0", folder / "a.zvn");
  Open();
  EXPECT_EQ(-10000, Knob(kSpeedKnob).value());
}

TEST_F(Strips, TheWheelTurnsAKnob) {
  Open();
  QWheelEvent up({5, 5}, Knob(2).mapToGlobal(QPointF(5, 5)), {}, {0, 120}, Qt::NoButton, {},
                 Qt::NoScrollPhase, false);
  QApplication::sendEvent(&Knob(2), &up);
  EXPECT_EQ(105, state().mix.ChannelVolume[2]);
  EXPECT_EQ("105", program->ini.ReadIni("Volume", "Ch2", folder / "a.zvn"));
}

TEST_F(Strips, ASongsOwnSettingsAreShown) {
  folder.Write("a.zvn",
               "[Volume]\r\nCh2=50\r\nCh3=0\r\n[Mute]\r\nCh7=1\r\n[Gain]\r\nSlider=-6\r\n"
               "[Transpose]\r\nSlider=5\r\n[Marqueurs]\r\nMarche=1\r\nDebut=2.5\r\nFin=5,5\r\n");
  Open();
  EXPECT_EQ(50, Knob(2).value());
  EXPECT_EQ(100, Knob(3).value());
  EXPECT_EQ(3, Button(16 + 3).state());
  EXPECT_EQ(3, Button(16 + 7).state());
  EXPECT_EQ(-6, Knob(kGainKnob).value());
  EXPECT_EQ(5, Knob(kTransposeKnob).value());
  EXPECT_EQ(1, Button(kPunch).state());
}

// ---- Displays

TEST_F(Strips, LampsRiseWithNotesAndFall) {
  OpenWithMelody();
  bass.FireSync(Stream(), bass::BASS_SYNC_MIDI_EVENT, bass::MIDI_EVENT_NOTE,
                2u << 16 | 127u << 8 | 60u);
  Tick();
  const int seen = window->panel().lamp(2).value();
  EXPECT_GE(seen, 119);
  Tick();
  EXPECT_LT(window->panel().lamp(2).value(), seen);
}

TEST_F(Strips, TheMeterShowsTheOutputAndOverloadLightsItsLamp) {
  Open();
  bass.stream(Stream()).level = 16384;
  Tick();
  EXPECT_EQ(6, window->panel().level().value());
  EXPECT_EQ(6, window->panel().peak().value());
  EXPECT_EQ(0, window->panel().clip_lamp().value());
  bass.stream(Stream()).level = 32768;
  Tick();
  EXPECT_EQ(11, window->panel().level().value());
  EXPECT_EQ(1, window->panel().clip_lamp().value());
  Click(kStop);
  Tick();
  EXPECT_EQ(0, window->panel().level().value());
  EXPECT_EQ(0, window->panel().peak().value());
}

TEST_F(MainWindow, WithoutASoundDeviceTheTitleSaysSoOnce) {
  library.is_silent = true;
  ASSERT_TRUE(Start());
  EXPECT_TRUE(QTest::qWaitFor(
      [&] { return window->panel().title().shown().starts_with("Pas de sortie audio"); }));
  EXPECT_TRUE(QTest::qWaitFor(
      [&] { return window->panel().title().shown().starts_with("Aucune chanson"); }, 6000));
  QTest::qWait(500);
  EXPECT_TRUE(window->panel().title().shown().starts_with("Aucune chanson"));
}

TEST_F(MainWindow, SongsOfTenMinutesFitTheTimeDisplay) {
  bass.song.length = 900 * FakeBass::kBytesPerSecond;
  ASSERT_TRUE(Start());
  AddSongs({"a.mid"});
  Click(kPlay);
  bass.stream(Stream()).position = 620 * FakeBass::kBytesPerSecond;
  Tick();
  EXPECT_EQ("10:20,000/15:00,000", window->panel().time().shown());
}

// ---- Conversion

TEST_F(MainWindow, WhatWouldDisturbAConversionCannotBeUsedMeanwhile) {
  int ticks = 0;
  others.conversion = [&](frmMidiTest&) {
    PluggedConversion conversion;
    conversion.action_record = [&] { program->state.converting = true; };
    conversion.timer_tick = [&] { ++ticks; };
    return conversion;
  };
  ASSERT_TRUE(Start());
  AddSongs({"a.mid"});
  Click(kRecord);
  Tick();
  EXPECT_EQ(2, Button(kRecord).state());
  for (const int button :
       {0, 16, kPrev, kPlay, kStop, kNext, kPunch, kPunchIn, kPunchOut, kChangeSF}) {
    EXPECT_FALSE(Button(button).isEnabled()) << button;
  }
  EXPECT_FALSE(Knob(0).isEnabled());
  EXPECT_FALSE(window->panel().slider().isEnabled());
  EXPECT_TRUE(Button(kHelp).isEnabled());
  QTest::keyClick(window.get(), Qt::Key_Space);
  EXPECT_EQ(0u, Stream());
  EXPECT_EQ("Conversion en cours", window->panel().title().shown().substr(0, 19));
  EXPECT_EQ(0, ticks);  // off until it is asked for
  window->EnableTimerEncodage(true);
  EXPECT_TRUE(QTest::qWaitFor([&] { return ticks > 0; }));
  window->EnableTimerEncodage(false);
  program->state.converting = false;
  Tick();
  EXPECT_TRUE(Button(kPlay).isEnabled());
  EXPECT_TRUE(Knob(0).isEnabled());
}

// ---- Bank

TEST_F(MainWindow, ChoosingABankLoadsItAndKeepsItsFolder) {
  ASSERT_TRUE(Start());
  const std::string bank = folder.Write("other.sf2", "bank");
  files.answers = {{bank}};
  Click(kChangeSF);
  EXPECT_EQ("SoundFonts (*.sf2)|*.sf2|Tous les fichiers|*", files.asked.at(0).filter);
  WaitForBank();
  EXPECT_EQ(bank, state().audio.font_path);
  EXPECT_EQ(folder.path(), state().folders.banks);
  EXPECT_EQ(bank, Setting("SF2", "Base"));
}

TEST_F(MainWindow, ABankThatCannotBeOpenedLeavesTheOneInUse) {
  ASSERT_TRUE(Start());
  const std::string before = Setting("SF2", "Base");
  const bass::HSOUNDFONT font = state().audio.font;
  bass.Fail("BASS_MIDI_FontInit", bass::BASS_ERROR_FILEFORM);
  files.answers = {{folder.Write("bad.sf2", "x")}};
  Click(kChangeSF);
  WaitForBank();
  EXPECT_EQ(font, state().audio.font);
  EXPECT_EQ(before, Setting("SF2", "Base"));
  EXPECT_TRUE(boxes.shown.empty());
}

// ---- End

TEST_F(MainWindow, ClosingItEndsEverything) {
  AddCompanion(Companion::kPlayList);
  ASSERT_TRUE(Start());
  AddSongs({"a.mid"});
  Click(InfoOf(Companion::kPlayList).button);
  Click(kPlay);
  bass.ClearCalls();
  window->close();
  EXPECT_THAT(bass.texts(), ElementsAre("Stop 1", "StreamFree 1", StartsWith("FontFree"), "Free",
                                        "PluginFree 0"));
  EXPECT_TRUE(state().quitting);
  EXPECT_EQ(nullptr, window->companion(Companion::kPlayList));
  EXPECT_EQ("1", Setting("PlayList", "Show"));
}

}  // namespace
}  // namespace vexolo
