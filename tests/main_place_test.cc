// layer: core
#include "app/main_place.h"

#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

constexpr WindowExtent kWindow = {900, 420};
constexpr WindowExtent kScreen = {1600, 1200};
constexpr Desktop kDesktop = {{0, 0}, kScreen};
constexpr WindowPlace kCentred = {350, 390};

class MainPlaceTest : public testing::Test {
 protected:
  WindowPlace PlaceFor(const char* x, const char* y) {
    ini_.WriteIni("Main", "X", x);
    ini_.WriteIni("Main", "Y", y);
    return MainPlace(ini_, kWindow, kDesktop, kScreen);
  }
  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
};

TEST_F(MainPlaceTest, IsKeptInTwips) {
  EXPECT_EQ((WindowPlace{100, 50}), PlaceFor("1500", "750"));
  StoreMainPlace(ini_, {20, 30});
  EXPECT_EQ("300", ini_.ReadIni("Main", "X"));
  EXPECT_EQ("450", ini_.ReadIni("Main", "Y"));
  EXPECT_EQ((WindowPlace{20, 30}), MainPlace(ini_, kWindow, kDesktop, kScreen));
}

TEST_F(MainPlaceTest, BeyondTheScreenTheWindowIsCentred) {
  EXPECT_EQ(kCentred, PlaceFor("24000", "0"));  // 1600 pixels
  EXPECT_EQ((WindowPlace{1599, 0}), PlaceFor("23985", "0"));
  EXPECT_EQ(kCentred, PlaceFor("0", "18000"));
  EXPECT_EQ((WindowPlace{0, 1199}), PlaceFor("0", "17985"));
  EXPECT_EQ(kCentred, PlaceFor("-13500", "0"));
  EXPECT_EQ((WindowPlace{-50, -10}), PlaceFor("-750", "-150"));
}

TEST_F(MainPlaceTest, ASecondScreenIsPartOfTheDesktop) {
  ini_.WriteIni("Main", "X", "30000");  // 2000 pixels
  ini_.WriteIni("Main", "Y", "300");
  EXPECT_EQ((WindowPlace{2000, 20}), MainPlace(ini_, kWindow, {{0, 0}, {3200, 1200}}, kScreen));
  ini_.WriteIni("Main", "X", "48000");
  EXPECT_EQ(kCentred, MainPlace(ini_, kWindow, {{0, 0}, {3200, 1200}}, kScreen));
}

TEST_F(MainPlaceTest, ASecondScreenMayStandBeforeTheFirst) {
  const Desktop desktop = {{-1600, -300}, {3200, 1500}};
  ini_.WriteIni("Main", "X", "-22500");  // 1500 pixels to the left
  ini_.WriteIni("Main", "Y", "-4500");
  EXPECT_EQ((WindowPlace{-1500, -300}), MainPlace(ini_, kWindow, desktop, kScreen));
  ini_.WriteIni("Main", "X", "24000");
  EXPECT_EQ(kCentred, MainPlace(ini_, kWindow, desktop, kScreen));
  ini_.WriteIni("Main", "X", "-37500");
  EXPECT_EQ(kCentred, MainPlace(ini_, kWindow, desktop, kScreen));
}

TEST_F(MainPlaceTest, WithoutAPlaceTheWindowIsCentred) {
  EXPECT_EQ(kCentred, MainPlace(ini_, kWindow, kDesktop, kScreen));
  EXPECT_EQ(kCentred, PlaceFor("", "300"));
}

}  // namespace
}  // namespace vexolo
