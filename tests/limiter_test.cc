// layer: engine
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "engine/console.h"

namespace vexolo::engine {
namespace {

constexpr float kKnee = 0.8912509F;

std::vector<std::int16_t> Limited(const std::vector<float>& left, const std::vector<float>& right) {
  std::vector<std::int16_t> out(2 * left.size() + 2, 12345);
  LimitTo16Bit(left.data(), right.data(), out.data(), static_cast<int>(left.size()));
  EXPECT_EQ(out[2 * left.size()], 12345) << "wrote behind the end";
  out.resize(2 * left.size());
  return out;
}

int Limited(float x) { return Limited({x}, {0.0F})[0]; }

TEST(Limiter, InterleavesLeftAndRight) {
  EXPECT_EQ(Limited({0.25F, 0.5F}, {-0.25F, -0.5F}),
            (std::vector<std::int16_t>{8192, -8192, 16384, -16384}));
  EXPECT_TRUE(Limited({}, {}).empty());
}

TEST(Limiter, RoundsToNearestWithHalvesToEven) {
  const auto steps = [](double x) { return Limited(static_cast<float>(x / 32768.0)); };
  EXPECT_EQ(steps(0.5), 0);
  EXPECT_EQ(steps(1.5), 2);
  EXPECT_EQ(steps(2.5), 2);
  EXPECT_EQ(steps(-0.5), 0);
  EXPECT_EQ(steps(-1.5), -2);
  EXPECT_EQ(steps(0.50001), 1);
  EXPECT_EQ(steps(1000.49), 1000);
  EXPECT_EQ(steps(-1000.51), -1001);
}

TEST(Limiter, EveryStepBelowTheKneePassesUnchanged) {
  for (int step = -29204; step <= 29204; ++step) {
    ASSERT_EQ(Limited(static_cast<float>(step) / 32768.0F), step);
  }
}

TEST(Limiter, ChangesNoBitBelowTheKneeEvenBesideOverload) {
  std::mt19937 random(5);
  std::uniform_real_distribution<float> quiet(-kKnee, kKnee);
  std::vector<float> left(777);
  std::vector<float> right(777);
  for (float& x : left) x = quiet(random);
  for (float& x : right) x = quiet(random);
  left[13] = kKnee;
  right[13] = -kKnee;
  const auto alone = Limited(left, right);
  for (std::size_t i = 0; i < left.size(); ++i) {
    ASSERT_EQ(alone[2 * i], std::nearbyint(left[i] * 32768.0F));
    ASSERT_EQ(alone[2 * i + 1], std::nearbyint(right[i] * 32768.0F));
  }
  left[400] = 3.0F;
  right[401] = -3.0F;
  auto beside = Limited(left, right);
  EXPECT_NE(beside[800], alone[800]);
  beside[800] = alone[800];
  beside[803] = alone[803];
  EXPECT_EQ(beside, alone);
}

TEST(Limiter, NeverReachesFullScale) {
  const float infinite = std::numeric_limits<float>::infinity();
  for (const float x : {1.0F, 2.0F, 100.0F, 1e10F, std::numeric_limits<float>::max(), infinite}) {
    EXPECT_LT(Limited(x), 32767) << x;
    EXPECT_GT(Limited(x), 29204) << x;
    EXPECT_EQ(Limited(-x), -Limited(x)) << x;
  }
  EXPECT_EQ(Limited(infinite), 32766);
  EXPECT_EQ(Limited(std::numeric_limits<float>::max()), 32766);
}

TEST(Limiter, NotANumberIsSilent) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(Limited(nan), 0);
  EXPECT_EQ(Limited(-nan), 0);
  EXPECT_EQ(Limited({0.5F, nan, 2.0F, nan}, {nan, 0.5F, nan, nan})[1], 0);
  EXPECT_EQ(Limited({0.5F, nan}, {nan, 0.5F})[3], 16384);
}

TEST(Limiter, IsMonotoneAndSymmetric) {
  // Every float from below the knee up to 1, then in growing steps.
  std::vector<float> ladder;
  for (float x = 0.88F; x < 1.0F; x = std::nextafter(x, 2.0F)) ladder.push_back(x);
  for (float x = 1.0F; x < 1e6F; x *= 1.0001F) ladder.push_back(x);
  std::vector<float> negative;
  for (const float x : ladder) negative.push_back(-x);
  const auto out = Limited(ladder, negative);
  for (std::size_t i = 0; i < ladder.size(); ++i) {
    ASSERT_EQ(out[2 * i + 1], -out[2 * i]) << ladder[i];
    if (i > 0) {
      ASSERT_GE(out[2 * i], out[2 * i - 2]) << ladder[i];
    }
  }
}

TEST(Limiter, LeavesTheStraightLineWithoutACorner) {
  // In steps of 1/32768 the curve follows the line closely behind the knee and bends further only
  // bit by bit: its slope, measured over 100 steps, falls evenly from 1 towards 0.
  double last_slope = 1.0;
  for (int from = 29205; from < 60000; from += 100) {
    const double slope = (Limited(static_cast<float>(from + 100) / 32768.0F) -
                          Limited(static_cast<float>(from) / 32768.0F)) /
                         100.0;
    ASSERT_LE(slope, last_slope + 0.02) << from;
    ASSERT_GE(slope, last_slope - 0.06) << from;
    last_slope = slope;
  }
  EXPECT_LT(last_slope, 0.02);
  EXPECT_NEAR(Limited(29305.0F / 32768.0F), 29305, 1);
}

TEST(Limiter, BoundsHoldForAnyBits) {
  std::mt19937 random(9);
  std::vector<float> left(100000);
  for (float& x : left) x = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
  for (const std::int16_t sample : Limited(left, left)) ASSERT_LE(std::abs(sample), 32766);
}

}  // namespace
}  // namespace vexolo::engine
