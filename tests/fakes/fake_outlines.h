/// A font of simple shapes, any of whose steps can be made to fail.
#pragma once

#include <chrono>
#include <optional>
#include <thread>
#include <vector>

#include "lyrics/outline_source.h"

namespace vexolo {

/// Every character is a square of 0.5 in a cell of 0.75, but for "L" (a tall bar with a foot to the
/// right), "O" (a square with a hole) and the blank.
class FakeOutlines : public OutlineSource {
 public:
  bool select_fails = false;
  std::optional<int> failing_code;
  std::chrono::milliseconds delay{0};  ///< of each glyph

  bool Select(const LogicalFont& font) override {
    fonts.push_back(font);
    return !select_fails;
  }
  bool ReadGlyph(int code, OutlineGlyph& glyph) override {
    ++reads;
    if (delay.count() > 0) std::this_thread::sleep_for(delay);
    glyph = {};
    if (code == failing_code) return false;
    glyph.advance = 0.75;
    if (code == ' ') return true;
    if (code == 'L') {
      Polygon(glyph, {{0, 0}, {0.5, 0}, {0.5, 0.2}, {0.2, 0.2}, {0.2, 1}, {0, 1}});
    } else if (code == 'O') {
      Polygon(glyph, {{0, 0}, {0.6, 0}, {0.6, 0.6}, {0, 0.6}});
      Polygon(glyph, {{0.2, 0.2}, {0.2, 0.4}, {0.4, 0.4}, {0.4, 0.2}});
    } else {
      Polygon(glyph, {{0, 0}, {0.5, 0}, {0.5, 0.5}, {0, 0.5}});
    }
    return true;
  }
  void Release() override { ++releases; }

  std::vector<LogicalFont> fonts;  ///< that were asked for
  int reads = 0;                   ///< of glyphs
  int releases = 0;

 private:
  static void Polygon(OutlineGlyph& glyph, const std::vector<OutlinePoint>& points) {
    auto kind = OutlineStep::Kind::kMove;
    for (const OutlinePoint& point : points) {
      glyph.outline.push_back({kind, {{point}}});
      kind = OutlineStep::Kind::kLine;
    }
  }
};

}  // namespace vexolo
