// layer: core
#include "platform/temporary_file.h"

#include <filesystem>
#include <set>

#include <gtest/gtest.h>

#include "fakes/other_temp_folder.h"
#include "fakes/temporary_folder.h"
#include "platform/paths.h"

namespace vexolo {
namespace {

namespace fs = std::filesystem;

constexpr fs::perms kOwnerOnly = fs::perms::owner_read | fs::perms::owner_write;

class TemporaryFile : public testing::Test {
 protected:
  TemporaryFolder folder_;
  OtherTempFolder in_use_{folder_.path()};
};

TEST_F(TemporaryFile, IsNewEmptyAndNamedAfterTheProgram) {
  const std::string path = MakeTempFile();
  EXPECT_EQ(fs::path(path).parent_path(), fs::path(folder_.path()));
  EXPECT_TRUE(FileNameOf(path).starts_with("zvt")) << path;
  EXPECT_EQ(fs::file_size(path), 0u);
}

TEST_F(TemporaryFile, BelongsToThisUserAlone) {
  EXPECT_EQ(fs::status(MakeTempFile()).permissions(), kOwnerOnly);
}

TEST_F(TemporaryFile, IsNeverTheSameTwice) {
  std::set<std::string> paths;
  for (int i = 0; i < 50; ++i) paths.insert(MakeTempFile());
  EXPECT_EQ(paths.size(), 50u);
}

TEST_F(TemporaryFile, HasNoNameWhereThereIsNoFolder) {
  const OtherTempFolder missing(folder_.path() + "/missing");
  EXPECT_EQ(MakeTempFile(), "");
}

TEST_F(TemporaryFile, PrivateFileHoldsWhatIsWritten) {
  const std::string path = folder_.path() + "/new";
  const std::string content("a\0b\r\n", 5);
  EXPECT_FALSE(WriteNewPrivateFile(path, content));
  EXPECT_EQ(ReadWholeFile(path), content);
  EXPECT_EQ(fs::status(path).permissions(), kOwnerOnly);
}

TEST_F(TemporaryFile, PrivateFileReplacesNothing) {
  const std::string path = folder_.path() + "/there";
  ASSERT_FALSE(WriteWholeFile(path, "old"));
  const auto error = WriteNewPrivateFile(path, "new");
  ASSERT_TRUE(error);
  EXPECT_EQ(error->number, EEXIST);
  EXPECT_EQ(ReadWholeFile(path), "old");
}

TEST_F(TemporaryFile, PrivateFileFollowsNoLink) {
  const std::string target = folder_.path() + "/target";
  const std::string link = folder_.path() + "/link";
  fs::create_symlink(target, link);
  EXPECT_TRUE(WriteNewPrivateFile(link, "new"));
  EXPECT_FALSE(FileExists(target));
}

}  // namespace
}  // namespace vexolo
