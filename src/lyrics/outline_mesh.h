/// From a glyph's outline to the polygons of an extruded letter: flattened curves and the normals
/// of the faces around it. Free functions without state; any thread.
///
/// One unit is the height of the font, y points upwards.
#pragma once

#include <array>
#include <vector>

namespace vexolo {

struct OutlinePoint {
  double x = 0;
  double y = 0;
};

/// One step of an outline. A move begins a contour, which is closed whether it says so or not.
struct OutlineStep {
  enum class Kind { kMove, kLine, kCubic };
  Kind kind = Kind::kMove;
  /// kMove and kLine: the first one is where to. kCubic: two control points and the end.
  std::array<OutlinePoint, 3> points;
};
using GlyphOutline = std::vector<OutlineStep>;

/// The smallest upright box around a glyph. Empty outlines give a box of zeros.
struct OutlineBox {
  double left = 0;
  double bottom = 0;
  double right = 0;
  double top = 0;
};

struct ContourPoint {
  OutlinePoint at;
  /// The outline goes round here without a corner, so light goes round it as well.
  bool is_smooth = false;
  OutlinePoint along;  ///< direction of the outline here, of length 1; where it is smooth
};
/// A closed line of at least three points, each once.
using Contour = std::vector<ContourPoint>;

/// Replaces curves by lines that are nowhere farther from them than `tolerance`, by as few as a
/// walk along the outline needs: a line may stand for the parts of several curves. Contours without
/// area are left out. The ink lies to the left of every line, whichever way the font has it: outer
/// contours run counter-clockwise, holes clockwise.
std::vector<Contour> FlattenOutline(const GlyphOutline& outline, double tolerance);

OutlineBox BoxOf(const std::vector<Contour>& contours);

/// One face of the letter's rim, from `from` to `to`. The normals have length 1 and point away from
/// the ink; where two faces meet in a smooth point both have the same one there.
struct SideFace {
  OutlinePoint from;
  OutlinePoint to;
  OutlinePoint from_normal;
  OutlinePoint to_normal;
};
std::vector<SideFace> SideFaces(const std::vector<Contour>& contours);

/// Three corners, counter-clockwise, by their places in a list of points.
using Triangle = std::array<int, 3>;

/// Turns the edges between triangles until no corner lies within the circle through another
/// triangle's corners. They fill the same area with the same points, but none is longer and thinner
/// than the outline makes it: renderers fill such triangles faster.
void MakeCompact(const std::vector<OutlinePoint>& points, std::vector<Triangle>& triangles);

}  // namespace vexolo
