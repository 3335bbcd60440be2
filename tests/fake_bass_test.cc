// layer: core
#include "fakes/fake_bass.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vexolo {
namespace {

using namespace bass;
using ::testing::ElementsAre;

void BASS_CALLBACK Collect(HSYNC, DWORD, DWORD data, void* user) {
  static_cast<std::vector<DWORD>*>(user)->push_back(data);
}

void BASS_CALLBACK Halve(HDSP, DWORD, void* buffer, DWORD length, void*) {
  auto* samples = static_cast<std::int16_t*>(buffer);
  for (DWORD i = 0; i < length / 2; ++i) samples[i] = static_cast<std::int16_t>(samples[i] / 2);
}

void BASS_CALLBACK StopHere(HSYNC, DWORD channel, DWORD, void* user) {
  static_cast<const Api*>(user)->BASS_ChannelStop(channel);
}

TEST(FakeBass, HasEveryFunctionOfTheTable) {
  FakeBass fake;
  const auto* entries = reinterpret_cast<void* const*>(&fake.api());
  for (std::size_t i = 0; i < sizeof(Api) / sizeof(void*); ++i) EXPECT_NE(entries[i], nullptr) << i;
}

TEST(FakeBass, RecordsChangingCallsInOrderAndCountsReadingOnes) {
  FakeBass fake;
  const Api& api = fake.api();
  const HSTREAM stream =
      api.BASS_MIDI_StreamCreateFile(0, "song.kar", 0, 0, BASS_STREAM_DECODE | BASS_UNICODE, 44100);
  EXPECT_TRUE(api.BASS_MIDI_StreamEvent(stream, 3, MIDI_EVENT_VOLUME, 90));
  EXPECT_EQ(90u, api.BASS_MIDI_StreamGetEvent(stream, 3, MIDI_EVENT_VOLUME));
  EXPECT_TRUE(api.BASS_ChannelSetPosition(stream, 1764, BASS_POS_BYTE));
  EXPECT_EQ(100u, api.BASS_MIDI_StreamGetEvent(stream, 3, MIDI_EVENT_VOLUME));
  EXPECT_TRUE(api.BASS_StreamFree(stream));
  EXPECT_THAT(fake.texts(),
              ElementsAre("StreamCreateFile song.kar 2149580800 44100", "StreamEvent 1 3 12 90",
                          "SetPosition 1 1764 0", "StreamFree 1"));
  EXPECT_EQ(2, fake.CallCount("BASS_MIDI_StreamGetEvent"));
  EXPECT_EQ(90u, fake.Calls<FakeBass::StreamEvent>().at(0).param);
}

TEST(FakeBass, FailsAsScriptedAndOnWrongHandles) {
  FakeBass fake;
  const Api& api = fake.api();
  fake.Fail("BASS_Init", BASS_ERROR_DEVICE, 1);
  EXPECT_FALSE(api.BASS_Init(-1, 44100, 0, nullptr, nullptr));
  EXPECT_EQ(BASS_ERROR_DEVICE, api.BASS_ErrorGetCode());
  EXPECT_TRUE(api.BASS_Init(-1, 44100, 0, nullptr, nullptr));
  EXPECT_FALSE(api.BASS_Init(-1, 44100, 0, nullptr, nullptr));
  EXPECT_EQ(BASS_ERROR_ALREADY, api.BASS_ErrorGetCode());
  EXPECT_EQ(kError64, api.BASS_ChannelGetLength(99, BASS_POS_BYTE));
  EXPECT_EQ(BASS_ERROR_HANDLE, api.BASS_ErrorGetCode());
}

TEST(FakeBass, ConvertsSecondsToWholeFramesAndBack) {
  FakeBass fake;
  const Api& api = fake.api();
  const HSTREAM stream = fake.AddStream({});
  EXPECT_EQ(176400u, api.BASS_ChannelSeconds2Bytes(stream, 1.0));
  EXPECT_EQ(4u, api.BASS_ChannelSeconds2Bytes(stream, 1.9 / 44100));
  EXPECT_DOUBLE_EQ(0.5, api.BASS_ChannelBytes2Seconds(stream, 88200));
  for (QWORD bytes = 0; bytes < 400000; bytes += 4) {
    const double seconds = api.BASS_ChannelBytes2Seconds(stream, bytes);
    ASSERT_EQ(bytes, api.BASS_ChannelSeconds2Bytes(stream, seconds));
  }
}

TEST(FakeBass, TickTableGoesBothWays) {
  FakeBass fake;
  const Api& api = fake.api();
  FakeBass::Song song;
  song.SetTickTable({{0, 0}, {1000, 100}, {3000, 200}});
  const HSTREAM stream = fake.AddStream(song);
  api.BASS_ChannelSetPosition(stream, 150, BASS_POS_MIDI_TICK);
  EXPECT_EQ(2000u, api.BASS_ChannelGetPosition(stream, BASS_POS_BYTE));
  EXPECT_EQ(150u, api.BASS_ChannelGetPosition(stream, BASS_POS_MIDI_TICK));
}

TEST(FakeBass, TempoSentScalesBytesUntilTheNextSeek) {
  FakeBass fake;
  const Api& api = fake.api();
  FakeBass::Song song;
  song.rescale_on_tempo = true;
  song.length = 8000;
  song.marks[BASS_MIDI_MARK_LYRIC] = {{0, 4000, "la"}};
  const HSTREAM stream = fake.AddStream(song);
  api.BASS_MIDI_StreamEvent(stream, 0, MIDI_EVENT_TEMPO, 250000);
  BASS_MIDI_MARK mark{};
  ASSERT_TRUE(api.BASS_MIDI_StreamGetMark(stream, BASS_MIDI_MARK_LYRIC, 0, &mark));
  EXPECT_EQ(2000u, mark.pos);
  EXPECT_EQ(4000u, api.BASS_ChannelGetLength(stream, BASS_POS_BYTE));
  api.BASS_ChannelSetPosition(stream, 2000, BASS_POS_BYTE);
  EXPECT_EQ(4000u, api.BASS_ChannelGetPosition(stream, BASS_POS_BYTE));
  EXPECT_EQ(8000u, api.BASS_ChannelGetLength(stream, BASS_POS_BYTE));
}

TEST(FakeBass, DeliversUpToTheLengthRunsDspsAndFiresTheEndOnce) {
  FakeBass fake;
  const Api& api = fake.api();
  fake.song.length = 1000;
  const HSTREAM stream = api.BASS_MIDI_StreamCreateFile(0, "a", 0, 0, BASS_STREAM_DECODE, 44100);
  std::vector<DWORD> ends;
  api.BASS_ChannelSetSync(stream, BASS_SYNC_END, 0, &Collect, &ends);
  api.BASS_ChannelSetDSP(stream, &Halve, nullptr, 0);
  fake.stream(stream).fill = [](std::int16_t* samples, DWORD count) {
    std::fill_n(samples, count, std::int16_t{100});
  };
  std::vector<std::int16_t> buffer(400);
  EXPECT_EQ(800u, api.BASS_ChannelGetData(stream, buffer.data(), 800));
  EXPECT_EQ(50, buffer[399]);
  EXPECT_EQ(200u, api.BASS_ChannelGetData(stream, buffer.data(), 800));
  EXPECT_EQ(kError32, api.BASS_ChannelGetData(stream, buffer.data(), 800));
  EXPECT_EQ(1u, ends.size());
  EXPECT_EQ(0u, api.BASS_ChannelIsActive(stream));
}

TEST(FakeBass, PositionSyncSplitsTheBlockAndMayStopTheStream) {
  FakeBass fake;
  const Api& api = fake.api();
  const HSTREAM stream = api.BASS_MIDI_StreamCreateFile(0, "a", 0, 0, BASS_STREAM_DECODE, 44100);
  api.BASS_ChannelSetSync(stream, BASS_SYNC_POS | BASS_SYNC_MIXTIME, 600, &StopHere,
                          const_cast<Api*>(&api));
  std::vector<std::int16_t> buffer(512);
  EXPECT_EQ(600u, api.BASS_ChannelGetData(stream, buffer.data(), 1024));
  EXPECT_EQ(0u, api.BASS_ChannelIsActive(stream));
}

TEST(FakeBass, FiresSyncsByTypeAndParameter) {
  FakeBass fake;
  const Api& api = fake.api();
  const HSTREAM stream = fake.AddStream({});
  std::vector<DWORD> seen;
  const HSYNC sync = api.BASS_ChannelSetSync(stream, BASS_SYNC_MIDI_EVENT | BASS_SYNC_MIXTIME,
                                             MIDI_EVENT_VOLUME, &Collect, &seen);
  EXPECT_EQ(0, fake.FireSync(stream, BASS_SYNC_MIDI_EVENT, MIDI_EVENT_PAN, 1));
  EXPECT_EQ(1, fake.FireSync(stream, BASS_SYNC_MIDI_EVENT, MIDI_EVENT_VOLUME, 2));
  EXPECT_TRUE(fake.FireSyncHandle(sync, 3));
  EXPECT_THAT(seen, ElementsAre(2u, 3u));
}

TEST(FakeBass, FontsAndEncodersHaveTheirOwnState) {
  FakeBass fake;
  const Api& api = fake.api();
  fake.fonts_by_path["b.sf2"].presets[{5, 128}] = "Kit";
  const HSOUNDFONT font = api.BASS_MIDI_FontInit("b.sf2", 0);
  EXPECT_STREQ("Kit", api.BASS_MIDI_FontGetPreset(font, 5, 128));
  EXPECT_EQ(nullptr, api.BASS_MIDI_FontGetPreset(font, 6, 128));
  BASS_MIDI_FONTINFO info{};
  ASSERT_TRUE(api.BASS_MIDI_FontGetInfo(font, &info));
  EXPECT_EQ(1u, info.presets);
  const BASS_MIDI_FONT list[] = {{font, -1, 0}};
  EXPECT_TRUE(api.BASS_MIDI_StreamSetFonts(0, list, 1));
  const HSTREAM stream = api.BASS_MIDI_StreamCreateFile(0, "a", 0, 0, BASS_STREAM_DECODE, 44100);
  BASS_MIDI_FONT got[2];
  EXPECT_EQ(1u, api.BASS_MIDI_StreamGetFonts(stream, got, 2));
  EXPECT_EQ(font, got[0].font);
  const HENCODE encoder =
      api.BASS_Encode_Start(stream, "out.wav", BASS_ENCODE_PCM, nullptr, nullptr);
  fake.encode_active = {0};
  EXPECT_EQ(0u, api.BASS_Encode_IsActive(encoder));
  EXPECT_EQ(1u, api.BASS_Encode_IsActive(encoder));
  EXPECT_TRUE(api.BASS_Encode_Stop(encoder));
  EXPECT_FALSE(api.BASS_Encode_Stop(encoder));
}

}  // namespace
}  // namespace vexolo
