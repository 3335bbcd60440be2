// layer: core
#include "convert/run_report.h"

#include <cerrno>
#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class RunReportTest : public ::testing::Test {
 protected:
  static RunResult Result(RunStatus status, const std::string& path = "/out/a.mp3") {
    RunResult result;
    result.status = status;
    result.audio_path = path;
    return result;
  }
  std::string Reason(const RunResult& result, AudioFormat format = AudioFormat::kMp3) {
    return ReasonText(texts_, CauseOf(result, format), result, format);
  }
  std::string Error(const RunResult& result, AudioFormat format = AudioFormat::kMp3) {
    return ErrorText(texts_, CauseOf(result, format), result, format, "/songs/a.mid");
  }

  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  LanguageSection texts_{ini_,
                         folder_.Write("xx.lng",
                                       "[Tags]\nLabel(1)=Ti&tle\nReason.Exists=exists\n"
                                       "Reason.Cancelled=cancelled\nReason.Unreadable=unreadable\n"
                                       "Reason.Field=field <%1>\nReason.NoEncoder=no %1\n"
                                       "Reason.NoLyrics=no lyrics\n"
                                       "Error.NotWritable=Not in|%1|there\n"
                                       "Error.DiskFull=Full:|%1\nError.NoEncoder=No %1.\n"
                                       "Summary.Line=%1: %2\nSummary.Done=Done: %1\n"
                                       "Summary.Skipped=Skipped: %1\nSummary.Failed=Failed: %1\n"
                                       "Summary.Cancelled=Cancelled.\n"),
                         "Tags"};
};

TEST_F(RunReportTest, AFinishedRunHasNothingToSay) {
  const RunResult result = Result(RunStatus::kDone);
  EXPECT_EQ(CauseOf(result, AudioFormat::kMp3), RunCause::kNone);
  EXPECT_EQ(Reason(result), "");
  EXPECT_EQ(Error(result), "");
}

TEST_F(RunReportTest, WhatTheUserDecidedIsAReasonButNoError) {
  for (const RunStatus status : {RunStatus::kRefused, RunStatus::kCancelled}) {
    EXPECT_NE(Reason(Result(status)), "");
    EXPECT_EQ(Error(Result(status)), "");
  }
}

TEST_F(RunReportTest, EveryLanguageHasAReasonAndAnErrorForEveryFailure) {
  for (const char* code : {"fr", "en", "es", "de"}) {
    const LanguageSection texts(
        ini_, std::string(VEXOLO_SOURCES) + "/src/resources/languages/" + code + ".lng", "Tags");
    for (const RunStatus status :
         {RunStatus::kCannotMakeFolder, RunStatus::kFieldRefused, RunStatus::kIsTheSong,
          RunStatus::kCannotOpenSong, RunStatus::kTooLong, RunStatus::kNoSpace,
          RunStatus::kCannotStart, RunStatus::kEncoderFailed, RunStatus::kNoMemory,
          RunStatus::kLyricsNotWritten}) {
      const RunResult result = Result(status);
      const RunCause cause = CauseOf(result, AudioFormat::kMp3);
      const std::string reason = ReasonText(texts, cause, result, AudioFormat::kMp3);
      const std::string error = ErrorText(texts, cause, result, AudioFormat::kMp3, "a.mid");
      EXPECT_NE(reason, "") << code << static_cast<int>(status);
      EXPECT_NE(error, "") << code << static_cast<int>(status);
      EXPECT_THAT(reason + error, Not(HasSubstr("%1"))) << code << static_cast<int>(status);
    }
  }
}

TEST_F(RunReportTest, AFullDiskIsToldFromAFolderThatTakesNoFile) {
  RunResult result = Result(RunStatus::kCannotMakeFolder);
  result.file_error = MakeFileError(ENOSPC);
  EXPECT_EQ(CauseOf(result, AudioFormat::kWav), RunCause::kDiskFull);
  EXPECT_THAT(Error(result), HasSubstr("/out/a.mp3"));
  result.file_error = MakeFileError(EACCES);
  EXPECT_EQ(CauseOf(result, AudioFormat::kWav), RunCause::kNotWritable);
  EXPECT_THAT(Error(result), HasSubstr("/out\n"));
  EXPECT_EQ(CauseOf(Result(RunStatus::kNoSpace), AudioFormat::kOgg), RunCause::kDiskFull);
}

TEST_F(RunReportTest, AnEncoderThatIsMissingIsNamed) {
  const RunResult result = Result(RunStatus::kCannotStart);
  EXPECT_THAT(Reason(result, AudioFormat::kMp3), HasSubstr("lame"));
  EXPECT_THAT(Error(result, AudioFormat::kOgg), HasSubstr("oggenc"));
  EXPECT_EQ(CauseOf(Result(RunStatus::kCannotStart, folder_ / "missing/a.wav"), AudioFormat::kWav),
            RunCause::kNotWritable)
      << "a WAV file needs no program";
}

TEST_F(RunReportTest, AnEncoderThatFailsIsToldFromAPlaceThatTakesNoFile) {
  EXPECT_EQ(CauseOf(Result(RunStatus::kEncoderFailed, folder_ / "a.mp3"), AudioFormat::kMp3),
            RunCause::kEncoderFailed);
  EXPECT_EQ(
      CauseOf(Result(RunStatus::kEncoderFailed, folder_ / "missing/a.mp3"), AudioFormat::kMp3),
      RunCause::kNotWritable);
  std::filesystem::create_directory(folder_ / "b.mp3");
  EXPECT_EQ(CauseOf(Result(RunStatus::kEncoderFailed, folder_ / "b.mp3"), AudioFormat::kMp3),
            RunCause::kNotWritable);
}

TEST_F(RunReportTest, AWavFileThatStopsGrowingIsNoEncodersFault) {
  const RunResult result = Result(RunStatus::kEncoderFailed, folder_ / "a.wav");
  EXPECT_EQ(CauseOf(result, AudioFormat::kWav), RunCause::kDiskFull);
}

TEST_F(RunReportTest, ARefusedFieldIsNamedAsTheDialogNamesIt) {
  RunResult result = Result(RunStatus::kFieldRefused);
  result.field = CommandField::kTitle;
  EXPECT_THAT(Reason(result), HasSubstr("<Title>"));
  EXPECT_THAT(Error(result), HasSubstr("a.mid"));
}

TEST_F(RunReportTest, TheSummaryCountsAndGivesEveryReason) {
  ConversionSummary summary;
  const auto add = [&](const char* song, RunStatus status) {
    const RunResult result = Result(status);
    summary.Add(song, CauseOf(result, AudioFormat::kMp3), Reason(result), result);
  };
  add("/s/a.mid", RunStatus::kDone);
  add("/s/b.mid", RunStatus::kDone);
  add("/s/c.mid", RunStatus::kRefused);
  add("/s/d.mid", RunStatus::kCannotOpenSong);
  add("/s/e.mid", RunStatus::kLyricsNotWritten);
  EXPECT_EQ(summary.converted(), 3);
  EXPECT_EQ(summary.skipped(), 1);
  EXPECT_EQ(summary.failed(), 1);
  EXPECT_EQ(summary.folder(), "/out");
  EXPECT_EQ(summary.Text(texts_),
            "Done: 3\n"
            "  e.mid: no lyrics\n"
            "\n"
            "Skipped: 1\n"
            "  c.mid: exists\n"
            "\n"
            "Failed: 1\n"
            "  d.mid: unreadable\n");
}

TEST_F(RunReportTest, ACancelledListSaysSo) {
  ConversionSummary summary;
  const RunResult result = Result(RunStatus::kCancelled);
  summary.Add("/s/a.mid", RunCause::kCancelled, Reason(result), result);
  EXPECT_EQ(summary.Text(texts_),
            "Done: 0\n"
            "\n"
            "Skipped: 1\n"
            "  a.mid: cancelled\n"
            "\n"
            "Cancelled.\n");
  EXPECT_EQ(summary.folder(), "");
}

}  // namespace
}  // namespace vexolo
