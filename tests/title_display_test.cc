// layer: core
#include "app/title_display.h"

#include <string>

#include <gtest/gtest.h>

#include "fakes/fake_bass.h"

namespace vexolo {
namespace {

TEST(LedText, LettersLoseTheirAccents) {
  EXPECT_EQ("Un ete a Orsay", LedText("Un été à Orsay"));
  EXPECT_EQ("L'OEUVRE \"coeur\" - fin...", LedText("L’ŒUVRE “cœur” – fin…"));
  EXPECT_EQ("Gross <<Hasslich>> 1/2", LedText("Groß «Hässlich» ½"));
}

TEST(LedText, EveryLatinCharacterHasALikeness) {
  for (int code = 0xA1; code <= 0xFF; ++code) {
    const std::string utf8 = {static_cast<char>(0xC0 | code >> 6),
                              static_cast<char>(0x80 | (code & 0x3F))};
    const std::string shown = LedText(utf8);
    ASSERT_FALSE(shown.empty()) << code;
    for (const char character : shown) EXPECT_TRUE(character >= 0x20 && character < 0x7F) << code;
  }
}

TEST(LedText, WhatHasNoLikenessIsBlankAndAnyBytesAreTaken) {
  EXPECT_EQ("a b", LedText("a日b"));
  EXPECT_EQ("a b", LedText("a\U0001F3A4"
                           "b"));
  EXPECT_EQ("a b", LedText("a\tb"));
  EXPECT_EQ("ete", LedText("\xE9t\xE9"));  // Windows-1252
  EXPECT_EQ("", LedText(""));
}

TEST(SongName, IsTheFilesNameWhereTheSongTellsNoTitle) {
  FakeBass bass;
  const LyricModel lyrics(bass.api(), nullptr);
  EXPECT_EQ("Ma chanson", SongName(lyrics, "/songs/Ma chanson.kar"));
  EXPECT_EQ("", SongName(lyrics, ""));
}

TEST(SongName, IsTitleAndArtistWhereTheSongTellsThem) {
  FakeBass bass;
  FakeBass::Song song;
  song.track_names = {"Words"};
  std::string track = "@TAu clair de la lune";
  song.marks[bass::BASS_MIDI_MARK_TEXT] = {{0, 0, track}, {0, 100, "Au "}, {0, 200, "clair"}};
  LyricModel lyrics(bass.api(), nullptr);
  lyrics.InitLyrics(bass.AddStream(song), true);
  EXPECT_EQ("Au clair de la lune", SongName(lyrics, "/songs/x.kar"));
  song.marks[bass::BASS_MIDI_MARK_TEXT].insert(song.marks[bass::BASS_MIDI_MARK_TEXT].begin() + 1,
                                               {0, 0, "@TAnonyme"});
  lyrics.InitLyrics(bass.AddStream(song), true);
  EXPECT_EQ("Au clair de la lune - Anonyme", SongName(lyrics, "/songs/x.kar"));
}

TEST(SongName, IsReadableWhateverTheSongIsWrittenIn) {
  FakeBass bass;
  LyricModel lyrics(bass.api(), nullptr);
  for (const char* title : {"@TSi\xE8"
                            "cle",
                            "@TSi\x8A"
                            "cle",
                            "@TSi\xC3\xA8"
                            "cle"}) {
    FakeBass::Song song;
    song.track_names = {"Words"};
    song.marks[bass::BASS_MIDI_MARK_TEXT] = {{0, 0, title}, {0, 100, "Au "}, {0, 200, "clair"}};
    lyrics.InitLyrics(bass.AddStream(song), true);
    EXPECT_EQ("Siècle", SongName(lyrics, "/songs/x.kar"));
  }
}

TEST(TitleText, TellsTheSongAndItsPlace) {
  const TitleTexts texts = {"none", "%1!", "%2/%3 %1", "songs: %3"};
  EXPECT_EQ("none", TitleText(texts, "", 0, 0));
  EXPECT_EQ("a!", TitleText(texts, "a", 1, 1));
  EXPECT_EQ("2/3 a %3", TitleText(texts, "a %3", 2, 3));
  EXPECT_EQ("songs: 3", TitleText(texts, "", 0, 3));
}

TEST(LedScroller, AShortTextStands) {
  LedScroller display(8);
  display.SetText("abc");
  for (int i = 0; i < 200; ++i) {
    EXPECT_EQ("abc     ", display.Visible());
    display.Tick();
  }
}

TEST(LedScroller, ALongTextRestsRunsAndBeginsAgain) {
  LedScroller display(4);
  display.SetText("abcdef");
  for (int i = 0; i < LedScroller::kRest; ++i) {
    EXPECT_EQ("abcd", display.Visible());
    display.Tick();
  }
  std::string seen;
  for (int step = 0; step < 9; ++step) {
    seen += display.Visible() + "|";
    for (int i = 0; i < LedScroller::kStep; ++i) display.Tick();
  }
  EXPECT_EQ("abcd|bcde|cdef|def |ef  |f   |   a|  ab| abc|", seen);
  EXPECT_EQ("abcd", display.Visible());
}

TEST(LedScroller, AnotherTextBeginsAtItsBeginningTheSameGoesOn) {
  LedScroller display(4);
  display.SetText("abcdef");
  for (int i = 0; i < LedScroller::kRest + LedScroller::kStep; ++i) display.Tick();
  display.SetText("abcdef");
  EXPECT_EQ("bcde", display.Visible());
  display.SetText("ghijkl");
  EXPECT_EQ("ghij", display.Visible());
}

TEST(LedScroller, ANoticeStandsForAWhile) {
  LedScroller display(6);
  display.SetText("abc");
  display.Notice("no sound at all");
  for (int i = 0; i < LedScroller::kNoticeTime; ++i) {
    EXPECT_TRUE(display.has_notice());
    EXPECT_EQ("no sou", display.Visible());
    display.Tick();
  }
  EXPECT_FALSE(display.has_notice());
  EXPECT_EQ("abc   ", display.Visible());
}

}  // namespace
}  // namespace vexolo
