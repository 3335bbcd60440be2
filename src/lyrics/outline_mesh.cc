#include "lyrics/outline_mesh.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace vexolo {

namespace {

constexpr double kSamePlace = 1e-6;   ///< points nearer than this are one
constexpr double kCosOfCorner = 0.9;  ///< of the greatest turn that is still smooth: 26 degrees
constexpr int kMostLines = 100;       ///< for one curve
constexpr int kProbes = 8;            ///< places on each line whose distance is measured

OutlinePoint Difference(const OutlinePoint& to, const OutlinePoint& from) {
  return {to.x - from.x, to.y - from.y};
}

double Length(const OutlinePoint& vector) { return std::hypot(vector.x, vector.y); }

/// Zero where the vector has no length to speak of.
OutlinePoint Direction(const OutlinePoint& vector) {
  const double length = Length(vector);
  return length < kSamePlace ? OutlinePoint() : OutlinePoint{vector.x / length, vector.y / length};
}

bool IsSmooth(const OutlinePoint& in, const OutlinePoint& out) {
  return in.x * out.x + in.y * out.y > kCosOfCorner;
}

struct Cubic {
  OutlinePoint start;
  std::array<OutlinePoint, 3> points;

  OutlinePoint At(double t) const {
    const double s = 1 - t;
    const double a = s * s * s;
    const double b = 3 * s * s * t;
    const double c = 3 * s * t * t;
    const double d = t * t * t;
    return {a * start.x + b * points[0].x + c * points[1].x + d * points[2].x,
            a * start.y + b * points[0].y + c * points[1].y + d * points[2].y};
  }

  OutlinePoint StartDirection() const {
    for (const OutlinePoint& point : points) {
      const OutlinePoint towards = Difference(point, start);
      if (Length(towards) >= kSamePlace) return Direction(towards);
    }
    return {};
  }
  OutlinePoint EndDirection() const {
    for (const OutlinePoint& point : {points[1], points[0], start}) {
      const OutlinePoint towards = Difference(points[2], point);
      if (Length(towards) >= kSamePlace) return Direction(towards);
    }
    return {};
  }

  /// The fewest lines between points at equal steps of the parameter that stay near the curve.
  int LinesFor(double tolerance) const {
    int lines = 1;
    while (lines < kMostLines && !IsNear(lines, tolerance)) ++lines;
    return lines;
  }

 private:
  bool IsNear(int lines, double tolerance) const {
    OutlinePoint from = start;
    for (int line = 1; line <= lines; ++line) {
      const OutlinePoint to = At(static_cast<double>(line) / lines);
      for (int probe = 1; probe < kProbes; ++probe) {
        const double t = (line - 1 + static_cast<double>(probe) / kProbes) / lines;
        if (Distance(At(t), from, to) > tolerance) return false;
      }
      from = to;
    }
    return true;
  }

  /// Of a point from the line between two others.
  static double Distance(const OutlinePoint& at, const OutlinePoint& from, const OutlinePoint& to) {
    const OutlinePoint along = Difference(to, from);
    const OutlinePoint there = Difference(at, from);
    const double length = Length(along);
    const double part =
        length < kSamePlace ? 0 : (there.x * along.x + there.y * along.y) / (length * length);
    const double nearest = std::clamp(part, 0.0, 1.0);
    return std::hypot(there.x - nearest * along.x, there.y - nearest * along.y);
  }
};

/// Builds one contour after the other.
class Flattener {
 public:
  explicit Flattener(double tolerance) : tolerance_(tolerance) {}

  void Take(const OutlineStep& step) {
    switch (step.kind) {
      case OutlineStep::Kind::kMove:
        Close();
        points_ = {{step.points[0], {}, {}}};
        break;
      case OutlineStep::Kind::kLine:
        LineTo(step.points[0]);
        break;
      case OutlineStep::Kind::kCubic:
        CurveTo(step.points);
        break;
    }
  }

  std::vector<Contour> Finish() {
    Close();
    return std::move(contours_);
  }

 private:
  /// A point with the directions in which the outline comes and goes.
  struct Point {
    OutlinePoint at;
    OutlinePoint in;
    OutlinePoint out;
  };

  void LineTo(const OutlinePoint& end) {
    if (points_.empty()) return;
    const OutlinePoint direction = Direction(Difference(end, points_.back().at));
    Add(end, direction, direction);
  }

  void CurveTo(const std::array<OutlinePoint, 3>& points) {
    if (points_.empty()) return;
    const Cubic cubic{points_.back().at, points};
    const int lines = cubic.LinesFor(tolerance_);
    OutlinePoint leaving = cubic.StartDirection();
    for (int i = 1; i < lines; ++i) {
      const OutlinePoint at = cubic.At(static_cast<double>(i) / lines);
      // Within the curve the directions only have to agree.
      const OutlinePoint along = Direction(Difference(at, points_.back().at));
      if (Add(at, leaving, along)) leaving = along;
    }
    Add(points[2], leaving, cubic.EndDirection());
  }

  /// Goes on to `at`, leaving the last point in one direction and coming in from another.
  bool Add(const OutlinePoint& at, const OutlinePoint& leaving, const OutlinePoint& coming) {
    if (Length(Difference(at, points_.back().at)) < kSamePlace) return false;
    points_.back().out = leaving;
    points_.push_back({at, coming, {}});
    return true;
  }

  void Close() {
    if (points_.empty()) return;
    LineTo(points_.front().at);
    if (points_.size() > 1 &&
        Length(Difference(points_.front().at, points_.back().at)) < kSamePlace) {
      points_.front().in = points_.back().in;
      points_.pop_back();
    }
    if (points_.size() >= 3) {
      Contour contour;
      contour.reserve(points_.size());
      for (const Point& point : points_) {
        contour.push_back({point.at, IsSmooth(point.in, point.out)});
      }
      contours_.push_back(std::move(contour));
    }
    points_.clear();
  }

  const double tolerance_;
  std::vector<Point> points_;
  std::vector<Contour> contours_;
};

/// Twice the area; negative where the contour runs clockwise.
double TwiceArea(const Contour& contour) {
  double sum = 0;
  OutlinePoint before = contour.back().at;
  for (const ContourPoint& point : contour) {
    sum += before.x * point.at.y - point.at.x * before.y;
    before = point.at;
  }
  return sum;
}

OutlinePoint OutwardNormal(const OutlinePoint& from, const OutlinePoint& to) {
  const OutlinePoint along = Direction(Difference(to, from));
  return {along.y, -along.x};
}

OutlinePoint Between(const OutlinePoint& a, const OutlinePoint& b) {
  return Direction({a.x + b.x, a.y + b.y});
}

}  // namespace

std::vector<Contour> FlattenOutline(const GlyphOutline& outline, double tolerance) {
  Flattener flattener(tolerance);
  for (const OutlineStep& step : outline) flattener.Take(step);
  std::vector<Contour> contours = flattener.Finish();
  double area = 0;
  for (const Contour& contour : contours) area += TwiceArea(contour);
  // Some kinds of font have outer contours clockwise, others counter-clockwise; holes always run
  // against them and enclose less.
  if (area < 0) {
    for (Contour& contour : contours) std::reverse(contour.begin(), contour.end());
  }
  return contours;
}

OutlineBox BoxOf(const std::vector<Contour>& contours) {
  if (contours.empty()) return {};
  const OutlinePoint& first = contours.front().front().at;
  OutlineBox box = {first.x, first.y, first.x, first.y};
  for (const Contour& contour : contours) {
    for (const ContourPoint& point : contour) {
      box.left = std::min(box.left, point.at.x);
      box.bottom = std::min(box.bottom, point.at.y);
      box.right = std::max(box.right, point.at.x);
      box.top = std::max(box.top, point.at.y);
    }
  }
  return box;
}

std::vector<SideFace> SideFaces(const std::vector<Contour>& contours) {
  std::vector<SideFace> faces;
  std::vector<OutlinePoint> normals;
  for (const Contour& contour : contours) {
    const std::size_t count = contour.size();
    normals.clear();
    for (std::size_t i = 0; i < count; ++i) {
      normals.push_back(OutwardNormal(contour[i].at, contour[(i + 1) % count].at));
    }
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t next = (i + 1) % count;
      const OutlinePoint& own = normals[i];
      const OutlinePoint& before = normals[(i + count - 1) % count];
      faces.push_back({contour[i].at, contour[next].at,
                       contour[i].is_smooth ? Between(before, own) : own,
                       contour[next].is_smooth ? Between(own, normals[next]) : own});
    }
  }
  return faces;
}

}  // namespace vexolo
