// layer: core
#include "lyrics/song_titles.h"

#include <gtest/gtest.h>

namespace vexolo {
namespace {

OutlineMark Lyric(std::uint32_t track, const char* text) { return {track, true, text}; }
OutlineMark Text(std::uint32_t track, const char* text) { return {track, false, text}; }

TEST(SongTitles, TheFirstTwoHeaderLinesAreTitleAndArtist) {
  EXPECT_EQ(TitlesOf({Text(2, "@KMIDI"), Text(2, "@TMy Song "), Text(2, "@T  Artist Name"),
                      Text(2, "@TSomebody"), Text(2, "La")}),
            (SongTitles{"My Song", "Artist Name"}));
  EXPECT_EQ(TitlesOf({Lyric(0, "@TAlone"), Lyric(0, "la")}), (SongTitles{"Alone", ""}));
}

TEST(SongTitles, ASongWithoutMarksOrHeaderLinesHasNone) {
  EXPECT_EQ(TitlesOf({}), SongTitles());
  EXPECT_EQ(TitlesOf({Text(0, "la"), Text(0, "x@Ty")}), SongTitles());
}

TEST(SongTitles, TheTrackWithMostMarksCounts) {
  EXPECT_EQ(TitlesOf({Text(1, "@TOther"), Text(2, "@TWords"), Text(2, "la")}).title, "Words");
  EXPECT_EQ(TitlesOf({Text(2, "@TSecond"), Text(1, "@TFirst")}).title, "First");
}

TEST(SongTitles, LyricsCountUnlessThereAreMoreTexts) {
  EXPECT_EQ(TitlesOf({Lyric(1, "@TLyrics"), Text(2, "@TTexts")}).title, "Lyrics");
  EXPECT_EQ(TitlesOf({Lyric(1, "@TLyrics"), Text(2, "@TTexts"), Text(2, "la")}).title, "Texts");
}

TEST(SongTitles, AreReadableWhateverTheirCodePage) {
  EXPECT_EQ(TitlesOf({Text(0, "@T\xC9t\xE9"), Text(0, "\xE9")}).title, "Été");
  EXPECT_EQ(TitlesOf({Text(0, "@T\x90t\x82"), Text(0, "\x82\x8A\x85")}).title, "Été");
  EXPECT_EQ(TitlesOf({Text(0, "@T\x83t\x8E"), Text(0, "\x8E\x8F\x8D")}).title, "Été");
  EXPECT_EQ(TitlesOf({Text(0, "@T\xC3\xA9t\xC3\xA9"), Text(0, "la")}).title, "été");
}

}  // namespace
}  // namespace vexolo
