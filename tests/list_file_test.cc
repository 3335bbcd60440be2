// layer: core
#include "playlist/list_file.h"

#include <cerrno>
#include <chrono>

#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "platform/file_io.h"

namespace vexolo {
namespace {

using Paths = std::vector<std::string>;

Paths OnWindows(std::string_view bytes) {
  return ParseList(bytes, "D:\\Lists\\a.m3u", PathStyle::kWindows);
}
Paths OnPosix(std::string_view bytes) {
  return ParseList(bytes, "/lists/a.m3u", PathStyle::kPosix);
}

TEST(ListFile, CommentsAndFilesThatAreNoSongsAddNothing) {
  EXPECT_TRUE(OnWindows("#EXTM3U\r\n# song.mid\r\n  #x.kar\r\nD:\\a.txt\r\n\r\nmid\r\n").empty());
}

TEST(ListFile, SongsAreToldByTheirLastFourCharacters) {
  EXPECT_TRUE(IsSongName("x.midi"));
  EXPECT_TRUE(IsSongName("x.MID"));
  EXPECT_TRUE(IsSongName("x.Kar"));
  EXPECT_FALSE(IsSongName("x.mp3"));
  EXPECT_FALSE(IsSongName("mid"));
  EXPECT_FALSE(IsSongName(""));
  EXPECT_EQ(OnWindows("x.midi\r\n"), (Paths{"D:\\Lists\\x.midi"}));
}

TEST(ListFile, RelativeEntriesFollowTheFolderOfTheList) {
  EXPECT_EQ(OnWindows("song.KAR"), (Paths{"D:\\Lists\\song.KAR"}));
  EXPECT_EQ(OnWindows("sub\\song.mid"), (Paths{"D:\\Lists\\sub\\song.mid"}));
  EXPECT_EQ(OnPosix("song.KAR"), (Paths{"/lists/song.KAR"}));
  EXPECT_EQ(ParseList("song.mid", "/a.m3u", PathStyle::kPosix), (Paths{"/song.mid"}));
  EXPECT_EQ(ParseList("song.mid", "D:\\a.m3u", PathStyle::kWindows), (Paths{"D:\\song.mid"}));
}

TEST(ListFile, ASingleBackslashFollowsTheDriveOfTheList) {
  EXPECT_EQ(OnWindows("\\Music\\b.mid"), (Paths{"D:\\Music\\b.mid"}));
}

TEST(ListFile, NetworkAndDrivePathsAreTakenAsTheyStand) {
  EXPECT_EQ(OnWindows("\\\\server\\share\\c.mid\r\nE:\\d.mid\r\n"),
            (Paths{"\\\\server\\share\\c.mid", "E:\\d.mid"}));
}

TEST(ListFile, ListsWrittenOnWindowsLoadElsewhere) {
  EXPECT_EQ(OnPosix("sub\\song.mid\r\n..\\x.kar\r\n\\Music\\b.mid\r\n"),
            (Paths{"/lists/sub/song.mid", "/lists/../x.kar", "/Music/b.mid"}));
  EXPECT_EQ(OnPosix("D:\\Music\\b.mid\r\n\\\\server\\share\\c.mid\r\na:b.mid"),
            (Paths{"D:\\Music\\b.mid", "\\\\server\\share\\c.mid", "/lists/a:b.mid"}));
  EXPECT_EQ(OnPosix("/m/odd\\name.mid"), (Paths{"/m/odd\\name.mid"}));
}

TEST(ListFile, LinesAreTrimmedAndMayEndInAnyWay) {
  EXPECT_EQ(OnPosix("  /a.mid  \n/b b.mid\r\n/c.mid\r/d.mid"),
            (Paths{"/a.mid", "/b b.mid", "/c.mid", "/d.mid"}));
  // Of spaces alone: a tab is part of the name.
  EXPECT_EQ(OnPosix(" \tx.mid "), (Paths{"/lists/\tx.mid"}));
}

TEST(ListFile, ReadsUtf8WithAndWithoutMarkAndWindows1252) {
  EXPECT_EQ(OnPosix("/Été.mid\n"), (Paths{"/Été.mid"}));
  EXPECT_EQ(OnPosix("\xEF\xBB\xBF/Été.mid\n"), (Paths{"/Été.mid"}));
  EXPECT_EQ(OnPosix("/\xC9t\xE9.mid\n"), (Paths{"/Été.mid"}));
}

class ListFileOnDisk : public testing::Test {
 protected:
  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  PlayListModel list_;
};

TEST_F(ListFileOnDisk, SavingAndLoadingGivesTheSameSongsInTheSameOrder) {
  const Paths songs = {"/m/b.mid", "/m/a é €.kar", "/m/č.midi", "/m/b.mid"};
  for (const std::string& song : songs) list_.AjouteFichierPlayList(song);
  EXPECT_TRUE(SauvePlayList(folder_ / "x.zvp", list_, boxes_));
  EXPECT_EQ(folder_.Read("x.zvp"), "/m/b.mid\r\n/m/a é €.kar\r\n/m/č.midi\r\n/m/b.mid\r\n");
  PlayListModel loaded;
  EXPECT_TRUE(LoadPlayList(folder_ / "x.zvp", loaded, boxes_));
  EXPECT_EQ(loaded.paths(), songs);
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(ListFileOnDisk, LoadingAddsToWhatIsThere) {
  list_.AjouteFichierPlayList("/first.mid");
  list_.PlayListSelect(1);
  folder_.Write("x.m3u", "second.mid\r\n");
  EXPECT_TRUE(LoadPlayList(folder_ / "x.m3u", list_, boxes_));
  EXPECT_EQ(list_.paths(), (Paths{"/first.mid", folder_ / "second.mid"}));
  EXPECT_EQ(list_.current(), 1);
}

TEST_F(ListFileOnDisk, AnExistingListKeepsItsEncoding) {
  folder_.Write("x.m3u", "/\xE9.mid\r\n");
  list_.AjouteFichierPlayList("/à.mid");
  EXPECT_TRUE(SauvePlayList(folder_ / "x.m3u", list_, boxes_));
  EXPECT_EQ(folder_.Read("x.m3u"), "/\xE0.mid\r\n");
  list_.AjouteFichierPlayList("/č.mid");
  EXPECT_TRUE(SauvePlayList(folder_ / "x.m3u", list_, boxes_));
  EXPECT_EQ(folder_.Read("x.m3u"), "/à.mid\r\n/č.mid\r\n");
}

TEST_F(ListFileOnDisk, AListThatCannotBeReadIsReportedAndTheListKeepsWhatItHeld) {
  list_.AjouteFichierPlayList("/a.mid");
  EXPECT_FALSE(LoadPlayList(folder_ / "none.m3u", list_, boxes_));
  ASSERT_EQ(boxes_.shown.size(), 1u);
  EXPECT_EQ(boxes_.shown[0].text,
            "Erreur n° " + std::to_string(ENOENT) + "\r\n" + MakeFileError(ENOENT).description);
  EXPECT_EQ(boxes_.shown[0].icon, BoxIcon::kExclamation);
  EXPECT_EQ(list_.paths(), (Paths{"/a.mid"}));
}

TEST_F(ListFileOnDisk, AListThatCannotBeWrittenIsReported) {
  list_.AjouteFichierPlayList("/a.mid");
  EXPECT_FALSE(SauvePlayList(folder_ / "none/x.m3u", list_, boxes_));
  ASSERT_EQ(boxes_.shown.size(), 1u);
  EXPECT_TRUE(boxes_.shown[0].text.starts_with("Erreur n° " + std::to_string(ENOENT) + "\r\n"));
  EXPECT_EQ(list_.count(), 1);
  EXPECT_EQ(folder_.CountEntries(), 0u);
}

#ifndef _WIN32
TEST_F(ListFileOnDisk, NamesThatAreNoTextAreKeptAsTheyAre) {
  const Paths songs = {folder_.Write("caf\xE9.mid", ""), folder_.Write("été.mid", ""),
                       folder_ / "č gone.mid"};
  for (const std::string& song : songs) list_.AjouteFichierPlayList(song);
  EXPECT_TRUE(SauvePlayList(folder_ / "x.zvp", list_, boxes_));
  EXPECT_TRUE(SauvePlayList(folder_ / "x.zvp", list_, boxes_));  // over what is no UTF-8
  PlayListModel loaded;
  EXPECT_TRUE(LoadPlayList(folder_ / "x.zvp", loaded, boxes_));
  EXPECT_EQ(loaded.paths(), songs);
}

TEST_F(ListFileOnDisk, AListOfAnotherSystemIsReadAsItWasWritten) {
  folder_.Write("été.mid", "");
  folder_.Write("x.m3u", "\xE9t\xE9.mid\r\n");
  EXPECT_TRUE(LoadPlayList(folder_ / "x.m3u", list_, boxes_));
  EXPECT_EQ(list_.paths(), (Paths{folder_ / "été.mid"}));
}
#endif

TEST_F(ListFileOnDisk, AnEmptyListIsAnEmptyFile) {
  EXPECT_TRUE(SauvePlayList(folder_ / "x.m3u", list_, boxes_));
  EXPECT_EQ(folder_.Read("x.m3u"), "");
  EXPECT_TRUE(LoadPlayList(folder_ / "x.m3u", list_, boxes_));
  EXPECT_EQ(list_.count(), 0);
}

TEST_F(ListFileOnDisk, TheFoldersChosenLastAreKept) {
  ModIni ini(folder_ / "Vexolo.ini", boxes_);
  StoreListFolder(ini, Join("/lists", "a.m3u", PathStyle::kPosix));
  StoreSongFolder(ini, Join("/songs", "a.mid", PathStyle::kPosix));
  EXPECT_EQ(ini.ReadIni("Lst", "Path"), "/lists");
  EXPECT_EQ(ini.ReadIni("Mid", "Path"), "/songs");
}

TEST_F(ListFileOnDisk, TenThousandSongsAreSavedAndLoadedQuickly) {
  const auto limit = std::chrono::milliseconds(300);
  for (int i = 0; i < 10'000; ++i) {
    list_.AjouteFichierPlayList("/music/album é/song " + std::to_string(i) + ".mid");
  }
  auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(SauvePlayList(folder_ / "x.zvp", list_, boxes_));
  EXPECT_LT(std::chrono::steady_clock::now() - start, limit);
  PlayListModel loaded;
  start = std::chrono::steady_clock::now();
  EXPECT_TRUE(LoadPlayList(folder_ / "x.zvp", loaded, boxes_));
  EXPECT_LT(std::chrono::steady_clock::now() - start, limit);
  EXPECT_EQ(loaded.paths(), list_.paths());
}

TEST(ListFilters, PatternsAreBuiltFromTheExtensions) {
  EXPECT_EQ(SongPattern("mid,kar"), "*.mid;*.kar");
  EXPECT_EQ(SongPattern("mid"), "*.mid");
  EXPECT_EQ(SongPattern(""), "*.mid;*.kar");
  EXPECT_EQ(SongFilter("Chansons (%1)|%2|Tous|*.*", "mid,kar"),
            "Chansons (*.mid;*.kar)|*.mid;*.kar|Tous|*.*");
  EXPECT_EQ(ListFilter("Vexolo (%1)|%2|M3U (%3)|%4"), "Vexolo (.zvp)|*.zvp|M3U (.m3u)|*.m3u");
}

TEST(ListFilters, SeveralFilesChosenComeAsFolderAndNames) {
  EXPECT_EQ(ChosenFiles({"D:\\Songs", "a.mid", "b.kar"}, PathStyle::kWindows),
            (Paths{"D:\\Songs\\a.mid", "D:\\Songs\\b.kar"}));
  EXPECT_EQ(ChosenFiles({"/songs/a.mid"}, PathStyle::kPosix), (Paths{"/songs/a.mid"}));
  EXPECT_EQ(ChosenFiles({"/songs/a.mid", "/other/b.mid"}, PathStyle::kPosix),
            (Paths{"/songs/a.mid", "/other/b.mid"}));
  EXPECT_TRUE(ChosenFiles({}, PathStyle::kPosix).empty());
}

}  // namespace
}  // namespace vexolo
