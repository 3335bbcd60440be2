// layer: core
#include "convert/run_progress.h"

#include <string>

#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

class RunProgressTest : public ::testing::Test {
 protected:
  ProgressTexts Show() { return TextsOfProgress(progress_, texts_, ','); }

  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  LanguageSection texts_{ini_,
                         folder_.Write("xx.lng",
                                       "[Tags]\nRun.Song=<%1>\nRun.Count=%1 / %2\n"
                                       "Run.Left=Left %1\nRun.Speed=%1 x\nRun.Finishing=Finishing\n"
                                       "Run.Cancelling=Cancelling\n"),
                         "Tags"};
  SeriesProgress progress_{"Canon", 3, 17, false, {0.25, 50, 2.5, true}};
};

TEST_F(RunProgressTest, SongPlaceTimeSpeedAndShareAreTold) {
  const ProgressTexts shown = Show();
  EXPECT_EQ(shown.song, "<Canon>");
  EXPECT_EQ(shown.count, "3 / 17");
  EXPECT_EQ(shown.left, "Left 0:08");
  EXPECT_EQ(shown.speed, "20 x");
  EXPECT_EQ(shown.bar, 250);
}

TEST_F(RunProgressTest, OneSongAloneIsNotCounted) {
  progress_.count = 1;
  EXPECT_EQ(Show().count, "");
}

TEST_F(RunProgressTest, NothingIsGuessedTooEarly) {
  progress_.job = {0.01, 2, 0.1, true};
  EXPECT_EQ(Show().left, "");
  EXPECT_EQ(Show().speed, "");
  progress_.job = {};
  EXPECT_EQ(Show().left, "");
  EXPECT_EQ(Show().bar, 0);
}

TEST_F(RunProgressTest, LongTimesAreMinutesAndSlowSpeedsHaveADecimal) {
  progress_.job = {0.5, 100, 65, true};
  EXPECT_EQ(Show().left, "Left 1:05");
  EXPECT_EQ(Show().speed, "1,5 x");
}

TEST_F(RunProgressTest, TheEncodersOwnEndIsTold) {
  progress_.job.share = 1;
  EXPECT_EQ(Show().left, "Finishing");
  EXPECT_EQ(Show().bar, kFullBar);
}

TEST_F(RunProgressTest, ACancelledRunSaysThatItEnds) {
  progress_.cancelling = true;
  EXPECT_EQ(Show().left, "Cancelling");
}

}  // namespace
}  // namespace vexolo
