// layer: core
#include "mixer/instrument_list.h"

#include <gtest/gtest.h>

#include "fakes/mixer_bench.h"

namespace vexolo {
namespace {

TEST(ListInstruments, GoesByProgramThenBankAndLeavesTheKitsOut) {
  PresetNames presets;
  presets.At(0, 0) = "Piano";
  presets.At(8, 0) = "Piano wide";
  presets.At(0, 25) = "Steel guitar";
  presets.At(128, 0) = "Standard";
  const auto entries = ListInstruments(presets, false);
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(entries[0].name, "Piano");
  EXPECT_EQ(entries[1].instrument, (Instrument{8, 0}));
  EXPECT_EQ(entries[2].family, 3);
}

TEST(ListInstruments, OfADrumChannelAreTheKits) {
  PresetNames presets;
  presets.At(0, 0) = "Piano";
  presets.At(128, 40) = "Brush";
  const auto entries = ListInstruments(presets, true);
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].instrument, (Instrument{0, 40}));
  EXPECT_EQ(entries[0].family, kDrumKitFamily);
}

TEST(MatchesSearch, WantsEveryWordWhateverItsCase) {
  EXPECT_TRUE(MatchesSearch("Nylon Guitar", ""));
  EXPECT_TRUE(MatchesSearch("Nylon Guitar", "guit NYL"));
  EXPECT_FALSE(MatchesSearch("Nylon Guitar", "guit steel"));
  EXPECT_TRUE(MatchesSearch("Flûte à bec", "FLÛTE"));
}

struct ControllerSteps : testing::Test, MixerBench {
  Controllers controllers{bass.api(), state, audio, settings};
};

TEST_F(ControllerSteps, TurnAndAreKept) {
  const int entry = ControllerEntry(kVolumeKind, 1);
  const int before = controllers.Value(entry);
  controllers.Step(entry, -2, false);
  EXPECT_EQ(state.overrides.Get(entry), before - 2);
  controllers.Step(entry, -1, true);
  EXPECT_EQ(Saved("CC", "CC1"), std::to_string(before - 12));
  controllers.Step(entry, 900, false);
  EXPECT_EQ(state.overrides.Get(entry), 127);
}

TEST_F(ControllerSteps, AChosenInstrumentSetsBankAndProgram) {
  controllers.ChooseInstrument(2, {8, 30});
  EXPECT_EQ(TakeEvents(), (std::vector<std::string>{"2 10 8", "2 2 30"}));
  EXPECT_EQ(Saved("CC", "CC66"), "8");
  EXPECT_EQ(Saved("CC", "CC82"), "30");
}

TEST_F(ControllerSteps, ADrumChannelKeepsItsBank) {
  state.overrides.Set(ControllerEntry(kDrumKind, 9), 1);
  controllers.ChooseInstrument(9, {0, 16});
  EXPECT_FALSE(state.overrides.Has(ControllerEntry(kBankKind, 9)));
  EXPECT_EQ(state.overrides.Get(ControllerEntry(kProgramKind, 9)), 16);
}

}  // namespace
}  // namespace vexolo
