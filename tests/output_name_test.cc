// layer: core
#include "convert/output_name.h"

#include <string>

#include <gtest/gtest.h>

#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

std::string Windows(const std::string& folder, const std::string& scheme,
                    const std::string& artist = "X", const std::string& title = "Y") {
  return MakeOutputBase({folder, scheme, artist, title, "C:\\Songs\\Tune.kar"}, PathStyle::kWindows)
      .Path();
}

std::string Posix(const std::string& folder, const std::string& scheme,
                  const std::string& artist = "X", const std::string& title = "Y") {
  return MakeOutputBase({folder, scheme, artist, title, "/songs/Tune.kar"}, PathStyle::kPosix)
      .Path();
}

TEST(OutputNameTest, PlaceholdersStandForArtistAndTitleInEitherCase) {
  EXPECT_EQ(Windows("D:\\", "%A - %T"), "D:\\X - Y");
  EXPECT_EQ(Windows("D:\\", "%t (%a) %%A%B 100%"), "D:\\Y (X) %X%B 100%");
}

TEST(OutputNameTest, TitleThatLooksLikeAPlaceholderStaysAsItIs) {
  EXPECT_EQ(Windows("D:\\", "%A - %T", "%T", "%A"), "D:\\%T - %A");
}

TEST(OutputNameTest, SeparatorInTheSchemeMakesAFolderUnderTheDestination) {
  const OutputBase base =
      MakeOutputBase({"D:\\Out\\", "%a\\%t", "X", "Y", "C:\\Tune.kar"}, PathStyle::kWindows);
  EXPECT_EQ(base.folder, "D:\\Out\\X\\");
  EXPECT_EQ(base.name, "Y");
  EXPECT_EQ(AudioPath(base, AudioFormat::kMp3), "D:\\Out\\X\\Y.mp3");
}

TEST(OutputNameTest, BothSeparatorsAreUnderstoodInASchemeEverywhere) {
  EXPECT_EQ(Posix("/out/", "%A\\%T"), "/out/X/Y");
  EXPECT_EQ(Posix("/out/", "%A/%T"), "/out/X/Y");
  EXPECT_EQ(Windows("D:\\Out\\", "%A/%T"), "D:\\Out\\X\\Y");
}

TEST(OutputNameTest, SeparatorsAreNeverDoubled) {
  EXPECT_EQ(Windows("D:\\Out\\", "\\%T"), "D:\\Out\\Y");
  EXPECT_EQ(Windows("D:\\\\Out\\\\\\", "a\\\\\\b"), "D:\\Out\\a\\b");
  EXPECT_EQ(Posix("/out//", "//%A\\/%T"), "/out/X/Y");
  EXPECT_EQ(Posix("/out/", "%A\\%T", "", "Y"), "/out/Y") << "a level that comes out empty";
}

TEST(OutputNameTest, NetworkFolderKeepsTheTwoSeparatorsThatBeginIt) {
  EXPECT_EQ(Windows("\\\\server\\music\\", "\\%T"), "\\\\server\\music\\Y");
}

TEST(OutputNameTest, FolderWithoutSeparatorAtItsEndIsJoinedWithOne) {
  EXPECT_EQ(Windows("D:\\Out", "%T"), "D:\\Out\\Y");
  EXPECT_EQ(Posix("/out", "%T"), "/out/Y");
}

TEST(OutputNameTest, EmptyFolderGivesARelativeBase) {
  const OutputBase base = MakeOutputBase({"", "%T", "", "Y", "/Tune.kar"}, PathStyle::kPosix);
  EXPECT_EQ(base.folder, "");
  EXPECT_EQ(base.name, "Y");
  EXPECT_EQ(Posix("", "/%T"), "/Y") << "the scheme's own root";
  EXPECT_EQ(Posix("", "%A/%T", "", "Y"), "Y") << "an empty level is no root";
}

TEST(OutputNameTest, BackslashInAFolderIsAnOrdinaryCharacterOnPosix) {
  EXPECT_EQ(Posix("/a\\b", "%T"), "/a\\b/Y");
}

TEST(OutputNameTest, RefusedCharactersOfArtistAndTitleBecomeUnderscores) {
  EXPECT_EQ(CleanedForName("a\\b/c:d*e?f\"g<h>i|j"), "a_b_c_d_e_f_g_h_i_j");
  EXPECT_EQ(CleanedForName("a\tb\nc\x1F\x7F\xC2\x85"), "a_b_c___");
  EXPECT_EQ(CleanedForName("Été – l'œuvre"), "Été – l'œuvre");
  EXPECT_EQ(Posix("/out/", "%A/%T", "AC/DC", "Who?"), "/out/AC_DC/Who_");
}

TEST(OutputNameTest, ArtistAndTitleAreNeverDots) {
  EXPECT_EQ(CleanedForName("."), "_");
  EXPECT_EQ(CleanedForName(".."), "__");
  EXPECT_EQ(CleanedForName("..."), "...");
  EXPECT_EQ(Posix("/out/", "%A/%T", "..", "."), "/out/__/_");
  EXPECT_EQ(Posix("/out/", "%A./%T", "", "Y"), "/out/_/Y");
  EXPECT_EQ(Posix("/out/", "%A%T/%T", ".", "."), "/out/__/_");
}

TEST(OutputNameTest, FoldersOfTheSchemeItselfStayAsTheyAre) {
  EXPECT_EQ(Posix("/out/", "../%T"), "/out/../Y");
}

TEST(OutputNameTest, NameWithoutArtistAndTitleIsTheSongFilesOwn) {
  EXPECT_EQ(Posix("/out/", "%A - %T", "", ""), "/out/Tune");
  EXPECT_EQ(Windows("D:\\", "%A - %T", "", " "), "D:\\Tune");
  EXPECT_EQ(Posix("/out/", ""), "/out/Tune") << "no scheme at all";
  EXPECT_EQ(Posix("/out/", "%A/%T", "X", ""), "/out/X/Tune");
  EXPECT_EQ(Posix("/out/", "Songs/"), "/out/Songs/Tune");
}

TEST(OutputNameTest, NameWithOneOfTheTwoIsKept) {
  EXPECT_EQ(Posix("/out/", "%A - %T", "", "Y"), "/out/ - Y");
  EXPECT_EQ(Posix("/out/", "Backing track", "", ""), "/out/Backing track");
}

TEST(OutputNameTest, DotsOfANameAreNoExtension) {
  const OutputBase base = MakeOutputBase({"/out", "%T", "", "Mr. X", "/t.kar"}, PathStyle::kPosix);
  EXPECT_EQ(AudioPath(base, AudioFormat::kWav), "/out/Mr. X.wav");
  EXPECT_EQ(AudioPath(base, AudioFormat::kOgg), "/out/Mr. X.ogg");
  EXPECT_EQ(LyricsPath(base), "/out/Mr. X.kok");
}

TEST(OutputNameTest, MissingFoldersAreMadeOneLevelAtATime) {
  TemporaryFolder folder;
  const OutputBase base = MakeOutputBase({folder.path(), "a/b/%A/%T", "X", "Y", "/t.kar"});
  EXPECT_FALSE(MakeFolderOf(base).has_value());
  EXPECT_TRUE(FolderExists(folder / "a/b/X"));
  EXPECT_FALSE(MakeFolderOf(base).has_value()) << "they may be there already";
  EXPECT_FALSE(MakeFolderOf({"", "Y"}).has_value());
}

TEST(OutputNameTest, FileInTheWayOfAFolderIsAnError) {
  TemporaryFolder folder;
  folder.Write("a", "");
  EXPECT_TRUE(MakeFolderOf({folder / "a/b/", "Y"}).has_value());
}

}  // namespace
}  // namespace vexolo
