#include "app/main_panel_widget.h"

#include <QKeyEvent>
#include <QLabel>
#include <QPaintEvent>
#include <QPainter>
#include <algorithm>

#include "app/panel_layout.h"
#include "mixer/channel_strips.h"
#include "widgets/engraving.h"
#include "widgets/focus_ring.h"
#include "widgets/skin.h"
#include "widgets/window_context.h"

namespace vexolo {
namespace {

constexpr QSize SizeOf(const panel::Place& place) { return {place.width, place.height}; }

constexpr QRect RectOf(const panel::Place& place) {
  return {place.x, place.y, place.width, place.height};
}

void PutAt(QWidget& widget, const panel::Place& place) { widget.setGeometry(RectOf(place)); }

panel::Place SmPlace(int index) {
  if (index < kFirstMuteButton) return panel::SoloPlace(index);
  if (index < kFirstMiscButton) return panel::MutePlace(index - kFirstMuteButton);
  return panel::MiscButtonPlace(index);
}

panel::Place PotardPlace(int index) {
  if (index < kGainKnob) return panel::LevelPlace(index);
  if (index == kGainKnob) return panel::kGainPlace;
  return index == kTransposeKnob ? panel::kTransposePlace : panel::kSpeedPlace;
}

struct ValueRange {
  int min;
  int max;
};

// The Speed knob shows what a file may hold beyond what it can be turned to.
ValueRange RangeOfKnob(int index) {
  constexpr int kSlowestShown = -10000;
  if (index < kGainKnob) return {0, kMaxLevel};
  if (index == kGainKnob) return {-kMaxGain, kMaxGain};
  if (index == kTransposeKnob) return {-kMaxTranspose, kMaxTranspose};
  return {kSlowestShown, kFastestTempo};
}

/// The button says by itself whether what it stands for is on.
bool IsToggle(int button) {
  constexpr std::array<int, 5> kToggles = {37, 38, 43, 44, 47};
  return button < kFirstMiscButton ||
         std::find(kToggles.begin(), kToggles.end(), button) != kToggles.end();
}

/// A mute button in state 1 shows a channel that is held back without the user's doing.
bool IsOn(int button, int state) {
  if (button >= kFirstMiscButton) return state != kButtonUp;
  constexpr int kOn = 3;
  constexpr int kHeldBack = 1;
  return state == kOn || (button >= kFirstMuteButton && state == kHeldBack);
}

/// The panel itself shows the name.
class NamePlate : public QAbstractButton {
 public:
  explicit NamePlate(QWidget* parent) : QAbstractButton(parent) {
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    if (hasFocus()) DrawFocusRing(painter, rect());
  }
  void keyPressEvent(QKeyEvent* event) override {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
      click();
    } else {
      event->ignore();
    }
  }
  void keyReleaseEvent(QKeyEvent* event) override { event->ignore(); }
};

/// `LabelGain`, lettered like the panel.
class GainLabel : public QLabel {
 public:
  explicit GainLabel(QWidget* parent) : QLabel(parent) {}

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    DrawEngraved(painter, rect(), text(), Lettering::kBright);
  }
};

}  // namespace

MainPanelWidget::MainPanelWidget(const Skin& skin, QWidget* parent)
    : PanelFaceWidget(skin, parent), skin_(skin), speed_frame_(new QWidget(this)) {
  PutAt(*speed_frame_, panel::kSpeedPlace);
  MakeButtons();
  MakeKnobs();
  MakeDisplays();
  OrderTabs();
}

void MainPanelWidget::MakeButtons() {
  for (int index = 0; index < kSmButtons; ++index) {
    // Solo and mute buttons change their looks by what a click does, the others while they are
    // held.
    const bool press_shows_down = index >= kFirstMiscButton;
    auto* button = new SpriteButton(
        skin_, kButtonSheet, [index](int state) { return SmSprite(index, state); },
        press_shows_down, this);
    button->set_hover_face(kControllerSheet, HoverSprite(index));
    PutAt(*button, SmPlace(index));
    button->setCheckable(IsToggle(index));
    button->on_press = [this, index](int mouse_button) {
      actions.press_button(index, mouse_button);
    };
    button->on_click = [this, index] { actions.click_button(index); };
    sm_[static_cast<std::size_t>(index)] = button;
  }
}

void MainPanelWidget::DrawSM(int button, int state) {
  SpriteButton& widget = sm(button);
  widget.set_state(state);
  if (widget.isCheckable()) widget.setChecked(IsOn(button, state));
}

void MainPanelWidget::MakeKnobs() {
  for (int index = 0; index < kKnobs; ++index) {
    potards_[static_cast<std::size_t>(index)] = MakeKnob(index);
  }
}

KnobWidget* MainPanelWidget::MakeKnob(int index) {
  const panel::Place place = PotardPlace(index);
  const ValueRange range = RangeOfKnob(index);
  const bool is_speed = index == kSpeedKnob;
  auto* knob = new KnobWidget(
      SizeOf(place), range.min, range.max,
      [this, index](QPainter& painter, int value) { PaintKnob(painter, index, value); },
      is_speed ? speed_frame_ : this);
  if (!is_speed) knob->move(place.x, place.y);
  knob->actions.press = [this, index](int mouse_button, QPointF at, Qt::KeyboardModifiers) {
    actions.press_knob(index, mouse_button, at);
  };
  knob->actions.move = [this](QPointF at) { actions.move_knob(at); };
  knob->actions.release = [this] { actions.release_knob(); };
  knob->actions.step = [this, index](int steps, Qt::KeyboardModifiers keys) {
    actions.step_knob(index, steps, keys.testFlag(Qt::ControlModifier));
  };
  knob->actions.set = [this, index](int value) { actions.set_knob(index, value); };
  knob->actions.reset = [this, index] { actions.press_knob(index, kRightButton, {}); };
  return knob;
}

void MainPanelWidget::PaintKnob(QPainter& painter, int index, int value) const {
  if (index != kSpeedKnob) {
    const int sheet = index == kTransposeKnob ? kTransposeSheet : kFaderSheet;
    skin_.Draw(painter, sheet, KnobSprite(index, value), {0, 0});
    return;
  }
  constexpr int kRim = 4;
  const SpeedText text = SpeedKnobText(base_tempo_, value);
  for (const LedGlyph& glyph : LedPrint(text.text, kRim, kRim, text.lit)) {
    skin_.Draw(painter, kLedSheet, glyph.source, {glyph.x, glyph.y});
  }
}

void MainPanelWidget::DrawKnob(int knob, int value, int base_tempo) {
  if (knob == kSpeedKnob) {
    const SpeedText before = SpeedKnobText(base_tempo_, potard(knob).value());
    base_tempo_ = base_tempo;
    if (before != SpeedKnobText(base_tempo_, value)) potard(knob).update();
  }
  if (knob == kTransposeKnob && value != transpose_) {
    transpose_ = value;
    update(RectOf(panel::kTransposeValue));
  }
  potard(knob).ShowValue(value);
}

void MainPanelWidget::paintEvent(QPaintEvent* event) {
  PanelFaceWidget::paintEvent(event);
  const QRect place = RectOf(panel::kTransposeValue);
  if (transpose_ == 0 || !event->region().intersects(place)) return;
  QPainter painter(this);
  DrawEngraved(painter, place, Q(TransposeValueText(transpose_)), Lettering::kBright);
}

void MainPanelWidget::MakeDisplays() {
  for (int channel = 0; channel < kChannels; ++channel) {
    auto* lamp = new LampWidget(skin_, this);
    PutAt(*lamp, panel::LampPlace(channel));
    lamps_[static_cast<std::size_t>(channel)] = lamp;
  }
  level_ = new LevelWidget(skin_, this);
  PutAt(*level_, panel::kLevelMeter);
  peak_ = new LevelWidget(skin_, this);
  PutAt(*peak_, panel::kPeakMeter);
  clip_lamp_ = new ClipWidget(skin_, this);
  PutAt(*clip_lamp_, panel::kClipLamp);
  title_ = new LedWidget(skin_, panel::kTitle.characters, this);
  PutAt(*title_, panel::kTitle.Text());
  time_ = new LedWidget(skin_, panel::kTime.characters, this);
  PutAt(*time_, panel::kTime.Text());
  slider_ = new PositionSlider(skin_, this);
  PutAt(*slider_, panel::kPosition);
  label_gain_ = new GainLabel(this);
  PutAt(*label_gain_, panel::kLabelGain);
  name_plate_ = new NamePlate(this);
  QObject::connect(name_plate_, &QAbstractButton::clicked, this, [this] { actions.open_about(); });
  PutAt(*name_plate_, panel::kNamePlate);
}

void MainPanelWidget::OrderTabs() {
  constexpr int kFirstTransport = kFirstMiscButton;
  QWidget* last = slider_;
  const auto then = [&last](QWidget* next) {
    QWidget::setTabOrder(last, next);
    last = next;
  };
  for (int index = kFirstTransport; index < kSmButtons; ++index) then(&sm(index));
  for (int channel = 0; channel < kChannels; ++channel) {
    then(&potard(channel));
    then(&sm(channel));
    then(&sm(channel + kFirstMuteButton));
  }
  for (int knob = kGainKnob; knob < kKnobs; ++knob) then(&potard(knob));
}

}  // namespace vexolo
