// layer: core
#include "convert/encoding_run.h"

#include <cerrno>
#include <functional>
#include <new>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_bass.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "settings/language.h"

namespace vexolo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// What the song start does, as far as a run notices.
class FakeSong : public SongToConvert {
 public:
  explicit FakeSong(FakeBass& bass) : bass_(bass) {
    content.length = FakeBass::kBytesPerSecond;
    content.marks[bass::BASS_MIDI_MARK_TEXT] = {{0, 88200, "la"}};
  }

  bass::HSTREAM OpenForRendering() override {
    ++opened;
    stream = bass_.api().BASS_MIDI_StreamCreateFile(0, "song.mid", 0, 0, 0x80201000, 0);
    if (stream == 0) return 0;
    bass_.api().BASS_ChannelSetSync(stream, bass::BASS_SYNC_END, 0, EndOfRun, this);
    return stream;
  }
  double RenderedSeconds() const override { return seconds; }
  bool EndHasRun() const override { return end_has_run; }
  LyricsFileOptions LyricsOptions() const override {
    LyricsFileOptions options;
    options.lyric_track = 0;
    return options;
  }
  void Close() override {
    ++closed;
    bass_.api().BASS_StreamFree(stream);
  }

  FakeBass::Song content;
  double seconds = 1;
  bool end_has_run = false;
  int opened = 0;
  int closed = 0;
  bass::HSTREAM stream = 0;

 private:
  static void BASS_CALLBACK EndOfRun(bass::HSYNC, bass::DWORD, bass::DWORD, void* user) {
    static_cast<FakeSong*>(user)->end_has_run = true;
  }
  FakeBass& bass_;
};

class EncodingRunTest : public ::testing::Test {
 protected:
  EncodingRunTest() : song_(bass_) {
    bass_.song = song_.content;
    request_.settings.folder = folder_ / "out/";
    request_.settings.scheme = "%A - %T";
    request_.settings.tags.artist = "X";
    request_.settings.tags.title = "Y";
    request_.song_path = folder_.Write("song.mid", "");
    request_.program_folder = "/prog";
    request_.texts = {"%1|exists", "Overwrite?", "Cannot|read"};
    // The encoder makes its file, as the real ones do.
    bass_.on_encode_start = [this](const FakeBass::EncodeStart&) { Write("encoded"); };
  }

  std::string Path(const std::string& extension) { return folder_ / ("out/X - Y" + extension); }
  std::string AudioName() {
    return "X - Y" + std::string(AudioExtension(request_.settings.format));
  }
  void Write(const std::string& content) {
    std::filesystem::create_directories(folder_ / "out");
    folder_.Write("out/" + AudioName(), content);
  }
  RunResult Convert(const RunProgress& progress = {}) {
    return RunConversion(bass_.api(), song_, request_, boxes_, progress);
  }

  TemporaryFolder folder_;
  FakeBass bass_;
  FakeMessageBoxes boxes_;
  FakeSong song_;
  RunRequest request_;
};

TEST_F(EncodingRunTest, WavIsWrittenByTheLibraryItself) {
  const RunResult result = Convert();
  EXPECT_EQ(result.status, RunStatus::kDone);
  EXPECT_EQ(result.audio_path, Path(".wav"));
  const auto starts = bass_.Calls<FakeBass::EncodeStart>();
  ASSERT_EQ(starts.size(), 1U);
  EXPECT_EQ(starts[0].cmdline, Path(".wav"));
  EXPECT_EQ(starts[0].flags, 0x40U);
  EXPECT_DOUBLE_EQ(result.seconds, 1.0);
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(EncodingRunTest, Mp3AndOggAreStartedByTheirCommandLines) {
  request_.settings.format = AudioFormat::kMp3;
  EXPECT_EQ(Convert().audio_path, Path(".mp3"));
  request_.settings.format = AudioFormat::kOgg;
  EXPECT_EQ(Convert().audio_path, Path(".ogg"));
  const auto starts = bass_.Calls<FakeBass::EncodeStart>();
  ASSERT_EQ(starts.size(), 2U);
  EXPECT_EQ(starts[0].cmdline, "\"lame\" -h -b128 --ignore-tag-errors --ta \"X\" --tt \"Y\" - \"" +
                                   Path(".mp3") + "\"");
  EXPECT_EQ(starts[1].cmdline,
            "\"/prog/oggenc\" -o -b128 -a\"X\" -t\"Y\" \"" + Path(".ogg") + "\" -");
  EXPECT_EQ(starts[0].flags, 0x40000U);
  EXPECT_EQ(starts[1].flags, 0x40000U);
}

TEST_F(EncodingRunTest, SchemeMakesFoldersUnderTheDestination) {
  request_.settings.scheme = "%a\\%t";
  request_.settings.format = AudioFormat::kMp3;
  EXPECT_EQ(Convert().audio_path, folder_ / "out/X/Y.mp3");
  EXPECT_TRUE(FolderExists(folder_ / "out/X"));
}

TEST_F(EncodingRunTest, SoundIsPulledInBlocksOf1024Bytes) {
  std::vector<double> shares;
  Convert([&](double share) {
    shares.push_back(share);
    return true;
  });
  ASSERT_EQ(shares.size(), 173U) << "176400 bytes, the last block a shorter one";
  EXPECT_DOUBLE_EQ(shares[0], 1024.0 / 176400);
  EXPECT_DOUBLE_EQ(shares.back(), 1.0);
}

TEST_F(EncodingRunTest, EncoderIsStoppedBeforeTheLyricsAreWrittenAndTheStreamGoesLast) {
  bool lyrics_at_stop = true;
  bass_.on_encode_stop = [&](bass::HENCODE) { lyrics_at_stop = FileExists(Path(".kok")); };
  const RunResult result = Convert();
  EXPECT_FALSE(lyrics_at_stop);
  EXPECT_EQ(result.lyrics_path, Path(".kok"));
  EXPECT_EQ(folder_.Read("out/X - Y.kok"), "la;0,5000;");
  EXPECT_LT(bass_.IndexOf("EncodeStop"), bass_.IndexOf("StreamFree"));
  EXPECT_EQ(song_.closed, 1);
}

TEST_F(EncodingRunTest, NoLyricsFileWhenTheSwitchIsOff) {
  request_.settings.make_lyrics_file = false;
  EXPECT_EQ(Convert().lyrics_path, "");
  EXPECT_FALSE(FileExists(Path(".kok")));
}

TEST_F(EncodingRunTest, LineLengthOfTheSettingsHoldsForTheLyricsFile) {
  bass_.song.marks[bass::BASS_MIDI_MARK_TEXT] = {{0, 0, "one two"}, {0, 88200, "three"}};
  request_.settings.max_line_length = 10;
  Convert();
  EXPECT_EQ(folder_.Read("out/X - Y.kok"), "one\r\ntwo;0,0000;three;0,5000;");
}

TEST_F(EncodingRunTest, NoLyricsFileWhenTheEndWasNotReached) {
  bass_.encode_active = {1, 1, 0};
  const RunResult result = Convert();
  EXPECT_EQ(result.lyrics_path, "");
  EXPECT_FALSE(FileExists(Path(".kok")));
}

TEST_F(EncodingRunTest, LyricsFileThatCannotBeWrittenIsTold) {
  std::filesystem::create_directories(Path(".kok"));
  const RunResult result = Convert();
  EXPECT_EQ(result.status, RunStatus::kLyricsNotWritten);
  EXPECT_NE(result.file_error.number, 0);
  EXPECT_TRUE(FileExists(Path(".wav")));
  ASSERT_EQ(boxes_.shown.size(), 1U);
  EXPECT_THAT(boxes_.shown[0].text, StartsWith("Erreur n° "));
}

TEST_F(EncodingRunTest, ExistingFileIsAskedForWithTheLanguagesTexts) {
  Write("old");
  boxes_.answers = {true};
  EXPECT_EQ(Convert().status, RunStatus::kDone);
  ASSERT_EQ(boxes_.asked.size(), 1U);
  EXPECT_EQ(boxes_.asked[0].text, Path(".wav") + BreakLines("|exists"));
  EXPECT_EQ(boxes_.asked[0].title, "Overwrite?");
  EXPECT_EQ(folder_.Read("out/X - Y.wav"), "encoded");
}

TEST_F(EncodingRunTest, AnswerNoRendersNothingAndLeavesTheFileAlone) {
  Write("old");
  EXPECT_EQ(Convert().status, RunStatus::kRefused);
  EXPECT_EQ(song_.opened, 0);
  EXPECT_EQ(song_.closed, 0);
  EXPECT_TRUE(bass_.texts().empty());
  EXPECT_TRUE(boxes_.shown.empty()) << "no message";
  EXPECT_EQ(folder_.Read("out/X - Y.wav"), "old");
}

TEST_F(EncodingRunTest, SongThatCannotBeOpenedIsReportedWithTheLibrarysError) {
  bass_.Fail("BASS_MIDI_StreamCreateFile", bass::BASS_ERROR_FILEFORM);
  const RunResult result = Convert();
  EXPECT_EQ(result.status, RunStatus::kCannotOpenSong);
  EXPECT_EQ(result.audio_error, bass::BASS_ERROR_FILEFORM);
  ASSERT_EQ(boxes_.shown.size(), 1U);
  EXPECT_THAT(boxes_.shown[0].text, StartsWith(BreakLines("Cannot|read")));
  EXPECT_THAT(boxes_.shown[0].text, HasSubstr("BASS_ERROR_FILEFORM"));
  EXPECT_EQ(bass_.CallCount("BASS_Encode_Start"), 0);
  EXPECT_EQ(song_.closed, 1);
}

TEST_F(EncodingRunTest, SongThatCannotBeOpenedIsNamed) {
  bass_.Fail("BASS_MIDI_StreamCreateFile", bass::BASS_ERROR_FILEFORM);
  request_.texts.cannot_open = "Cannot|read %1";
  Convert();
  request_.texts.cannot_open = "";
  Convert();
  ASSERT_EQ(boxes_.shown.size(), 2U);
  EXPECT_THAT(boxes_.shown[0].text, StartsWith(BreakLines("Cannot|read ") + request_.song_path));
  EXPECT_THAT(boxes_.shown[1].text, StartsWith(request_.song_path));
}

TEST_F(EncodingRunTest, EncoderThatCannotBeStartedIsReportedAndNothingIsDeleted) {
  Write("old");
  boxes_.answers = {true};
  bass_.Fail("BASS_Encode_Start", bass::BASS_ERROR_FILEOPEN);
  const RunResult result = Convert();
  EXPECT_EQ(result.status, RunStatus::kCannotStart);
  EXPECT_EQ(result.audio_error, bass::BASS_ERROR_FILEOPEN);
  ASSERT_EQ(boxes_.shown.size(), 1U);
  EXPECT_THAT(boxes_.shown[0].text, StartsWith("Problème d'encodage"));
  EXPECT_EQ(folder_.Read("out/X - Y.wav"), "old");
  EXPECT_EQ(bass_.CallCount("BASS_ChannelGetData"), 0);
  EXPECT_EQ(song_.closed, 1);
}

TEST_F(EncodingRunTest, EncoderThatQuitsEndsTheLoopAtOnceAndWhatItWroteStays) {
  bass_.encode_active = {1, 1, 0};
  const RunResult result = Convert();
  EXPECT_EQ(result.status, RunStatus::kEncoderFailed);
  EXPECT_EQ(bass_.CallCount("BASS_ChannelGetData"), 2);
  ASSERT_EQ(boxes_.shown.size(), 1U);
  EXPECT_THAT(boxes_.shown[0].text, StartsWith("Problème d'encodage"));
  EXPECT_EQ(folder_.Read("out/X - Y.wav"), "encoded");
  EXPECT_EQ(song_.closed, 1);
}

TEST_F(EncodingRunTest, EncoderThatCannotFinishItsFileIsAFailure) {
  bass_.Fail("BASS_Encode_Stop", bass::BASS_ERROR_UNKNOWN);
  const RunResult result = Convert();
  EXPECT_EQ(result.status, RunStatus::kEncoderFailed);
  EXPECT_EQ(result.audio_error, bass::BASS_ERROR_UNKNOWN);
  EXPECT_THAT(boxes_.shown.at(0).text, HasSubstr("BASS_ERROR_UNKNOWN"));
}

TEST_F(EncodingRunTest, EncoderThatFailsAtTheVeryEndLeavesTheLyricsBeside) {
  bass_.Fail("BASS_Encode_Stop", bass::BASS_ERROR_UNKNOWN);
  EXPECT_EQ(Convert().lyrics_path, Path(".kok"));
  EXPECT_TRUE(FileExists(Path(".wav")));
}

TEST_F(EncodingRunTest, EncoderThatQuitsBeforeTheEndLeavesNoLyrics) {
  bass_.encode_active = {1, 1, 0};
  EXPECT_EQ(Convert().lyrics_path, "");
  EXPECT_FALSE(FileExists(Path(".kok")));
}

TEST_F(EncodingRunTest, EncoderThatFreedItselfAtTheEndIsNoFailure) {
  bass_.Fail("BASS_Encode_Stop", bass::BASS_ERROR_HANDLE);
  EXPECT_EQ(Convert().status, RunStatus::kDone);
}

TEST_F(EncodingRunTest, CancelStopsTheEncoderAndRemovesTheFile) {
  int blocks = 0;
  const RunResult result = Convert([&](double) { return ++blocks < 3; });
  EXPECT_EQ(result.status, RunStatus::kCancelled);
  EXPECT_EQ(bass_.CallCount("BASS_ChannelGetData"), 3);
  EXPECT_EQ(bass_.CallCount("BASS_Encode_Stop"), 1);
  EXPECT_FALSE(FileExists(Path(".wav")));
  EXPECT_FALSE(FileExists(Path(".kok")));
  EXPECT_TRUE(boxes_.shown.empty());
  EXPECT_EQ(song_.closed, 1);
}

TEST_F(EncodingRunTest, FolderThatCannotBeMadeIsTold) {
  folder_.Write("out", "a file");
  const RunResult result = Convert();
  EXPECT_EQ(result.status, RunStatus::kCannotMakeFolder);
  EXPECT_EQ(song_.opened, 0);
  EXPECT_THAT(boxes_.shown.at(0).text, StartsWith("Erreur n° "));
}

TEST_F(EncodingRunTest, QuoteInATagStopsTheRunBeforeItStarts) {
  request_.settings.format = AudioFormat::kOgg;
  request_.settings.tags.comment = "say \"hello\"";
  const RunResult result = Convert();
  EXPECT_EQ(result.status, RunStatus::kFieldRefused);
  EXPECT_EQ(result.field, CommandField::kComment);
  EXPECT_EQ(song_.opened, 0);
  EXPECT_THAT(boxes_.shown.at(0).text, HasSubstr("\"Commentaire\""));
  EXPECT_FALSE(FolderExists(folder_ / "out"));
}

TEST_F(EncodingRunTest, QuoteInATagDoesNotMatterToAWavFile) {
  request_.settings.tags.comment = "say \"hello\"";
  EXPECT_EQ(Convert().status, RunStatus::kDone);
}

TEST_F(EncodingRunTest, SongIsNeverReplacedByItsOwnAudio) {
  request_.song_path = folder_.Write("X - Y.wav", "song");
  request_.settings.folder = folder_.path();
  boxes_.answers = {true};
  EXPECT_EQ(Convert().status, RunStatus::kIsTheSong);
  EXPECT_EQ(folder_.Read("X - Y.wav"), "song");
}

TEST_F(EncodingRunTest, WavBeyond4GigabytesIsSeenBeforeTheRun) {
  song_.seconds = 24348;  // 4,294,987,244 bytes
  const RunResult result = Convert();
  EXPECT_EQ(result.status, RunStatus::kTooLong);
  EXPECT_EQ(result.file_error.number, EFBIG);
  EXPECT_EQ(bass_.CallCount("BASS_Encode_Start"), 0);
  EXPECT_EQ(boxes_.shown.size(), 1U);
  EXPECT_EQ(song_.closed, 1);
}

TEST_F(EncodingRunTest, TooLittleFreeSpaceIsSeenBeforeTheRun) {
  request_.settings.format = AudioFormat::kMp3;
  song_.seconds = 1e15;
  const RunResult result = Convert();
  EXPECT_EQ(result.status, RunStatus::kNoSpace);
  EXPECT_EQ(result.file_error.number, ENOSPC);
  EXPECT_EQ(bass_.CallCount("BASS_Encode_Start"), 0);
}

TEST(ExpectedBytesTest, FollowsTheFormat) {
  EXPECT_DOUBLE_EQ(ExpectedBytes(AudioFormat::kWav, "", 2), 44 + 2 * 176400);
  EXPECT_DOUBLE_EQ(ExpectedBytes(AudioFormat::kMp3, "320", 2), 80000);
  EXPECT_DOUBLE_EQ(ExpectedBytes(AudioFormat::kMp3, "", 2), 32000);
  EXPECT_LE(ExpectedBytes(AudioFormat::kOgg, "128", 2), 32000);
}

TEST_F(EncodingRunTest, WhereMemoryRunsOutTheRunIsGivenUpAndSaysSo) {
  const RunResult result = Convert([](double) -> bool { throw std::bad_alloc(); });
  EXPECT_EQ(result.status, RunStatus::kNoMemory);
  EXPECT_EQ(song_.closed, 1);
  EXPECT_EQ(bass_.Calls<FakeBass::EncodeStop>().size(), 1U);
  ASSERT_EQ(boxes_.shown.size(), 1U);
  EXPECT_FALSE(FileExists(Path(".kok")));
}

TEST_F(EncodingRunTest, SoundThatEndsBeforeTheSongIsNoFinishedSong) {
  bass_.Fail("BASS_ChannelGetData", bass::BASS_ERROR_MEM, -1);
  EXPECT_EQ(Convert().status, RunStatus::kNoMemory);
  bass_.Fail("BASS_ChannelGetData", bass::BASS_ERROR_UNKNOWN, -1);
  boxes_.answers = {true};
  EXPECT_EQ(Convert().status, RunStatus::kEncoderFailed);
  EXPECT_EQ(boxes_.shown.size(), 2U);
}

TEST_F(EncodingRunTest, AnMp3WhoseEncoderLeftItUnfinishedIsAFailureWhateverTheEncoderSays) {
  request_.settings.format = AudioFormat::kMp3;
  std::string frame = "\xFF\xFB\x90\x64";
  frame.resize(417);
  bass_.on_encode_start = [&](const FakeBass::EncodeStart&) { Write(frame + "sound"); };
  EXPECT_EQ(Convert().status, RunStatus::kEncoderFailed);
  EXPECT_EQ(boxes_.shown.size(), 1U);
}

}  // namespace
}  // namespace vexolo
