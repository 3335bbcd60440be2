// layer: core
#include "playlist/list_place.h"

#include <gtest/gtest.h>

namespace vexolo {
namespace {

constexpr ScreenArea kScreen{0, 0, 1600, 1000};
constexpr WindowExtent kWanted{500, 260};
constexpr WindowExtent kLeast{320, 140};

ScreenArea Docked(const ScreenArea& main_window) {
  return DockedPlace(main_window, kScreen, kWanted, kLeast);
}

TEST(DockedPlace, IsUnderTheMainWindowAndAsWide) {
  EXPECT_EQ(Docked({200, 100, 640, 400}), (ScreenArea{200, 500, 640, 260}));
}

TEST(DockedPlace, IsLowerWhereTheScreenEnds) {
  EXPECT_EQ(Docked({200, 400, 640, 400}), (ScreenArea{200, 800, 640, 200}));
  EXPECT_EQ(Docked({200, 460, 640, 400}), (ScreenArea{200, 860, 640, 140}));
}

TEST(DockedPlace, IsNeverNarrowerThanTheLeast) {
  EXPECT_EQ(Docked({200, 100, 100, 100}).width, 320);
}

TEST(DockedPlace, IsBesideTheMainWindowWhereThereIsNoRoomBelow) {
  EXPECT_EQ(Docked({200, 500, 640, 400}), (ScreenArea{840, 500, 500, 400}));
  EXPECT_EQ(Docked({800, 500, 640, 400}), (ScreenArea{300, 500, 500, 400}));
}

TEST(DockedPlace, IsOnTheScreenInAnyCase) {
  const ScreenArea wide = Docked({100, 500, 1400, 480});
  EXPECT_EQ(wide, (ScreenArea{100, 740, 1400, 260}));
  const ScreenArea big = Docked({0, 0, 1600, 1000});
  EXPECT_EQ(big.bottom(), 1000);
  const ScreenArea below = Docked({200, 900, 640, 400});  // partly beyond the screen
  EXPECT_GE(below.y, 0);
  EXPECT_LE(below.bottom(), 1000);
}

}  // namespace
}  // namespace vexolo
