// layer: engine
#include "engine/play_record.h"

#include <atomic>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

namespace vexolo::engine {
namespace {

constexpr TempoRatio kOne{};
constexpr TempoRatio kHalf{1, 2};

class PlayRecordTest : public testing::Test {
 protected:
  std::uint64_t At(std::uint64_t frame) { return record_->At(frame).position; }

  std::unique_ptr<PlayRecord> record_ = std::make_unique<PlayRecord>();
};

TEST_F(PlayRecordTest, TellsThePlaceOfEveryFrame) {
  record_->Begin(1000, {50, kOne});
  record_->Add(1000, 441, {50, kOne});
  record_->Add(1441, 441, {491, kOne});
  EXPECT_EQ(At(1000), 50u);
  EXPECT_EQ(At(1001), 51u);
  EXPECT_EQ(At(1440), 490u);
  EXPECT_EQ(At(1441), 491u);
  EXPECT_EQ(At(1882), 932u);
  EXPECT_EQ(At(5000), 932u) << "no further than what was handed over";
}

TEST_F(PlayRecordTest, StandsStillInAGap) {
  record_->Begin(0, {0, kOne});
  record_->Add(0, 100, {0, kOne});
  record_->Add(300, 100, {100, kOne});
  EXPECT_EQ(At(99), 99u);
  EXPECT_EQ(At(100), 100u);
  EXPECT_EQ(At(299), 100u);
  EXPECT_EQ(At(300), 100u);
  EXPECT_EQ(At(301), 101u);
}

TEST_F(PlayRecordTest, ASeekHoldsFromNowOn) {
  record_->Begin(0, {0, kOne});
  record_->Add(0, 1000, {0, kOne});
  record_->Begin(1000, {77777, kOne});
  // The device still plays what came before; the new place is told already.
  EXPECT_EQ(At(400), 77777u);
  EXPECT_EQ(At(1000), 77777u);
  record_->Add(1000, 10, {77777, kOne});
  EXPECT_EQ(At(1003), 77780u);
  EXPECT_EQ(At(999), 77777u);
}

TEST_F(PlayRecordTest, KeepsTheRatioOfEveryPiece) {
  record_->Begin(0, {0, kOne});
  record_->Add(0, 100, {0, kOne});
  record_->Add(100, 100, {50, kHalf});
  EXPECT_EQ(record_->At(99).ratio, kOne);
  EXPECT_EQ(record_->At(100).ratio, kHalf);
  EXPECT_EQ(At(101), 51u);
  record_->Add(200, 100, {150, kOne});
  EXPECT_EQ(record_->At(199).ratio, kHalf);
  EXPECT_EQ(record_->At(200).ratio, kOne);
}

TEST_F(PlayRecordTest, RemembersFarEnoughBack) {
  record_->Begin(0, {0, kOne});
  for (std::uint64_t i = 0; i < 100000; ++i) {  // a jump with every frame
    record_->Add(i, 1, {i * 1000, kOne});
    ASSERT_EQ(At(i), i * 1000);
    if (i > 1500 && i % 97 == 0) {
      ASSERT_EQ(At(i - 1500), (i - 1500) * 1000);
    }
  }
}

TEST_F(PlayRecordTest, IsNeverSeenHalfWritten) {
  // Positions and ratios that belong together; a reader must not find a mixture.
  record_->Begin(0, {0, {1, 3}});
  std::atomic<bool> done = false;
  std::atomic<std::uint64_t> handed = 0;
  std::uint64_t mixtures = 0;
  std::thread reader([&] {
    std::uint64_t last = 0;
    while (!done) {
      const PlayRecord::Place place = record_->At(handed);
      const std::uint64_t piece = place.position / 1000;
      if (place.ratio.numerator != piece % 1000 + 1) ++mixtures;
      if (place.position < last) ++mixtures;
      last = place.position;
    }
  });
  for (std::uint64_t piece = 0; piece < 200000; ++piece) {
    record_->Add(piece * 10, 10, {piece * 1000, {static_cast<std::uint32_t>(piece % 1000 + 1), 3}});
    handed = piece * 10 + 5;
  }
  done = true;
  reader.join();
  EXPECT_EQ(mixtures, 0u);
}

}  // namespace
}  // namespace vexolo::engine
