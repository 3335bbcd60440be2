#include "widgets/knob_widget.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QSignalBlocker>
#include <QWheelEvent>

#include "widgets/focus_ring.h"

namespace vexolo {
namespace {

constexpr int kNotch = 120;  // of a wheel, in eighths of a degree
constexpr double kDisabledOpacity = 0.5;
constexpr double kHoverLight = 0.4;

}  // namespace

KnobWidget::KnobWidget(QSize size, int minimum, int maximum, Painter paint, QWidget* parent)
    : QDial(parent), size_(size), paint_(std::move(paint)) {
  setRange(minimum, maximum);
  setFixedSize(size);
  setFocusPolicy(Qt::StrongFocus);
  shown_ = value();
  QObject::connect(this, &QDial::valueChanged, this, [this](int value) { ValueSet(value); });
}

// What acts on it shows the value that comes of it.
void KnobWidget::ValueSet(int value) {
  const int steps = value - shown_;
  ShowValue(shown_);
  if (actions.set) {
    actions.set(value);
  } else if (actions.step && steps != 0) {
    actions.step(steps, Qt::NoModifier);
  }
}

void KnobWidget::ShowValue(int value) {
  const QSignalBlocker quiet(this);
  const int old = shown_;
  setValue(value);
  shown_ = this->value();
  if (shown_ != old) update();
}

void KnobWidget::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  if (!isEnabled()) painter.setOpacity(kDisabledOpacity);
  paint_(painter, value());
  if (isEnabled() && (underMouse() || held_)) {
    // The picture over itself: what is bright grows brighter, the dark plate round it stays.
    painter.setCompositionMode(QPainter::CompositionMode_ColorDodge);
    painter.setOpacity(kHoverLight);
    paint_(painter, value());
    painter.setOpacity(1);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
  }
  if (hasFocus()) DrawFocusRing(painter, rect());
}

void KnobWidget::mousePressEvent(QMouseEvent* event) {
  const bool left = event->button() == Qt::LeftButton;
  if (!left && event->button() != Qt::RightButton) return;
  held_ = left;
  if (actions.press) actions.press(left ? 1 : 2, event->position(), event->modifiers());
}

void KnobWidget::mouseMoveEvent(QMouseEvent* event) {
  if (held_ && actions.move) actions.move(event->position());
}

void KnobWidget::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) LetGo();
}

void KnobWidget::LetGo() {
  if (!held_) return;
  held_ = false;
  if (actions.release) actions.release();
  update();
}

void KnobWidget::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton && actions.reset) {
    actions.reset();
  } else {
    mousePressEvent(event);
  }
}

void KnobWidget::wheelEvent(QWheelEvent* event) {
  wheel_rest_ += event->angleDelta().y();
  const int steps = wheel_rest_ / kNotch;
  wheel_rest_ -= steps * kNotch;
  if (steps != 0 && actions.step) actions.step(steps, event->modifiers());
  event->accept();
}

void KnobWidget::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down) {
    if (actions.step) actions.step(event->key() == Qt::Key_Up ? 1 : -1, event->modifiers());
  } else {
    event->ignore();
  }
}

void KnobWidget::enterEvent(QEnterEvent*) { update(); }

void KnobWidget::leaveEvent(QEvent*) { update(); }

}  // namespace vexolo
