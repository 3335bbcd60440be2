/// The skin bitmaps, ready for copying rectangles out of them.
#pragma once

#include <QPoint>

#include "platform/sprite.h"

class QPainter;

namespace vexolo {

class Skin {
 public:
  /// Copies a rectangle of bitmap `id` (101..109) to `to`. Units are pixels at the skin's own
  /// scale, whatever the screen's.
  void Draw(QPainter& painter, int id, const SpriteRect& source, QPoint to) const;
};

}  // namespace vexolo
