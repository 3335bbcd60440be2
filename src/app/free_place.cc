#include "app/free_place.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace vexolo {
namespace {

constexpr int kGap = 8;         // pixels between windows
constexpr int kFirstCosts = 4;  // times as much as others, to be covered

/// Where a side of the window may begin: at the edges of the screen, and along or beside the
/// others.
struct Beginnings {
  void AddScreen(int begin, int end, int length) {
    Add(begin);
    Add(end - length);
  }
  void AddTaken(int begin, int end, int length) {
    Add(begin);
    Add(end - length);
    Add(end + kGap);
    Add(begin - kGap - length);
  }
  void Add(int begin) { all.push_back(begin); }
  std::vector<int> all;
};

std::int64_t Overlap(const ScreenArea& a, const ScreenArea& b) {
  const std::int64_t width = std::min(a.right(), b.right()) - std::max(a.x, b.x);
  const std::int64_t height = std::min(a.bottom(), b.bottom()) - std::max(a.y, b.y);
  return width > 0 && height > 0 ? width * height : 0;
}

/// Of the centres, twice over, squared.
std::int64_t Distance(const ScreenArea& a, const ScreenArea& b) {
  const std::int64_t x = a.x + a.right() - b.x - b.right();
  const std::int64_t y = a.y + a.bottom() - b.y - b.bottom();
  return x * x + y * y;
}

using Cost = std::pair<std::int64_t, std::int64_t>;

Cost CostOf(const ScreenArea& area, std::span<const ScreenArea> taken) {
  std::int64_t covered = Overlap(area, taken.front()) * (kFirstCosts - 1);
  for (const ScreenArea& other : taken) covered += Overlap(area, other);
  return {covered, Distance(area, taken.front())};
}

}  // namespace

WindowPlace FreePlace(const ScreenArea& screen, std::span<const ScreenArea> taken,
                      const WindowExtent& window) {
  Beginnings columns;
  Beginnings rows;
  columns.AddScreen(screen.x, screen.right(), window.width);
  rows.AddScreen(screen.y, screen.bottom(), window.height);
  for (const ScreenArea& other : taken) {
    columns.AddTaken(other.x, other.right(), window.width);
    rows.AddTaken(other.y, other.bottom(), window.height);
  }
  const int last_x = std::max(screen.x, screen.right() - window.width);
  const int last_y = std::max(screen.y, screen.bottom() - window.height);
  ScreenArea best = {screen.x, screen.y, window.width, window.height};
  Cost lowest = CostOf(best, taken);
  for (const int x : columns.all) {
    for (const int y : rows.all) {
      const ScreenArea area = {std::clamp(x, screen.x, last_x), std::clamp(y, screen.y, last_y),
                               window.width, window.height};
      const Cost cost = CostOf(area, taken);
      if (cost >= lowest) continue;
      best = area;
      lowest = cost;
    }
  }
  return {best.x, best.y};
}

}  // namespace vexolo
