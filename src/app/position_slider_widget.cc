#include "app/position_slider_widget.h"

#include <QMouseEvent>
#include <QPainter>
#include <QSignalBlocker>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "widgets/focus_ring.h"
#include "widgets/skin.h"

namespace vexolo {
namespace {

constexpr double kDisabledOpacity = 0.38;
constexpr int kCapWidth = kSliderCapSprite.width;
constexpr int kGrooveHeight = kGroovePatch.source.height;

}  // namespace

PositionSlider::PositionSlider(const Skin& skin, QWidget* parent)
    : QSlider(Qt::Horizontal, parent), skin_(skin) {
  setRange(0, kMaximum);
  setSingleStep(kMaximum / 100);
  setFocusPolicy(Qt::TabFocus);
  QObject::connect(this, &QSlider::valueChanged, this, [this](int value) {
    if (on_set) on_set(value);
  });
}

// The handle moves by less than a pixel at most ticks.
void PositionSlider::MoveTo(int value) {
  const QSignalBlocker quiet(this);
  setUpdatesEnabled(false);
  const QRect before = CapPlace();
  setValue(value);
  setUpdatesEnabled(true);
  const QRect after = CapPlace();
  if (before != after) update();
}

void PositionSlider::ShowValue(int value) {
  if (!held_) MoveTo(value);
}

void PositionSlider::ShowPassage(const PassageMarks& marks) {
  if (marks == passage_) return;
  passage_ = marks;
  update();
}

QRect PositionSlider::CapPlace() const {
  const double room = width() - kCapWidth;
  const int x = static_cast<int>(std::lround(room * value() / kMaximum));
  return {x, (height() - kSliderCapSprite.height) / 2, kCapWidth, kSliderCapSprite.height};
}

int PositionSlider::ValueAt(double x) const {
  const double room = std::max(width() - kCapWidth, 1);
  const double share = (x - kCapWidth / 2.0) / room;
  return static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * kMaximum));
}

void PositionSlider::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  if (!isEnabled()) painter.setOpacity(kDisabledOpacity);
  DrawGroove(painter);
  DrawPassage(painter);
  const SpriteRect& cap = held_                         ? kSliderCapDownSprite
                          : isEnabled() && underMouse() ? kSliderCapHoverSprite
                                                        : kSliderCapSprite;
  skin_.Draw(painter, kButtonSheet, cap, CapPlace().topLeft());
  if (hasFocus()) DrawFocusRing(painter, rect());
}

void PositionSlider::DrawGroove(QPainter& painter) const {
  const int y = (height() - kGrooveHeight) / 2;
  skin_.DrawNinePatch(painter, kGroovePatch, {0, y, width(), kGrooveHeight});
  if (!isEnabled() || value() == 0) return;
  const int played = CapPlace().center().x();
  skin_.DrawNinePatch(painter, kGroovePlayedPatch, {0, y, played, kGrooveHeight});
}

// The flags' upright edges point at the places where the cap's line stands at that time.
void PositionSlider::DrawPassage(QPainter& painter) const {
  const auto line_at = [this](double share) {
    return static_cast<int>(std::lround((width() - kCapWidth) * share)) + kCapWidth / 2;
  };
  if (passage_.start) {
    const int x = line_at(*passage_.start) - kPassageStartSprite.width / 2;
    skin_.Draw(painter, kButtonSheet, kPassageStartSprite, {x, 0});
  }
  if (passage_.end) {
    const int x = line_at(*passage_.end) - kPassageEndSprite.width / 2;
    skin_.Draw(painter, kButtonSheet, kPassageEndSprite, {x, 0});
  }
}

void PositionSlider::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  held_ = true;
  if (on_press) on_press();
  MoveTo(ValueAt(event->position().x()));
  update();
}

void PositionSlider::mouseMoveEvent(QMouseEvent* event) {
  if (held_) MoveTo(ValueAt(event->position().x()));
}

void PositionSlider::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) LetGo();
}

void PositionSlider::LetGo() {
  if (!held_) return;
  held_ = false;
  update();
  if (on_release) on_release(value());
}

void PositionSlider::wheelEvent(QWheelEvent* event) { event->ignore(); }

void PositionSlider::keyPressEvent(QKeyEvent* event) { event->ignore(); }

void PositionSlider::enterEvent(QEnterEvent*) { update(); }

void PositionSlider::leaveEvent(QEvent*) { update(); }

}  // namespace vexolo
