// layer: tool
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "oggenc/options.h"

namespace vexolo::oggenc {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

Options Parsed(const std::vector<std::string>& arguments) {
  Options options;
  std::string error;
  EXPECT_TRUE(ParseOptions(arguments, options, error)) << error;
  return options;
}

std::string ErrorOf(const std::vector<std::string>& arguments) {
  Options options;
  std::string error;
  EXPECT_FALSE(ParseOptions(arguments, options, error));
  EXPECT_EQ(error.find('\n'), std::string::npos);
  return error;
}

TEST(OggencOptions, TakesTheCommandLineOfTheProgram) {
  const Options options = Parsed({"-o", "-b160", "-aArtist", "-tTitle", "-lAlbum", "-d1999", "-N7",
                                  "-GPop", "-ccomment=Converti de a=b.kar", "OUT dir/x.ogg", "-"});
  EXPECT_EQ(options.task, Options::Task::kEncode);
  EXPECT_EQ(options.bitrate, 160);
  EXPECT_EQ(options.output, "OUT dir/x.ogg");
  EXPECT_THAT(options.comments, ElementsAre(Comment{"ARTIST", "Artist"}, Comment{"TITLE", "Title"},
                                            Comment{"ALBUM", "Album"}, Comment{"DATE", "1999"},
                                            Comment{"TRACKNUMBER", "7"}, Comment{"GENRE", "Pop"},
                                            Comment{"comment", "Converti de a=b.kar"}));
}

TEST(OggencOptions, NeedsNoTags) {
  const Options options = Parsed({"-o", "-b128", "x.ogg", "-"});
  EXPECT_EQ(options.bitrate, 128);
  EXPECT_THAT(options.comments, IsEmpty());
}

TEST(OggencOptions, RateDefaultsTo128AndMayStandApart) {
  EXPECT_EQ(Parsed({"x.ogg", "-"}).bitrate, 128);
  EXPECT_EQ(Parsed({"-b", "64", "x.ogg", "-"}).bitrate, 64);
  EXPECT_EQ(Parsed({"-b1", "x.ogg", "-"}).bitrate, 1);
  EXPECT_EQ(Parsed({"-b1000", "x.ogg", "-"}).bitrate, 1000);
}

TEST(OggencOptions, RefusesARateThatIsNone) {
  for (const char* const rate :
       {"-b0", "-b1001", "-b-5", "-b12x", "-bx", "-b99999999999", "-b1.5"}) {
    EXPECT_THAT(ErrorOf({rate, "x.ogg", "-"}), HasSubstr("kbit/s")) << rate;
  }
  EXPECT_THAT(ErrorOf({"-b", "x.ogg", "-"}), HasSubstr("\"\""));
}

TEST(OggencOptions, AValueMayBeginWithAHyphen) {
  EXPECT_THAT(
      Parsed({"-a-x", "-t--help", "-l-", "x.ogg", "-"}).comments,
      ElementsAre(Comment{"ARTIST", "-x"}, Comment{"TITLE", "--help"}, Comment{"ALBUM", "-"}));
}

TEST(OggencOptions, AnOutputMayBeginWithAHyphenInItsPlace) {
  EXPECT_EQ(Parsed({"-b128", "-aX", "-tY.ogg", "-"}).output, "-tY.ogg");
  EXPECT_EQ(Parsed({"--help", "-"}).output, "--help");
  EXPECT_THAT(ErrorOf({"-b128", "-", "-"}), HasSubstr("must be a file"));
  EXPECT_THAT(ErrorOf({"-b128", "", "-"}), HasSubstr("must be a file"));
}

TEST(OggencOptions, InputIsAlwaysStandardInputAndLast) {
  EXPECT_THAT(ErrorOf({}), HasSubstr("the last two arguments"));
  EXPECT_THAT(ErrorOf({"-"}), HasSubstr("the last two arguments"));
  EXPECT_THAT(ErrorOf({"-b128", "x.ogg"}), HasSubstr("the last two arguments"));
  EXPECT_THAT(ErrorOf({"-", "-b128", "x.ogg"}), HasSubstr("the last two arguments"));
}

TEST(OggencOptions, RefusesWhatItDoesNotKnow) {
  EXPECT_THAT(ErrorOf({"-q5", "x.ogg", "-"}), HasSubstr("unknown option \"-q5\""));
  EXPECT_THAT(ErrorOf({"-oy.ogg", "x.ogg", "-"}), HasSubstr("unknown option \"-oy.ogg\""));
  EXPECT_THAT(ErrorOf({"--title=X", "x.ogg", "-"}), HasSubstr("unknown option"));
  EXPECT_THAT(ErrorOf({"-a", "Artist", "x.ogg", "-"}), HasSubstr("unexpected argument \"Artist\""));
  EXPECT_THAT(ErrorOf({"", "x.ogg", "-"}), HasSubstr("unexpected argument \"\""));
  EXPECT_THAT(ErrorOf({"-", "x.ogg", "-"}), HasSubstr("unexpected argument \"-\""));
}

TEST(OggencOptions, WhatIsWrongIsToldOnOneLineWhateverWasTyped) {
  EXPECT_EQ(ErrorOf({"a\nb\x1B[2J", "x.ogg", "-"}), "unexpected argument \"a?b?[2J\"");
  EXPECT_THAT(ErrorOf({"-b1\n", "x.ogg", "-"}), HasSubstr("not \"1?\""));
  EXPECT_THAT(ErrorOf({"-c\r", "x.ogg", "-"}), HasSubstr("not \"?\""));
}

TEST(OggencOptions, AnEmptyValueAddsNoComment) {
  EXPECT_THAT(Parsed({"-a", "-t", "x.ogg", "-"}).comments, IsEmpty());
}

TEST(OggencOptions, OtherCommentsStayAsTheyAreAndRepeat) {
  EXPECT_THAT(Parsed({"-cMood=\"calm\"", "-cMood=", "-cx y= =", "x.ogg", "-"}).comments,
              ElementsAre(Comment{"Mood", "\"calm\""}, Comment{"Mood", ""}, Comment{"x y", " ="}));
}

TEST(OggencOptions, AnotherCommentNeedsAName) {
  for (const char* const comment : {"-c", "-cword", "-c=x", "-c\xC3\xA9=x", "-ca~b=x"}) {
    EXPECT_THAT(ErrorOf({comment, "x.ogg", "-"}), HasSubstr("NAME=VALUE")) << comment;
  }
}

TEST(OggencOptions, HelpAndVersionStandAlone) {
  EXPECT_EQ(Parsed({"-h"}).task, Options::Task::kHelp);
  EXPECT_EQ(Parsed({"--help"}).task, Options::Task::kHelp);
  EXPECT_EQ(Parsed({"--version"}).task, Options::Task::kVersion);
}

TEST(OggencOptions, HelpNamesEveryOption) {
  for (const char* const option :
       {"-bRATE", "-aTEXT", "-tTEXT", "-lTEXT", "-dTEXT", "-NTEXT", "-GTEXT", "-cNAME=TEXT", "-o ",
        "--help", "--version", "Exit status"}) {
    EXPECT_THAT(kHelpText, HasSubstr(option));
  }
}

TEST(OggencOptions, KeepsUtf8AndTurnsOtherTextIntoIt) {
  const std::string utf8 =
      "\xC3\x89"
      "dith \xE2\x99\xAA \xF0\x9F\x8E\xB5";
  EXPECT_EQ(ToUtf8(utf8), utf8);
  EXPECT_EQ(ToUtf8("\xC9"
                   "dith"),
            "\xC3\x89"
            "dith");
  EXPECT_THAT(Parsed({"-a\xC9t\xE9", "-ccomment=\xE0", "x.ogg", "-"}).comments,
              ElementsAre(Comment{"ARTIST", "\xC3\x89t\xC3\xA9"}, Comment{"comment", "\xC3\xA0"}));
}

TEST(OggencOptions, KnowsDamagedUtf8) {
  EXPECT_EQ(ToUtf8("\xC3"), "\xC3\x83");                          // cut short
  EXPECT_EQ(ToUtf8("\xC0\x80"), "\xC3\x80\xC2\x80");              // overlong
  EXPECT_EQ(ToUtf8("\xE0\x80\x80"), "\xC3\xA0\xC2\x80\xC2\x80");  // overlong
  EXPECT_EQ(ToUtf8("\xED\xA0\x80"), "\xC3\xAD\xC2\xA0\xC2\x80");  // surrogate
  EXPECT_EQ(ToUtf8("\xF4\x90\x80\x80"), "\xC3\xB4\xC2\x90\xC2\x80\xC2\x80");
  EXPECT_EQ(ToUtf8("\x80"), "\xC2\x80");
}

}  // namespace
}  // namespace vexolo::oggenc
