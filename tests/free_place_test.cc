// layer: core
#include "app/free_place.h"

#include <array>

#include <gtest/gtest.h>

namespace vexolo {
namespace {

constexpr ScreenArea kScreen = {0, 0, 1920, 1080};
constexpr ScreenArea kMain = {510, 320, 900, 440};

bool Overlap(const ScreenArea& a, const ScreenArea& b) {
  return a.x < b.right() && b.x < a.right() && a.y < b.bottom() && b.y < a.bottom();
}

ScreenArea Area(const WindowPlace& place, const WindowExtent& window) {
  return {place.x, place.y, window.width, window.height};
}

TEST(FreePlace, IsBesideTheMainWindowWhereThereIsRoom) {
  constexpr WindowExtent kWindow = {560, 300};
  const std::array taken = {kMain};
  const ScreenArea area = Area(FreePlace(kScreen, taken, kWindow), kWindow);
  EXPECT_FALSE(Overlap(area, kMain));
  EXPECT_TRUE(area.y == 12 || area.y == 768) << "next to it, not at the edge of the screen";
}

TEST(FreePlace, CoversNoOtherWindowWhereThereIsRoom) {
  constexpr WindowExtent kWindow = {500, 300};
  std::vector<ScreenArea> taken = {kMain};
  for (int i = 0; i < 5; ++i) {
    const ScreenArea area = Area(FreePlace(kScreen, taken, kWindow), kWindow);
    for (const ScreenArea& other : taken) EXPECT_FALSE(Overlap(area, other)) << i;
    EXPECT_TRUE(area.x >= 0 && area.y >= 0 && area.right() <= 1920 && area.bottom() <= 1080) << i;
    taken.push_back(area);
  }
}

TEST(FreePlace, CoversAsLittleAsCanBeWhereThereIsNoRoom) {
  constexpr WindowExtent kWindow = {640, 450};
  const std::array taken = {kMain};
  const WindowPlace place = FreePlace(kScreen, taken, kWindow);
  EXPECT_TRUE(place.x == 0 || place.x == 1280) << place.x;  // a corner of the screen
  EXPECT_TRUE(place.y == 0 || place.y == 630) << place.y;
}

TEST(FreePlace, WouldRatherCoverAnotherThanTheMainWindow) {
  constexpr ScreenArea kSmallScreen = {0, 0, 1000, 760};
  constexpr WindowExtent kWindow = {1000, 320};
  const std::array taken = {ScreenArea{0, 0, 1000, 440}, ScreenArea{0, 440, 1000, 320}};
  EXPECT_EQ((WindowPlace{0, 440}), FreePlace(kSmallScreen, taken, kWindow));
}

TEST(FreePlace, BeginsOnTheScreenThoughItsEndDoesNotFit) {
  const std::array taken = {kMain};
  EXPECT_EQ((WindowPlace{-1920, 30}), FreePlace({-1920, 30, 1000, 700}, taken, {1200, 900}));
}

}  // namespace
}  // namespace vexolo
