// layer: core
#include "convert/genres.h"

#include <cctype>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "convert/bitrates.h"

namespace vexolo {
namespace {

/// Letters and digits alone, in lower case.
std::string SortKey(std::string_view name) {
  std::string key;
  for (const char character : name) {
    const auto byte = static_cast<unsigned char>(character);
    if (std::isalnum(byte) != 0) key += static_cast<char>(std::tolower(byte));
  }
  return key;
}

TEST(GenresTest, Holds148DifferentNames) {
  EXPECT_EQ(kGenres.size(), 148U);
  EXPECT_EQ(std::set<std::string_view>(kGenres.begin(), kGenres.end()).size(), 148U);
}

TEST(GenresTest, AreInAlphabeticalOrderWithoutCaseSpacesAndPunctuation) {
  for (std::size_t index = 1; index < kGenres.size(); ++index) {
    EXPECT_LT(SortKey(kGenres[index - 1]), SortKey(kGenres[index])) << kGenres[index];
  }
}

TEST(GenresTest, NamesWhoseOrderIsEasilyMistaken) {
  EXPECT_EQ(kGenres.front(), "A Cappella");
  EXPECT_EQ(kGenres.back(), "Vocal");
  EXPECT_EQ(GenrePlace("Alternative") + 1, GenrePlace("Alt. Rock"));
  EXPECT_EQ(GenrePlace("Rave") + 1, GenrePlace("R&B"));
  EXPECT_EQ(GenrePlace("Thrash Metal") + 1, GenrePlace("top 40"));
  EXPECT_EQ(GenrePlace("top 40") + 1, GenrePlace("Trailer"));
}

TEST(GenresTest, FirstPlaceOfTheListShownMeansNoGenre) {
  EXPECT_EQ(GenrePlace(""), 0);
  EXPECT_EQ(GenrePlace("Schlager"), 0);
  EXPECT_EQ(GenrePlace("A Cappella"), 1);
  EXPECT_EQ(GenrePlace("Vocal"), 148);
  EXPECT_EQ(GenreAt(0), "");
  EXPECT_EQ(GenreAt(1), "A Cappella");
  EXPECT_EQ(GenreAt(148), "Vocal");
  EXPECT_EQ(GenreAt(149), "");
  EXPECT_EQ(GenreAt(-1), "");
}

TEST(BitratesTest, Are14InTheirOrder) {
  const std::array<std::string_view, 14> expected = {
      "32", "40", "48", "56", "64", "80", "96", "112", "128", "160", "192", "224", "256", "320"};
  EXPECT_EQ(kBitrates, expected);
}

TEST(BitratesTest, NothingStoredSelects128) {
  EXPECT_EQ(SelectedBitrate(""), BitratePlace("128"));
  EXPECT_EQ(SelectedBitrate("320"), 13);
}

TEST(BitratesTest, StoredRateThatIsNotInTheListSelectsNothing) {
  EXPECT_EQ(SelectedBitrate("100"), -1);
  EXPECT_EQ(SelectedBitrate("128 "), -1);
  EXPECT_EQ(SelectedBitrate("12"), -1);
}

TEST(BitratesTest, RateThatIsNotInTheListCountsAs128ForTheRun) {
  EXPECT_EQ(BitrateInUse(""), "128");
  EXPECT_EQ(BitrateInUse("100"), "128");
  EXPECT_EQ(BitrateInUse("96"), "96");
}

}  // namespace
}  // namespace vexolo
