// layer: engine
#include "engine/command_line.h"

#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vexolo::engine {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The arguments behind a program name.
std::vector<std::string> Arguments(const std::string& line) {
  std::vector<std::string> all = SplitCommandLine("program " + line);
  EXPECT_EQ(all.at(0), "program");
  all.erase(all.begin());
  return all;
}

TEST(SplitCommandLine, TableOfKnownExamples) {
  EXPECT_THAT(Arguments(R"("a b c" d e)"), ElementsAre("a b c", "d", "e"));
  EXPECT_THAT(Arguments(R"("ab\"c" "\\" d)"), ElementsAre(R"(ab"c)", R"(\)", "d"));
  EXPECT_THAT(Arguments(R"(a\\\b d"e f"g h)"), ElementsAre(R"(a\\\b)", "de fg", "h"));
  EXPECT_THAT(Arguments(R"(a\\\"b c d)"), ElementsAre(R"(a\"b)", "c", "d"));
  EXPECT_THAT(Arguments(R"(a\\\\"b c" d e)"), ElementsAre(R"(a\\b c)", "d", "e"));
  EXPECT_THAT(Arguments(R"(a"b"" c d)"), ElementsAre(R"(ab" c d)"));
}

TEST(SplitCommandLine, BlanksAndTabsSeparate) {
  EXPECT_THAT(Arguments("a\tb \t  c\t"), ElementsAre("a", "b", "c"));
  EXPECT_THAT(Arguments("\"a\tb\""), ElementsAre("a\tb"));
  EXPECT_THAT(Arguments("a\nb"), ElementsAre("a\nb"));
}

TEST(SplitCommandLine, EmptyArguments) {
  EXPECT_THAT(Arguments(R"("" a "")"), ElementsAre("", "a", ""));
  EXPECT_THAT(Arguments(R"(a"")"), ElementsAre("a"));
}

TEST(SplitCommandLine, DoubledQuoteIsLiteralOnlyInsideAGroup) {
  EXPECT_THAT(Arguments(R"("a""b")"), ElementsAre(R"(a"b)"));
  EXPECT_THAT(Arguments(R"("""" x)"), ElementsAre(R"(")", "x"));
  EXPECT_THAT(Arguments(R"(""a b)"), ElementsAre("a", "b"));
  EXPECT_THAT(Arguments(R"("a\\""b c" d)"), ElementsAre(R"(a\"b c)", "d"));
}

TEST(SplitCommandLine, BackslashesElsewhereStandForThemselves) {
  EXPECT_THAT(Arguments(R"(C:\a\b\ "C:\a b\c" \\server\x)"),
              ElementsAre(R"(C:\a\b\)", R"(C:\a b\c)", R"(\\server\x)"));
  EXPECT_THAT(Arguments(R"(\\ b)"), ElementsAre(R"(\\)", "b"));
  EXPECT_THAT(Arguments(R"("folder\\" b)"), ElementsAre(R"(folder\)", "b"));
}

TEST(SplitCommandLine, UnclosedQuoteRunsToTheEnd) {
  EXPECT_THAT(Arguments(R"(a "b c )"), ElementsAre("a", "b c "));
  EXPECT_THAT(Arguments(R"(a ")"), ElementsAre("a", ""));
  EXPECT_THAT(SplitCommandLine(R"("pro gram)"), ElementsAre("pro gram"));
}

TEST(SplitCommandLine, ProgramNameKnowsNoEscapes) {
  EXPECT_THAT(SplitCommandLine(R"("C:\some folder\" a)"), ElementsAre(R"(C:\some folder\)", "a"));
  EXPECT_THAT(SplitCommandLine(R"(C:\folder\program.exe a)"),
              ElementsAre(R"(C:\folder\program.exe)", "a"));
  EXPECT_THAT(SplitCommandLine("a\\\"b c"), ElementsAre(R"(a\"b)", "c"));
}

TEST(SplitCommandLine, ProgramNameEndsAtItsClosingQuote) {
  EXPECT_THAT(SplitCommandLine(R"("a b"c d)"), ElementsAre("a b", "c", "d"));
  EXPECT_THAT(SplitCommandLine(R"("" a)"), ElementsAre("", "a"));
  EXPECT_THAT(SplitCommandLine("lame\t-h"), ElementsAre("lame", "-h"));
}

TEST(SplitCommandLine, EmptyLineGivesNothing) {
  EXPECT_THAT(SplitCommandLine(""), IsEmpty());
  EXPECT_THAT(SplitCommandLine(" \t "), IsEmpty());
  EXPECT_THAT(SplitCommandLine("  a  "), ElementsAre("a"));
}

TEST(SplitCommandLine, EncoderLines) {
  EXPECT_THAT(SplitCommandLine(R"("/opt/my songs/lame" -h -b128 --ignore-tag-errors --ta "Dalida" )"
                               R"(--tt "Gigi l'Amoroso" - "/music/Dalida - Gigi.mp3")"),
              ElementsAre("/opt/my songs/lame", "-h", "-b128", "--ignore-tag-errors", "--ta",
                          "Dalida", "--tt", "Gigi l'Amoroso", "-", "/music/Dalida - Gigi.mp3"));
  EXPECT_THAT(
      SplitCommandLine(R"("/opt/oggenc" -o -b128 -a"The Artist" -t"Title é" "/music/O.ogg" -)"),
      ElementsAre("/opt/oggenc", "-o", "-b128", "-aThe Artist", "-tTitle é", "/music/O.ogg", "-"));
}

/// Quotes one argument so that the rules give it back.
std::string Quoted(const std::string& argument) {
  std::string text = "\"";
  std::size_t backslashes = 0;
  for (const char c : argument) {
    if (c == '"') text.append(backslashes + 1, '\\');
    backslashes = c == '\\' ? backslashes + 1 : 0;
    text += c;
  }
  return text.append(backslashes, '\\') + '"';
}

TEST(SplitCommandLine, ArgumentsQuotedByTheRulesComeBack) {
  constexpr char kLetters[] = {'a', ' ', '\\', '"', '\t', '\\', '"'};
  std::mt19937 random(20);
  for (int round = 0; round < 2000; ++round) {
    std::vector<std::string> wanted = {"p"};
    std::string line = "p";
    for (auto count = random() % 5; count > 0; --count) {
      std::string argument;
      for (auto length = random() % 8; length > 0; --length) {
        argument += kLetters[random() % sizeof kLetters];
      }
      line += ' ' + Quoted(argument);
      wanted.push_back(argument);
    }
    ASSERT_EQ(SplitCommandLine(line), wanted) << line;
  }
}

}  // namespace
}  // namespace vexolo::engine
