// layer: core
#include "app/help_page.h"

#include <filesystem>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/temporary_folder.h"
#include "platform/file_io.h"

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

// ---- The pages that are shipped.

constexpr const char* kPages = VEXOLO_SOURCES "/src/resources/help/";

using Matches = std::vector<std::string>;

std::string Content(const std::string& file) {
  return ReadWholeFile(kPages + file, nullptr, 1 << 20).value_or("");
}

Matches Find(const std::string& text, const char* pattern) {
  const std::regex expression(pattern);
  Matches found;
  for (std::sregex_iterator at(text.begin(), text.end(), expression), end; at != end; ++at) {
    found.push_back((*at)[1]);
  }
  return found;
}

class HelpPages : public testing::TestWithParam<const char*> {
 protected:
  const std::string page_ = Content(std::string(GetParam()) + ".html");
};

TEST_P(HelpPages, LeadOnlyToPlacesThatExistOnThisMachine) {
  const Matches ids = Find(page_, R"re(\sid="([^"]*)")re");
  const std::set<std::string> places(ids.begin(), ids.end());
  EXPECT_EQ(places.size(), ids.size());
  const Matches targets = Find(page_, R"re(\s(?:href|src)="([^"]*)")re");
  EXPECT_GT(targets.size(), 10u);
  for (const std::string& target : targets) {
    if (target.starts_with('#')) {
      EXPECT_TRUE(places.contains(target.substr(1))) << target;
    } else {
      EXPECT_TRUE(FileExists(kPages + target)) << target;
    }
  }
}

TEST_P(HelpPages, SayAsMuchInEveryLanguage) {
  const std::string french = Content("fr.html");
  EXPECT_EQ(Find(page_, R"re(<html lang="([^"]*)">)re"), Matches{GetParam()});
  for (const char* element : {"(<h2)", "(<h3)", "(<p>)", "(<li>)", "(<tr>)", "(<pre>)"}) {
    EXPECT_EQ(Find(page_, element).size(), Find(french, element).size()) << element;
  }
}

INSTANTIATE_TEST_SUITE_P(Shipped, HelpPages, testing::Values("fr", "en", "es", "de"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
}  // namespace vexolo
