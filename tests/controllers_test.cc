// layer: core
#include "mixer/controllers.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/mixer_bench.h"
#include "mixer/channel_strips.h"

namespace vexolo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kPan3 = ControllerEntry(kPanKind, 3);
constexpr int kBank3 = ControllerEntry(kBankKind, 3);
constexpr int kProgram3 = ControllerEntry(kProgramKind, 3);
constexpr int kDrum3 = ControllerEntry(kDrumKind, 3);

struct ControllersTest : testing::Test, MixerBench {
  Controllers controllers{bass.api(), state, audio, settings};

  ControllersTest() {
    for (int program : {0, 5, 40}) audio.presets.At(0, program) = std::to_string(program);
    audio.presets.At(8, 5) = "variation";
    audio.presets.At(128, 0) = "Standard kit";
    audio.presets.At(128, 25) = "Electronic kit";
    audio.presets.highest_bank = 8;
    ReadCurrentValues(bass.api(), audio.stream, state);
  }
  bool Left(int entry, bool shift = false) {
    return controllers.ControllerDown(entry, kLeftButton, 0, 0, false, shift);
  }
  void Right(int entry) { controllers.ControllerDown(entry, kRightButton, 0, 0, false, false); }
  void SetSongInstrument(bass::DWORD bank, bass::DWORD program) {
    bass.SetValue(audio.stream, 3, bass::MIDI_EVENT_BANK, bank);
    bass.SetValue(audio.stream, 3, bass::MIDI_EVENT_PROGRAM, program);
    ReadCurrentValues(bass.api(), audio.stream, state);
  }
};

TEST(ControllerEntries, AreBlocksOfSixteenThenTheSongWideOnes) {
  EXPECT_EQ(0, ControllerEntry(kVolumeKind, 0));
  EXPECT_EQ(111, ControllerEntry(kDrumKind, 15));
  EXPECT_EQ(112, SongEntry(1));
  EXPECT_EQ(122, SongEntry(11));
  const std::vector<bass::DWORD> events = {12, 13, 23, 24, 10, 2, 6};
  for (int kind = 1; kind <= kControllerKinds; ++kind) {
    const int entry = ControllerEntry(kind, 9);
    EXPECT_EQ(kind, KindOf(entry));
    EXPECT_EQ(9, ChannelOf(entry));
    EXPECT_EQ(events[static_cast<std::size_t>(kind - 1)], EventOf(entry));
  }
  for (int kind = 1; kind <= kSongKinds; ++kind) {
    EXPECT_EQ(static_cast<bass::DWORD>(31 + kind), EventOf(SongEntry(kind)));
    EXPECT_EQ(0, ChannelOf(SongEntry(kind)));
  }
}

TEST(ControllerEntries, CaptionsAreInTheOrderOfTheColumns) {
  std::vector<std::string> keys;
  for (const ControllerInfo& info : kControllers) keys.push_back(info.caption_key);
  EXPECT_THAT(keys, ElementsAre("Volume", "Pan", "Reverb", "Chorus", "Bank", "Program", "Drum"));
}

TEST(ControllerText, PanOf64IsTheMiddleAndPanOf0Is64ToTheLeft) {
  EXPECT_EQ(" C ", ControllerText(kPanKind, 64));
  EXPECT_EQ("G 64", ControllerText(kPanKind, 0));
  EXPECT_EQ("G 1", ControllerText(kPanKind, 63));
  EXPECT_EQ("D 1", ControllerText(kPanKind, 65));
  EXPECT_EQ("D 63", ControllerText(kPanKind, 127));
  EXPECT_EQ("D 63", ControllerText(kPanKind, 70000));
}

TEST(ControllerText, DrumModeAndPlainNumbers) {
  EXPECT_EQ("Melodic", ControllerText(kDrumKind, 0));
  EXPECT_EQ("DrumSet", ControllerText(kDrumKind, 1));
  EXPECT_EQ("100", ControllerText(kVolumeKind, 100));
  EXPECT_EQ("127", ControllerText(kBankKind, 500));
}

TEST(ControllerFrame, CoversEveryFrameAndClamps) {
  EXPECT_EQ(0, ControllerFrame(-1, 32));
  EXPECT_EQ(16, ControllerFrame(64, 32));
  EXPECT_EQ(31, ControllerFrame(127, 32));
  EXPECT_EQ(31, ControllerFrame(2147483647, 32));
}

TEST_F(ControllersTest, DragSendsAtOnceAndStoresOnRelease) {
  controllers.ControllerDown(kPan3, kLeftButton, 10, 10, false, false);
  controllers.ControllerMove(15, 5);
  EXPECT_THAT(TakeEvents(), ElementsAre("3 13 74"));
  EXPECT_EQ(74, controllers.Value(kPan3));
  EXPECT_FALSE(state.overrides.Has(kPan3));
  controllers.ControllerMove(500, 5);
  EXPECT_THAT(TakeEvents(), ElementsAre("3 13 127"));
  controllers.ControllerMove(-500, 5);
  EXPECT_THAT(TakeEvents(), ElementsAre("3 13 0"));
  EXPECT_EQ("", Saved("CC", "CC19"));
  EXPECT_TRUE(controllers.ControllerUp());
  EXPECT_EQ(0, state.overrides.Get(kPan3));
  EXPECT_EQ("0", Saved("CC", "CC19"));
  EXPECT_FALSE(controllers.ControllerMove(0, 0));
  EXPECT_FALSE(controllers.ControllerUp());
}

TEST_F(ControllersTest, RightClickRemovesTheOverrideAndItsValueInTheFile) {
  state.overrides.Set(kPan3, 5);
  settings.SaveCC(state, kPan3);
  ApplyOverride(bass.api(), audio.stream, state, kPan3);
  EXPECT_THAT(TakeEvents(), ElementsAre("3 13 5"));
  Right(kPan3);
  EXPECT_FALSE(state.overrides.Has(kPan3));
  EXPECT_THAT(TakeEvents(), ElementsAre("3 13 64"));  // the song's, not what was sent
  EXPECT_EQ(64, controllers.Value(kPan3));
  EXPECT_EQ("", Saved("CC", "CC19"));
  EXPECT_EQ(std::string::npos, folder.Read("Tune.zvn").find("CC19=5"));
}

TEST_F(ControllersTest, ResetOfABankBringsTheSongsBankBackWithTheProgramInForce) {
  SetSongInstrument(3, 40);
  state.overrides.Set(kBank3, 8);
  state.overrides.Set(kProgram3, 5);
  ApplyAllOverrides(bass.api(), audio.stream, state);
  TakeEvents();
  Right(kBank3);
  EXPECT_THAT(TakeEvents(), ElementsAre("3 10 3", "3 2 5"));
  Right(kProgram3);
  EXPECT_THAT(TakeEvents(), ElementsAre("3 10 3", "3 2 40"));
}

TEST_F(ControllersTest, ProgramStepsToTheNextNameInItsBank) {
  EXPECT_TRUE(Left(kProgram3));
  EXPECT_THAT(TakeEvents(), ElementsAre("3 10 0", "3 2 5"));
  EXPECT_EQ(5, state.overrides.Get(kProgram3));
  EXPECT_EQ(0, state.overrides.Get(kBank3));
  EXPECT_EQ("5", Saved("CC", "CC83"));
  EXPECT_EQ("0", Saved("CC", "CC67"));
  EXPECT_TRUE(Left(kProgram3));
  EXPECT_EQ(40, state.overrides.Get(kProgram3));
  EXPECT_TRUE(Left(kProgram3));
  EXPECT_EQ(0, state.overrides.Get(kProgram3));
}

TEST_F(ControllersTest, ShiftStepsBackwards) {
  EXPECT_TRUE(Left(kProgram3, true));
  EXPECT_EQ(40, state.overrides.Get(kProgram3));
}

TEST_F(ControllersTest, BankStepsToTheNextBankThatHasTheProgram) {
  SetSongInstrument(0, 5);
  EXPECT_TRUE(Left(kBank3));
  EXPECT_THAT(TakeEvents(), ElementsAre("3 10 8", "3 2 5"));
  EXPECT_EQ(8, state.overrides.Get(kBank3));
  EXPECT_FALSE(state.overrides.Has(kProgram3));  // it did not change
  EXPECT_EQ("8", Saved("CC", "CC67"));
  EXPECT_TRUE(Left(kBank3));
  EXPECT_EQ(0, state.overrides.Get(kBank3));
}

TEST_F(ControllersTest, BankOfAProgramThatNoOtherBankHasStays) {
  SetSongInstrument(0, 40);
  EXPECT_FALSE(Left(kBank3));
  EXPECT_THAT(TakeEvents(), IsEmpty());
  EXPECT_FALSE(state.overrides.Has(kBank3));
  EXPECT_FALSE(state.overrides.Has(kProgram3));
  EXPECT_FALSE(FileExists(settings.path()));
}

TEST_F(ControllersTest, BankWithoutPresetsLeavesSteppingWithoutEffect) {
  audio.presets = PresetNames();
  EXPECT_FALSE(Left(kProgram3));
  EXPECT_FALSE(Left(kBank3));
  EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(ControllersTest, OverridesAreWhereSteppingStarts) {
  state.overrides.Set(kBank3, 8);
  state.overrides.Set(kProgram3, 4);
  EXPECT_TRUE(Left(kProgram3));
  EXPECT_EQ(5, state.overrides.Get(kProgram3));
  EXPECT_EQ(8, state.overrides.Get(kBank3));
}

TEST_F(ControllersTest, DrumChannelStepsThroughTheKitsAndKeepsItsBank) {
  const int program9 = ControllerEntry(kProgramKind, 9);
  EXPECT_TRUE(Left(program9));
  EXPECT_EQ(25, state.overrides.Get(program9));
  EXPECT_FALSE(Left(ControllerEntry(kBankKind, 9)));
}

TEST_F(ControllersTest, InstrumentOutsideTheTableIsBroughtInside) {
  state.overrides.Set(kBank3, 2147483647);
  state.overrides.Set(kProgram3, 2147483647);
  EXPECT_TRUE(Left(kProgram3));
  EXPECT_EQ(8, state.overrides.Get(kBank3));
  EXPECT_EQ(5, state.overrides.Get(kProgram3));
}

TEST_F(ControllersTest, DrumClickChangesTheModeAndTheInstrumentFollowsWhereItIsSet) {
  EXPECT_TRUE(Left(kDrum3));
  EXPECT_THAT(TakeEvents(), ElementsAre("3 6 1"));
  EXPECT_EQ("1", Saved("CC", "CC99"));
  state.overrides.Set(kProgram3, 25);
  EXPECT_TRUE(Left(kDrum3));
  EXPECT_THAT(TakeEvents(), ElementsAre("3 6 0", "3 10 0", "3 2 25"));
  EXPECT_EQ("0", Saved("CC", "CC99"));
}

TEST_F(ControllersTest, InstrumentIsBankThenProgramOverriddenOrTheStreams) {
  SetSongInstrument(2, 7);
  SendInstrument(bass.api(), audio.stream, state, 3);
  EXPECT_THAT(TakeEvents(), ElementsAre("3 10 2", "3 2 7"));
  state.overrides.Set(kProgram3, 30);
  SendInstrument(bass.api(), audio.stream, state, 3);
  EXPECT_THAT(TakeEvents(), ElementsAre("3 10 2", "3 2 30"));
  state.overrides.Set(kBank3, 8);
  SendInstrument(bass.api(), audio.stream, state, 3);
  EXPECT_THAT(TakeEvents(), ElementsAre("3 10 8", "3 2 30"));
}

TEST_F(ControllersTest, TipIsTheNameOfThePreset) {
  EXPECT_EQ("0", controllers.TipPreset(3));
  EXPECT_EQ("Standard kit", controllers.TipPreset(9));
  state.overrides.Set(kProgram3, 5);
  state.overrides.Set(kBank3, 8);
  EXPECT_EQ("variation", controllers.TipPreset(3));
  state.overrides.Set(kProgram3, 6);
  EXPECT_EQ("", controllers.TipPreset(3));
  state.overrides.Set(kProgram3, 99999);
  state.overrides.Set(kBank3, 99999);
  EXPECT_EQ("", controllers.TipPreset(3));
}

TEST_F(ControllersTest, NothingFailsWithoutAStream) {
  audio.stream = 0;
  ReadCurrentValues(bass.api(), 0, state);
  EXPECT_EQ(0, controllers.Value(kPan3));
  Right(kPan3);
  Left(kDrum3);
  EXPECT_EQ(1, state.overrides.Get(kDrum3));
  EXPECT_TRUE(boxes.shown.empty());
}

TEST_F(ControllersTest, SongWideEntriesAreNotKnobsOfThisWindow) {
  EXPECT_FALSE(Left(112));
  EXPECT_FALSE(Left(-1));
}

// ---- All overrides at once.

TEST_F(ControllersTest, AllOverridesAreSentDrumModeBeforeInstrument) {
  state.overrides.Set(ControllerEntry(kVolumeKind, 0), 90);
  state.overrides.Set(kDrum3, 1);
  state.overrides.Set(kProgram3, 25);
  state.overrides.Set(kBank3, 8);
  state.overrides.Set(ControllerEntry(kBankKind, 4), 8);
  state.overrides.Set(SongEntry(1), 2500);
  state.overrides.Set(SongEntry(11), 150);
  ApplyAllOverrides(bass.api(), audio.stream, state);
  EXPECT_THAT(TakeEvents(), ElementsAre("0 12 90", "3 6 1", "3 10 8", "3 2 25", "4 10 8", "4 2 0",
                                        "0 32 2500", "0 42 150"));
}

TEST_F(ControllersTest, WithoutOverridesNothingIsSent) {
  ApplyAllOverrides(bass.api(), audio.stream, state);
  EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(ControllersTest, OverridesOutOfRangeAreSentWithinIt) {
  state.overrides.Set(ControllerEntry(kVolumeKind, 0), 99999);
  state.overrides.Set(kDrum3, 7);
  state.overrides.Set(kBank3, 128);
  state.overrides.Set(SongEntry(1), 70000);
  ApplyAllOverrides(bass.api(), audio.stream, state);
  EXPECT_THAT(TakeEvents(), ElementsAre("0 12 127", "3 6 1", "3 10 127", "3 2 0", "0 32 70000"));
  EXPECT_EQ(99999, state.overrides.Get(0));
}

TEST_F(ControllersTest, EveryOverrideIsBackAfterASeek) {
  state.overrides.Set(kPan3, 5);
  ApplyAllOverrides(bass.api(), audio.stream, state);
  bass.api().BASS_ChannelSetPosition(audio.stream, 400, bass::BASS_POS_BYTE);
  EXPECT_EQ(64u, bass.Value(audio.stream, 3, bass::MIDI_EVENT_PAN));
  ReadCurrentValues(bass.api(), audio.stream, state);
  ApplyAllOverrides(bass.api(), audio.stream, state);
  EXPECT_EQ(5u, bass.Value(audio.stream, 3, bass::MIDI_EVENT_PAN));
  EXPECT_EQ(64, state.current_values.Get(kPan3));
}

TEST_F(ControllersTest, CurrentValuesAreReadForEveryEntry) {
  bass.SetValue(audio.stream, 15, bass::MIDI_EVENT_DRUMS, 1);
  bass.SetValue(audio.stream, 0, bass::MIDI_EVENT_CHORUS_REVERB, 33);
  ReadCurrentValues(bass.api(), audio.stream, state);
  EXPECT_EQ(100, state.current_values.Get(0));
  EXPECT_EQ(1, state.current_values.Get(111));
  EXPECT_EQ(1800, state.current_values.Get(112));
  EXPECT_EQ(33, state.current_values.Get(122));
}

}  // namespace
}  // namespace vexolo
