// layer: gui
#include <QAccessible>
#include <QLineEdit>
#include <QTest>
#include <QWheelEvent>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_file_dialogs.h"
#include "fakes/mixer_bench.h"
#include "mixer/instrument_dialog.h"
#include "mixer/reglage_window.h"
#include "mixer/reverb_window.h"
#include "settings/window_place.h"
#include "widgets/skin.h"

namespace vexolo {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

/// The channel settings and the effects over a fake stream, with the French texts.
class MixerWindows : public ::testing::Test, protected MixerBench {
 protected:
  MixerWindows() {
    audio.presets.At(0, 0) = "Grand Piano";
    audio.presets.At(8, 0) = "Detuned Piano";
    audio.presets.At(0, 24) = "Nylon Guitar";
    audio.presets.At(128, 0) = "Standard";
    audio.presets.At(128, 16) = "Power";
    audio.presets.highest_bank = 8;
  }

  /// Presses at the middle of a knob, moves by (dx, dy) and lets go.
  static void Drag(QWidget& knob, int dx, int dy, Qt::KeyboardModifiers keys = Qt::NoModifier) {
    const QPoint from = knob.rect().center();
    QTest::mousePress(&knob, Qt::LeftButton, keys, from);
    QMouseEvent move(QEvent::MouseMove, QPointF(from + QPoint(dx, dy)),
                     QPointF(knob.mapToGlobal(from + QPoint(dx, dy))), Qt::NoButton, Qt::LeftButton,
                     keys);
    QApplication::sendEvent(&knob, &move);
    QTest::mouseRelease(&knob, Qt::LeftButton, keys, from + QPoint(dx, dy));
  }

  static void Wheel(QWidget& knob, int notches) {
    const QPointF at = knob.rect().center();
    QWheelEvent event(at, knob.mapToGlobal(at), {}, {0, notches * 120}, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&knob, &event);
  }

  FakeFileDialogs files_;
  Skin skin_;
  std::string language_file_ = VEXOLO_SOURCES "/src/resources/languages/fr.lng";
  std::atomic<bool> quitting_{false};
  WindowContext context_{ini, skin_, boxes, files_, language_file_, quitting_, ','};
  ReverbChorus effects_{bass.api(), state, audio, settings};
  Controllers controllers_{bass.api(), state, audio, settings};
};

class ReverbWindow : public MixerWindows {
 protected:
  ReverbWindow() {
    window_.show();
    (void)QTest::qWaitForWindowExposed(&window_);
    TakeEvents();
  }
  Reverb window_{context_, nullptr, effects_, state};
};

TEST_F(ReverbWindow, ThreePixelsWithCtrlChangeALevelByThree) {
  const int before = effects_.Value(5);
  Drag(window_.knob(5), 3, 0, Qt::ControlModifier);
  EXPECT_EQ(state.overrides.Get(SongEntry(5)), before + 3);
  EXPECT_EQ(Saved("CC", "CC116"), std::to_string(before + 3));
}

TEST_F(ReverbWindow, DraggingFarDownStopsAtZeroAndFarUpIsNotLimited) {
  Drag(window_.knob(1), 0, 3000);
  EXPECT_EQ(state.overrides.Get(SongEntry(1)), 0);
  Drag(window_.knob(1), 0, -3000);
  EXPECT_EQ(state.overrides.Get(SongEntry(1)), 300000);
}

TEST_F(ReverbWindow, AKnobActsWhileItIsHeld) {
  KnobWidget& knob = window_.knob(10);
  const QPoint from = knob.rect().center();
  QTest::mousePress(&knob, Qt::LeftButton, Qt::NoModifier, from);
  QMouseEvent move(QEvent::MouseMove, QPointF(from + QPoint(2, -1)),
                   QPointF(knob.mapToGlobal(from + QPoint(2, -1))), Qt::NoButton, Qt::LeftButton,
                   Qt::NoModifier);
  QApplication::sendEvent(&knob, &move);
  EXPECT_THAT(TakeEvents(), ElementsAre("0 41 130"));
  EXPECT_FALSE(state.overrides.Has(SongEntry(10)));
  QTest::mouseRelease(&knob, Qt::LeftButton, Qt::NoModifier, from);
  EXPECT_EQ(state.overrides.Get(SongEntry(10)), 130);
}

TEST_F(ReverbWindow, RightAndDoubleClickGiveTheSongsValueBack) {
  state.current_values.Set(SongEntry(2), 150);
  for (const bool is_double : {false, true}) {
    state.overrides.Set(SongEntry(2), 700);
    if (is_double) {
      QTest::mouseDClick(&window_.knob(2), Qt::LeftButton);
    } else {
      QTest::mouseClick(&window_.knob(2), Qt::RightButton);
    }
    EXPECT_FALSE(state.overrides.Has(SongEntry(2)));
    EXPECT_THAT(TakeEvents(), Contains("0 33 150"));
    EXPECT_EQ(Saved("CC", "CC113"), "");
  }
}

TEST_F(ReverbWindow, WheelAndArrowKeysTurn) {
  const int before = effects_.Value(8);
  Wheel(window_.knob(8), 1);
  EXPECT_EQ(effects_.Value(8), before + 100);
  QTest::keyClick(&window_.knob(8), Qt::Key_Down);
  EXPECT_EQ(effects_.Value(8), before);
}

TEST_F(ReverbWindow, ValuesHaveTheirUnits) {
  state.overrides.Set(SongEntry(1), 1800);
  state.overrides.Set(SongEntry(5), 0);
  state.overrides.Set(SongEntry(9), 60);
  EXPECT_EQ(window_.ValueText(1), "1,8\u00a0s");
  EXPECT_EQ(window_.ValueText(5), "coupé");
  EXPECT_EQ(window_.ValueText(9), "\u221240\u00a0%");
}

TEST_F(ReverbWindow, ABypassButtonComparesAndIsNotStored) {
  state.overrides.Set(SongEntry(5), 120);
  QTest::mouseClick(&window_.bypass_button(false), Qt::LeftButton);
  EXPECT_THAT(TakeEvents(), ElementsAre("0 36 0"));
  EXPECT_EQ(window_.bypass_button(false).state(), 1);
  EXPECT_EQ(window_.bypass_button(true).state(), 0);
  QTest::mouseClick(&window_.bypass_button(false), Qt::LeftButton);
  EXPECT_THAT(TakeEvents(), ElementsAre("0 36 120"));
  EXPECT_EQ(Saved("CC", "CC116"), "");
}

TEST_F(ReverbWindow, TheKnobIsDrawnFromTheSkinLitWhenTheUserHasSetIt) {
  for (const bool is_override : {false, true}) {
    state.overrides.Set(SongEntry(5), is_override ? 100 : -1);
    const SpriteRect sprite = ReverbKnobSprite(EffectShare(5, effects_.Value(5)), is_override);
    const QImage expected = skin_.Bitmap(kReverbSheet, 1)
                                .copy(sprite.x, sprite.y, sprite.width, sprite.height)
                                .toImage()
                                .convertToFormat(QImage::Format_RGB32);
    window_.DrawKnob(5);
    EXPECT_EQ(window_.knob(5).grab().toImage().convertToFormat(QImage::Format_RGB32), expected);
  }
}

TEST_F(ReverbWindow, ClosingIsRemembered) {
  window_.close();
  EXPECT_EQ(ini.ReadIni("Reverb", "Show"), "0");
}

TEST_F(ReverbWindow, EveryControlNamesItself) {
  for (int kind = 1; kind <= kSongKinds; ++kind) {
    QAccessibleInterface* knob = QAccessible::queryAccessibleInterface(&window_.knob(kind));
    EXPECT_EQ(knob->role(), QAccessible::Dial);
    EXPECT_FALSE(knob->text(QAccessible::Name).isEmpty());
    EXPECT_FALSE(knob->text(QAccessible::Description).isEmpty());
  }
  EXPECT_FALSE(window_.bypass_button(false).accessibleName().isEmpty());
}

class ReglageWindow : public MixerWindows {
 protected:
  ReglageWindow() {
    window_.show();
    (void)QTest::qWaitForWindowExposed(&window_);
    TakeEvents();
  }
  KnobWidget& Control(int kind, int channel) {
    return window_.knob(ControllerEntry(kind, channel));
  }
  QRect Area(int kind, int channel) { return Control(kind, channel).geometry(); }
  Reglage window_{context_, nullptr, controllers_, state, audio};
};

/// Counts how often a widget is painted.
class PaintCounter : public QObject {
 public:
  PaintCounter(QWidget& widget, int& count) : count_(count) { widget.installEventFilter(this); }
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::Paint) ++count_;
    return false;
  }

 private:
  int& count_;
};

TEST_F(ReglageWindow, ADraggedKnobIsSentAndKept) {
  const int before = controllers_.Value(ControllerEntry(kPanKind, 3));
  Drag(Control(kPanKind, 3), 0, -10);
  EXPECT_EQ(state.overrides.Get(ControllerEntry(kPanKind, 3)), before + 10);
  EXPECT_THAT(TakeEvents(), Contains("3 13 " + std::to_string(before + 10)));
  EXPECT_EQ(Saved("CC", "CC19"), std::to_string(before + 10));
}

TEST_F(ReglageWindow, ARightClickTakesTheOverrideOutOfTheSongsFile) {
  Drag(Control(kVolumeKind, 2), 0, -5);
  EXPECT_NE(Saved("CC", "CC2"), "");
  QTest::mouseClick(&Control(kVolumeKind, 2), Qt::RightButton);
  EXPECT_EQ(Saved("CC", "CC2"), "");
  EXPECT_FALSE(state.overrides.Has(2));
}

TEST_F(ReglageWindow, AClickStepsTheInstrumentAndShiftStepsBack) {
  const int program = ControllerEntry(kProgramKind, 0);
  QTest::mouseClick(&Control(kProgramKind, 0), Qt::LeftButton);
  EXPECT_EQ(controllers_.Value(program), 24);
  EXPECT_EQ(window_.name_button(0).text(), "Nylon Guitar");
  QTest::mouseClick(&Control(kProgramKind, 0), Qt::LeftButton, Qt::ShiftModifier);
  EXPECT_EQ(controllers_.Value(program), 0);
  EXPECT_EQ(window_.name_button(0).text(), "Grand Piano");
}

TEST_F(ReglageWindow, ABankWithoutTheProgramIsSteppedOver) {
  QTest::mouseClick(&Control(kBankKind, 0), Qt::LeftButton);
  EXPECT_EQ(controllers_.Value(ControllerEntry(kBankKind, 0)), 8);
  state.overrides.Set(ControllerEntry(kBankKind, 1), 0);
  state.overrides.Set(ControllerEntry(kProgramKind, 1), 24);
  QTest::mouseClick(&Control(kBankKind, 1), Qt::LeftButton);
  EXPECT_EQ(controllers_.Value(ControllerEntry(kBankKind, 1)), 0);
  EXPECT_EQ(controllers_.Value(ControllerEntry(kProgramKind, 1)), 24);
}

TEST_F(ReglageWindow, PanShowsItsSide) {
  state.overrides.Set(ControllerEntry(kPanKind, 0), 64);
  state.overrides.Set(ControllerEntry(kPanKind, 1), 0);
  window_.Refresh();
  EXPECT_EQ(Control(kPanKind, 0).accessibleDescription(), " C ");
  EXPECT_EQ(Control(kPanKind, 1).accessibleDescription(), "G 64");
}

TEST_F(ReglageWindow, AClickTurnsAChannelIntoADrumSet) {
  QTest::mouseClick(&Control(kDrumKind, 4), Qt::LeftButton);
  EXPECT_EQ(state.overrides.Get(ControllerEntry(kDrumKind, 4)), 1);
  EXPECT_EQ(Control(kDrumKind, 4).accessibleDescription(), "DrumSet");
  EXPECT_EQ(window_.name_button(4).text(), "Standard");
}

TEST_F(ReglageWindow, OverridesAreToldApart) {
  window_.Refresh();
  const QImage plain = Control(kReverbKind, 0).grab().toImage();
  state.overrides.Set(ControllerEntry(kReverbKind, 0),
                      controllers_.Value(ControllerEntry(kReverbKind, 0)));
  window_.Refresh();
  EXPECT_NE(Control(kReverbKind, 0).grab().toImage(), plain);
}

TEST_F(ReglageWindow, TheListOfInstrumentsIsSearchedAndSets) {
  window_.OpenInstruments(0);
  auto* list = window_.findChild<InstrumentDialog*>();
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->VisibleNames(), (QStringList{"Grand Piano", "Detuned Piano", "Nylon Guitar"}));
  QTest::keyClicks(&list->search_field(), "GUIT");
  EXPECT_EQ(list->VisibleNames(), QStringList{"Nylon Guitar"});
  QTest::keyClick(&list->search_field(), Qt::Key_Return);
  EXPECT_EQ(state.overrides.Get(ControllerEntry(kProgramKind, 0)), 24);
  EXPECT_THAT(TakeEvents(), ElementsAre("0 10 0", "0 2 24"));
  EXPECT_EQ(window_.name_button(0).text(), "Nylon Guitar");
}

TEST_F(ReglageWindow, TheListOfInstrumentsStandsOutFromThePanel) {
  window_.OpenInstruments(0);
  const QImage list = window_.findChild<InstrumentDialog*>()->grab().toImage();
  const int inside = qGray(list.pixel(3, 3));
  for (const QPoint edge : {QPoint(0, 0), QPoint(list.width() - 1, list.height() / 2),
                            QPoint(list.width() / 2, list.height() - 1)}) {
    EXPECT_GT(qGray(list.pixel(edge)), inside + 40) << edge.x() << " " << edge.y();
  }
}

TEST_F(ReglageWindow, ADrumChannelChoosesAmongTheKits) {
  state.overrides.Set(ControllerEntry(kDrumKind, 9), 1);
  window_.OpenInstruments(9);
  auto* list = window_.findChild<InstrumentDialog*>();
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->VisibleNames(), (QStringList{"Standard", "Power"}));
  QTest::keyClicks(&list->search_field(), "nothing of the kind");
  EXPECT_TRUE(list->VisibleNames().isEmpty());
}

TEST_F(ReglageWindow, TheLampOfASoundingChannelIsLit) {
  const QImage dark = window_.grab().toImage();
  state.lamp_levels[5] = 127;
  EXPECT_TRUE(QTest::qWaitFor([&] { return window_.grab().toImage() != dark; }, 1000));
}

TEST_F(ReglageWindow, TheTooltipNamesThePresetThatIsInForceNow) {
  const auto tip = [this](int kind) { return Control(kind, 0).toolTip(); };
  for (const int kind : {kBankKind, kProgramKind}) {
    EXPECT_TRUE(tip(kind).contains("Grand Piano")) << tip(kind).toStdString();
  }
  state.overrides.Set(ControllerEntry(kProgramKind, 0), 24);
  window_.Refresh();
  EXPECT_TRUE(tip(kBankKind).contains("Nylon Guitar")) << tip(kBankKind).toStdString();
  audio.presets.At(0, 24) = "Steel Guitar";  // of another bank of sounds
  window_.RefreshNames();
  for (const int kind : {kBankKind, kProgramKind}) {
    EXPECT_TRUE(tip(kind).contains("Steel Guitar")) << tip(kind).toStdString();
  }
}

TEST_F(ReglageWindow, AKnobComesToLifeWithASongEvenWhereItsValueIsTheSame) {
  const bass::HSTREAM stream = std::exchange(audio.stream, 0);
  state.overrides.Set(ControllerEntry(kChorusKind, 0), 10);
  state.overrides.Set(ControllerEntry(kPanKind, 0), 10);
  window_.Refresh();
  const QImage chorus = window_.grab(Area(kChorusKind, 0)).toImage();
  const QImage pan = window_.grab(Area(kPanKind, 0)).toImage();
  audio.stream = stream;
  int drawn = 0;
  PaintCounter counter(Control(kChorusKind, 0), drawn);
  window_.Refresh();
  EXPECT_TRUE(QTest::qWaitFor([&] { return drawn > 0; }, 1000));
  EXPECT_NE(window_.grab(Area(kChorusKind, 0)).toImage(), chorus);
  EXPECT_NE(window_.grab(Area(kPanKind, 0)).toImage(), pan);
}

TEST_F(ReglageWindow, ValuesBeyondTheRangeAreDrawnAsItsEnd) {
  for (const int kind :
       {kVolumeKind, kPanKind, kReverbKind, kChorusKind, kBankKind, kProgramKind}) {
    KnobWidget& control = Control(kind, 0);
    state.overrides.Set(ControllerEntry(kind, 0), 127);
    window_.DrawKnob(ControllerEntry(kind, 0));
    const QImage highest = control.grab().toImage();
    const QString text = control.accessibleDescription();
    state.overrides.Set(ControllerEntry(kind, 0), 3000);
    window_.DrawKnob(ControllerEntry(kind, 0));
    EXPECT_EQ(control.accessibleDescription(), text) << kind;
    EXPECT_EQ(control.grab().toImage(), highest) << kind;
  }
}

TEST_F(ReglageWindow, ClosingIsRemembered) {
  window_.close();
  EXPECT_EQ(ini.ReadIni("Reglage", "Show"), "0");
}

TEST_F(ReglageWindow, EveryControlNamesItself) {
  for (int entry = 0; entry < kFirstSongEntry; ++entry) {
    QAccessibleInterface* knob = QAccessible::queryAccessibleInterface(&window_.knob(entry));
    EXPECT_FALSE(knob->text(QAccessible::Name).isEmpty()) << entry;
    EXPECT_FALSE(knob->text(QAccessible::Description).isEmpty()) << entry;
  }
}

}  // namespace
}  // namespace vexolo
