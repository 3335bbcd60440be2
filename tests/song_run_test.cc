// layer: core
// Whole songs through the open engine, as a conversion pulls them.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "app/song_conversion.h"
#include "app/song_start.h"
#include "app/time_format.h"
#include "audio/loader.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "song_builder.h"

namespace vexolo {
namespace {

constexpr double kRate = 44100;

class Notifier : public EndOfSongNotifier {
 public:
  void SongEnded(bass::HSTREAM stream) override { ended = stream; }
  std::atomic<bass::HSTREAM> ended{0};
};

class SongRunTest : public testing::Test {
 protected:
  SongRunTest() {
    std::filesystem::copy_file(std::string(VEXOLO_SONGS) + "/a-la-claire-fontaine.mid", song_);
  }
  ~SongRunTest() override { binding_.Shutdown(); }

  void SetUp() override {
    ASSERT_TRUE(binding_.Initialise(nullptr, 0));
    ASSERT_TRUE(binding_.ReplaceFont(VEXOLO_TEST_BANK, KeepBank::kForThisRun));
  }

  void Set(const char* section, const char* key, const std::string& value) {
    ini_.WriteIni(section, key, value, folder_ / "song.zvn");
  }
  void SetMarkers(bool on, const char* start, const char* end) {
    Set("Marqueurs", "Marche", on ? "1" : "0");
    Set("Marqueurs", "Debut", start);
    Set("Marqueurs", "Fin", end);
  }

  /// Every sample of the run, both channels, or the first `enough` of them and a few more.
  std::vector<std::int16_t> Run(std::size_t enough = SIZE_MAX) {
    std::vector<std::int16_t> samples;
    if (start_.Start(song_, {.use = SongUse::kConversion}) != SongStartResult::kStarted) return {};
    const bass::Api& api = library_->api();
    const bass::HSTREAM stream = state_.audio.stream;
    std::vector<std::int16_t> block(512);
    while (samples.size() < enough &&
           api.BASS_ChannelIsActive(stream) == bass::BASS_ACTIVE_PLAYING) {
      const bass::DWORD got = api.BASS_ChannelGetData(stream, block.data(), 1024);
      if (got == bass::kError32) break;
      samples.insert(samples.end(), block.begin(),
                     block.begin() + static_cast<std::ptrdiff_t>(got / sizeof(std::int16_t)));
    }
    return samples;
  }

  std::unique_ptr<AudioLibrary> library_ = AudioLibrary::OpenEngine();
  TemporaryFolder folder_;
  std::string song_ = folder_ / "song.mid";
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  modMidiTest state_{library_->api(), nullptr};
  AudioBinding binding_{library_->api(), state_.audio, ini_, boxes_};
  SongSettings settings_{ini_, ','};
  Notifier notifier_;
  SongStart start_{library_->api(), state_, binding_, ini_, settings_, &notifier_};
};

TEST_F(SongRunTest, MarkersAndSpeedCutOutTheTypedPartAndFadeItToSilence) {
  Set("Tempo", "Slider", "20,0");      // factor 0.8
  SetMarkers(true, "1,600", "4,800");  // typed as 2 and 6 seconds
  const std::vector<std::int16_t> faded = Run();
  EXPECT_TRUE(start_.end_has_run());
  EXPECT_DOUBLE_EQ(0.8, state_.audio.speed_factor);
  ASSERT_NEAR((6.0 + 0.3 + 0.01 - 2.0) * kRate, static_cast<double>(faded.size()) / 2, 3);

  SetMarkers(true, "1,600", "0,000");
  const std::vector<std::int16_t> whole = Run(faded.size() + 1);
  EXPECT_FALSE(start_.end_has_run());
  ASSERT_GT(whole.size(), faded.size());
  // The same sound, sample for sample, times the falling gain from the end marker on.
  const std::size_t fade_at = static_cast<std::size_t>(std::llround((6.0 - 2.0) * kRate)) * 2;
  int loudest = 0;
  for (std::size_t i = 0; i < faded.size(); ++i) {
    const double late = i < fade_at ? 0 : static_cast<double>(i - fade_at) / (0.3 * kRate * 2);
    const double expected = whole[i] * std::max(0.0, 1 - late);
    ASSERT_NEAR(expected, faded[i], 0.5 + std::abs(whole[i]) * 3e-4) << i;
    if (i < fade_at) loudest = std::max<int>(loudest, std::abs(whole[i]));
  }
  EXPECT_GT(loudest, 1000);
  for (std::size_t i = faded.size() - 800; i < faded.size(); ++i) ASSERT_EQ(0, faded[i]);
}

TEST_F(SongRunTest, MarkersThatAreOffLeaveTheWholeSong) {
  using engine::testing::SongBuilder;
  folder_.Write("song.mid",
                SongBuilder().Note(0, 480, 0, 60).Note(960, 480, 0, 67).End(1920).Song());
  const std::vector<std::int16_t> whole = Run();
  EXPECT_TRUE(start_.end_has_run());
  EXPECT_DOUBLE_EQ(2.0, state_.audio.song_length);
  EXPECT_GE(whole.size() / 2, static_cast<std::size_t>(2.0 * kRate));

  SetMarkers(false, "0,500", "1,000");
  EXPECT_EQ(whole, Run());
  EXPECT_TRUE(start_.end_has_run());
  SetMarkers(true, "0,500", "1,000");
  EXPECT_NEAR(0.81 * kRate, static_cast<double>(Run().size()) / 2, 3);
}

TEST_F(SongRunTest, ARunTwiceIsTheSameSampleForSample) {
  Set("Tempo", "Slider", "20,0");
  Set("CC", "CC0", "60");
  SetMarkers(true, "1,600", "4,800");
  const std::vector<std::int16_t> first = Run();
  const std::vector<std::int16_t> second = Run();
  EXPECT_FALSE(first.empty());
  EXPECT_EQ(first, second);
}

TEST_F(SongRunTest, TheLengthFollowsTheSpeedAndTheWholeSongEndsByItself) {
  Run(1);
  const double length = state_.audio.song_length;
  EXPECT_GT(length, 10);
  Set("Tempo", "Slider", "50");
  const std::vector<std::int16_t> fast = Run();
  EXPECT_TRUE(start_.end_has_run());
  EXPECT_NEAR(length / 2, state_.audio.song_length, 0.002);
  EXPECT_GE(static_cast<double>(fast.size()) / 2, state_.audio.song_length * kRate - 1);
  EXPECT_LT(static_cast<double>(fast.size()) / 2, (state_.audio.song_length + 10) * kRate);
}

TEST_F(SongRunTest, WordsAndMelodyAreKnownBeforeTheRun) {
  ASSERT_EQ(SongStartResult::kStarted, start_.Start(song_, {.use = SongUse::kConversion}));
  EXPECT_GT(state_.lyrics.nNbParoles(), 10);
  EXPECT_GE(state_.mix.MelodyChannel, 0);
  start_.CloseSong();
}

TEST_F(SongRunTest, ASongThatIsPlayedEndsAfterItsMarkerInItsOwnTime) {
  using Clock = std::chrono::steady_clock;
  SetMarkers(true, "1,000", "1,400");
  const auto begun = Clock::now();
  ASSERT_EQ(SongStartResult::kStarted, start_.Start(song_));
  const bass::HSTREAM stream = state_.audio.stream;
  while (notifier_.ended == 0 && Clock::now() - begun < std::chrono::seconds(20)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_EQ(stream, notifier_.ended);
  EXPECT_GT(Clock::now() - begun, std::chrono::milliseconds(400));
  EXPECT_EQ(bass::BASS_ACTIVE_STOPPED, library_->api().BASS_ChannelIsActive(stream));
  EXPECT_FALSE(state_.audio.fading);
  EXPECT_EQ(0.0, state_.audio.fade_gain);
  start_.CloseSong();
  EXPECT_EQ(0u, state_.audio.stream);
}

TEST_F(SongRunTest, AWavFileAndItsLyricsComeOfTheWholeRoad) {
  Run(1);
  const double first = state_.lyrics.syllable(1).time;  // at the song's own speed, as the markers
  SetMarkers(true, std::to_string(first - 1).c_str(), std::to_string(first + 5).c_str());
  RunRequest request;
  request.settings.folder = folder_.path() + "/";
  request.settings.scheme = "%A - %T";
  request.settings.tags.artist = "Une chorale";
  request.settings.tags.title = "La fontaine";
  request.song_path = song_;
  SongConversion conversion(state_, start_, song_);
  double share = 0;
  const RunResult result =
      RunConversion(library_->api(), conversion, request, boxes_, [&](double done) {
        EXPECT_TRUE(state_.converting);
        share = done;
        return true;
      });
  ASSERT_EQ(RunStatus::kDone, result.status);
  EXPECT_NEAR(1.0, share, 0.001);
  EXPECT_NEAR(6.31, result.seconds, 0.001);
  EXPECT_EQ(folder_ / "Une chorale - La fontaine.wav", result.audio_path);
  EXPECT_NEAR(6.31 * kRate * 4 + 44,
              static_cast<double>(std::filesystem::file_size(result.audio_path)), 12);
  const std::string lyrics = folder_.Read("Une chorale - La fontaine.kok");
  // The first syllable, a second into the file.
  const std::size_t time = lyrics.find(';') + 1;
  EXPECT_NEAR(1.0, ParseTime(lyrics.substr(time, lyrics.find(';', time) - time)), 0.002) << lyrics;
  EXPECT_GT(std::count(lyrics.begin(), lyrics.end(), ';'), 10);
  EXPECT_FALSE(state_.converting);
  EXPECT_EQ(0u, state_.audio.stream);
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(SongRunTest, TheCodePageThatIsChosenActsOnTheLyricsFile) {
  Run(1);
  const double first = state_.lyrics.syllable(1).time;
  SetMarkers(true, std::to_string(first - 0.5).c_str(), std::to_string(first + 0.5).c_str());
  RunRequest request;
  request.settings.folder = folder_.path() + "/";
  request.settings.scheme = "song";
  request.song_path = song_;
  const auto lyrics_of_run = [&] {
    SongConversion conversion(state_, start_, song_);
    const RunResult result =
        RunConversion(library_->api(), conversion, request, boxes_, [](double) { return true; });
    EXPECT_EQ(RunStatus::kDone, result.status);
    std::filesystem::remove(result.audio_path);
    return folder_.Read("song.kok");
  };
  const std::string written = lyrics_of_run();
  EXPECT_NE(std::string::npos, written.find('\xC0')) << written;
  Set("Lyrics", "CodePage", "2");  // 0xC0 is "¿" there
  const std::string as_macintosh = lyrics_of_run();
  EXPECT_EQ(std::string::npos, as_macintosh.find('\xC0')) << as_macintosh;
  EXPECT_NE(std::string::npos, as_macintosh.find('\xBF')) << as_macintosh;
}

TEST_F(SongRunTest, ASongThatCannotBeReadEndsTheRoadWithTheErrorBox) {
  const std::string bad = folder_.Write("bad.mid", "this is no song");
  RunRequest request;
  request.settings.folder = folder_.path() + "/";
  request.settings.scheme = "out";
  request.song_path = bad;
  request.texts.cannot_open = "Illisible";
  SongConversion conversion(state_, start_, bad);
  const RunResult result = RunConversion(library_->api(), conversion, request, boxes_);
  EXPECT_EQ(RunStatus::kCannotOpenSong, result.status);
  EXPECT_EQ(bass::BASS_ERROR_FILEFORM, result.audio_error);
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_TRUE(boxes_.shown[0].text.starts_with("Illisible"));
  EXPECT_FALSE(state_.converting);
}

}  // namespace
}  // namespace vexolo
