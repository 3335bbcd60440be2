// layer: core
#include "mixer/meters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_bass.h"
#include "mixer/mix_callback.h"

namespace vexolo {
namespace {

bass::DWORD Note(bass::DWORD channel, bass::DWORD key, bass::DWORD velocity) {
  return channel << 16 | velocity << 8 | key;
}

TEST(Lamps, VelocityOf127LightsFrame8AndAReleaseLeavesTheLampToDecay) {
  MixState state;
  NoteHeard(state, Note(3, 60, 127));
  EXPECT_EQ(8, LampFrame(state.lamp_levels[3]));
  EXPECT_EQ(127, TickLamps(state)[3]);
  NoteHeard(state, Note(3, 60, 0));
  EXPECT_EQ(119, TickLamps(state)[3]);
  EXPECT_EQ(111, TickLamps(state)[3]);
}

TEST(Lamps, FallByEightDownToZero) {
  MixState state;
  NoteHeard(state, Note(0, 60, 12));
  EXPECT_EQ(12, TickLamps(state)[0]);
  EXPECT_EQ(4, TickLamps(state)[0]);
  EXPECT_EQ(0, TickLamps(state)[0]);
  EXPECT_EQ(0, TickLamps(state)[0]);
}

TEST(Lamps, SofterNoteDoesNotLowerTheLamp) {
  MixState state;
  NoteHeard(state, Note(0, 60, 100));
  NoteHeard(state, Note(0, 60, 50));
  EXPECT_EQ(100, state.lamp_levels[0]);
}

TEST(Lamps, VelocityIsExactForEveryKeyAndChannel) {
  for (bass::DWORD channel = 0; channel < 16; ++channel) {
    for (bass::DWORD velocity = 1; velocity < 128; ++velocity) {
      MixState state;
      NoteHeard(state, Note(channel, 127, velocity));
      ASSERT_EQ(static_cast<int>(velocity), state.lamp_levels[channel]);
    }
  }
}

TEST(Lamps, ChannelsBeyondSixteenAreIgnored) {
  MixState state;
  NoteHeard(state, Note(16, 60, 100));
  NoteHeard(state, 0xFFFFFFFFu);
  for (const auto& lamp : state.lamp_levels) EXPECT_EQ(0, lamp);
}

TEST(Lamps, FrameGrowsWithTheLevel) {
  EXPECT_EQ(0, LampFrame(-5));
  EXPECT_EQ(0, LampFrame(0));
  EXPECT_EQ(0, LampFrame(13));   // 0.974
  EXPECT_EQ(1, LampFrame(14));   // 1.045
  EXPECT_EQ(4, LampFrame(64));   // 4.560
  EXPECT_EQ(7, LampFrame(112));  // 7.935
  EXPECT_EQ(8, LampFrame(113));  // 8.006
  EXPECT_EQ(8, LampFrame(127));
  EXPECT_EQ(8, LampFrame(1000));
}

TEST(Lamps, MelodyIsDrawnFromTheOtherColumn) {
  EXPECT_EQ((SpriteRect{3, 195, 18, 18}), LampSprite(127, true));
  EXPECT_EQ((SpriteRect{147, 195, 18, 18}), LampSprite(127, false));
  EXPECT_EQ((SpriteRect{147, 3, 18, 18}), LampSprite(0, false));
}

TEST(Lamps, FollowTheStreamsNotesThroughTheSyncs) {
  FakeBass bass;
  MixState state;
  MixCallbacks callbacks(bass.api(), state);
  const bass::HSTREAM stream = bass.AddStream({});
  EXPECT_EQ(2, callbacks.AttachLampSyncs(stream));
  const auto syncs = bass.Calls<FakeBass::SetSync>();
  EXPECT_EQ(bass::BASS_SYNC_MIDI_EVENT, syncs.at(0).type);
  EXPECT_EQ(1u, syncs.at(0).param);
  EXPECT_EQ(18u, syncs.at(1).param);
  bass.FireSync(stream, bass::BASS_SYNC_MIDI_EVENT, 1, Note(9, 36, 90));
  EXPECT_EQ(90, state.lamp_levels[9]);
  bass.FireSync(stream, bass::BASS_SYNC_MIDI_EVENT, 18, 9 << 16);
  EXPECT_EQ(90, state.lamp_levels[9]);
  EXPECT_EQ(0, callbacks.AttachLampSyncs(0));
}

struct Vu : testing::Test {
  FakeBass bass;
  MixState state;
  bass::HSTREAM stream = bass.AddStream({});
  VuMeter Tick(bass::DWORD left, bass::DWORD right) {
    bass.stream(stream).level = right << 16 | left;
    return TickVuMeter(bass.api(), stream, state);
  }
};

TEST_F(Vu, ShowsTheLouderSideInTwelfthsCappedAtEleven) {
  EXPECT_EQ((VuMeter{0, 0}), Tick(2730, 0));
  EXPECT_EQ((VuMeter{1, 1}), Tick(0, 2731));
  EXPECT_EQ((VuMeter{6, 6}), Tick(16384, 100));
  EXPECT_EQ((VuMeter{11, 11, true}), Tick(32768, 32768));
}

TEST_F(Vu, PeakIsHeldAndFallsBy2048) {
  Tick(32768, 0);
  EXPECT_EQ((VuMeter{0, 11}), Tick(0, 0));
  EXPECT_EQ(30720, state.held_peak);
  for (int i = 0; i < 14; ++i) Tick(0, 0);
  EXPECT_EQ(2048, state.held_peak);
  Tick(0, 0);
  Tick(0, 0);
  EXPECT_EQ(0, state.held_peak);
}

TEST_F(Vu, LevelThatCannotBeReadLeavesThePeakToDecay) {
  Tick(32768, 0);
  EXPECT_EQ((VuMeter{0, 11}), TickVuMeter(bass.api(), 0, state));
  EXPECT_EQ(30720, state.held_peak);
}

TEST_F(Vu, SpritesStandSideBySide) {
  EXPECT_EQ((SpriteRect{0, 0, 16, 80}), VuSprite(0));
  EXPECT_EQ((SpriteRect{176, 0, 16, 80}), VuSprite(11));
  EXPECT_EQ(VuSprite(11), VuSprite(12));
}

TEST_F(Vu, ClearPutsMeterAndLampsToRest) {
  Tick(32768, 0);
  NoteHeard(state, Note(3, 60, 100));
  ClearMeters(state);
  EXPECT_EQ(0, state.held_peak);
  EXPECT_EQ(0, state.lamp_levels[3]);
}

TEST(Led, GlyphsFollowEachOther) {
  const auto glyphs = LedPrint("A ", 4, 4, true);
  ASSERT_EQ(2u, glyphs.size());
  EXPECT_EQ((LedGlyph{{33 * 14, 0, 14, 22}, 4, 4}), glyphs[0]);
  EXPECT_EQ((LedGlyph{{0, 0, 14, 22}, 18, 4}), glyphs[1]);
}

TEST(Led, UnlitGlyphsAreInTheSecondRow) {
  EXPECT_EQ((SpriteRect{16 * 14, 22, 14, 22}), LedPrint("0", 0, 0, false).at(0).source);
}

TEST(Led, CharactersThatTheFontLacksAreOneBlankEach) {
  const auto glyphs = LedPrint(
      "\x1F"
      "é\x7F€",
      0, 0, true);
  ASSERT_EQ(4u, glyphs.size());
  EXPECT_EQ(0, glyphs[0].source.x);
  EXPECT_EQ(0, glyphs[1].source.x);
  EXPECT_EQ(95 * 14, glyphs[2].source.x);
  EXPECT_EQ(0, glyphs[3].source.x);
  EXPECT_EQ(42, glyphs[3].x);
}

TEST(ClipLamp, LightsWhenTheSoundIsTooLoudAndStaysLitForAWhile) {
  FakeBass bass;
  MixState state;
  const bass::HSTREAM stream = bass.AddStream({});
  ClipLamp lamp;
  const auto tick = [&](bass::DWORD level) {
    bass.stream(stream).level = level;
    return lamp.Tick(TickVuMeter(bass.api(), stream, state).overloaded);
  };
  EXPECT_FALSE(tick(31699 << 16 | 31699));
  EXPECT_TRUE(tick(31700 << 16));
  for (int i = 1; i < ClipLamp::kTime; ++i) EXPECT_TRUE(tick(0)) << i;
  EXPECT_FALSE(tick(0));
  EXPECT_FALSE(tick(0));
}

}  // namespace
}  // namespace vexolo
