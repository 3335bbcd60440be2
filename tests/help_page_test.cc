// layer: core
#include "app/help_page.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

class HelpPageTest : public testing::Test {
 protected:
  HelpPageTest() { std::filesystem::create_directory(folder_ / "help"); }
  std::string Page(const std::string& language_file) const {
    return HelpPage(folder_.path(), folder_ / language_file);
  }

  TemporaryFolder folder_;
};

TEST_F(HelpPageTest, IsTheOneOfTheLanguageInUse) {
  folder_.Write("help/fr.html", "x");
  folder_.Write("help/en.html", "x");
  EXPECT_EQ(Page("fr.lng"), folder_ / "help/fr.html");
  EXPECT_EQ(Page("en.lng"), folder_ / "help/en.html");
}

TEST_F(HelpPageTest, IsFrenchForTheDefaultLanguageFile) {
  folder_.Write("help/fr.html", "x");
  folder_.Write("help/en.html", "x");
  EXPECT_EQ(Page("vexolo.dll"), folder_ / "help/fr.html");
}

TEST_F(HelpPageTest, IsEnglishForALanguageWithoutPage) {
  folder_.Write("help/fr.html", "x");
  folder_.Write("help/en.html", "x");
  EXPECT_EQ(Page("it.lng"), folder_ / "help/en.html");
}

TEST_F(HelpPageTest, IsMissingWhereThereIsNone) { EXPECT_EQ(Page("fr.lng"), ""); }

}  // namespace
}  // namespace vexolo
