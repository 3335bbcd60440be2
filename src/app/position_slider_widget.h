/// `sldPosition`: where the song is.
#pragma once

#include <QSlider>
#include <functional>

#include "app/passage_marks.h"
#include "widgets/held_control.h"

namespace vexolo {

class Skin;

/// A slider to assistive tools, drawn from the skin. While the mouse holds it, it stands where the
/// mouse is. Keys go on to the window. Window thread only.
class PositionSlider : public QSlider, public HeldControl {
 public:
  static constexpr int kMaximum = 10000;

  PositionSlider(const Skin& skin, QWidget* parent);

  std::function<void()> on_press;
  std::function<void(int value)> on_release;
  /// An assistive tool has set the value.
  std::function<void(int value)> on_set;

  /// Ignored while the mouse holds the slider.
  void ShowValue(int value);

  void LetGo() override;

  /// Shows where the passage that is played begins and ends.
  void ShowPassage(const PassageMarks& marks);
  const PassageMarks& passage() const { return passage_; }

  /// Where the cap is drawn.
  QRect CapPlace() const;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  int ValueAt(double x) const;
  void DrawGroove(QPainter& painter) const;
  void DrawPassage(QPainter& painter) const;
  void MoveTo(int value);

  const Skin& skin_;
  bool held_ = false;
  PassageMarks passage_;
};

}  // namespace vexolo
