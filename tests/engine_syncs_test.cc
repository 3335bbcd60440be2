// layer: engine
#include <atomic>
#include <sstream>

#include <gmock/gmock.h>

#include "engine_fixture.h"

namespace vexolo::engine::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr DWORD kNote = bass::MIDI_EVENT_NOTE;

/// Data of an event sync but the tempo's.
constexpr DWORD Data(DWORD channel, DWORD param) { return param | channel << 16; }

class SyncsTest : public EngineTest {
 protected:
  /// Notes the event number and data of all syncs of these events, in the order of the calls.
  void Watch(DWORD stream, const std::vector<DWORD>& events, DWORD mix = kMix) {
    for (const DWORD event : events) {
      Sync(stream, kEventSync | mix, event, [this, event](DWORD data) {
        log.push_back(std::to_string(event) + ":" + std::to_string(data >> 16) + ":" +
                      std::to_string(data & 0xFFFF));
      });
    }
  }

  std::vector<std::string> log;
};

// ---- Positions

TEST_F(SyncsTest, APositionSyncComesExactlyAtItsFrame) {
  UseTones();
  const auto song = SongBuilder().Note(0, 900, 0, 60).End(960);
  for (const std::size_t block : {1u, 7u, 63u, 64u, 441u, 512u, 513u, 4410u, 44100u}) {
    const DWORD stream = Create(song);
    const DWORD plain = Create(song);
    constexpr QWORD kFrame = 12345;
    QWORD at = 0;
    Sync(stream, bass::BASS_SYNC_POS, kFrame * 4, [&](DWORD) {
      at = Position(stream);
      Dsp(stream, [](std::span<std::int16_t> sound) { std::ranges::fill(sound, 7); });
    });
    const Pcm sound = Pull(stream, 22050, block);
    const Pcm expected = Pull(plain, 22050, block);
    EXPECT_EQ(at, kFrame * 4);
    ASSERT_EQ(sound.size(), expected.size());
    std::size_t changed = 0;
    while (changed < sound.size() && sound[changed] == expected[changed]) ++changed;
    EXPECT_EQ(changed, 2 * kFrame) << "block of " << block;
    for (std::size_t i = changed; i < sound.size(); ++i) ASSERT_EQ(sound[i], 7);
    api.BASS_StreamFree(stream);
    api.BASS_StreamFree(plain);
  }
}

TEST_F(SyncsTest, FirstAndLastFrameHavePositionSyncsToo) {
  const DWORD stream = Create(SongBuilder().End(960));
  std::vector<QWORD> places;
  for (const QWORD frame : {0u, 1u, 44099u, 44100u}) {
    Sync(stream, bass::BASS_SYNC_POS, 4 * frame,
         [&](DWORD) { places.push_back(Position(stream) / 4); });
  }
  PullAll(stream);
  EXPECT_THAT(places, ElementsAre(0u, 1u, 44099u, 44100u));
}

TEST_F(SyncsTest, AStopAtAPositionEndsTheDataThere) {
  UseTones();
  const auto song = SongBuilder().Note(0, 900, 0, 60).End(960);
  for (const std::size_t block : {1u, 17u, 1000u, 44100u}) {
    const DWORD stream = Create(song, kDecode | kDecay);
    int ends = 0;
    std::size_t filtered = 0;
    std::vector<DWORD> marks;
    Sync(stream, bass::BASS_SYNC_END, 0, [&](DWORD) { ++ends; });
    Sync(stream, bass::BASS_SYNC_END | kMix, 0, [&](DWORD) { ++ends; });
    Sync(stream, kEventSync, kNote, [&](DWORD data) { marks.push_back(data); });
    Sync(stream, bass::BASS_SYNC_POS, 9999 * 4,
         [&](DWORD) { EXPECT_TRUE(api.BASS_ChannelStop(stream)); });
    Dsp(stream, [&](std::span<std::int16_t> sound) {
      filtered += sound.size() / 2;
      for (std::int16_t& sample : sound) sample = static_cast<std::int16_t>(sample / 2);
    });
    const std::string path = Path("out" + std::to_string(block) + ".wav");
    const DWORD encoder =
        api.BASS_Encode_Start(stream, path.c_str(), bass::BASS_ENCODE_PCM, nullptr, nullptr);
    ASSERT_NE(encoder, 0u);
    const Pcm sound = Pull(stream, 44100, block);
    EXPECT_EQ(FramesOf(sound), 9999u);
    EXPECT_EQ(filtered, 9999u);
    EXPECT_EQ(Position(stream), 9999u * 4);
    EXPECT_EQ(api.BASS_ChannelIsActive(stream), bass::BASS_ACTIVE_STOPPED);
    EXPECT_EQ(api.BASS_ChannelGetData(stream, Pcm(8).data(), 16), bass::kError32);
    EXPECT_EQ(ends, 0) << "stopped by the program";
    EXPECT_THAT(marks, ElementsAre(60u | 100u << 8)) << "what was delivered was heard";
    EXPECT_EQ(api.BASS_Encode_IsActive(encoder), 1u);
    EXPECT_TRUE(api.BASS_Encode_Stop(encoder));
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    ASSERT_EQ(bytes.size(), 44 + 2 * sound.size());
    EXPECT_EQ(std::memcmp(bytes.data() + 44, sound.data(), 2 * sound.size()), 0);
    api.BASS_StreamFree(stream);
  }
}

TEST_F(SyncsTest, APositionSyncKeepsItsMusicalPlace) {
  const DWORD stream = Create(SongBuilder().End(960));
  std::vector<QWORD> ticks;
  std::vector<QWORD> frames;
  Sync(stream, bass::BASS_SYNC_POS, 22050 * 4, [&](DWORD) {  // tick 480
    ticks.push_back(Position(stream, kTicks));
    frames.push_back(Position(stream) / 4);
  });
  ASSERT_TRUE(Send(stream, 0, bass::MIDI_EVENT_TEMPO, 1000000));
  Pull(stream, 44100);
  EXPECT_THAT(ticks, IsEmpty());
  Pull(stream, 1);
  EXPECT_THAT(ticks, ElementsAre(480u));
  EXPECT_THAT(frames, ElementsAre(44100u));
  // Again after every seek to before it, whatever the ratio.
  ASSERT_TRUE(Seek(stream, 479, kTicks));
  Pull(stream, 45);  // of 45.9375 a tick
  EXPECT_THAT(ticks, ElementsAre(480u));
  Pull(stream, 1);
  EXPECT_THAT(ticks, ElementsAre(480u, 480u));
  ASSERT_TRUE(Seek(stream, 480, kTicks));  // onto it
  Pull(stream, 1);
  EXPECT_THAT(ticks, ElementsAre(480u, 480u, 480u));
  ASSERT_TRUE(Seek(stream, 481, kTicks));  // behind it
  PullAll(stream);
  EXPECT_EQ(ticks.size(), 3u);
}

TEST_F(SyncsTest, APositionSyncIsNamedAtTheRatioInForce) {
  const DWORD stream = Create(SongBuilder().End(960));
  ASSERT_TRUE(Send(stream, 0, bass::MIDI_EVENT_TEMPO, 1000000));
  QWORD frame = 0;
  Sync(stream, bass::BASS_SYNC_POS, 44100 * 4, [&](DWORD) { frame = Position(stream) / 4; });
  ASSERT_TRUE(Seek(stream, 0));  // the ratio is 1 again
  PullAll(stream);
  EXPECT_EQ(frame, 22050u);
}

TEST_F(SyncsTest, ChangingTheTempoAtAPlaceDoesNotLoseTheSyncThere) {
  Random random(3);
  std::deque<int> calls;
  const DWORD stream = Create(SongBuilder(96).End(9600));
  for (int round = 0; round < 200; ++round) {
    ASSERT_TRUE(Seek(stream, 0));
    const DWORD tempo = 300000 + random.Below(400000);
    ASSERT_TRUE(Send(stream, 0, bass::MIDI_EVENT_TEMPO, tempo));
    const QWORD place = 4 * (1000 + random.Below(100000));  // seldom the first frame of a tick
    int& count = calls.emplace_back();
    Sync(stream, bass::BASS_SYNC_POS, place, [&count](DWORD) { ++count; });
    ASSERT_TRUE(Seek(stream, place));
    ASSERT_TRUE(Send(stream, 0, bass::MIDI_EVENT_TEMPO, tempo));
    Pull(stream, 3);
    ASSERT_EQ(count, 1) << "tempo " << tempo << " place " << place;
  }
}

TEST_F(SyncsTest, TwoPositionSyncsInOneBlockAndTwoAtOneFrame) {
  const DWORD stream = Create(SongBuilder().End(960));
  std::vector<std::string> calls;
  const auto note = [&](const std::string& name) {
    return [&calls, name](DWORD) { calls.push_back(name); };
  };
  Sync(stream, bass::BASS_SYNC_POS, 300 * 4, note("late"));
  Sync(stream, bass::BASS_SYNC_POS, 200 * 4, note("first"));
  Sync(stream, bass::BASS_SYNC_POS | kMix, 200 * 4, note("second"));
  Pull(stream, 1000, 1000);
  EXPECT_THAT(calls, ElementsAre("first", "second", "late"));
}

// ---- The end

TEST_F(SyncsTest, TheEndSyncComesOnceAfterTheDecay) {
  UseTones();
  const DWORD stream = Create(SongBuilder().Note(0, 900, 0, 60).End(960), kDecode | kDecay);
  std::vector<QWORD> ends;
  Sync(stream, bass::BASS_SYNC_END, 0, [&](DWORD) { ends.push_back(Position(stream)); });
  Pull(stream, 50000);
  EXPECT_THAT(ends, IsEmpty()) << "the song is over, but its reverb is not";
  const std::size_t rest = FramesOf(PullAll(stream));
  EXPECT_THAT(ends, ElementsAre(4 * (50000 + rest)));
  EXPECT_EQ(api.BASS_ChannelGetData(stream, Pcm(8).data(), 16), bass::kError32);
  EXPECT_EQ(ends.size(), 1u);
  ASSERT_TRUE(Seek(stream, 0));
  PullAll(stream);
  EXPECT_EQ(ends.size(), 2u);
}

TEST_F(SyncsTest, ThereIsNoEndSyncWhereAHeardSyncStops) {
  const DWORD stream = Create(SongBuilder().Lyric(10, "la").End(20));
  int ends = 0;
  Sync(stream, bass::BASS_SYNC_END, 0, [&](DWORD) { ++ends; });
  Sync(stream, bass::BASS_SYNC_MIDI_LYRIC, 0, [&](DWORD) { api.BASS_ChannelStop(stream); });
  Pull(stream, 44100, 44100);  // mark and end in one block
  EXPECT_EQ(ends, 0);
}

TEST_F(SyncsTest, ThereIsNoEndSyncWhereAnEventSyncStops) {
  const DWORD stream = Create(SongBuilder().Control(10, 0, 7, 1).End(10));
  int ends = 0;
  Sync(stream, bass::BASS_SYNC_END, 0, [&](DWORD) { ++ends; });
  Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_VOLUME,
       [&](DWORD) { api.BASS_ChannelStop(stream); });
  EXPECT_EQ(FramesOf(PullAll(stream)), 460u);  // the frame of tick 10 is not rendered
  EXPECT_EQ(ends, 0);
}

// ---- Events

TEST_F(SyncsTest, CarryParameterAndChannel) {
  const DWORD stream = Create(SongBuilder()
                                  .Control(10, 3, 7, 99)
                                  .Control(20, 15, 10, 1)
                                  .Control(30, 9, 91, 127)
                                  .Control(40, 0, 93, 5)
                                  .Control(50, 4, 0, 8)
                                  .Program(60, 4, 77)
                                  .Pitch(70, 2, 16383)
                                  .Control(80, 2, 1, 3)
                                  .Control(90, 2, 11, 4)
                                  .Control(100, 2, 64, 127)
                                  .Note(110, 10, 7, 61, 33)
                                  .Control(130, 7, 120, 0)
                                  .Control(140, 8, 123, 0)
                                  .End(200));
  Watch(stream, {1, 2, 4, 6, 10, 11, 12, 13, 14, 15, 16, 17, 18, 23, 24});
  PullAll(stream);
  EXPECT_THAT(
      log, ElementsAre("12:3:99", "13:15:1", "23:9:127", "24:0:5", "10:4:8", "2:4:77", "4:2:16383",
                       "11:2:3", "14:2:4", "15:2:127", "1:7:" + std::to_string(61 | 33 << 8),
                       "1:7:61", "16:7:0", "18:8:0"));
}

TEST_F(SyncsTest, ATempoTakes24Bits) {
  const DWORD stream = Create(SongBuilder().Tempo(10, 0xABCDEF).End(20));
  std::vector<DWORD> data;
  Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_TEMPO, [&](DWORD d) { data.push_back(d); });
  PullAll(stream);
  EXPECT_THAT(data, ElementsAre(0xABCDEFu));
}

TEST_F(SyncsTest, EachEventIsAppliedBeforeItsSyncAndAfterTheSyncBefore) {
  // All at one tick: whoever looks finds exactly the events before.
  const DWORD stream = Create(SongBuilder()
                                  .Control(0, 0, 7, 1)
                                  .Control(48, 0, 7, 10)
                                  .Control(48, 0, 10, 20)
                                  .Control(48, 0, 7, 30)
                                  .End(96));
  ASSERT_TRUE(Seek(stream, 10, kTicks));
  std::vector<std::string> seen;
  const auto look = [&](DWORD data) {
    std::ostringstream text;
    text << (data & 0xFFFF) << ":" << Value(stream, 0, bass::MIDI_EVENT_VOLUME) << ","
         << Value(stream, 0, bass::MIDI_EVENT_PAN) << "@" << Position(stream, kTicks);
    seen.push_back(text.str());
    Send(stream, 0, bass::MIDI_EVENT_VOLUME, Value(stream, 0, bass::MIDI_EVENT_VOLUME) + 1);
  };
  Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_VOLUME, look);
  Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_PAN, look);
  PullAll(stream, 44100);
  EXPECT_THAT(seen, ElementsAre("10:10,64@48", "20:11,20@48", "30:30,20@48"));
}

TEST_F(SyncsTest, ANoteAtTheTickOfAProgramChangeFindsTheOverride) {
  UseTones();
  const DWORD stream =
      Create(SongBuilder().Control(0, 0, 91, 0).Program(240, 0, 0).Note(240, 400, 0, 60).End(960));
  Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_PROGRAM, [&](DWORD) {
    Send(stream, 0, bass::MIDI_EVENT_BANK, 8);
    Send(stream, 0, bass::MIDI_EVENT_PROGRAM, 1);
  });
  const Pcm sound = PullAll(stream);
  EXPECT_NEAR(Hertz(sound, 12000, 20000), HertzOf(8, 1), 1);
}

TEST_F(SyncsTest, EventsOfTheProgramRaiseNone) {
  const DWORD stream = Create(SongBuilder().End(960));
  Watch(stream, {1, 2, 4, 6, 10, 11, 12, 13, 14, 15, 16, 17, 18, 23, 24, 32, 36, 42, 62});
  for (const DWORD event :
       {2u, 4u, 6u, 10u, 11u, 12u, 13u, 14u, 15u, 16u, 17u, 18u, 23u, 24u, 32u, 36u, 42u, 62u}) {
    ASSERT_TRUE(Send(stream, 1, event, 1));
  }
  ASSERT_TRUE(Send(stream, 1, kNote, 60 | 100 << 8));
  PullAll(stream);
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(SyncsTest, SystemResetsRaiseTheSyncsOfWhatTheyChange) {
  using Reset = SongBuilder& (SongBuilder::*)(std::uint32_t);
  for (const Reset reset : {&SongBuilder::GmReset, &SongBuilder::GsReset, &SongBuilder::XgReset}) {
    SongBuilder song;
    song.Control(0, 2, 7, 55).Control(0, 5, 0, 8).Program(0, 5, 30).Control(0, 6, 10, 64);
    song.Control(0, 7, 91, 100).Control(0, 7, 93, 7).Pitch(0, 1, 0).Control(0, 1, 11, 5);
    (song.*reset)(480);
    const DWORD stream = Create(song.End(960));
    Send(stream, 2, bass::MIDI_EVENT_MIXLEVEL, 33);
    Send(stream, 2, bass::MIDI_EVENT_TRANSPOSE, 112);
    Send(stream, 9, bass::MIDI_EVENT_DRUMS, 0);
    Send(stream, 0, bass::MIDI_EVENT_REVERB_TIME, 777);
    Send(stream, 0, bass::MIDI_EVENT_CHORUS_LEVEL, 3);
    Pull(stream, 1000);
    log.clear();
    Watch(stream, {1,
                   2,
                   4,
                   6,
                   10,
                   11,
                   12,
                   13,
                   14,
                   15,
                   16,
                   17,
                   18,
                   23,
                   24,
                   32,
                   33,
                   41,
                   42,
                   62,
                   bass::MIDI_EVENT_MIXLEVEL,
                   bass::MIDI_EVENT_TRANSPOSE});
    PullAll(stream);
    EXPECT_THAT(log, ::testing::UnorderedElementsAre("12:2:100", "10:5:0", "2:5:0", "23:7:40",
                                                     "24:7:0", "4:1:8192", "14:1:127", "6:9:1",
                                                     "32:0:1800", "41:0:100"));
    // A program that the player sends from these syncs must find its bank.
    const auto bank = std::ranges::find(log, "10:5:0");
    EXPECT_LT(bank, std::ranges::find(log, "2:5:0"));
    EXPECT_EQ(Value(stream, 2, bass::MIDI_EVENT_MIXLEVEL), 33u);
    EXPECT_EQ(Value(stream, 2, bass::MIDI_EVENT_TRANSPOSE), 112u);
    api.BASS_StreamFree(stream);
    log.clear();
  }
}

TEST_F(SyncsTest, AfterASystemResetTheFirstPresetSounds) {
  UseTones();
  const DWORD stream = Create(SongBuilder()
                                  .Control(0, 0, 0, 8)
                                  .Program(0, 0, 1)
                                  .GmReset(240)
                                  .Control(240, 0, 91, 0)
                                  .Note(240, 400, 0, 60)
                                  .End(960));
  EXPECT_NEAR(Hertz(PullAll(stream), 12000, 20000), HertzOf(0, 0), 1);
}

TEST_F(SyncsTest, Event17RaisesItsOwnSyncAndThoseOfWhatItChanges) {
  SongBuilder song;
  song.Control(0, 1, 1, 20).Control(0, 1, 11, 30).Control(0, 1, 64, 127).Pitch(0, 1, 1);
  song.Control(0, 1, 7, 40).Control(0, 1, 10, 50).Control(0, 1, 91, 60).Program(0, 1, 3);
  song.Control(0, 2, 11, 30).Control(480, 1, 121, 0);
  const DWORD stream = Create(song.End(960));
  Send(stream, 1, bass::MIDI_EVENT_MIXLEVEL, 20);
  Send(stream, 1, bass::MIDI_EVENT_TRANSPOSE, 90);
  Pull(stream, 1000);
  Watch(stream, {2, 4, 6, 10, 11, 12, 13, 14, 15, 17, 23, 24, bass::MIDI_EVENT_MIXLEVEL,
                 bass::MIDI_EVENT_TRANSPOSE});
  PullAll(stream);
  EXPECT_THAT(
      log, ::testing::UnorderedElementsAre("17:1:0", "11:1:0", "14:1:127", "15:1:0", "4:1:8192"));
  EXPECT_EQ(Value(stream, 1, bass::MIDI_EVENT_MIXLEVEL), 20u);
  EXPECT_EQ(Value(stream, 1, bass::MIDI_EVENT_TRANSPOSE), 90u);
  EXPECT_EQ(Value(stream, 1, bass::MIDI_EVENT_VOLUME), 40u);
}

TEST_F(SyncsTest, HeardSyncsOfADecodingStreamComeWithTheirBlock) {
  const DWORD stream = Create(SongBuilder()
                                  .Lyric(48, "a")
                                  .Lyric(48, "b", 1)
                                  .Text(50, "t")
                                  .Note(60, 10, 9, 36)
                                  .Lyric(480, "c")
                                  .End(960));
  std::vector<std::string> calls;
  const auto note = [&](const std::string& name) {
    return [&calls, name](DWORD data) { calls.push_back(name + std::to_string(data)); };
  };
  Sync(stream, bass::BASS_SYNC_MIDI_LYRIC, 0, note("lyric"));
  Sync(stream, bass::BASS_SYNC_MIDI_TEXT, 0, note("text"));
  Sync(stream, kEventSync, kNote, note("note"));
  Pull(stream, 2205, 2205);  // tick 48 stands at this frame: not rendered yet
  EXPECT_THAT(calls, IsEmpty());
  Pull(stream, 1);
  EXPECT_THAT(calls, ElementsAre("lyric0", "lyric1"));
  calls.clear();
  Pull(stream, 4410, 4410);
  EXPECT_THAT(calls, ElementsAre("text0", "note" + std::to_string(Data(9, 36 | 100 << 8)),
                                 "note" + std::to_string(Data(9, 36))));
  calls.clear();
  PullAll(stream);
  EXPECT_THAT(calls, ElementsAre("lyric2"));
  // A mark keeps its index after a seek.
  calls.clear();
  ASSERT_TRUE(Seek(stream, 49, kTicks));
  PullAll(stream);
  EXPECT_THAT(calls, ElementsAre("text0", ::testing::StartsWith("note"),
                                 ::testing::StartsWith("note"), "lyric2"));
}

TEST_F(SyncsTest, MarksAtMixTimeComeBetweenTheEventsAroundThem) {
  const DWORD stream =
      Create(SongBuilder().Control(48, 0, 7, 1).Lyric(48, "a").Control(48, 0, 7, 2).End(96));
  Watch(stream, {12});
  Sync(stream, bass::BASS_SYNC_MIDI_LYRIC | kMix, 0, [&](DWORD data) {
    log.push_back("mark" + std::to_string(data) + "@" + std::to_string(Position(stream) / 4));
  });
  PullAll(stream, 44100);
  EXPECT_THAT(log, ElementsAre("12:0:1", "mark0@2205", "12:0:2"));
}

TEST_F(SyncsTest, ADspRunsInTheOrderOfItsPriority) {
  const DWORD stream = Create(SongBuilder().End(960));
  const auto append = [](int digit) {
    return [digit](std::span<std::int16_t> sound) {
      for (std::int16_t& sample : sound) sample = static_cast<std::int16_t>(sample * 10 + digit);
    };
  };
  Dsp(stream, append(2));
  Dsp(stream, append(3));
  Dsp(stream, append(1), 5);
  Dsp(stream, append(4), -5);
  EXPECT_EQ(Pull(stream, 10)[0], 1234);
  EXPECT_EQ(api.BASS_ChannelGetLevel(stream), 1234u | 1234u << 16) << "measured before the DSPs";
}

TEST_F(SyncsTest, CallbacksMayNotFreeTheirStream) {
  const DWORD stream = Create(SongBuilder().Control(48, 0, 7, 1).Lyric(50, "a").End(96));
  int refused = 0;
  const auto try_it = [&](DWORD) {
    if (!api.BASS_StreamFree(stream) && Error() != bass::BASS_OK) ++refused;
    if (!api.BASS_Free() && Error() != bass::BASS_OK) ++refused;
  };
  Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_VOLUME, try_it);
  Sync(stream, bass::BASS_SYNC_MIDI_LYRIC, 0, try_it);
  Sync(stream, bass::BASS_SYNC_POS, 400, try_it);
  Dsp(stream, [&](auto) { try_it(0); });
  PullAll(stream, 44100);
  EXPECT_EQ(refused, 8);
  EXPECT_TRUE(api.BASS_StreamFree(stream));
}

}  // namespace
}  // namespace vexolo::engine::testing
