// layer: core
#include "mixer/channel_strips.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/mixer_bench.h"

namespace vexolo {
namespace {

using testing::ElementsAre;

constexpr int kMute = kFirstMuteButton;

struct Strips : testing::Test, MixerBench {
  ChannelStrips strips{bass.api(), state, settings};

  void Click(int index, int button) {
    strips.PicSM_MouseDown(index, button);
    EXPECT_TRUE(strips.PicSM_Click(index, audio.stream));
  }
  void SetMelody(int channel) {
    state.MelodyChannel = static_cast<std::int16_t>(channel);
    state.AutoMute = true;
  }
  int MuteLook(int channel) {
    return SoloMuteStates(state)[static_cast<std::size_t>(kMute + channel)];
  }
  int SoloLook(int channel) { return SoloMuteStates(state)[static_cast<std::size_t>(channel)]; }
};

TEST_F(Strips, LevelsOfAllChannelsAreSentInOrder) {
  state.ChannelVolume[2] = 150;
  state.ChannelMute[3] = 1;
  ApplyVolume(bass.api(), audio.stream, state);
  const auto events = TakeEvents();
  ASSERT_EQ(16u, events.size());
  EXPECT_EQ("0 65536 100", events[0]);
  EXPECT_EQ("2 65536 150", events[2]);
  EXPECT_EQ("3 65536 0", events[3]);
  EXPECT_EQ("15 65536 100", events[15]);
}

TEST_F(Strips, MelodyIsSilentOnlyWhileAutoMuteHoldsIt) {
  SetMelody(4);
  EXPECT_EQ(0, EffectiveLevel(state, 4));
  EXPECT_EQ(100, EffectiveLevel(state, 5));
  state.MelodyOverride = true;
  EXPECT_EQ(100, EffectiveLevel(state, 4));
  state.ChannelMute[4] = 1;
  EXPECT_EQ(0, EffectiveLevel(state, 4));
  state.ChannelMute[4] = 0;
  state.MelodyOverride = false;
  state.AutoMute = false;
  EXPECT_EQ(100, EffectiveLevel(state, 4));
}

TEST_F(Strips, SoloLampAloneMutesNothing) {
  state.ChannelSolo[1] = 1;
  EXPECT_EQ(100, EffectiveLevel(state, 0));
}

TEST_F(Strips, LevelsOutOfRangeAreSentWithinIt) {
  state.ChannelVolume[0] = 5000;
  state.ChannelVolume[1] = -7;
  EXPECT_EQ(200, EffectiveLevel(state, 0));
  EXPECT_EQ(0, EffectiveLevel(state, 1));
}

TEST_F(Strips, LevelsWithoutAStreamFailUnnoticed) {
  ApplyVolume(bass.api(), 0, state);
  EXPECT_EQ(16, bass.CallCount("BASS_MIDI_StreamEvent"));
  EXPECT_TRUE(TakeEvents().empty());
  EXPECT_TRUE(boxes.shown.empty());
}

TEST_F(Strips, LeftClickTogglesAMute) {
  Click(kMute + 3, kLeftButton);
  EXPECT_EQ(1, state.ChannelMute[3]);
  EXPECT_EQ("3 65536 0", TakeEvents().at(3));
  Click(kMute + 3, kLeftButton);
  EXPECT_EQ(0, state.ChannelMute[3]);
  EXPECT_EQ("3 65536 100", TakeEvents().at(3));
}

TEST_F(Strips, RightClickOnAMuteUnmutes) {
  state.ChannelMute[3] = 1;
  Click(kMute + 3, kRightButton);
  EXPECT_EQ(0, state.ChannelMute[3]);
  Click(kMute + 3, kRightButton);
  EXPECT_EQ(0, state.ChannelMute[3]);
}

TEST_F(Strips, MuteOfTheHeldMelodyTogglesItsOverrideToo) {
  SetMelody(4);
  Click(kMute + 4, kLeftButton);
  EXPECT_TRUE(state.MelodyOverride);
  EXPECT_EQ(1, state.ChannelMute[4]);
  Click(kMute + 4, kLeftButton);
  EXPECT_FALSE(state.MelodyOverride);
  EXPECT_EQ(0, state.ChannelMute[4]);
  Click(kMute + 5, kLeftButton);
  EXPECT_FALSE(state.MelodyOverride);
  state.AutoMute = false;
  Click(kMute + 4, kLeftButton);
  EXPECT_FALSE(state.MelodyOverride);
}

TEST_F(Strips, MutingAllButOneLightsItsSoloAndUnmutingASecondClearsIt) {
  for (int channel = 0; channel < 16; ++channel) {
    if (channel != 6) Click(kMute + channel, kLeftButton);
  }
  EXPECT_EQ(3, SoloLook(6));
  EXPECT_EQ(0, SoloLook(5));
  Click(kMute + 2, kLeftButton);
  EXPECT_EQ(0, SoloLook(6));
}

TEST_F(Strips, MutingEveryChannelLeavesNoSoloLamp) {
  state.ChannelSolo[2] = 1;
  state.ChannelMute.fill(1);
  state.ChannelMute[2] = 0;
  Click(kMute + 2, kLeftButton);
  EXPECT_THAT(state.ChannelSolo, testing::Each(0));
}

TEST_F(Strips, SoloMutesTheOthersAndSoloOffRestoresAll) {
  state.ChannelMute[7] = 1;
  state.ChannelSolo[1] = 1;
  Click(7, kLeftButton);
  for (std::size_t i = 0; i < 16; ++i) {
    EXPECT_EQ(i == 7, state.ChannelSolo[i] == 1);
    EXPECT_EQ(i != 7, state.ChannelMute[i] == 1);
  }
  Click(7, kLeftButton);
  EXPECT_THAT(state.ChannelSolo, testing::Each(0));
  EXPECT_THAT(state.ChannelMute, testing::Each(0));
}

TEST_F(Strips, RightClickOnASoloOpensTheMixAndLeavesTheLampLit) {
  Click(7, kLeftButton);
  Click(7, kRightButton);
  EXPECT_EQ(1, state.ChannelSolo[7]);
  EXPECT_THAT(state.ChannelMute, testing::Each(0));
  Click(7, kLeftButton);
  EXPECT_THAT(state.ChannelSolo, testing::Each(0));
}

TEST_F(Strips, RightClickOnAnUnlitSoloChangesNoMute) {
  state.ChannelMute[2] = 1;
  Click(7, kRightButton);
  EXPECT_EQ(1, state.ChannelMute[2]);
  EXPECT_EQ(0, state.ChannelSolo[7]);
}

TEST_F(Strips, SoloOfTheMelodyMakesItAudibleAndARightClickOnItsMuteHoldsItAgain) {
  SetMelody(4);
  Click(4, kLeftButton);
  EXPECT_TRUE(state.MelodyOverride);
  EXPECT_EQ(100, EffectiveLevel(state, 4));
  Click(kMute + 4, kRightButton);
  EXPECT_FALSE(state.MelodyOverride);
  EXPECT_EQ(0, state.ChannelMute[4]);
  EXPECT_EQ(0, EffectiveLevel(state, 4));
}

TEST_F(Strips, RightClickOnTheMelodysSoloHoldsItAgain) {
  SetMelody(4);
  Click(4, kLeftButton);
  Click(4, kRightButton);
  EXPECT_FALSE(state.MelodyOverride);
}

TEST_F(Strips, LeftClickOnTheMelodysLitSoloStillOverrides) {
  SetMelody(4);
  state.ChannelSolo[4] = 1;
  Click(4, kLeftButton);
  EXPECT_TRUE(state.MelodyOverride);
  EXPECT_EQ(0, state.ChannelSolo[4]);
}

TEST_F(Strips, OtherButtonsOfTheWindowChangeNothing) {
  for (const int index : {-1, 32, 42}) {
    strips.PicSM_MouseDown(index, kLeftButton);
    EXPECT_FALSE(strips.PicSM_Click(index, audio.stream));
  }
  strips.PicSM_MouseDown(3, 4);  // the middle button
  EXPECT_FALSE(strips.PicSM_Click(3, audio.stream));
  EXPECT_TRUE(TakeEvents().empty());
  EXPECT_FALSE(FileExists(settings.path()));
}

TEST_F(Strips, ClickRewritesAllSixteenMutes) {
  Click(kMute + 3, kLeftButton);
  for (int channel = 0; channel < 16; ++channel) {
    EXPECT_EQ(channel == 3 ? "1" : "0", Saved("Mute", "Ch" + std::to_string(channel)));
  }
}

TEST_F(Strips, PlainButtonsShowOffOrOn) {
  state.ChannelSolo[1] = 1;
  state.ChannelMute[2] = 1;
  EXPECT_EQ(3, SoloLook(1));
  EXPECT_EQ(0, SoloLook(2));
  EXPECT_EQ(3, MuteLook(2));
  EXPECT_EQ(0, MuteLook(1));
  state.MelodyChannel = 2;  // AutoMute is off
  EXPECT_EQ(3, MuteLook(2));
}

TEST_F(Strips, HeldMelodyHasItsOwnLooks) {
  SetMelody(4);
  struct Row {
    std::uint8_t solo;
    bool melody_override;
    std::uint8_t mute;
    int state;
  };
  for (const Row& row :
       {Row{1, true, 0, 0}, Row{1, true, 1, 0}, Row{1, false, 0, 2}, Row{1, false, 1, 2},
        Row{0, false, 0, 1}, Row{0, false, 1, 1}, Row{0, true, 1, 3}, Row{0, true, 0, 2}}) {
    state.ChannelSolo[4] = row.solo;
    state.MelodyOverride = row.melody_override;
    state.ChannelMute[4] = row.mute;
    EXPECT_EQ(row.state, MuteLook(4));
    EXPECT_EQ(row.solo * 3, SoloLook(4));
  }
}

TEST(SmSprite, StandsWhereTheButtonsIndexSays) {
  EXPECT_EQ((SpriteRect{0, 0, 24, 12}), SmSprite(0, 0));
  EXPECT_EQ((SpriteRect{0, 36, 24, 12}), SmSprite(15, 3));
  EXPECT_EQ((SpriteRect{24, 12, 24, 12}), SmSprite(16, 1));
  EXPECT_EQ((SpriteRect{24, 24, 24, 12}), SmSprite(31, 2));
  EXPECT_EQ((SpriteRect{0, 48, 32, 32}), SmSprite(32, 0));
  EXPECT_EQ((SpriteRect{160, 80, 32, 32}), SmSprite(37, 1));
  EXPECT_EQ((SpriteRect{0, 160, 24, 24}), SmSprite(38, 0));
  EXPECT_EQ((SpriteRect{120, 232, 24, 24}), SmSprite(43, 3));
}

TEST(SmSprite, ClampsTheStateExceptForButton42) {
  EXPECT_EQ(SmSprite(0, 3), SmSprite(0, 9));
  EXPECT_EQ(SmSprite(41, 0), SmSprite(41, -1));
  EXPECT_EQ((SpriteRect{96, 160, 24, 24}), SmSprite(42, 0));
  EXPECT_EQ((SpriteRect{96, 184, 24, 24}), SmSprite(42, 1));
  EXPECT_EQ((SpriteRect{72, 24, 24, 24}), SmSprite(42, 2));
  EXPECT_EQ((SpriteRect{96, 24, 24, 24}), SmSprite(42, 3));
  EXPECT_EQ((SpriteRect{96, 256, 24, 24}), SmSprite(42, 4));
}

// ---- Melody.

struct Melody : testing::Test {
  FakeBass bass;
  FakeBass::Song song;
  std::vector<std::int32_t> ticks = Every(100, 10);

  static std::vector<std::int32_t> Every(std::int32_t distance, int count) {
    std::vector<std::int32_t> list;
    for (int i = 0; i < count; ++i) list.push_back(i * distance);
    return list;
  }
  void Add(bass::DWORD channel, bass::DWORD tick, bass::DWORD velocity = 100) {
    if (song.events.empty()) song.events.resize(2);
    song.events[channel % 2].push_back(
        {bass::MIDI_EVENT_NOTE, velocity << 8 | 60, channel, tick, 0});
  }
  /// `count` notes, the first `hits` of them on a syllable each.
  void AddNotes(bass::DWORD channel, int count, int hits, int offset = 0) {
    for (int i = 0; i < count; ++i) {
      Add(channel, static_cast<bass::DWORD>(i * 100 + (i < hits ? offset : 50)));
    }
  }
  int Find() { return FindMelodyChannel(bass.api(), bass.AddStream(song), ticks); }
};

TEST_F(Melody, FewerThanTenSyllablesHaveNoMelodyAndAutoMuteMutesNothing) {
  AddNotes(3, 9, 9);
  ticks = Every(100, 9);
  MixState state;
  state.AutoMute = true;
  state.MelodyChannel = 3;
  DetectMelodyChannel(bass.api(), bass.AddStream(song), ticks, state);
  EXPECT_EQ(-1, state.MelodyChannel);
  for (int channel = 0; channel < 16; ++channel) EXPECT_EQ(100, EffectiveLevel(state, channel));
}

TEST_F(Melody, TenSyllablesAreEnough) {
  AddNotes(3, 10, 10);
  EXPECT_EQ(3, Find());
}

TEST_F(Melody, CandidatesHaveBetweenSevenAndThirteenNotesForTenSyllables) {
  AddNotes(1, 6, 6);
  AddNotes(2, 14, 10);
  EXPECT_EQ(-1, Find());
  AddNotes(4, 13, 5);
  EXPECT_EQ(4, Find());
  AddNotes(5, 7, 3);  // 3/7 is more than 5/13
  EXPECT_EQ(5, Find());
}

TEST_F(Melody, EqualRatiosGoToTheLowerChannel) {
  AddNotes(6, 10, 7);
  AddNotes(2, 10, 7);
  EXPECT_EQ(2, Find());
}

TEST_F(Melody, BetterRatioOfALaterChannelWins) {
  AddNotes(2, 10, 7);
  AddNotes(6, 10, 8);
  EXPECT_EQ(6, Find());
}

TEST_F(Melody, RatioOfZeroNeverWins) {
  AddNotes(2, 10, 0);
  EXPECT_EQ(-1, Find());
}

TEST_F(Melody, OneTickBesideASyllableHitsAndTwoDoNot) {
  AddNotes(2, 10, 10, 2);
  EXPECT_EQ(-1, Find());
  AddNotes(3, 10, 10, 1);
  EXPECT_EQ(3, Find());
  song.events.clear();
  for (bass::DWORD i = 1; i <= 10; ++i) Add(5, i * 100 - 1);
  EXPECT_EQ(5, Find());
}

TEST_F(Melody, NoteOffsAndStrangeChannelsDoNotCount) {
  AddNotes(2, 10, 10);
  for (bass::DWORD i = 0; i < 10; ++i) Add(2, i * 100 + 40, 0);
  for (bass::DWORD i = 0; i < 10; ++i) Add(16, i * 100);
  EXPECT_EQ(2, Find());
}

TEST_F(Melody, StreamWithoutAnswerHasNone) {
  EXPECT_EQ(-1, FindMelodyChannel(bass.api(), 0, ticks));
  EXPECT_EQ(-1, Find());
}

}  // namespace
}  // namespace vexolo
