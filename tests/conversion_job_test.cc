// layer: core
#include "app/conversion_job.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/separate_song.h"
#include "app/song_conversion.h"
#include "audio/loader.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/fake_window_thread.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

using std::chrono::milliseconds;
using ::testing::StartsWith;

constexpr std::size_t kWavHeader = 44;

class ConversionJobTest : public testing::Test {
 protected:
  ConversionJobTest() {
    std::filesystem::copy_file(std::string(VEXOLO_SONGS) + "/au-clair-de-la-lune.kar", song_path_);
    song_.path = song_path_;
    request_.song_path = song_path_;
    request_.program_folder = VEXOLO_PROGRAM_FOLDER;
    request_.settings.folder = folder_ / "out/";
    request_.settings.scheme = "audio";
    request_.texts = {"%1|exists", "Overwrite?", "Cannot read %1"};
  }
  ~ConversionJobTest() override {
    job_.GiveUp();
    library_->api().BASS_MIDI_FontFree(song_.font);
    library_->api().BASS_Free();
  }

  void SetUp() override {
    const bass::Api& api = library_->api();
    ASSERT_TRUE(api.BASS_Init(0, kOutputRate, 0, nullptr, nullptr));
    song_.font = api.BASS_MIDI_FontInit(VEXOLO_TEST_BANK, 0);
    ASSERT_NE(0u, song_.font);
    const bass::BASS_MIDI_FONT entry = {song_.font, -1, 0};
    api.BASS_MIDI_StreamSetFonts(0, &entry, 1);
  }

  void Set(const char* section, const char* key, const std::string& value) {
    ini_.WriteIni(section, key, value, folder_ / "song.zvn");
  }
  void CutOut(const char* start, const char* end) {
    Set("Marqueurs", "Marche", "1");
    Set("Marqueurs", "Debut", start);
    Set("Marqueurs", "Fin", end);
  }

  ConversionJob::Events Events() {
    return {[this] {
              ++replaced_;
              CheckThread();
            },
            [this](const std::string& text, const std::string& title) {
              CheckThread();
              EXPECT_EQ(0, replaced_) << "the question comes before the song";
              return boxes_.AskYesNo(text, title);
            },
            [this](const OpenedSong& opened) {
              CheckThread();
              opened_ = opened;
            },
            [this](const RunOutcome& outcome) {
              CheckThread();
              EXPECT_FALSE(job_.is_under_way());
              outcome_ = outcome;
            }};
  }
  void CheckThread() const { EXPECT_EQ(window_id_, std::this_thread::get_id()); }

  void Begin() {
    outcome_.reset();
    replaced_ = 0;
    job_.Run(song_, request_, Events());
  }
  RunStatus Run() {
    Begin();
    EXPECT_TRUE(window_.RunUntil([this] { return outcome_.has_value(); }));
    return outcome_ ? outcome_->result.status : RunStatus::kCancelled;
  }
  OpenedSong Open() {
    std::optional<OpenedSong> opened;
    job_.Open(song_, [&](const OpenedSong& answer) { opened = answer; });
    EXPECT_TRUE(window_.RunUntil([&] { return opened.has_value(); }));
    return opened.value_or(OpenedSong());
  }
  bool HasFile(const std::string& name) { return FileExists(folder_ / ("out/" + name)); }

  std::unique_ptr<AudioLibrary> library_ = AudioLibrary::OpenEngine();
  TemporaryFolder folder_;
  const std::string song_path_ = folder_ / "song.kar";
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  FakeWindowThread window_;
  const std::thread::id window_id_ = std::this_thread::get_id();
  ConversionJob job_{{library_->api(), window_.Poster(), folder_ / "Vexolo.ini", ','}};
  JobSong song_;
  RunRequest request_;
  std::optional<RunOutcome> outcome_;
  OpenedSong opened_;
  int replaced_ = 0;
};

TEST_F(ConversionJobTest, OpeningTellsWhoseSongItIsAndHowLong) {
  Set("Gain", "Slider", "3");
  const OpenedSong opened = Open();
  EXPECT_NE(0u, opened.stream);
  EXPECT_EQ("Au clair de la lune", opened.title);
  EXPECT_FALSE(opened.artist.empty());
  EXPECT_GT(opened.length, 10);
  EXPECT_GT(opened.length_ticks, 0u);
  EXPECT_EQ(3, opened.user.mix.gain);
  EXPECT_EQ(1.0, opened.speed_factor);
  EXPECT_FALSE(job_.is_under_way());
}

TEST_F(ConversionJobTest, TheRunGivesTheBytesOfARunWithoutThreads) {
  CutOut("10,000", "13,000");
  ASSERT_EQ(RunStatus::kDone, Run());
  EXPECT_EQ(1, replaced_);
  EXPECT_TRUE(outcome_->messages.empty());
  EXPECT_NEAR(3.31, outcome_->result.seconds, 0.001);
  EXPECT_NE(0u, opened_.stream);
  EXPECT_EQ(bass::BASS_ACTIVE_STOPPED, library_->api().BASS_ChannelIsActive(opened_.stream));
  const std::string audio = folder_.Read("out/audio.wav");
  const std::string lyrics = folder_.Read("out/audio.kok");
  EXPECT_GT(audio.size(), kWavHeader + 400000);
  EXPECT_FALSE(lyrics.empty());

  std::filesystem::remove_all(folder_ / "out");
  SeparateSong here(library_->api(), folder_ / "Vexolo.ini", ',', boxes_);
  here.state.audio.font = song_.font;
  SongConversion conversion(here.state, here.start, song_path_);
  ASSERT_EQ(RunStatus::kDone, RunConversion(library_->api(), conversion, request_, boxes_).status);
  EXPECT_TRUE(audio == folder_.Read("out/audio.wav"));
  EXPECT_EQ(lyrics, folder_.Read("out/audio.kok"));
}

TEST_F(ConversionJobTest, ASongThatIsOpenIsTakenOverAndAnyOtherOneIsOpened) {
  CutOut("2,000", "3,000");
  const OpenedSong first = Open();
  ASSERT_EQ(RunStatus::kDone, Run());
  EXPECT_EQ(first.stream, opened_.stream);

  const OpenedSong second = Open();
  EXPECT_NE(first.stream, second.stream);
  UserMix mix = second.user;
  mix.mix.transpose = 2;
  song_.user_mix = mix;
  boxes_.answers = {true};
  ASSERT_EQ(RunStatus::kDone, Run());
  EXPECT_NE(second.stream, opened_.stream) << "it was opened with another mix";
  EXPECT_EQ(bass::BASS_ACTIVE_STOPPED, library_->api().BASS_ChannelIsActive(second.stream));
}

TEST_F(ConversionJobTest, WhatTheWindowHasSetComesBeforeTheSettingsBesideTheSong) {
  CutOut("2,000", "30,000");
  UserMix mix = Open().user;
  mix.markers = {4, 5, true};
  mix.mix.mute.fill(1);
  song_.user_mix = mix;
  ASSERT_EQ(RunStatus::kDone, Run());
  EXPECT_NEAR(1.31, outcome_->result.seconds, 0.001);
  const std::string audio = folder_.Read("out/audio.wav");
  ASSERT_GT(audio.size(), kWavHeader);
  EXPECT_TRUE(
      std::all_of(audio.begin() + kWavHeader, audio.end(), [](char byte) { return byte == 0; }));
}

TEST_F(ConversionJobTest, AnExistingFileIsAskedAboutAndNoLeavesEverythingAsItIs) {
  std::filesystem::create_directories(folder_ / "out");
  folder_.Write("out/audio.wav", "old");
  boxes_.answers = {false};
  EXPECT_EQ(RunStatus::kRefused, Run());
  ASSERT_EQ(1u, boxes_.asked.size());
  EXPECT_EQ(folder_ / "out/audio.wav" + "\nexists", boxes_.asked[0].text);
  EXPECT_EQ(0, replaced_) << "what plays goes on playing";
  EXPECT_EQ("old", folder_.Read("out/audio.wav"));
  EXPECT_FALSE(HasFile("audio.kok"));
  EXPECT_TRUE(outcome_->messages.empty());
}

TEST_F(ConversionJobTest, YesReplacesAnExistingFile) {
  CutOut("2,000", "3,000");
  std::filesystem::create_directories(folder_ / "out");
  folder_.Write("out/audio.wav", "old");
  boxes_.answers = {true};
  job_.Run(song_, request_, [this] {
    ConversionJob::Events events = Events();
    events.replace = [] {};
    return events;
  }());
  ASSERT_TRUE(window_.RunUntil([this] { return outcome_.has_value(); }));
  EXPECT_EQ(RunStatus::kDone, outcome_->result.status);
  EXPECT_GT(folder_.Read("out/audio.wav").size(), 200000u);
}

TEST_F(ConversionJobTest, ACancelledRunLeavesNoFile) {
  Begin();
  ASSERT_TRUE(window_.RunUntil([this] { return job_.Progress().share > 0.02; }));
  EXPECT_TRUE(HasFile("audio.wav"));
  job_.Cancel();
  ASSERT_TRUE(window_.RunUntil([this] { return outcome_.has_value(); }, milliseconds(5000)));
  EXPECT_EQ(RunStatus::kCancelled, outcome_->result.status);
  EXPECT_FALSE(HasFile("audio.wav"));
  EXPECT_FALSE(HasFile("audio.kok"));
  EXPECT_TRUE(outcome_->messages.empty());
}

TEST_F(ConversionJobTest, ACancelledRunLeavesNoChildAndTheNextOneWorks) {
  request_.settings.format = AudioFormat::kOgg;
  Begin();
  ASSERT_TRUE(window_.RunUntil([this] { return job_.Progress().share > 0.02; }));
  job_.Cancel();
  ASSERT_TRUE(window_.RunUntil([this] { return outcome_.has_value(); }));
  EXPECT_EQ(RunStatus::kCancelled, outcome_->result.status);
  EXPECT_FALSE(HasFile("audio.ogg"));
  CutOut("2,000", "3,000");
  EXPECT_EQ(RunStatus::kDone, Run());
  EXPECT_TRUE(HasFile("audio.ogg"));
}

TEST_F(ConversionJobTest, ProgressRisesAndSpeaksOfSpeedAndTime) {
  Begin();
  EXPECT_FALSE(job_.Progress().SecondsLeft().has_value());
  ASSERT_TRUE(window_.RunUntil([this] { return job_.Progress().share > 0.05; }));
  const JobProgress early = job_.Progress();
  EXPECT_TRUE(early.is_rendering);
  EXPECT_GT(early.Speed(), 0);
  ASSERT_TRUE(early.SecondsLeft().has_value());
  EXPECT_GT(*early.SecondsLeft(), 0);
  EXPECT_NEAR(opened_.length * early.share, early.seconds, 0.1 * opened_.length);
  ASSERT_TRUE(window_.RunUntil([&] { return job_.Progress().share > early.share; }));
  job_.Cancel();
  ASSERT_TRUE(window_.RunUntil([this] { return outcome_.has_value(); }));
}

TEST_F(ConversionJobTest, PositionCanBeReadWhileTheRunIsUnderWay) {
  Begin();
  const bass::Api& api = library_->api();
  ASSERT_TRUE(window_.RunUntil([&] {
    return opened_.stream != 0 &&
           api.BASS_ChannelGetPosition(opened_.stream, bass::BASS_POS_MIDI_TICK) > 1000;
  }));
  EXPECT_NE(bass::kError32, api.BASS_ChannelGetLevel(opened_.stream));
  job_.Cancel();
  ASSERT_TRUE(window_.RunUntil([this] { return outcome_.has_value(); }));
}

TEST_F(ConversionJobTest, ASongThatCannotBeReadIsToldOnceTheRunIsOver) {
  song_.path = folder_.Write("bad.mid", "this is no song");
  request_.song_path = song_.path;
  EXPECT_EQ(0u, Open().stream);
  EXPECT_EQ(RunStatus::kCannotOpenSong, Run());
  EXPECT_EQ(bass::BASS_ERROR_FILEFORM, outcome_->result.audio_error);
  ASSERT_EQ(1u, outcome_->messages.size());
  EXPECT_THAT(outcome_->messages[0].text, StartsWith("Cannot read " + song_.path));
  EXPECT_EQ(0u, opened_.stream);
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(ConversionJobTest, TheEndOfTheProgramDoesNotWaitForAnAnswer) {
  std::filesystem::create_directories(folder_ / "out");
  folder_.Write("out/audio.wav", "old");
  Begin();
  std::this_thread::sleep_for(milliseconds(50));
  job_.GiveUp();  // the question is posted and nobody answers
  EXPECT_FALSE(window_.RunUntil([this] { return outcome_.has_value(); }, milliseconds(50)));
  EXPECT_TRUE(boxes_.asked.empty());
  EXPECT_EQ("old", folder_.Read("out/audio.wav"));
}

TEST_F(ConversionJobTest, TheEndOfTheProgramCancelsARun) {
  Begin();
  ASSERT_TRUE(window_.RunUntil([this] { return job_.Progress().share > 0.01; }));
  job_.GiveUp();
  EXPECT_FALSE(HasFile("audio.wav"));
  EXPECT_FALSE(window_.RunUntil([this] { return outcome_.has_value(); }, milliseconds(50)));
}

TEST_F(ConversionJobTest, ASongThatWasOpenedForNothingIsClosed) {
  const OpenedSong opened = Open();
  job_.Discard();
  EXPECT_EQ(bass::BASS_ACTIVE_STOPPED, library_->api().BASS_ChannelIsActive(opened.stream));
  EXPECT_EQ(bass::BASS_ERROR_HANDLE, library_->api().BASS_ErrorGetCode());
}

TEST_F(ConversionJobTest, AQuestionThatCannotBeAskedCountsAsNo) {
  std::filesystem::create_directories(folder_ / "out");
  folder_.Write("out/audio.wav", "old");
  ConversionJob::Events events = Events();
  events.ask = [](const std::string&, const std::string&) -> bool { throw std::bad_alloc(); };
  job_.Run(song_, request_, std::move(events));
  EXPECT_THROW(window_.RunUntil([this] { return outcome_.has_value(); }), std::bad_alloc);
  ASSERT_TRUE(window_.RunUntil([this] { return outcome_.has_value(); }));
  EXPECT_EQ(RunStatus::kRefused, outcome_->result.status);
  EXPECT_EQ("old", folder_.Read("out/audio.wav"));
}

}  // namespace
}  // namespace vexolo
