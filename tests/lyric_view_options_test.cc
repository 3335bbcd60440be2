// layer: core
#include "lyrics/lyric_view_options.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "lyrics/lyric_colours.h"

namespace vexolo {
namespace {

class LyricViewOptionsTest : public ::testing::Test {
 protected:
  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
};

TEST_F(LyricViewOptionsTest, AtFirstTheWindowIsAnOrdinaryOneInItsOwnColours) {
  const LyricViewOptions options = LoadLyricViewOptions(ini_);
  EXPECT_FALSE(options.full_screen);
  EXPECT_FALSE(options.second_screen);
  EXPECT_FALSE(options.on_top);
  EXPECT_EQ(0, options.theme);
}

TEST_F(LyricViewOptionsTest, EveryChoiceIsRemembered) {
  const LyricViewOptions chosen = {true, true, true, 3};
  SaveLyricViewOptions(ini_, chosen, {});
  EXPECT_EQ(chosen, LoadLyricViewOptions(ini_));
  SaveLyricViewOptions(ini_, {}, chosen);
  EXPECT_EQ(LyricViewOptions(), LoadLyricViewOptions(ini_));
}

TEST_F(LyricViewOptionsTest, OnlyWhatHasChangedIsWritten) {
  SaveLyricViewOptions(ini_, {.on_top = true}, {});
  const std::string written = folder_.Read("Vexolo.ini");
  EXPECT_NE(std::string::npos, written.find("OnTop=1"));
  EXPECT_EQ(1, std::count(written.begin(), written.end(), '='));
}

TEST_F(LyricViewOptionsTest, AThemeThatIsNotThereIsTheFirst) {
  const std::string beyond = std::to_string(kLyricThemeCount);
  for (const std::string& wrong :
       {std::string("-1"), beyond, std::string("x"), std::string("1e30")}) {
    ini_.WriteIni("Paroles", "Theme", wrong);
    EXPECT_EQ(0, LoadLyricViewOptions(ini_).theme) << wrong;
  }
}

TEST(LyricDrawing, TheSecondScreenIsAnotherOneThanTheMainWindows) {
  EXPECT_EQ(0, FullScreenTarget(1, 0, 0, true));
  EXPECT_EQ(0, FullScreenTarget(2, 0, 0, false));
  EXPECT_EQ(1, FullScreenTarget(2, 0, 0, true));
  EXPECT_EQ(0, FullScreenTarget(2, 1, 1, true));
  EXPECT_EQ(1, FullScreenTarget(3, 0, 0, true));
  EXPECT_EQ(2, FullScreenTarget(3, 0, 2, true));  // the user has put it there
  EXPECT_EQ(2, FullScreenTarget(3, 0, 2, false));
}

TEST(LyricDrawing, OnlyAGraphicsCardSmoothesEdges) {
  EXPECT_EQ(0, SamplesFor("llvmpipe (LLVM 15.0.6, 256 bits)"));
  EXPECT_EQ(0, SamplesFor("softpipe"));
  EXPECT_EQ(0, SamplesFor("Software Rasterizer"));
  EXPECT_EQ(0, SamplesFor("GDI Generic"));
  EXPECT_EQ(0, SamplesFor("Microsoft Basic Render Driver"));
  EXPECT_EQ(0, SamplesFor(""));
  EXPECT_EQ(4, SamplesFor("Mesa Intel(R) UHD Graphics 620 (KBL GT2)"));
  EXPECT_EQ(4, SamplesFor("AMD Radeon RX 6600 (radeonsi, navi23)"));
}

TEST(LyricDrawing, FramesFollowTheScreen) {
  EXPECT_EQ(16, RefreshInterval(60));
  EXPECT_EQ(16, RefreshInterval(59.94));
  EXPECT_EQ(13, RefreshInterval(75));
  EXPECT_EQ(6, RefreshInterval(144));
  EXPECT_EQ(16, RefreshInterval(0));
  EXPECT_EQ(16, RefreshInterval(-1));
  EXPECT_EQ(41, RefreshInterval(1));
  EXPECT_EQ(4, RefreshInterval(1e9));
}

TEST(LyricDrawing, TicksThatWereMissedAreCounted) {
  EXPECT_EQ(1, TicksPassed(16, 16));
  EXPECT_EQ(1, TicksPassed(0, 16));
  EXPECT_EQ(1, TicksPassed(17.9, 16));
  EXPECT_EQ(2, TicksPassed(30, 16));
  EXPECT_EQ(6, TicksPassed(100, 16));
  EXPECT_EQ(1, TicksPassed(-5, 16));
  EXPECT_EQ(1, TicksPassed(16, 0));
  EXPECT_EQ(1000, TicksPassed(1e12, 16));
}

}  // namespace
}  // namespace vexolo
