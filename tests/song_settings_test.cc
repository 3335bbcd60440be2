// layer: core
#include "mixer/song_settings.h"

#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/mixer_bench.h"
#include "mixer/controller_table.h"

namespace vexolo {
namespace {

using testing::Each;
using testing::HasSubstr;

struct SongFile : testing::Test, MixerBench {
  void Write(const std::string& text) { folder.Write("Tune.zvn", text); }
  void Load() {
    settings.LoadMix(state);
    settings.LoadMarqueurs(audio.markers);
  }
};

TEST(SongSettingsPath, ReplacesTheExtensionWhateverItIs) {
  EXPECT_EQ("/songs/Tune.zvn", SongSettingsPath("/songs/Tune.kar"));
  EXPECT_EQ("/songs/Tune.zvn", SongSettingsPath("/songs/Tune.MIDI"));
  EXPECT_EQ("/songs.old/Tune.zvn", SongSettingsPath("/songs.old/Tune"));
  EXPECT_EQ("/a/1.5 Tune.live.zvn", SongSettingsPath("/a/1.5 Tune.live.mid"));
  EXPECT_EQ("", SongSettingsPath(""));
}

TEST_F(SongFile, FolderWithoutFilePlaysTheSongAsItIs) {
  state.Gain = state.Tempo = state.Transpose = 5;
  state.ChannelVolume.fill(3);
  state.ChannelMute.fill(1);
  state.overrides.Set(7, 9);
  audio.markers = {1, 2, true};
  Load();
  EXPECT_EQ(0, state.Gain);
  EXPECT_EQ(0, state.Tempo);
  EXPECT_EQ(0, state.Transpose);
  EXPECT_THAT(state.ChannelVolume, Each(100));
  EXPECT_THAT(state.ChannelMute, Each(0));
  EXPECT_FALSE(state.overrides.Has(7));
  EXPECT_FALSE(audio.markers.on);
  EXPECT_EQ(0, audio.markers.start);
  EXPECT_EQ(0, audio.markers.end);
  EXPECT_FALSE(FileExists(settings.path()));
}

TEST_F(SongFile, WithoutASongLoadsDefaultsAndSavesNothing) {
  folder.Write("Vexolo.ini", "[Gain]\nSlider=9\n[Volume]\nCh0=7\n");
  const std::string before = folder.Read("Vexolo.ini");
  settings.SetSong("");
  state.Gain = 4;
  state.ChannelVolume.fill(3);
  Load();
  EXPECT_EQ(0, state.Gain);
  EXPECT_THAT(state.ChannelVolume, Each(100));
  settings.SaveGain(state);
  settings.SaveTempo(state);
  settings.SaveTranspose(state);
  settings.SaveVolume(state);
  settings.SaveMute(state);
  settings.SaveCC(state, 0);
  settings.SaveMarqueurs(audio.markers);
  EXPECT_EQ(before, folder.Read("Vexolo.ini"));
  EXPECT_EQ(1u, folder.CountEntries());
  EXPECT_TRUE(boxes.shown.empty());
}

TEST_F(SongFile, LevelOfZeroMeansMutedAtLevel100AndIsSavedAs100) {
  Write("[Volume]\nCh3=0\nCh4=55\n[Mute]\nCh3=0\nCh5=1\n");
  Load();
  EXPECT_EQ(100, state.ChannelVolume[3]);
  EXPECT_EQ(1, state.ChannelMute[3]);
  EXPECT_EQ(55, state.ChannelVolume[4]);
  EXPECT_EQ(0, state.ChannelMute[4]);
  EXPECT_EQ(1, state.ChannelMute[5]);
  settings.SaveVolume(state, 3);
  EXPECT_EQ("100", Saved("Volume", "Ch3"));
}

TEST_F(SongFile, TempoReadsEitherDecimalSeparator) {
  for (const char* text : {"12,5", "12.5"}) {
    Write(std::string("[Tempo]\nSlider=") + text + "\n");
    settings.LoadTempo(state);
    EXPECT_EQ(125, state.Tempo);
    state.Tempo = 0;
    std::filesystem::remove(settings.path());
  }
}

TEST_F(SongFile, TempoIsWrittenInPercentWithTheUsersSeparator) {
  state.Tempo = 125;
  settings.SaveTempo(state);
  EXPECT_EQ("12.5", Saved("Tempo", "Slider"));
  SongSettings french(ini, ',');
  french.SetSong(folder / "Tune.kar");
  state.Tempo = -2500;
  french.SaveTempo(state);
  EXPECT_EQ("-250,0", Saved("Tempo", "Slider"));
  state.Tempo = 3;
  french.SaveTempo(state);
  EXPECT_EQ("0,3", Saved("Tempo", "Slider"));
}

TEST_F(SongFile, EverySpeedComesBackAsItWasWritten) {
  for (const int tempo : {-10000, -2500, -1, 0, 1, 599, 600}) {
    state.Tempo = static_cast<std::int16_t>(tempo);
    settings.SaveTempo(state);
    state.Tempo = 77;
    settings.LoadTempo(state);
    EXPECT_EQ(tempo, state.Tempo);
  }
}

TEST_F(SongFile, GainAndTransposeAreWholeNumbers) {
  state.Gain = -20;
  state.Transpose = 12;
  settings.SaveGain(state);
  settings.SaveTranspose(state);
  EXPECT_EQ("-20", Saved("Gain", "Slider"));
  EXPECT_EQ("12", Saved("Transpose", "Slider"));
  state.Gain = state.Transpose = 0;
  Load();
  EXPECT_EQ(-20, state.Gain);
  EXPECT_EQ(12, state.Transpose);
}

TEST_F(SongFile, VolumeIsSavedForOneChannelOrAll) {
  state.ChannelVolume[2] = 150;
  settings.SaveVolume(state, 2);
  EXPECT_EQ("150", Saved("Volume", "Ch2"));
  EXPECT_EQ("", Saved("Volume", "Ch15"));
  settings.SaveVolume(state);
  EXPECT_EQ("100", Saved("Volume", "Ch0"));
  EXPECT_EQ("100", Saved("Volume", "Ch15"));
  settings.SaveVolume(state, 16);
  EXPECT_EQ("", Saved("Volume", "Ch16"));
}

TEST_F(SongFile, MuteIsSavedForOneChannelOrAll) {
  state.ChannelMute[2] = 1;
  settings.SaveMute(state, 2);
  EXPECT_EQ("1", Saved("Mute", "Ch2"));
  EXPECT_EQ("", Saved("Mute", "Ch3"));
  settings.SaveMute(state, -1);
  EXPECT_EQ("0", Saved("Mute", "Ch3"));
}

TEST_F(SongFile, OverridesAreKeptAtTheirIndex) {
  state.overrides.Set(ControllerEntry(kPanKind, 3), 0);
  state.overrides.Set(SongEntry(11), 70000);
  settings.SaveCC(state, 19);
  settings.SaveCC(state, 122);
  settings.SaveCC(state, 20);
  EXPECT_EQ("0", Saved("CC", "CC19"));
  EXPECT_EQ("70000", Saved("CC", "CC122"));
  EXPECT_EQ("", Saved("CC", "CC20"));
  state.overrides.Clear();
  state.overrides.Set(20, 5);
  settings.LoadCC(state);
  EXPECT_EQ(0, state.overrides.Get(19));
  EXPECT_EQ(70000, state.overrides.Get(122));
  EXPECT_FALSE(state.overrides.Has(20));
}

TEST_F(SongFile, MarkersAreSecondsWithThreeDecimals) {
  SongSettings french(ini, ',');
  french.SetSong(folder / "Tune.kar");
  french.SaveMarqueurs({3.25, 60, true});
  EXPECT_EQ("1", Saved("Marqueurs", "Marche"));
  EXPECT_EQ("3,250", Saved("Marqueurs", "Debut"));
  EXPECT_EQ("60,000", Saved("Marqueurs", "Fin"));
  Markers markers;
  settings.LoadMarqueurs(markers);
  EXPECT_TRUE(markers.on);
  EXPECT_EQ(3.25, markers.start);
  EXPECT_EQ(60, markers.end);
  settings.SaveMarqueurs({3.25, 60, false});
  settings.LoadMarqueurs(markers);
  EXPECT_FALSE(markers.on);
  EXPECT_EQ("3.250", Saved("Marqueurs", "Debut"));
}

TEST_F(SongFile, OnlyTheTextOneTurnsTheMarkersOn) {
  for (const char* text : {"2", "01", "true", ""}) {
    ini.WriteIni("Marqueurs", "Marche", text, settings.path());
    Markers markers;
    settings.LoadMarqueurs(markers);
    EXPECT_FALSE(markers.on) << text;
  }
}

TEST_F(SongFile, AbsurdValuesStopAtTheEndsOfTheirType) {
  Write(
      "[Gain]\nSlider=1e300\n[Tempo]\nSlider=-1e99\n[Transpose]\nSlider=NaN\n"
      "[Volume]\nCh0=99999\nCh1=-99999\nCh2=x\n[Mute]\nCh0=300\nCh1=-1\n"
      "[CC]\nCC0=99999999999\nCC1=-5\nCC2=inf\n[Marqueurs]\nDebut=nan\nFin=1e999\n");
  Load();
  EXPECT_EQ(32767, state.Gain);
  EXPECT_EQ(-32768, state.Tempo);
  EXPECT_EQ(0, state.Transpose);
  EXPECT_EQ(32767, state.ChannelVolume[0]);
  EXPECT_EQ(-32768, state.ChannelVolume[1]);
  EXPECT_EQ(0, state.ChannelVolume[2]);
  EXPECT_EQ(255, state.ChannelMute[0]);
  EXPECT_EQ(0, state.ChannelMute[1]);
  EXPECT_EQ(2147483647, state.overrides.Get(0));
  EXPECT_FALSE(state.overrides.Has(1));
  EXPECT_EQ(0, state.overrides.Get(2));
  EXPECT_EQ(0, audio.markers.start);
  EXPECT_EQ(0, audio.markers.end);
}

TEST_F(SongFile, FolderThatCannotBeWrittenIsNotReported) {
  settings.SetSong(folder / "gone/Tune.kar");
  state.Gain = 3;
  settings.SaveGain(state);
  settings.LoadGain(state);
  EXPECT_EQ(0, state.Gain);
  EXPECT_TRUE(boxes.shown.empty());
}

TEST_F(SongFile, TheCodePageOfTheLyricsIsKeptForTheSong) {
  EXPECT_EQ(-1, settings.LoadCodePage());
  for (std::int16_t page = 0; page <= 3; ++page) {
    settings.SaveCodePage(page);
    EXPECT_EQ(std::to_string(page), Saved("Lyrics", "CodePage"));
    EXPECT_EQ(page, settings.LoadCodePage());
  }
  settings.SaveCodePage(-1);
  EXPECT_EQ("", Saved("Lyrics", "CodePage"));
  EXPECT_EQ(-1, settings.LoadCodePage());
  for (const char* wrong : {"4", "-1", "12", "x"}) {
    Write(std::string("[Lyrics]\nCodePage=") + wrong + "\n");
    EXPECT_EQ(-1, settings.LoadCodePage()) << wrong;
  }
  settings.SetSong("");
  settings.SaveCodePage(2);
  EXPECT_EQ(-1, settings.LoadCodePage());
}

TEST_F(SongFile, EachSaveWritesItsOwnKeysOnly) {
  Write("[Gain]\nSlider=7\nOther=kept\n");
  state.Transpose = 2;
  settings.SaveTranspose(state);
  EXPECT_THAT(folder.Read("Tune.zvn"), HasSubstr("Other=kept"));
  EXPECT_EQ("7", Saved("Gain", "Slider"));
}

}  // namespace
}  // namespace vexolo
