// layer: engine
#include "engine/time_line.h"

#include <limits>
#include <random>

#include <gtest/gtest.h>

namespace vexolo::engine {
namespace {

constexpr TempoRatio kOne{1, 1};
constexpr std::uint64_t kLastFrame = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint32_t kLastTick = std::numeric_limits<std::uint32_t>::max();

TEST(TimeLineTest, QuarterNoteAt120IsHalfASecond) {
  const TimeLine line(480, {});
  EXPECT_EQ(line.TempoAt(0), 500000u);
  EXPECT_EQ(line.FrameOfTick(0, kOne), 0u);
  EXPECT_EQ(line.FrameOfTick(480, kOne), 22050u);
  EXPECT_EQ(line.FrameOfTick(960, kOne), 44100u);
  EXPECT_EQ(line.TickOfFrame(22050, kOne), 480u);
  EXPECT_EQ(line.TickOfFrame(22049, kOne), 479u);
}

TEST(TimeLineTest, FrameIsTheFirstAtOrAfterTheMoment) {
  const TimeLine line(480, {});  // a tick is 45.9375 frames
  EXPECT_EQ(line.FrameOfTick(1, kOne), 46u);
  EXPECT_EQ(line.FrameOfTick(2, kOne), 92u);    // 91.875
  EXPECT_EQ(line.FrameOfTick(16, kOne), 735u);  // exactly
  EXPECT_EQ(line.TickOfFrame(45, kOne), 0u);
  EXPECT_EQ(line.TickOfFrame(46, kOne), 1u);
  EXPECT_EQ(line.TickOfFrame(91, kOne), 1u);
  EXPECT_EQ(line.TickOfFrame(92, kOne), 2u);
}

TEST(TimeLineTest, RatioAboveOneIsSlower) {
  const TimeLine line(480, {});
  EXPECT_EQ(line.FrameOfTick(480, {2, 1}), 44100u);
  EXPECT_EQ(line.FrameOfTick(480, {1, 2}), 11025u);
  EXPECT_EQ(line.FrameOfTick(480, {1, 3}), 7350u);
  EXPECT_EQ(line.FrameOfTick(480, {400000, 500000}), 17640u);
  EXPECT_EQ(line.TickOfFrame(44100, {2, 1}), 480u);
}

TEST(TimeLineTest, TempoChangesMoveTimeFromTheirTickOn) {
  // 480 ticks at 120, then 60 until tick 960, then 240.
  const TimeLine line(480, {{480, 1000000}, {960, 250000}});
  EXPECT_EQ(line.FrameOfTick(480, kOne), 22050u);
  EXPECT_EQ(line.FrameOfTick(960, kOne), 66150u);
  EXPECT_EQ(line.FrameOfTick(1440, kOne), 77175u);
  EXPECT_EQ(line.TickOfFrame(66149, kOne), 959u);
  EXPECT_EQ(line.TickOfFrame(66150, kOne), 960u);
  EXPECT_EQ(line.TempoAt(479), 500000u);
  EXPECT_EQ(line.TempoAt(480), 1000000u);
  EXPECT_EQ(line.TempoAt(959), 1000000u);
  EXPECT_EQ(line.TempoAt(960), 250000u);
  EXPECT_EQ(line.TempoAt(kLastTick), 250000u);
}

TEST(TimeLineTest, LaterChangeAtTheSameTickWins) {
  const TimeLine line(480, {{0, 400000}, {0, 1000000}, {480, 300000}, {480, 250000}});
  EXPECT_EQ(line.TempoAt(0), 1000000u);
  EXPECT_EQ(line.TempoAt(480), 250000u);
  EXPECT_EQ(line.FrameOfTick(480, kOne), 44100u);
  EXPECT_EQ(line.FrameOfTick(960, kOne), 55125u);
}

TEST(TimeLineTest, FractionsOfAFrameAddUpExactly) {
  // A tick is 142857.571428.. microseconds long.
  const TimeLine line(7, {{0, 1000003}});
  // 7,000,000 ticks = 1,000,000 quarter notes = 1,000,003 seconds.
  EXPECT_EQ(line.FrameOfTick(7000000, kOne), 1000003ull * 44100);
  EXPECT_EQ(line.TickOfFrame(1000003ull * 44100, kOne), 7000000u);
  EXPECT_EQ(line.TickOfFrame(1000003ull * 44100 - 1, kOne), 6999999u);
}

TEST(TimeLineTest, SmpteDivisionsCountFramesOfASecond) {
  const auto smpte = [](int frames, int ticks) {
    return static_cast<std::uint16_t>((256 - frames) << 8 | ticks);
  };
  EXPECT_EQ(TimeLine(smpte(24, 10), {}).FrameOfTick(240, kOne), 44100u);
  EXPECT_EQ(TimeLine(smpte(25, 40), {}).FrameOfTick(1000, kOne), 44100u);
  EXPECT_EQ(TimeLine(smpte(30, 80), {}).FrameOfTick(2400, kOne), 44100u);
  // 30000/1001 frames a second: 30,000 frames take 1,001 seconds.
  EXPECT_EQ(TimeLine(smpte(29, 2), {}).FrameOfTick(60000, kOne), 1001u * 44100);
  EXPECT_EQ(TimeLine(smpte(29, 2), {}).TickOfFrame(1001u * 44100, kOne), 60000u);
  EXPECT_EQ(TimeLine(smpte(25, 40), {}).FrameOfTick(1000, {3, 2}), 66150u);
}

TEST(TimeLineTest, TempoDoesNotMoveSmpteTime) {
  const TimeLine line(0xE728, {{0, 1000000}, {500, 200000}});
  EXPECT_EQ(line.FrameOfTick(1000, kOne), 44100u);
  EXPECT_EQ(line.TempoAt(499), 1000000u);
  EXPECT_EQ(line.TempoAt(500), 200000u);
}

TEST(TimeLineTest, TellsWhichDivisionsMeanSomething) {
  EXPECT_FALSE(TimeLine::IsDivision(0));
  EXPECT_TRUE(TimeLine::IsDivision(1));
  EXPECT_TRUE(TimeLine::IsDivision(0x7FFF));
  for (const int high : {0xE8, 0xE7, 0xE3, 0xE2}) {
    EXPECT_FALSE(TimeLine::IsDivision(static_cast<std::uint16_t>(high << 8))) << high;
    EXPECT_TRUE(TimeLine::IsDivision(static_cast<std::uint16_t>(high << 8 | 1))) << high;
  }
  for (const int high : {0x80, 0xE1, 0xE4, 0xE6, 0xE9, 0xFF}) {
    EXPECT_FALSE(TimeLine::IsDivision(static_cast<std::uint16_t>(high << 8 | 1))) << high;
  }
}

TEST(TimeLineTest, DivisionWithoutMeaningCountsAs96) {
  for (const int division : {0, 0xE800, 0xFF01}) {
    const TimeLine line(static_cast<std::uint16_t>(division), {{96, 1000000}});
    EXPECT_EQ(line.FrameOfTick(96, kOne), 22050u) << division;
    EXPECT_EQ(line.FrameOfTick(192, kOne), 66150u) << division;
  }
}

TEST(TimeLineTest, LongestSongStaysExact) {
  constexpr std::uint32_t kTick = 0x7FFFFFFF;
  constexpr std::uint32_t kTempo = 0xFFFFFF;
  const TimeLine line(1, {{0, kTempo}});
  const std::uint64_t moment = std::uint64_t{kTick} * kTempo;  // microseconds
  // moment x 44100 / 10^6 = moment x 441 / 10^4, rounded up.
  const std::uint64_t frame = (moment * 441 + 9999) / 10000;
  EXPECT_EQ(line.FrameOfTick(kTick, kOne), frame);
  EXPECT_EQ(line.TickOfFrame(frame, kOne), kTick);
  EXPECT_EQ(line.TickOfFrame(frame - 1, kOne), kTick - 1);
}

TEST(TimeLineTest, ResultsStopAtTheLimitsOfTheirTypes) {
  const TimeLine slow(1, {{0, 0xFFFFFF}});
  EXPECT_EQ(slow.FrameOfTick(0x7FFFFFFF, {0xFFFFFF, 1}), kLastFrame);
  const TimeLine fast(0x7FFF, {{1000, 1}});
  EXPECT_EQ(fast.TickOfFrame(kLastFrame, {1, 0xFFFFFF}), kLastTick);
  EXPECT_EQ(fast.TickOfFrame(kLastFrame, kOne), kLastTick);
  EXPECT_EQ(slow.Rescale(kLastFrame, {1, 0xFFFFFF}, {0xFFFFFF, 1}), kLastFrame);
}

TEST(TimeLineTest, RescaleKeepsTheMusicalPlace) {
  const TimeLine line(480, {{480, 1000000}});
  EXPECT_EQ(line.Rescale(0, kOne, {2, 1}), 0u);
  EXPECT_EQ(line.Rescale(22050, kOne, {2, 1}), 44100u);
  EXPECT_EQ(line.Rescale(44100, {2, 1}, kOne), 22050u);
  EXPECT_EQ(line.Rescale(66150, kOne, {3, 2}), 99225u);
  EXPECT_EQ(line.Rescale(100, kOne, {2, 1}), 200u);  // between ticks 2 and 3
}

TEST(TimeLineTest, RescaleDoesNotRoundUpIntoTheNextTick) {
  const TimeLine line(480, {});
  // Tick 1 is frames 46..91; at half the length 23..45. Frame 91 would round up to 46.
  ASSERT_EQ(line.FrameOfTick(2, {1, 2}), 46u);
  EXPECT_EQ(line.Rescale(91, kOne, {1, 2}), 45u);
}

TEST(TimeLineTest, RescaleLeadsToTheTicksFrameWhereTicksAreShorterThanAFrame) {
  const TimeLine line(480, {{0, 10000}});  // 0.91875 frames a tick
  // At four times the length tick 1 is frames 4..7.
  EXPECT_EQ(line.FrameOfTick(1, {4, 1}), 4u);
  for (std::uint64_t frame = 4; frame < 8; ++frame) {
    EXPECT_EQ(line.Rescale(frame, {4, 1}, kOne), 1u) << frame;
  }
  // At a tenth, tick 10 is the last one of frame 1.
  EXPECT_EQ(line.Rescale(line.FrameOfTick(10, {4, 1}) + 3, {4, 1}, {1, 10}), 1u);
  EXPECT_EQ(line.Rescale(line.FrameOfTick(11, {4, 1}) + 3, {4, 1}, {1, 10}), 2u);
}

TEST(TimeLineTest, RescaleGoesOnBehindTheLastTick) {
  const TimeLine line(0x7FFF, {{0, 1}});
  constexpr std::uint64_t kFrame = std::uint64_t{1} << 40;
  ASSERT_EQ(line.TickOfFrame(kFrame, kOne), kLastTick);
  EXPECT_EQ(line.Rescale(kFrame, kOne, {2, 1}), 2 * kFrame);
}

/// Random maps and ratios under which every tick is at least one frame long.
class TimeLinePropertyTest : public testing::TestWithParam<unsigned> {
 protected:
  std::uint32_t Random(std::uint32_t low, std::uint32_t high) {
    return std::uniform_int_distribution<std::uint32_t>(low, high)(random_);
  }
  TempoRatio RandomRatio() {
    const std::uint32_t file_tempo = Random(100000, 2000000);
    return {Random(file_tempo / 2, file_tempo * 3), file_tempo};
  }
  TimeLine RandomLine() {
    std::vector<TempoChange> changes;
    std::uint32_t tick = 0;
    for (std::uint32_t i = Random(0, 40); i > 0; --i) {
      changes.push_back({tick, Random(100000, 3000000)});
      tick += Random(0, 2000);
    }
    return {static_cast<std::uint16_t>(Random(24, 960)), changes};
  }
  std::mt19937 random_{GetParam()};
};

TEST_P(TimeLinePropertyTest, EveryTickComesBackFromItsFrame) {
  const TimeLine line = RandomLine();
  const TempoRatio ratio = RandomRatio();
  for (std::uint32_t tick = 0; tick < 3000; ++tick) {
    const std::uint64_t frame = line.FrameOfTick(tick, ratio);
    ASSERT_EQ(line.TickOfFrame(frame, ratio), tick);
    ASSERT_LT(frame, line.FrameOfTick(tick + 1, ratio));
    ASSERT_EQ(line.TickOfFrame(line.FrameOfTick(tick + 1, ratio) - 1, ratio), tick);
  }
}

TEST_P(TimeLinePropertyTest, TicksFramesLeadToTicksFramesUnderAnyRatio) {
  const TimeLine line = RandomLine();
  const TempoRatio from = RandomRatio();
  const TempoRatio to = RandomRatio();
  for (std::uint32_t tick = 0; tick < 3000; ++tick) {
    const std::uint64_t frame = line.FrameOfTick(tick, from);
    ASSERT_EQ(line.Rescale(frame, from, to), line.FrameOfTick(tick, to));
    // Back to the file's tempo and to the program's again, as an event of the file does it.
    const std::uint64_t reset = line.Rescale(frame, from, kOne);
    ASSERT_EQ(line.Rescale(reset, kOne, from), frame);
  }
}

TEST_P(TimeLinePropertyTest, RescaleKeepsTickAndOrder) {
  const TimeLine line = RandomLine();
  const TempoRatio from = RandomRatio();
  const TempoRatio to = RandomRatio();
  const double factor = static_cast<double>(to.numerator) * from.denominator /
                        (static_cast<double>(to.denominator) * from.numerator);
  std::uint64_t last = 0;
  for (std::uint64_t frame = 0; frame < 20000; ++frame) {
    const std::uint64_t rescaled = line.Rescale(frame, from, to);
    ASSERT_EQ(line.TickOfFrame(rescaled, to), line.TickOfFrame(frame, from));
    ASSERT_GE(rescaled, last);
    ASSERT_NEAR(static_cast<double>(rescaled), static_cast<double>(frame) * factor, 1 + factor);
    ASSERT_EQ(line.Rescale(frame, from, from), frame);
    last = rescaled;
  }
}

TEST_P(TimeLinePropertyTest, PositionsAreMonotoneWhereATickIsShorterThanAFrame) {
  const TimeLine line(0x7FFF, {{0, Random(1, 2000)}, {500000, Random(1, 100)}});
  const TempoRatio ratio{Random(500, 500000), Random(500, 500000)};
  std::uint64_t frame = 0;
  for (std::uint32_t tick = 499000; tick < 501000; ++tick) {
    const std::uint64_t next = line.FrameOfTick(tick, ratio);
    ASSERT_GE(next, frame);
    frame = next;
    const std::uint32_t greatest = line.TickOfFrame(frame, ratio);
    ASSERT_GE(greatest, tick);
    ASSERT_EQ(line.FrameOfTick(greatest, ratio), frame);
    ASSERT_GT(line.FrameOfTick(greatest + 1, ratio), frame);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, TimeLinePropertyTest, testing::Range(1u, 11u));

}  // namespace
}  // namespace vexolo::engine
