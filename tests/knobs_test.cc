// layer: core
#include "mixer/knobs.h"

#include <cmath>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/mixer_bench.h"
#include "mixer/channel_strips.h"

namespace vexolo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct KnobsTest : testing::Test, MixerBench {
  Knobs knobs{bass.api(), state, audio, settings};

  void Press(int knob) { knobs.Potard_MouseDown(knob, kLeftButton, 10, 20); }
  /// Right and up.
  void Drag(double right, double up) { knobs.Potard_MouseMove(10 + right, 20 - up); }
};

TEST_F(KnobsTest, LevelMoves201For91PixelsUp) {
  Press(5);
  Drag(1000, 45);  // 100 + 99.4
  EXPECT_EQ(199, knobs.Value(5));
  EXPECT_EQ(100, state.ChannelVolume[5]);
  EXPECT_THAT(TakeEvents(), ElementsAre("5 65536 199"));
  Drag(0, -45);
  EXPECT_EQ(1, knobs.Value(5));
  Drag(0, 500);
  EXPECT_EQ(200, knobs.Value(5));
  Drag(0, -500);
  EXPECT_EQ(0, knobs.Value(5));
  EXPECT_EQ("", Saved("Volume", "Ch5"));
  EXPECT_TRUE(knobs.Potard_MouseUp());
  EXPECT_EQ(0, state.ChannelVolume[5]);
  EXPECT_EQ("0", Saved("Volume", "Ch5"));
  EXPECT_EQ("", Saved("Volume", "Ch4"));
  EXPECT_FALSE(knobs.Potard_MouseMove(0, 0));
  EXPECT_FALSE(knobs.Potard_MouseUp());
}

TEST_F(KnobsTest, LevelOfAMutedChannelIsMovedInSilence) {
  state.ChannelMute[5] = 1;
  Press(5);
  Drag(0, 10);
  EXPECT_THAT(TakeEvents(), IsEmpty());
  EXPECT_EQ(122, knobs.Value(5));
}

TEST_F(KnobsTest, LevelOfAMelodyThatIsHeldCanBeTriedOut) {
  state.AutoMute = true;
  state.MelodyChannel = 5;
  Press(5);
  Drag(0, 10);
  EXPECT_THAT(TakeEvents(), ElementsAre("5 65536 122"));
}

TEST_F(KnobsTest, RightClickOnAMutedChannelResetsItsLevelWithoutMakingItAudible) {
  state.ChannelMute[3] = 1;
  state.ChannelVolume[3] = 150;
  EXPECT_TRUE(knobs.Potard_MouseDown(3, kRightButton, 0, 0));
  EXPECT_EQ(100, state.ChannelVolume[3]);
  EXPECT_EQ("100", Saved("Volume", "Ch3"));
  EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(KnobsTest, RightClickResetsALevelAtOnceAndHoldsNothing) {
  state.ChannelVolume[3] = 150;
  knobs.Potard_MouseDown(3, kRightButton, 0, 0);
  EXPECT_THAT(TakeEvents(), ElementsAre("3 65536 100"));
  EXPECT_FALSE(knobs.Potard_MouseMove(50, 50));
  EXPECT_FALSE(knobs.Potard_MouseUp());
}

TEST_F(KnobsTest, GainMoves41For91Pixels) {
  Press(kGainKnob);
  Drag(1000, 20);  // 9.01
  EXPECT_EQ(9, knobs.Value(kGainKnob));
  EXPECT_NEAR(std::pow(10, 9 / 20.0), bass.opened_font(audio.font).volume, 1e-6);
  EXPECT_EQ(0, state.Gain);
  Drag(0, 500);
  EXPECT_EQ(20, knobs.Value(kGainKnob));
  Drag(0, -500);
  knobs.Potard_MouseUp();
  EXPECT_EQ(-20, state.Gain);
  EXPECT_EQ("-20", Saved("Gain", "Slider"));
  EXPECT_NEAR(0.1, bass.opened_font(audio.font).volume, 1e-7);
  knobs.Potard_MouseDown(kGainKnob, kRightButton, 0, 0);
  EXPECT_EQ(0, state.Gain);
  EXPECT_EQ("0", Saved("Gain", "Slider"));
  EXPECT_EQ(1.0f, bass.opened_font(audio.font).volume);
}

TEST_F(KnobsTest, TransposeMovesAQuarterOfAPixelRightOrUp) {
  Press(kTransposeKnob);
  Drag(4, 8);
  EXPECT_EQ(3, knobs.Value(kTransposeKnob));
  const auto events = TakeEvents();
  ASSERT_EQ(16u, events.size());
  EXPECT_EQ("0 65537 103", events.front());
  EXPECT_EQ("15 65537 103", events.back());
  Drag(-2000, 0);
  EXPECT_EQ(-12, knobs.Value(kTransposeKnob));
  Drag(2000, 0);
  knobs.Potard_MouseUp();
  EXPECT_EQ(12, state.Transpose);
  EXPECT_EQ("12", Saved("Transpose", "Slider"));
  TakeEvents();
  knobs.Potard_MouseDown(kTransposeKnob, kRightButton, 0, 0);
  EXPECT_EQ("0", Saved("Transpose", "Slider"));
  EXPECT_EQ("0 65537 100", TakeEvents().front());
}

TEST(DraggedValue, FollowsTheMeasureOfEachKnob) {
  EXPECT_EQ(191, DraggedValue(0, 100, 0, 41, 0, 0));               // 41 x 201 / 91 = 90.56
  EXPECT_EQ(16, DraggedValue(kGainKnob, -20, 0, 80, 0, 0));        // 80 x 41 / 91 = 36.04
  EXPECT_EQ(10, DraggedValue(kTransposeKnob, -12, 0, 44, 44, 0));  // 88 x 25 / 100 = 22
  EXPECT_EQ(595, DraggedValue(kSpeedKnob, -2500, 0, 499, 0, 0));   // 499 x 3101 / 500 = 3094.8
}

TEST(DraggedValue, RoundsHalvesToTheEvenNumber) {
  EXPECT_EQ(0, DraggedValue(kTransposeKnob, 0, 0, 0, 2, 0));   // 0.5
  EXPECT_EQ(2, DraggedValue(kTransposeKnob, 0, 0, 0, 6, 0));   // 1.5
  EXPECT_EQ(2, DraggedValue(kTransposeKnob, 0, 0, 0, 10, 0));  // 2.5
  EXPECT_EQ(0, DraggedValue(kTransposeKnob, 0, 0, 0, -2, 0));
  EXPECT_EQ(-2, DraggedValue(kTransposeKnob, 0, 0, 0, -6, 0));
}

TEST(DraggedValue, SurvivesAbsurdDistances) {
  EXPECT_EQ(200, DraggedValue(0, 100, 0, 0, 0, -1e300));
  EXPECT_EQ(-2500, DraggedValue(kSpeedKnob, -32768, 0, 0, -1e300, 0));
}

TEST_F(KnobsTest, SpeedIsHeardAndSavedWhenTheKnobIsReleased) {
  audio.base_tempo = 500000;
  Press(kSpeedKnob);
  Drag(10, 6);  // 16 x 6.202 = 99.2
  EXPECT_EQ(99, knobs.Value(kSpeedKnob));
  EXPECT_THAT(TakeEvents(), IsEmpty());
  EXPECT_EQ(0, state.Tempo);
  EXPECT_EQ(1.0, audio.speed_factor);
  knobs.Potard_MouseUp();
  EXPECT_EQ(99, state.Tempo);
  EXPECT_DOUBLE_EQ(0.901, audio.speed_factor);
  EXPECT_THAT(TakeEvents(), ElementsAre("0 62 450500"));
  EXPECT_EQ("9.9", Saved("Tempo", "Slider"));
  knobs.Potard_MouseDown(kSpeedKnob, kRightButton, 0, 0);
  EXPECT_EQ(0, state.Tempo);
  EXPECT_THAT(TakeEvents(), ElementsAre("0 62 500000"));
  EXPECT_EQ("0.0", Saved("Tempo", "Slider"));
}

TEST_F(KnobsTest, SpeedDragOf1000UnitsDownLeftStopsAtMinus2500AndTheFileKeepsIt) {
  Press(kSpeedKnob);
  Drag(-500, -500);
  knobs.Potard_MouseUp();
  EXPECT_EQ(-2500, state.Tempo);
  EXPECT_EQ("-250.0", Saved("Tempo", "Slider"));
  EXPECT_DOUBLE_EQ(3.5, audio.speed_factor);
  Press(kSpeedKnob);
  Drag(5000, 5000);
  knobs.Potard_MouseUp();
  EXPECT_EQ(600, state.Tempo);
  EXPECT_DOUBLE_EQ(0.4, audio.speed_factor);  // 2.5 times as fast
}

TEST_F(KnobsTest, SpeedDownToMinus10000FromAFileIsDrawnAndKeptByAClick) {
  state.Tempo = -10000;
  EXPECT_EQ((SpeedText{" 11", false}), SpeedKnobText(500000, state.Tempo));
  EXPECT_EQ(SpeedKnobText(500000, -10000), SpeedKnobText(500000, -12000));
  Press(kSpeedKnob);
  knobs.Potard_MouseUp();
  EXPECT_EQ(-10000, state.Tempo);
}

TEST_F(KnobsTest, MarkersKeepTheirMusicalPlaceWhenTheSpeedChanges) {
  audio.markers = {10, 20, true};
  Press(kSpeedKnob);
  Drag(0, 500);  // to 600: factor 0.4
  knobs.Potard_MouseUp();
  EXPECT_DOUBLE_EQ(10 * 0.16, audio.markers.start);
  EXPECT_DOUBLE_EQ(20 * 0.16, audio.markers.end);
  EXPECT_EQ("1.600", Saved("Marqueurs", "Debut"));
  EXPECT_EQ("3.200", Saved("Marqueurs", "Fin"));
  EXPECT_EQ("1", Saved("Marqueurs", "Marche"));
}

TEST_F(KnobsTest, SongWithoutMarkersGetsNoneFromASpeedChange) {
  Press(kSpeedKnob);
  Drag(0, 500);
  knobs.Potard_MouseUp();
  EXPECT_EQ("", Saved("Marqueurs", "Marche"));
}

TEST_F(KnobsTest, NothingIsSentWithoutAStream) {
  audio.stream = 0;
  audio.font = 0;
  state.Tempo = 500;
  ApplyTranspose(bass.api(), 0, 5);
  NewTempo(bass.api(), state, audio);
  EXPECT_EQ(0, bass.CallCount("BASS_MIDI_StreamEvent"));
  EXPECT_EQ(0, bass.CallCount("BASS_MIDI_StreamGetEvent"));
  EXPECT_DOUBLE_EQ(0.5, audio.speed_factor);
  Press(2);
  Drag(0, 10);
  EXPECT_TRUE(knobs.Potard_MouseUp());
}

TEST_F(KnobsTest, NoSuchKnobIsNotHeld) {
  EXPECT_FALSE(knobs.Potard_MouseDown(-1, kLeftButton, 0, 0));
  EXPECT_FALSE(knobs.Potard_MouseDown(kKnobs, kRightButton, 0, 0));
  EXPECT_FALSE(knobs.Potard_MouseDown(3, 4, 0, 0));
  EXPECT_EQ(-1, knobs.held_knob());
}

TEST(SpeedFactor, FollowsTheTempo) {
  EXPECT_DOUBLE_EQ(1, SpeedFactor(0));
  EXPECT_DOUBLE_EQ(0.4, SpeedFactor(600));
  EXPECT_DOUBLE_EQ(3.5, SpeedFactor(-2500));
  EXPECT_DOUBLE_EQ(11, SpeedFactor(-10000));
}

TEST(SpeedFactor, NeverReachesTheStreamAtZeroOrBelow) {
  EXPECT_DOUBLE_EQ(0.4, SpeedFactor(1000));
  EXPECT_DOUBLE_EQ(0.4, SpeedFactor(32767));
}

TEST_F(KnobsTest, ValuesOutOfRangeAreSentWithinIt) {
  ApplyTranspose(bass.api(), audio.stream, 32767);
  EXPECT_EQ("0 65537 112", TakeEvents().front());
  ApplyTranspose(bass.api(), audio.stream, -300);
  EXPECT_EQ("0 65537 88", TakeEvents().front());
  ApplyLevels(bass.api(), audio.font, 32767);
  EXPECT_NEAR(10, bass.opened_font(audio.font).volume, 1e-5);
}

TEST(KnobFrame, CoversEveryFrame) {
  EXPECT_EQ(0, KnobFrame(0, 0));
  EXPECT_EQ(20, KnobFrame(0, 100));
  EXPECT_EQ(40, KnobFrame(15, 200));
  EXPECT_EQ(0, KnobFrame(kGainKnob, -20));
  EXPECT_EQ(20, KnobFrame(kGainKnob, 0));
  EXPECT_EQ(40, KnobFrame(kGainKnob, 20));
  EXPECT_EQ(0, KnobFrame(kTransposeKnob, -12));
  EXPECT_EQ(12, KnobFrame(kTransposeKnob, 0));
  EXPECT_EQ(24, KnobFrame(kTransposeKnob, 12));
  EXPECT_EQ(0, KnobFrame(kSpeedKnob, 0));
}

TEST(KnobFrame, OutOfRangeIsTheNearestFrame) {
  EXPECT_EQ(40, KnobFrame(0, 32767));
  EXPECT_EQ(0, KnobFrame(0, -32768));
  EXPECT_EQ(24, KnobFrame(kTransposeKnob, 99));
}

TEST(KnobSprite, FramesStandSideBySideOrBelowEachOther) {
  EXPECT_EQ((SpriteRect{480, 0, 24, 128}), KnobSprite(0, 100));
  EXPECT_EQ((SpriteRect{960, 0, 24, 128}), KnobSprite(kGainKnob, 20));
  EXPECT_EQ((SpriteRect{0, 12 * 103, 103, 103}), KnobSprite(kTransposeKnob, 0));
  EXPECT_EQ((SpriteRect{}), KnobSprite(kSpeedKnob, 0));
}

TEST(KnobTip, SaysTheLevelAsAFactor) {
  EXPECT_EQ("x 1", KnobTip(0, 100, ""));
  EXPECT_EQ("x 1.5", KnobTip(0, 150, ""));
  EXPECT_EQ("x .5", KnobTip(0, 50, ""));
  EXPECT_EQ("x 2", KnobTip(0, 5000, ""));
  EXPECT_EQ("= 0", KnobTip(0, 0, ""));
}

TEST(KnobTip, FillsTheLanguagesTextForGainAndTranspose) {
  EXPECT_EQ("Gain +3 dB", KnobTip(kGainKnob, 3, "Gain %1 dB"));
  EXPECT_EQ("Gain -20 dB", KnobTip(kGainKnob, -20, "Gain %1 dB"));
  EXPECT_EQ("Ton =0", KnobTip(kTransposeKnob, 0, "Ton %1"));
  EXPECT_EQ("Ton +12", KnobTip(kTransposeKnob, 40, "Ton %1"));
  EXPECT_EQ("", KnobTip(kSpeedKnob, 10, "%1"));
}

TEST(SpeedKnobText, ShowsBeatsAMinuteLitAtTheSongsOwnSpeed) {
  EXPECT_EQ((SpeedText{"120", true}), SpeedKnobText(500000, 0));
  EXPECT_EQ((SpeedText{"300", false}), SpeedKnobText(500000, 600));
  EXPECT_EQ((SpeedText{" 34", false}), SpeedKnobText(500000, -2500));
  EXPECT_EQ((SpeedText{"  6", true}), SpeedKnobText(10000000, 0));
}

TEST(SpeedKnobText, WithoutASensibleNumberSaysBpm) {
  EXPECT_EQ("bpm", SpeedKnobText(0, 0).text);
  EXPECT_EQ("bpm", SpeedKnobText(-5, 0).text);
  EXPECT_EQ("bpm", SpeedKnobText(60060, 0).text);     // 999.001
  EXPECT_EQ("999", SpeedKnobText(60061, 0).text);     // 998.98
  EXPECT_EQ("bpm", SpeedKnobText(60000001, 0).text);  // just below 1
  EXPECT_EQ("  1", SpeedKnobText(60000000, 0).text);
}

TEST(TransposeValue, IsToldWhileTheKnobIsTurned) {
  EXPECT_EQ("", TransposeValueText(0));
  EXPECT_EQ("+2", TransposeValueText(2));
  EXPECT_EQ("\u221212", TransposeValueText(-12));
  EXPECT_EQ("+12", TransposeValueText(99));
}

TEST(LabelGain, IsTheLinearVolumeInPercent) {
  EXPECT_EQ("100 %", LabelGainText(0));
  EXPECT_EQ("200 %", LabelGainText(6));
  EXPECT_EQ("1000 %", LabelGainText(20));
  EXPECT_EQ("10 %", LabelGainText(-20));
}

TEST_F(KnobsTest, StepsTurnAndSaveAtOnce) {
  EXPECT_TRUE(knobs.Step(5, 1, false));
  EXPECT_EQ(105, state.ChannelVolume[5]);
  EXPECT_EQ("105", Saved("Volume", "Ch5"));
  EXPECT_THAT(TakeEvents(), ElementsAre("5 65536 105"));
  EXPECT_TRUE(knobs.Step(5, -2, true));
  EXPECT_EQ(103, state.ChannelVolume[5]);
  EXPECT_TRUE(knobs.Step(kGainKnob, -1, false));
  EXPECT_EQ("-1", Saved("Gain", "Slider"));
  EXPECT_TRUE(knobs.Step(kTransposeKnob, 2, false));
  EXPECT_EQ("2", Saved("Transpose", "Slider"));
  EXPECT_TRUE(knobs.Step(kSpeedKnob, 3, false));
  EXPECT_EQ(30, state.Tempo);
  EXPECT_DOUBLE_EQ(0.97, audio.speed_factor);
  EXPECT_TRUE(knobs.Step(kSpeedKnob, -1, true));
  EXPECT_EQ("2.9", Saved("Tempo", "Slider"));
}

TEST_F(KnobsTest, StepsEndWhereTheKnobEnds) {
  EXPECT_TRUE(knobs.Step(0, 1000, false));
  EXPECT_EQ(200, state.ChannelVolume[0]);
  EXPECT_FALSE(knobs.Step(0, 1, true));
  EXPECT_TRUE(knobs.Step(kSpeedKnob, -1000, false));
  EXPECT_EQ(-2500, state.Tempo);
  EXPECT_FALSE(knobs.Step(-1, 1, false));
  EXPECT_FALSE(knobs.Step(kKnobs, 1, false));
}

TEST_F(KnobsTest, StepsOfAMutedChannelAreNotHeard) {
  state.ChannelMute[5] = 1;
  EXPECT_TRUE(knobs.Step(5, 1, false));
  EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(KnobsTest, AKnobThatIsHeldIsNotStepped) {
  Press(5);
  EXPECT_FALSE(knobs.Step(5, 1, false));
  EXPECT_FALSE(knobs.Step(6, 1, false));
  EXPECT_EQ(100, state.ChannelVolume[6]);
}

}  // namespace
}  // namespace vexolo
