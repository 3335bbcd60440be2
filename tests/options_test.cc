// layer: core
#include "mixer/options.h"

#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

class OptionsTest : public testing::Test {
 protected:
  void AddLanguage(const std::string& file, const std::string& name) {
    folder_.Write(file, "[VEXOLO]\r\nLng=" + name + "\r\n");
  }
  LanguageList List(const std::string& file_in_use) {
    return ListLanguagesToChoose(ini_, folder_.path(), folder_ / file_in_use);
  }

  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  MixState mix_;
};

TEST_F(OptionsTest, TheLanguageInUseIsSelected) {
  AddLanguage("de.lng", "Deutsch");
  AddLanguage("fr.lng", "Français");
  AddLanguage("vexolo.dll", "Français");
  EXPECT_EQ(List("fr.lng").selected, 1);
  EXPECT_EQ(List("de.lng").selected, 0);
  EXPECT_EQ(List("vexolo.dll").selected, 1);
}

TEST_F(OptionsTest, OfTwoFilesOfTheSameNameTheOneInUseIsSelected) {
  AddLanguage("fr.lng", "Français");
  AddLanguage("fr_ca.lng", "Français");
  EXPECT_EQ(List("fr_ca.lng").selected, 1);
}

TEST_F(OptionsTest, ALanguageThatIsNotListedSelectsNone) {
  AddLanguage("de.lng", "Deutsch");
  AddLanguage("vexolo.dll", "Français");
  EXPECT_EQ(List("vexolo.dll").selected, -1);
  EXPECT_EQ(List("missing.lng").selected, -1);
}

TEST_F(OptionsTest, SwitchingKeepsPathAndStem) {
  AddLanguage("de.lng", "Deutsch");
  AddLanguage("pt.br.lng", "Português");
  LanguageList list = List("de.lng");
  std::string language_file = folder_ / "de.lng";
  EXPECT_TRUE(SwitchLanguage(ini_, list, 1, language_file));
  EXPECT_EQ(language_file, folder_ / "pt.br.lng");
  EXPECT_EQ(list.selected, 1);
  EXPECT_EQ(ini_.ReadIni("Vexolo", "Lng"), "pt.br");
}

TEST_F(OptionsTest, ChoosingNothingChangesNothing) {
  LanguageList list = List("vexolo.dll");
  EXPECT_TRUE(list.entries.empty());
  std::string language_file = folder_ / "vexolo.dll";
  for (const int index : {-1, 0, 1, 101}) {
    EXPECT_FALSE(SwitchLanguage(ini_, list, index, language_file));
  }
  EXPECT_EQ(language_file, folder_ / "vexolo.dll");
  EXPECT_FALSE(std::filesystem::exists(folder_ / "Vexolo.ini"));
}

TEST_F(OptionsTest, TheLastOfManyLanguagesCanBeChosen) {
  for (int i = 0; i < 110; ++i) AddLanguage(std::to_string(1000 + i) + ".lng", std::to_string(i));
  LanguageList list = List("1000.lng");
  std::string language_file;
  EXPECT_TRUE(SwitchLanguage(ini_, list, 100, language_file));
  EXPECT_EQ(language_file, folder_ / "1100.lng");
  EXPECT_FALSE(SwitchLanguage(ini_, list, 101, language_file));
  EXPECT_EQ(ini_.ReadIni("Vexolo", "Lng"), "1100");
}

TEST_F(OptionsTest, AutomaticMutingIsKept) {
  SwitchAutoMute(ini_, mix_, true);
  EXPECT_TRUE(mix_.AutoMute);
  EXPECT_EQ(ini_.ReadIni("Vexolo", "AutoMute"), "1");
  SwitchAutoMute(ini_, mix_, false);
  EXPECT_FALSE(mix_.AutoMute);
  EXPECT_EQ(ini_.ReadIni("Vexolo", "AutoMute"), "0");
}

}  // namespace
}  // namespace vexolo
