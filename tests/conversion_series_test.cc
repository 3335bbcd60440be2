// layer: core
#include "app/conversion_series.h"

#include <chrono>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "audio/loader.h"
#include "convert/output_name.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/fake_window_thread.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

using std::chrono::milliseconds;
using std::chrono::year_month_day;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr year_month_day kDay{std::chrono::year(2009), std::chrono::month(3), std::chrono::day(5)};

/// The main window, as far as a conversion and the player see it.
class Window : public ConversionView, public TransportView {
 public:
  void ShowTags(ConversionForm& form, bool confirms_itself) override {
    self_confirming.push_back(confirms_itself);
    artists.push_back(form.boxes.artist);
    titles.push_back(form.boxes.title);
    if (on_tags) on_tags(form, confirms_itself);
  }
  void ShowRun() override { ++runs_shown; }
  void EndRun() override { ++runs_ended; }
  void EnableTimerEncodage(bool enabled) override { timer = enabled; }
  void TellConverted() override { ++converted_told; }
  void ShowSummary(const std::string& text, const std::string& folder) override {
    summaries.push_back(text);
    summary_folder = folder;
  }

  void ShowTitle(const std::string& song_path) override { shown_song = song_path; }
  void DrawPlay(bool pressed) override { play_pressed = pressed; }
  void DrawRepeat(int) override {}
  void AfficherMarqueurs() override { ++markers_drawn; }
  void DrawMix() override { ++mixes_drawn; }
  void ShowTime() override {}
  void EnableTimer(bool) override {}
  std::optional<std::string> AskTime(const std::string&) override { return std::nullopt; }

  std::function<void(ConversionForm&, bool)> on_tags;
  std::vector<bool> self_confirming;
  std::vector<std::string> artists;
  std::vector<std::string> titles;
  std::vector<std::string> summaries;
  std::string summary_folder;
  std::string shown_song;
  bool play_pressed = false;
  bool timer = false;
  int runs_shown = 0;
  int runs_ended = 0;
  int converted_told = 0;
  int markers_drawn = 0;
  int mixes_drawn = 0;
};

class ConversionSeriesTest : public testing::Test {
 protected:
  ConversionSeriesTest() {
    for (const char* name :
         {"a-la-claire-fontaine.mid", "ah-vous-dirai-je-maman.mid", "au-clair-de-la-lune.kar"}) {
      AddSong(name);
    }
    ini_.WriteIni("Wave", "SaveFolder", folder_ / "out/");
    ini_.WriteIni("Wave", "SaveScheme", "%T");
    state_.language_file =
        folder_.Write("xx.lng",
                      "[Main]\nOverWriteText=%1 is there\nOverWriteTitle=There\n"
                      "MidiReadError=Cannot read %1\nSF2NoneInfo=No bank\nTitre(0)=No song\n"
                      "[Tags]\nReason.Exists=exists\nReason.Cancelled=cancelled\n"
                      "Reason.Unreadable=unreadable\nReason.NoEncoder=no %1\n"
                      "Reason.EncoderFailed=encoder failed\nReason.NotWritable=not writable\n"
                      "Error.NoEncoder=%1 is missing\nError.EncoderFailed=%1 has failed\n"
                      "Error.NotWritable=Cannot write in %1\nSummary.Line=%1: %2\n"
                      "Summary.Done=Done: %1\nSummary.Skipped=Skipped: %1\n"
                      "Summary.Failed=Failed: %1\nSummary.Cancelled=Cancelled.\n");
    view_.on_tags = [](ConversionForm& form, bool) { Confirm(form, false); };
  }
  ~ConversionSeriesTest() override {
    series_.ShutDown();
    song_start_.CloseSong();
    binding_.Shutdown();
  }

  void SetUp() override {
    ASSERT_TRUE(binding_.Initialise(nullptr, 0));
    ASSERT_TRUE(binding_.ReplaceFont(VEXOLO_TEST_BANK, KeepBank::kForThisRun));
  }

  /// Copies a song, cut out to half a second, and adds it to the list.
  void AddSong(const std::string& name) {
    const std::string path = folder_ / name;
    std::filesystem::copy_file(std::string(VEXOLO_SONGS) + "/" + name, path);
    SetMarkers(path, "10,000", "10,500");
    state_.playlist.AjouteFichierPlayList(path);
  }
  void SetMarkers(const std::string& song, const char* start, const char* end) {
    const std::string file = SongSettingsPath(song);
    ini_.WriteIni("Marqueurs", "Marche", "1", file);
    ini_.WriteIni("Marqueurs", "Debut", start, file);
    ini_.WriteIni("Marqueurs", "Fin", end, file);
  }
  static void Confirm(ConversionForm& form, bool all) {
    FakeMessageBoxes nowhere;
    EXPECT_TRUE(form.Confirm(all, nowhere));
  }
  /// The first dialog is confirmed by "Tous", the others by their timer.
  void ConfirmAll() {
    view_.on_tags = [](ConversionForm& form, bool) { Confirm(form, true); };
  }

  /// The window's loop, with its timer, until the series is over.
  void Wait() {
    ASSERT_TRUE(window_.RunUntil([this] {
      if (view_.timer) series_.TimerEncodage_Timer();
      return !series_.is_under_way();
    }));
  }
  void Record() {
    series_.Action_Record();
    Wait();
  }
  bool WaitFor(const std::function<bool()>& done) { return window_.RunUntil(done); }
  bool HasFile(const std::string& name) { return FileExists(folder_ / ("out/" + name)); }
  std::string Tag(const char* key) { return ini_.ReadIni("Tags", key); }
  std::string SongPath(int place) const { return state_.playlist.Path(place); }
  void WriteProgram(const std::string& name, const std::string& text) {
    std::filesystem::create_directories(folder_ / "program");
    ::chmod(folder_.Write("program/" + name, text).c_str(), 0755);
  }

  std::unique_ptr<AudioLibrary> library_ = AudioLibrary::OpenEngine();
  const bass::Api& api_ = library_->api();
  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  modMidiTest state_{api_, nullptr};
  AudioBinding binding_{api_, state_.audio, ini_, boxes_};
  SongSettings settings_{ini_, ','};
  SongStart song_start_{api_, state_, binding_, ini_, settings_, nullptr};
  Window view_;
  Transport transport_{{api_, state_, song_start_, settings_, ini_, boxes_, view_, nullptr, ','}};
  FakeWindowThread window_;
  ConversionSeries series_{{api_, state_, song_start_, settings_, ini_, boxes_, transport_, view_,
                            view_, window_.Poster(), folder_ / "program", ',',
                            [this] { library_->EndEncoders(); }, [] { return kDay; }}};
};

// ---- One song

TEST_F(ConversionSeriesTest, ASongIsConvertedWithTheTagsThatItBringsAndTheyAreForgotten) {
  std::string comment;
  std::string stored_title;
  view_.on_tags = [&](ConversionForm& form, bool) {
    comment = form.boxes.comment;
    Confirm(form, false);
    stored_title = Tag("Titre");
  };
  Record();
  EXPECT_THAT(view_.titles, ElementsAre("À la claire fontaine"));
  EXPECT_EQ("À la claire fontaine", stored_title);
  EXPECT_THAT(comment,
              StartsWith("Converti de a-la-claire-fontaine.mid le 05/03/2009 avec Vexolo"));
  EXPECT_TRUE(HasFile("À la claire fontaine.wav"));
  EXPECT_TRUE(HasFile("À la claire fontaine.kok"));
  for (const char* key : {"Artiste", "Titre", "Commentaire"}) EXPECT_EQ("", Tag(key)) << key;
  EXPECT_THAT(view_.self_confirming, ElementsAre(false));
  EXPECT_TRUE(view_.summaries.empty());
  EXPECT_TRUE(boxes_.shown.empty());
  EXPECT_EQ(1, view_.runs_ended);
  EXPECT_EQ(1, view_.converted_told);
  EXPECT_FALSE(state_.converting);
  EXPECT_EQ(0u, state_.audio.stream);
  EXPECT_EQ(1, state_.playlist.playing());
}

TEST_F(ConversionSeriesTest, TheWindowShowsTheSongThatIsConverted) {
  ini_.WriteIni("Gain", "Slider", "-4", SongSettingsPath(SongPath(1)));
  bool saw = false;
  series_.Action_Record();
  ASSERT_TRUE(WaitFor([&] {
    if (state_.audio.stream != 0) {
      saw = true;
      EXPECT_TRUE(state_.converting);
      EXPECT_EQ(-4, state_.mix.Gain);
      EXPECT_GT(state_.audio.song_length, 10);
      EXPECT_EQ(10.0, state_.audio.markers.start);
      EXPECT_EQ(1, view_.mixes_drawn);
      EXPECT_EQ(1, view_.markers_drawn);
      EXPECT_EQ(SongPath(1), view_.shown_song);
    }
    return !series_.is_under_way();
  }));
  EXPECT_TRUE(saw);
  EXPECT_EQ(SongSettingsPath(SongPath(1)), settings_.path()) << "knobs go on changing this song";
}

TEST_F(ConversionSeriesTest, ASongThatPlaysGoesOnUntilTheDialogIsConfirmed) {
  transport_.Action_PlaySelected(2);
  const bass::HSTREAM played = state_.audio.stream;
  ASSERT_NE(0u, played);
  view_.on_tags = [&](ConversionForm& form, bool) {
    EXPECT_EQ(bass::BASS_ACTIVE_PLAYING, api_.BASS_ChannelIsActive(played));
    EXPECT_TRUE(state_.playing);
    EXPECT_FALSE(state_.converting);
    Confirm(form, false);
  };
  Record();
  EXPECT_EQ(bass::BASS_ACTIVE_STOPPED, api_.BASS_ChannelIsActive(played));
  EXPECT_FALSE(state_.playing);
  EXPECT_FALSE(view_.play_pressed);
  EXPECT_THAT(view_.titles, ElementsAre("Ah ! vous dirai-je, Maman"));
  EXPECT_EQ(2, state_.playlist.playing());
}

TEST_F(ConversionSeriesTest, WhatIsHeardIsWhatIsConverted) {
  // The settings of a song in a folder that cannot be written live in the window alone.
  transport_.Action_PlaySelected(1);
  state_.mix.Transpose = 5;
  state_.mix.MelodyOverride = true;
  state_.lyrics.code_pages().set_forced(kCodePageDos);
  state_.audio.markers = {12, 12.25, true};
  series_.Action_Record();
  ASSERT_TRUE(WaitFor([&] {
    if (state_.converting && state_.audio.stream != 0) {
      EXPECT_EQ(5, state_.mix.Transpose);
      EXPECT_TRUE(state_.mix.MelodyOverride);
      EXPECT_EQ(kCodePageDos, state_.lyrics.code_pages().forced());
      EXPECT_EQ(12.25, state_.audio.markers.end);
    }
    return !series_.is_under_way();
  }));
  const std::string name = CleanedForName(view_.titles.at(0));
  EXPECT_NE("À la claire fontaine", name) << "the code page in use has its say in the title";
  const auto size = std::filesystem::file_size(folder_ / ("out/" + name + ".wav"));
  EXPECT_NEAR(44 + 0.56 * 176400, static_cast<double>(size), 8);
}

TEST_F(ConversionSeriesTest, AbandonLeavesEverythingAsItIs) {
  transport_.Action_PlaySelected(1);
  const bass::HSTREAM played = state_.audio.stream;
  const std::string settings = folder_.Read("Vexolo.ini");
  view_.on_tags = [](ConversionForm& form, bool) { form.boxes.artist = "typed"; };
  Record();
  EXPECT_EQ(settings, folder_.Read("Vexolo.ini"));
  EXPECT_EQ(bass::BASS_ACTIVE_PLAYING, api_.BASS_ChannelIsActive(played));
  EXPECT_TRUE(state_.playing);
  EXPECT_EQ(0, view_.runs_shown);
  EXPECT_FALSE(FolderExists(folder_ / "out"));
}

TEST_F(ConversionSeriesTest, ARefusedQuestionLeavesTheSongPlaying) {
  folder_.Write("x", "");
  std::filesystem::create_directories(folder_ / "out");
  folder_.Write("out/À la claire fontaine.wav", "old");
  transport_.Action_PlaySelected(1);
  const bass::HSTREAM played = state_.audio.stream;
  Record();
  ASSERT_EQ(1u, boxes_.asked.size());
  EXPECT_EQ("There", boxes_.asked[0].title);
  EXPECT_EQ(bass::BASS_ACTIVE_PLAYING, api_.BASS_ChannelIsActive(played));
  EXPECT_TRUE(state_.playing);
  EXPECT_EQ("old", folder_.Read("out/À la claire fontaine.wav"));
  EXPECT_EQ(0, view_.runs_shown);
  EXPECT_TRUE(boxes_.shown.empty());
  EXPECT_EQ("", Tag("Titre")) << "forgotten all the same";
}

TEST_F(ConversionSeriesTest, TheSongOfTheDialogIsConvertedThoughThePlayerHasGoneOn) {
  transport_.Action_PlaySelected(1);
  view_.on_tags = [this](ConversionForm& form, bool) {
    transport_.EndOfSong(state_.audio.stream);
    EXPECT_EQ(2, state_.playlist.playing());
    Confirm(form, false);
  };
  Record();
  EXPECT_TRUE(HasFile("À la claire fontaine.wav"));
  EXPECT_EQ(1, state_.playlist.playing());
  EXPECT_EQ(0u, state_.audio.stream);
}

TEST_F(ConversionSeriesTest, TheDialogsValuesAreTheProgramsOwn) {
  view_.on_tags = [this](ConversionForm& form, bool) {
    form.boxes.line_length = "40";
    form.boxes.make_lyrics_file = false;
    Confirm(form, false);
  };
  Record();
  EXPECT_EQ(40, state_.conversion.max_line_length);
  EXPECT_FALSE(state_.conversion.make_lyrics_file);
  EXPECT_FALSE(HasFile("À la claire fontaine.kok"));
}

TEST_F(ConversionSeriesTest, WithoutABankAMessageSaysSo) {
  const bass::HSOUNDFONT font = std::exchange(state_.audio.font, 0);
  Record();
  state_.audio.font = font;
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_EQ("No bank", boxes_.shown[0].text);
  EXPECT_TRUE(view_.titles.empty());
}

TEST_F(ConversionSeriesTest, WithoutASongTheDialogStoresAndAMessageSaysSo) {
  state_.playlist.Clear();
  view_.on_tags = [](ConversionForm& form, bool) {
    EXPECT_EQ("", form.boxes.title);
    EXPECT_EQ("", form.boxes.comment);
    form.boxes.scheme = "%A";
    Confirm(form, true);
  };
  Record();
  EXPECT_EQ("%A", ini_.ReadIni("Wave", "SaveScheme"));
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_EQ("No song", boxes_.shown[0].text);
  EXPECT_TRUE(view_.summaries.empty());
  EXPECT_FALSE(state_.convert_all);
}

TEST_F(ConversionSeriesTest, AnUnreadableSongIsReportedAndTheTagsAreForgotten) {
  state_.playlist.Clear();
  state_.playlist.AjouteFichierPlayList(folder_.Write("bad.mid", "this is no song"));
  Record();
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_THAT(boxes_.shown[0].text, StartsWith("Cannot read " + SongPath(1)));
  EXPECT_THAT(boxes_.shown[0].text, HasSubstr("BASS error code: 41"));
  EXPECT_EQ("", Tag("Commentaire"));
  EXPECT_FALSE(state_.converting);
  EXPECT_EQ(0u, state_.audio.stream);
}

TEST_F(ConversionSeriesTest, AMissingEncoderIsExplainedUnderTheLibrarysError) {
  view_.on_tags = [](ConversionForm& form, bool) {
    form.boxes.format = AudioFormat::kOgg;  // the program folder is empty
    Confirm(form, false);
  };
  Record();
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_THAT(boxes_.shown[0].text, StartsWith("Problème d'encodage\n\nBASS error code: "));
  EXPECT_THAT(boxes_.shown[0].text, HasSubstr("\n\noggenc is missing"));
  EXPECT_EQ(BoxIcon::kExclamation, boxes_.shown[0].icon);
}

TEST_F(ConversionSeriesTest, ADyingEncoderIsExplainedAndWhatItWroteStays) {
  WriteProgram("oggenc",
               "#!/bin/sh\nfor last; do if [ \"$last\" != - ]; then out=$last; fi; done\n"
               "head -c 20000 >\"$out\"\nexit 1\n");
  view_.on_tags = [](ConversionForm& form, bool) {
    form.boxes.format = AudioFormat::kOgg;
    Confirm(form, false);
  };
  Record();
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_THAT(boxes_.shown[0].text, StartsWith("Problème d'encodage\n\n"));
  EXPECT_THAT(boxes_.shown[0].text, HasSubstr("oggenc has failed"));
  EXPECT_TRUE(HasFile("À la claire fontaine.ogg"));
}

TEST_F(ConversionSeriesTest, AFolderThatCannotBeMadeIsExplainedWithTheSystemsWords) {
  folder_.Write("out", "a file in the way");
  Record();
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_THAT(boxes_.shown[0].text, StartsWith("Cannot write in " + folder_ / "out"));
  EXPECT_THAT(boxes_.shown[0].text, HasSubstr("Erreur n° "));
}

TEST_F(ConversionSeriesTest, CancelRemovesTheFileAndSaysNothing) {
  SetMarkers(SongPath(1), "0", "0");
  series_.Action_Record();
  ASSERT_TRUE(WaitFor([this] { return series_.Progress().job.share > 0.01; }));
  EXPECT_TRUE(HasFile("À la claire fontaine.wav"));
  series_.Cancel();
  EXPECT_TRUE(series_.Progress().cancelling);
  Wait();
  EXPECT_FALSE(HasFile("À la claire fontaine.wav"));
  EXPECT_TRUE(boxes_.shown.empty());
  EXPECT_TRUE(view_.summaries.empty());
  EXPECT_EQ(0, view_.converted_told);
  EXPECT_EQ("", Tag("Titre"));
  EXPECT_EQ(1, view_.runs_ended);
}

TEST_F(ConversionSeriesTest, CancelEndsAnEncoderThatTakesNoInput) {
  WriteProgram("oggenc",
               "#!/bin/sh\nfor last; do if [ \"$last\" != - ]; then out=$last; fi; done\n"
               "echo x >\"$out\"\nexec sleep 1000\n");
  SetMarkers(SongPath(1), "0", "0");
  view_.on_tags = [](ConversionForm& form, bool) {
    form.boxes.format = AudioFormat::kOgg;
    Confirm(form, false);
  };
  series_.Action_Record();
  ASSERT_TRUE(WaitFor([this] { return HasFile("À la claire fontaine.ogg"); }));
  std::this_thread::sleep_for(milliseconds(300));  // its pipe is full
  const double stuck = series_.Progress().job.share;
  EXPECT_LT(stuck, 0.5);
  series_.Cancel();
  ASSERT_TRUE(window_.RunUntil([this] { return !series_.is_under_way(); }, milliseconds(5000)));
  EXPECT_FALSE(HasFile("À la claire fontaine.ogg"));
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(ConversionSeriesTest, CancelEndsAnEncoderThatDoesNotComeToItsEnd) {
  WriteProgram("oggenc",
               "#!/bin/sh\nfor last; do if [ \"$last\" != - ]; then out=$last; fi; done\n"
               "cat >\"$out\"\nexec sleep 1000\n");
  view_.on_tags = [](ConversionForm& form, bool) {
    form.boxes.format = AudioFormat::kOgg;
    Confirm(form, false);
  };
  series_.Action_Record();
  ASSERT_TRUE(WaitFor([this] { return series_.Progress().job.share == 1; }));
  std::this_thread::sleep_for(milliseconds(300));
  EXPECT_TRUE(series_.is_under_way());
  series_.Cancel();
  ASSERT_TRUE(window_.RunUntil([this] { return !series_.is_under_way(); }, milliseconds(5000)));
  EXPECT_FALSE(HasFile("À la claire fontaine.ogg"));
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(ConversionSeriesTest, ASecondRecordDuringARunDoesNothing) {
  series_.Action_Record();
  series_.Action_Record();
  ASSERT_TRUE(WaitFor([this] { return state_.converting; }));
  series_.Action_Record();
  Wait();
  EXPECT_EQ(1u, view_.titles.size());
}

TEST_F(ConversionSeriesTest, TheEndOfTheProgramEndsARunAndForgetsTheTags) {
  SetMarkers(SongPath(1), "0", "0");
  series_.Action_Record();
  ASSERT_TRUE(WaitFor([this] { return series_.Progress().job.share > 0.01; }));
  series_.ShutDown();
  EXPECT_FALSE(HasFile("À la claire fontaine.wav"));
  EXPECT_EQ("", Tag("Titre"));
  EXPECT_FALSE(series_.is_under_way());
}

// ---- The whole list

TEST_F(ConversionSeriesTest, TousConvertsEverySongWithItsOwnTags) {
  ConfirmAll();
  Record();
  EXPECT_THAT(view_.titles, ElementsAre("À la claire fontaine", "Ah ! vous dirai-je, Maman",
                                        "Au clair de la lune"));
  EXPECT_THAT(view_.self_confirming, ElementsAre(false, true, true));
  for (const std::string& title : view_.titles) {
    EXPECT_TRUE(HasFile(title + ".wav")) << title;
    EXPECT_TRUE(HasFile(title + ".kok")) << title;
  }
  ASSERT_EQ(1u, view_.summaries.size());
  EXPECT_EQ("Done: 3\n", view_.summaries[0]);
  EXPECT_EQ(folder_ / "out", view_.summary_folder);
  EXPECT_FALSE(state_.convert_all);
  EXPECT_FALSE(state_.converting);
  EXPECT_EQ(3, state_.playlist.playing());
  EXPECT_EQ("", Tag("Titre"));
  EXPECT_EQ(1, view_.runs_ended) << "the progress stays between the songs";
  EXPECT_EQ(0, view_.converted_told) << "the summary says it";
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(ConversionSeriesTest, TousBeginsWithTheCurrentSongAndCounts) {
  state_.playlist.PlayListSelect(2);
  ConfirmAll();
  std::vector<std::pair<int, int>> numbers;
  series_.Action_Record();
  ASSERT_TRUE(WaitFor([&] {
    if (view_.timer) series_.TimerEncodage_Timer();
    const SeriesProgress progress = series_.Progress();
    const std::pair now = {progress.number, progress.count};
    if (state_.converting && (numbers.empty() || numbers.back() != now)) numbers.push_back(now);
    return !series_.is_under_way();
  }));
  EXPECT_THAT(numbers, ElementsAre(std::pair(1, 2), std::pair(2, 2)));
  EXPECT_EQ(2u, view_.titles.size());
}

TEST_F(ConversionSeriesTest, TheCountFollowsAListThatChangesUnderTheRun) {
  ConfirmAll();
  series_.Action_Record();
  ASSERT_TRUE(WaitFor([this] {
    if (view_.timer) series_.TimerEncodage_Timer();
    return series_.Progress().number == 2 && series_.Progress().job.is_rendering;
  }));
  EXPECT_EQ(3, series_.Progress().count);
  state_.playlist.PlayListDelete({1});
  EXPECT_EQ(3, series_.Progress().count);
  state_.playlist.PlayListDelete({2});
  EXPECT_EQ(2, series_.Progress().count);
  Wait();
  EXPECT_EQ("Done: 2\n", view_.summaries.at(0));
}

TEST_F(ConversionSeriesTest, WhatTheUserTypedHoldsForTheWholeList) {
  ini_.WriteIni("Wave", "SaveScheme", "%A - %T");
  view_.on_tags = [](ConversionForm& form, bool itself) {
    if (!itself) form.boxes.artist = "Moi";
    Confirm(form, true);
  };
  Record();
  EXPECT_THAT(view_.artists, testing::Contains("Moi").Times(2));
  EXPECT_TRUE(HasFile("Moi - À la claire fontaine.wav"));
  EXPECT_TRUE(HasFile("Moi - Au clair de la lune.wav"));
  EXPECT_EQ("Moi", Tag("Artiste"));
}

TEST_F(ConversionSeriesTest, ASongThatFailsDoesNotEndTheList) {
  std::filesystem::remove(SongPath(2));
  folder_.Write("ah-vous-dirai-je-maman.mid", "no song any more");
  ConfirmAll();
  Record();
  EXPECT_TRUE(boxes_.shown.empty()) << "nobody may be there to answer";
  ASSERT_EQ(1u, view_.summaries.size());
  EXPECT_EQ("Done: 2\n\nFailed: 1\n  ah-vous-dirai-je-maman.mid: unreadable\n", view_.summaries[0]);
  EXPECT_EQ(2u, view_.titles.size()) << "no dialog for a song that is no song";
}

TEST_F(ConversionSeriesTest, AFirstSongThatFailsDoesNotEndTheListEither) {
  std::filesystem::remove(SongPath(1));
  ConfirmAll();
  Record();
  ASSERT_EQ(1u, view_.summaries.size());
  EXPECT_EQ("Done: 2\n\nFailed: 1\n  a-la-claire-fontaine.mid: unreadable\n", view_.summaries[0]);
  EXPECT_EQ(3u, view_.titles.size());
}

TEST_F(ConversionSeriesTest, FilesThatAreThereAreKeptOrReplacedAsTheUserAnswers) {
  ConfirmAll();
  Record();
  const auto stamp = [this](const std::string& title) {
    return StampOf(folder_ / ("out/" + title + ".wav"));
  };
  const std::vector<std::string> titles = view_.titles;
  const auto first = stamp(titles[0]);
  const auto second = stamp(titles[1]);
  state_.playlist.PlayListSelect(1);
  boxes_.answers = {false, true, false};
  Record();
  EXPECT_EQ(3u, boxes_.asked.size());
  EXPECT_EQ(first, stamp(titles[0]));
  EXPECT_NE(second, stamp(titles[1]));
  ASSERT_EQ(2u, view_.summaries.size());
  EXPECT_EQ(
      "Done: 1\n\nSkipped: 2\n  a-la-claire-fontaine.mid: exists\n"
      "  au-clair-de-la-lune.kar: exists\n",
      view_.summaries[1]);
}

TEST_F(ConversionSeriesTest, ARefusedFirstSongIsNotAskedAboutAgain) {
  ConfirmAll();
  Record();
  state_.playlist.PlayListSelect(0);
  state_.playlist.set_current(0);  // as after the start of the program
  view_.titles.clear();
  Record();  // every answer is No
  EXPECT_EQ(3u, view_.titles.size());
  EXPECT_EQ(3u, boxes_.asked.size());
  EXPECT_THAT(view_.summaries.at(1), StartsWith("Done: 0\n\nSkipped: 3\n"));
}

TEST_F(ConversionSeriesTest, CancelEndsTheWholeList) {
  SetMarkers(SongPath(2), "0", "0");
  ConfirmAll();
  series_.Action_Record();
  ASSERT_TRUE(WaitFor([this] {
    if (view_.timer) series_.TimerEncodage_Timer();
    return series_.Progress().number == 2 && series_.Progress().job.share > 0.01;
  }));
  series_.Cancel();
  Wait();
  EXPECT_TRUE(HasFile("À la claire fontaine.wav"));
  EXPECT_FALSE(HasFile("Ah ! vous dirai-je, Maman.wav"));
  ASSERT_EQ(1u, view_.summaries.size());
  EXPECT_EQ("Done: 1\n\nSkipped: 1\n  ah-vous-dirai-je-maman.mid: cancelled\n\nCancelled.\n",
            view_.summaries[0]);
  EXPECT_FALSE(state_.convert_all);
}

TEST_F(ConversionSeriesTest, CancelBetweenTwoSongsEndsTheList) {
  ConfirmAll();
  series_.Action_Record();
  ASSERT_TRUE(WaitFor([this] { return view_.timer; }));
  series_.Cancel();
  ASSERT_TRUE(WaitFor([this] { return !series_.is_under_way(); })) << "without the timer";
  EXPECT_FALSE(view_.timer);
  EXPECT_EQ(1u, view_.titles.size());
  ASSERT_EQ(1u, view_.summaries.size());
  EXPECT_EQ("Done: 1\n\nCancelled.\n", view_.summaries[0]);
}

TEST_F(ConversionSeriesTest, TheNextSongWaitsForTheTimer) {
  ConfirmAll();
  series_.Action_Record();
  ASSERT_TRUE(WaitFor([this] { return view_.timer; }));
  EXPECT_FALSE(window_.RunUntil([this] { return view_.titles.size() > 1; }, milliseconds(1500)));
  series_.TimerEncodage_Timer();
  EXPECT_EQ(2u, view_.titles.size()) << "it has been opened meanwhile";
  Wait();
}

TEST_F(ConversionSeriesTest, AbandonInADialogThatConfirmsItselfEndsTheList) {
  view_.on_tags = [](ConversionForm& form, bool itself) {
    if (!itself) Confirm(form, true);
  };
  Record();
  ASSERT_EQ(1u, view_.summaries.size());
  EXPECT_EQ("Done: 1\n\nCancelled.\n", view_.summaries[0]);
  EXPECT_FALSE(state_.converting);
}

TEST_F(ConversionSeriesTest, OkInADialogThatConfirmsItselfMakesThisSongTheLast) {
  view_.on_tags = [](ConversionForm& form, bool itself) { Confirm(form, !itself); };
  Record();
  EXPECT_EQ(2u, view_.titles.size());
  EXPECT_EQ("Done: 2\n", view_.summaries.at(0));
}

TEST_F(ConversionSeriesTest, TheProgressSpeaksOfTheSong) {
  SetMarkers(SongPath(1), "0", "0");
  series_.Action_Record();
  ASSERT_TRUE(WaitFor([this] { return series_.Progress().job.share > 0.01; }));
  const SeriesProgress progress = series_.Progress();
  EXPECT_THAT(progress.song, StartsWith("À la claire fontaine"));
  EXPECT_EQ(1, progress.number);
  EXPECT_EQ(1, progress.count);
  EXPECT_FALSE(progress.cancelling);
  EXPECT_GT(progress.job.Speed(), 0);
}

}  // namespace
}  // namespace vexolo
