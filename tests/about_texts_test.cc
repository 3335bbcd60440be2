// layer: core
#include "about/about_texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

using ::testing::ElementsAre;

class AboutTextsTest : public testing::Test {
 protected:
  LanguageSection About(const std::string& keys) {
    return {ini_, folder_.Write("fr.lng", "[About]\r\n" + keys), "About"};
  }

  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
};

TEST_F(AboutTextsTest, TheVersionHasThreeNumbers) {
  const LanguageSection about = About("Version=Version %1.%2|(révision %3)\r\n");
  EXPECT_EQ(VersionText(about, {4, 12, 305}), "Version 4.12\n(révision 305)");
  EXPECT_EQ(VersionText(about), "Version " + std::to_string(VEXOLO_VERSION_MAJOR) + "." +
                                    std::to_string(VEXOLO_VERSION_MINOR) + "\n(révision " +
                                    std::to_string(VEXOLO_VERSION_REVISION) + ")");
}

TEST_F(AboutTextsTest, EachCreditHasItsNotice) {
  const LanguageSection about = About(
      "Notice(0)=a\r\nNotice(1)=b|c\r\nNotice(2)=d\r\nNotice(3)=e\r\n"
      "CopyrightInfo=Avec %2|et %3|et %4|dans %1\r\n");
  EXPECT_THAT(CreditLines(about), ElementsAre("Vexolo – a", "BASS v2.4 – b\nc", "Lame 3.96.1 – d",
                                              "OggEnc v2.84 (libvorbis 1.2.0) – e"));
  EXPECT_EQ(CreditsText(about),
            "Avec BASS v2.4 – b\nc\net Lame 3.96.1 – d\net OggEnc v2.84 (libvorbis 1.2.0) – e\n"
            "dans Vexolo – a");
}

TEST_F(AboutTextsTest, WithoutNoticesTheNamesStandAlone) {
  EXPECT_EQ(CreditsText(About("CopyrightInfo=%1|%2|%3|%4\r\n")),
            "Vexolo\nBASS v2.4\nLame 3.96.1\nOggEnc v2.84 (libvorbis 1.2.0)");
  EXPECT_EQ(CreditsText(About("")), "");
}

TEST_F(AboutTextsTest, TheDisclaimerIsReadLineByLine) {
  EXPECT_EQ(DisclaimerText(About("Disclaimer=Titre\r\nDisclaimer1=a|b\r\nDisclaimer3=c\r\n")),
            "a\nb\nc");
  EXPECT_EQ(DisclaimerText(About("Disclaimer=Titre\r\n")), "");
}

TEST_F(AboutTextsTest, OnlyOneShowsTheBoxAtOpen) {
  EXPECT_FALSE(IsAboutShownAtOpen(ini_));
  for (const char* value : {"0", "", "yes", "01", " 1x"}) {
    ini_.WriteIni("Vexolo", "AboutAtOpen", value);
    EXPECT_FALSE(IsAboutShownAtOpen(ini_)) << value;
  }
  StoreAboutAtOpen(ini_, true);
  EXPECT_TRUE(IsAboutShownAtOpen(ini_));
  EXPECT_EQ(ini_.ReadIni("Vexolo", "AboutAtOpen"), "1");
  StoreAboutAtOpen(ini_, false);
  EXPECT_FALSE(IsAboutShownAtOpen(ini_));
  EXPECT_EQ(ini_.ReadIni("Vexolo", "AboutAtOpen"), "0");
}

class ShippedAboutTest : public AboutTextsTest, public testing::WithParamInterface<const char*> {};

TEST_P(ShippedAboutTest, EveryTextIsThere) {
  const LanguageSection about(
      ini_, VEXOLO_SOURCES + std::string("/src/resources/languages/") + GetParam() + ".lng",
      "About");
  for (const char* key : {"Caption", "Version", "Description", "Copyright", "chkOK", "cmdOK",
                          "SysInfo", "Disclaimer", "Disclaimer1", "Disclaimer2", "Disclaimer3",
                          "Disclaimer4", "CopyrightInfo", "CopyrightTitle"}) {
    EXPECT_NE(about.Text(key), "") << key;
  }
  const std::string credits = CreditsText(about);
  for (const std::string_view name : kCredits) {
    EXPECT_THAT(credits, ::testing::HasSubstr(std::string(name) + " – "));
  }
  EXPECT_EQ(credits.find('%'), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Languages, ShippedAboutTest, testing::Values("fr", "en", "de", "es"));

}  // namespace
}  // namespace vexolo
