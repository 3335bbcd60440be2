/// A knob or fader that is drawn from the skin.
#pragma once

#include <QDial>
#include <functional>

#include "widgets/held_control.h"

class QPainter;

namespace vexolo {

/// What is done to a knob. Positions are pixels in the knob, y downwards; mouse buttons are 1
/// (left) and 2 (right). Functions may be empty.
struct KnobActions {
  std::function<void(int mouse_button, QPointF at, Qt::KeyboardModifiers keys)> press;
  std::function<void(QPointF at)> move;
  std::function<void()> release;
  /// The wheel (1 or -1 a notch) or the up and down keys.
  std::function<void(int steps, Qt::KeyboardModifiers keys)> step;
  /// An assistive tool sets the value. Where this is empty, it comes as so many steps.
  std::function<void(int value)> set;
  /// A double click; the right click comes as a press.
  std::function<void()> reset;
};

/// A dial to assistive tools; it shows the value that it is given and reports what is done to it.
/// Up and down turn it when it has the focus; other keys go on to the window. Window thread only.
class KnobWidget : public QDial, public HeldControl {
 public:
  using Painter = std::function<void(QPainter& painter, int value)>;

  KnobWidget(QSize size, int minimum, int maximum, Painter paint, QWidget* parent);

  KnobActions actions;

  /// The value is kept within the range; repaints when it has changed.
  void ShowValue(int value);

  void LetGo() override;

  QSize sizeHint() const override { return size_; }
  QSize minimumSizeHint() const override { return size_; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  void ValueSet(int value);

  const QSize size_;
  const Painter paint_;
  bool held_ = false;
  int shown_ = 0;       ///< value
  int wheel_rest_ = 0;  ///< eighths of a degree that make no notch yet
};

}  // namespace vexolo
