/// A rectangle of a skin bitmap.
#pragma once

namespace vexolo {

/// Pixels, from the bitmap's top left corner, at the skin's own scale.
struct SpriteRect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  bool operator==(const SpriteRect&) const = default;
};

}  // namespace vexolo
