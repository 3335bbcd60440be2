// layer: core
#include "convert/conversion_form.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "convert/bitrates.h"
#include "convert/genres.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

using std::chrono::year_month_day;
using ::testing::EndsWith;
using ::testing::StartsWith;

constexpr year_month_day kDay{std::chrono::year(2009), std::chrono::month(3), std::chrono::day(5)};
constexpr ProgramVersion kVersion = {1, 4};
const SongIdentity kSong = {"Édith", "L'été", "/songs/Ma chanson.kar"};
constexpr const char* kComment = "Converti de Ma chanson.kar le 05/03/2009 avec Vexolo V1.4";

class ConversionFormTest : public ::testing::Test {
 protected:
  ConversionForm Open(const SongIdentity& song = kSong) {
    return ConversionForm(ini_, song, kDay, kVersion, PathStyle::kPosix);
  }
  std::string Tag(const char* key) { return ini_.ReadIni("Tags", key); }

  TemporaryFolder folder_;
  FakeMessageBoxes message_boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", message_boxes_};
};

TEST_F(ConversionFormTest, NothingStoredShowsTheDefaultBitrateAndNoGenre) {
  const ConversionForm form = Open({});
  EXPECT_EQ(form.boxes.format, AudioFormat::kWav);
  EXPECT_EQ(kBitrates.at(static_cast<std::size_t>(form.boxes.bitrate)), "128");
  EXPECT_EQ(form.boxes.genre, 0);
  EXPECT_EQ(form.boxes.line_length, "0");
  EXPECT_TRUE(form.boxes.make_lyrics_file);
  EXPECT_FALSE(form.confirmed());
}

TEST_F(ConversionFormTest, EverythingStoredComesBackIntoItsBox) {
  ConversionSettings settings;
  settings.folder = "/home/léa/";
  settings.scheme = "%A - %T";
  settings.format = AudioFormat::kOgg;
  settings.rate = "192";
  settings.make_lyrics_file = false;
  settings.max_line_length = 40;
  settings.tags = {"A", "T", "L", "1958", "3", "Chanson", "Très bien"};
  MemoParam(ini_, settings, PathStyle::kPosix);
  const ConversionBoxes boxes = Open().boxes;
  EXPECT_EQ(boxes.folder, "/home/léa/");
  EXPECT_EQ(boxes.scheme, "%A - %T");
  EXPECT_EQ(boxes.format, AudioFormat::kOgg);
  EXPECT_EQ(boxes.bitrate, BitratePlace("192"));
  EXPECT_FALSE(boxes.make_lyrics_file);
  EXPECT_EQ(boxes.line_length, "40");
  EXPECT_EQ(boxes.artist, "A");
  EXPECT_EQ(boxes.title, "T");
  EXPECT_EQ(boxes.album, "L");
  EXPECT_EQ(boxes.year, "1958");
  EXPECT_EQ(boxes.track, "3");
  EXPECT_EQ(boxes.genre, GenrePlace("Chanson"));
  EXPECT_EQ(boxes.comment, "Très bien");
}

TEST_F(ConversionFormTest, CancelStoresNothing) {
  ini_.WriteIni("Wave", "SaveScheme", "%T");
  const std::string before = folder_.Read("Vexolo.ini");
  {
    ConversionForm form = Open();
    form.boxes.scheme = "other";
    form.boxes.artist = "typed";
    form.ValidateFolder();
  }
  EXPECT_EQ(folder_.Read("Vexolo.ini"), before);
  EXPECT_EQ(Open().boxes.scheme, "%T") << "what was entered and cancelled is lost";
}

TEST_F(ConversionFormTest, EverythingInTheBoxesIsStored) {
  ConversionForm form = Open();
  ConversionBoxes& boxes = form.boxes;
  boxes.format = AudioFormat::kMp3;
  boxes.bitrate = BitratePlace("320");
  boxes.artist = "A";
  boxes.title = "T";
  boxes.album = "L";
  boxes.year = "1958";
  boxes.track = "3";
  boxes.genre = GenrePlace("R&B");
  boxes.comment = "C";
  boxes.line_length = "40";
  boxes.make_lyrics_file = false;
  boxes.folder = "/music";
  boxes.scheme = "%T";
  ASSERT_TRUE(form.Confirm(false, message_boxes_));
  EXPECT_TRUE(form.confirmed());
  EXPECT_FALSE(form.convert_all());
  EXPECT_EQ(form.borrowed(), BorrowedTags()) << "everything was typed";
  const ConversionSettings stored = LoadConversionSettings(ini_);
  EXPECT_EQ(stored.folder, "/music/");
  EXPECT_EQ(stored.scheme, "%T");
  EXPECT_EQ(stored.format, AudioFormat::kMp3);
  EXPECT_EQ(stored.rate, "320");
  EXPECT_FALSE(stored.make_lyrics_file);
  EXPECT_EQ(stored.max_line_length, 40);
  EXPECT_EQ(stored.tags, (SongTags{"A", "T", "L", "1958", "3", "R&B", "C"}));
  EXPECT_EQ(ini_.ReadIni("Wave", "Encoding"), "1");
}

TEST_F(ConversionFormTest, TousConfirmsForTheWholeList) {
  ConversionForm form = Open();
  ASSERT_TRUE(form.Confirm(true, message_boxes_));
  EXPECT_TRUE(form.confirmed());
  EXPECT_TRUE(form.convert_all());
}

TEST_F(ConversionFormTest, NoGenreIsStoredAsAnEmptyOne) {
  ini_.WriteIni("Tags", "Genre", "Jazz");
  ConversionForm form = Open();
  form.boxes.genre = 0;
  form.Confirm(false, message_boxes_);
  EXPECT_EQ(Tag("Genre"), "");
}

TEST_F(ConversionFormTest, LineLengthOf150OrMinus3IsStoredAs0AndShownSo) {
  for (const char* typed : {"150", "-3"}) {
    ConversionForm form = Open();
    form.boxes.line_length = typed;
    form.Confirm(false, message_boxes_);
    EXPECT_EQ(form.boxes.line_length, "0") << typed;
    EXPECT_EQ(ini_.ReadIni("Lyrics", "MaxLength"), "0") << typed;
  }
}

TEST_F(ConversionFormTest, FolderGetsItsSeparatorWhenTheBoxIsLeftAndWhenItIsStored) {
  ConversionForm form(ini_, kSong, kDay, kVersion, PathStyle::kWindows);
  form.boxes.folder = "D:\\Karaoke";
  form.ValidateFolder();
  EXPECT_EQ(form.boxes.folder, "D:\\Karaoke\\");
  form.boxes.folder = "";
  form.ValidateFolder();
  EXPECT_EQ(form.boxes.folder, "");
  form.boxes.folder = "D:\\Other";
  ASSERT_TRUE(form.Confirm(false, message_boxes_));
  EXPECT_EQ(form.boxes.folder, "D:\\Other\\");
  EXPECT_EQ(ini_.ReadIni("Wave", "SaveFolder"), "D:\\Other\\");
}

TEST_F(ConversionFormTest, AnEmptyFolderIsStoredEmpty) {
  ini_.WriteIni("Wave", "SaveFolder", "/old/");
  ConversionForm form = Open();
  form.boxes.folder = "";
  form.Confirm(false, message_boxes_);
  EXPECT_EQ(ini_.ReadIni("Wave", "SaveFolder"), "");
}

TEST_F(ConversionFormTest, AFolderThatCannotBeStoredKeepsTheDialogOpen) {
  ConversionForm form = Open();
  form.boxes.folder = "/" + std::string(200, 'a');
  EXPECT_FALSE(form.Confirm(true, message_boxes_));
  EXPECT_FALSE(form.confirmed());
  EXPECT_FALSE(form.convert_all());
  EXPECT_EQ(message_boxes_.shown.size(), 1U);
  EXPECT_EQ(folder_.Read("Vexolo.ini"), "");
}

TEST_F(ConversionFormTest, ARateThatIsNotInTheListSelectsNothingAndIsWrittenBackEmpty) {
  ini_.WriteIni("Wave", "Rate", "100");
  ConversionForm form = Open();
  EXPECT_EQ(form.boxes.bitrate, -1);
  form.Confirm(false, message_boxes_);
  EXPECT_EQ(ini_.ReadIni("Wave", "Rate"), "");
}

TEST_F(ConversionFormTest, EmptyTagsComeFromTheSongAndAreForgottenAfterTheRun) {
  ConversionForm form = Open();
  EXPECT_EQ(form.boxes.artist, "Édith");
  EXPECT_EQ(form.boxes.title, "L'été");
  EXPECT_EQ(form.boxes.comment, kComment);
  form.Confirm(false, message_boxes_);
  EXPECT_EQ(Tag("Artiste"), "Édith") << "the run reads it there";
  EXPECT_EQ(Tag("Titre"), "L'été");
  EXPECT_EQ(Tag("Commentaire"), kComment);
  ForgetBorrowedTags(ini_, form.borrowed());
  EXPECT_EQ(Tag("Artiste"), "");
  EXPECT_EQ(Tag("Titre"), "");
  EXPECT_EQ(Tag("Commentaire"), "");
  const ConversionForm next = Open({"Autre", "Chant", "/songs/b.mid"});
  EXPECT_EQ(next.boxes.artist, "Autre");
  EXPECT_EQ(next.boxes.title, "Chant");
  EXPECT_THAT(next.boxes.comment, StartsWith("Converti de b.mid le "));
}

TEST_F(ConversionFormTest, WhatTheUserTypedStaysAndWins) {
  ConversionForm form = Open();
  form.boxes.artist = "Moi";
  form.boxes.comment = "";
  form.Confirm(false, message_boxes_);
  ForgetBorrowedTags(ini_, form.borrowed());
  EXPECT_EQ(Tag("Artiste"), "Moi");
  EXPECT_EQ(Tag("Titre"), "");
  const ConversionForm next = Open({"Autre", "Chant", "/songs/b.mid"});
  EXPECT_EQ(next.boxes.artist, "Moi");
  EXPECT_EQ(next.boxes.title, "Chant");
}

TEST_F(ConversionFormTest, AFilledCommentIsKeptAndAnEmptyOneIsMadeEachTime) {
  ini_.WriteIni("Tags", "Commentaire", "Le mien");
  EXPECT_EQ(Open().boxes.comment, "Le mien");
  ini_.WriteIni("Tags", "Commentaire", "");
  for (int time = 0; time < 2; ++time) EXPECT_EQ(Open().boxes.comment, kComment);
}

TEST_F(ConversionFormTest, WhatCameIntoTheSettingsMeanwhileIsNotForgotten) {
  ConversionForm form = Open();
  form.Confirm(false, message_boxes_);
  ini_.WriteIni("Tags", "Titre", "Un autre");
  ForgetBorrowedTags(ini_, form.borrowed());
  EXPECT_EQ(Tag("Titre"), "Un autre");
  EXPECT_EQ(Tag("Artiste"), "");
}

TEST_F(ConversionFormTest, WhatAKilledRunHadBorrowedIsForgottenByTheNextDialog) {
  ConversionForm killed = Open();
  killed.boxes.title = "Le mien";
  killed.Confirm(false, message_boxes_);
  const ConversionForm next = Open({"Autre", "Chant", "/songs/b.mid"});
  EXPECT_EQ(next.boxes.artist, "Autre");
  EXPECT_EQ(next.boxes.title, "Le mien") << "typed, not borrowed";
  EXPECT_THAT(next.boxes.comment, StartsWith("Converti de b.mid le "));
}

TEST_F(ConversionFormTest, AProgramThatEndsWithoutARunLeavesThatToTheNextDialog) {
  Open().Confirm(false, message_boxes_);
  ForgetBorrowedTags(ini_, {});
  EXPECT_EQ(Open({"Autre", "Chant", "/songs/b.mid"}).boxes.artist, "Autre");
}

TEST_F(ConversionFormTest, WhatIsTypedAfterAKilledRunStays) {
  Open().Confirm(false, message_boxes_);
  ConversionForm form = Open();
  form.boxes.artist = "Moi";
  form.boxes.title = "Le mien";
  form.boxes.comment = "Voilà";
  form.Confirm(false, message_boxes_);
  const ConversionForm next = Open();
  EXPECT_EQ(next.boxes.artist, "Moi");
  EXPECT_EQ(next.boxes.title, "Le mien");
  EXPECT_EQ(next.boxes.comment, "Voilà");
}

TEST_F(ConversionFormTest, ARunThatHasEndedLeavesNothingToForget) {
  ConversionForm form = Open();
  form.Confirm(false, message_boxes_);
  ForgetBorrowedTags(ini_, form.borrowed());
  ini_.WriteIni("Tags", "Artiste", "Moi");
  EXPECT_EQ(Open().boxes.artist, "Moi");
}

TEST_F(ConversionFormTest, TextsThatTheSettingsChangeAreForgottenAllTheSame) {
  // The settings give back 128 characters, without blanks around them and without their quotes.
  const std::string name(150, 'n');
  ConversionForm form = Open({"\"Quatre Barbus\"", "  Air ", "/songs/" + name + ".mid"});
  EXPECT_EQ(form.boxes.comment, "Converti de " + std::string(116, 'n'));
  form.Confirm(false, message_boxes_);
  EXPECT_EQ(Tag("Artiste"), "Quatre Barbus");
  EXPECT_EQ(Tag("Titre"), "Air");
  ForgetBorrowedTags(ini_, form.borrowed());
  for (const char* key : {"Artiste", "Titre", "Commentaire"}) EXPECT_EQ(Tag(key), "") << key;
}

TEST_F(ConversionFormTest, WithoutASongTheBoxesStayAsTheyAreAndThereIsNoPreview) {
  ini_.WriteIni("Tags", "Titre", "Memorised");
  const ConversionForm form = Open({});
  EXPECT_EQ(form.boxes.artist, "");
  EXPECT_EQ(form.boxes.title, "Memorised");
  EXPECT_EQ(form.boxes.comment, "");
  EXPECT_EQ(form.Preview(), "");
}

TEST_F(ConversionFormTest, PreviewFollowsEveryBoxThatHasASay) {
  ConversionForm form = Open();
  form.boxes.folder = "/music";
  form.boxes.scheme = "%A\\%T";
  EXPECT_EQ(form.Preview(), "/music/Édith/L'été.wav");
  form.boxes.format = AudioFormat::kOgg;
  EXPECT_EQ(form.Preview(), "/music/Édith/L'été.ogg");
  form.boxes.title = "Un/deux";
  EXPECT_EQ(form.Preview(), "/music/Édith/Un_deux.ogg");
  form.boxes.scheme = "";
  EXPECT_EQ(form.Preview(), "/music/Ma chanson.ogg");
}

TEST_F(ConversionFormTest, WithoutAFolderTheFileGoesBesideTheSongAndARelativePlaceIsCountedFromIt) {
  ConversionForm form = Open();
  form.boxes.scheme = "%T";
  EXPECT_EQ(form.Preview(), "/songs/L'été.wav");
  form.boxes.folder = "sub";
  EXPECT_EQ(form.Preview(), "/songs/sub/L'été.wav");
  form.boxes.folder = "..";
  EXPECT_EQ(form.Preview(), "/L'été.wav");
  form.boxes.folder = "";
  form.boxes.scheme = "/root/%T";
  EXPECT_EQ(form.Preview(), "/root/L'été.wav");
}

TEST_F(ConversionFormTest, TheBitrateHasNoSayInAWavFile) {
  ConversionForm form = Open();
  EXPECT_FALSE(form.UsesBitrate());
  form.boxes.format = AudioFormat::kMp3;
  EXPECT_TRUE(form.UsesBitrate());
}

TEST_F(ConversionFormTest, WhatCannotBeStoredHoldsAllTheSameAndIsAMessage) {
  ModIni ini(folder_ / "none/Vexolo.ini", message_boxes_);
  ConversionForm form(ini, kSong, kDay, kVersion, PathStyle::kPosix);
  form.boxes.format = AudioFormat::kOgg;
  form.boxes.folder = "/music";
  form.boxes.title = "\"L'été\"";
  EXPECT_TRUE(form.Confirm(false, message_boxes_));
  ASSERT_EQ(message_boxes_.shown.size(), 1u);
  EXPECT_THAT(message_boxes_.shown[0].text, EndsWith(folder_ / "none/Vexolo.ini"));
  EXPECT_EQ(form.settings().format, AudioFormat::kOgg);
  EXPECT_EQ(form.settings().folder, "/music/");
  EXPECT_EQ(form.settings().tags.title, "L'été");  // as the settings give it back
  EXPECT_EQ(form.settings().tags.artist, "Édith");
}

TEST_F(ConversionFormTest, WhatHasBeenConfirmedIsWhatTheSettingsGiveBack) {
  ConversionForm form = Open();
  form.boxes.scheme = "%A - %T";
  form.boxes.line_length = "40,7";
  ASSERT_TRUE(form.Confirm(false, message_boxes_));
  EXPECT_TRUE(message_boxes_.shown.empty());
  EXPECT_EQ(form.settings(), LoadConversionSettings(ini_));
}

}  // namespace
}  // namespace vexolo
