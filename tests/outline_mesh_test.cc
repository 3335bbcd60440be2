// layer: core
#include "lyrics/outline_mesh.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include <gtest/gtest.h>

namespace vexolo {
namespace {

using Kind = OutlineStep::Kind;

constexpr double kTolerance = 0.0005;
constexpr double kQuarter = 0.5522847498;  ///< control points of a quarter of a circle

OutlineStep Move(double x, double y) { return {Kind::kMove, {{{x, y}}}}; }
OutlineStep Line(double x, double y) { return {Kind::kLine, {{{x, y}}}}; }

GlyphOutline Square(double left, double bottom, double size, bool clockwise) {
  const double right = left + size;
  const double top = bottom + size;
  if (clockwise)
    return {Move(left, bottom), Line(left, top), Line(right, top), Line(right, bottom)};
  return {Move(left, bottom), Line(right, bottom), Line(right, top), Line(left, top)};
}

/// Counter-clockwise, four curves.
GlyphOutline Circle(double x, double y, double r) {
  const double k = kQuarter * r;
  return {Move(x + r, y),
          {Kind::kCubic, {{{x + r, y + k}, {x + k, y + r}, {x, y + r}}}},
          {Kind::kCubic, {{{x - k, y + r}, {x - r, y + k}, {x - r, y}}}},
          {Kind::kCubic, {{{x - r, y - k}, {x - k, y - r}, {x, y - r}}}},
          {Kind::kCubic, {{{x + k, y - r}, {x + r, y - k}, {x + r, y}}}}};
}

double Area(const Contour& contour) {
  double sum = 0;
  for (std::size_t i = 0; i < contour.size(); ++i) {
    const OutlinePoint& a = contour[i].at;
    const OutlinePoint& b = contour[(i + 1) % contour.size()].at;
    sum += a.x * b.y - b.x * a.y;
  }
  return sum / 2;
}

GlyphOutline Together(GlyphOutline first, const GlyphOutline& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

TEST(OutlineMesh, NothingGivesNothing) {
  EXPECT_TRUE(FlattenOutline({}, kTolerance).empty());
  EXPECT_TRUE(SideFaces({}).empty());
  EXPECT_EQ(0, BoxOf({}).right);
}

TEST(OutlineMesh, ASquareKeepsItsFourCorners) {
  const auto contours = FlattenOutline(Square(0.25, 0.5, 1, false), kTolerance);
  ASSERT_EQ(1u, contours.size());
  ASSERT_EQ(4u, contours[0].size());
  for (const ContourPoint& point : contours[0]) EXPECT_FALSE(point.is_smooth);
  EXPECT_DOUBLE_EQ(1, Area(contours[0]));
  const OutlineBox box = BoxOf(contours);
  EXPECT_EQ(0.25, box.left);
  EXPECT_EQ(0.5, box.bottom);
  EXPECT_EQ(1.25, box.right);
  EXPECT_EQ(1.5, box.top);
}

TEST(OutlineMesh, AContourThatReturnsToItsStartHasThatPointOnce) {
  GlyphOutline outline = Square(0, 0, 1, false);
  outline.push_back(Line(0, 0));
  EXPECT_EQ(4u, FlattenOutline(outline, kTolerance)[0].size());
}

TEST(OutlineMesh, InkIsToTheLeftWhicheverWayTheFontHasIt) {
  for (const bool clockwise : {false, true}) {
    const auto contours = FlattenOutline(
        Together(Square(0, 0, 1, clockwise), Square(0.25, 0.25, 0.5, !clockwise)), kTolerance);
    ASSERT_EQ(2u, contours.size());
    EXPECT_DOUBLE_EQ(1, Area(contours[0])) << clockwise;
    EXPECT_DOUBLE_EQ(-0.25, Area(contours[1])) << clockwise;
  }
}

TEST(OutlineMesh, LinesStayWithinTheToleranceOfTheCurve) {
  for (const double radius : {0.02, 0.25, 1.0}) {
    for (const double tolerance : {0.01, 0.0005, 0.0001}) {
      const auto contours = FlattenOutline(Circle(0, 0, radius), tolerance);
      ASSERT_EQ(1u, contours.size());
      for (std::size_t i = 0; i < contours[0].size(); ++i) {
        const OutlinePoint& a = contours[0][i].at;
        const OutlinePoint& b = contours[0][(i + 1) % contours[0].size()].at;
        const double middle = std::hypot((a.x + b.x) / 2, (a.y + b.y) / 2);
        // Four cubic curves are a circle but for 0.03 %.
        EXPECT_NEAR(radius, middle, tolerance + radius * 3e-4);
      }
    }
  }
}

TEST(OutlineMesh, FinerTolerancesTakeMoreLinesButNoMoreThanNeeded) {
  const std::size_t coarse = FlattenOutline(Circle(0, 0, 0.25), 0.01)[0].size();
  const std::size_t fine = FlattenOutline(Circle(0, 0, 0.25), 0.0005)[0].size();
  EXPECT_LT(coarse, fine);
  // The fewest lines that a circle allows: an angle of 2 acos(1 - e/r) each.
  const double fewest = std::numbers::pi / std::acos(1 - 0.0005 / 0.25);
  EXPECT_GE(static_cast<double>(fine), fewest);
  EXPECT_LE(static_cast<double>(fine), 1.2 * fewest);
}

TEST(OutlineMesh, CurvesAndTheirJointsAreSmoothCornersAreNot) {
  const auto circle = FlattenOutline(Circle(0, 0, 0.25), kTolerance);
  for (const ContourPoint& point : circle[0]) {
    EXPECT_TRUE(point.is_smooth);
  }
  // A half circle on a straight base: corners where the two meet, and only there.
  GlyphOutline half = Circle(0, 0, 0.25);
  half.resize(3);
  int corners = 0;
  const auto contours = FlattenOutline(half, kTolerance);
  for (const ContourPoint& point : contours[0]) {
    if (point.is_smooth) continue;
    ++corners;
    EXPECT_NEAR(0, point.at.y, 1e-9);
    EXPECT_NEAR(0.25, std::abs(point.at.x), 1e-9);
  }
  EXPECT_EQ(2, corners);
}

TEST(OutlineMesh, SmallRadiiAreSmoothEvenWhereTheLinesTurnSharply) {
  const auto contours = FlattenOutline(Circle(0, 0, 0.003), kTolerance);
  ASSERT_EQ(1u, contours.size());
  EXPECT_LT(contours[0].size(), 16u);
  for (const ContourPoint& point : contours[0]) EXPECT_TRUE(point.is_smooth);
}

TEST(OutlineMesh, WhatHasNoAreaIsLeftOut) {
  EXPECT_TRUE(FlattenOutline({Move(1, 1)}, kTolerance).empty());
  EXPECT_TRUE(FlattenOutline({Move(1, 1), Line(1, 1), Line(1, 1)}, kTolerance).empty());
  EXPECT_TRUE(FlattenOutline({Move(0, 0), Line(1, 1)}, kTolerance).empty());
  EXPECT_TRUE(FlattenOutline({Line(1, 1), Line(2, 1), Line(1, 2)}, kTolerance).empty());
  const OutlineStep point = {Kind::kCubic, {{{1, 1}, {1, 1}, {1, 1}}}};
  EXPECT_TRUE(FlattenOutline({Move(1, 1), point}, kTolerance).empty());
}

TEST(OutlineMesh, ACurveWithoutControlPointsIsALine) {
  const OutlineStep straight = {Kind::kCubic, {{{0, 0}, {1, 0}, {1, 0}}}};
  const auto contours = FlattenOutline({Move(0, 0), straight, Line(1, 1)}, kTolerance);
  ASSERT_EQ(1u, contours.size());
  for (const ContourPoint& point : contours[0]) EXPECT_TRUE(std::isfinite(point.at.x));
}

TEST(OutlineMesh, AHugeCurveEndsAllTheSame) {
  const OutlineStep huge = {Kind::kCubic, {{{1e9, 0}, {0, 1e9}, {-1e9, 5}}}};
  EXPECT_LE(FlattenOutline({Move(0, 0), huge, Line(1, 1)}, kTolerance)[0].size(), 103u);
}

TEST(OutlineMesh, FacesOfASquareLookOutward) {
  const auto faces = SideFaces(FlattenOutline(Square(0, 0, 1, true), kTolerance));
  ASSERT_EQ(4u, faces.size());
  for (const SideFace& face : faces) {
    const double x = (face.from.x + face.to.x) / 2 - 0.5;
    const double y = (face.from.y + face.to.y) / 2 - 0.5;
    EXPECT_NEAR(2 * x, face.from_normal.x, 1e-9);
    EXPECT_NEAR(2 * y, face.from_normal.y, 1e-9);
    EXPECT_EQ(face.from_normal.x, face.to_normal.x);
    EXPECT_EQ(face.from_normal.y, face.to_normal.y);
  }
}

TEST(OutlineMesh, FacesOfAHoleLookIntoIt) {
  const auto contours =
      FlattenOutline(Together(Square(0, 0, 1, false), Square(0.25, 0.25, 0.5, true)), kTolerance);
  const auto faces = SideFaces({contours[1]});
  for (const SideFace& face : faces) {
    const double x = (face.from.x + face.to.x) / 2 - 0.5;
    const double y = (face.from.y + face.to.y) / 2 - 0.5;
    EXPECT_LT(x * face.from_normal.x + y * face.from_normal.y, 0);
  }
}

TEST(OutlineMesh, ALineMayStandForSeveralCurves) {
  // A circle of 64 short ones.
  GlyphOutline outline = {Move(0.25, 0)};
  const auto on_circle = [](double turn, double radius) {
    const double angle = 2 * std::numbers::pi * turn;
    return OutlinePoint{radius * std::cos(angle), radius * std::sin(angle)};
  };
  for (int i = 0; i < 64; ++i) {
    const double handle = 0.25 / std::cos(2 * std::numbers::pi / 192);
    outline.push_back({Kind::kCubic,
                       {{on_circle((i + 1.0 / 3) / 64, handle),
                         on_circle((i + 2.0 / 3) / 64, handle), on_circle((i + 1.0) / 64, 0.25)}}});
  }
  const auto contours = FlattenOutline(outline, 0.005);
  ASSERT_EQ(1u, contours.size());
  EXPECT_LT(contours[0].size(), 22u);
  for (std::size_t i = 0; i < contours[0].size(); ++i) {
    const OutlinePoint& a = contours[0][i].at;
    const OutlinePoint& b = contours[0][(i + 1) % contours[0].size()].at;
    EXPECT_NEAR(0.25, std::hypot((a.x + b.x) / 2, (a.y + b.y) / 2), 0.005 + 1e-4);
  }
}

TEST(OutlineMesh, ContoursSmallerThanTheToleranceStay) {
  const auto contours = FlattenOutline(Circle(0, 0, 0.003), 0.01);
  ASSERT_EQ(1u, contours.size());
  EXPECT_GT(Area(contours[0]), 0);
}

TEST(OutlineMesh, NormalsAreThoseOfTheCurveHoweverFewLinesStandForIt) {
  for (const bool clockwise : {false, true}) {
    GlyphOutline outline = Circle(0, 0, 0.25);
    if (clockwise) {
      for (OutlineStep& step : outline) {
        for (OutlinePoint& point : step.points) point.y = -point.y;
      }
    }
    const auto faces = SideFaces(FlattenOutline(outline, 0.02));
    EXPECT_LT(faces.size(), 12u);
    for (const SideFace& face : faces) {
      EXPECT_NEAR(face.from.x / 0.25, face.from_normal.x, 0.002);
      EXPECT_NEAR(face.from.y / 0.25, face.from_normal.y, 0.002);
    }
  }
}

TEST(OutlineMesh, NormalsOfACircleAreItsRadiiAndMeetWithoutASeam) {
  const auto faces = SideFaces(FlattenOutline(Circle(0, 0, 0.25), kTolerance));
  for (std::size_t i = 0; i < faces.size(); ++i) {
    const SideFace& face = faces[i];
    EXPECT_NEAR(1, std::hypot(face.from_normal.x, face.from_normal.y), 1e-9);
    EXPECT_NEAR(face.from.x / 0.25, face.from_normal.x, 0.01);
    EXPECT_NEAR(face.from.y / 0.25, face.from_normal.y, 0.01);
    const SideFace& next = faces[(i + 1) % faces.size()];
    EXPECT_EQ(face.to_normal.x, next.from_normal.x);
    EXPECT_EQ(face.to_normal.y, next.from_normal.y);
  }
}

// ---- Triangles

double Area(const std::vector<OutlinePoint>& points, const Triangle& triangle) {
  Contour contour;
  for (const int corner : triangle)
    contour.push_back({points[static_cast<std::size_t>(corner)], false, {}});
  return Area(contour);
}

/// Smallest angle of all, in degrees.
double SmallestAngle(const std::vector<OutlinePoint>& points,
                     const std::vector<Triangle>& triangles) {
  double smallest = 180;
  for (const Triangle& triangle : triangles) {
    for (std::size_t i = 0; i < 3; ++i) {
      const OutlinePoint& at = points[static_cast<std::size_t>(triangle[i])];
      const OutlinePoint& b = points[static_cast<std::size_t>(triangle[(i + 1) % 3])];
      const OutlinePoint& c = points[static_cast<std::size_t>(triangle[(i + 2) % 3])];
      const double angle = std::atan2(c.y - at.y, c.x - at.x) - std::atan2(b.y - at.y, b.x - at.x);
      smallest =
          std::min(smallest, std::remainder(angle, 2 * std::numbers::pi) * 180 / std::numbers::pi);
    }
  }
  return smallest;
}

TEST(MakeCompact, OfTwoDiagonalsTheShorterOneIsTaken) {
  const std::vector<OutlinePoint> flat = {{0, 0}, {1, -0.2}, {2, 0}, {1, 0.2}};
  std::vector<Triangle> triangles = {{0, 1, 2}, {0, 2, 3}};
  MakeCompact(flat, triangles);
  ASSERT_EQ(2u, triangles.size());
  for (const Triangle& triangle : triangles) {
    EXPECT_EQ(1, std::count(triangle.begin(), triangle.end(), 1));
    EXPECT_EQ(1, std::count(triangle.begin(), triangle.end(), 3));
  }
  const std::vector<Triangle> best = triangles;
  MakeCompact(flat, triangles);
  EXPECT_EQ(best, triangles);
}

TEST(MakeCompact, AFanAcrossAStrokeBecomesAZigzagOfTheSameArea) {
  // A stroke of 20 by 1 whose points all hang on its first corner.
  std::vector<OutlinePoint> points;
  for (int i = 0; i <= 20; ++i) points.push_back({double(i), 0});
  for (int i = 20; i >= 0; --i) points.push_back({i + 0.1, 1});
  std::vector<Triangle> triangles;
  for (int i = 0; i < 20; ++i) triangles.push_back({i, i + 1, 21});
  for (int i = 21; i < 41; ++i) triangles.push_back({0, i, i + 1});
  double before = 0;
  for (const Triangle& triangle : triangles) before += Area(points, triangle);
  ASSERT_LT(SmallestAngle(points, triangles), 5);
  MakeCompact(points, triangles);
  ASSERT_EQ(40u, triangles.size());
  double after = 0;
  for (const Triangle& triangle : triangles) {
    EXPECT_GT(Area(points, triangle), 0);
    after += Area(points, triangle);
  }
  EXPECT_NEAR(before, after, 1e-9);
  EXPECT_GT(SmallestAngle(points, triangles), 40);
}

TEST(MakeCompact, EdgesOfTheOutlineStay) {
  // An arrow whose notch a turned edge would fill.
  const std::vector<OutlinePoint> arrow = {{0, 0}, {2, -1}, {1.9, 0}, {2, 1}};
  std::vector<Triangle> triangles = {{0, 1, 2}, {0, 2, 3}};
  const std::vector<Triangle> before = triangles;
  MakeCompact(arrow, triangles);
  EXPECT_EQ(before, triangles);
}

TEST(MakeCompact, NothingAndDegenerateTrianglesDoNoHarm) {
  std::vector<Triangle> none;
  MakeCompact({}, none);
  EXPECT_TRUE(none.empty());
  const std::vector<OutlinePoint> line = {{0, 0}, {1, 0}, {2, 0}, {1, 1}};
  std::vector<Triangle> triangles = {{0, 1, 2}, {0, 2, 3}};
  MakeCompact(line, triangles);
  EXPECT_EQ(2u, triangles.size());
}

}  // namespace
}  // namespace vexolo
