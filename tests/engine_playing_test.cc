// layer: engine
#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>
#include <thread>

#include <gmock/gmock.h>

#include "engine_fixture.h"
#include "support/heap_watch.h"

namespace vexolo::engine::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point begin) {
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

/// Ends the callbacks before what they refer to goes away.
struct FreeAtEnd {
  ~FreeAtEnd() { EngineApi().BASS_Free(); }
};

/// The clock of the silent output; a busy machine runs it in jumps, never fast.
class PlayingTest : public EngineTest {
 protected:
  explicit PlayingTest(int device = 0) : EngineTest(device) {}

  template <typename Condition>
  bool WaitFor(Condition condition, std::chrono::milliseconds limit = 5000ms) {
    const auto begin = Clock::now();
    while (!condition()) {
      if (Clock::now() - begin > limit) return false;
      std::this_thread::sleep_for(1ms);
    }
    return true;
  }

  bool Play(DWORD stream, bool restart = false) {
    return api.BASS_ChannelPlay(stream, restart ? 1 : 0) != 0;
  }
  bool Active(DWORD stream) {
    return api.BASS_ChannelIsActive(stream) == bass::BASS_ACTIVE_PLAYING;
  }
};

class DefaultDeviceTest : public PlayingTest {
 protected:
  DefaultDeviceTest() : PlayingTest(-1) {}
};

TEST_F(DefaultDeviceTest, PlaysWhetherThereIsADeviceOrNot) {
  const DWORD stream = Create(SongBuilder().End(960), 0);
  static_cast<void>(OutputIsSilent());
  ASSERT_TRUE(Play(stream));
  EXPECT_TRUE(WaitFor([&] { return Position(stream) > 4410 * 4; }));
}

TEST_F(PlayingTest, WithoutADeviceTheOutputSaysThatItIsSilent) {
  EXPECT_TRUE(OutputIsSilent());
  const DWORD stream = Create(SongBuilder().End(960), 0);
  ASSERT_TRUE(Play(stream));
  EXPECT_TRUE(OutputIsSilent());
}

TEST_F(PlayingTest, GoesOnAtThePaceOfTime) {
  const DWORD stream = Create(SongBuilder().End(9600), 0);
  EXPECT_FALSE(Active(stream));
  EXPECT_EQ(Position(stream), 0u);
  const auto begin = Clock::now();
  ASSERT_TRUE(Play(stream));
  EXPECT_TRUE(Active(stream));
  ASSERT_TRUE(WaitFor([&] { return Position(stream) > 0; }));
  QWORD last = 0;
  while (SecondsSince(begin) < 0.5) {
    const QWORD place = Position(stream);
    const double now = SecondsSince(begin);
    ASSERT_GE(place, last) << "the heard position ran back";
    ASSERT_LT(static_cast<double>(place) / 4 / 44100, now + 0.001) << "heard before its time";
    last = place;
  }
  EXPECT_GT(static_cast<double>(last) / 4 / 44100, LateBlocks() == 0 ? 0.45 : 0.1);
}

TEST_F(PlayingTest, HeardSyncsComeInOrderOnAnotherThreadAndNotTooEarly) {
  SongBuilder song;
  for (std::uint32_t tick = 0; tick < 480; tick += 24) song.Lyric(tick, "la").Note(tick, 5, 0, 60);
  const DWORD stream = Create(song.End(480), 0);
  std::vector<DWORD> marks;
  std::atomic<int> early = 0;
  std::atomic<int> notes = 0;
  std::atomic<bool> same_thread = false;
  std::atomic<bool> ended = false;
  const auto here = std::this_thread::get_id();
  Sync(stream, bass::BASS_SYNC_MIDI_LYRIC, 0, [&](DWORD index) {
    marks.push_back(index);
    bass::BASS_MIDI_MARK mark{};
    api.BASS_MIDI_StreamGetMark(stream, bass::BASS_MIDI_MARK_LYRIC, index, &mark);
    if (Position(stream) < mark.pos) ++early;
    if (std::this_thread::get_id() == here) same_thread = true;
  });
  Sync(stream, kEventSync, bass::MIDI_EVENT_NOTE, [&](DWORD) { ++notes; });
  Sync(stream, bass::BASS_SYNC_END, 0, [&](DWORD) { ended = true; });
  const FreeAtEnd free_at_end;
  ASSERT_TRUE(Play(stream));
  ASSERT_TRUE(WaitFor([&] { return ended.load(); }));
  EXPECT_EQ(marks.size(), 20u);
  EXPECT_TRUE(std::ranges::is_sorted(marks));
  EXPECT_EQ(notes, 40);
  EXPECT_EQ(early, 0);
  EXPECT_FALSE(same_thread);
}

TEST_F(PlayingTest, TheEndComesOnceAndTheSongCanBeStartedAgain) {
  const DWORD stream = Create(SongBuilder().Control(0, 0, 7, 90).End(96), 0);
  std::atomic<int> ends = 0;
  std::atomic<int> begins = 0;
  std::atomic<QWORD> end_place = 0;
  Sync(stream, bass::BASS_SYNC_END, 0, [&](DWORD) {
    end_place = Position(stream);
    ++ends;
  });
  Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_VOLUME, [&](DWORD) { ++begins; });
  const FreeAtEnd free_at_end;
  ASSERT_TRUE(Play(stream));
  ASSERT_TRUE(WaitFor([&] { return ends == 1; }));
  EXPECT_EQ(end_place, 4410u * 4) << "heard, and not only mixed";
  EXPECT_FALSE(Active(stream));
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(ends, 1);
  ASSERT_TRUE(Play(stream));  // from the beginning, as it had ended
  ASSERT_TRUE(WaitFor([&] { return ends == 2; }));
  EXPECT_EQ(begins, 2);
  ASSERT_TRUE(Play(stream, true));
  ASSERT_TRUE(WaitFor([&] { return ends == 3; }));
  EXPECT_EQ(begins, 3);
}

TEST_F(PlayingTest, AnOldEndIsForgotten) {
  const DWORD stream = Create(SongBuilder().End(1920), 0);
  ASSERT_TRUE(Seek(stream, 1900, kTicks));
  ASSERT_TRUE(Play(stream));
  ASSERT_TRUE(WaitFor([&] { return !Active(stream); }));
  ASSERT_TRUE(Play(stream));
  std::this_thread::sleep_for(50ms);
  EXPECT_TRUE(Active(stream));
  ASSERT_TRUE(Seek(stream, 1900, kTicks));
  ASSERT_TRUE(WaitFor([&] { return !Active(stream); }));
  ASSERT_TRUE(Seek(stream, 100, kTicks));
  EXPECT_FALSE(Active(stream)) << "a seek alone does not start it";
}

TEST_F(PlayingTest, RestartGoesToTheBeginning) {
  const DWORD stream = Create(SongBuilder().End(9600), 0);
  ASSERT_TRUE(Seek(stream, 4800, kTicks));
  ASSERT_TRUE(Play(stream));
  EXPECT_GE(Position(stream, kTicks), 4800u);
  ASSERT_TRUE(Play(stream, true));
  EXPECT_LT(Position(stream, kTicks), 2400u);
}

TEST_F(PlayingTest, AStopRaisesNoEndSyncAndKeepsThePlace) {
  const DWORD stream = Create(SongBuilder().Lyric(960, "la").End(9600), 0);
  std::atomic<int> calls = 0;
  Sync(stream, bass::BASS_SYNC_END, 0, [&](DWORD) { ++calls; });
  const FreeAtEnd free_at_end;
  ASSERT_TRUE(Play(stream));
  ASSERT_TRUE(WaitFor([&] { return Position(stream) > 2205 * 4; }));
  ASSERT_TRUE(api.BASS_ChannelStop(stream));
  EXPECT_FALSE(Active(stream));
  const QWORD place = Position(stream);
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(Position(stream), place);
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(api.BASS_ChannelGetLevel(stream), 0u);
  ASSERT_TRUE(Play(stream));
  EXPECT_GE(Position(stream), place);
  EXPECT_TRUE(WaitFor([&] { return Position(stream) > place; }));
}

TEST_F(PlayingTest, ASeekIsSeenAtOnce) {
  const DWORD stream = Create(SongBuilder().End(9600), 0);
  ASSERT_TRUE(Play(stream));
  for (const QWORD tick : {4800u, 100u, 9000u, 0u}) {
    ASSERT_TRUE(Seek(stream, tick, kTicks));
    const QWORD now = Position(stream, kTicks);
    EXPECT_GE(now, tick);
    EXPECT_LT(now, tick + 480);
    EXPECT_TRUE(WaitFor([&] { return Position(stream, kTicks) > tick; }));
  }
}

TEST_F(PlayingTest, ATempoIsSeenAtOnce) {
  const DWORD stream = Create(SongBuilder().End(9600), 0);
  ASSERT_TRUE(Play(stream));
  const QWORD length = Length(stream);
  ASSERT_TRUE(Send(stream, 0, bass::MIDI_EVENT_TEMPO, 1000000));
  EXPECT_EQ(Length(stream), 2 * length);
  ASSERT_TRUE(Send(stream, 0, bass::MIDI_EVENT_TEMPO, 250000));
  EXPECT_EQ(Length(stream), length / 2);
  EXPECT_EQ(Value(stream, 0, bass::MIDI_EVENT_TEMPO), 250000u);
}

TEST_F(PlayingTest, TheHeardPlaceOnlyMovesForwardWhileTheTempoIsResent) {
  SongBuilder song(96);
  for (std::uint32_t tick = 0; tick < 96 * 4; tick += 6) {
    song.Tempo(tick, 300000 + static_cast<int>(tick * 37 % 200000));
  }
  const DWORD stream = Create(song, 0);
  Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_TEMPO,
       [&](DWORD tempo) { Send(stream, 0, bass::MIDI_EVENT_TEMPO, tempo / 2); });
  Send(stream, 0, bass::MIDI_EVENT_TEMPO, Value(stream, 0, bass::MIDI_EVENT_TEMPO) / 2);
  const QWORD length = Length(stream);
  const FreeAtEnd free_at_end;
  ASSERT_TRUE(Play(stream));
  QWORD last = 0;
  QWORD last_tick = 0;
  while (Active(stream)) {
    ASSERT_EQ(Length(stream), length);
    const QWORD place = Position(stream);
    const QWORD tick = Position(stream, kTicks);
    ASSERT_GE(place, last);
    ASSERT_GE(tick, last_tick);
    last = place;
    last_tick = tick;
  }
  EXPECT_GT(last, length / 2);
}

TEST_F(PlayingTest, ValuesCanBeSentAfterTheOutputHasGoneToSleep) {
  const DWORD ended = Create(SongBuilder().End(48), 0);
  const DWORD stopped = Create(SongBuilder().End(9600), 0);
  Sync(stopped, bass::BASS_SYNC_POS, 2000 * 4, [&](DWORD) { api.BASS_ChannelStop(stopped); });
  const FreeAtEnd free_at_end;
  ASSERT_TRUE(Play(ended));
  ASSERT_TRUE(Play(stopped));
  ASSERT_TRUE(WaitFor([&] { return !Active(ended) && !Active(stopped); }));
  std::this_thread::sleep_for(1300ms);  // longer than the output stays awake
  std::atomic<bool> returned = false;
  std::thread sender([&] {
    for (const DWORD stream : {ended, stopped}) {
      Send(stream, 0, bass::MIDI_EVENT_TEMPO, 400000);
      for (DWORD i = 0; i < 5000; ++i) Send(stream, 0, bass::MIDI_EVENT_VOLUME, i % 128);
    }
    returned = true;
  });
  ASSERT_TRUE(WaitFor([&] { return returned.load(); })) << "waits for an output that sleeps";
  sender.join();
  EXPECT_EQ(Length(stopped), 352800u * 4);
  EXPECT_EQ(Value(stopped, 0, bass::MIDI_EVENT_VOLUME), 4999u % 128);
  ASSERT_TRUE(Play(stopped));
  EXPECT_TRUE(WaitFor([&] { return Position(stopped) > 5000 * 4; }));
}

TEST_F(PlayingTest, AStopAtAPositionPlaysOutWhatWasMixed) {
  const DWORD stream = Create(SongBuilder().Lyric(45, "la").Lyric(48, "lala").End(9600), 0);
  std::atomic<int> ends = 0;
  std::atomic<int> stops = 0;
  std::vector<DWORD> marks;
  std::mutex mutex;
  Sync(stream, bass::BASS_SYNC_END, 0, [&](DWORD) { ++ends; });
  Sync(stream, bass::BASS_SYNC_MIDI_LYRIC, 0, [&](DWORD index) {
    const std::lock_guard lock(mutex);
    marks.push_back(index);
  });
  Sync(stream, bass::BASS_SYNC_POS, 2204 * 4, [&](DWORD) {  // a frame before the second mark
    api.BASS_ChannelStop(stream);
    ++stops;
  });
  const FreeAtEnd free_at_end;
  ASSERT_TRUE(Play(stream));
  ASSERT_TRUE(WaitFor([&] { return stops == 1; }));
  EXPECT_FALSE(Active(stream));
  ASSERT_TRUE(WaitFor([&] { return Position(stream) == 2204 * 4; }));
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(Position(stream), 2204u * 4);
  EXPECT_EQ(ends, 0);
  const std::lock_guard lock(mutex);
  EXPECT_THAT(marks, ElementsAre(0u)) << "what was mixed before the stop is heard";
}

TEST_F(PlayingTest, TheLevelIsThatOfWhatIsHeard) {
  UseTones();
  const DWORD stream = Create(SongBuilder().Press(0, 0, 60, 127).End(9600), 0);
  EXPECT_EQ(api.BASS_ChannelGetLevel(stream), 0u);
  ASSERT_TRUE(Play(stream));
  ASSERT_TRUE(WaitFor([&] { return api.BASS_ChannelGetLevel(stream) > 0; }));
  const DWORD level = api.BASS_ChannelGetLevel(stream);
  EXPECT_GT(level & 0xFFFF, 0u);
  EXPECT_GT(level >> 16, 0u);
  EXPECT_LE(level & 0xFFFF, 32768u);
  EXPECT_LE(level >> 16, 32768u);
}

TEST_F(PlayingTest, FreeingWaitsForTheCallbacks) {
  for (const DWORD mix : {kMix, 0u}) {
    const DWORD stream = Create(SongBuilder().Lyric(24, "la").End(9600), 0);
    std::atomic<bool> inside = false;
    std::atomic<bool> left = false;
    Sync(stream, bass::BASS_SYNC_MIDI_LYRIC | mix, 0, [&](DWORD) {
      inside = true;
      std::this_thread::sleep_for(100ms);
      left = true;
    });
    ASSERT_TRUE(Play(stream));
    ASSERT_TRUE(WaitFor([&] { return inside.load(); }));
    ASSERT_TRUE(api.BASS_StreamFree(stream));
    EXPECT_TRUE(left) << "freed while a callback was running";
    EXPECT_EQ(Position(stream), bass::kError64);
  }
}

TEST_F(PlayingTest, CallbacksMayNotFree) {
  const DWORD stream =
      Create(SongBuilder().Control(24, 0, 7, 1).Lyric(24, "la").Lyric(48, "la").End(9600), 0);
  std::atomic<int> refused = 0;
  std::atomic<int> calls = 0;
  const auto try_it = [&](DWORD) {
    if (!api.BASS_StreamFree(stream) && Error() == bass::BASS_ERROR_NOTAVAIL) ++refused;
    if (!api.BASS_Free() && Error() == bass::BASS_ERROR_NOTAVAIL) ++refused;
    ++calls;
  };
  Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_VOLUME, try_it);
  Sync(stream, bass::BASS_SYNC_MIDI_LYRIC, 0, try_it);
  const FreeAtEnd free_at_end;
  ASSERT_TRUE(Play(stream));
  ASSERT_TRUE(WaitFor([&] { return calls == 3; }));
  EXPECT_EQ(refused, 6);
}

TEST_F(PlayingTest, AMixTimeCallbackLeavesOtherPlayingStreamsAlone) {
  const DWORD other = Create(SongBuilder().End(9600), 0);
  const DWORD stream = Create(SongBuilder().Control(24, 0, 7, 1).End(9600), 0);
  const FreeAtEnd free_at_end;
  ASSERT_TRUE(Play(other));
  std::atomic<int> refused = 0;
  std::atomic<bool> done = false;
  Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_VOLUME, [&](DWORD) {
    const auto expect = [&](bool worked) { refused += !worked && Error() == 37 ? 1 : 0; };
    expect(api.BASS_ChannelStop(other) != 0);
    expect(Seek(other, 0));
    expect(Play(other));
    expect(Send(other, 0, 12, 1));
    expect(api.BASS_StreamFree(other) != 0);
    done = true;
  });
  ASSERT_TRUE(Play(stream));
  ASSERT_TRUE(WaitFor([&] { return done.load(); })) << "waits for itself";
  EXPECT_EQ(refused, 5);
  EXPECT_TRUE(Active(other));
}

TEST_F(PlayingTest, AHeardSyncMayStop) {
  const DWORD stream = Create(SongBuilder().Lyric(24, "a").Lyric(25, "b").End(9600), 0);
  std::atomic<int> calls = 0;
  Sync(stream, bass::BASS_SYNC_MIDI_LYRIC, 0, [&](DWORD) {
    EXPECT_TRUE(api.BASS_ChannelStop(stream));
    ++calls;
  });
  const FreeAtEnd free_at_end;
  ASSERT_TRUE(Play(stream));
  ASSERT_TRUE(WaitFor([&] { return calls > 0; }));
  EXPECT_FALSE(Active(stream));
  std::this_thread::sleep_for(60ms);
  EXPECT_EQ(calls, 1) << "a sync that came after the stop";
}

TEST_F(PlayingTest, FreeStopsEverything) {
  std::atomic<int> calls = 0;
  const FreeAtEnd free_at_end;
  for (int i = 0; i < 3; ++i) {
    const DWORD stream = Create(SongBuilder().End(9600), 0);
    Dsp(stream, [&](auto) { ++calls; });
    ASSERT_TRUE(Play(stream));
  }
  ASSERT_TRUE(WaitFor([&] { return calls > 6; }));
  ASSERT_TRUE(api.BASS_Free());
  const int then = calls;
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(calls, then);
  ASSERT_TRUE(api.BASS_Init(0, 44100, 0, nullptr, nullptr));
  const DWORD stream = Create(SongBuilder().End(9600), 0);
  ASSERT_TRUE(Play(stream));
  EXPECT_TRUE(WaitFor([&] { return Position(stream) > 0; })) << "the next life does not play";
  EXPECT_LT(Position(stream), 44100u * 4 * 3);
}

TEST_F(PlayingTest, ABankIsReplacedWhilePlaying) {
  UseTones();
  const DWORD stream = Create(SongBuilder().Control(0, 0, 91, 0).Press(0, 0, 60, 100).End(9600), 0);
  std::mutex mutex;
  Pcm heard;
  heard.reserve(44100 * 20);
  Dsp(stream, [&](std::span<std::int16_t> sound) {
    const std::lock_guard lock(mutex);
    heard.insert(heard.end(), sound.begin(), sound.end());
  });
  const auto frames = [&] {
    const std::lock_guard lock(mutex);
    return FramesOf(heard);
  };
  const FreeAtEnd free_at_end;
  ASSERT_TRUE(Play(stream));
  ASSERT_TRUE(WaitFor([&] { return frames() > 8820; }));
  ASSERT_TRUE(SetFont(stream, LoadTones(0.2)));
  const std::size_t changed = frames();
  ASSERT_TRUE(WaitFor([&] { return frames() > changed + 13230; }));
  api.BASS_ChannelStop(stream);
  const double loud = RmsOf(Left(heard, 4410, 8820));
  const double soft = RmsOf(Left(heard, changed + 8820, changed + 13230));
  EXPECT_NEAR(soft / loud, 0.4, 0.02);
  for (std::size_t at = 4410; at + 441 <= changed + 13230; at += 441) {
    ASSERT_GT(RmsOf(Left(heard, at, at + 441)), 0.25 * soft) << "a gap at frame " << at;
  }
}

TEST_F(PlayingTest, TheMixingThreadTakesNothingFromTheHeap) {
  if (!HeapWatch::IsAvailable()) GTEST_SKIP() << "the sanitizer has its own heap";
  UseTones();
  SongBuilder song(96);
  for (std::uint32_t tick = 0; tick < 400; ++tick) {
    const int channel = static_cast<int>(tick % 16);
    song.Note(tick, 20, channel, 40 + channel)
        .Control(tick, channel, 7, static_cast<int>(tick % 128));
    song.Lyric(tick, "la");
    if (tick % 20 == 0) song.Tempo(tick, 400000 + static_cast<int>(tick)).Program(tick, channel, 1);
  }
  const DWORD stream = Create(song.GmReset(200).End(400), kDecay);
  std::optional<HeapWatch> watch;
  std::atomic<std::size_t> allocations = 0;
  std::atomic<int> blocks = 0;
  std::atomic<int> syncs = 0;
  Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_TEMPO, [&](DWORD tempo) {
    Send(stream, 0, bass::MIDI_EVENT_TEMPO, tempo / 2);
    static_cast<void>(Position(stream));
  });
  Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_VOLUME, [&](DWORD data) {
    ++syncs;
    Send(stream, data >> 16, bass::MIDI_EVENT_VOLUME, 90);
    Send(stream, data >> 16, bass::MIDI_EVENT_MIXLEVEL, 80 + data % 30);
    if (syncs == 300) Sync(stream, bass::BASS_SYNC_POS, 4, [](DWORD) {});
  });
  Sync(stream, bass::BASS_SYNC_MIDI_LYRIC, 0, [](DWORD) {});
  Sync(stream, kEventSync, bass::MIDI_EVENT_NOTE, [](DWORD) {});
  Dsp(stream, [&](auto) {
    if (++blocks == 1) watch.emplace();
    allocations = watch->count();
  });
  const FreeAtEnd free_at_end;
  ASSERT_TRUE(Play(stream));
  for (DWORD i = 0; i < 200 && Active(stream); ++i) {
    Send(stream, i % 16, bass::MIDI_EVENT_PAN, i % 128);
    if (i % 50 == 25) SetFont(stream, LoadTones(0.3));
    std::this_thread::sleep_for(2ms);
  }
  ASSERT_TRUE(WaitFor([&] { return !Active(stream); }));
  EXPECT_GT(blocks, 50);
  EXPECT_EQ(syncs, 416);
  EXPECT_EQ(allocations, 0u);
}

TEST_F(PlayingTest, ManyThreadsMayCallAnything) {
  UseTones();
  const DWORD fonts[] = {LoadTones(0.3), LoadTones(0.4)};
  SongBuilder song(96);
  for (std::uint32_t tick = 0; tick < 9600; tick += 3) {
    song.Note(tick, 8, static_cast<int>(tick % 16), 50 + static_cast<int>(tick % 30), 30);
    if (tick % 30 == 0) song.Lyric(tick, "la").Tempo(tick, 400000 + static_cast<int>(tick));
    if (tick % 45 == 0) song.Control(tick, static_cast<int>(tick % 16), 7, 80);
  }
  const std::vector<DWORD> streams = {Create(song, kDecay), Create(song, 0), Create(song, kDecode),
                                      Create(song, kDecode | kDecay)};
  std::atomic<int> calls = 0;
  for (const DWORD stream : streams) {
    Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_TEMPO,
         [&, stream](DWORD tempo) { Send(stream, 0, bass::MIDI_EVENT_TEMPO, tempo * 3 / 4); });
    Sync(stream, bass::BASS_SYNC_MIDI_LYRIC, 0, [&, stream](DWORD) {
      Send(stream, 0, bass::MIDI_EVENT_PAN, static_cast<DWORD>(Position(stream, kTicks)) % 128);
    });
    Sync(stream, bass::BASS_SYNC_END, 0, [&](DWORD) { ++calls; });
  }
  const auto act = [&](unsigned seed) {
    Random random(seed);
    Pcm sound(2 * 4096);
    const auto begin = Clock::now();
    for (int i = 0; i < 200 || SecondsSince(begin) < 1.5; ++i) {
      const DWORD stream = streams[random.Below(4)];
      switch (random.Below(14)) {
        case 0:
          Play(stream, random.Below(2) != 0);
          break;
        case 1:
          if (random.Below(4) == 0) api.BASS_ChannelStop(stream);
          break;
        case 2:
          Seek(stream, random.Below(9600), kTicks);
          break;
        case 3:
          Seek(stream, 4 * random.Below(44100), kBytes);
          break;
        case 4:
          Send(stream, random.Below(16), bass::MIDI_EVENT_TEMPO, 300000 + random.Below(300000));
          break;
        case 5:
          SetFont(stream, fonts[random.Below(2)]);
          break;
        case 6:
          api.BASS_MIDI_FontSetVolume(fonts[random.Below(2)], 0.5F);
          break;
        case 7: {
          const QWORD length = Length(stream);
          const QWORD ticks = Position(stream, kTicks);
          EXPECT_NE(length, bass::kError64);
          EXPECT_LE(ticks, 9608u);
          break;
        }
        case 8:
          Value(stream, random.Below(16), bass::MIDI_EVENT_VOLUME);
          api.BASS_ChannelGetLevel(stream);
          break;
        case 9: {
          bass::BASS_MIDI_MARK mark{};
          EXPECT_TRUE(api.BASS_MIDI_StreamGetMark(stream, bass::BASS_MIDI_MARK_LYRIC,
                                                  random.Below(320), &mark));
          break;
        }
        case 10:
          api.BASS_ChannelIsActive(stream);
          Position(stream);
          break;
        case 11: {
          const DWORD other = Create(song, random.Below(2) != 0 ? kDecode : 0);
          if (random.Below(2) != 0) Play(other);
          api.BASS_StreamFree(other);
          break;
        }
        case 12:
          Send(stream, random.Below(16), bass::MIDI_EVENT_MIXLEVEL, random.Below(200));
          Send(stream, random.Below(16), 32 + random.Below(11), random.Below(200));
          break;
        default:
          api.BASS_ChannelGetData(stream, sound.data(), 4 * random.Below(4096));
          break;
      }
    }
  };
  const FreeAtEnd free_at_end;
  std::vector<std::thread> threads;
  for (unsigned seed = 0; seed < 4; ++seed) threads.emplace_back(act, seed);
  for (std::thread& thread : threads) thread.join();
  for (const DWORD stream : streams) {
    EXPECT_TRUE(Seek(stream, 0)) << "a stream does not answer any more";
    EXPECT_EQ(Position(stream, kTicks) / 100, 0u);
  }
}

}  // namespace
}  // namespace vexolo::engine::testing
