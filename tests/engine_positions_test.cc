// layer: engine
#include <atomic>
#include <cmath>
#include <random>
#include <thread>

#include <gmock/gmock.h>

#include "engine_fixture.h"

namespace vexolo::engine::testing {
namespace {

using ::testing::ElementsAre;

/// 480 ticks a quarter note, half a second each: 960 ticks = 44100 frames.
constexpr QWORD kSecond = 44100 * 4;

class PositionsTest : public EngineTest {};

SongBuilder RandomTempos(unsigned seed) {
  Random random(seed);
  SongBuilder song(24 + static_cast<int>(random.Below(900)));
  std::uint32_t tick = 0;
  for (int i = 0; i < 40; ++i) {
    tick += 1 + random.Below(400);
    song.Tempo(tick, 100000 + static_cast<int>(random.Below(900000)), 0);
    song.Lyric(tick + random.Below(300), "la", 1);
  }
  return song.End(tick + 300 + random.Below(100), 0);
}

TEST_F(PositionsTest, CountFourBytesAFrame) {
  const DWORD stream = Create(SongBuilder().End(960));
  EXPECT_EQ(Length(stream), kSecond);
  EXPECT_EQ(Length(stream, kTicks), 960u);
  EXPECT_EQ(Position(stream), 0u);
  EXPECT_EQ(FramesOf(Pull(stream, 1)), 1u);
  EXPECT_EQ(Position(stream), 4u);
  EXPECT_EQ(FramesOf(Pull(stream, 1000)), 1000u);
  EXPECT_EQ(Position(stream), 4004u);
  EXPECT_EQ(PullAll(stream).size() * 2, kSecond - 4004);
  EXPECT_EQ(Position(stream), kSecond);
}

TEST_F(PositionsTest, OnlyWholeFramesAreDelivered) {
  const DWORD stream = Create(SongBuilder().End(960));
  std::array<std::uint8_t, 16> buffer{};
  EXPECT_EQ(api.BASS_ChannelGetData(stream, buffer.data(), 7), 4u);
  EXPECT_EQ(api.BASS_ChannelGetData(stream, buffer.data(), 3), 0u);
  EXPECT_EQ(Error(), bass::BASS_OK);
  EXPECT_EQ(Position(stream), 4u);
}

TEST_F(PositionsTest, TheEndSaysSo) {
  const DWORD stream = Create(SongBuilder().End(960));
  EXPECT_EQ(api.BASS_ChannelIsActive(stream), bass::BASS_ACTIVE_PLAYING);
  PullAll(stream);
  std::array<std::uint8_t, 16> buffer{};
  EXPECT_EQ(api.BASS_ChannelGetData(stream, buffer.data(), 16), bass::kError32);
  EXPECT_EQ(Error(), bass::BASS_ERROR_ENDED);
  EXPECT_EQ(api.BASS_ChannelIsActive(stream), bass::BASS_ACTIVE_STOPPED);
}

TEST_F(PositionsTest, RunOnThroughTheDecayWhileTicksStop) {
  UseTones();
  const auto song = SongBuilder().Note(0, 900, 0, 60).End(960);
  const DWORD stream = Create(song, kDecode | kDecay);
  EXPECT_EQ(Length(stream), kSecond);
  Pull(stream, 44099);
  EXPECT_EQ(Position(stream, kTicks), 959u);
  Pull(stream, 1);
  EXPECT_EQ(Position(stream, kTicks), 960u);
  Pull(stream, 10000);
  EXPECT_EQ(Position(stream), kSecond + 40000);
  EXPECT_EQ(Position(stream, kTicks), 960u);
  EXPECT_EQ(Length(stream), kSecond);
  const std::size_t rest = FramesOf(PullAll(stream));
  EXPECT_GT(rest, 22050u) << "the reverb of 1.8 s was cut";
  EXPECT_EQ(Position(stream), kSecond + 40000 + 4 * rest);
  EXPECT_EQ(FramesOf(PullAll(Create(song, kDecode))), 44100u);
}

TEST_F(PositionsTest, FollowEveryTempoOfTheFileToTheFrame) {
  // 100 ticks at 0.5 s, 100 at 0.3 s, 100 at 0.7 s a quarter note of 96.
  const DWORD stream = Create(SongBuilder(96).Tempo(100, 300000).Tempo(200, 700000).End(300));
  // Each is the first frame at or after its moment: 44100 x 1.5625 s = 68906.25.
  EXPECT_EQ(Length(stream), 68907u * 4);
  Pull(stream, 22968);  // tick 100 stands at 22968.75
  EXPECT_EQ(Position(stream, kTicks), 99u);
  Pull(stream, 1);
  EXPECT_EQ(Position(stream, kTicks), 100u);
  Pull(stream, 13781);  // tick 200 at 36750
  EXPECT_EQ(Position(stream, kTicks), 200u);
}

TEST_F(PositionsTest, AreRescaledByATempoThatTheProgramSends) {
  const DWORD stream =
      Create(SongBuilder().Lyric(240, "la").Text(480, "text").Note(720, 10, 3, 60).End(960));
  Pull(stream, 11025);
  ASSERT_EQ(Position(stream, kTicks), 240u);
  ASSERT_TRUE(Send(stream, 0, bass::MIDI_EVENT_TEMPO, 400000));
  EXPECT_EQ(Length(stream), kSecond * 4 / 5);
  EXPECT_EQ(Length(stream, kTicks), 960u);
  EXPECT_EQ(Position(stream), 8820u * 4);
  EXPECT_EQ(Position(stream, kTicks), 240u);
  bass::BASS_MIDI_MARK mark{};
  ASSERT_TRUE(api.BASS_MIDI_StreamGetMark(stream, bass::BASS_MIDI_MARK_LYRIC, 0, &mark));
  EXPECT_EQ(mark.pos, 8820u * 4);
  ASSERT_TRUE(api.BASS_MIDI_StreamGetMark(stream, bass::BASS_MIDI_MARK_TEXT, 0, &mark));
  EXPECT_EQ(mark.pos, 17640u * 4);
  std::array<bass::BASS_MIDI_EVENT, 2> events{};
  ASSERT_EQ(api.BASS_MIDI_StreamGetEvents(stream, -1, bass::MIDI_EVENT_NOTE, events.data()), 2u);
  EXPECT_EQ(events[0].pos, 26460u * 4);
  EXPECT_EQ(events[0].tick, 720u);
  EXPECT_EQ(PullAll(stream).size() * 2, 26460u * 4);
  EXPECT_EQ(Position(stream), kSecond * 4 / 5);
}

TEST_F(PositionsTest, OneRatioHoldsForTheWholeSong) {
  const DWORD stream = Create(SongBuilder().Tempo(480, 1000000).End(960));
  EXPECT_EQ(Length(stream), kSecond * 3 / 2);
  ASSERT_TRUE(Send(stream, 0, bass::MIDI_EVENT_TEMPO, 250000));
  EXPECT_EQ(Value(stream, 5, bass::MIDI_EVENT_TEMPO), 250000u);
  EXPECT_EQ(Length(stream), kSecond * 3 / 4);
}

TEST_F(PositionsTest, ATempoOfTheFilePutsTheRatioBack) {
  const DWORD stream = Create(SongBuilder().Tempo(480, 1000000).End(960));
  ASSERT_TRUE(Send(stream, 0, bass::MIDI_EVENT_TEMPO, 250000));
  Pull(stream, 11025);
  EXPECT_EQ(Length(stream), kSecond * 3 / 4);  // the event at tick 480 is still to come
  EXPECT_EQ(Value(stream, 0, bass::MIDI_EVENT_TEMPO), 250000u);
  Pull(stream, 1);
  EXPECT_EQ(Length(stream), kSecond * 3 / 2);
  EXPECT_EQ(Value(stream, 0, bass::MIDI_EVENT_TEMPO), 1000000u);
  EXPECT_EQ(Position(stream), 22051u * 4);
  ASSERT_TRUE(Send(stream, 0, bass::MIDI_EVENT_TEMPO, 2000000));
  EXPECT_EQ(Length(stream), kSecond * 3);
}

TEST_F(PositionsTest, ASeekPutsTheRatioBack) {
  const DWORD stream = Create(SongBuilder().End(960));
  ASSERT_TRUE(Send(stream, 0, bass::MIDI_EVENT_TEMPO, 1000000));
  ASSERT_TRUE(Seek(stream, 480, kTicks));
  EXPECT_EQ(Length(stream), kSecond);
  EXPECT_EQ(Value(stream, 0, bass::MIDI_EVENT_TEMPO), 500000u);
  EXPECT_EQ(Position(stream), kSecond / 2);
  ASSERT_TRUE(Send(stream, 0, bass::MIDI_EVENT_TEMPO, 1000000));
  EXPECT_EQ(Position(stream), kSecond);
}

TEST_F(PositionsTest, TheTargetOfASeekIsReadAtTheRatioBefore) {
  const DWORD stream = Create(SongBuilder().End(960));
  ASSERT_TRUE(Send(stream, 0, bass::MIDI_EVENT_TEMPO, 1000000));
  ASSERT_TRUE(Seek(stream, kSecond));  // half of the song as it is now
  EXPECT_EQ(Position(stream, kTicks), 480u);
  EXPECT_EQ(Position(stream), kSecond / 2);
  ASSERT_TRUE(Send(stream, 0, bass::MIDI_EVENT_TEMPO, 400000));
  ASSERT_TRUE(Seek(stream, 8820u * 4));
  EXPECT_EQ(Position(stream, kTicks), 240u);
}

TEST_F(PositionsTest, AMarksPlaceLeadsToItsTick) {
  Random random(5);
  for (unsigned seed = 0; seed < 8; ++seed) {
    const DWORD stream = Create(RandomTempos(seed));
    bass::BASS_MIDI_MARK mark{};
    for (DWORD index = 0; index < 40; ++index) {
      const DWORD tempo = Value(stream, 0, bass::MIDI_EVENT_TEMPO);
      ASSERT_TRUE(Send(stream, 0, bass::MIDI_EVENT_TEMPO, tempo / 2 + random.Below(tempo)));
      ASSERT_TRUE(api.BASS_MIDI_StreamGetMark(stream, bass::BASS_MIDI_MARK_LYRIC, index, &mark));
      ASSERT_TRUE(Seek(stream, mark.pos));
      const QWORD tick = Position(stream, kTicks);
      // The sync of the mark is the next to come, at the very next frame.
      ASSERT_TRUE(api.BASS_MIDI_StreamGetMark(stream, bass::BASS_MIDI_MARK_LYRIC, index, &mark));
      ASSERT_EQ(mark.pos, Position(stream));
      ASSERT_TRUE(Seek(stream, tick, kTicks));
      ASSERT_EQ(Position(stream, kTicks), tick);
      ASSERT_EQ(Position(stream), mark.pos);
      ASSERT_TRUE(Seek(stream, mark.pos - 4));
      ASSERT_EQ(Position(stream, kTicks), tick - 1) << "one frame before it";
    }
    api.BASS_StreamFree(stream);
  }
}

TEST_F(PositionsTest, EveryReportedPlaceLeadsBackToItsTick) {
  Random random(6);
  for (unsigned seed = 10; seed < 18; ++seed) {
    const DWORD stream = Create(RandomTempos(seed));
    for (int round = 0; round < 40; ++round) {
      const DWORD tempo = Value(stream, 0, bass::MIDI_EVENT_TEMPO);
      ASSERT_TRUE(Send(stream, 0, bass::MIDI_EVENT_TEMPO, tempo / 2 + random.Below(tempo)));
      Pull(stream, random.Below(2000), 500);
      const QWORD place = Position(stream);
      const QWORD tick = Position(stream, kTicks);
      if (place > Length(stream)) break;
      ASSERT_TRUE(Seek(stream, place));
      ASSERT_EQ(Position(stream, kTicks), tick);
    }
    api.BASS_StreamFree(stream);
  }
}

TEST_F(PositionsTest, ResetAndResendingOfTheTempoLookAtomic) {
  // The file's tempo changes all the time; the program plays everything at half speed.
  SongBuilder song(96);
  for (std::uint32_t tick = 0; tick < 96 * 40; tick += 12) {
    song.Tempo(tick, 300000 + static_cast<int>(tick * 37 % 200000));
  }
  const DWORD stream = Create(song);
  const auto half_speed = [&](DWORD tempo) { Send(stream, 0, bass::MIDI_EVENT_TEMPO, 2 * tempo); };
  std::atomic<int> resets = 0;
  Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_TEMPO, [&](DWORD tempo) {
    EXPECT_EQ(Value(stream, 0, bass::MIDI_EVENT_TEMPO), tempo);
    half_speed(tempo);
    ++resets;
  });
  half_speed(Value(stream, 0, bass::MIDI_EVENT_TEMPO));
  const QWORD length = Length(stream);
  std::atomic<bool> done = false;
  std::atomic<bool> watching = false;
  int looks = 0;
  int other_lengths = 0;
  int steps_back = 0;
  std::thread watcher([&] {
    QWORD last = 0;
    QWORD last_tick = 0;
    while (!done) {
      ++looks;
      if (Length(stream) != length) ++other_lengths;
      const QWORD place = Position(stream);
      const QWORD tick = Position(stream, kTicks);
      if (place < last || tick < last_tick) ++steps_back;
      last = place;
      last_tick = tick;
      watching = true;
    }
  });
  while (!watching) std::this_thread::yield();
  PullAll(stream, 300);
  done = true;
  watcher.join();
  EXPECT_EQ(resets, 320);
  EXPECT_GT(looks, 10);
  EXPECT_EQ(other_lengths, 0);
  EXPECT_EQ(steps_back, 0);
  EXPECT_EQ(Position(stream), length);
}

TEST_F(PositionsTest, SecondsAndBytesGoThereAndBack) {
  const DWORD stream = Create(SongBuilder().End(960));
  std::mt19937_64 random(7);
  for (int i = 0; i < 20000; ++i) {
    const QWORD bytes = 4 * (random() % (i < 10000 ? 44100ull * 600 : 1ull << 40));
    const double seconds = api.BASS_ChannelBytes2Seconds(stream, bytes);
    ASSERT_EQ(api.BASS_ChannelSeconds2Bytes(stream, seconds), bytes);
    ASSERT_EQ(api.BASS_ChannelBytes2Seconds(stream, bytes + 3), seconds);
    if (bytes == 0) continue;
    ASSERT_EQ(api.BASS_ChannelSeconds2Bytes(stream, std::nextafter(seconds, 0.0)), bytes - 4);
  }
  EXPECT_EQ(api.BASS_ChannelBytes2Seconds(stream, kSecond), 1.0);
  EXPECT_EQ(api.BASS_ChannelSeconds2Bytes(stream, 1.99999 / 44100), 4u);
  EXPECT_EQ(api.BASS_ChannelSeconds2Bytes(stream, -1.0), bass::kError64);
  EXPECT_NE(Error(), bass::BASS_OK);
}

TEST_F(PositionsTest, BeyondTheEndIsNoPlace) {
  const DWORD stream = Create(SongBuilder().End(960));
  EXPECT_TRUE(Seek(stream, kSecond));
  EXPECT_EQ(Position(stream, kTicks), 960u);
  EXPECT_TRUE(Seek(stream, 960, kTicks));
  EXPECT_EQ(Position(stream), kSecond);
  EXPECT_TRUE(Seek(stream, 100, kTicks));
  EXPECT_FALSE(Seek(stream, kSecond + 4));
  EXPECT_EQ(Error(), bass::BASS_ERROR_POSITION);
  EXPECT_FALSE(Seek(stream, 961, kTicks));
  EXPECT_EQ(Error(), bass::BASS_ERROR_POSITION);
  EXPECT_FALSE(Seek(stream, 0, 1));
  EXPECT_NE(Error(), bass::BASS_OK);
  EXPECT_EQ(Position(stream, kTicks), 100u) << "a seek that failed moved the place";
  EXPECT_EQ(Position(stream, 1), bass::kError64);
  EXPECT_EQ(Length(stream, 1), bass::kError64);
}

TEST_F(PositionsTest, AnEndedStreamGoesOnAfterASeek) {
  const DWORD stream = Create(SongBuilder().End(960));
  PullAll(stream);
  ASSERT_TRUE(Seek(stream, 480, kTicks));
  EXPECT_EQ(api.BASS_ChannelIsActive(stream), bass::BASS_ACTIVE_PLAYING);
  EXPECT_EQ(FramesOf(PullAll(stream)), 22050u);
}

TEST_F(PositionsTest, MarksOfAllTracksStandInTheOrderOfTime) {
  const DWORD stream = Create(SongBuilder()
                                  .Lyric(480, "c", 1)
                                  .Lyric(10, "a", 2)
                                  .Lyric(480, "b", 0)
                                  .Text(5, "title", 2)
                                  .Lyric(700, "", 0)
                                  .End(960));
  struct Expected {
    DWORD track;
    DWORD tick;
    std::string text;
  };
  const std::vector<Expected> lyrics = {{2, 10, "a"}, {0, 480, "b"}, {1, 480, "c"}, {0, 700, ""}};
  bass::BASS_MIDI_MARK mark{};
  for (DWORD index = 0; index < lyrics.size(); ++index) {
    ASSERT_TRUE(api.BASS_MIDI_StreamGetMark(stream, bass::BASS_MIDI_MARK_LYRIC, index, &mark));
    EXPECT_EQ(mark.track, lyrics[index].track);
    EXPECT_EQ(mark.text, lyrics[index].text);
    ASSERT_TRUE(Seek(stream, mark.pos));
    EXPECT_EQ(Position(stream, kTicks), lyrics[index].tick);
  }
  EXPECT_FALSE(api.BASS_MIDI_StreamGetMark(stream, bass::BASS_MIDI_MARK_LYRIC, 4, &mark));
  EXPECT_NE(Error(), bass::BASS_OK);
  ASSERT_TRUE(api.BASS_MIDI_StreamGetMark(stream, bass::BASS_MIDI_MARK_TEXT, 0, &mark));
  EXPECT_STREQ(mark.text, "title");
  EXPECT_FALSE(api.BASS_MIDI_StreamGetMark(stream, bass::BASS_MIDI_MARK_TEXT, 1, &mark));
  EXPECT_FALSE(api.BASS_MIDI_StreamGetMark(stream, 1, 0, &mark));
}

TEST_F(PositionsTest, NamesOfTracks) {
  const DWORD stream =
      Create(SongBuilder().Name("Words", 0).Note(0, 10, 0, 60, 100, 1).Name("Bass \xE9", 2));
  const auto name = [&](DWORD track) {
    return api.BASS_ChannelGetTags(stream, bass::BASS_TAG_MIDI_TRACK + track);
  };
  EXPECT_STREQ(name(0), "Words");
  EXPECT_STREQ(name(1), "");
  EXPECT_STREQ(name(2), "Bass \xE9");
  EXPECT_EQ(Error(), bass::BASS_OK);
  EXPECT_EQ(name(3), nullptr);
  EXPECT_NE(Error(), bass::BASS_OK);
  EXPECT_EQ(api.BASS_ChannelGetTags(stream, 0), nullptr);
}

TEST_F(PositionsTest, EventsAreListedInTheInterfacesNumbers) {
  const DWORD stream = Create(SongBuilder()
                                  .Control(0, 2, 0, 8)
                                  .Program(0, 2, 5)
                                  .Tempo(0, 400000)
                                  .Note(480, 96, 2, 60, 90, 1)
                                  .Pitch(500, 3, 0x1234, 1)
                                  .Control(600, 4, 123, 0, 1)
                                  .Control(610, 4, 20, 1, 1)  // no event of the interface
                                  .End(960));
  const auto count = [&](int track, DWORD filter) {
    return api.BASS_MIDI_StreamGetEvents(stream, track, filter, nullptr);
  };
  EXPECT_EQ(count(-1, 0), 7u);
  EXPECT_EQ(count(0, 0), 3u);
  EXPECT_EQ(count(1, 0), 4u);
  EXPECT_EQ(count(-1, bass::MIDI_EVENT_NOTE), 2u);
  EXPECT_EQ(count(0, bass::MIDI_EVENT_NOTE), 0u);
  EXPECT_EQ(Error(), bass::BASS_OK);
  EXPECT_EQ(count(2, 0), bass::kError32);
  EXPECT_NE(Error(), bass::BASS_OK);
  std::array<bass::BASS_MIDI_EVENT, 8> events{};
  events[7].event = 77;
  ASSERT_EQ(api.BASS_MIDI_StreamGetEvents(stream, -1, 0, events.data()), 7u);
  const auto expect = [&](int index, DWORD event, DWORD param, DWORD channel, DWORD tick) {
    EXPECT_EQ(events[index].event, event) << index;
    EXPECT_EQ(events[index].param, param) << index;
    EXPECT_EQ(events[index].chan, channel) << index;
    EXPECT_EQ(events[index].tick, tick) << index;
    EXPECT_EQ(events[index].pos, 0u) << index;
  };
  expect(0, bass::MIDI_EVENT_BANK, 8, 2, 0);
  expect(1, bass::MIDI_EVENT_PROGRAM, 5, 2, 0);
  expect(2, bass::MIDI_EVENT_TEMPO, 400000, 0, 0);
  EXPECT_EQ(events[3].param, 60u | 90u << 8);
  EXPECT_EQ(events[3].pos, 4 * 17640u);
  EXPECT_EQ(events[4].param, 0x1234u);
  EXPECT_EQ(events[5].param, 60u);  // released
  EXPECT_EQ(events[5].tick, 576u);
  EXPECT_EQ(events[6].event, bass::MIDI_EVENT_NOTESOFF);
  EXPECT_EQ(events[6].chan, 4u);
  EXPECT_EQ(events[7].event, 77u) << "written behind the last event";
}

}  // namespace
}  // namespace vexolo::engine::testing
