// layer: core
#include "app/command_line_songs.h"

#include <gtest/gtest.h>

namespace vexolo {
namespace {

using Songs = std::vector<std::string>;

TEST(CommandLineSongs, StripQuotesTrimsThenTakesOneQuoteAtEachEnd) {
  EXPECT_EQ(StripQuotes("  \"a b\"  "), "a b");
  EXPECT_EQ(StripQuotes("\"a"), "a");
  EXPECT_EQ(StripQuotes("a\""), "a");
  EXPECT_EQ(StripQuotes("\"\"a\"\""), "\"a\"");
  EXPECT_EQ(StripQuotes("\" a \""), " a ");
  EXPECT_EQ(StripQuotes("\""), "");
  EXPECT_EQ(StripQuotes("   "), "");
  EXPECT_EQ(StripQuotes(""), "");
}

TEST(CommandLineSongs, NoCommandLineGivesNoSong) {
  EXPECT_TRUE(SongsOfCommandLine("").empty());
  EXPECT_TRUE(SongsOfCommandLine("   ").empty());
  EXPECT_TRUE(SongsOfCommandLine("\"\"").empty());
}

TEST(CommandLineSongs, TwoQuotedPathsOneWithABlankGiveTwoSongs) {
  EXPECT_EQ(SongsOfCommandLine("\"C:\\my song.mid\" \"C:\\b.kar\""),
            (Songs{"C:\\my song.mid", "C:\\b.kar"}));
}

TEST(CommandLineSongs, TwoUnquotedPathsGiveTwoSongs) {
  EXPECT_EQ(SongsOfCommandLine("C:\\a.mid  C:\\b.kar "), (Songs{"C:\\a.mid", "C:\\b.kar"}));
}

TEST(CommandLineSongs, AQuotedPathFollowedByAnUnquotedOneIsASinglePiece) {
  EXPECT_EQ(SongsOfCommandLine("\"C:\\a.mid\" C:\\b.kar"), (Songs{"C:\\a.mid\" C:\\b.kar"}));
}

TEST(CommandLineSongs, ASingleQuotedPathLosesItsQuotes) {
  EXPECT_EQ(SongsOfCommandLine("\"/m/a b.mid\""), (Songs{"/m/a b.mid"}));
  EXPECT_EQ(SongsOfCommandLine("\"/a\" \"\" \"/b\""), (Songs{"/a", "/b"}));
}

TEST(CommandLineSongs, SeparateArgumentsAreMadeAbsoluteAndQuoted) {
  EXPECT_EQ(CommandLineOf({"a b.mid", "", "/x/c.kar"}, "/home/u", PathStyle::kPosix),
            "\"/home/u/a b.mid\" \"/x/c.kar\"");
  EXPECT_EQ(CommandLineOf({"a.mid", "E:\\b.mid"}, "D:\\", PathStyle::kWindows),
            "\"D:\\a.mid\" \"E:\\b.mid\"");
  EXPECT_EQ(CommandLineOf({}, "/home/u", PathStyle::kPosix), "");
}

TEST(CommandLineSongs, SeparateArgumentsComeOutOfTheSameRule) {
  const std::string line = CommandLineOf({"été 1.mid", "b.mid"}, "/home/u", PathStyle::kPosix);
  EXPECT_EQ(SongsOfCommandLine(line), (Songs{"/home/u/été 1.mid", "/home/u/b.mid"}));
  EXPECT_EQ(SongsOfCommandLine(CommandLineOf({"one.mid"}, "/", PathStyle::kPosix)),
            (Songs{"/one.mid"}));
}

}  // namespace
}  // namespace vexolo
