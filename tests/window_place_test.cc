// layer: core
#include "settings/window_place.h"

#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

class WindowPlaceTest : public ::testing::Test {
 protected:
  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
};

TEST_F(WindowPlaceTest, IsKeptInTwips) {
  WritePlace(ini_, "Main", {100, -7});
  EXPECT_EQ(ini_.ReadIni("Main", "X"), "1500");
  EXPECT_EQ(ini_.ReadIni("Main", "Y"), "-105");
  EXPECT_EQ(ReadPlace(ini_, "Main"), (WindowPlace{100, -7}));
}

TEST_F(WindowPlaceTest, NeedsBothKeys) {
  EXPECT_EQ(ReadPlace(ini_, "Main"), std::nullopt);
  ini_.WriteIni("Main", "X", "1500");
  EXPECT_EQ(ReadPlace(ini_, "Main"), std::nullopt);
}

TEST_F(WindowPlaceTest, AnExtentIsPositive) {
  WriteExtent(ini_, "Paroles", {640, 480});
  EXPECT_EQ(ini_.ReadIni("Paroles", "W"), "9600");
  EXPECT_EQ(ReadExtent(ini_, "Paroles"), (WindowExtent{640, 480}));
  ini_.WriteIni("Paroles", "H", "0");
  EXPECT_EQ(ReadExtent(ini_, "Paroles"), std::nullopt);
}

TEST_F(WindowPlaceTest, ShowIsOneOrZero) {
  EXPECT_FALSE(ReadShow(ini_, "Reverb"));
  WriteShow(ini_, "Reverb", true);
  EXPECT_EQ(ini_.ReadIni("Reverb", "Show"), "1");
  EXPECT_TRUE(ReadShow(ini_, "Reverb"));
  WriteShow(ini_, "Reverb", false);
  EXPECT_EQ(ini_.ReadIni("Reverb", "Show"), "0");
}

}  // namespace
}  // namespace vexolo
