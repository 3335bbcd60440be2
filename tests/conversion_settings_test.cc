// layer: core
#include "convert/conversion_settings.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "convert/bitrates.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

using std::chrono::year_month_day;
using ::testing::HasSubstr;

constexpr year_month_day kDay{std::chrono::year(2009), std::chrono::month(3), std::chrono::day(5)};
constexpr ProgramVersion kVersion = {1, 4};

class ConversionSettingsTest : public ::testing::Test {
 protected:
  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
};

TEST_F(ConversionSettingsTest, NothingStoredGivesTheDefaults) {
  const ConversionSettings settings = LoadConversionSettings(ini_);
  EXPECT_EQ(settings, ConversionSettings());
  EXPECT_TRUE(settings.make_lyrics_file);
  EXPECT_EQ(settings.format, AudioFormat::kWav);
}

TEST_F(ConversionSettingsTest, EverythingIsMemorisedUnderItsOwnKey) {
  ConversionSettings settings;
  settings.folder = "/home/léa/";
  settings.scheme = "%A - %T";
  settings.format = AudioFormat::kOgg;
  settings.rate = "192";
  settings.make_lyrics_file = false;
  settings.max_line_length = 40;
  settings.tags = {"Édith", "L'été", "Album", "1958", "3", "Chanson", "Très bien"};
  MemoParam(ini_, settings, PathStyle::kPosix);
  EXPECT_EQ(folder_.Read("Vexolo.ini"),
            "[Wave]\r\nSaveFolder=/home/léa/\r\nSaveScheme=%A - %T\r\nEncoding=2\r\nRate=192\r\n"
            "[Lyrics]\r\nMakeFile=0\r\nMaxLength=40\r\n"
            "[Tags]\r\nArtiste=Édith\r\nTitre=L'été\r\nAlbum=Album\r\nAnnée=1958\r\nPiste=3\r\n"
            "Genre=Chanson\r\nCommentaire=Très bien\r\n");
  EXPECT_EQ(LoadConversionSettings(ini_), settings);
}

TEST_F(ConversionSettingsTest, EncodingIsTheNumberOfTheFormat) {
  for (const auto& [format, number] :
       {std::pair{AudioFormat::kWav, "0"}, {AudioFormat::kMp3, "1"}, {AudioFormat::kOgg, "2"}}) {
    ConversionSettings settings;
    settings.format = format;
    MemoParam(ini_, settings);
    EXPECT_EQ(ini_.ReadIni("Wave", "Encoding"), number);
    EXPECT_EQ(LoadConversionSettings(ini_).format, format);
  }
  for (const char* unknown : {"3", "-1", "mp3", "1,5"}) {
    ini_.WriteIni("Wave", "Encoding", unknown);
    EXPECT_EQ(LoadConversionSettings(ini_).format, AudioFormat::kWav) << unknown;
  }
}

TEST_F(ConversionSettingsTest, OnlyZeroSwitchesTheLyricsFileOff) {
  for (const char* value : {"1", "no", ""}) {
    ini_.WriteIni("Lyrics", "MakeFile", value);
    EXPECT_TRUE(LoadConversionSettings(ini_).make_lyrics_file) << value;
  }
  ini_.WriteIni("Lyrics", "MakeFile", "0");
  EXPECT_FALSE(LoadConversionSettings(ini_).make_lyrics_file);
}

TEST_F(ConversionSettingsTest, LineLengthIsReadAsANumber) {
  ini_.WriteIni("Lyrics", "MaxLength", "25");
  EXPECT_EQ(LoadConversionSettings(ini_).max_line_length, 25);
  ini_.WriteIni("Lyrics", "MaxLength", "99999999");
  EXPECT_EQ(LoadConversionSettings(ini_).max_line_length, 32767);
  ini_.WriteIni("Lyrics", "MaxLength", "many");
  EXPECT_EQ(LoadConversionSettings(ini_).max_line_length, 0);
}

TEST_F(ConversionSettingsTest, LineLengthOf150OrMinus3IsStoredAs0) {
  for (const std::int16_t length : {std::int16_t{150}, std::int16_t{-3}}) {
    ConversionSettings settings;
    settings.max_line_length = length;
    MemoParam(ini_, settings);
    EXPECT_EQ(settings.max_line_length, 0) << "the box shows the cleaned value";
    EXPECT_EQ(ini_.ReadIni("Lyrics", "MaxLength"), "0");
  }
  EXPECT_EQ(CleanedLineLength("150"), 0);
  EXPECT_EQ(CleanedLineLength("-3"), 0);
}

TEST_F(ConversionSettingsTest, LineLengthIsTruncatedToAWholeNumber) {
  EXPECT_EQ(CleanedLineLength("42"), 42);
  EXPECT_EQ(CleanedLineLength(" 42,9 "), 42);
  EXPECT_EQ(CleanedLineLength("99.9"), 99);
  EXPECT_EQ(CleanedLineLength("-0,5"), 0);
  EXPECT_EQ(CleanedLineLength("99"), 99);
  EXPECT_EQ(CleanedLineLength("100"), 0);
  EXPECT_EQ(CleanedLineLength("long"), 0);
  EXPECT_EQ(CleanedLineLength(""), 0);
}

TEST_F(ConversionSettingsTest, TypedFolderGetsASeparatorAtItsEnd) {
  EXPECT_EQ(ValidatedFolder("D:\\Karaoke", PathStyle::kWindows), "D:\\Karaoke\\");
  EXPECT_EQ(ValidatedFolder("D:\\Karaoke\\", PathStyle::kWindows), "D:\\Karaoke\\");
  EXPECT_EQ(ValidatedFolder("/home/a", PathStyle::kPosix), "/home/a/");
  EXPECT_EQ(ValidatedFolder("/", PathStyle::kPosix), "/");
  ConversionSettings settings;
  settings.folder = "D:\\Karaoke";
  MemoParam(ini_, settings, PathStyle::kWindows);
  EXPECT_EQ(ini_.ReadIni("Wave", "SaveFolder"), "D:\\Karaoke\\");
  EXPECT_EQ(settings.folder, "D:\\Karaoke\\");
}

TEST_F(ConversionSettingsTest, EmptyFolderStaysEmpty) {
  EXPECT_EQ(ValidatedFolder("", PathStyle::kWindows), "");
  ConversionSettings settings;
  MemoParam(ini_, settings);
  EXPECT_EQ(ini_.ReadIni("Wave", "SaveFolder"), "");
}

TEST_F(ConversionSettingsTest, RateThatIsNotInTheListIsWrittenBackEmpty) {
  ini_.WriteIni("Wave", "Rate", "100");
  ConversionSettings settings = LoadConversionSettings(ini_);
  EXPECT_EQ(settings.rate, "100");
  const int place = SelectedBitrate(settings.rate);
  ASSERT_EQ(place, -1) << "the list has nothing selected";
  settings.rate = place < 0 ? "" : std::string(kBitrates[static_cast<std::size_t>(place)]);
  MemoParam(ini_, settings);
  EXPECT_EQ(ini_.ReadIni("Wave", "Rate"), "");
  EXPECT_THAT(folder_.Read("Vexolo.ini"), HasSubstr("Rate=\r\n"));
}

TEST_F(ConversionSettingsTest, FolderBeyond128CharactersIsRefusedWithAMessage) {
  const std::string longest = "/" + std::string(126, 'a');
  EXPECT_TRUE(AcceptFolder(longest, boxes_, PathStyle::kPosix));
  EXPECT_TRUE(AcceptFolder(longest + "/", boxes_, PathStyle::kPosix));
  EXPECT_TRUE(AcceptFolder("", boxes_, PathStyle::kPosix));
  EXPECT_TRUE(boxes_.shown.empty());
  EXPECT_FALSE(AcceptFolder(longest + "a", boxes_, PathStyle::kPosix)) << "129 with its separator";
  ASSERT_EQ(boxes_.shown.size(), 1U);
  EXPECT_THAT(boxes_.shown[0].text, HasSubstr("128"));
  EXPECT_THAT(boxes_.shown[0].text, HasSubstr(longest));
  EXPECT_EQ(boxes_.shown[0].icon, BoxIcon::kExclamation);
}

TEST_F(ConversionSettingsTest, FolderLengthCountsCharactersAndNotBytes) {
  std::string folder = "/";
  for (int i = 0; i < 126; ++i) folder += "é";
  EXPECT_TRUE(AcceptFolder(folder, boxes_, PathStyle::kPosix));
  ConversionSettings settings;
  settings.folder = folder;
  MemoParam(ini_, settings, PathStyle::kPosix);
  EXPECT_EQ(LoadConversionSettings(ini_).folder, folder + "/");
}

TEST(PrefillTest, EmptyFieldsComeFromTheSong) {
  SongTags tags;
  PrefillTags(tags, {"Édith", "L'été", "D:\\Chansons\\Ma chanson.kar"}, kDay, kVersion,
              PathStyle::kWindows);
  EXPECT_EQ(tags.artist, "Édith");
  EXPECT_EQ(tags.title, "L'été");
  EXPECT_EQ(tags.comment, "Converti de Ma chanson.kar le 05/03/2009 avec Vexolo V1.4");
  EXPECT_EQ(tags.album + tags.year + tags.track + tags.genre, "");
}

TEST(PrefillTest, MemorisedValuesWin) {
  SongTags tags;
  tags.artist = "Typed";
  tags.title = "Too";
  PrefillTags(tags, {"Song", "Song", "/a.mid"}, kDay);
  EXPECT_EQ(tags.artist, "Typed");
  EXPECT_EQ(tags.title, "Too");
}

TEST(PrefillTest, FilledCommentIsKeptAndAnEmptyOneIsMadeAnew) {
  SongTags tags;
  tags.comment = "Mine";
  PrefillTags(tags, {"", "", "/a.mid"}, kDay, kVersion, PathStyle::kPosix);
  EXPECT_EQ(tags.comment, "Mine");
  tags.comment.clear();
  const auto next_day = year_month_day(std::chrono::sys_days(kDay) + std::chrono::days(1));
  PrefillTags(tags, {"", "", "/a.mid"}, next_day, kVersion, PathStyle::kPosix);
  EXPECT_EQ(tags.comment, "Converti de a.mid le 06/03/2009 avec Vexolo V1.4");
}

TEST(PrefillTest, SongWithoutArtistLeavesTheFieldEmpty) {
  SongTags tags;
  PrefillTags(tags, {"", "Title", "/a.mid"}, kDay);
  EXPECT_EQ(tags.artist, "");
  EXPECT_EQ(tags.title, "Title");
}

TEST(PrefillTest, WithoutASongTheFieldsStayAsTheyAre) {
  SongTags tags;
  PrefillTags(tags, {}, kDay);
  EXPECT_EQ(tags, SongTags());
}

TEST(PrefillTest, VersionIsTheProgramsOwn) {
  EXPECT_THAT(AutomaticComment("/a.mid", kDay, {}, PathStyle::kPosix),
              ::testing::EndsWith(" avec Vexolo V" + std::to_string(VEXOLO_VERSION_MAJOR) + "." +
                                  std::to_string(VEXOLO_VERSION_MINOR)));
}

}  // namespace
}  // namespace vexolo
