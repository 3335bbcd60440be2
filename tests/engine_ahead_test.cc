// layer: engine
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include <gmock/gmock.h>

#include "engine/ensemble.h"
#include "engine_fixture.h"

namespace vexolo::engine::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr DWORD kNote = bass::MIDI_EVENT_NOTE;
/// How far the sequencer is ahead at most, in frames.
constexpr std::size_t kFarthest = Ensemble::kWindow * Ensemble::kWindows;

/// Streams with an encoder, which are rendered ahead and by several threads.
class AheadTest : public EngineTest {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    UseTones();
  }
  void TearDown() override {
    SetRenderThreads(static_cast<int>(std::thread::hardware_concurrency()));
    EngineTest::TearDown();
  }

  DWORD Encode(DWORD stream) {
    const DWORD encoder = api.BASS_Encode_Start(stream, Path("out.wav").c_str(),
                                                bass::BASS_ENCODE_PCM, nullptr, nullptr);
    EXPECT_NE(encoder, 0u);
    return encoder;
  }

  /// A stream that is rendered ahead by `threads` threads; -1 = one without an encoder.
  DWORD CreateAhead(const SongBuilder& song, int threads, DWORD flags = kDecode | kDecay) {
    SetRenderThreads(std::max(threads, 0));
    const DWORD stream = Create(song, flags);
    if (threads >= 0) Encode(stream);
    return stream;
  }
};

/// All channels in disorder for four seconds and more: notes, controllers, wheels, programs,
/// tempos, a reset, a rest that is longer than a round of windows.
SongBuilder Disorder() {
  SongBuilder song(96);
  Random random(7);
  constexpr std::array<int, 9> kControllers = {1, 7, 10, 11, 64, 91, 93, 0, 5};
  for (std::uint32_t tick = 0; tick < 900; tick += 1 + random.Below(6)) {
    if (tick > 300 && tick < 500) continue;
    const int channel = static_cast<int>(random.Below(16));
    const int value = static_cast<int>(random.Below(128));
    song.Note(tick, 1 + random.Below(60), channel, 30 + value / 2, 1 + value / 2);
    song.Control(tick, channel, kControllers[random.Below(9)], value);
    if (tick % 7 == 0) song.Pitch(tick, channel, 128 * value);
    if (tick % 11 == 0) song.Program(tick, channel, value % 2);
    if (tick % 31 == 0) song.Tempo(tick, 300000 + 1000 * value);
    if (tick % 37 == 0) song.Control(tick, channel, 120 + value % 4, 0);
    if (tick % 41 == 0) song.Lyric(tick, "la");
  }
  return song.GsReset(600).End(920);
}

TEST_F(AheadTest, SoundsTheSameOnAnyNumberOfThreads) {
  const auto render = [&](int threads, std::size_t block) {
    const DWORD stream = CreateAhead(Disorder(), threads);
    Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_VOLUME, [this, stream](DWORD data) {
      Send(stream, data >> 16, bass::MIDI_EVENT_MIXLEVEL, 50 + (data & 0x7F));
      Send(stream, 0, bass::MIDI_EVENT_CHORUS_LEVEL, data & 0x7F);
      Send(stream, (data >> 16) % 9, bass::MIDI_EVENT_TRANSPOSE, 95 + data % 10);
    });
    Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_TEMPO,
         [this, stream](DWORD tempo) { Send(stream, 0, bass::MIDI_EVENT_TEMPO, tempo * 5 / 4); });
    Pcm sound = PullAll(stream, block);
    api.BASS_StreamFree(stream);
    return sound;
  };
  const Pcm expected = render(-1, 441);
  ASSERT_GT(FramesOf(expected), 44100u * 4);
  ASSERT_GT(RmsOf(Left(expected, 0, 88200)), 300);
  for (const int threads : {0, 1, 2, 3, 4, 16})
    EXPECT_EQ(render(threads, 256), expected) << threads;
  for (const std::size_t block : {1u, 333u, 44100u}) EXPECT_EQ(render(2, block), expected) << block;
}

TEST_F(AheadTest, ABankThatCanBeReadNoMoreIsAnErrorAndNoSilence) {
  const std::string path = Path("short.sf2");
  std::ofstream(path, std::ios::binary) << ToneBank(0.5);
  const DWORD font = api.BASS_MIDI_FontInit(path.c_str(), 0);
  const DWORD stream = CreateAhead(Disorder(), 2);
  ASSERT_TRUE(SetFont(stream, font));
  std::filesystem::resize_file(path, 100);  // the presets' samples are not read yet
  Pcm block(2 * 4410);
  EXPECT_EQ(api.BASS_ChannelGetData(stream, block.data(), 4 * 4410), bass::kError32);
  EXPECT_EQ(Error(), bass::BASS_ERROR_FILEOPEN);
}

TEST_F(AheadTest, PositionsTellWhatHasBeenDelivered) {
  const auto song = Disorder();
  const DWORD plain = CreateAhead(song, -1);
  const DWORD ahead = CreateAhead(song, 2);
  for (const DWORD stream : {plain, ahead}) {
    Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_TEMPO,
         [this, stream](DWORD tempo) { Send(stream, 0, bass::MIDI_EVENT_TEMPO, tempo * 5 / 4); });
  }
  for (int block = 0; block < 600; ++block) {
    Pull(plain, 256, 256);
    Pull(ahead, 256, 256);
    // The ratio may be another one by then: only the musical place is the same.
    ASSERT_EQ(Position(ahead, kTicks), Position(plain, kTicks)) << block;
    ASSERT_EQ(api.BASS_ChannelIsActive(ahead), api.BASS_ChannelIsActive(plain));
  }
}

TEST_F(AheadTest, BytesCountUpWithWhatIsDelivered) {
  const DWORD stream = CreateAhead(SongBuilder().Note(0, 900, 0, 60).End(1920), 2);
  QWORD delivered = 0;
  for (int block = 0; block < 800; ++block) {
    delivered += FramesOf(Pull(stream, 100, 100));
    ASSERT_EQ(Position(stream), 4 * delivered);
    ASSERT_EQ(api.BASS_ChannelIsActive(stream), bass::BASS_ACTIVE_PLAYING);
  }
  delivered += FramesOf(PullAll(stream));
  EXPECT_EQ(Position(stream), 4 * delivered) << "on through the decay";
  EXPECT_EQ(Position(stream, kTicks), 1920u);
  EXPECT_EQ(api.BASS_ChannelIsActive(stream), bass::BASS_ACTIVE_STOPPED);
}

TEST_F(AheadTest, SyncsComeAtTheirTimes) {
  const auto watch = [&](int threads) {
    const DWORD stream = CreateAhead(Disorder(), threads);
    std::vector<std::string> mixed;
    std::vector<std::string> heard;
    std::size_t block = 0;
    for (const DWORD event :
         {kNote, DWORD{bass::MIDI_EVENT_VOLUME}, DWORD{bass::MIDI_EVENT_TEMPO}}) {
      Sync(stream, kEventSync | kMix, event, [&, stream, event](DWORD data) {
        std::ostringstream text;
        text << event << ":" << data << "@" << Position(stream) << "/" << Position(stream, kTicks)
             << " " << Value(stream, data >> 16 & 15, bass::MIDI_EVENT_VOLUME);
        mixed.push_back(text.str());
      });
    }
    for (const DWORD type : {kEventSync, DWORD{bass::BASS_SYNC_MIDI_LYRIC}}) {
      Sync(stream, type, kNote, [&, stream, type](DWORD data) {
        std::ostringstream text;
        text << type << ":" << data << "@" << block << "/" << Position(stream, kTicks);
        heard.push_back(text.str());
      });
    }
    std::vector<std::size_t> ends;
    Sync(stream, bass::BASS_SYNC_END, 0, [&](DWORD) { ends.push_back(block); });
    while (!Pull(stream, 777, 777).empty()) ++block;
    api.BASS_StreamFree(stream);
    EXPECT_EQ(ends.size(), 1u);
    return std::tuple(mixed, heard, ends);
  };
  const auto plain = watch(-1);
  ASSERT_GT(std::get<0>(plain).size(), 200u);
  ASSERT_GT(std::get<1>(plain).size(), 100u);
  for (const int threads : {0, 1, 2}) EXPECT_EQ(watch(threads), plain) << threads;
}

TEST_F(AheadTest, PositionSyncsWaitForTheDelivery) {
  const auto song = SongBuilder().Note(0, 900, 0, 60).End(960);
  for (const std::size_t block : {1u, 64u, 1000u, 44100u}) {
    const DWORD stream = CreateAhead(song, 2);
    std::size_t filtered = 0;
    std::size_t before = 0;
    Dsp(stream, [&](std::span<std::int16_t> sound) { filtered += sound.size() / 2; });
    Sync(stream, bass::BASS_SYNC_POS, 12345 * 4, [&](DWORD) {
      before = filtered;
      Dsp(
          stream, [](std::span<std::int16_t> sound) { std::ranges::fill(sound, 7); }, -1);
    });
    const Pcm sound = Pull(stream, 22050, block);
    EXPECT_EQ(before, 12345 / block * block);
    std::size_t changed = sound.size();
    while (changed > 0 && sound[changed - 1] == 7) --changed;
    EXPECT_EQ(changed, 2 * 12345u) << block;
    api.BASS_StreamFree(stream);
  }
}

TEST_F(AheadTest, ADspAddedAheadBeginsAtItsFrame) {
  const auto song = SongBuilder().Note(0, 900, 0, 60).Control(480, 0, 7, 50).End(960);
  const DWORD stream = CreateAhead(song, 2);
  Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_VOLUME, [&](DWORD) {
    Dsp(stream, [](std::span<std::int16_t> sound) { std::ranges::fill(sound, 7); });
  });
  const Pcm sound = Pull(stream, 30000, 256);
  std::size_t changed = sound.size();
  while (changed > 0 && sound[changed - 1] == 7) --changed;
  EXPECT_EQ(changed, 2 * 22050u);
}

TEST_F(AheadTest, AStopAheadEndsTheDataAtItsPlace) {
  const auto song = SongBuilder().Note(0, 900, 0, 60).Control(480, 0, 7, 50).End(960);
  const DWORD stream = CreateAhead(song, 2);
  bool stopped = false;
  Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_VOLUME, [&](DWORD) {
    stopped = true;
    api.BASS_ChannelStop(stream);
  });
  std::size_t frames = 0;
  while (!stopped) frames += FramesOf(Pull(stream, 100, 100));
  EXPECT_LT(frames, 22050u) << "the sync comes ahead";
  EXPECT_EQ(api.BASS_ChannelIsActive(stream), bass::BASS_ACTIVE_PLAYING) << "data are left";
  frames += FramesOf(PullAll(stream));
  EXPECT_EQ(frames, 22050u);
  EXPECT_EQ(Position(stream), 4 * 22050u);
  EXPECT_EQ(api.BASS_ChannelIsActive(stream), bass::BASS_ACTIVE_STOPPED);
}

TEST_F(AheadTest, AStopFromOutsideEndsTheDataAtOnce) {
  const auto song = SongBuilder().Note(0, 900, 0, 60).End(960);
  const DWORD stream = CreateAhead(song, 2);
  const Pcm first = Pull(stream, 1000, 100);
  ASSERT_TRUE(api.BASS_ChannelStop(stream));
  EXPECT_EQ(api.BASS_ChannelIsActive(stream), bass::BASS_ACTIVE_STOPPED);
  EXPECT_THAT(Pull(stream, 100), IsEmpty());
  EXPECT_EQ(Position(stream), 4000u);
  ASSERT_TRUE(Seek(stream, 0));
  EXPECT_EQ(Pull(stream, 1000, 100), first);
}

TEST_F(AheadTest, SeeksAreAsExactAsWithoutRunningAhead) {
  const auto render = [&](int threads) {
    const DWORD stream = CreateAhead(Disorder(), threads);
    Pcm sound;
    Random random(11);
    for (int round = 0; round < 20; ++round) {
      EXPECT_TRUE(Seek(stream, random.Below(900), kTicks));
      const Pcm part = Pull(stream, 1 + random.Below(9000), 256);
      sound.insert(sound.end(), part.begin(), part.end());
      EXPECT_TRUE(Seek(stream, 4 * random.Below(80000)));
      sound.push_back(static_cast<std::int16_t>(Position(stream, kTicks)));
    }
    api.BASS_StreamFree(stream);
    return sound;
  };
  const Pcm expected = render(-1);
  ASSERT_GT(RmsOf(Left(expected, 0, FramesOf(expected))), 300);
  for (const int threads : {0, 1, 2, 4}) EXPECT_EQ(render(threads), expected) << threads;
}

TEST_F(AheadTest, WhatTheProgramSendsTakesEffectWhereTheSequencerIs) {
  SongBuilder song;
  song.Control(0, 0, 91, 0).Note(0, 1900, 0, 60).End(1920);
  const DWORD stream = CreateAhead(song, 2, kDecode);
  Pull(stream, 10000, 100);
  Send(stream, 0, bass::MIDI_EVENT_MIXLEVEL, 0);
  EXPECT_EQ(Value(stream, 0, bass::MIDI_EVENT_MIXLEVEL), 0u);
  EXPECT_EQ(Position(stream), 40000u);
  const Pcm rest = Pull(stream, 2 * kFarthest, 100);
  EXPECT_GT(RmsOf(Left(rest, 0, kFarthest / 2)), 300);
  EXPECT_EQ(RmsOf(Left(rest, kFarthest + 1000, 2 * kFarthest)), 0);
}

TEST_F(AheadTest, OnceTheEncoderIsGoneItTakesEffectAtOnce) {
  SongBuilder song;
  song.Control(0, 0, 91, 0).Note(0, 1900, 0, 60).End(1920);
  const DWORD stream = Create(song, kDecode);
  const DWORD encoder = Encode(stream);
  Pull(stream, 10000, 100);
  ASSERT_TRUE(api.BASS_Encode_Stop(encoder));
  Pull(stream, kFarthest, 100);  // what is left of running ahead
  Send(stream, 0, bass::MIDI_EVENT_MIXLEVEL, 0);
  const Pcm rest = Pull(stream, 4000, 100);
  EXPECT_GT(RmsOf(Left(rest, 0, 100)), 300);
  EXPECT_EQ(RmsOf(Left(rest, 700, 4000)), 0);
}

TEST_F(AheadTest, AnEncoderMayComeAndGo) {
  const auto song = Disorder();
  const DWORD plain = CreateAhead(song, -1);
  SetRenderThreads(3);
  const DWORD stream = Create(song, kDecode | kDecay);
  for (int round = 0; round < 12; ++round) {
    ASSERT_EQ(Pull(stream, 3000, 256), Pull(plain, 3000, 256)) << round;
    const DWORD encoder = Encode(stream);
    ASSERT_EQ(Pull(stream, 5000, 256), Pull(plain, 5000, 256)) << round;
    ASSERT_TRUE(api.BASS_Encode_Stop(encoder));
  }
}

TEST_F(AheadTest, AnotherBankCrossesOverTheSameOnAnyNumberOfThreads) {
  const DWORD other = LoadTones(0.25);
  const auto render = [&](int threads) {
    const DWORD stream = CreateAhead(Disorder(), threads);
    Pcm sound = Pull(stream, 20000, 256);
    EXPECT_TRUE(SetFont(stream, other));
    const Pcm rest = PullAll(stream);
    sound.insert(sound.end(), rest.begin(), rest.end());
    api.BASS_StreamFree(stream);
    return sound;
  };
  const Pcm expected = render(1);
  for (const int threads : {2, 4}) EXPECT_EQ(render(threads), expected) << threads;
}

TEST_F(AheadTest, ManyEventsAtOnePlaceDoNotPileUp) {
  SongBuilder song;
  song.Control(0, 0, 91, 0);
  for (int i = 0; i < 300000; ++i) song.Control(240, i % 16, 7 + i % 5, i % 128);
  song.Control(240, 0, 7, 100).Control(240, 0, 10, 64).Control(240, 0, 11, 127);
  song.Note(240, 480, 0, 60).End(960);
  const DWORD stream = CreateAhead(song, 2);
  const DWORD plain = CreateAhead(song, -1);
  const Pcm sound = PullAll(stream, 256);
  EXPECT_EQ(sound, PullAll(plain));
  EXPECT_NEAR(Hertz(sound, 12000, 20000), HertzOf(0, 0), 1);
}

TEST_F(AheadTest, OthersMaySendWhileItIsPulled) {
  SongBuilder song;
  song.Note(0, 9000, 0, 60).End(9600);
  const DWORD stream = CreateAhead(song, 2);
  std::atomic<bool> leave{false};
  std::atomic<int> wrong{0};
  std::vector<std::thread> senders;
  for (DWORD channel = 0; channel < 3; ++channel) {
    senders.emplace_back([&, channel] {
      Random random(channel);
      while (!leave.load()) {
        const DWORD value = random.Below(128);
        Send(stream, channel, bass::MIDI_EVENT_VOLUME, value);
        if (Value(stream, channel, bass::MIDI_EVENT_VOLUME) != value) ++wrong;
        Send(stream, channel, kNote, (40 + random.Below(40)) | random.Below(128) << 8);
        if (random.Below(10) == 0) Send(stream, channel, bass::MIDI_EVENT_TEMPO, 400000 + value);
        Position(stream);
        std::this_thread::yield();
      }
    });
  }
  QWORD last = 0;
  for (int block = 0; block < 2000; ++block) {
    Pull(stream, 100, 100);
    const QWORD tick = Position(stream, kTicks);
    EXPECT_GE(tick, last);
    last = tick;
  }
  leave.store(true);
  for (std::thread& sender : senders) sender.join();
  EXPECT_EQ(wrong.load(), 0);
  Send(stream, 0, bass::MIDI_EVENT_VOLUME, 77);
  EXPECT_EQ(Value(stream, 0, bass::MIDI_EVENT_VOLUME), 77u);
}

TEST_F(AheadTest, StreamsMayBeFreedAtAnyTime) {
  for (int round = 0; round < 40; ++round) {
    const DWORD stream = CreateAhead(Disorder(), 1 + round % 4);
    Pull(stream, 1 + 977u * static_cast<std::size_t>(round % 9), 256);
    EXPECT_TRUE(api.BASS_StreamFree(stream));
  }
}

}  // namespace
}  // namespace vexolo::engine::testing
