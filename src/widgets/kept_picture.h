/// What a widget paints behind its controls, painted once and kept.
#pragma once

#include <QPainter>
#include <QPixmap>
#include <QWidget>

namespace vexolo {

/// Window thread only.
class KeptPicture {
 public:
  /// To be painted anew when it is next drawn.
  void Forget() { picture_ = {}; }

  /// Draws the picture over the whole widget; `paint(QPainter&)` is called where there is none yet
  /// for the scale of the widget's screen.
  template <typename Paint>
  void Draw(QPainter& painter, const QWidget& widget, const Paint& paint) {
    const double scale = widget.devicePixelRatioF();
    if (picture_.isNull() || picture_.devicePixelRatio() != scale) {
      picture_ = QPixmap(widget.size() * scale);
      picture_.setDevicePixelRatio(scale);
      QPainter picture_painter(&picture_);
      paint(picture_painter);
    }
    painter.drawPixmap(0, 0, picture_);
  }

 private:
  QPixmap picture_;
};

}  // namespace vexolo
