/// Where the keyboard is.
#pragma once

#include <QPainter>

namespace vexolo {

/// The same ring around every skinned control that has the focus.
inline void DrawFocusRing(QPainter& painter, const QRect& around) {
  constexpr double kRadius = 3;
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(QColor(255, 190, 92), 1));
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(QRectF(around).adjusted(0.5, 0.5, -0.5, -0.5), kRadius, kRadius);
}

}  // namespace vexolo
