// layer: core
#include "audio/audio_binding.h"

#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_bass.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

using testing::ElementsAre;

class AudioBindingTest : public testing::Test {
 protected:
  FakeBass bass_;
  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  AudioState audio_;
  AudioBinding binding_{bass_.api(), audio_, ini_, boxes_};
};

// ---- Initialisation

TEST_F(AudioBindingTest, OpensTheSystemsOutputAtItsRateForTheMainWindow) {
  int window = 0;
  EXPECT_TRUE(binding_.Initialise(&window));
  const auto inits = bass_.Calls<FakeBass::Init>();
  ASSERT_EQ(1u, inits.size());
  EXPECT_EQ(-1, inits[0].device);
  EXPECT_EQ(44100u, inits[0].freq);
  EXPECT_EQ(0u, inits[0].flags);
  EXPECT_EQ(&window, inits[0].window);
  EXPECT_EQ(1, bass_.CallCount("BASS_Encode_IsActive"));
  EXPECT_EQ(0u, audio_.font);
}

TEST_F(AudioBindingTest, TakesOverTheLibrarysDefaultFont) {
  const bass::HSOUNDFONT font = bass_.AddFont({});
  const bass::BASS_MIDI_FONT entry = {font, -1, 0};
  bass_.api().BASS_MIDI_StreamSetFonts(0, &entry, 1);
  EXPECT_TRUE(binding_.Initialise(nullptr));
  EXPECT_EQ(font, audio_.font);
}

TEST_F(AudioBindingTest, WithoutAnAnswerThereIsNoDefaultFont) {
  bass_.Fail("BASS_MIDI_StreamGetFonts", bass::BASS_ERROR_HANDLE);
  audio_.font = 5;
  EXPECT_TRUE(binding_.Initialise(nullptr));
  EXPECT_EQ(5u, audio_.font);
}

TEST_F(AudioBindingTest, ReportsAnOutputThatCannotBeOpened) {
  bass_.Fail("BASS_Init", bass::BASS_ERROR_DEVICE);
  EXPECT_FALSE(binding_.Initialise(nullptr));
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_EQ("Error", boxes_.shown[0].title);
  EXPECT_EQ(BoxIcon::kExclamation, boxes_.shown[0].icon);
  EXPECT_TRUE(boxes_.shown[0].text.starts_with("Erreur d'initialisation BASS"));
  EXPECT_NE(std::string::npos, boxes_.shown[0].text.find("BASS_ERROR_DEVICE"));
  EXPECT_EQ(0, bass_.CallCount("BASS_MIDI_StreamGetFonts"));
}

// ---- SoundFont at start

TEST_F(AudioBindingTest, LoadsTheBankThatTheSettingsName) {
  const std::string bank = folder_.Write("mine.sf2", "x");
  ini_.WriteIni("SF2", "Base", bank);
  const BankAtStart found = FindBankAtStart(ini_, folder_.path());
  EXPECT_EQ(bank, found.path);
  EXPECT_FALSE(found.user_chooses);
}

TEST_F(AudioBindingTest, LetsTheUserChooseWhereTheNamedBankIsMissingThoughTheDefaultOneIsThere) {
  folder_.Write("Orvanel.SF2", "x");
  ini_.WriteIni("SF2", "Base", folder_ / "gone.sf2");
  const BankAtStart found = FindBankAtStart(ini_, folder_.path());
  EXPECT_TRUE(found.user_chooses);
  EXPECT_EQ("", found.path);
}

TEST_F(AudioBindingTest, WithoutASettingTheDefaultBankIsLoadedOrTheUserChooses) {
  EXPECT_TRUE(FindBankAtStart(ini_, folder_.path()).user_chooses);
  const std::string bank = folder_.Write("Orvanel.SF2", "x");
  const BankAtStart found = FindBankAtStart(ini_, folder_.path());
  EXPECT_EQ(bank, found.path);
  EXPECT_FALSE(found.user_chooses);
}

TEST_F(AudioBindingTest, RefusesAPathThatTheSettingsCannotGiveBack) {
  EXPECT_TRUE(AcceptBankPath(std::string(128, 'a'), boxes_));
  std::string accents;
  for (int i = 0; i < 128; ++i) accents += "é";
  EXPECT_TRUE(AcceptBankPath(accents, boxes_));
  EXPECT_TRUE(boxes_.shown.empty());
  EXPECT_FALSE(AcceptBankPath(std::string(129, 'a'), boxes_));
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_EQ(BoxIcon::kExclamation, boxes_.shown[0].icon);
}

// ---- ReplaceFont

TEST_F(AudioBindingTest, ReplacingTheBankGivesItToNewStreamsAndTheCurrentOneThenFreesTheOld) {
  audio_.stream = bass_.AddStream({});
  ASSERT_TRUE(binding_.ReplaceFont("/banks/one.sf2"));
  const bass::HSOUNDFONT first = audio_.font;
  bass_.ClearCalls();
  ASSERT_TRUE(binding_.ReplaceFont("/banks/two.sf2"));
  EXPECT_THAT(bass_.texts(), ElementsAre("FontInit /banks/two.sf2 2147483648", "SetFonts 0 102",
                                         "SetFonts 1 102", "FontFree 101"));
  const auto fonts = bass_.Calls<FakeBass::SetFonts>();
  ASSERT_EQ(1u, fonts[0].fonts.size());
  EXPECT_EQ(-1, fonts[0].fonts[0].preset);
  EXPECT_EQ(0, fonts[0].fonts[0].bank);
  EXPECT_FALSE(bass_.HasFont(first));
  EXPECT_EQ(102u, audio_.font);
  EXPECT_EQ("/banks/two.sf2", audio_.font_path);
  EXPECT_EQ("/banks", ini_.ReadIni("SF2", "Path"));
  EXPECT_EQ("/banks/two.sf2", ini_.ReadIni("SF2", "Base"));
}

TEST_F(AudioBindingTest, ReplacingTheBankDoesNotRestartTheSong) {
  audio_.stream = bass_.AddStream({});
  bass_.stream(audio_.stream).position = 4000;
  ASSERT_TRUE(binding_.ReplaceFont("/banks/one.sf2"));
  EXPECT_EQ(4000u, bass_.stream(audio_.stream).position);
  EXPECT_TRUE(bass_.Calls<FakeBass::Stop>().empty());
  EXPECT_TRUE(bass_.Calls<FakeBass::Play>().empty());
  EXPECT_TRUE(bass_.Calls<FakeBass::SetPosition>().empty());
}

TEST_F(AudioBindingTest, ABankThatCannotBeOpenedChangesNothingAndWritesNothing) {
  ASSERT_TRUE(binding_.ReplaceFont("/banks/one.sf2"));
  const std::string settings = folder_.Read("Vexolo.ini");
  const bass::HSOUNDFONT font = audio_.font;
  int changed = 0;
  binding_.set_presets_changed([&] { ++changed; });
  bass_.Fail("BASS_MIDI_FontInit", bass::BASS_ERROR_FILEOPEN);
  bass_.ClearCalls();
  EXPECT_FALSE(binding_.ReplaceFont("/banks/two.sf2"));
  EXPECT_TRUE(bass_.texts().empty());
  EXPECT_EQ(font, audio_.font);
  EXPECT_EQ("/banks/one.sf2", audio_.font_path);
  EXPECT_EQ(settings, folder_.Read("Vexolo.ini"));
  EXPECT_TRUE(boxes_.shown.empty());
  EXPECT_EQ(0, changed);
}

TEST_F(AudioBindingTest, ANewBankHasTheGainBeforeItIsHeard) {
  binding_.set_linear_gain([] { return 0.5f; });
  ASSERT_TRUE(binding_.ReplaceFont("/banks/one.sf2"));
  EXPECT_EQ(0.5f, bass_.opened_font(audio_.font).volume);
  EXPECT_LT(bass_.IndexOf("FontSetVolume 101"), bass_.IndexOf("SetFonts 0"));
  EXPECT_GE(bass_.IndexOf("FontSetVolume 101"), 0);
}

TEST_F(AudioBindingTest, ABankCanBeUsedForThisRunOnly) {
  ASSERT_TRUE(binding_.ReplaceFont("/banks/one.sf2", KeepBank::kForThisRun));
  EXPECT_NE(0u, audio_.font);
  EXPECT_EQ("", ini_.ReadIni("SF2", "Base"));
  EXPECT_EQ("", ini_.ReadIni("SF2", "Path"));
}

TEST_F(AudioBindingTest, ABankLoadedOnAnotherThreadIsTakenIntoUseOnThisOne) {
  bass::HSOUNDFONT font = 0;
  std::thread worker([&] { font = binding_.LoadBank("/banks/one.sf2"); });
  worker.join();
  EXPECT_EQ(0u, audio_.font);
  EXPECT_TRUE(binding_.AdoptBank(font, "/banks/one.sf2"));
  EXPECT_EQ(font, audio_.font);
  EXPECT_FALSE(binding_.AdoptBank(0, "/banks/two.sf2"));
  EXPECT_EQ("/banks/one.sf2", audio_.font_path);
}

TEST_F(AudioBindingTest, TakingTheCurrentBankIntoUseAgainDoesNotFreeIt) {
  ASSERT_TRUE(binding_.ReplaceFont("/banks/one.sf2"));
  ASSERT_TRUE(binding_.AdoptBank(audio_.font, "/banks/one.sf2"));
  EXPECT_TRUE(bass_.HasFont(audio_.font));
}

TEST_F(AudioBindingTest, PresetNamesAreReadFromAllBanksAndTheHighestLeavesOutDrumKits) {
  bass_.font.presets = {{{0, 0}, "Piano"},
                        {{127, 8}, "Fl\xC3\xBBte"},        // already UTF-8
                        {{5, 40}, "Harmonica \xE9t\xE9"},  // Windows-1252
                        {{16, 128}, "Power Kit"}};
  int changed = 0;
  binding_.set_presets_changed([&] { ++changed; });
  ASSERT_TRUE(binding_.ReplaceFont("/banks/one.sf2"));
  EXPECT_EQ("Piano", audio_.presets.At(0, 0));
  EXPECT_EQ("Flûte", audio_.presets.At(8, 127));
  EXPECT_EQ("Harmonica été", audio_.presets.At(40, 5));
  EXPECT_EQ("Power Kit", audio_.presets.At(128, 16));
  EXPECT_EQ("", audio_.presets.At(0, 1));
  EXPECT_EQ(40, audio_.presets.highest_bank);
  EXPECT_EQ(1, changed);
  bass_.font.presets = {{{0, 0}, "Organ"}};
  ASSERT_TRUE(binding_.ReplaceFont("/banks/two.sf2"));
  EXPECT_EQ("Organ", audio_.presets.At(0, 0));
  EXPECT_EQ("", audio_.presets.At(40, 5));
  EXPECT_EQ(0, audio_.presets.highest_bank);
}

// ---- Wrappers

TEST_F(AudioBindingTest, StreamsAreMadeWithTheWidePathFlag) {
  const bass::HSTREAM stream =
      CreateStream(bass_.api(), false, "/songs/é.mid", 0, 0, kPlaybackFlags, 0);
  EXPECT_NE(0u, stream);
  const auto made = bass_.Calls<FakeBass::StreamCreateFile>();
  ASSERT_EQ(1u, made.size());
  EXPECT_EQ("/songs/é.mid", made[0].path);
  EXPECT_EQ(0x80001000u, made[0].flags);
  EXPECT_EQ(0u, made[0].freq);
  CreateStream(bass_.api(), false, "/songs/é.mid", 0, 0, kConversionFlags, 0);
  EXPECT_EQ(0x80201000u, bass_.Calls<FakeBass::StreamCreateFile>()[1].flags);
}

TEST_F(AudioBindingTest, WrappersGiveTheLibrarysResults) {
  const bass::HSTREAM stream = bass_.AddStream({});
  EXPECT_TRUE(SetStreamPosition(bass_.api(), stream, 400, bass::BASS_POS_BYTE));
  EXPECT_EQ(400u, bass_.stream(stream).position);
  EXPECT_FALSE(SetStreamPosition(bass_.api(), 77, 400, bass::BASS_POS_BYTE));
  EXPECT_DOUBLE_EQ(2.0, SecondsOf(bass_.api(), stream, 352800));
  EXPECT_EQ(1001u, SetStreamSync(bass_.api(), stream, bass::BASS_SYNC_END, 0, nullptr, nullptr));
}

// ---- Tempo

TEST_F(AudioBindingTest, TempoIsSentOnChannelZeroTimesTheFactorToTheNearestInteger) {
  audio_.stream = bass_.AddStream({});
  audio_.base_tempo = 500001;
  audio_.speed_factor = 0.9;
  ApplyTempo(bass_.api(), audio_.stream, audio_);
  EXPECT_THAT(bass_.texts(), ElementsAre("StreamEvent 1 0 62 450001"));
}

TEST_F(AudioBindingTest, NoTempoIsSentWithoutAStreamNorWhereItWouldBeNone) {
  ApplyTempo(bass_.api(), 0, audio_);
  audio_.stream = bass_.AddStream({});
  audio_.speed_factor = 0;
  ApplyTempo(bass_.api(), audio_.stream, audio_);
  EXPECT_EQ(0, bass_.CallCount("BASS_MIDI_StreamEvent"));
}

TEST_F(AudioBindingTest, WhatIsSentLastIsMadeOfTheLatestValues) {
  audio_.stream = bass_.AddStream({});
  // The mixing thread meets a change of tempo between the window's reading and its sending.
  bass_.on_stream_event = [&](const FakeBass::StreamEvent&) {
    if (audio_.base_tempo == 500000) audio_.base_tempo = 400000;
  };
  audio_.speed_factor = 2;
  ApplyTempo(bass_.api(), audio_.stream, audio_);
  EXPECT_THAT(bass_.texts(),
              ElementsAre("StreamEvent 1 0 62 1000000", "StreamEvent 1 0 62 800000"));
}

TEST_F(AudioBindingTest, BaseTempoIsReadFromTheStreamAndStaysWhereThatDoesNotAnswer) {
  audio_.stream = bass_.AddStream({});
  bass_.SetValue(audio_.stream, 0, bass::MIDI_EVENT_TEMPO, 612345);
  RefreshBaseTempo(bass_.api(), audio_.stream, audio_);
  EXPECT_EQ(612345, audio_.base_tempo);
  RefreshBaseTempo(bass_.api(), 77, audio_);
  EXPECT_EQ(612345, audio_.base_tempo);
}

// ---- Shutdown

TEST_F(AudioBindingTest, ShutsDownStreamFontOutputAndPluginsInThisOrder) {
  ASSERT_TRUE(binding_.Initialise(nullptr));
  ASSERT_TRUE(binding_.ReplaceFont("/banks/one.sf2"));
  audio_.stream = bass_.AddStream({});
  bass_.ClearCalls();
  binding_.Shutdown();
  EXPECT_THAT(bass_.texts(),
              ElementsAre("Stop 1", "StreamFree 1", "FontFree 101", "Free", "PluginFree 0"));
  EXPECT_EQ(0u, audio_.stream);
  EXPECT_EQ(0u, audio_.font);
}

TEST_F(AudioBindingTest, ShutsDownWithNeitherStreamNorFont) {
  bass_.Fail("BASS_Init", bass::BASS_ERROR_DEVICE);
  binding_.Initialise(nullptr);
  binding_.Shutdown();
  EXPECT_EQ(0, bass_.CallCount("BASS_ChannelStop"));
  EXPECT_EQ(0, bass_.CallCount("BASS_MIDI_FontFree"));
  EXPECT_EQ(1, bass_.CallCount("BASS_Free"));
  EXPECT_EQ(1, bass_.CallCount("BASS_PluginFree"));
}

}  // namespace
}  // namespace vexolo
