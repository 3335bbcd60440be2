// layer: core
#include "platform/locale_format.h"

#include <cmath>
#include <cstdlib>
#include <limits>

#include <gtest/gtest.h>

namespace vexolo {
namespace {

TEST(LocaleFormat, FixedDecimalsWithTheSeparatorAskedFor) {
  EXPECT_EQ(FormatNumber(1.5, "0.000", ','), "1,500");
  EXPECT_EQ(FormatNumber(1.5, "0.000", '.'), "1.500");
  EXPECT_EQ(FormatNumber(0, "0.000", ','), "0,000");
  EXPECT_EQ(FormatNumber(12.34567, "0.0000", ','), "12,3457");
  EXPECT_EQ(FormatNumber(-1.25, "0.000", ','), "-1,250");
  EXPECT_EQ(FormatNumber(-0.0001, "0.000", ','), "0,000");
  EXPECT_EQ(FormatNumber(123456789.5, "0.000", ','), "123456789,500");
}

TEST(LocaleFormat, LeadingZeros) {
  EXPECT_EQ(FormatNumber(0, "00.000", ','), "00,000");
  EXPECT_EQ(FormatNumber(15.5, "00.000", ','), "15,500");
  EXPECT_EQ(FormatNumber(5.25, "00.000", ','), "05,250");
  EXPECT_EQ(FormatNumber(7, "000", ','), "007");
  EXPECT_EQ(FormatNumber(128, "000", ','), "128");
}

TEST(LocaleFormat, OptionalDigits) {
  EXPECT_EQ(FormatNumber(0, "##0", ','), "0");
  EXPECT_EQ(FormatNumber(-12, "##0", ','), "-12");
  EXPECT_EQ(FormatNumber(1234, "##0", ','), "1234");
  EXPECT_EQ(FormatNumber(99.99, "###0", ','), "100");
  EXPECT_EQ(FormatNumber(-100, "#####0.0", ','), "-100,0");
  EXPECT_EQ(FormatNumber(0.26, "#####0.0", ','), "0,3");
  EXPECT_EQ(FormatNumber(1.5, "0.##", ','), "1,5");
}

TEST(LocaleFormat, SectionsForSignAndZero) {
  EXPECT_EQ(FormatNumber(3, "+0;-0;=0", ','), "+3");
  EXPECT_EQ(FormatNumber(-3, "+0;-0;=0", ','), "-3");
  EXPECT_EQ(FormatNumber(0, "+0;-0;=0", ','), "=0");
  EXPECT_EQ(FormatNumber(-0.2, "+0;-0;=0", ','), "=0");
  EXPECT_EQ(FormatNumber(0, "+0;-0", ','), "+0");
}

TEST(LocaleFormat, HalvesAreRoundedAwayFromZeroAsWritten) {
  EXPECT_EQ(FormatNumber(0.0005, "0.000", ','), "0,001");
  EXPECT_EQ(FormatNumber(1.0005, "0.000", ','), "1,001");  // a little less in binary
  EXPECT_EQ(FormatNumber(2.5, "##0", ','), "3");
  EXPECT_EQ(FormatNumber(-2.5, "##0", ','), "-3");
  EXPECT_EQ(FormatNumber(0.5, "##0", ','), "1");
  EXPECT_EQ(FormatNumber(0.49, "##0", ','), "0");
  EXPECT_EQ(FormatNumber(0.04, "##0", ','), "0");
  EXPECT_EQ(FormatNumber(9.9996, "0.000", ','), "10,000");
  EXPECT_EQ(FormatNumber(59.9996, "00.000", ','), "60,000");
}

TEST(LocaleFormat, ValuesThatAreNotFiniteAreWrittenAsZero) {
  EXPECT_EQ(FormatNumber(std::nan(""), "0.000", ','), "0,000");
  EXPECT_EQ(FormatNumber(INFINITY, "+0;-0;=0", ','), "=0");
  EXPECT_EQ(NumberToText(-INFINITY), " 0");
}

TEST(LocaleFormat, PlainConversionHasALeadingBlankAndAPoint) {
  EXPECT_EQ(NumberToText(1), " 1");
  EXPECT_EQ(NumberToText(1.5), " 1.5");
  EXPECT_EQ(NumberToText(0.5), " .5");
  EXPECT_EQ(NumberToText(-0.5), "-.5");
  EXPECT_EQ(NumberToText(0.05), " .05");
  EXPECT_EQ(NumberToText(0), " 0");
  EXPECT_EQ(NumberToText(-0.0), " 0");
  EXPECT_EQ(NumberToText(-64), "-64");
  EXPECT_EQ(NumberToText(100), " 100");
  EXPECT_EQ(NumberToText(1.1), " 1.1");
  EXPECT_EQ(NumberToText(0.1 + 0.2), " .3");
  EXPECT_EQ(NumberToText(123456.75), " 123456.75");
  EXPECT_EQ(NumberToText(1e15), " 1E+15");
  EXPECT_EQ(NumberToText(1.25e-7), " 1.25E-07");
}

TEST(LocaleFormat, ReadsBothSeparators) {
  EXPECT_EQ(TextToNumber("75,5"), 75.5);
  EXPECT_EQ(TextToNumber("75.5"), 75.5);
  EXPECT_EQ(TextToNumber(" -1,25 s"), -1.25);
  EXPECT_EQ(TextToNumber("+3"), 3);
  EXPECT_EQ(TextToNumber(",5"), 0.5);
  EXPECT_EQ(TextToNumber("5."), 5);
  EXPECT_EQ(TextToNumber("1.2.3"), 1.2);
  EXPECT_EQ(TextToNumber("1,234,567"), 1.234);
  EXPECT_EQ(TextToNumber("40.0"), 40);
  EXPECT_EQ(TextToNumber("2e3"), 2000);
  EXPECT_EQ(TextToNumber("2e"), 2);
}

TEST(LocaleFormat, TextThatIsNoNumberCountsAsZero) {
  for (const char* text : {"", " ", "abc", "-", ".", ",", "+-1", "e5", "nan", "inf", "1e999"}) {
    EXPECT_EQ(TextToNumber(text), 0) << text;
  }
  EXPECT_FALSE(std::signbit(TextToNumber("-0")));
}

TEST(LocaleFormat, WhatIsWrittenIsReadBack) {
  for (const double value : {0.0, 1.5, -2.125, 1234.5, 0.001}) {
    EXPECT_EQ(TextToNumber(FormatNumber(value, "0.000", ',')), value);
    EXPECT_EQ(TextToNumber(NumberToText(value)), value);
  }
}

TEST(LocaleFormat, RoundsHalvesToTheEvenNumber) {
  EXPECT_EQ(RoundHalfToEven(0.5), 0);
  EXPECT_EQ(RoundHalfToEven(1.5), 2);
  EXPECT_EQ(RoundHalfToEven(2.5), 2);
  EXPECT_EQ(RoundHalfToEven(-0.5), 0);
  EXPECT_EQ(RoundHalfToEven(-1.5), -2);
  EXPECT_EQ(RoundHalfToEven(-2.5), -2);
  EXPECT_EQ(RoundHalfToEven(2.51), 3);
  EXPECT_EQ(RoundToInt(1e300), std::numeric_limits<int>::max());
  EXPECT_EQ(RoundToInt(-1e300), std::numeric_limits<int>::min());
  EXPECT_EQ(RoundToInt(std::nan("")), 0);
}

TEST(LocaleFormat, TheUsersSeparatorIsOneOfTwo) {
  const char separator = DecimalSeparator();
  EXPECT_TRUE(separator == ',' || separator == '.');
}

TEST(LocaleFormat, AnUnknownLocaleGivesAPoint) {
  const char* old = std::getenv("LC_ALL");
  const std::string kept = old == nullptr ? "" : old;
  setenv("LC_ALL", "xx_XX.none", 1);
  EXPECT_EQ(DecimalSeparator(), '.');
  if (old == nullptr) {
    unsetenv("LC_ALL");
  } else {
    setenv("LC_ALL", kept.c_str(), 1);
  }
}

}  // namespace
}  // namespace vexolo
