// layer: core
#include "convert/encoder_command.h"

#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "audio/loader.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

using ::testing::ElementsAre;

EncoderRequest Mp3() {
  return {AudioFormat::kMp3, "C:\\Prog\\lame.exe", "128", {}, "D:\\Out\\Artist - Title.mp3"};
}

EncoderRequest Ogg() {
  return {AudioFormat::kOgg, "C:\\Prog\\oggenc.exe", "128", {}, "D:\\Out\\Artist - Title.ogg"};
}

SongTags AllTags() { return {"Art", "Tit", "Alb", "1958", "3/12", "R&B", "Com ment"}; }

TEST(EncoderCommandTest, Mp3CommandWithArtistAndTitle) {
  EncoderRequest request = Mp3();
  request.tags.artist = "Artist";
  request.tags.title = "Title";
  EXPECT_EQ(EncoderCommand(request),
            R"("C:\Prog\lame.exe" -h -b128 --ignore-tag-errors --ta "Artist" --tt "Title" - )"
            R"("D:\Out\Artist - Title.mp3")");
}

TEST(EncoderCommandTest, OggCommandWithArtistAndTitle) {
  EncoderRequest request = Ogg();
  request.tags.artist = "Artist";
  request.tags.title = "Title";
  EXPECT_EQ(EncoderCommand(request),
            R"("C:\Prog\oggenc.exe" -o -b128 -a"Artist" -t"Title" "D:\Out\Artist - Title.ogg" -)");
}

TEST(EncoderCommandTest, Mp3CommandWithAllTagsInTheirOrder) {
  EncoderRequest request = Mp3();
  request.tags = AllTags();
  request.rate = "320";
  EXPECT_EQ(EncoderCommand(request),
            R"("C:\Prog\lame.exe" -h -b320 --ignore-tag-errors --ta "Art" --tt "Tit" --tl "Alb" )"
            R"(--ty "1958" --tn "3/12" --tg "R&B" --tc "Com ment" - "D:\Out\Artist - Title.mp3")");
}

TEST(EncoderCommandTest, OggCommandWithAllTagsInTheirOrder) {
  EncoderRequest request = Ogg();
  request.tags = AllTags();
  EXPECT_EQ(EncoderCommand(request),
            R"("C:\Prog\oggenc.exe" -o -b128 -a"Art" -t"Tit" -l"Alb" -d"1958" -N"3/12" -G"R&B" )"
            R"(-c"comment=Com ment" "D:\Out\Artist - Title.ogg" -)");
}

TEST(EncoderCommandTest, AllTagsEmpty) {
  EXPECT_EQ(EncoderCommand(Mp3()), R"("C:\Prog\lame.exe" -h -b128 --ignore-tag-errors - )"
                                   R"("D:\Out\Artist - Title.mp3")");
  EXPECT_EQ(EncoderCommand(Ogg()),
            R"("C:\Prog\oggenc.exe" -o -b128 "D:\Out\Artist - Title.ogg" -)");
}

TEST(EncoderCommandTest, RateThatIsNotInTheListCountsAs128) {
  for (const char* rate : {"", "100", "128 --decode"}) {
    EncoderRequest request = Mp3();
    request.rate = rate;
    EXPECT_EQ(EncoderCommand(request), EncoderCommand(Mp3())) << rate;
  }
}

TEST(EncoderCommandTest, SplittingTheLineGivesTheArguments) {
  EncoderRequest request = Mp3();
  request.tags = AllTags();
  EXPECT_THAT(SplitEncoderCommand(EncoderCommand(request)),
              ElementsAre("C:\\Prog\\lame.exe", "-h", "-b128", "--ignore-tag-errors", "--ta", "Art",
                          "--tt", "Tit", "--tl", "Alb", "--ty", "1958", "--tn", "3/12", "--tg",
                          "R&B", "--tc", "Com ment", "-", "D:\\Out\\Artist - Title.mp3"));
  EXPECT_EQ(SplitEncoderCommand(EncoderCommand(request)), EncoderArguments(request));
  EXPECT_FALSE(BadField(request).has_value());
  request = Ogg();
  request.tags = AllTags();
  EXPECT_EQ(SplitEncoderCommand(EncoderCommand(request)), EncoderArguments(request));
  EXPECT_THAT(EncoderArguments(request), ::testing::Contains("-ccomment=Com ment"));
}

TEST(EncoderCommandTest, OddButFaithfulValuesPass) {
  for (const char* value : {"-x", "a\\b", "%PATH%", "$(rm)", "a;b", "l'été", " a  b\t", "&|<>^"}) {
    EncoderRequest request = Mp3();
    request.tags.title = value;
    EXPECT_FALSE(BadField(request).has_value()) << value;
  }
}

TEST(EncoderCommandTest, QuoteInAValueIsAnErrorThatNamesTheField) {
  const std::pair<std::string SongTags::*, CommandField> kFields[] = {
      {&SongTags::artist, CommandField::kArtist},  {&SongTags::title, CommandField::kTitle},
      {&SongTags::album, CommandField::kAlbum},    {&SongTags::year, CommandField::kYear},
      {&SongTags::track, CommandField::kTrack},    {&SongTags::genre, CommandField::kGenre},
      {&SongTags::comment, CommandField::kComment}};
  for (EncoderRequest request : {Mp3(), Ogg()}) {
    for (const auto& [value, field] : kFields) {
      request.tags = AllTags();
      request.tags.*value = "say \"hello\" to";
      EXPECT_EQ(BadField(request), field) << FieldName(field);
    }
  }
}

TEST(EncoderCommandTest, BackslashAtTheEndOfAValueIsAnErrorToo) {
  EncoderRequest request = Mp3();
  request.tags.comment = "see C:\\";
  EXPECT_EQ(BadField(request), CommandField::kComment);
}

TEST(EncoderCommandTest, QuotesInTwoFieldsDoNotHideEachOther) {
  EncoderRequest request = Mp3();
  request.tags.artist = "a\" \"b";
  request.tags.title = "c\" \"d";
  EXPECT_EQ(BadField(request), CommandField::kArtist);
}

TEST(EncoderCommandTest, QuoteInAPathIsFound) {
  EncoderRequest request = Mp3();
  request.output = "/out/12\" single.mp3";
  EXPECT_EQ(BadField(request), CommandField::kOutput);
  request = Mp3();
  request.program = "/a\"b/lame";
  EXPECT_EQ(BadField(request), CommandField::kProgram);
}

TEST(EncoderCommandTest, FieldsHaveNames) {
  EXPECT_EQ(FieldName(CommandField::kArtist), "Artiste");
  EXPECT_EQ(FieldName(CommandField::kYear), "Année");
  EXPECT_EQ(FieldName(CommandField::kComment), "Commentaire");
  EXPECT_EQ(FieldName(CommandField::kProgram), "Programme");
}

TEST(EncoderProgramTest, WindowsHasThemInTheProgramFolder) {
  EXPECT_EQ(EncoderProgram(AudioFormat::kMp3, "C:\\Prog", PathStyle::kWindows),
            "C:\\Prog\\lame.exe");
  EXPECT_EQ(EncoderProgram(AudioFormat::kOgg, "C:\\Prog", PathStyle::kWindows),
            "C:\\Prog\\oggenc.exe");
}

TEST(EncoderProgramTest, LameIsLookedForInTheProgramFolderAndThenOnTheSearchPath) {
  TemporaryFolder folder;
  EXPECT_EQ(EncoderProgram(AudioFormat::kMp3, folder.path(), PathStyle::kPosix), "lame");
  folder.Write("lame", "");
  EXPECT_EQ(EncoderProgram(AudioFormat::kMp3, folder.path(), PathStyle::kPosix), folder / "lame");
}

TEST(EncoderProgramTest, OggencIsLookedForInTheProgramFolderOnly) {
  TemporaryFolder folder;
  EXPECT_EQ(EncoderProgram(AudioFormat::kOgg, folder.path(), PathStyle::kPosix), folder / "oggenc");
}

}  // namespace
}  // namespace vexolo
