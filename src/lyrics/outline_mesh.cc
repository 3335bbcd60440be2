#include "lyrics/outline_mesh.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <utility>

namespace vexolo {

namespace {

constexpr double kSamePlace = 1e-6;   ///< points nearer than this are one
constexpr double kCosOfCorner = 0.9;  ///< of the greatest turn that is still smooth: 26 degrees
constexpr int kMostLines = 100;       ///< for one curve
/// Curves are first followed this closely, in tolerances; then points are left out again.
constexpr double kFirstPass = 1.0 / 64;
constexpr double kInside = 1e-14;  ///< fourth power of a length

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

OutlinePoint Between(const OutlinePoint& a, const OutlinePoint& b) {
  return Direction({a.x + b.x, a.y + b.y});
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

  /// Zero where the curve stands still.
  OutlinePoint DirectionAt(double t) const {
    const double s = 1 - t;
    const OutlinePoint first = Difference(points[0], start);
    const OutlinePoint second = Difference(points[1], points[0]);
    const OutlinePoint third = Difference(points[2], points[1]);
    return Direction({s * s * first.x + 2 * s * t * second.x + t * t * third.x,
                      s * s * first.y + 2 * s * t * second.y + t * t * third.y});
  }

  /// As many lines between points at equal steps of the parameter as stay near the curve for sure:
  /// a step h leaves it by no more than h * h / 8 of the greatest second derivative.
  int LinesFor(double tolerance) const {
    const double bend =
        6 * std::max(Bend(start, points[0], points[1]), Bend(points[0], points[1], points[2]));
    const double lines = std::ceil(std::sqrt(bend / (8 * tolerance)));
    return static_cast<int>(std::clamp(lines, 1.0, double{kMostLines}));
  }

 private:
  static double Bend(const OutlinePoint& a, const OutlinePoint& b, const OutlinePoint& c) {
    return std::hypot(a.x - 2 * b.x + c.x, a.y - 2 * b.y + c.y);
  }
};

/// Of a point from the line between two others.
double Distance(const OutlinePoint& at, const OutlinePoint& from, const OutlinePoint& to) {
  const OutlinePoint along = Difference(to, from);
  const OutlinePoint there = Difference(at, from);
  const double square = along.x * along.x + along.y * along.y;
  const double part =
      square < kSamePlace * kSamePlace ? 0 : (there.x * along.x + there.y * along.y) / square;
  const double nearest = std::clamp(part, 0.0, 1.0);
  return std::hypot(there.x - nearest * along.x, there.y - nearest * along.y);
}

/// Whether the line from point `from` to point `to`, counted on round the contour, passes all
/// points between them.
bool IsNear(const Contour& contour, std::size_t from, std::size_t to, double tolerance) {
  const std::size_t count = contour.size();
  for (std::size_t i = from + 1; i < to; ++i) {
    if (Distance(contour[i % count].at, contour[from % count].at, contour[to % count].at) >
        tolerance) {
      return false;
    }
  }
  return true;
}

/// Leaves out the smooth points that a line may pass by. Corners stay.
Contour Thinned(const Contour& contour, double tolerance) {
  const std::size_t count = contour.size();
  const auto corner = std::find_if(contour.begin(), contour.end(),
                                   [](const ContourPoint& point) { return !point.is_smooth; });
  const auto first = corner == contour.end()
                         ? std::size_t{0}
                         : static_cast<std::size_t>(std::distance(contour.begin(), corner));
  Contour thinned;
  for (std::size_t from = first; from < first + count;) {
    thinned.push_back(contour[from % count]);
    std::size_t to = from + 1;
    while (to < first + count && contour[to % count].is_smooth &&
           IsNear(contour, from, to + 1, tolerance)) {
      ++to;
    }
    from = to;
  }
  return thinned.size() < 3 ? contour : thinned;
}

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
    const int lines = cubic.LinesFor(kFirstPass * tolerance_);
    OutlinePoint leaving = cubic.StartDirection();
    for (int i = 1; i < lines; ++i) {
      const double t = static_cast<double>(i) / lines;
      const OutlinePoint along = cubic.DirectionAt(t);
      if (Add(cubic.At(t), leaving, along)) leaving = along;
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
        contour.push_back({point.at, IsSmooth(point.in, point.out), Between(point.in, point.out)});
      }
      contours_.push_back(Thinned(contour, (1 - kFirstPass) * tolerance_));
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

void Reverse(Contour& contour) {
  std::reverse(contour.begin(), contour.end());
  for (ContourPoint& point : contour) point.along = {-point.along.x, -point.along.y};
}

/// Twice the area; above 0 where the corners run counter-clockwise.
double TwiceArea(const OutlinePoint& a, const OutlinePoint& b, const OutlinePoint& c) {
  const OutlinePoint ab = Difference(b, a);
  const OutlinePoint ac = Difference(c, a);
  return ab.x * ac.y - ab.y * ac.x;
}

/// Whether `at` lies within the circle through the corners of a counter-clockwise triangle, by more
/// than what rounding could make of it.
bool IsInCircle(const OutlinePoint& a, const OutlinePoint& b, const OutlinePoint& c,
                const OutlinePoint& at) {
  const auto square = [](const OutlinePoint& v) { return v.x * v.x + v.y * v.y; };
  const OutlinePoint u = Difference(a, at);
  const OutlinePoint v = Difference(b, at);
  const OutlinePoint w = Difference(c, at);
  const double in = square(u) * (v.x * w.y - v.y * w.x) - square(v) * (u.x * w.y - u.y * w.x) +
                    square(w) * (u.x * v.y - u.y * v.x);
  return in > kInside;
}

/// Turns edges; knows which triangle lies to the left of each.
class EdgeTurner {
 public:
  EdgeTurner(const std::vector<OutlinePoint>& points, std::vector<Triangle>& triangles)
      : points_(points), triangles_(triangles) {
    for (std::size_t i = 0; i < triangles.size(); ++i) Enter(i);
  }

  void Run() {
    while (!waiting_.empty()) {
      const Edge edge = waiting_.back();
      waiting_.pop_back();
      TurnWhereBetter(edge);
    }
  }

 private:
  using Edge = std::pair<int, int>;

  void Enter(std::size_t index) {
    const Triangle& triangle = triangles_[index];
    for (std::size_t i = 0; i < 3; ++i) {
      const Edge edge = {triangle[i], triangle[(i + 1) % 3]};
      left_[edge] = index;
      waiting_.push_back(edge);
    }
  }

  int Opposite(std::size_t index, const Edge& edge) const {
    for (const int corner : triangles_[index]) {
      if (corner != edge.first && corner != edge.second) return corner;
    }
    return edge.first;
  }

  void TurnWhereBetter(const Edge& edge) {
    const auto left = left_.find(edge);
    const auto right = left_.find({edge.second, edge.first});
    if (left == left_.end() || right == left_.end()) return;  // turned since, or of the outline
    const std::size_t on_left = left->second;
    const std::size_t on_right = right->second;
    const auto [from, to] = edge;
    const int a = Opposite(on_left, edge);
    const int b = Opposite(on_right, edge);
    if (!IsInCircle(At(from), At(to), At(a), At(b))) return;
    if (TwiceArea(At(a), At(from), At(b)) <= 0 || TwiceArea(At(b), At(to), At(a)) <= 0) return;
    left_.erase(left);
    left_.erase(right);
    triangles_[on_left] = {a, from, b};
    triangles_[on_right] = {b, to, a};
    Enter(on_left);
    Enter(on_right);
  }

  const OutlinePoint& At(int point) const { return points_[static_cast<std::size_t>(point)]; }

  const std::vector<OutlinePoint>& points_;
  std::vector<Triangle>& triangles_;
  std::map<Edge, std::size_t> left_;
  std::vector<Edge> waiting_;
};

/// Of a line that leads this way with the ink to its left.
OutlinePoint OutwardNormal(const OutlinePoint& along) { return {along.y, -along.x}; }

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
    for (Contour& contour : contours) Reverse(contour);
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
  for (const Contour& contour : contours) {
    const std::size_t count = contour.size();
    for (std::size_t i = 0; i < count; ++i) {
      const ContourPoint& from = contour[i];
      const ContourPoint& to = contour[(i + 1) % count];
      const OutlinePoint own = Direction(Difference(to.at, from.at));
      faces.push_back({from.at, to.at, OutwardNormal(from.is_smooth ? from.along : own),
                       OutwardNormal(to.is_smooth ? to.along : own)});
    }
  }
  return faces;
}

void MakeCompact(const std::vector<OutlinePoint>& points, std::vector<Triangle>& triangles) {
  EdgeTurner(points, triangles).Run();
}

}  // namespace vexolo
