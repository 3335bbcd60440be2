// layer: core
#include "app/time_format.h"

#include <limits>

#include <gtest/gtest.h>

namespace vexolo {
namespace {

TEST(TimeFormat, MinutesColonSecondsAndMillisecondsWithTheLocalesSeparator) {
  EXPECT_EQ("1:15,500", FormatTime(75.5, ','));
  EXPECT_EQ("1:15.500", FormatTime(75.5, '.'));
  EXPECT_EQ("0:09,001", FormatTime(9.001, ','));
  EXPECT_EQ("61:01,000", FormatTime(3661, ','));
  EXPECT_EQ("1:00,000", FormatTime(60, ','));
}

TEST(TimeFormat, ZeroNegativeAndSenselessTimesReadAsZero) {
  EXPECT_EQ("0:00,000", FormatTime(0, ','));
  EXPECT_EQ("0:00,000", FormatTime(-12.5, ','));
  EXPECT_EQ("0:00,000", FormatTime(std::numeric_limits<double>::quiet_NaN(), ','));
  EXPECT_EQ("0:00,000", FormatTime(std::numeric_limits<double>::infinity(), ','));
}

TEST(TimeFormat, MinutesComeFromTheWholeSecondsBeforeMillisecondsAreRounded) {
  EXPECT_EQ("0:59,999", FormatTime(59.9994, ','));
  EXPECT_EQ("0:60,000", FormatTime(59.9996, ','));
}

TEST(TimeFormat, ParsesMinutesAndSecondsOrSecondsAlone) {
  EXPECT_DOUBLE_EQ(75.5, ParseTime("1:15,500"));
  EXPECT_DOUBLE_EQ(75.5, ParseTime("1:15.5"));
  EXPECT_DOUBLE_EQ(75.5, ParseTime("75,5"));
  EXPECT_DOUBLE_EQ(75.5, ParseTime("75.5"));
  EXPECT_DOUBLE_EQ(90, ParseTime("1:30"));
  EXPECT_DOUBLE_EQ(90, ParseTime("1:30:59"));  // from the first colon on; "30:59" reads as 30
  EXPECT_DOUBLE_EQ(15, ParseTime(":15"));
  EXPECT_DOUBLE_EQ(120, ParseTime("2:"));
}

TEST(TimeFormat, TextThatIsNoNumberCountsAsZero) {
  EXPECT_EQ(0, ParseTime(""));
  EXPECT_EQ(0, ParseTime("abc"));
  EXPECT_EQ(0, ParseTime("x:y"));
  EXPECT_DOUBLE_EQ(60, ParseTime("1:y"));
}

TEST(TimeFormat, WhatIsFormattedIsParsedAgain) {
  for (const double seconds : {0.0, 0.001, 59.999, 60.0, 61.25, 599.5, 4000.125}) {
    EXPECT_NEAR(seconds, ParseTime(FormatTime(seconds, ',')), 0.0005);
    EXPECT_NEAR(seconds, ParseTime(FormatTime(seconds, '.')), 0.0005);
  }
}

}  // namespace
}  // namespace vexolo
