// layer: core
#include "playlist/dropped_files.h"

#include <cerrno>
#include <filesystem>

#include <gtest/gtest.h>
#include <unistd.h>

#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

class DroppedFilesTest : public ::testing::Test {
 protected:
  /// Paths below the folder, made with all folders on the way.
  void Make(const Paths& names) {
    for (const std::string& name : names) {
      fs::create_directories(fs::path(folder_ / name).parent_path());
      folder_.Write(name, "");
    }
  }
  Paths In(const Paths& names) {
    Paths paths;
    for (const std::string& name : names) paths.push_back(folder_ / name);
    return paths;
  }
  DroppedSongs Drop(const Paths& paths) { return ExpandDropped(paths, cancelled_); }

  TemporaryFolder folder_;
  std::atomic<bool> cancelled_{false};
};

TEST_F(DroppedFilesTest, FilesStandForThemselvesInTheOrderGiven) {
  const Paths files = {"/m/b.mid", "/m/a.kar", "/m/b.mid", "/m/none.rmi"};
  EXPECT_EQ(Drop(files).songs, files);
  EXPECT_TRUE(Drop({""}).songs.empty());
}

TEST_F(DroppedFilesTest, AFolderStandsForItsSongsThenThoseOfItsSubfolders) {
  Make({"m/b.mid", "m/A.KAR", "m/c.midi", "m/cover.jpg", "m/list.m3u", "m/.hidden.mid", "m/z/2.mid",
        "m/z/10.mid", "m/y/deep/er/x.mid", "m/.trash/t.mid"});
  const DroppedSongs dropped = Drop({folder_ / "m"});
  EXPECT_EQ(dropped.songs,
            In({"m/A.KAR", "m/b.mid", "m/c.midi", "m/y/deep/er/x.mid", "m/z/2.mid", "m/z/10.mid"}));
  EXPECT_FALSE(dropped.error);
}

TEST_F(DroppedFilesTest, FoldersListsAndFilesKeepTheOrderOfTheDrop) {
  Make({"m/b.mid", "last.mid"});
  folder_.Write("x.m3u", "#EXTM3U\r\nfrom list.kar\r\nnotes.txt\r\n");
  EXPECT_EQ(Drop({folder_ / "x.m3u", folder_ / "m", folder_ / "last.mid"}).songs,
            In({"from list.kar", "m/b.mid", "last.mid"}));
}

TEST_F(DroppedFilesTest, AnEmptyFolderAndAnEmptyListAreNothing) {
  fs::create_directory(folder_ / "m");
  folder_.Write("x.zvp", "");
  const DroppedSongs dropped = Drop({folder_ / "m", folder_ / "x.zvp"});
  EXPECT_TRUE(dropped.songs.empty());
  EXPECT_FALSE(dropped.error);
}

TEST_F(DroppedFilesTest, AListThatCannotBeReadIsToldAndTheRestIsTaken) {
  const DroppedSongs dropped = Drop({folder_ / "none.m3u", "/m/a.mid"});
  EXPECT_EQ(dropped.songs, (Paths{"/m/a.mid"}));
  ASSERT_TRUE(dropped.error);
  EXPECT_EQ(dropped.error->number, ENOENT);
}

TEST_F(DroppedFilesTest, AFolderThatCannotBeListedIsToldAndTheRestIsTaken) {
  if (geteuid() == 0) GTEST_SKIP() << "nothing is closed to this user";
  Make({"m/a.mid", "m/closed/x.mid"});
  fs::permissions(folder_ / "m/closed", fs::perms::none);
  const DroppedSongs dropped = Drop({folder_ / "m"});
  fs::permissions(folder_ / "m/closed", fs::perms::owner_all);
  EXPECT_EQ(dropped.songs, In({"m/a.mid"}));
  ASSERT_TRUE(dropped.error);
  EXPECT_EQ(dropped.error->number, EACCES);
}

TEST_F(DroppedFilesTest, LinksAreFollowedAndDoNotLeadInCircles) {
  Make({"m/a.mid", "other/b.mid"});
  fs::create_directory_symlink(folder_ / "other", folder_ / "m/linked");
  fs::create_directory_symlink(folder_ / "m", folder_ / "other/back");
  fs::create_symlink(folder_ / "gone.mid", folder_ / "m/dangling");
  EXPECT_EQ(Drop({folder_ / "m"}).songs, In({"m/a.mid", "m/linked/b.mid"}));
}

TEST_F(DroppedFilesTest, ACancelledDropIsNotGoneThrough) {
  Make({"m/a.mid"});
  cancelled_ = true;
  EXPECT_TRUE(Drop({folder_ / "m", "/b.mid"}).songs.empty());
}

TEST_F(DroppedFilesTest, ExpandsBesideTheWindow) {
  Make({"m/a.mid"});
  DropWorker worker(ExpandDropped);
  worker.Add({folder_ / "m"});
  worker.Add({"/second.mid"});
  std::vector<DroppedSongs> drops;
  while (worker.HasMore()) {
    for (DroppedSongs& drop : worker.Collect()) drops.push_back(std::move(drop));
  }
  ASSERT_EQ(drops.size(), 2u);
  EXPECT_EQ(drops[0].songs, In({"m/a.mid"}));
  EXPECT_EQ(drops[1].songs, (Paths{"/second.mid"}));
}

TEST(ListFileNames, AreToldByTheirExtension) {
  EXPECT_TRUE(IsListFile("/m/a.m3u"));
  EXPECT_TRUE(IsListFile("/m/A.ZVP"));
  EXPECT_TRUE(IsListFile("a.m3u8"));
  EXPECT_FALSE(IsListFile("/m.m3u/a.mid"));
  EXPECT_FALSE(IsListFile("m3u"));
}

TEST(SongOrder, IsThatOfPeople) {
  EXPECT_TRUE(ComesBefore("2.mid", "10.mid"));
  EXPECT_TRUE(ComesBefore("Track 9b", "track 010a"));
  EXPECT_TRUE(ComesBefore("a.mid", "B.mid"));
  EXPECT_TRUE(ComesBefore("a", "ab"));
  EXPECT_TRUE(ComesBefore("1", "a"));
  EXPECT_FALSE(ComesBefore("a", "a"));
  EXPECT_TRUE(ComesBefore("", "a"));
  // Equal to a reader, and yet in one order only.
  EXPECT_NE(ComesBefore("A1", "a01"), ComesBefore("a01", "A1"));
  EXPECT_TRUE(ComesBefore("99999999999999999999998", "99999999999999999999999"));
}

}  // namespace
}  // namespace vexolo
