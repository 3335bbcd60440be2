// layer: core
#include "app/panel_layout.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "mixer/channel_strips.h"
#include "mixer/knobs.h"
#include "mixer/meters.h"

namespace vexolo {
namespace {

using panel::Place;

struct Named {
  std::string name;
  Place place;
};

std::vector<Named> Controls() {
  std::vector<Named> all;
  for (int channel = 0; channel < panel::kStrips; ++channel) {
    const std::string number = std::to_string(channel);
    all.push_back({"solo " + number, panel::SoloPlace(channel)});
    all.push_back({"mute " + number, panel::MutePlace(channel)});
    all.push_back({"level " + number, panel::LevelPlace(channel)});
    all.push_back({"lamp " + number, panel::LampPlace(channel)});
  }
  for (int index = 32; index < 48; ++index) {
    all.push_back({"button " + std::to_string(index), panel::MiscButtonPlace(index)});
  }
  all.push_back({"gain", panel::kGainPlace});
  all.push_back({"transpose", panel::kTransposePlace});
  all.push_back({"speed", panel::kSpeedPlace});
  all.push_back({"title", panel::kTitle.Text()});
  all.push_back({"time", panel::kTime.Text()});
  all.push_back({"position", panel::kPosition});
  all.push_back({"level meter", panel::kLevelMeter});
  all.push_back({"peak meter", panel::kPeakMeter});
  all.push_back({"overload", panel::kClipLamp});
  all.push_back({"gain label", panel::kLabelGain});
  all.push_back({"name", panel::kNamePlate});
  return all;
}

std::vector<Named> Captions() {
  std::vector<Named> all;
  for (int channel = 0; channel < panel::kStrips; ++channel) {
    all.push_back({"number " + std::to_string(channel), panel::ChannelCaption(channel)});
  }
  for (int index = 35; index < 48; ++index) {
    all.push_back({"caption " + std::to_string(index), panel::KeyCaption(index)});
  }
  all.push_back({"solo", panel::kSoloCaption});
  all.push_back({"mute", panel::kMuteCaption});
  all.push_back({"gain", panel::kGainCaption});
  all.push_back({"transpose", panel::kTransposeCaption});
  all.push_back({"transpose value", panel::kTransposeValue});
  all.push_back({"speed", panel::kSpeedCaption});
  all.push_back({"bpm", panel::kSpeedUnit});
  for (const auto& mark : panel::kLevelScale) all.push_back({mark.text, mark.place});
  for (const auto& mark : panel::kGainScale) all.push_back({mark.text, mark.place});
  for (const auto& mark : panel::kTransposeScale) all.push_back({mark.text, mark.place});
  return all;
}

bool Overlap(const Place& a, const Place& b) {
  return a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height && b.y < a.y + a.height;
}

bool Holds(const Place& outer, const Place& inner) {
  return inner.x >= outer.x && inner.y >= outer.y &&
         inner.x + inner.width <= outer.x + outer.width &&
         inner.y + inner.height <= outer.y + outer.height;
}

void ExpectNoOverlap(const std::vector<Named>& all) {
  for (std::size_t i = 0; i < all.size(); ++i) {
    for (std::size_t j = i + 1; j < all.size(); ++j) {
      EXPECT_FALSE(Overlap(all[i].place, all[j].place)) << all[i].name << ", " << all[j].name;
    }
  }
}

TEST(PanelLayout, ControlsHaveTheSizesOfTheirPictures) {
  const auto same_size = [](const Place& place, const SpriteRect& sprite) {
    return place.width == sprite.width && place.height == sprite.height;
  };
  for (int index = 0; index < 48; ++index) {
    const Place place = index < 16   ? panel::SoloPlace(index)
                        : index < 32 ? panel::MutePlace(index - 16)
                                     : panel::MiscButtonPlace(index);
    EXPECT_TRUE(same_size(place, SmSprite(index, 0))) << index;
  }
  EXPECT_TRUE(same_size(panel::LevelPlace(0), KnobSprite(0, 0)));
  EXPECT_TRUE(same_size(panel::kGainPlace, KnobSprite(kGainKnob, 0)));
  EXPECT_TRUE(same_size(panel::kTransposePlace, KnobSprite(kTransposeKnob, 0)));
  EXPECT_TRUE(same_size(panel::LampPlace(0), LampSprite(0, false)));
  EXPECT_TRUE(same_size(panel::kLevelMeter, VuSprite(0)));
  EXPECT_TRUE(same_size(panel::kPeakMeter, VuSprite(0)));
}

TEST(PanelLayout, NothingLeavesThePanel) {
  for (const auto& list : {Controls(), Captions()}) {
    for (const Named& one : list) EXPECT_TRUE(Holds(panel::kWhole, one.place)) << one.name;
  }
}

TEST(PanelLayout, NoControlCoversAnother) { ExpectNoOverlap(Controls()); }

TEST(PanelLayout, NoCaptionIsCoveredByAControlOrAnotherCaption) {
  std::vector<Named> all = Captions();
  ExpectNoOverlap(all);
  for (const Named& caption : Captions()) {
    for (const Named& control : Controls()) {
      EXPECT_FALSE(Overlap(caption.place, control.place)) << caption.name << ", " << control.name;
    }
  }
}

TEST(PanelLayout, EveryControlButTheNameStandsOnOnePlate) {
  for (const Named& control : Controls()) {
    int plates = 0;
    for (const Place& plate : panel::kPlates) plates += Holds(plate, control.place) ? 1 : 0;
    EXPECT_EQ(plates, control.name == "name" ? 0 : 1) << control.name;
  }
}

TEST(PanelLayout, DisplaysAreWideEnoughAndUnderTheGlass) {
  EXPECT_GE(panel::kTime.characters, 19) << "0:00,000 / 0:00,000";
  EXPECT_TRUE(Holds(panel::kDisplayGlass, panel::kAllCells.Text()));
  for (const auto& display : {panel::kTitle, panel::kTime}) {
    EXPECT_TRUE(Holds(panel::kAllCells.Text(), display.Text()));
    EXPECT_EQ((display.x - panel::kAllCells.x) % panel::kGlyphWidth, 0) << "one grid of dots";
    EXPECT_EQ(display.y, panel::kAllCells.y);
  }
  EXPECT_EQ(panel::kSpeedPlace.width, 3 * panel::kGlyphWidth + 2 * 4);
  EXPECT_EQ(panel::kSpeedPlace.height, panel::kGlyphHeight + 2 * 4);
}

TEST(PanelLayout, StripsStandInOrderAtEqualDistance) {
  for (int channel = 1; channel < panel::kStrips; ++channel) {
    EXPECT_EQ(panel::LevelPlace(channel).x - panel::LevelPlace(channel - 1).x, panel::kStripPitch);
    EXPECT_EQ(panel::SoloPlace(channel).x, panel::LevelPlace(channel).x);
    EXPECT_EQ(panel::MutePlace(channel).x, panel::LevelPlace(channel).x);
    EXPECT_EQ(panel::LampPlace(channel).x, panel::LevelPlace(channel).x + 3);
  }
}

}  // namespace
}  // namespace vexolo
