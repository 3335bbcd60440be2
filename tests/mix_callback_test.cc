// layer: core
#include "mixer/mix_callback.h"

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "audio/loader.h"
#include "fakes/mixer_bench.h"

namespace vexolo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct MixCallback : testing::Test, MixerBench {
  MixCallbacks callbacks{bass.api(), state};

  MixCallback() {
    attached = callbacks.AttachMixSyncs(audio.stream);
    syncs = bass.Calls<FakeBass::SetSync>();
    ReadCurrentValues(bass.api(), audio.stream, state);
    bass.ClearCalls();
  }

  /// An event of the song: the library applies it, then calls the sync.
  std::vector<std::string> Event(bass::DWORD channel, bass::DWORD event, bass::DWORD value) {
    bass.SetValue(audio.stream, channel, event, value);
    EXPECT_EQ(
        1, bass.FireSync(audio.stream, bass::BASS_SYNC_MIDI_EVENT, event, channel << 16 | value));
    return TakeEvents();
  }

  int attached = 0;
  std::vector<FakeBass::SetSync> syncs;
};

TEST_F(MixCallback, EighteenMixTimeSyncsAreAttachedInOrder) {
  EXPECT_EQ(18, attached);
  std::vector<bass::QWORD> events;
  for (const auto& sync : syncs) {
    EXPECT_EQ(0x40010004u, sync.type);
    EXPECT_EQ(syncs.front().proc, sync.proc);
    events.push_back(sync.param);
  }
  EXPECT_THAT(events,
              ElementsAre(12, 13, 23, 24, 2, 10, 6, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42));
  EXPECT_EQ(0, callbacks.AttachMixSyncs(0));
}

TEST(MixSyncs, UserValuesNameTheSettings) {
  std::vector<int> values;
  for (const MixSync& sync : kMixSyncTable) {
    values.push_back(sync.user_value);
    EXPECT_EQ(sync.event, EventOf(sync.first_entry));
  }
  EXPECT_THAT(values, ElementsAre(1, 2, 3, 4, 5, 6, 18, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17));
}

TEST_F(MixCallback, WithoutOverrideTheSongHasItsWay) {
  for (const MixSync& sync : kMixSyncTable) {
    EXPECT_THAT(Event(0, sync.event, 1), IsEmpty());
  }
}

TEST_F(MixCallback, EveryControllerIsOverriddenOnItsOwnChannelOnly) {
  for (const int kind : {kVolumeKind, kPanKind, kReverbKind, kChorusKind, kDrumKind}) {
    const int entry = ControllerEntry(kind, 5);
    state.overrides.Set(entry, 1);
    EXPECT_THAT(Event(5, EventOf(entry), 0),
                ElementsAre("5 " + std::to_string(EventOf(entry)) + " 1"));
    EXPECT_THAT(Event(6, EventOf(entry), 0), IsEmpty());
    state.overrides.Clear();
  }
}

TEST_F(MixCallback, EverySongWideParameterIsOverriddenWhateverTheChannel) {
  for (int kind = 1; kind <= kSongKinds; ++kind) {
    const int entry = SongEntry(kind);
    state.overrides.Set(entry, 77);
    const std::string sent = "0 " + std::to_string(31 + kind) + " 77";
    EXPECT_THAT(Event(0, EventOf(entry), 500), ElementsAre(sent));
    EXPECT_EQ(500, state.current_values.Get(entry));
    bass.FireSync(audio.stream, bass::BASS_SYNC_MIDI_EVENT, EventOf(entry), 20u << 16 | 600);
    EXPECT_THAT(TakeEvents(), ElementsAre(sent));
    state.overrides.Clear();
  }
}

TEST_F(MixCallback, ProgramEventMeetsTheProgramOverride) {
  state.overrides.Set(ControllerEntry(kProgramKind, 2), 30);
  bass.SetValue(audio.stream, 2, bass::MIDI_EVENT_BANK, 4);
  EXPECT_THAT(Event(2, bass::MIDI_EVENT_PROGRAM, 7), ElementsAre("2 10 4", "2 2 30"));
}

TEST_F(MixCallback, BankEventMeetsTheProgramOverride) {
  state.overrides.Set(ControllerEntry(kProgramKind, 2), 30);
  EXPECT_THAT(Event(2, bass::MIDI_EVENT_BANK, 4), ElementsAre("2 10 4", "2 2 30"));
}

TEST_F(MixCallback, BankAndProgramEventsMeetTheBankOverride) {
  state.overrides.Set(ControllerEntry(kBankKind, 2), 8);
  EXPECT_THAT(Event(2, bass::MIDI_EVENT_BANK, 4), ElementsAre("2 10 8", "2 2 0"));
  EXPECT_THAT(Event(2, bass::MIDI_EVENT_PROGRAM, 7), ElementsAre("2 10 8", "2 2 7"));
  EXPECT_EQ(4, state.current_values.Get(ControllerEntry(kBankKind, 2)));
  EXPECT_EQ(7, state.current_values.Get(ControllerEntry(kProgramKind, 2)));
}

TEST_F(MixCallback, DrumModeIsFollowedByAnOverriddenInstrument) {
  state.overrides.Set(ControllerEntry(kProgramKind, 2), 30);
  EXPECT_THAT(Event(2, bass::MIDI_EVENT_DRUMS, 1), ElementsAre("2 10 0", "2 2 30"));
  state.overrides.Set(ControllerEntry(kDrumKind, 2), 0);
  EXPECT_THAT(Event(2, bass::MIDI_EVENT_DRUMS, 1), ElementsAre("2 6 0", "2 10 0", "2 2 30"));
}

TEST_F(MixCallback, SystemResetLeavesEveryOverrideInForce) {
  state.overrides.Set(ControllerEntry(kVolumeKind, 2), 90);
  state.overrides.Set(ControllerEntry(kBankKind, 2), 8);
  state.overrides.Set(ControllerEntry(kProgramKind, 2), 30);
  state.overrides.Set(SongEntry(1), 4000);
  ApplyAllOverrides(bass.api(), audio.stream, state);
  // The library puts all values back first and then tells of each that changed.
  for (const auto& [event, value] : {std::pair{bass::MIDI_EVENT_PROGRAM, 0u},
                                     {bass::MIDI_EVENT_BANK, 0u},
                                     {bass::MIDI_EVENT_VOLUME, 100u}}) {
    bass.SetValue(audio.stream, 2, event, value);
  }
  bass.SetValue(audio.stream, 0, bass::MIDI_EVENT_REVERB_TIME, 1800);
  Event(2, bass::MIDI_EVENT_PROGRAM, 0);
  Event(2, bass::MIDI_EVENT_BANK, 0);
  Event(2, bass::MIDI_EVENT_VOLUME, 100);
  Event(0, bass::MIDI_EVENT_REVERB_TIME, 1800);
  EXPECT_EQ(90u, bass.Value(audio.stream, 2, bass::MIDI_EVENT_VOLUME));
  EXPECT_EQ(8u, bass.Value(audio.stream, 2, bass::MIDI_EVENT_BANK));
  EXPECT_EQ(30u, bass.Value(audio.stream, 2, bass::MIDI_EVENT_PROGRAM));
  EXPECT_EQ(4000u, bass.Value(audio.stream, 0, bass::MIDI_EVENT_REVERB_TIME));
}

TEST_F(MixCallback, SongsOwnValuesAreKnownWhileTheyAreOverridden) {
  const int entry = ControllerEntry(kVolumeKind, 4);
  state.overrides.Set(entry, 90);
  Event(4, bass::MIDI_EVENT_VOLUME, 33);
  EXPECT_EQ(33, state.current_values.Get(entry));
  EXPECT_EQ(33, SongValue(bass.api(), audio.stream, state, entry));
  EXPECT_EQ(90, ValueInForce(bass.api(), audio.stream, state, entry));
}

TEST_F(MixCallback, ChannelsBeyondSixteenAreIgnored) {
  state.overrides.Set(16, 5);  // pan of channel 0 follows volume of channel 15
  bass.FireSync(audio.stream, bass::BASS_SYNC_MIDI_EVENT, bass::MIDI_EVENT_VOLUME, 16u << 16 | 9);
  bass.FireSync(audio.stream, bass::BASS_SYNC_MIDI_EVENT, bass::MIDI_EVENT_DRUMS, 0xFFFFFFFF);
  EXPECT_THAT(TakeEvents(), IsEmpty());
  EXPECT_EQ(64, state.current_values.Get(16));
}

TEST_F(MixCallback, EventsGoToTheStreamThatRaisedThem) {
  state.overrides.Set(0, 5);
  const bass::HSTREAM second = bass.AddStream({});
  callbacks.AttachMixSyncs(second);
  bass.ClearCalls();
  bass.FireSync(second, bass::BASS_SYNC_MIDI_EVENT, bass::MIDI_EVENT_VOLUME, 9);
  EXPECT_THAT(bass.Calls<FakeBass::StreamEvent>(),
              ElementsAre(FakeBass::StreamEvent{second, 0, bass::MIDI_EVENT_VOLUME, 5}));
}

// ---- With the open engine: what the song has set in the end.

/// Format 0, 480 ticks a quarter note; `events`: delta times and events, all below 128.
std::string SongOf(const std::string& events) {
  const std::string track = events + std::string("\x00\xFF\x2F\x00", 4);
  std::string song("MThd\0\0\0\x06\0\0\0\x01\x01\xE0MTrk\0\0\0", 21);
  return song + static_cast<char>(track.size()) + track;
}

struct MixCallbackOnEngine : testing::Test {
  std::unique_ptr<AudioLibrary> library = AudioLibrary::OpenEngine();
  const bass::Api& api = library->api();
  MixState state;
  MixCallbacks callbacks{api, state};
  bass::HSTREAM stream = 0;
  std::string song;

  MixCallbackOnEngine() { api.BASS_Init(0, 44100, 0, nullptr, nullptr); }
  ~MixCallbackOnEngine() override { api.BASS_Free(); }

  void Open(const std::string& events) {
    song = SongOf(events);
    stream =
        api.BASS_MIDI_StreamCreateFile(1, song.data(), 0, song.size(), bass::BASS_STREAM_DECODE, 0);
    ASSERT_NE(0u, stream);
    EXPECT_EQ(kMixSyncs, callbacks.AttachMixSyncs(stream));
    ReadCurrentValues(api, stream, state);
    ApplyAllOverrides(api, stream, state);
  }
  void RenderAll() {
    std::vector<char> block(17640);
    while (api.BASS_ChannelGetData(stream, block.data(), 17640) != bass::kError32) {
    }
  }
  bass::DWORD Value(bass::DWORD channel, bass::DWORD event) {
    return api.BASS_MIDI_StreamGetEvent(stream, channel, event);
  }
};

// On channel 3: bank 3, program 24, volume 50, reverb send 70; a quarter note later the same again
// with other values.
const std::string kValues(
    "\x00\xB2\x00\x03\x00\xC2\x18\x00\xB2\x07\x32\x00\xB2\x5B\x46"
    "\x60\xB2\x00\x04\x00\xC2\x19\x00\xB2\x07\x33\x00\xB2\x5B\x47\x60\xB2\x40\x00",
    34);
const std::string kGmReset("\x00\xF0\x05\x7E\x7F\x09\x01\xF7\x60\xB2\x40\x00", 12);

TEST_F(MixCallbackOnEngine, OverridesHoldAgainstEveryEventOfTheSong) {
  state.overrides.Set(ControllerEntry(kVolumeKind, 2), 90);
  state.overrides.Set(ControllerEntry(kBankKind, 2), 8);
  state.overrides.Set(ControllerEntry(kProgramKind, 2), 30);
  Open(kValues);
  RenderAll();
  EXPECT_EQ(90u, Value(2, bass::MIDI_EVENT_VOLUME));
  EXPECT_EQ(8u, Value(2, bass::MIDI_EVENT_BANK));
  EXPECT_EQ(30u, Value(2, bass::MIDI_EVENT_PROGRAM));
  EXPECT_EQ(71u, Value(2, bass::MIDI_EVENT_REVERB));
  EXPECT_EQ(51, state.current_values.Get(ControllerEntry(kVolumeKind, 2)));
  EXPECT_EQ(4, state.current_values.Get(ControllerEntry(kBankKind, 2)));
  EXPECT_EQ(25, state.current_values.Get(ControllerEntry(kProgramKind, 2)));
}

TEST_F(MixCallbackOnEngine, OverridesHoldAgainstASystemReset) {
  state.overrides.Set(ControllerEntry(kVolumeKind, 2), 90);
  state.overrides.Set(ControllerEntry(kBankKind, 2), 8);
  state.overrides.Set(ControllerEntry(kProgramKind, 2), 30);
  state.overrides.Set(ControllerEntry(kDrumKind, 9), 0);
  state.overrides.Set(SongEntry(1), 4000);
  Open(kValues + kGmReset);
  RenderAll();
  EXPECT_EQ(90u, Value(2, bass::MIDI_EVENT_VOLUME));
  EXPECT_EQ(8u, Value(2, bass::MIDI_EVENT_BANK));
  EXPECT_EQ(30u, Value(2, bass::MIDI_EVENT_PROGRAM));
  EXPECT_EQ(40u, Value(2, bass::MIDI_EVENT_REVERB));
  EXPECT_EQ(0u, Value(9, bass::MIDI_EVENT_DRUMS));
  EXPECT_EQ(4000u, Value(0, bass::MIDI_EVENT_REVERB_TIME));
  EXPECT_EQ(100, state.current_values.Get(ControllerEntry(kVolumeKind, 2)));
}

TEST_F(MixCallbackOnEngine, SeekNeedsTheOverridesAgain) {
  state.overrides.Set(ControllerEntry(kVolumeKind, 2), 90);
  Open(kValues);
  ASSERT_TRUE(api.BASS_ChannelSetPosition(stream, 10, bass::BASS_POS_MIDI_TICK));
  EXPECT_EQ(50u, Value(2, bass::MIDI_EVENT_VOLUME));
  ReadCurrentValues(api, stream, state);
  ApplyAllOverrides(api, stream, state);
  EXPECT_EQ(90u, Value(2, bass::MIDI_EVENT_VOLUME));
  EXPECT_EQ(50, state.current_values.Get(ControllerEntry(kVolumeKind, 2)));
}

}  // namespace
}  // namespace vexolo
