// layer: gui
// The lyric window among the others of the program.
#include <QTest>
#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "audio/loader.h"
#include "fakes/main_window_bench.h"
#include "lyrics/lyric_window.h"

namespace vexolo {
namespace {

constexpr int kLyricsButton = 37;

std::string Quoted(const std::string& path) { return std::string("\"").append(path).append("\""); }

struct LyricsInProgram : testing::Test, MainWindowBench {
  LyricsInProgram() {
    const auto place = static_cast<std::size_t>(Companion::kLyrics);
    others.companions[place] = ProgramWindows().companions[place];
    bass.song.track_names = {"", "words"};
    bass.song.bytes_per_tick = 1;
    bass.song.marks[bass::BASS_MIDI_MARK_LYRIC] = {{1, 100, "/\x82t\x82 "}, {1, 200, "/la"}};
    bass.song.length = 44100 * 4 * 60;
  }

  OGLWin& Lyrics() { return static_cast<OGLWin&>(*window->companion(Companion::kLyrics)); }
  std::string Show() { return Setting("Lyrics", "Show"); }
  bool ButtonIsDown() { return Button(kLyricsButton).state() == kButtonDown; }
};

TEST_F(LyricsInProgram, ItsButtonShowsAndHidesIt) {
  ASSERT_TRUE(Start());
  EXPECT_FALSE(Lyrics().isVisible());
  Click(kLyricsButton);
  EXPECT_TRUE(Lyrics().isVisible());
  EXPECT_EQ("1", Show());
  EXPECT_TRUE(ButtonIsDown());
  Click(kLyricsButton);
  EXPECT_FALSE(Lyrics().isVisible());
  EXPECT_EQ("0", Show());
  EXPECT_FALSE(ButtonIsDown());
}

TEST_F(LyricsInProgram, ItsCloseBoxReleasesTheButtonAndItStaysClosedAtTheNextStart) {
  ASSERT_TRUE(Start(Quoted(Song("one.mid"))));
  Click(kLyricsButton);
  Lyrics().close();
  EXPECT_FALSE(Lyrics().isVisible());
  EXPECT_FALSE(ButtonIsDown());
  EXPECT_EQ("0", Show());
  EXPECT_EQ("0", Setting("Paroles", "Show"));
  EXPECT_TRUE(state().playing);
  ASSERT_TRUE(Start());
  EXPECT_FALSE(Lyrics().isVisible());
}

TEST_F(LyricsInProgram, AWindowThatWasOpenIsShownAgain) {
  ASSERT_TRUE(Start());
  Click(kLyricsButton);
  ASSERT_TRUE(Start());
  EXPECT_TRUE(Lyrics().isVisible());
  EXPECT_TRUE(ButtonIsDown());
}

TEST_F(LyricsInProgram, LyricsShowShowsAndHidesWithoutStoring) {
  ASSERT_TRUE(Start());
  window->LyricsShow(true);
  EXPECT_TRUE(Lyrics().isVisible());
  EXPECT_TRUE(ButtonIsDown());
  window->LyricsShow(false);
  EXPECT_FALSE(Lyrics().isVisible());
  EXPECT_FALSE(ButtonIsDown());
  EXPECT_EQ("", Show());
}

TEST_F(LyricsInProgram, ASongThatStartsClearsItAndItsMarksMakeItFlash) {
  ASSERT_TRUE(Start());
  program->ini.WriteIni("Lyrics", "Zoom", "3");
  AddSongs({"one.mid"});
  window->Action_PlaySelected(1);
  EXPECT_EQ(3, Lyrics().scene().zoom());
  EXPECT_EQ(0, Lyrics().scene().scroll_factor());
  const bass::HSTREAM stream = Stream();
  EXPECT_EQ(1, bass.FireSync(stream, bass::BASS_SYNC_MIDI_LYRIC, 0, 1));
  EXPECT_EQ(1, Lyrics().scene().mark_index());
  EXPECT_EQ(1.0f, Lyrics().scene().flash_remaining());
}

TEST_F(LyricsInProgram, ACodePageIsKeptBesideTheSongAndComesBackWithIt) {
  const std::string one = Song("one.mid");
  const std::string two = Song("two.mid");
  ASSERT_TRUE(Start(Quoted(one) + " " + Quoted(two)));
  Click(kLyricsButton);
  ASSERT_EQ(two, Playing());
  Lyrics().PrepareMenu().findChild<QAction*>("CodePage(2)")->trigger();
  EXPECT_EQ("2", program->ini.ReadIni("Lyrics", "CodePage", folder / "two.zvn"));
  EXPECT_EQ(kCodePageMacintosh, state().lyrics.code_pages().forced());
  window->Action_Prev();
  ASSERT_EQ(one, Playing());
  EXPECT_EQ(kCodePageNone, state().lyrics.code_pages().forced());
  EXPECT_EQ(kCodePageDos, state().lyrics.code_pages().detected());
  window->Action_Next();
  EXPECT_EQ(kCodePageMacintosh, state().lyrics.code_pages().forced());
}

TEST_F(LyricsInProgram, NoCodePageIsChosenWhileTheSongIsConverted) {
  ASSERT_TRUE(Start(Quoted(Song("one.mid"))));
  Click(kLyricsButton);
  const auto can_choose = [this] {
    return Lyrics().PrepareMenu().findChild<QAction*>("CodePage")->isEnabled();
  };
  EXPECT_TRUE(can_choose());
  state().converting = true;
  EXPECT_FALSE(can_choose());
  state().converting = false;
  EXPECT_TRUE(can_choose());
}

TEST_F(LyricsInProgram, ItFollowsTheMainWindow) {
  ASSERT_TRUE(Start());
  Click(kLyricsButton);
  const QPoint apart = Lyrics().pos() - window->pos();
  window->move(window->pos() + QPoint(35, 20));
  QTest::qWait(50);
  EXPECT_EQ(apart, Lyrics().pos() - window->pos());
}

TEST_F(LyricsInProgram, KeysThatItDoesNotKnowReachTheMainWindow) {
  ASSERT_TRUE(Start(Quoted(Song("one.mid"))));
  Click(kLyricsButton);
  ASSERT_TRUE(state().playing);
  QTest::keyClick(&Lyrics().view(), Qt::Key_Space);
  EXPECT_FALSE(state().playing);
}

TEST_F(LyricsInProgram, TheProgramEndsWithAllOfItOpen) {
  ASSERT_TRUE(Start(Quoted(Song("one.mid"))));
  Click(kLyricsButton);
  QTest::keyClick(&Lyrics().view(), Qt::Key_F11);
  Quit();
  EXPECT_THAT(boxes.shown, testing::IsEmpty());
}

// With the open engine, in real time: what is drawn follows the sound.
TEST_F(LyricsInProgram, TheWordsGoWithThePlayingSong) {
  real_library = AudioLibrary::OpenEngine();
  std::filesystem::remove(folder / "Orvanel.SF2");
  std::filesystem::create_symlink(VEXOLO_TEST_BANK, folder / "Orvanel.SF2");
  const std::string song = folder / "song.mid";
  std::filesystem::copy_file(std::string(VEXOLO_SONGS) + "/a-la-claire-fontaine.mid", song);
  folder.Write("song.zvn", "[Marqueurs]\r\nMarche=1\r\nDebut=11,000\r\nFin=0,000\r\n");
  ASSERT_TRUE(Start(Quoted(song)));
  Click(kLyricsButton);
  ASSERT_TRUE(QTest::qWaitFor([&] { return Lyrics().scene().frame().syllable >= 2; }, 15000));
  const bass::QWORD tick =
      real_library->api().BASS_ChannelGetPosition(Stream(), bass::BASS_POS_MIDI_TICK);
  const int heard = CurrentSyllable(state().lyrics, static_cast<std::int64_t>(tick));
  EXPECT_GE(heard, Lyrics().scene().frame().syllable);
  EXPECT_LE(heard, Lyrics().scene().frame().syllable + 1);
  EXPECT_GT(Lyrics().scene().flash_remaining(), 0);
}

}  // namespace
}  // namespace vexolo
