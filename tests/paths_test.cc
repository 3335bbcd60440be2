// layer: core
#include "platform/paths.h"

#include <gtest/gtest.h>

namespace vexolo {
namespace {

constexpr PathStyle kWin = PathStyle::kWindows;
constexpr PathStyle kPosix = PathStyle::kPosix;
using Parts = std::vector<std::string>;

TEST(Paths, FolderOfKeepsARoot) {
  EXPECT_EQ(FolderOf("D:\\Lists\\a.m3u", kWin), "D:\\Lists");
  EXPECT_EQ(FolderOf("D:\\a.m3u", kWin), "D:\\");
  EXPECT_EQ(FolderOf("C:/songs/a.mid", kWin), "C:/songs");
  EXPECT_EQ(FolderOf("a.m3u", kWin), "");
  EXPECT_EQ(FolderOf("/music/a.m3u", kPosix), "/music");
  EXPECT_EQ(FolderOf("/a.m3u", kPosix), "/");
  EXPECT_EQ(FolderOf("/music/", kPosix), "/music");
  EXPECT_EQ(FolderOf("D:\\Lists\\a.m3u", kPosix), "");
}

TEST(Paths, NameStemAndExtension) {
  EXPECT_EQ(FileNameOf("D:\\Lists\\a.b.m3u", kWin), "a.b.m3u");
  EXPECT_EQ(StemOf("D:\\Lists\\a.b.m3u", kWin), "a.b");
  EXPECT_EQ(ExtensionOf("D:\\Lists\\a.b.m3u", kWin), ".m3u");
  EXPECT_EQ(FileNameOf("/x/a\\b.mid", kPosix), "a\\b.mid");
  EXPECT_EQ(StemOf("/v1.2/song", kPosix), "song");
  EXPECT_EQ(ExtensionOf("/v1.2/song", kPosix), "");
  EXPECT_EQ(ExtensionOf("song.", kPosix), ".");
  EXPECT_EQ(FileNameOf("", kPosix), "");
}

TEST(Paths, ReplaceExtensionLeavesFoldersAlone) {
  EXPECT_EQ(ReplaceExtension("/x/a.kar", ".zvn", kPosix), "/x/a.zvn");
  EXPECT_EQ(ReplaceExtension("/v1.2/song", ".zvn", kPosix), "/v1.2/song.zvn");
  EXPECT_EQ(ReplaceExtension("D:\\v1.2\\song", ".kok", kWin), "D:\\v1.2\\song.kok");
  EXPECT_EQ(ReplaceExtension("a.b.mid", "", kWin), "a.b");
}

TEST(Paths, JoinPutsOneSeparator) {
  EXPECT_EQ(Join("D:\\Lists", "a", kWin), "D:\\Lists\\a");
  EXPECT_EQ(Join("D:\\", "a", kWin), "D:\\a");
  EXPECT_EQ(Join("/", "a", kPosix), "/a");
  EXPECT_EQ(Join("/m", "a", kPosix), "/m/a");
  EXPECT_EQ(Join("", "a", kPosix), "a");
}

TEST(Paths, AbsolutePathsOfBothStyles) {
  EXPECT_TRUE(IsAbsolute("D:\\a", kWin));
  EXPECT_TRUE(IsAbsolute("D:", kWin));
  EXPECT_TRUE(IsAbsolute("\\\\server\\share", kWin));
  EXPECT_FALSE(IsAbsolute("\\a", kWin));
  EXPECT_FALSE(IsAbsolute("a", kWin));
  EXPECT_FALSE(IsAbsolute("", kWin));
  EXPECT_TRUE(IsAbsolute("/a", kPosix));
  EXPECT_FALSE(IsAbsolute("a/b", kPosix));
  EXPECT_FALSE(IsAbsolute("\\\\server", kPosix));
}

TEST(Paths, SchemesAreCutAtEitherSeparator) {
  EXPECT_EQ(SplitAtSeparators("%A\\%T/x"), (Parts{"%A", "%T", "x"}));
  EXPECT_EQ(SplitAtSeparators("\\a//b\\"), (Parts{"a", "b"}));
  EXPECT_TRUE(SplitAtSeparators("").empty());
  EXPECT_TRUE(SplitAtSeparators("\\").empty());
}

TEST(Paths, NativePathsComeBackUnchanged) {
  EXPECT_EQ(FromNativePath(ToNativePath("Été/a.mid")), "Été/a.mid");
}

}  // namespace
}  // namespace vexolo
