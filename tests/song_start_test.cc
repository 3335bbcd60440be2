// layer: core
#include "app/song_start.h"

#include <filesystem>
#include <new>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_bass.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "mixer/controller_table.h"

namespace vexolo {
namespace {

using testing::ElementsAre;

constexpr bass::QWORD kSecond = FakeBass::kBytesPerSecond;

class Notifier : public EndOfSongNotifier {
 public:
  void SongEnded(bass::HSTREAM stream) override { ended.push_back(stream); }
  std::vector<bass::HSTREAM> ended;
};

class SongStartTest : public testing::Test {
 protected:
  SongStartTest() {
    bass_.song.values[{0, bass::MIDI_EVENT_TEMPO}] = 500000;
    bass_.song.rescale_on_tempo = true;
    state_.audio.font = bass_.AddFont({});
    song_ = folder_.Write("song.mid", "x");
  }

  void WriteSetting(const char* section, const char* key, const char* value) {
    ini_.WriteIni(section, key, value, folder_ / "song.zvn");
  }
  void WriteMarkers(const char* start, const char* end) {
    WriteSetting("Marqueurs", "Marche", "1");
    WriteSetting("Marqueurs", "Debut", start);
    WriteSetting("Marqueurs", "Fin", end);
  }
  SongStartResult Start(SongUse use = SongUse::kPlayback) {
    return start_.Start(song_, {.use = use});
  }
  FakeBass::Stream& stream() { return bass_.stream(state_.audio.stream); }
  /// The parameters of the position syncs, in seconds.
  std::vector<double> PositionSyncs() {
    std::vector<double> seconds;
    for (const auto& sync : stream().syncs) {
      if (sync.type == bass::BASS_SYNC_POS) {
        seconds.push_back(static_cast<double>(sync.param) / static_cast<double>(kSecond));
      }
    }
    return seconds;
  }

  FakeBass bass_;
  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  modMidiTest state_{bass_.api(), nullptr};
  AudioBinding binding_{bass_.api(), state_.audio, ini_, boxes_};
  SongSettings settings_{ini_, ','};
  Notifier notifier_;
  SongStart start_{bass_.api(), state_, binding_, ini_, settings_, &notifier_};
  std::string song_;
};

// ---- Order

TEST_F(SongStartTest, PlaybackOpensTheStreamSetsItUpAndPlays) {
  ASSERT_EQ(SongStartResult::kStarted, Start());
  const std::vector<std::string> texts = bass_.texts();
  EXPECT_EQ("StreamCreateFile " + song_ + " 2147487744 0", texts.front());
  EXPECT_EQ("Play 1 0", texts.back());
  EXPECT_EQ(state_.audio.stream, bass_.last_stream());
  EXPECT_EQ(bass::BASS_ACTIVE_PLAYING, stream().active);
}

TEST_F(SongStartTest, SyncsComeInTheirOrderWithTheMixersAmongThem) {
  ASSERT_EQ(SongStartResult::kStarted, Start());
  std::vector<std::pair<bass::DWORD, bass::QWORD>> syncs;
  for (const auto& sync : stream().syncs) syncs.emplace_back(sync.type, sync.param);
  constexpr bass::DWORD kEvent = 0x10004;
  constexpr bass::DWORD kMixEvent = 0x40010004;
  std::vector<std::pair<bass::DWORD, bass::QWORD>> expected = {
      {2, 0}, {kEvent, 1}, {kEvent, 18}, {kMixEvent, 62}};
  for (const bass::QWORD event :
       {12, 13, 23, 24, 2, 10, 6, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42}) {
    expected.emplace_back(kMixEvent, event);
  }
  EXPECT_EQ(expected, syncs);
}

TEST_F(SongStartTest, SettingsSyncsMixTempoMarkersAndPlayFollowEachOther) {
  WriteSetting("Tempo", "Slider", "20");
  WriteSetting("CC", "CC0", "77");
  WriteMarkers("1,000", "4,000");
  ASSERT_EQ(SongStartResult::kStarted, Start());
  const int sync = bass_.IndexOf("SetSync 1 2 0");
  const int gain = bass_.IndexOf("FontSetVolume");
  const int transpose = bass_.IndexOf("StreamEvent 1 0 65537");
  const int level = bass_.IndexOf("StreamEvent 1 0 65536");
  const int override = bass_.IndexOf("StreamEvent 1 0 12 77");
  const int tempo = bass_.IndexOf("StreamEvent 1 0 62 400000");
  const int seek = bass_.IndexOf("SetPosition 1", tempo);
  const int tempo_again = bass_.IndexOf("StreamEvent 1 0 62 400000", seek);
  const int override_again = bass_.IndexOf("StreamEvent 1 0 12 77", seek);
  const int marker = bass_.IndexOf("SetSync 1 0 ");
  const int play = bass_.IndexOf("Play 1 0");
  const std::vector<int> order = {sync, gain,        transpose,      level,  override, tempo,
                                  seek, tempo_again, override_again, marker, play};
  for (std::size_t i = 0; i + 1 < order.size(); ++i) EXPECT_LT(order[i], order[i + 1]) << i;
  EXPECT_GE(order.front(), 0);
}

TEST_F(SongStartTest, AnEarlierStreamIsStoppedAndFreedFirst) {
  ASSERT_EQ(SongStartResult::kStarted, Start());
  bass_.ClearCalls();
  ASSERT_EQ(SongStartResult::kStarted, Start());
  const std::vector<std::string> texts = bass_.texts();
  EXPECT_EQ("Stop 1", texts[0]);
  EXPECT_EQ("StreamFree 1", texts[1]);
  EXPECT_EQ(1u, bass_.stream_count());
}

TEST_F(SongStartTest, AConversionGetsADecodingStreamWithoutLampsAndIsLeftToBePulled) {
  ASSERT_EQ(SongStartResult::kStarted, Start(SongUse::kConversion));
  EXPECT_EQ(0x80201000u, bass_.Calls<FakeBass::StreamCreateFile>()[0].flags);
  EXPECT_TRUE(bass_.Calls<FakeBass::Play>().empty());
  int ends = 0;
  for (const auto& sync : stream().syncs) {
    EXPECT_NE(bass::MIDI_EVENT_NOTE, sync.type == 0x10004 ? sync.param : 0);
    ends += sync.type == bass::BASS_SYNC_END;
  }
  EXPECT_EQ(1, ends);
  EXPECT_EQ(20u, stream().syncs.size());
}

TEST_F(SongStartTest, TheDumpIsWrittenOnlyWhereTheSettingsSaySo) {
  ASSERT_EQ(SongStartResult::kStarted, Start());
  EXPECT_FALSE(std::filesystem::exists(song_ + ".txt"));
  ini_.WriteIni("Vexolo", "Debug_MidiTxt", "1");
  bass_.Fail("BASS_MIDI_StreamCreateFile", bass::BASS_ERROR_FILEFORM);
  EXPECT_EQ(SongStartResult::kCannotOpen, Start());
  EXPECT_TRUE(std::filesystem::exists(song_ + ".txt"));  // before the stream is tried
}

// ---- Failure

TEST_F(SongStartTest, ASongThatCannotBeOpenedLeavesNoStream) {
  ASSERT_EQ(SongStartResult::kStarted, Start());
  bass_.Fail("BASS_MIDI_StreamCreateFile", bass::BASS_ERROR_FILEFORM);
  EXPECT_EQ(SongStartResult::kCannotOpen, Start());
  EXPECT_EQ(bass::BASS_ERROR_FILEFORM, bass_.api().BASS_ErrorGetCode());
  EXPECT_EQ(0u, state_.audio.stream);
  EXPECT_EQ(0u, bass_.stream_count());
  EXPECT_EQ(0, state_.audio.song_length);
  EXPECT_EQ(0u, state_.audio.song_length_ticks);
}

TEST_F(SongStartTest, WhatIsChangedAfterASongThatCannotBeOpenedIsNotSavedForTheOneBefore) {
  ASSERT_EQ(SongStartResult::kStarted, Start());
  bass_.Fail("BASS_MIDI_StreamCreateFile", bass::BASS_ERROR_FILEFORM);
  ASSERT_EQ(SongStartResult::kCannotOpen, start_.Start(folder_ / "other.mid", {}));
  state_.mix.Gain = 7;
  settings_.SaveGain(state_.mix);
  EXPECT_FALSE(std::filesystem::exists(folder_ / "song.zvn"));
  EXPECT_FALSE(std::filesystem::exists(folder_ / "other.zvn"));
}

TEST_F(SongStartTest, WordsOfTheSongBeforeDoNotOutliveIt) {
  bass_.song.track_names = {"words"};
  bass_.song.marks[bass::BASS_MIDI_MARK_LYRIC] = {{0, 400, "la"}, {0, 800, "la"}};
  ASSERT_EQ(SongStartResult::kStarted, Start());
  EXPECT_EQ(2, state_.lyrics.nNbParoles());
  bass_.Fail("BASS_MIDI_StreamCreateFile", bass::BASS_ERROR_FILEFORM);
  EXPECT_EQ(SongStartResult::kCannotOpen, Start());
  EXPECT_EQ(0, state_.lyrics.nNbParoles());
}

TEST_F(SongStartTest, AStreamThatCannotPlayIsReportedToTheCaller) {
  bass_.Fail("BASS_ChannelPlay", bass::BASS_ERROR_START);
  EXPECT_EQ(SongStartResult::kCannotPlay, Start());
  EXPECT_EQ(bass::BASS_ERROR_START, bass_.api().BASS_ErrorGetCode());
}

// ---- Settings of the song

TEST_F(SongStartTest, AStoredLevelOfZeroEndsMutedAtNormalLevel) {
  WriteSetting("Volume", "Ch3", "0");
  WriteSetting("Mute", "Ch3", "0");
  ASSERT_EQ(SongStartResult::kStarted, Start());
  EXPECT_EQ(1, state_.mix.ChannelMute[3]);
  EXPECT_EQ(100, state_.mix.ChannelVolume[3]);
  EXPECT_GE(bass_.IndexOf("StreamEvent 1 3 65536 0"), 0);
}

TEST_F(SongStartTest, WithoutASettingsFileTheSongPlaysWithTheDefaultsWhateverCameBefore) {
  state_.mix.ChannelVolume[2] = 30;
  state_.mix.ChannelSolo[2] = 1;
  state_.mix.Tempo = 100;
  state_.mix.MelodyOverride = true;
  state_.mix.overrides.Set(5, 12);
  ASSERT_EQ(SongStartResult::kStarted, Start());
  EXPECT_EQ(100, state_.mix.ChannelVolume[2]);
  EXPECT_EQ(0, state_.mix.ChannelSolo[2]);
  EXPECT_EQ(0, state_.mix.Tempo);
  EXPECT_FALSE(state_.mix.MelodyOverride);
  EXPECT_FALSE(state_.mix.overrides.Has(5));
  EXPECT_EQ(1.0, state_.audio.speed_factor);
  EXPECT_FALSE(state_.audio.markers.on);
}

TEST_F(SongStartTest, SettingsOfTheSongCanBeLeftAsideAndAdjusted) {
  WriteSetting("Tempo", "Slider", "20");
  WriteSetting("Transpose", "Slider", "3");
  WriteMarkers("1,000", "4,000");
  SongStartOptions options;
  options.use = SongUse::kConversion;
  options.adjust_mix = [](MixState& mix) { mix.Tempo = -1000; };
  options.adjust_markers = [this](Markers& markers) {
    EXPECT_EQ(2.0, state_.audio.speed_factor);
    EXPECT_TRUE(markers.on);
    markers.on = false;
  };
  ASSERT_EQ(SongStartResult::kStarted, start_.Start(song_, options));
  EXPECT_GE(bass_.IndexOf("StreamEvent 1 0 62 1000000"), 0);
  EXPECT_EQ(3, state_.mix.Transpose);
  EXPECT_TRUE(PositionSyncs().empty());
  options = {};
  options.use_song_settings = false;
  ASSERT_EQ(SongStartResult::kStarted, start_.Start(song_, options));
  EXPECT_EQ(0, state_.mix.Tempo);
  EXPECT_EQ(0, state_.mix.Transpose);
  EXPECT_FALSE(state_.audio.markers.on);
  EXPECT_EQ("", settings_.path());
}

TEST_F(SongStartTest, ASongCanPlayABankOfItsOwn) {
  Start();
  EXPECT_TRUE(bass_.Calls<FakeBass::SetFonts>().empty());
  SongStartOptions options;
  options.own_bank = true;
  ASSERT_EQ(SongStartResult::kStarted, start_.Start(song_, options));
  ASSERT_EQ(1u, stream().fonts.size());
  EXPECT_EQ(state_.audio.font, stream().fonts[0].font);
}

TEST_F(SongStartTest, TheLineLimitOfTheLyricsHoldsForConversionsOnly) {
  state_.conversion.max_line_length = 24;
  Start(SongUse::kConversion);
  EXPECT_EQ(24, state_.lyrics.max_line_length());
  Start();
  EXPECT_EQ(0, state_.lyrics.max_line_length());
}

TEST_F(SongStartTest, TheCodePageChosenForASongHoldsForThatSong) {
  WriteSetting("Lyrics", "CodePage", "2");
  Start();
  EXPECT_EQ(kCodePageMacintosh, state_.lyrics.code_pages().forced());
  Start(SongUse::kConversion);
  EXPECT_EQ(kCodePageMacintosh, state_.lyrics.code_pages().forced());
  start_.Start(folder_.Write("other.mid", "x"));
  EXPECT_EQ(kCodePageNone, state_.lyrics.code_pages().forced());
  start_.Start(song_, {.use_song_settings = false});
  EXPECT_EQ(kCodePageNone, state_.lyrics.code_pages().forced());
}

TEST_F(SongStartTest, TheLengthIsTheOneAtTheSpeedInForce) {
  WriteSetting("Tempo", "Slider", "20");  // 20 % faster: factor 0.8
  ASSERT_EQ(SongStartResult::kStarted, Start());
  EXPECT_DOUBLE_EQ(0.8, state_.audio.speed_factor);
  EXPECT_EQ(500000, state_.audio.base_tempo);
  EXPECT_NEAR(8.0, state_.audio.song_length, 1e-4);
  EXPECT_EQ(10 * kSecond / 100, state_.audio.song_length_ticks);
}

TEST_F(SongStartTest, AFactorOfZeroOrLessNeverReachesTheStream) {
  WriteSetting("Tempo", "Slider", "100");
  ASSERT_EQ(SongStartResult::kStarted, Start());
  EXPECT_GT(state_.audio.speed_factor, 0);
  EXPECT_GE(bass_.IndexOf("StreamEvent 1 0 62 200000"), 0);  // as at the knob's fastest, 0.4
}

// ---- Markers

TEST_F(SongStartTest, FadeAndTailAreSetAtEverySong) {
  state_.audio.fade_length = 7;
  state_.audio.tail = 7;
  state_.audio.fading = true;
  state_.audio.fade_gain = 0;
  Start();
  EXPECT_DOUBLE_EQ(0.3, state_.audio.fade_length);
  EXPECT_DOUBLE_EQ(0.01, state_.audio.tail);
  EXPECT_FALSE(state_.audio.fading);
  EXPECT_DOUBLE_EQ(1.0, state_.audio.fade_gain);
}

TEST_F(SongStartTest, MarkersSeekAndPlaceTheFadeAndTheEnd) {
  WriteMarkers("1,500", "4,000");
  Start();
  EXPECT_EQ(bass::QWORD(1.5 * kSecond), stream().position);
  const std::vector<double> syncs = PositionSyncs();
  ASSERT_EQ(2u, syncs.size());
  EXPECT_NEAR(4.0, syncs[0], 1e-4);
  EXPECT_NEAR(4.31, syncs[1], 1e-4);
}

TEST_F(SongStartTest, MarkersActAtTheTypedTimeWhateverTheSpeed) {
  WriteSetting("Tempo", "Slider", "-100,0");  // factor 2: 20 seconds long
  WriteMarkers("6,000", "24,000");            // typed as 3 and 12 seconds
  Start();
  EXPECT_NEAR(3.0 * kSecond, static_cast<double>(stream().position), 8);
  const std::vector<double> syncs = PositionSyncs();
  ASSERT_EQ(2u, syncs.size());
  EXPECT_NEAR(12.0, syncs[0], 1e-4);
  EXPECT_NEAR(12.31, syncs[1], 1e-4);
}

TEST_F(SongStartTest, MarkersAtZeroGiveNeitherSeekNorFade) {
  WriteMarkers("0,000", "0,000");
  Start();
  EXPECT_TRUE(PositionSyncs().empty());
  EXPECT_EQ(0u, stream().position);
}

TEST_F(SongStartTest, MarkersSwitchedOffDoNothing) {
  WriteMarkers("1,500", "4,000");
  WriteSetting("Marqueurs", "Marche", "0");
  Start();
  EXPECT_TRUE(PositionSyncs().empty());
  EXPECT_EQ(0u, stream().position);
}

TEST_F(SongStartTest, AnEndMarkerAtOrAfterTheLengthGivesNoFadeAndNoExtraEnd) {
  for (const char* end : {"10,000", "12,000"}) {
    WriteMarkers("0,000", end);
    Start();
    EXPECT_TRUE(PositionSyncs().empty()) << end;
  }
}

TEST_F(SongStartTest, AMarkerBeyondTheLengthIsKeptWithoutEffect) {
  WriteMarkers("11,000", "12,000");
  Start();
  EXPECT_EQ(0u, stream().position);
  EXPECT_TRUE(PositionSyncs().empty());
  EXPECT_DOUBLE_EQ(11, state_.audio.markers.start);
}

TEST_F(SongStartTest, AnEndMarkerBeforeTheStartMarkerIsNotInForce) {
  WriteMarkers("5,000", "4,000");
  Start();
  EXPECT_EQ(5 * kSecond, stream().position);
  EXPECT_TRUE(PositionSyncs().empty());
}

TEST_F(SongStartTest, AFadeThatWouldRunPastTheEndIsShortened) {
  for (const SongUse use : {SongUse::kPlayback, SongUse::kConversion}) {
    WriteMarkers("0,000", "9,800");
    Start(use);
    EXPECT_NEAR(0.19, state_.audio.fade_length, 1e-9);
    const std::vector<double> syncs = PositionSyncs();
    ASSERT_EQ(2u, syncs.size());
    EXPECT_NEAR(10.0, syncs[1], 1e-4);
  }
}

TEST_F(SongStartTest, AnEndMarkerWithinTheTailCutsAtOnceAtTheSongsEnd) {
  WriteMarkers("0,000", "9,995");
  Start();
  EXPECT_LT(state_.audio.fade_length, 0);
  const std::vector<double> syncs = PositionSyncs();
  ASSERT_EQ(2u, syncs.size());
  EXPECT_NEAR(9.995, syncs[0], 1e-4);
  EXPECT_NEAR(10.0, syncs[1], 1e-4);
}

TEST_F(SongStartTest, AConversionHasOneEndTheMarkersOrTheStreams) {
  WriteMarkers("0,000", "4,000");
  Start(SongUse::kConversion);
  int ends = 0;
  for (const auto& sync : stream().syncs) ends += sync.type == bass::BASS_SYNC_END;
  EXPECT_EQ(0, ends);
  EXPECT_EQ(2u, PositionSyncs().size());
}

// ---- Seeks

TEST_F(SongStartTest, AfterASeekTheTempoIsReadAndSentAgainAndThenAllOverrides) {
  WriteSetting("Tempo", "Slider", "20");
  WriteSetting("CC", "CC16", "20");    // pan of channel 0
  WriteSetting("CC", "CC112", "900");  // reverb time
  Start();
  bass_.ClearCalls();
  bass_.on_set_position = [this](const FakeBass::SetPosition&) {
    bass_.stream(1).values[{0, bass::MIDI_EVENT_TEMPO}] = 600000;
  };
  state_.audio.fade_gain = 0.1;
  state_.audio.fade_step = -0.1;
  EXPECT_TRUE(start_.Seek(5000, bass::BASS_POS_MIDI_TICK));
  EXPECT_EQ(600000, state_.audio.base_tempo);
  EXPECT_THAT(bass_.texts(), ElementsAre("SetPosition 1 5000 2", "StreamEvent 1 0 62 480000",
                                         "StreamEvent 1 0 13 20", "StreamEvent 1 0 32 900"));
  EXPECT_DOUBLE_EQ(1.0, state_.audio.fade_gain);
}

TEST_F(SongStartTest, AfterASeekTheSongsOwnValuesAreThoseOfTheNewPlace) {
  ASSERT_EQ(SongStartResult::kStarted, Start());
  const int entry = ControllerEntry(kPanKind, 2);
  EXPECT_NE(31, state_.mix.current_values.Get(entry));
  stream().song.values[{2, bass::MIDI_EVENT_PAN}] = 31;  // what the song has set by then
  ASSERT_TRUE(start_.Seek(kSecond, bass::BASS_POS_BYTE));
  EXPECT_EQ(31, state_.mix.current_values.Get(entry));
}

TEST_F(SongStartTest, ASeekWithoutASongOrThatIsRefusedSendsNothing) {
  EXPECT_FALSE(start_.Seek(0, bass::BASS_POS_BYTE));
  Start();
  bass_.ClearCalls();
  bass_.Fail("BASS_ChannelSetPosition", bass::BASS_ERROR_POSITION);
  EXPECT_FALSE(start_.Seek(5000, bass::BASS_POS_MIDI_TICK));
  EXPECT_TRUE(bass_.texts().empty());
}

// ---- The end

TEST_F(SongStartTest, TheEndOfASongStopsItAndTellsTheWindow) {
  Start();
  state_.audio.fading = true;
  const bass::HSTREAM stream_handle = state_.audio.stream;
  bass_.ClearCalls();
  EXPECT_EQ(1, bass_.FireSync(stream_handle, bass::BASS_SYNC_END, 0, 0));
  EXPECT_THAT(bass_.texts(), ElementsAre("Stop 1"));
  EXPECT_THAT(notifier_.ended, ElementsAre(stream_handle));
  EXPECT_FALSE(state_.audio.fading);
  EXPECT_FALSE(start_.end_has_run());
  EXPECT_EQ(stream_handle, state_.audio.stream);  // the window frees it
}

TEST_F(SongStartTest, TheSyncAfterTheEndMarkerEndsTheSongInTheSameWay) {
  WriteMarkers("0,000", "4,000");
  Start();
  const bass::HSTREAM stream_handle = state_.audio.stream;
  const auto syncs = stream().syncs;
  EXPECT_TRUE(bass_.FireSyncHandle(syncs[syncs.size() - 2].handle, 0));
  EXPECT_TRUE(state_.audio.fading);
  EXPECT_TRUE(notifier_.ended.empty());
  EXPECT_TRUE(bass_.FireSyncHandle(syncs.back().handle, 0));
  EXPECT_THAT(notifier_.ended, ElementsAre(stream_handle));
  EXPECT_FALSE(state_.audio.fading);
}

TEST_F(SongStartTest, TheEndOfAConversionOnlyStopsTheStreamAndSaysThatItRan) {
  Start(SongUse::kConversion);
  EXPECT_FALSE(start_.end_has_run());
  bass_.ClearCalls();
  bass_.FireSync(state_.audio.stream, bass::BASS_SYNC_END, 0, 0);
  EXPECT_THAT(bass_.texts(), ElementsAre("Stop 1"));
  EXPECT_TRUE(start_.end_has_run());
  EXPECT_TRUE(notifier_.ended.empty());
  Start(SongUse::kConversion);
  EXPECT_FALSE(start_.end_has_run());
}

TEST_F(SongStartTest, AConversionPulledToItsEndMarkerDeliversUpToTheTailsEnd) {
  WriteMarkers("1,000", "4,000");
  bass_.song.rescale_on_tempo = false;
  Start(SongUse::kConversion);
  stream().fill = [](std::int16_t* samples, bass::DWORD count) {
    for (bass::DWORD i = 0; i < count; ++i) samples[i] = 10000;
  };
  std::vector<std::int16_t> all;
  std::vector<std::int16_t> block(512);
  while (bass_.api().BASS_ChannelIsActive(state_.audio.stream) == bass::BASS_ACTIVE_PLAYING) {
    const bass::DWORD got =
        bass_.api().BASS_ChannelGetData(state_.audio.stream, block.data(), 1024);
    if (got == bass::kError32) break;
    all.insert(all.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(got / 2));
  }
  EXPECT_TRUE(start_.end_has_run());
  const auto fade = static_cast<std::size_t>(3.0 * 88200);
  ASSERT_NEAR(static_cast<double>(3.31 * 88200), static_cast<double>(all.size()), 4);
  EXPECT_EQ(10000, all[fade - 2]);
  EXPECT_NEAR(5000, all[fade + std::size_t(0.15 * 88200)], 2);
  EXPECT_EQ(0, all.back());
}

TEST_F(SongStartTest, LampsAndMeterAreAtRestOnceTheSongIsClosed) {
  ASSERT_EQ(SongStartResult::kStarted, Start());
  state_.mix.lamp_levels[4] = 90;
  state_.mix.held_peak = 20000;
  start_.CloseSong();
  EXPECT_EQ(0, state_.mix.lamp_levels[4]);
  EXPECT_EQ(0, state_.mix.held_peak);
}

TEST_F(SongStartTest, ClosingTheSongFreesItsStreamAndForgetsItsLength) {
  Start();
  start_.CloseSong();
  EXPECT_EQ(0u, bass_.stream_count());
  EXPECT_EQ(0u, state_.audio.song_length_ticks);
  EXPECT_EQ(0, state_.audio.song_length);
  start_.CloseSong();
  EXPECT_EQ(1, bass_.CallCount("BASS_StreamFree"));
}

// ---- Without memory

TEST_F(SongStartTest, WhereMemoryRunsOutNoSongIsLeftAndNothingIsSavedForIt) {
  WriteSetting("Volume", "Ch3", "150");
  WriteSetting("Mute", "Ch7", "1");
  const std::string before = folder_.Read("song.zvn");
  bass_.on_stream_event = [](const FakeBass::StreamEvent&) { throw std::bad_alloc(); };
  EXPECT_THROW(Start(), std::bad_alloc);
  EXPECT_EQ(0u, state_.audio.stream);
  EXPECT_EQ(0u, bass_.stream_count());
  EXPECT_EQ("", settings_.path());
  settings_.SaveVolume(state_.mix);
  settings_.SaveMute(state_.mix);
  EXPECT_EQ(before, folder_.Read("song.zvn"));
}

TEST_F(SongStartTest, AfterMemoryCameBackTheSongStartsAsEver) {
  WriteSetting("Volume", "Ch3", "150");
  bass_.on_stream_event = [](const FakeBass::StreamEvent&) { throw std::bad_alloc(); };
  EXPECT_THROW(Start(), std::bad_alloc);
  bass_.on_stream_event = {};
  EXPECT_EQ(SongStartResult::kStarted, Start());
  EXPECT_EQ(folder_ / "song.zvn", settings_.path());
}

}  // namespace
}  // namespace vexolo
