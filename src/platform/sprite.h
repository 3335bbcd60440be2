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

/// The nearest whole pixel or frame of what is not negative; for constants, which std::lround
/// cannot be.
constexpr int Nearest(double place) { return static_cast<int>(2 * place + 1) / 2; }

}  // namespace vexolo
