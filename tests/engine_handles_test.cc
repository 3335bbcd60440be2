// layer: engine
#include <array>
#include <random>
#include <thread>

#include <gmock/gmock.h>

#include "engine_fixture.h"

namespace vexolo::engine::testing {
namespace {

class HandlesTest : public EngineTest {
 protected:
  /// Calls every function that takes a handle and expects error 5.
  void ExpectNoHandle(DWORD handle) {
    SCOPED_TRACE(handle);
    std::array<char, 64> buffer{};
    bass::BASS_MIDI_MARK mark{};
    bass::BASS_MIDI_FONT font{handle, -1, 0};
    bass::BASS_MIDI_FONTINFO info{};
    const auto sync = [](DWORD, DWORD, DWORD, void*) {};
    const auto dsp = [](DWORD, DWORD, void*, DWORD, void*) {};
    const auto expect5 = [&](bool failed, const char* name) {
      EXPECT_TRUE(failed) << name;
      EXPECT_EQ(Error(), bass::BASS_ERROR_HANDLE) << name;
      api.BASS_GetVersion();
    };
    expect5(!api.BASS_ChannelPlay(handle, 0), "Play");
    expect5(!api.BASS_ChannelStop(handle), "Stop");
    expect5(api.BASS_ChannelIsActive(handle) == 0, "IsActive");
    expect5(Length(handle) == bass::kError64, "GetLength");
    expect5(Length(handle, kTicks) == bass::kError64, "GetLength");
    expect5(Position(handle) == bass::kError64, "GetPosition");
    expect5(Position(handle, kTicks) == bass::kError64, "GetPosition");
    expect5(!Seek(handle, 0), "SetPosition");
    expect5(api.BASS_ChannelSeconds2Bytes(handle, 1) == bass::kError64, "Seconds2Bytes");
    expect5(api.BASS_ChannelBytes2Seconds(handle, 4) < 0, "Bytes2Seconds");
    expect5(api.BASS_ChannelGetLevel(handle) == bass::kError32, "GetLevel");
    expect5(api.BASS_ChannelGetData(handle, buffer.data(), 64) == bass::kError32, "GetData");
    expect5(api.BASS_ChannelSetSync(handle, 2, 0, sync, nullptr) == 0, "SetSync");
    expect5(api.BASS_ChannelSetDSP(handle, dsp, nullptr, 0) == 0, "SetDSP");
    expect5(api.BASS_ChannelGetTags(handle, bass::BASS_TAG_MIDI_TRACK) == nullptr, "GetTags");
    expect5(!api.BASS_StreamFree(handle), "StreamFree");
    expect5(!api.BASS_MIDI_StreamGetMark(handle, 2, 0, &mark), "GetMark");
    expect5(api.BASS_MIDI_StreamGetEvents(handle, -1, 0, nullptr) == bass::kError32, "GetEvents");
    expect5(!Send(handle, 0, 12, 1), "Event");
    expect5(Value(handle, 0, 12) == bass::kError32, "GetEvent");
    expect5(!api.BASS_MIDI_FontFree(handle), "FontFree");
    expect5(!api.BASS_MIDI_FontGetInfo(handle, &info), "FontGetInfo");
    expect5(api.BASS_MIDI_FontGetPreset(handle, 0, 0) == nullptr, "FontGetPreset");
    expect5(!api.BASS_MIDI_FontSetVolume(handle, 1), "FontSetVolume");
    expect5(api.BASS_Encode_Start(handle, "x", bass::BASS_ENCODE_PCM, nullptr, nullptr) == 0,
            "Encode_Start");
    expect5(api.BASS_Encode_IsActive(handle) == 0, "Encode_IsActive");
    expect5(!api.BASS_Encode_Stop(handle), "Encode_Stop");
    if (handle == 0) return;  // here 0 means: for new streams, no font, all plug-ins
    expect5(!api.BASS_PluginFree(handle), "PluginFree");
    expect5(!api.BASS_MIDI_StreamSetFonts(handle, nullptr, 0), "SetFonts");
    expect5(!api.BASS_MIDI_StreamSetFonts(0, &font, 1), "SetFonts");
    expect5(api.BASS_MIDI_StreamGetFonts(handle, &font, 1) == bass::kError32, "GetFonts");
  }
};

TEST_F(HandlesTest, AnyNumberIsTakenAndAWrongOneFailsWith5) {
  const DWORD stream = Create(SongBuilder().End(960));
  Random random(1);
  for (const DWORD handle : {0u, 1u, 2u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu, stream + 1000}) {
    ExpectNoHandle(handle);
  }
  for (int i = 0; i < 500; ++i) {
    const DWORD handle = random.Below(0xFFFFFFFF);
    if (handle - 0x80000000u > 10000) ExpectNoHandle(handle);
  }
  EXPECT_EQ(Position(stream), 0u);
  EXPECT_EQ(FramesOf(PullAll(stream)), 44100u) << "a wrong handle did something";
}

TEST_F(HandlesTest, OneKindDoesNotStandForAnother) {
  UseTones();
  const DWORD font = LoadTones();
  const DWORD stream = Create(SongBuilder().End(960));
  bass::BASS_MIDI_FONTINFO info{};
  EXPECT_FALSE(api.BASS_MIDI_FontGetInfo(stream, &info));
  EXPECT_EQ(Error(), bass::BASS_ERROR_HANDLE);
  EXPECT_EQ(Position(font), bass::kError64);
  EXPECT_EQ(Error(), bass::BASS_ERROR_HANDLE);
  EXPECT_FALSE(api.BASS_StreamFree(font));
  EXPECT_FALSE(api.BASS_MIDI_FontFree(stream));
}

TEST_F(HandlesTest, FreedHandlesAreWrongOnes) {
  const DWORD font = LoadTones();
  const DWORD stream = Create(SongBuilder().End(960));
  const std::string path = Path("a.wav");
  const DWORD encoder = api.BASS_Encode_Start(stream, path.c_str(), 0x40, nullptr, nullptr);
  ASSERT_NE(encoder, 0u);
  EXPECT_TRUE(api.BASS_Encode_Stop(encoder));
  EXPECT_TRUE(api.BASS_MIDI_FontFree(font));
  EXPECT_TRUE(api.BASS_StreamFree(stream));
  for (const DWORD handle : {font, stream, encoder}) ExpectNoHandle(handle);
}

TEST_F(HandlesTest, AfterFreeEverythingIsGone) {
  const DWORD font = LoadTones();
  const DWORD stream = Create(SongBuilder().End(960));
  ASSERT_TRUE(api.BASS_Free());
  for (const DWORD handle : {font, stream}) ExpectNoHandle(handle);
}

TEST_F(HandlesTest, InitComesFirstAndOnce) {
  EXPECT_FALSE(api.BASS_Init(0, 44100, 0, nullptr, nullptr));
  EXPECT_EQ(Error(), bass::BASS_ERROR_ALREADY);
  ASSERT_TRUE(api.BASS_Free());
  EXPECT_EQ(Error(), bass::BASS_OK);
  EXPECT_FALSE(api.BASS_Free());
  EXPECT_EQ(Error(), bass::BASS_ERROR_INIT);
  const std::string song = SongBuilder().End(960).Song();
  EXPECT_EQ(api.BASS_MIDI_StreamCreateFile(1, song.data(), 0, song.size(), 0, 44100), 0u);
  EXPECT_EQ(Error(), bass::BASS_ERROR_INIT);
  EXPECT_EQ(api.BASS_MIDI_StreamCreateFile(0, "no such file", 0, 0, 0, 44100), 0u);
  EXPECT_EQ(Error(), bass::BASS_ERROR_INIT);
  EXPECT_EQ(api.BASS_MIDI_FontInit(VEXOLO_TEST_BANK, 0), 0u);
  EXPECT_EQ(Error(), bass::BASS_ERROR_INIT);
  ASSERT_TRUE(api.BASS_Init(0, 44100, 0, nullptr, nullptr));
  EXPECT_NE(api.BASS_MIDI_StreamCreateFile(1, song.data(), 0, song.size(), 0, 44100), 0u);
}

TEST_F(HandlesTest, TwoThreadsMayFreeAtOnce) {
  for (int round = 0; round < 20; ++round) {
    std::atomic<int> freed = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
      threads.emplace_back([&] { freed += api.BASS_Free(); });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(freed, 1);
    ASSERT_TRUE(api.BASS_Init(0, 44100, 0, nullptr, nullptr));
  }
}

TEST_F(HandlesTest, VersionAndPlugins) {
  EXPECT_EQ(api.BASS_GetVersion() >> 16, 0x0204u);
  EXPECT_TRUE(api.BASS_PluginFree(0));
}

TEST_F(HandlesTest, SongsThatAreNone) {
  const auto create = [&](const std::string& bytes) {
    return api.BASS_MIDI_StreamCreateFile(1, bytes.data(), 0, bytes.size(), 0, 44100);
  };
  EXPECT_EQ(create("this is no song"), 0u);
  EXPECT_EQ(Error(), bass::BASS_ERROR_FILEFORM);
  EXPECT_EQ(create(SongBuilder().Song().substr(0, 14)), 0u);  // no track
  EXPECT_EQ(Error(), bass::BASS_ERROR_FILEFORM);
  const std::string path = Path("song.mid");
  EXPECT_EQ(api.BASS_MIDI_StreamCreateFile(0, path.c_str(), 0, 0, bass::BASS_UNICODE, 44100), 0u);
  EXPECT_EQ(Error(), bass::BASS_ERROR_FILEOPEN);
  EXPECT_EQ(api.BASS_MIDI_StreamCreateFile(0, ::testing::TempDir().c_str(), 0, 0, 0, 44100), 0u);
  EXPECT_EQ(Error(), bass::BASS_ERROR_FILEOPEN) << "a folder";
  std::ofstream(path, std::ios::binary) << "no song either";
  EXPECT_EQ(api.BASS_MIDI_StreamCreateFile(0, path.c_str(), 0, 0, 0, 44100), 0u);
  EXPECT_EQ(Error(), bass::BASS_ERROR_FILEFORM);
}

TEST_F(HandlesTest, SongsFromFilesAndFromTheirMiddle) {
  const std::string song = SongBuilder().End(960).Song();
  const std::string path = Path("chanson d'\xC3\xA9t\xC3\xA9.mid");
  std::ofstream(path, std::ios::binary) << "12345" << song << "behind it";
  const DWORD stream = api.BASS_MIDI_StreamCreateFile(0, path.c_str(), 5, song.size(),
                                                      bass::BASS_UNICODE | kDecode, 44100);
  ASSERT_NE(stream, 0u);
  EXPECT_EQ(Error(), bass::BASS_OK);
  EXPECT_EQ(Length(stream, kTicks), 960u);
  const std::string padded = "12345" + song;
  EXPECT_NE(api.BASS_MIDI_StreamCreateFile(1, padded.data(), 5, song.size(), 0, 44100), 0u);
}

TEST_F(HandlesTest, FontsThatAreNone) {
  EXPECT_EQ(api.BASS_MIDI_FontInit("/no such folder/bank.sf2", 0), 0u);
  EXPECT_EQ(Error(), bass::BASS_ERROR_FILEOPEN);
  const std::string path = Path("bank.sf2");
  std::ofstream(path, std::ios::binary) << ToneBank().substr(0, 2000);
  EXPECT_EQ(api.BASS_MIDI_FontInit(path.c_str(), 0), 0u);
  EXPECT_EQ(Error(), bass::BASS_ERROR_FILEFORM);
}

TEST_F(HandlesTest, WhatAFontSaysOfItself) {
  const DWORD font = LoadTones();
  bass::BASS_MIDI_FONTINFO info{};
  ASSERT_TRUE(api.BASS_MIDI_FontGetInfo(font, &info));
  EXPECT_STREQ(info.name, "Small");
  EXPECT_STREQ(info.copyright, "Nobody");
  EXPECT_STREQ(info.comment, "One wave");
  EXPECT_EQ(info.presets, 6u);
  EXPECT_EQ(info.samsize, 6u * (400 + 16 + 46) * 2);
  EXPECT_EQ(info.samtype, 0u);
  EXPECT_STREQ(api.BASS_MIDI_FontGetPreset(font, 1, 8), "Tone3");
  EXPECT_STREQ(api.BASS_MIDI_FontGetPreset(font, 8, 128), "Tone5");
  EXPECT_EQ(api.BASS_MIDI_FontGetPreset(font, 2, 0), nullptr);
  EXPECT_NE(Error(), bass::BASS_OK);
  EXPECT_EQ(api.BASS_MIDI_FontGetPreset(font, -1, 100000), nullptr);
}

TEST_F(HandlesTest, FontListsOfStreams) {
  const DWORD font = LoadTones();
  const DWORD other = LoadTones();
  bass::BASS_MIDI_FONT list{};
  EXPECT_EQ(api.BASS_MIDI_StreamGetFonts(0, &list, 1), 0u);
  ASSERT_TRUE(SetFont(0, font));
  EXPECT_EQ(api.BASS_MIDI_StreamGetFonts(0, &list, 1), 1u);
  EXPECT_EQ(list.font, font);
  const DWORD stream = Create(SongBuilder().End(960));
  ASSERT_TRUE(SetFont(0, other));
  EXPECT_EQ(api.BASS_MIDI_StreamGetFonts(stream, &list, 1), 1u);
  EXPECT_EQ(list.font, font);
  EXPECT_EQ(list.preset, -1);
  EXPECT_EQ(list.bank, 0);
  ASSERT_TRUE(SetFont(stream, other));
  EXPECT_EQ(api.BASS_MIDI_StreamGetFonts(stream, &list, 1), 1u);
  EXPECT_EQ(list.font, other);
  EXPECT_FALSE(SetFont(stream, 12345));
  EXPECT_EQ(api.BASS_MIDI_StreamGetFonts(stream, &list, 1), 1u);
  EXPECT_EQ(list.font, other) << "a font that failed took the old one's place";
}

TEST_F(HandlesTest, FontsForSinglePresetsAreRefusedAndLeaveTheListAlone) {
  const DWORD stream = Create(SongBuilder().Note(0, 960, 0, 60).End(960));
  const DWORD font = LoadTones();
  ASSERT_TRUE(SetFont(stream, font));
  const std::array<bass::BASS_MIDI_FONT, 2> two = {{{font, -1, 0}, {font, -1, 0}}};
  EXPECT_FALSE(api.BASS_MIDI_StreamSetFonts(stream, two.data(), 2));
  EXPECT_EQ(Error(), bass::BASS_ERROR_NOTAVAIL);
  for (const bass::BASS_MIDI_FONT entry : {bass::BASS_MIDI_FONT{font, 5, 0}, {font, -1, 1}}) {
    EXPECT_FALSE(api.BASS_MIDI_StreamSetFonts(stream, &entry, 1));
    EXPECT_EQ(Error(), bass::BASS_ERROR_NOTAVAIL);
  }
  EXPECT_FALSE(api.BASS_MIDI_StreamSetFonts(stream, nullptr, 1));
  EXPECT_EQ(Error(), bass::BASS_ERROR_ILLPARAM);
  EXPECT_GT(RmsOf(Left(Pull(stream, 4410), 0, 4410)), 100);
}

TEST_F(HandlesTest, SoundIsDeliveredIntoABufferOfAtMostTwoGigabytes) {
  const DWORD stream = Create(SongBuilder().End(960));
  std::array<char, 64> buffer{};
  EXPECT_EQ(api.BASS_ChannelGetData(stream, nullptr, 64), bass::kError32);
  EXPECT_EQ(Error(), bass::BASS_ERROR_ILLPARAM);
  EXPECT_EQ(api.BASS_ChannelGetData(stream, buffer.data(), 0x80000000u), bass::kError32);
  EXPECT_EQ(Error(), bass::BASS_ERROR_ILLPARAM);
  EXPECT_EQ(Position(stream), 0u);
}

TEST_F(HandlesTest, TheErrorCodeBelongsToTheThread) {
  Position(0);
  ASSERT_EQ(Error(), bass::BASS_ERROR_HANDLE);
  EXPECT_EQ(Error(), bass::BASS_ERROR_HANDLE) << "asking changes nothing";
  std::thread other([&] {
    EXPECT_EQ(Error(), bass::BASS_OK);
    EXPECT_FALSE(api.BASS_Init(0, 44100, 0, nullptr, nullptr));
    EXPECT_EQ(Error(), bass::BASS_ERROR_ALREADY);
  });
  other.join();
  EXPECT_EQ(Error(), bass::BASS_ERROR_HANDLE);
  api.BASS_GetVersion();
  EXPECT_EQ(Error(), bass::BASS_OK) << "every call sets it";
}

TEST_F(HandlesTest, EverySuccessClearsTheErrorCode) {
  const DWORD font = LoadTones();
  const DWORD stream = Create(SongBuilder().Lyric(0, "a").End(960));
  const std::vector<std::function<void()>> calls = {
      [&] { api.BASS_GetVersion(); },
      [&] { api.BASS_PluginFree(0); },
      [&] { api.BASS_ChannelIsActive(stream); },
      [&] { Length(stream); },
      [&] { Position(stream); },
      [&] { Seek(stream, 0); },
      [&] { api.BASS_ChannelSeconds2Bytes(stream, 1); },
      [&] { api.BASS_ChannelBytes2Seconds(stream, 4); },
      [&] { api.BASS_ChannelGetLevel(stream); },
      [&] { Pull(stream, 10); },
      [&] { Sync(stream, bass::BASS_SYNC_END, 0, [](DWORD) {}); },
      [&] { Dsp(stream, [](auto) {}); },
      [&] { api.BASS_ChannelGetTags(stream, bass::BASS_TAG_MIDI_TRACK); },
      [&] {
        bass::BASS_MIDI_MARK mark{};
        api.BASS_MIDI_StreamGetMark(stream, bass::BASS_MIDI_MARK_LYRIC, 0, &mark);
      },
      [&] { api.BASS_MIDI_StreamGetEvents(stream, -1, 0, nullptr); },
      [&] { Send(stream, 0, 12, 1); },
      [&] { Value(stream, 0, 12); },
      [&] { SetFont(stream, font); },
      [&] { api.BASS_MIDI_StreamGetFonts(stream, nullptr, 0); },
      [&] {
        bass::BASS_MIDI_FONTINFO info{};
        api.BASS_MIDI_FontGetInfo(font, &info);
      },
      [&] { api.BASS_MIDI_FontGetPreset(font, 0, 0); },
      [&] { api.BASS_MIDI_FontSetVolume(font, 1); },
      [&] { api.BASS_Encode_IsActive(stream); },
      [&] { api.BASS_ChannelStop(stream); },
      [&] { api.BASS_MIDI_FontFree(font); },
      [&] { api.BASS_StreamFree(stream); },
      [&] { api.BASS_Free(); },
      [&] { api.BASS_Init(0, 44100, 0, nullptr, nullptr); },
  };
  for (std::size_t i = 0; i < calls.size(); ++i) {
    Position(1);
    ASSERT_EQ(Error(), bass::BASS_ERROR_HANDLE);
    calls[i]();
    EXPECT_EQ(Error(), bass::BASS_OK) << "call " << i;
  }
}

TEST_F(HandlesTest, DecodingAndPlayingStreamsAreNotMixedUp) {
  const DWORD decoding = Create(SongBuilder().End(960), kDecode);
  EXPECT_FALSE(api.BASS_ChannelPlay(decoding, 1));
  EXPECT_EQ(Error(), bass::BASS_ERROR_DECODE);
  const DWORD playing = Create(SongBuilder().End(960), 0);
  EXPECT_EQ(api.BASS_ChannelGetData(playing, Pcm(8).data(), 16), bass::kError32);
  EXPECT_NE(Error(), bass::BASS_OK);
}

TEST_F(HandlesTest, UnknownSyncTypes) {
  const DWORD stream = Create(SongBuilder().End(960));
  EXPECT_EQ(Sync(stream, 1, 0, [](DWORD) {}), 0u);
  EXPECT_EQ(Error(), bass::BASS_ERROR_ILLTYPE);
  EXPECT_EQ(api.BASS_ChannelSetSync(stream, 2, 0, nullptr, nullptr), 0u);
  EXPECT_NE(Error(), bass::BASS_OK);
}

TEST_F(HandlesTest, StoppedEncodersAndFreedStreams) {
  const DWORD stream = Create(SongBuilder().End(960));
  const std::string path = Path("a.wav");
  const DWORD encoder = api.BASS_Encode_Start(stream, path.c_str(), 0x40, nullptr, nullptr);
  Pull(stream, 1000);
  EXPECT_EQ(api.BASS_Encode_IsActive(encoder), 1u);
  EXPECT_EQ(api.BASS_Encode_IsActive(stream), 1u);
  ASSERT_TRUE(api.BASS_StreamFree(stream));
  EXPECT_EQ(api.BASS_Encode_IsActive(encoder), 0u);
  EXPECT_EQ(Error(), bass::BASS_ERROR_HANDLE);
  EXPECT_EQ(std::filesystem::file_size(path), 44u + 4000) << "completed with its stream";
  EXPECT_EQ(api.BASS_Encode_Start(stream, "/no such folder/a.wav", 0x40, nullptr, nullptr), 0u);
  EXPECT_EQ(Error(), bass::BASS_ERROR_HANDLE);
  const DWORD other = Create(SongBuilder().End(960));
  EXPECT_EQ(api.BASS_Encode_Start(other, "/no such folder/a.wav", 0x40, nullptr, nullptr), 0u);
  EXPECT_EQ(Error(), bass::BASS_ERROR_CREATE);
}

}  // namespace
}  // namespace vexolo::engine::testing
