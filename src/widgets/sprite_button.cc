#include "widgets/sprite_button.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include "widgets/focus_ring.h"
#include "widgets/skin.h"

namespace vexolo {
namespace {

constexpr int kLeft = 1;
constexpr int kRight = 2;
constexpr double kDisabledOpacity = 0.38;

int ButtonNumber(Qt::MouseButton button) {
  if (button == Qt::LeftButton) return kLeft;
  return button == Qt::RightButton ? kRight : 0;
}

}  // namespace

SpriteButton::SpriteButton(const Skin& skin, int bitmap, ButtonSprite sprite, bool press_shows_down,
                           QWidget* parent)
    : QAbstractButton(parent),
      skin_(skin),
      bitmap_(bitmap),
      sprite_(std::move(sprite)),
      press_shows_down_(press_shows_down) {
  resize(sizeHint());
  setFocusPolicy(Qt::TabFocus);
  // A click of an assistive tool comes this way; the mouse is handled below.
  QObject::connect(this, &QAbstractButton::clicked, this, [this] { Activate(kLeft); });
}

QSize SpriteButton::sizeHint() const {
  const SpriteRect rect = sprite_(kButtonUp);
  return {rect.width, rect.height};
}

void SpriteButton::set_hover_face(int bitmap, const SpriteRect& face) {
  hover_bitmap_ = bitmap;
  hover_face_ = face;
}

void SpriteButton::set_state(int state) {
  if (state == state_) return;
  state_ = state;
  update();
}

int SpriteButton::drawn_state() const {
  return held_by_ != 0 && press_shows_down_ && isDown() ? kButtonDown : state_;
}

void SpriteButton::Activate(int mouse_button) {
  if (on_press) on_press(mouse_button);
  if (on_click) on_click();
}

void SpriteButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  if (!isEnabled()) painter.setOpacity(kDisabledOpacity);
  if (hover_bitmap_ != 0 && isEnabled() && underMouse() && drawn_state() == kButtonUp) {
    skin_.Draw(painter, hover_bitmap_, hover_face_, {0, 0});
  } else {
    skin_.Draw(painter, bitmap_, sprite_(drawn_state()), {0, 0});
  }
  if (hasFocus()) DrawFocusRing(painter, rect());
}

void SpriteButton::mousePressEvent(QMouseEvent* event) {
  const int button = ButtonNumber(event->button());
  if (button == 0 || held_by_ != 0) return;
  held_by_ = button;
  setDown(true);
  if (on_press) on_press(button);
  update();
}

void SpriteButton::mouseMoveEvent(QMouseEvent* event) {
  if (held_by_ != 0) setDown(rect().contains(event->position().toPoint()));
}

void SpriteButton::mouseReleaseEvent(QMouseEvent* event) {
  if (held_by_ == 0 || ButtonNumber(event->button()) != held_by_) return;
  const bool inside = rect().contains(event->position().toPoint());
  LetGo();
  if (inside && on_click) on_click();
}

void SpriteButton::LetGo() {
  if (held_by_ == 0) return;
  held_by_ = 0;
  setDown(false);
  update();
}

void SpriteButton::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    Activate(event->modifiers() & Qt::ControlModifier ? kRight : kLeft);
  } else {
    event->ignore();
  }
}

void SpriteButton::keyReleaseEvent(QKeyEvent* event) { event->ignore(); }

void SpriteButton::enterEvent(QEnterEvent*) { update(); }

void SpriteButton::leaveEvent(QEvent*) { update(); }

}  // namespace vexolo
