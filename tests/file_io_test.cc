// layer: core
#include "platform/file_io.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

namespace fs = std::filesystem;

/// While it lives no file of this process can grow beyond `bytes`: writing fails as on a full disk.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    old_handler_ = std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &old_);
    rlimit limit = old_;
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &old_);
    std::signal(SIGXFSZ, old_handler_);
  }

 private:
  rlimit old_ = {};
  void (*old_handler_)(int) = nullptr;
};

TEST(FileIo, WhatIsWrittenIsReadBack) {
  const TemporaryFolder folder;
  const std::string content("a\0\r\n\xFF", 5);
  EXPECT_FALSE(WriteWholeFile(folder / "x", content));
  EXPECT_EQ(ReadWholeFile(folder / "x"), content);
  EXPECT_FALSE(WriteWholeFile(folder / "x", ""));
  EXPECT_EQ(ReadWholeFile(folder / "x"), "");
  EXPECT_EQ(folder.CountEntries(), 1u);
}

TEST(FileIo, ReadingFailsWithNumberAndDescription) {
  const TemporaryFolder folder;
  FileError error;
  EXPECT_FALSE(ReadWholeFile(folder / "none", &error));
  EXPECT_EQ(error.number, ENOENT);
  EXPECT_FALSE(error.description.empty());
  EXPECT_EQ(FileErrorText({5, "text"}), "Erreur n° 5\r\ntext");
  EXPECT_FALSE(ReadWholeFile(folder.path(), &error));
  EXPECT_EQ(error.number, EISDIR);
  folder.Write("big", "12345");
  EXPECT_FALSE(ReadWholeFile(folder / "big", &error, 4));
  EXPECT_EQ(error.number, EFBIG);
  EXPECT_TRUE(ReadWholeFile(folder / "big", &error, 5));
}

TEST(FileIo, ReplacingKeepsPermissions) {
  const TemporaryFolder folder;
  folder.Write("x", "old");
  fs::permissions(folder / "x", fs::perms(0640));
  EXPECT_FALSE(WriteWholeFile(folder / "x", "new"));
  EXPECT_EQ(fs::status(folder / "x").permissions(), fs::perms(0640));
  EXPECT_EQ(folder.Read("x"), "new");
}

TEST(FileIo, WritingFollowsSymbolicLinks) {
  const TemporaryFolder folder;
  fs::create_directory(folder / "real");
  folder.Write("real/x", "old");
  fs::create_symlink("real/x", folder / "near");
  fs::create_symlink(folder / "near", folder / "far");
  EXPECT_FALSE(WriteWholeFile(folder / "far", "new"));
  EXPECT_TRUE(fs::is_symlink(folder / "far"));
  EXPECT_TRUE(fs::is_symlink(folder / "near"));
  EXPECT_EQ(folder.Read("real/x"), "new");
  fs::create_symlink("real/later", folder / "dangling");
  EXPECT_FALSE(WriteWholeFile(folder / "dangling", "made"));
  EXPECT_EQ(folder.Read("real/later"), "made");
}

TEST(FileIo, AFailedWriteLeavesTheOldFileAndNothingElse) {
  const TemporaryFolder folder;
  folder.Write("x", "old");
  std::optional<FileError> error;
  {
    const FileSizeLimit limit(1000);
    error = WriteWholeFile(folder / "x", std::string(100'000, 'n'));
  }
  ASSERT_TRUE(error);
  EXPECT_EQ(error->number, EFBIG);
  EXPECT_EQ(folder.Read("x"), "old");
  EXPECT_EQ(folder.CountEntries(), 1u);
}

TEST(FileIo, AFailedFlushLeavesTheOldFileAndNothingElse) {
  const TemporaryFolder folder;
  folder.Write("x", "old");
  std::optional<FileError> error;
  {
    const FileSizeLimit limit(10);  // small enough to stay in the buffer until the flush
    error = WriteWholeFile(folder / "x", std::string(100, 'n'));
  }
  EXPECT_TRUE(error);
  EXPECT_EQ(folder.Read("x"), "old");
  EXPECT_EQ(folder.CountEntries(), 1u);
}

TEST(FileIo, WritingNeedsAPlace) {
  const TemporaryFolder folder;
  const auto missing = WriteWholeFile(folder / "none/x", "a");
  ASSERT_TRUE(missing);
  EXPECT_EQ(missing->number, ENOENT);
  const auto is_folder = WriteWholeFile(folder.path(), "a");
  ASSERT_TRUE(is_folder);
  EXPECT_EQ(is_folder->number, EISDIR);
}

TEST(FileIo, AFullDeviceIsReportedAndNotReplaced) {
  if (!fs::exists("/dev/full")) GTEST_SKIP();
  const auto error = WriteWholeFile("/dev/full", "a");
  ASSERT_TRUE(error);
  EXPECT_EQ(error->number, ENOSPC);
  EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST(FileIo, LongNamesCanBeWritten) {
  const TemporaryFolder folder;
  const std::string name(255, 'n');
  EXPECT_FALSE(WriteWholeFile(folder / name, "a"));
  EXPECT_EQ(folder.Read(name), "a");
}

TEST(FileIo, AStampTellsAReplacedFile) {
  const TemporaryFolder folder;
  EXPECT_FALSE(StampOf(folder / "x"));
  WriteWholeFile(folder / "x", "a");
  const auto first = StampOf(folder / "x");
  ASSERT_TRUE(first);
  EXPECT_EQ(first->size, 1u);
  EXPECT_FALSE(IsSettled(*first));
  EXPECT_EQ(StampOf(folder / "x"), first);
  fs::last_write_time(folder / "x", fs::last_write_time(folder / "x") - std::chrono::hours(1));
  const auto second = StampOf(folder / "x");
  EXPECT_NE(second, first);
  EXPECT_TRUE(IsSettled(*second));
}

TEST(FileIo, AnswersQuestionsAboutFilesAndFolders) {
  const TemporaryFolder folder;
  folder.Write("x", "a");
  EXPECT_TRUE(FileExists(folder / "x"));
  EXPECT_FALSE(FileExists(folder.path()));
  EXPECT_FALSE(FileExists(folder / "none"));
  EXPECT_TRUE(FolderExists(folder.path()));
  EXPECT_FALSE(FolderExists(folder / "x"));
  EXPECT_TRUE(IsWritableFolder(folder.path()));
  EXPECT_FALSE(IsWritableFolder(folder / "x"));
  EXPECT_FALSE(IsWritableFolder(folder / "none"));
  EXPECT_TRUE(IsWritableFile(folder / "x"));
  EXPECT_FALSE(IsWritableFile(folder / "none"));
  EXPECT_TRUE(DeleteFile(folder / "x"));
  EXPECT_FALSE(DeleteFile(folder / "x"));
}

TEST(FileIo, FreeSpaceOfAFileThatIsStillToBeWritten) {
  const TemporaryFolder folder;
  const auto space = FreeSpace(folder.path());
  ASSERT_TRUE(space);
  EXPECT_GT(*space, 0u);
  EXPECT_TRUE(FreeSpace(folder / "not/yet/there.wav"));
}

TEST(FileIo, FoldersAreMadeOneLevelAtATime) {
  const TemporaryFolder folder;
  std::vector<std::string> made;
  const auto note = [&](const std::string& level) { made.push_back(level); };
  EXPECT_FALSE(CreateFolders(folder / "a/b//c", note));
  EXPECT_EQ(made, (std::vector<std::string>{folder / "a", folder / "a/b", folder / "a/b/c"}));
  made.clear();
  EXPECT_FALSE(CreateFolders(folder / "a/b/c", note));
  EXPECT_TRUE(made.empty());
  folder.Write("a/file", "");
  const auto error = CreateFolders(folder / "a/file/d", note);
  ASSERT_TRUE(error);
  EXPECT_NE(error->number, 0);
  EXPECT_TRUE(made.empty());
}

}  // namespace
}  // namespace vexolo
