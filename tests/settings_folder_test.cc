// layer: core
#include "platform/settings_folder.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

TEST(SettingsFolder, ConfigHomeFollowsTheEnvironment) {
  EXPECT_EQ(ConfigHome("/conf", "/home/u"), "/conf");
  EXPECT_EQ(ConfigHome(nullptr, "/home/u"), "/home/u/.config");
  EXPECT_EQ(ConfigHome("", "/home/u"), "/home/u/.config");
  EXPECT_EQ(ConfigHome("relative", "/home/u"), "/home/u/.config");
  EXPECT_EQ(ConfigHome(nullptr, nullptr), "");
}

TEST(SettingsFolder, AWritableProgramFolderKeepsTheSettings) {
  const TemporaryFolder program;
  const TemporaryFolder home;
  EXPECT_EQ(ChooseSettingsFile(program.path(), home.path()), program / "Vexolo.ini");
  EXPECT_EQ(home.CountEntries(), 0u);
}

// A folder that does not exist cannot be written by anybody, the administrator included.
TEST(SettingsFolder, OtherwiseTheyGoToTheUsersFolderWhichIsMade) {
  const TemporaryFolder home;
  const std::string file = ChooseSettingsFile(home / "none", home / "config");
  EXPECT_EQ(file, home / "config/vexolo/Vexolo.ini");
  EXPECT_TRUE(std::filesystem::is_directory(home / "config/vexolo"));
}

TEST(SettingsFolder, TheUsersOwnFileIsReadFirst) {
  const TemporaryFolder home;
  std::filesystem::create_directory(home / "vexolo");
  home.Write("vexolo/Vexolo.ini", "[Vexolo]\r\nLng=it\r\n");
  EXPECT_EQ(ChooseSettingsFile(home / "none", home.path()), home / "vexolo/Vexolo.ini");
  EXPECT_EQ(home.Read("vexolo/Vexolo.ini"), "[Vexolo]\r\nLng=it\r\n");
}

TEST(SettingsFolder, ShippedSettingsHoldUntilTheyAreChanged) {
  const TemporaryFolder home;
  std::filesystem::create_directory(home / "program");
  home.Write("program/Vexolo.ini", "[Vexolo]\r\nLng=de\r\n");
  const std::string file = ChooseSettingsFile(home / "program", home / "config", false);
  EXPECT_EQ(file, home / "config/vexolo/Vexolo.ini");
  EXPECT_EQ(home.Read("config/vexolo/Vexolo.ini"), "[Vexolo]\r\nLng=de\r\n");
}

TEST(SettingsFolder, SettingsCanBeKeptWhereTheirFileCanBeMade) {
  const TemporaryFolder folder;
  EXPECT_TRUE(CanKeepSettings(folder.path()));
  folder.Write("Vexolo.ini", "");
  EXPECT_TRUE(CanKeepSettings(folder.path()));
  EXPECT_FALSE(CanKeepSettings(folder / "none"));
}

TEST(SettingsFolder, WithNoPlaceToWriteTheProgramFolderIsRead) {
  const TemporaryFolder home;
  const std::string in_the_way = home.Write("file", "");
  EXPECT_EQ(ChooseSettingsFile(home / "none", in_the_way), home / "none/Vexolo.ini");
  EXPECT_EQ(ChooseSettingsFile(home / "none", ""), home / "none/Vexolo.ini");
}

}  // namespace
}  // namespace vexolo
