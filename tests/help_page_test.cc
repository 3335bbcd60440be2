// layer: core
#include "app/help_page.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/panel_layout.h"
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

TEST_P(HelpPages, ExplainEveryNumberOnThePicture) {
  const Matches numbers = Find(page_, "<li><b>([0-9]+)</b>");
  ASSERT_FALSE(numbers.empty());
  EXPECT_EQ(Find(page_, R"re(<span class="pin"[^>]*>([0-9]+)</span>)re"), numbers);
}

TEST_P(HelpPages, NameEveryKey) {
  const Matches named = Find(page_, "<kbd>([^<]*)</kbd>");
  const std::set<std::string> keys(named.begin(), named.end());
  for (const char* key : {"←", "→", "↑", "↓", "Tab", "F1", "F11", "O", "R", "L", "P",
                          "A", "S", "T", "C", "Alt", "0",  "1",   "9", "+", "−"}) {
    EXPECT_TRUE(keys.contains(key)) << key;
  }
}

// What the numbers speak of, in their order; of a group, the control in its middle.
const std::array kExplained = {
    panel::kDisplayGlass,       panel::kTime.Text(),        panel::kPosition,
    panel::LampPlace(15),       panel::LevelPlace(15),      panel::SoloPlace(15),
    panel::MutePlace(15),       panel::kTransposePlace,     panel::kSpeedPlace,
    panel::kGainPlace,          panel::kMeterGlass,         panel::MiscButtonPlace(33),
    panel::MiscButtonPlace(36), panel::MiscButtonPlace(42), panel::MiscButtonPlace(39),
    panel::MiscButtonPlace(37), panel::MiscButtonPlace(47), panel::MiscButtonPlace(43),
    panel::MiscButtonPlace(44), panel::MiscButtonPlace(41), panel::MiscButtonPlace(45),
    panel::MiscButtonPlace(46)};

/// From a point to the nearest one of a rectangle.
double Distance(double x, double y, const panel::Place& place) {
  const double dx = x - std::clamp<double>(x, place.x, place.x + place.width);
  const double dy = y - std::clamp<double>(y, place.y, place.y + place.height);
  return std::hypot(dx, dy);
}

TEST_P(HelpPages, PutTheNumbersWhereTheControlsAre) {
  const Matches left = Find(page_, R"re(class="pin" style="left: ([0-9.]+)%)re");
  const Matches top = Find(page_, R"re(class="pin" style="left: [0-9.]+%; top: ([0-9.]+)%)re");
  ASSERT_EQ(left.size(), kExplained.size());
  ASSERT_EQ(top.size(), kExplained.size());
  for (std::size_t i = 0; i < kExplained.size(); ++i) {
    const double x = std::stod(left[i]) / 100 * panel::kWidth;
    const double y = std::stod(top[i]) / 100 * panel::kHeight;
    EXPECT_LT(Distance(x, y, kExplained[i]), 20) << "number " << i + 1;
  }
}

TEST_P(HelpPages, ShowThePanelAtTwiceItsSizeInTheirLanguage) {
  const std::string name = "window-" + std::string(GetParam()) + ".png";
  EXPECT_NE(page_.find("<img src=\"" + name + "\" "), std::string::npos);
  const std::string picture = Content(name);
  ASSERT_GT(picture.size(), 24u);
  // The first chunk of a PNG begins with its width and height, big-endian.
  const auto number = [&](std::size_t at) {
    int value = 0;
    for (std::size_t i = at; i < at + 4; ++i) {
      value = value * 256 + static_cast<unsigned char>(picture[i]);
    }
    return value;
  };
  EXPECT_EQ(picture.substr(12, 4), "IHDR");
  EXPECT_EQ(number(16), 2 * panel::kWidth);
  EXPECT_EQ(number(20), 2 * panel::kHeight);
}

INSTANTIATE_TEST_SUITE_P(Shipped, HelpPages, testing::Values("fr", "en", "es", "de"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
}  // namespace vexolo
