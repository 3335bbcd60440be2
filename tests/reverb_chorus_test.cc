// layer: core
#include "mixer/reverb_chorus.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/mixer_bench.h"
#include "mixer/controllers.h"

namespace vexolo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Effects : testing::Test, MixerBench {
  ReverbChorus effects{bass.api(), state, audio, settings};
};

TEST(EffectKnobs, StepsAndEventsAreThoseOfTheirKind) {
  const int steps[] = {100, 100, 100, 100, 10, 100, 100, 100, 1, 10, 10};
  for (int kind = 1; kind <= kSongKinds; ++kind) {
    const EffectKnob& knob = kEffectKnobs[static_cast<std::size_t>(kind - 1)];
    EXPECT_EQ(steps[kind - 1], knob.step);
    EXPECT_EQ(static_cast<bass::DWORD>(31 + kind), knob.event);
    EXPECT_EQ(knob.event, EventOf(SongEntry(kind)));
    EXPECT_EQ(kind >= 6, knob.is_chorus);
  }
}

TEST_F(Effects, LevelKnobDraggedByThreePixelsWithCtrlChangesByThree) {
  effects.ControllerDown(5, 10, 10, true, false);
  EXPECT_TRUE(effects.ControllerMove(12, 9));
  EXPECT_EQ(103, effects.Value(5));
  EXPECT_THAT(TakeEvents(), ElementsAre("0 36 103"));
}

TEST_F(Effects, DragStopsAtZeroAndHasNoUpperLimit) {
  effects.ControllerDown(1, 0, 0, false, false);
  effects.ControllerMove(0, 5000);
  EXPECT_THAT(TakeEvents(), ElementsAre("0 32 0"));
  effects.ControllerMove(0, -5000);
  EXPECT_THAT(TakeEvents(), ElementsAre("0 32 501800"));
}

TEST_F(Effects, ParameterIsFoundAgainAtItsIndexInTheFile) {
  effects.ControllerDown(11, 0, 0, false, false);
  effects.ControllerMove(4, 0);
  EXPECT_FALSE(state.overrides.Has(122));
  EXPECT_TRUE(effects.ControllerUp());
  EXPECT_EQ(40, state.overrides.Get(122));
  EXPECT_EQ("40", Saved("CC", "CC122"));
  EXPECT_EQ(0, effects.held_kind());
  EXPECT_FALSE(effects.ControllerMove(50, 0));
  EXPECT_FALSE(effects.ControllerUp());
  MixState again;
  settings.LoadCC(again);
  EXPECT_EQ(40, again.overrides.Get(122));
}

TEST_F(Effects, OverrideIsTheStartElseTheStreamsValue) {
  bass.SetValue(audio.stream, 0, bass::MIDI_EVENT_CHORUS_RATE, 70);
  EXPECT_EQ(70, effects.Value(8));
  state.overrides.Set(SongEntry(8), 500);
  EXPECT_EQ(500, effects.Value(8));
  effects.ControllerDown(8, 0, 0, false, false);
  effects.ControllerMove(1, 0);
  EXPECT_THAT(TakeEvents(), ElementsAre("0 39 600"));
}

TEST_F(Effects, NoSuchKnobIsNotHeld) {
  effects.ControllerDown(0, 0, 0, false, false);
  EXPECT_FALSE(effects.ControllerMove(5, 5));
  effects.ControllerDown(12, 0, 0, false, false);
  EXPECT_FALSE(effects.ControllerMove(5, 5));
  EXPECT_EQ(0, effects.Value(12));
  EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(Effects, WithoutAStreamTheValueIsStoredAllTheSame) {
  audio.stream = 0;
  effects.ControllerDown(9, 0, 0, false, false);
  effects.ControllerMove(7, 0);
  effects.ControllerUp();
  EXPECT_EQ(7, state.overrides.Get(SongEntry(9)));
}

TEST_F(Effects, AStepIsOnePixelOfDragAndKept) {
  effects.Step(1, 2, false, false);
  EXPECT_THAT(TakeEvents(), ElementsAre("0 32 2000"));
  effects.Step(1, -1, true, false);
  EXPECT_THAT(TakeEvents(), ElementsAre("0 32 1990"));
  EXPECT_EQ("1990", Saved("CC", "CC112"));
}

TEST_F(Effects, ResetGivesTheSongsValueBack) {
  state.current_values.Set(SongEntry(5), 80);
  effects.Step(5, 1, false, false);
  EXPECT_TRUE(effects.HasOverride(5));
  TakeEvents();
  effects.Reset(5);
  EXPECT_FALSE(effects.HasOverride(5));
  EXPECT_EQ("", Saved("CC", "CC116"));
  EXPECT_THAT(TakeEvents(), ElementsAre("0 36 80"));
}

TEST_F(Effects, BypassSilencesTheReverbAndLeavesItsSetting) {
  state.overrides.Set(SongEntry(5), 120);
  effects.SetBypass(false, true);
  EXPECT_THAT(TakeEvents(), ElementsAre("0 36 0"));
  EXPECT_EQ(120, effects.Value(5));
  // Neither a turned knob nor the song's own events bring it back.
  effects.Step(5, 1, false, false);
  ApplyOverride(bass.api(), audio.stream, state, SongEntry(5));
  EXPECT_THAT(TakeEvents(), ElementsAre("0 36 0", "0 36 0"));
  effects.SetBypass(false, false);
  EXPECT_THAT(TakeEvents(), ElementsAre("0 36 130"));
}

TEST_F(Effects, BypassOfAnEffectThatTheUserHasNotSetGivesTheSongsValueBack) {
  state.current_values.Set(SongEntry(10), 90);
  state.current_values.Set(SongEntry(11), 15);
  effects.SetBypass(true, true);
  EXPECT_THAT(TakeEvents(), ElementsAre("0 41 0", "0 42 0"));
  effects.SetBypass(true, false);
  EXPECT_FALSE(effects.HasOverride(10));
}

TEST_F(Effects, TheNextSongStartsWithoutBypass) {
  effects.SetBypass(false, true);
  effects.SetBypass(true, true);
  ResetForSong(state);
  EXPECT_FALSE(IsBypassed(state, SongEntry(5)));
  EXPECT_FALSE(IsBypassed(state, SongEntry(10)));
}

TEST(EffectValueText, HasTheUnitOfItsKind) {
  EXPECT_EQ(EffectValueText(1, 1800, ','), (EffectText{"1,8", "s"}));
  EXPECT_EQ(EffectValueText(1, 250, ','), (EffectText{"250", "ms"}));
  EXPECT_EQ(EffectValueText(2, 205, '.'), (EffectText{"20.5", "ms"}));
  EXPECT_EQ(EffectValueText(3, 9000, ','), (EffectText{"9", "kHz"}));
  EXPECT_EQ(EffectValueText(4, 200, ','), (EffectText{"200", "Hz"}));
  EXPECT_EQ(EffectValueText(5, 100, ','), (EffectText{"0,0", "dB"}));
  EXPECT_EQ(EffectValueText(10, 200, '.'), (EffectText{"+6.0", "dB"}));
  EXPECT_EQ(EffectValueText(11, 50, '.'), (EffectText{"-6.0", "dB"}));
  EXPECT_EQ(EffectValueText(8, 40, ','), (EffectText{"0,4", "Hz"}));
  EXPECT_EQ(EffectValueText(9, 0, ','), (EffectText{"-100", "%"}));
  EXPECT_EQ(EffectValueText(9, 100, ','), (EffectText{"0", "%"}));
}

TEST(EffectValueText, WhatIsOffHasNone) {
  EXPECT_EQ(EffectValueText(4, 0, ','), EffectText{});
  EXPECT_EQ(EffectValueText(5, 0, ','), EffectText{});
}

TEST(EffectValueText, BeyondTheLimitItSaysWhatIsHeard) {
  EXPECT_EQ(EffectValueText(1, 501800, '.'), (EffectText{"20", "s"}));
  EXPECT_EQ(EffectValueText(5, 900, '.'), (EffectText{"+6.0", "dB"}));
}

TEST(EffectShare, SpansTheRangeThatSounds) {
  for (int kind = 1; kind <= kSongKinds; ++kind) {
    const EffectRange& range = kEffectRanges[static_cast<std::size_t>(kind - 1)];
    EXPECT_EQ(EffectShare(kind, range.min), 0) << kind;
    EXPECT_EQ(EffectShare(kind, range.max), 1) << kind;
    EXPECT_EQ(EffectShare(kind, range.max + 1000), 1) << kind;
    EXPECT_EQ(EffectShare(kind, -5), 0) << kind;
  }
  EXPECT_DOUBLE_EQ(EffectShare(5, 100), 0.5);
  EXPECT_DOUBLE_EQ(EffectShare(3, 5000), 0.5);
}

TEST(DraggedController, ModifiersDivideAndMultiplyByTen) {
  EXPECT_EQ(100 + 300, DraggedController(100, 100, 0, 0, 3, 0, false, false, -1));
  EXPECT_EQ(100 + 30, DraggedController(100, 100, 0, 0, 3, 0, true, false, -1));
  EXPECT_EQ(100 + 3000, DraggedController(100, 100, 0, 0, 3, 0, false, true, -1));
  EXPECT_EQ(100 + 300, DraggedController(100, 100, 0, 0, 3, 0, true, true, -1));
  EXPECT_EQ(100, DraggedController(100, 1, 0, 0, 5, 0, true, false, -1));   // 0.5
  EXPECT_EQ(102, DraggedController(100, 1, 0, 0, 15, 0, true, false, -1));  // 1.5
  EXPECT_EQ(100 + 20, DraggedController(100, 1, 0, 0, 15, 0, true, true, -1));
}

TEST(DraggedController, RoundsTheDistanceToWholePixels) {
  EXPECT_EQ(200, DraggedController(0, 100, 0, 0, 1.2, -0.6, false, false, -1));
  EXPECT_EQ(2147483647, DraggedController(2147483647, 100, 0, 0, 1e300, 0, false, true, -1));
}

}  // namespace
}  // namespace vexolo
