// layer: gui
// What the main window tells assistive tools, and what the keyboard reaches.
#include <QAccessible>
#include <QLabel>
#include <map>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "app/main_window.h"
#include "fakes/main_window_bench.h"

namespace vexolo {
namespace {

struct Accessibility : testing::Test, MainWindowBench {
  void SetUp() override { ASSERT_TRUE(Start()); }
  static QAccessibleInterface* Of(QWidget& widget) {
    return QAccessible::queryAccessibleInterface(&widget);
  }
  /// As an assistive tool does it: the button is seen going down for a moment.
  static void Press(QAbstractButton& button) {
    Of(button)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(QTest::qWaitFor([&] { return !button.isDown(); }));
  }
  static std::string NameOf(QWidget& widget) {
    return Of(widget)->text(QAccessible::Name).toStdString();
  }
};

/// Calls `visit` for every element below `element`.
void Walk(QAccessibleInterface* element, const std::function<void(QAccessibleInterface*)>& visit) {
  for (int i = 0; i < element->childCount(); ++i) {
    QAccessibleInterface* child = element->child(i);
    ASSERT_NE(nullptr, child);
    visit(child);
    Walk(child, visit);
  }
}

TEST_F(Accessibility, EveryElementOfTheTreeHasANameAndARole) {
  std::map<QAccessible::Role, int> found;
  Walk(Of(*window), [&](QAccessibleInterface* element) {
    const QAccessible::Role role = element->role();
    ++found[role];
    if (role == QAccessible::Client && element->childCount() > 0) return;  // only holds others
    EXPECT_FALSE(element->text(QAccessible::Name).isEmpty())
        << "role " << role << " " << element->object()->metaObject()->className() << " at "
        << element->rect().x() << "," << element->rect().y();
    EXPECT_NE(QAccessible::NoRole, role);
    EXPECT_NE(QAccessible::Client, role) << element->text(QAccessible::Name).toStdString();
  });
  EXPECT_EQ(19, found[QAccessible::Dial]);
  EXPECT_EQ(1, found[QAccessible::Slider]);
  EXPECT_EQ(48 + 1, found[QAccessible::Button] + found[QAccessible::CheckBox]);
  EXPECT_EQ(16 + 3, found[QAccessible::Indicator]);
  EXPECT_EQ(3, found[QAccessible::StaticText]);
}

TEST_F(Accessibility, NoTwoButtonsOrKnobsHaveTheSameName) {
  std::set<std::string> names;
  for (int i = 0; i < kSmButtons; ++i) EXPECT_TRUE(names.insert(NameOf(Button(i))).second) << i;
  for (int i = 0; i < kKnobs; ++i) EXPECT_TRUE(names.insert(NameOf(Knob(i))).second) << i;
}

TEST_F(Accessibility, EveryControlHasATooltip) {
  MainPanelWidget& panel = window->panel();
  std::vector<QWidget*> controls = {&panel.slider(),     &panel.title(),       &panel.time(),
                                    &panel.level(),      &panel.peak(),        &panel.clip_lamp(),
                                    &panel.label_gain(), &panel.speed_frame(), &panel.name_plate()};
  for (int i = 0; i < kSmButtons; ++i) controls.push_back(&Button(i));
  for (int i = 0; i < kSpeedKnob; ++i) controls.push_back(&Knob(i));  // the speed's is the frame's
  for (int i = 0; i < kChannels; ++i) controls.push_back(&panel.lamp(i));
  for (const QWidget* control : controls) {
    EXPECT_FALSE(control->toolTip().isEmpty())
        << control->metaObject()->className() << " at " << control->x() << "," << control->y();
  }
}

TEST_F(Accessibility, NamesAndTooltipsFollowTheLanguage) {
  const std::string french = NameOf(Button(33));
  state().language_file = folder / "en.lng";
  window->LoadLanguage();
  EXPECT_NE(french, NameOf(Button(33)));
  EXPECT_EQ("Help (F1)", Button(46).toolTip().toStdString());
}

TEST_F(Accessibility, ButtonsTellWhetherTheyAreOnAndCanBePressed) {
  AddSongs({"a.mid"});
  QAccessibleInterface* mute = Of(Button(16 + 4));
  EXPECT_FALSE(mute->state().checked);
  Press(Button(16 + 4));
  EXPECT_EQ(1, state().mix.ChannelMute[4]);
  EXPECT_TRUE(mute->state().checked);
  Press(Button(16 + 4));
  EXPECT_EQ(0, state().mix.ChannelMute[4]);
  EXPECT_FALSE(mute->state().checked);
  Press(Button(33));
  EXPECT_TRUE(state().playing);
}

TEST_F(Accessibility, KnobsTellTheirValueAndTakeOne) {
  AddSongs({"a.mid"});
  Click(33);
  QAccessibleValueInterface* level = Of(Knob(3))->valueInterface();
  ASSERT_NE(nullptr, level);
  EXPECT_EQ(100, level->currentValue().toInt());
  EXPECT_EQ(200, level->maximumValue().toInt());
  level->setCurrentValue(150);
  EXPECT_EQ(150, state().mix.ChannelVolume[3]);
  EXPECT_EQ(150, level->currentValue().toInt());
  level->setCurrentValue(40);
  EXPECT_EQ(40, state().mix.ChannelVolume[3]);
  QAccessibleValueInterface* speed = Of(Knob(kSpeedKnob))->valueInterface();
  speed->setCurrentValue(123);
  EXPECT_EQ(123, state().mix.Tempo);
}

TEST_F(Accessibility, ThePositionCanBeSet) {
  AddSongs({"a.mid"});
  Click(33);
  Of(window->panel().slider())->valueInterface()->setCurrentValue(PositionSlider::kMaximum / 2);
  EXPECT_EQ(5 * FakeBass::kBytesPerSecond, bass.stream(Stream()).position);
}

TEST_F(Accessibility, TabReachesEveryControlOnce) {
  window->activateWindow();
  std::set<QWidget*> reached;
  QWidget* widget = window.get();
  while ((widget = widget->nextInFocusChain()) != window.get()) {
    if ((widget->focusPolicy() & Qt::TabFocus) && widget->isEnabled()) reached.insert(widget);
  }
  std::size_t expected = kKnobs + 1;  // and the slider
  for (int i = 0; i < kSmButtons; ++i) expected += Button(i).isEnabled() ? 1 : 0;
  EXPECT_EQ(expected, reached.size());
}

TEST_F(Accessibility, ReturnPressesTheFocusedButton) {
  AddSongs({"a.mid"});
  QTest::keyClick(&Button(5), Qt::Key_Return);
  EXPECT_EQ(1, state().mix.ChannelSolo[5]);
  QTest::keyClick(&Button(5), Qt::Key_Return, Qt::ControlModifier);  // as the right button
  EXPECT_EQ(1, state().mix.ChannelSolo[5]);
  EXPECT_EQ(0, state().mix.ChannelMute[6]);
}

TEST_F(Accessibility, TheFocusIsSeen) {
  window->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
  for (QWidget* control : {static_cast<QWidget*>(&Button(33)), static_cast<QWidget*>(&Knob(2)),
                           static_cast<QWidget*>(&window->panel().slider())}) {
    control->clearFocus();
    const QImage without = control->grab().toImage();
    control->setFocus(Qt::TabFocusReason);
    ASSERT_TRUE(control->hasFocus());
    EXPECT_NE(without, control->grab().toImage());
  }
}

}  // namespace
}  // namespace vexolo
