// layer: core
#include "settings/language.h"

#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

using Box = FakeMessageBoxes::Box;

class LanguageTest : public testing::Test {
 protected:
  void AddLanguage(const std::string& file, const std::string& name) {
    folder_.Write(file, "[VEXOLO]\r\nLng=" + name + "\r\n");
  }
  void Settings(const std::string& content) { folder_.Write("Vexolo.ini", content); }
  std::optional<LanguageChoice> Choose() { return ChooseLanguage(ini_, folder_.path(), boxes_); }

  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
};

TEST_F(LanguageTest, TheFirstRunTakesTheDefaultFileAndLeavesTheFlagsOff) {
  AddLanguage("vexolo.dll", "Français");
  AddLanguage("fr.lng", "Français");
  Settings("[Vexolo]\r\nAutoMute=1\r\n[Wave]\r\nSaveFolder=\"D:\\Out\"\r\nSaveScheme=%A - %T\r\n");
  const auto choice = Choose();
  ASSERT_TRUE(choice);
  EXPECT_TRUE(choice->first_run);
  EXPECT_EQ(choice->language_file, folder_ / "vexolo.dll");
  EXPECT_EQ(choice->name, "Français");
  EXPECT_EQ(choice->code, "vexolo");
  EXPECT_FALSE(choice->auto_mute);
  EXPECT_FALSE(choice->further_flags[0] || choice->further_flags[1]);
  EXPECT_EQ(choice->save_folder, "D:\\Out");
  EXPECT_EQ(choice->save_scheme, "%A - %T");
}

TEST_F(LanguageTest, TheChosenLanguageIsUsed) {
  AddLanguage("it.lng", "Italiano");
  AddLanguage("fr.lng", "Français");
  Settings("[Vexolo]\r\nLng=it\r\n");
  const auto choice = Choose();
  ASSERT_TRUE(choice);
  EXPECT_FALSE(choice->first_run);
  EXPECT_EQ(choice->language_file, folder_ / "it.lng");
  EXPECT_EQ(choice->name, "Italiano");
  EXPECT_EQ(choice->code, "it");
  EXPECT_TRUE(choice->auto_mute && choice->further_flags[0] && choice->further_flags[1]);
  EXPECT_EQ(choice->save_folder, "");
}

TEST_F(LanguageTest, ACodeWhoseFileIsMissingStartsInFrench) {
  AddLanguage("fr.lng", "Français");
  AddLanguage("vexolo.dll", "Français");
  Settings("[Vexolo]\r\nLng=xx\r\n");
  const auto choice = Choose();
  ASSERT_TRUE(choice);
  EXPECT_EQ(choice->language_file, folder_ / "fr.lng");
  EXPECT_EQ(choice->code, "fr");
}

TEST_F(LanguageTest, AFileThatDoesNotNameItsLanguageIsTreatedAsAbsent) {
  folder_.Write("it.lng", "[VEXOLO]\r\nLng=\r\n[Main]\r\nCaption=x\r\n");
  AddLanguage("fr.lng", "Français");
  Settings("[Vexolo]\r\nLng=it\r\n");
  EXPECT_EQ(Choose()->code, "fr");
}

TEST_F(LanguageTest, TheDefaultFileIsTheLastFallback) {
  AddLanguage("vexolo.dll", "Français");
  Settings("[Vexolo]\r\nLng=xx\r\n");
  const auto choice = Choose();
  ASSERT_TRUE(choice);
  EXPECT_EQ(choice->language_file, folder_ / "vexolo.dll");
  EXPECT_FALSE(choice->first_run);
  EXPECT_TRUE(choice->auto_mute);
}

TEST_F(LanguageTest, WithNoUsableFileTheProgramEndsWithAMessage) {
  Settings("[Vexolo]\r\nLng=xx\r\n");
  EXPECT_FALSE(Choose());
  EXPECT_EQ(
      boxes_.shown,
      (std::vector<Box>{{"Missing " + (folder_ / "vexolo.dll"), "Error", BoxIcon::kCritical}}));
}

TEST_F(LanguageTest, OnlyZeroTurnsAutomaticMutingOff) {
  AddLanguage("fr.lng", "Français");
  const auto auto_mute_with = [&](const std::string& value) {
    Settings("[Vexolo]\r\nLng=fr\r\nAutoMute=" + value + "\r\n");
    return Choose()->auto_mute;
  };
  EXPECT_FALSE(auto_mute_with("0"));
  EXPECT_TRUE(auto_mute_with("1"));
  EXPECT_TRUE(auto_mute_with("no"));
  EXPECT_TRUE(auto_mute_with("00"));
  EXPECT_TRUE(auto_mute_with(""));
}

TEST_F(LanguageTest, LanguagesAreListedInTheOrderOfTheirFiles) {
  AddLanguage("it.lng", "Italiano");
  AddLanguage("FR.LNG", "Français");
  AddLanguage("de.lng", "Deutsch");
  AddLanguage("vexolo.dll", "Français");
  folder_.Write("bad.lng", "no name");
  folder_.Write("readme.txt", "[VEXOLO]\r\nLng=x\r\n");
  std::filesystem::create_directory(folder_ / "dir.lng");
  const auto languages = ListLanguages(ini_, folder_.path());
  ASSERT_EQ(languages.size(), 3u);
  EXPECT_EQ(languages[0].name, "Français");
  EXPECT_EQ(languages[0].code, "FR");
  EXPECT_EQ(languages[0].path, folder_ / "FR.LNG");
  EXPECT_EQ(languages[1].name, "Deutsch");
  EXPECT_EQ(languages[2].code, "it");
}

TEST_F(LanguageTest, AtMost101LanguagesAreListed) {
  for (int i = 0; i < 120; ++i) AddLanguage(std::to_string(1000 + i) + ".lng", std::to_string(i));
  const auto languages = ListLanguages(ini_, folder_.path());
  ASSERT_EQ(languages.size(), 101u);
  EXPECT_EQ(languages[100].name, "100");
}

TEST_F(LanguageTest, AFolderWithoutLanguageFilesListsNone) {
  EXPECT_TRUE(ListLanguages(ini_, folder_.path()).empty());
  EXPECT_TRUE(ListLanguages(ini_, folder_ / "none").empty());
}

TEST_F(LanguageTest, SwitchingStoresTheStemOfTheFile) {
  AddLanguage("it.lng", "Italiano");
  StoreLanguage(ini_, ListLanguages(ini_, folder_.path())[0]);
  EXPECT_EQ(ini_.ReadIni("Vexolo", "Lng"), "it");
  EXPECT_EQ(Choose()->name, "Italiano");
}

TEST_F(LanguageTest, TextsOfASection) {
  folder_.Write("fr.lng", "[Main]\r\nSM(3)=Lire\r\nExtmid=mid,kar\r\nq=Écraser %1|ou %2 ?\r\n");
  const LanguageSection main(ini_, folder_ / "fr.lng", "Main");
  EXPECT_EQ(main.Text("Extmid"), "mid,kar");
  EXPECT_EQ(main.Text("SM", 3), "Lire");
  EXPECT_EQ(main.Text("SM", 4), "");
  EXPECT_EQ(main.Text("q"), "Écraser %1|ou %2 ?");
  EXPECT_EQ(main.Message("q", {"a|b", "%1"}), "Écraser a|b\nou %1 ?");
}

TEST(LanguageText, NumbersAreFilledInByPlainReplacement) {
  EXPECT_EQ(FillIn("%1 %2 %1", {"a", "b"}), "a b a");
  EXPECT_EQ(FillIn("100% %3 %0 %", {"a"}), "100% %3 %0 %");
  EXPECT_EQ(FillIn("%12", {"a"}), "a2");
  EXPECT_EQ(FillIn("%12", std::vector<std::string>(12, "x")), "x");
  EXPECT_EQ(FillIn("%%1", {"50"}), "%50");
  EXPECT_EQ(FillIn("", {"a"}), "");
  EXPECT_EQ(ArrayKey("SM", 12), "SM(12)");
}

}  // namespace
}  // namespace vexolo
