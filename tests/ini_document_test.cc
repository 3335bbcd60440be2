// layer: core
#include "settings/ini_document.h"

#include <gtest/gtest.h>

namespace vexolo {
namespace {

using Value = std::optional<std::string>;

TEST(IniDocument, SectionsAndKeysAreComparedWithoutRegardToCase) {
  const IniDocument document = IniDocument::Parse("[Tags]\r\nAnnée=1999\r\n");
  EXPECT_EQ(document.Get("TAGS", "ANNÉE"), "1999");
  EXPECT_EQ(document.Get("tags", "année"), "1999");
  EXPECT_EQ(document.Get("Tags", "Annee"), Value());
  EXPECT_EQ(document.Get("Other", "Année"), Value());
}

TEST(IniDocument, BlanksAroundNamesAndValuesDoNotCount) {
  const IniDocument document = IniDocument::Parse("  [ A ]  \n\t key \t=  a b \t\r\nempty = \n");
  EXPECT_EQ(document.Get("A", "key"), "a b");
  EXPECT_EQ(document.Get(" A ", " key "), "a b");
  EXPECT_EQ(document.Get("A", "empty"), "");
}

TEST(IniDocument, CommentsAndUnknownLinesHoldNoKeys) {
  const IniDocument document =
      IniDocument::Parse("k=0\n[A]\n;k=1\n ; x=2\nnothing\n[open\n=3\nk=4\n");
  EXPECT_EQ(document.Get("A", "k"), "4");
  EXPECT_EQ(document.Get("A", ";k"), Value());
  EXPECT_EQ(document.Get("A", "x"), Value());
  EXPECT_EQ(document.Get("A", ""), Value());
}

TEST(IniDocument, TheFirstOfTwoEqualKeysCounts) {
  IniDocument document = IniDocument::Parse("[A]\nk=1\nk=2\n[B]\nk=3\n[a]\nk=4\nl=5\n");
  EXPECT_EQ(document.Get("A", "k"), "1");
  EXPECT_EQ(document.Get("A", "l"), "5");
  EXPECT_TRUE(document.Set("A", "K", "9"));
  EXPECT_EQ(document.Serialize(), "[A]\nk=9\nk=2\n[B]\nk=3\n[a]\nk=4\nl=5\n");
}

TEST(IniDocument, AValueMayHoldEqualsSignsAndSemicolons) {
  const IniDocument document = IniDocument::Parse("[A]\nk=a=b;c\nVol(1)=x\n");
  EXPECT_EQ(document.Get("A", "k"), "a=b;c");
  EXPECT_EQ(document.Get("A", "Vol(1)"), "x");
}

TEST(IniDocument, ChangingAValueKeepsEverythingElse) {
  IniDocument document =
      IniDocument::Parse("; head\n\n[A]\nkey = old  \n  odd line\n;tail\n\n[B]\nx=1");
  EXPECT_TRUE(document.Set("a", "KEY", "new"));
  EXPECT_EQ(document.Serialize(), "; head\n\n[A]\nkey = new\n  odd line\n;tail\n\n[B]\nx=1");
  EXPECT_FALSE(document.Set("a", "key", "new"));
}

TEST(IniDocument, AKeyIsAddedBehindTheLastOfItsSection) {
  IniDocument document = IniDocument::Parse("[A]\r\na=1\r\n\r\n; about B\r\n[B]\r\n");
  EXPECT_TRUE(document.Set("A", "b", "2"));
  EXPECT_TRUE(document.Set("B", "c", "3"));
  EXPECT_EQ(document.Serialize(), "[A]\r\na=1\r\nb=2\r\n\r\n; about B\r\n[B]\r\nc=3\r\n");
}

TEST(IniDocument, ASectionIsAddedAtTheEnd) {
  IniDocument document = IniDocument::Parse("[A]\na=1");
  EXPECT_TRUE(document.Set("B", "b", "2"));
  EXPECT_EQ(document.Serialize(), "[A]\na=1\n[B]\nb=2\n");
  IniDocument fresh;
  EXPECT_TRUE(fresh.Set("B", "b", ""));
  EXPECT_EQ(fresh.Serialize(), "[B]\r\nb=\r\n");
  EXPECT_EQ(fresh.Get("B", "b"), "");
}

TEST(IniDocument, LineBreaksAreTakenOutOfWhatIsWritten) {
  IniDocument document;
  EXPECT_TRUE(document.Set("A\n", "k\r", "x\r\n[B]\nevil=1"));
  EXPECT_EQ(document.Serialize(), "[A]\r\nk=x[B]evil=1\r\n");
}

TEST(IniDocument, NamesThatCouldNotBeReadBackAreNotWritten) {
  IniDocument document = IniDocument::Parse("[A]\nk=1\n");
  for (const char* key : {"", " ", "a=b", ";c", "[d", "\n"}) {
    EXPECT_FALSE(document.Set("A", key, "x")) << key;
  }
  EXPECT_FALSE(document.Set(" ", "k", "x"));
  EXPECT_EQ(document.Serialize(), "[A]\nk=1\n");
  EXPECT_TRUE(document.Set("odd]name", "k", "x"));
  EXPECT_EQ(IniDocument::Parse(document.Serialize()).Get("odd]name", "k"), "x");
}

TEST(IniDocument, EncodingAndByteOrderMarkAreKept) {
  IniDocument old = IniDocument::Parse("[A]\r\nname=\xC9t\xE9\r\n");
  EXPECT_EQ(old.encoding(), TextEncoding::kWindows1252);
  EXPECT_EQ(old.Get("A", "name"), "Été");
  EXPECT_TRUE(old.Set("A", "other", "noël €"));
  EXPECT_EQ(old.Serialize(), "[A]\r\nname=\xC9t\xE9\r\nother=no\xEBl \x80\r\n");
  IniDocument marked = IniDocument::Parse("\xEF\xBB\xBF[A]\nname=Été\n");
  EXPECT_EQ(marked.Get("A", "name"), "Été");
  EXPECT_TRUE(marked.Set("A", "name", "x"));
  EXPECT_EQ(marked.Serialize(), "\xEF\xBB\xBF[A]\nname=x\n");
}

TEST(IniDocument, Windows1252BecomesUtf8WhereACharacterHasNoPlaceInIt) {
  IniDocument document = IniDocument::Parse("[A]\nname=\xE9\n");
  EXPECT_TRUE(document.Set("A", "czech", "č"));
  EXPECT_EQ(document.Serialize(), "[A]\nname=é\nczech=č\n");
}

TEST(IniDocument, Windows1252BecomesUtf8WhereItWouldBeTakenForIt) {
  IniDocument document = IniDocument::Parse("[A]\nname=\xE9\n");
  EXPECT_TRUE(document.Set("A", "name", "Ã©"));
  EXPECT_EQ(IniDocument::Parse(document.Serialize()).Get("A", "name"), "Ã©");
}

TEST(IniDocument, ANewDocumentIsUtf8) {
  IniDocument document;
  document.Set("A", "k", "é");
  EXPECT_EQ(document.Serialize(), "[A]\r\nk=é\r\n");
  document.Set("A", "k", "\xE8");  // not UTF-8: counts as Windows-1252
  EXPECT_EQ(document.Get("A", "k"), "è");
}

TEST(IniDocument, AnyBytesComeBackUnchanged) {
  std::string bytes;
  unsigned state = 1;
  for (int i = 0; i < 20000; ++i) {
    state = state * 1664525u + 1013904223u;
    bytes += static_cast<char>(state >> 24);
    if (i % 7 == 0) bytes += "=[]\r\n;"[(state >> 16) % 6];
  }
  EXPECT_EQ(IniDocument::Parse(bytes).Serialize(), bytes);
  EXPECT_EQ(IniDocument::Parse("").Serialize(), "");
}

}  // namespace
}  // namespace vexolo
