// layer: core
#include "app/song_facts_reader.h"

#include <chrono>
#include <filesystem>
#include <random>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "audio/audio_binding.h"
#include "audio/loader.h"
#include "fakes/temporary_folder.h"
#include "lyrics/lyric_model.h"
#include "platform/file_io.h"
#include "platform/text_encoding.h"
#include "song_builder.h"

namespace vexolo {
namespace {

namespace fs = std::filesystem;
using engine::testing::SongBuilder;

/// What the player says when it has opened the song.
SongFacts FactsOfOpenSong(const bass::Api& api, const std::string& path) {
  const bass::HSTREAM stream = CreateStream(api, false, path, 0, 0, kConversionFlags, 0);
  EXPECT_NE(stream, 0u) << path;
  LyricModel lyrics(api, nullptr);
  lyrics.InitLyrics(stream, true);
  const auto readable = [&](const std::string& text) {
    return Utf8FromWindows1252(lyrics.ConvertLyricText(text));
  };
  const bass::QWORD bytes = api.BASS_ChannelGetLength(stream, bass::BASS_POS_BYTE);
  SongFacts facts = {SecondsOf(api, stream, bytes), readable(lyrics.title()),
                     readable(lyrics.artist())};
  api.BASS_StreamFree(stream);
  return facts;
}

class SongFactsReaderTest : public ::testing::Test {
 protected:
  void ExpectSameAsOpened(const std::string& path) {
    const SongFacts opened = FactsOfOpenSong(library_->api(), path);
    const SongFacts facts = ReadFactsOfSong(path);
    EXPECT_NEAR(facts.length, opened.length, 1e-6) << path;
    EXPECT_EQ(facts.title, opened.title) << path;
    EXPECT_EQ(facts.artist, opened.artist) << path;
  }

  void SetUp() override { ASSERT_TRUE(library_->api().BASS_Init(0, 44100, 0, nullptr, nullptr)); }
  void TearDown() override { library_->api().BASS_Free(); }

  TemporaryFolder folder_;
  std::unique_ptr<AudioLibrary> library_ = AudioLibrary::OpenEngine();
};

TEST_F(SongFactsReaderTest, TheDemoSongsTellWhatThePlayerTells) {
  int songs = 0;
  for (const auto& entry : fs::directory_iterator(VEXOLO_SONGS)) {
    const std::string extension = entry.path().extension().string();
    if (extension != ".mid" && extension != ".kar") continue;
    ExpectSameAsOpened(entry.path().string());
    ++songs;
  }
  EXPECT_GE(songs, 4);
  EXPECT_EQ(ReadFactsOfSong(VEXOLO_SONGS "/au-clair-de-la-lune.kar").title, "Au clair de la lune");
}

TEST_F(SongFactsReaderTest, TempoChangesCount) {
  SongBuilder song;
  song.Tempo(0, 400'000).Tempo(960, 1'000'000).Note(0, 480, 0, 60).End(1920);
  const std::string path = folder_.Write("a.mid", song.Song());
  ExpectSameAsOpened(path);
  EXPECT_NEAR(ReadFactsOfSong(path).length, 2 * 0.4 + 2 * 1.0, 1e-4);
}

TEST_F(SongFactsReaderTest, WhatIsNoSongHasNoFacts) {
  EXPECT_EQ(ReadFactsOfSong(folder_ / "none.mid"), SongFacts());
  EXPECT_EQ(ReadFactsOfSong(folder_.path()), SongFacts());
  EXPECT_EQ(ReadFactsOfSong(""), SongFacts());
  EXPECT_EQ(ReadFactsOfSong(folder_.Write("empty.mid", "")), SongFacts());
  EXPECT_EQ(ReadFactsOfSong(folder_.Write("text.mid", "no song at all")), SongFacts());
  EXPECT_EQ(ReadFactsOfSong(folder_.Write("head.mid", std::string("MThd\0\0\0\6\0\1", 10))),
            SongFacts());
}

TEST_F(SongFactsReaderTest, APipeIsNotWaitedFor) {
  ASSERT_EQ(mkfifo((folder_ / "pipe.mid").c_str(), 0600), 0);
  EXPECT_EQ(ReadFactsOfSong(folder_ / "pipe.mid"), SongFacts());
}

TEST_F(SongFactsReaderTest, AnythingFarBiggerThanASongIsLeftAlone) {
  const std::string song = SongBuilder().Note(0, 480, 0, 60).Song();
  const std::string path = folder_.Write("big.mid", song + std::string(17u << 20, '\0'));
  EXPECT_EQ(ReadFactsOfSong(path), SongFacts());
}

TEST_F(SongFactsReaderTest, DamagedSongsAreSurvived) {
  const std::string song = *ReadWholeFile(VEXOLO_SONGS "/au-clair-de-la-lune.kar");
  std::mt19937 engine(5);
  for (int i = 0; i < 300; ++i) {
    std::string damaged = song;
    for (int j = 0; j < 20; ++j) damaged[engine() % damaged.size()] = static_cast<char>(engine());
    damaged.resize(engine() % (damaged.size() + 1));
    const SongFacts facts = ReadFactsOfSong(folder_.Write("a.mid", damaged));
    EXPECT_GE(facts.length, 0);
    EXPECT_TRUE(IsValidUtf8(facts.title) && IsValidUtf8(facts.artist));
  }
}

TEST_F(SongFactsReaderTest, TakesLittleTime) {
  const auto start = std::chrono::steady_clock::now();
  constexpr int kTimes = 20;
  for (int i = 0; i < kTimes; ++i) ReadFactsOfSong(VEXOLO_SONGS "/au-clair-de-la-lune.kar");
  const auto each = (std::chrono::steady_clock::now() - start) / kTimes;
  RecordProperty("microseconds", static_cast<int>(each / std::chrono::microseconds(1)));
  EXPECT_LT(each, std::chrono::milliseconds(20));
}

}  // namespace
}  // namespace vexolo
