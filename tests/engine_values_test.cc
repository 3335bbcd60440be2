// layer: engine
#include <gmock/gmock.h>

#include "engine/console.h"
#include "engine/control_state.h"
#include "engine_fixture.h"

namespace vexolo::engine::testing {
namespace {

using ::testing::ElementsAre;

constexpr std::array<DWORD, kChannelValues> kChannelEvents = {
    bass::MIDI_EVENT_PROGRAM,  bass::MIDI_EVENT_PITCH,      bass::MIDI_EVENT_DRUMS,
    bass::MIDI_EVENT_BANK,     bass::MIDI_EVENT_MODULATION, bass::MIDI_EVENT_VOLUME,
    bass::MIDI_EVENT_PAN,      bass::MIDI_EVENT_EXPRESSION, bass::MIDI_EVENT_SUSTAIN,
    bass::MIDI_EVENT_REVERB,   bass::MIDI_EVENT_CHORUS,     bass::MIDI_EVENT_MIXLEVEL,
    bass::MIDI_EVENT_TRANSPOSE};

class ValuesTest : public EngineTest {};

TEST_F(ValuesTest, StartAsTheTableSays) {
  const DWORD stream = Create(SongBuilder().End(960));
  for (DWORD channel = 0; channel < 16; ++channel) {
    EXPECT_EQ(Value(stream, channel, bass::MIDI_EVENT_REVERB), 40u);
    EXPECT_EQ(Value(stream, channel, bass::MIDI_EVENT_CHORUS), 0u);
    EXPECT_EQ(Value(stream, channel, bass::MIDI_EVENT_VOLUME), 100u);
    EXPECT_EQ(Value(stream, channel, bass::MIDI_EVENT_PAN), 64u);
    EXPECT_EQ(Value(stream, channel, bass::MIDI_EVENT_EXPRESSION), 127u);
    EXPECT_EQ(Value(stream, channel, bass::MIDI_EVENT_PROGRAM), 0u);
    EXPECT_EQ(Value(stream, channel, bass::MIDI_EVENT_BANK), 0u);
    EXPECT_EQ(Value(stream, channel, bass::MIDI_EVENT_PITCH), 8192u);
    EXPECT_EQ(Value(stream, channel, bass::MIDI_EVENT_MODULATION), 0u);
    EXPECT_EQ(Value(stream, channel, bass::MIDI_EVENT_SUSTAIN), 0u);
    EXPECT_EQ(Value(stream, channel, bass::MIDI_EVENT_DRUMS), channel == 9 ? 1u : 0u);
    EXPECT_EQ(Value(stream, channel, bass::MIDI_EVENT_MIXLEVEL), 100u);
    EXPECT_EQ(Value(stream, channel, bass::MIDI_EVENT_TRANSPOSE), 100u);
  }
  constexpr std::array<DWORD, 11> kEffects = {1800, 200, 9000, 200, 100, 100, 40, 40, 100, 100, 0};
  for (DWORD which = 0; which < 11; ++which) {
    EXPECT_EQ(Value(stream, 0, 32 + which), kEffects[which]);
    EXPECT_EQ(kEffectLimits[which].initial, kEffects[which]);
  }
  EXPECT_EQ(Value(stream, 0, bass::MIDI_EVENT_TEMPO), 500000u);
}

TEST_F(ValuesTest, LimitsAreThoseOfTheTable) {
  constexpr std::array<std::pair<DWORD, DWORD>, 11> kLimits = {{{10, 20000},
                                                                {0, 2000},
                                                                {0, 20000},
                                                                {0, 20000},
                                                                {0, 200},
                                                                {1, 1000},
                                                                {0, 500},
                                                                {1, 1000},
                                                                {0, 200},
                                                                {0, 200},
                                                                {0, 200}}};
  for (std::size_t which = 0; which < kLimits.size(); ++which) {
    EXPECT_EQ(kEffectLimits[which].lowest, kLimits[which].first) << which;
    EXPECT_EQ(kEffectLimits[which].highest, kLimits[which].second) << which;
  }
}

TEST_F(ValuesTest, AreKeptAsSent) {
  const DWORD stream = Create(SongBuilder().End(960));
  for (const DWORD value : {0u, 1u, 99u, 255u, 70000u, 0xFFFFFFFEu}) {
    for (const DWORD event : kChannelEvents) {
      ASSERT_TRUE(Send(stream, 3, event, value)) << event;
      EXPECT_EQ(Value(stream, 3, event), value) << event;
      EXPECT_NE(Value(stream, 4, event), value == 0 ? 0xFFFFFFFEu : 0xFFFFFFFFu);
    }
    for (DWORD event = 32; event <= 42; ++event) {
      ASSERT_TRUE(Send(stream, 3, event, value)) << event;
      EXPECT_EQ(Value(stream, 12, event), value) << "for the whole stream";
    }
  }
  Pull(stream, 44100);
  for (const DWORD event : kChannelEvents) EXPECT_EQ(Value(stream, 3, event), 0xFFFFFFFEu);
}

TEST_F(ValuesTest, OtherEventsHaveNone) {
  const DWORD stream = Create(SongBuilder().End(960));
  for (const DWORD event : {1u, 16u, 17u, 18u, 0u, 3u, 31u, 43u, 0x10002u}) {
    EXPECT_EQ(Value(stream, 0, event), bass::kError32) << event;
    EXPECT_NE(Error(), bass::BASS_OK);
  }
  EXPECT_EQ(Value(stream, 16, bass::MIDI_EVENT_VOLUME), bass::kError32);
  for (const DWORD event : {0u, 3u, 31u, 43u, 0x10002u}) EXPECT_FALSE(Send(stream, 0, event, 0));
  EXPECT_FALSE(Send(stream, 16, bass::MIDI_EVENT_VOLUME, 0));
  EXPECT_FALSE(Send(stream, 0, bass::MIDI_EVENT_TEMPO, 0));
  EXPECT_FALSE(Send(stream, 0, bass::MIDI_EVENT_NOTE, 128));
  EXPECT_EQ(Error(), bass::BASS_ERROR_ILLPARAM);
}

TEST_F(ValuesTest, ANewStreamTellsWhatTick0Sets) {
  const DWORD stream = Create(SongBuilder()
                                  .Control(0, 2, 7, 11)
                                  .Control(0, 2, 7, 12)
                                  .Control(1, 2, 7, 13)
                                  .Program(0, 2, 30)
                                  .Tempo(0, 777777)
                                  .Control(0, 0, 91, 3)
                                  .End(960));
  EXPECT_EQ(Value(stream, 2, bass::MIDI_EVENT_VOLUME), 12u);
  EXPECT_EQ(Value(stream, 2, bass::MIDI_EVENT_PROGRAM), 30u);
  EXPECT_EQ(Value(stream, 0, bass::MIDI_EVENT_TEMPO), 777777u);
  EXPECT_EQ(Value(stream, 0, bass::MIDI_EVENT_REVERB), 3u);
  std::vector<DWORD> volumes;
  std::vector<DWORD> tempos;
  Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_VOLUME, [&](DWORD data) {
    volumes.push_back(data);
    EXPECT_EQ(Value(stream, 2, bass::MIDI_EVENT_VOLUME), data & 0xFFFF);
  });
  Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_TEMPO, [&](DWORD d) { tempos.push_back(d); });
  Pull(stream, 1);
  EXPECT_THAT(volumes, ElementsAre(2u << 16 | 11, 2u << 16 | 12));
  EXPECT_THAT(tempos, ElementsAre(777777u));
}

/// A song that changes every value at tick 100, 200, ... 900; event k of a value sets
/// `base` + k.
SongBuilder Changing() {
  SongBuilder song;
  for (int step = 1; step <= 9; ++step) {
    const auto tick = static_cast<std::uint32_t>(100 * step);
    for (const int controller : {0, 1, 7, 10, 11, 64, 91, 93}) {
      song.Control(tick, 3, controller, 20 + step);
    }
    song.Program(tick, 3, 40 + step).Pitch(tick, 3, 1000 + step).Tempo(tick, 400000 + step);
    song.SystemExclusive(
        tick, {0x41, 0x10, 0x42, 0x12, 0x40, 0x14, 0x15, step % 2, 0, 0xF7});  // drum part, 4
    song.SystemExclusive(tick,
                         {0x41, 0x10, 0x42, 0x12, 0x40, 0x01, 0x33, 32 * (step % 4), 0, 0xF7});
    song.Note(tick, 90, 3, 60);
  }
  return song.End(1000);
}

TEST_F(ValuesTest, AfterASeekAreThoseOfTheFileUpToThere) {
  const DWORD stream = Create(Changing());
  int raised = 0;
  for (const DWORD event : {1u, 2u, 4u, 6u, 10u, 12u, 13u, 23u, 36u, 62u}) {
    Sync(stream, kEventSync | kMix, event, [&](DWORD) { ++raised; });
  }
  const auto expect = [&](QWORD tick, int step) {
    ASSERT_TRUE(Seek(stream, tick, kTicks));
    const auto number = static_cast<DWORD>(step);
    const std::array<DWORD, 8> controllers = {10, 11, 12, 13, 14, 15, 23, 24};
    for (const DWORD event : controllers) {
      if (step == 0) continue;
      EXPECT_EQ(Value(stream, 3, event), 20 + number) << event << " at " << tick;
    }
    EXPECT_EQ(Value(stream, 3, bass::MIDI_EVENT_VOLUME), step > 0 ? 20 + number : 100);
    EXPECT_EQ(Value(stream, 3, bass::MIDI_EVENT_PROGRAM), step > 0 ? 40 + number : 0);
    EXPECT_EQ(Value(stream, 3, bass::MIDI_EVENT_PITCH), step > 0 ? 1000 + number : 8192);
    EXPECT_EQ(Value(stream, 0, bass::MIDI_EVENT_TEMPO), step > 0 ? 400000 + number : 500000);
    EXPECT_EQ(Value(stream, 3, bass::MIDI_EVENT_DRUMS), number % 2);
    EXPECT_EQ(Value(stream, 0, bass::MIDI_EVENT_REVERB_LEVEL), step > 0 ? 50 * (number % 4) : 100);
    EXPECT_EQ(Value(stream, 4, bass::MIDI_EVENT_VOLUME), 100u);
  };
  expect(0, 0);
  expect(99, 0);
  expect(100, 1);
  expect(101, 1);
  expect(950, 9);
  expect(500, 5);
  expect(499, 4);
  expect(900, 9);
  expect(899, 8);
  expect(1000, 9);
  expect(99, 0);
  EXPECT_EQ(raised, 0) << "a seek raised event syncs";
  // Values that the program has sent do not outlive it.
  ASSERT_TRUE(Send(stream, 3, bass::MIDI_EVENT_VOLUME, 99));
  ASSERT_TRUE(Send(stream, 3, bass::MIDI_EVENT_REVERB_LEVEL, 9));
  expect(700, 7);
}

TEST_F(ValuesTest, ManyEventsAreChasedAsWell) {
  SongBuilder song(96);
  for (std::uint32_t tick = 0; tick < 20000; ++tick) {
    song.Control(tick, static_cast<int>(tick % 16), 7, static_cast<int>(tick % 128));
  }
  const DWORD stream = Create(song.End(20001));
  Random random(2);
  for (int i = 0; i < 200; ++i) {
    const DWORD tick = 16 + random.Below(19984);
    ASSERT_TRUE(Seek(stream, tick, kTicks));
    for (DWORD back = 0; back < 16; ++back) {
      ASSERT_EQ(Value(stream, (tick - back) % 16, bass::MIDI_EVENT_VOLUME), (tick - back) % 128);
    }
  }
}

TEST_F(ValuesTest, MixLevelAndTransposeStayAcrossSeeks) {
  const DWORD stream = Create(Changing());
  for (DWORD channel = 0; channel < 16; ++channel) {
    ASSERT_TRUE(Send(stream, channel, bass::MIDI_EVENT_MIXLEVEL, 10 + channel));
    ASSERT_TRUE(Send(stream, channel, bass::MIDI_EVENT_TRANSPOSE, 90 + channel));
  }
  for (const QWORD tick : {500u, 100u, 0u, 1000u}) {
    ASSERT_TRUE(Seek(stream, tick, kTicks));
    for (DWORD channel = 0; channel < 16; ++channel) {
      EXPECT_EQ(Value(stream, channel, bass::MIDI_EVENT_MIXLEVEL), 10 + channel);
      EXPECT_EQ(Value(stream, channel, bass::MIDI_EVENT_TRANSPOSE), 90 + channel);
    }
  }
}

TEST_F(ValuesTest, EventsOfATickFindAfterASeekWhatTheyFindInPassing) {
  UseTones();
  // The bank behind a program change is meant for the next one, also where both stand at the place
  // that is sought, or at tick 0.
  for (const std::uint32_t tick : {0u, 240u}) {
    const DWORD stream = Create(SongBuilder()
                                    .Control(0, 0, 91, 0)
                                    .Program(tick, 0, 1)
                                    .Control(tick, 0, 0, 8)
                                    .Note(tick, 400, 0, 60)
                                    .End(960));
    ASSERT_TRUE(Seek(stream, tick, kTicks));
    EXPECT_EQ(Value(stream, 0, bass::MIDI_EVENT_BANK), 8u);
    EXPECT_NEAR(Hertz(Pull(stream, 8820), 1000, 8820), HertzOf(0, 1), 1);
    // A data entry goes to the parameter selected before it, not to the one after.
    SongBuilder wheel;
    wheel.Control(0, 0, 91, 0).Control(0, 0, 101, 0).Control(0, 0, 100, 0);
    wheel.Control(tick, 0, 6, 12).Control(tick, 0, 101, 127).Control(tick, 0, 100, 127);
    wheel.Pitch(tick, 0, 16383).Note(tick, 400, 0, 60).End(960);
    const DWORD bent = Create(wheel);
    ASSERT_TRUE(Seek(bent, tick, kTicks));
    const double hertz = Hertz(Pull(bent, 8820), 1000, 8820);
    EXPECT_NEAR(Cents(hertz, HertzOf(0, 0)), 1200, 2);
  }
}

TEST_F(ValuesTest, NoNoteSoundsThatBeganBeforeTheSeek) {
  UseTones();
  const DWORD stream = Create(
      SongBuilder().Press(0, 0, 60, 127).Control(0, 0, 64, 127).Press(480, 1, 72, 1).End(960));
  Pull(stream, 11025);
  for (const QWORD tick : {1u, 300u, 479u}) {
    ASSERT_TRUE(Seek(stream, tick, kTicks));
    const Pcm sound = Pull(stream, 40, 40);
    EXPECT_EQ(RmsOf(Left(sound, 0, 40)), 0) << tick;
  }
  ASSERT_TRUE(Seek(stream, 0));
  EXPECT_GT(RmsOf(Left(Pull(stream, 4410), 0, 4410)), 100) << "a note of the place itself";
}

}  // namespace
}  // namespace vexolo::engine::testing
