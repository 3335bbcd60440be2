// layer: core
#include "settings/mod_ini.h"

#include <chrono>
#include <filesystem>
#include <new>

#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "support/write_watch.h"

namespace vexolo {
namespace {

namespace fs = std::filesystem;
using Box = FakeMessageBoxes::Box;

class ModIniTest : public testing::Test {
 protected:
  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
};

TEST_F(ModIniTest, WithoutAFileTheSettingsFileIsMeant) {
  folder_.Write("Vexolo.ini", "[Vexolo]\r\nLng=fr\r\n");
  folder_.Write("song.zvn", "[Vexolo]\r\nLng=other\r\n");
  EXPECT_EQ(ini_.ReadIni("vexolo", "LNG"), "fr");
  EXPECT_EQ(ini_.ReadIni("vexolo", "LNG", ""), "fr");
  EXPECT_EQ(ini_.ReadIni("vexolo", "LNG", folder_ / "song.zvn"), "other");
  EXPECT_EQ(ini_.default_file(), folder_ / "Vexolo.ini");
}

TEST_F(ModIniTest, WhatIsMissingIsEmptyAndNotReported) {
  EXPECT_EQ(ini_.ReadIni("A", "k"), "");
  folder_.Write("Vexolo.ini", "[A]\r\nx=1\r\n");
  EXPECT_EQ(ini_.ReadIni("A", "k"), "");
  EXPECT_EQ(ini_.ReadIni("B", "x"), "");
  EXPECT_EQ(ini_.ReadIni("A", "x", folder_.path()), "");
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(ModIniTest, ReadingRefusesAnEmptySectionOrKey) {
  folder_.Write("Vexolo.ini", "[A]\r\nx=1\r\n");
  ini_.ReadIni("A", "x");
  EXPECT_EQ(ini_.ReadIni("", "x"), "");
  EXPECT_EQ(ini_.ReadIni("A", ""), "");
  const Box box{"Section Or Key To Read Not Specified !!!", "INI", BoxIcon::kExclamation};
  EXPECT_EQ(boxes_.shown, (std::vector<Box>{box, box}));
  EXPECT_EQ(ini_.last_length(), 0u);
}

TEST_F(ModIniTest, WritingRefusesAnEmptySectionOrKey) {
  ini_.WriteIni("", "x", "1");
  ini_.WriteIni("A", "", "1");
  const Box box{"Section Or Key To Write Not Specified !!!", "INI", BoxIcon::kExclamation};
  EXPECT_EQ(boxes_.shown, (std::vector<Box>{box, box}));
  EXPECT_FALSE(fs::exists(folder_ / "Vexolo.ini"));
}

TEST_F(ModIniTest, AFolderBetweenDoubleQuotesIsReadWithoutThem) {
  folder_.Write("Vexolo.ini",
                "[Wave]\r\nboth=\"C:\\My Songs\"\r\nfirst=\"abc\r\nlast=abc\"\r\none=\"\r\n"
                "none=\"\"\r\ntwice=\"\"x\"\"\r\n");
  EXPECT_EQ(ini_.ReadIni("Wave", "both"), "C:\\My Songs");
  EXPECT_EQ(ini_.ReadIni("Wave", "first"), "\"abc");
  EXPECT_EQ(ini_.ReadIni("Wave", "last"), "abc\"");
  EXPECT_EQ(ini_.ReadIni("Wave", "one"), "\"");
  EXPECT_EQ(ini_.ReadIni("Wave", "none"), "");
  EXPECT_EQ(ini_.ReadIni("Wave", "twice"), "\"x\"");
}

TEST_F(ModIniTest, AValueLongerThan128CharactersIsCut) {
  std::string accents;
  for (int i = 0; i < 130; ++i) accents += "é";
  folder_.Write("Vexolo.ini", "[A]\r\nlong=" + accents + "\r\nexact=" + std::string(128, 'x') +
                                  "\r\nquoted=\"" + std::string(127, 'q') + "\"\r\n");
  EXPECT_EQ(ini_.ReadIni("A", "long"), accents.substr(0, 256));
  EXPECT_EQ(ini_.last_length(), 128u);
  EXPECT_EQ(ini_.last_value(), accents.substr(0, 256));
  EXPECT_EQ(ini_.ReadIni("A", "exact"), std::string(128, 'x'));
  // The closing quote is the 129th character: with one quote left, it stays.
  EXPECT_EQ(ini_.ReadIni("A", "quoted"), std::string(1, '"') + std::string(127, 'q'));
}

TEST_F(ModIniTest, WhatIsWrittenIsReadBack) {
  ini_.WriteIni("Main", "X", "1200");
  ini_.WriteIni("Main", "Y", "900");
  ini_.WriteIni("MAIN", "x", "15");
  EXPECT_EQ(ini_.ReadIni("Main", "X"), "15");
  EXPECT_EQ(folder_.Read("Vexolo.ini"), "[Main]\r\nX=15\r\nY=900\r\n");
}

TEST_F(ModIniTest, PlaylistAndPlayListAreTheSameSection) {
  ini_.WriteIni("PlayList", "Show", "1");
  ini_.WriteIni("Playlist", "Show", "0");
  EXPECT_EQ(ini_.ReadIni("PlayList", "Show"), "0");
  EXPECT_EQ(folder_.Read("Vexolo.ini"), "[PlayList]\r\nShow=0\r\n");
}

TEST_F(ModIniTest, AWriteThatChangesNothingDoesNotTouchTheFile) {
  folder_.Write("Vexolo.ini", "[A]\nk = 1\n");
  const auto long_ago = fs::last_write_time(folder_ / "Vexolo.ini") - std::chrono::hours(24);
  fs::last_write_time(folder_ / "Vexolo.ini", long_ago);
  ini_.WriteIni("A", "k", "1");
  EXPECT_EQ(fs::last_write_time(folder_ / "Vexolo.ini"), long_ago);
  EXPECT_EQ(folder_.Read("Vexolo.ini"), "[A]\nk = 1\n");
}

TEST_F(ModIniTest, AChangeOnDiskIsSeenHoweverSoonItComes) {
  for (int i = 0; i < 50; ++i) {
    const std::string digit(1, static_cast<char>('0' + i % 10));
    folder_.Write("Vexolo.ini", "[A]\nk=" + digit + "\n");  // same size, perhaps the same time
    EXPECT_EQ(ini_.ReadIni("A", "k"), digit);
  }
}

TEST_F(ModIniTest, AChangeOfASettledFileIsSeen) {
  const fs::path path = folder_.Write("Vexolo.ini", "[A]\nk=1\n");
  fs::last_write_time(path, fs::last_write_time(path) - std::chrono::hours(2));
  EXPECT_EQ(ini_.ReadIni("A", "k"), "1");
  EXPECT_EQ(ini_.ReadIni("A", "k"), "1");
  folder_.Write("Vexolo.ini", "[A]\nk=2\n");
  EXPECT_EQ(ini_.ReadIni("A", "k"), "2");
  fs::remove(path);
  EXPECT_EQ(ini_.ReadIni("A", "k"), "");
}

TEST_F(ModIniTest, ManyFilesInTurnAreReadRight) {
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 30; ++i) {
      const std::string name = std::to_string(i) + ".zvn";
      if (round == 0) ini_.WriteIni("A", "k", name, folder_ / name);
      EXPECT_EQ(ini_.ReadIni("A", "k", folder_ / name), name);
    }
  }
}

TEST_F(ModIniTest, AFileThatCannotBeWrittenIsNotReported) {
  ini_.WriteIni("A", "k", "1", folder_ / "none/x.ini");
  ini_.WriteIni("A", "k", "1", folder_.path());
  EXPECT_TRUE(boxes_.shown.empty());
  EXPECT_EQ(folder_.CountEntries(), 0u);
}

TEST_F(ModIniTest, AWindows1252FileKeepsItsEncodingOnDisk) {
  folder_.Write("song.zvn",
                "[Tags]\r\nAnn\xE9"
                "e=x\r\n");
  ini_.WriteIni("Tags", "ANNÉE", "août", folder_ / "song.zvn");
  EXPECT_EQ(folder_.Read("song.zvn"),
            "[Tags]\r\nAnn\xE9"
            "e=ao\xFBt\r\n");
  EXPECT_EQ(ini_.ReadIni("Tags", "Année", folder_ / "song.zvn"), "août");
}

TEST_F(ModIniTest, AHundredSettingsAreWrittenWithoutWaitingForTheDisk) {
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 112; ++i) ini_.WriteIni("Controller", std::to_string(i), "64");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
  EXPECT_EQ(ini_.ReadIni("controller", "111"), "64");
}

TEST_F(ModIniTest, AThousandKeysAreReadQuickly) {
  std::string content = "[Main]\r\n";
  for (int i = 0; i < 1000; ++i)
    content += "SM(" + std::to_string(i) + ")=text " + std::to_string(i) + "\r\n";
  const fs::path path = folder_.Write("fr.lng", content);
  fs::last_write_time(path, fs::last_write_time(path) - std::chrono::hours(2));
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 1000; ++i) {
    ASSERT_EQ(ini_.ReadIni("Main", "SM(" + std::to_string(i) + ")", path.string()),
              "text " + std::to_string(i));
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
}

TEST_F(ModIniTest, AGroupIsOneWriteAndIsReadAtOnce) {
  folder_.Write("Vexolo.ini", "[A]\r\nx=0\r\n");
  WriteWatch watch(folder_.path());
  {
    const IniGroup group(ini_);
    ini_.WriteIni("A", "x", "1");
    {
      const IniGroup inner(ini_);
      ini_.WriteIni("A", "y", "2");
    }
    ini_.WriteIni("B", "z", "3", folder_ / "song.zvn");
    EXPECT_EQ(ini_.ReadIni("A", "x"), "1");
    EXPECT_EQ(ini_.ReadIni("B", "z", folder_ / "song.zvn"), "3");
    EXPECT_EQ(folder_.Read("Vexolo.ini"), "[A]\r\nx=0\r\n");
  }
  EXPECT_EQ(watch.Count("Vexolo.ini"), 1);
  EXPECT_EQ(watch.Count("song.zvn"), 1);
  EXPECT_EQ(folder_.Read("Vexolo.ini"), "[A]\r\nx=1\r\ny=2\r\n");
  EXPECT_EQ(folder_.Read("song.zvn"), "[B]\r\nz=3\r\n");
}

TEST_F(ModIniTest, AGroupInWhichNothingChangesWritesNothing) {
  folder_.Write("Vexolo.ini", "[A]\r\nx=1\r\n");
  WriteWatch watch(folder_.path());
  {
    const IniGroup group(ini_);
    ini_.WriteIni("A", "x", "1");
  }
  EXPECT_EQ(watch.Count("Vexolo.ini"), 0);
}

TEST_F(ModIniTest, AGroupThatAnExceptionEndsChangesNothing) {
  folder_.Write("Vexolo.ini", "[A]\r\nx=1\r\n");
  try {
    const IniGroup group(ini_);
    ini_.WriteIni("A", "x", "2");
    throw std::bad_alloc();
  } catch (const std::bad_alloc&) {
  }
  EXPECT_EQ(folder_.Read("Vexolo.ini"), "[A]\r\nx=1\r\n");
  EXPECT_EQ(ini_.ReadIni("A", "x"), "1");
}

TEST_F(ModIniTest, AFileThatCanNoLongerBeReadKeepsWhatWasReadAndIsNotReplaced) {
  const std::string path = folder_.Write("Vexolo.ini", "[A]\r\nx=1\r\ny=2\r\n");
  EXPECT_EQ(ini_.ReadIni("A", "x"), "1");
  fs::rename(path, folder_ / "elsewhere");
  fs::create_directory(path);  // opens, and cannot be read
  EXPECT_EQ(ini_.ReadIni("A", "x"), "1");
  fs::remove(path);
  fs::create_symlink("Vexolo.ini", path);  // nobody can tell what stands behind it
  ini_.WriteIni("A", "x", "3");
  EXPECT_TRUE(fs::is_symlink(path));
  fs::remove(path);
  fs::rename(folder_ / "elsewhere", path);
  ini_.WriteIni("A", "x", "3");
  EXPECT_EQ(folder_.Read("Vexolo.ini"), "[A]\r\nx=3\r\ny=2\r\n");
}

TEST_F(ModIniTest, WhoeverAsksIsToldWhetherAWriteIsInItsFile) {
  ini_.WriteIni("A", "k", "1");
  EXPECT_TRUE(ini_.kept());
  ini_.WriteIni("A", "k", "1", folder_ / "none/x.ini");
  EXPECT_FALSE(ini_.kept());
  ini_.WriteIni("A", "k", "1");  // as it is already
  EXPECT_TRUE(ini_.kept());
}

TEST_F(ModIniTest, AGroupReadsItsOwnValuesOfAFileThatMustNotBeReplacedToo) {
  const std::string path = folder_ / "Vexolo.ini";
  fs::create_symlink("Vexolo.ini", path);
  {
    const IniGroup group(ini_);
    ini_.WriteIni("A", "x", "3");
    EXPECT_EQ(ini_.ReadIni("A", "x"), "3");
  }
  EXPECT_FALSE(ini_.kept());
  EXPECT_EQ(ini_.ReadIni("A", "x"), "");
  EXPECT_TRUE(fs::is_symlink(path));
}

}  // namespace
}  // namespace vexolo
