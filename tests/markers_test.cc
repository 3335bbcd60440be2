// layer: core
#include "audio/markers.h"

#include <limits>

#include <gtest/gtest.h>

namespace vexolo {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(Markers, TypedThirtySecondsAtTwiceTheTempoValueStoreSixtyAndActAtThirty) {
  EXPECT_DOUBLE_EQ(60, StoredTime(30, 2));
  EXPECT_DOUBLE_EQ(30, ActingTime(60, 2));
  const Markers markers{60, 80, true};
  EXPECT_DOUBLE_EQ(30, ActingStart(markers, 2));
  EXPECT_DOUBLE_EQ(40, ActingEnd(markers, 2));
}

TEST(Markers, StartIsInForceAboveZeroAndBelowTheLength) {
  EXPECT_TRUE(StartInForce({1, 0, true}, 1, 10));
  EXPECT_FALSE(StartInForce({0, 0, true}, 1, 10));
  EXPECT_FALSE(StartInForce({-1, 0, true}, 1, 10));
  EXPECT_FALSE(StartInForce({10, 0, true}, 1, 10));
  EXPECT_FALSE(StartInForce({1, 0, false}, 1, 10));
}

TEST(Markers, EndIsInForceAfterTheStartAndBelowTheLength) {
  EXPECT_TRUE(EndInForce({1, 2, true}, 1, 10));
  EXPECT_TRUE(EndInForce({0, 2, true}, 1, 10));
  EXPECT_FALSE(EndInForce({2, 2, true}, 1, 10));
  EXPECT_FALSE(EndInForce({3, 2, true}, 1, 10));
  EXPECT_FALSE(EndInForce({0, 10, true}, 1, 10));
  EXPECT_FALSE(EndInForce({1, 2, false}, 1, 10));
}

TEST(Markers, BothAtZeroAreNotInForce) {
  EXPECT_FALSE(StartInForce({0, 0, true}, 1, 10));
  EXPECT_FALSE(EndInForce({0, 0, true}, 1, 10));
}

TEST(Markers, NegativeEndIsNotInForceEvenAfterANegativeStart) {
  EXPECT_FALSE(EndInForce({-5, -2, true}, 1, 10));
}

TEST(Markers, TheActingTimeAndNotTheStoredOneIsComparedWithTheLength) {
  EXPECT_TRUE(StartInForce({12, 0, true}, 2, 10));
  EXPECT_FALSE(StartInForce({6, 0, true}, 0.5, 10));
  EXPECT_TRUE(EndInForce({0, 18, true}, 2, 10));
  EXPECT_FALSE(EndInForce({0, 6, true}, 0.5, 10));
}

TEST(Markers, SenselessTimesAndFactorsPutNothingInForce) {
  for (const double factor : {0.0, -1.0, kNaN}) {
    EXPECT_FALSE(StartInForce({1, 2, true}, factor, 10));
    EXPECT_FALSE(EndInForce({1, 2, true}, factor, 10));
  }
  EXPECT_FALSE(StartInForce({kNaN, 2, true}, 1, 10));
  EXPECT_FALSE(EndInForce({1, kNaN, true}, 1, 10));
  EXPECT_FALSE(StartInForce({1, 2, true}, 1, kNaN));
}

TEST(Markers, ChangeOfSpeedKeepsTheMusicalPlace) {
  Markers markers{StoredTime(20, 1), StoredTime(40, 1), true};
  RescaleForSpeed(markers, 1, 1.5);
  EXPECT_DOUBLE_EQ(45, markers.start);
  EXPECT_DOUBLE_EQ(90, markers.end);
  EXPECT_DOUBLE_EQ(30, ActingStart(markers, 1.5));
  EXPECT_DOUBLE_EQ(60, ActingEnd(markers, 1.5));
  RescaleForSpeed(markers, 1.5, 1);
  EXPECT_DOUBLE_EQ(20, markers.start);
}

TEST(Markers, RescalingBySenselessFactorsChangesNothing) {
  Markers markers{20, 40, true};
  RescaleForSpeed(markers, 0, 2);
  RescaleForSpeed(markers, 1, -2);
  RescaleForSpeed(markers, kNaN, 1);
  EXPECT_DOUBLE_EQ(20, markers.start);
  EXPECT_DOUBLE_EQ(40, markers.end);
}

}  // namespace
}  // namespace vexolo
