// layer: gui
// The list of songs beside the main window, as the program has them.
#include <QMimeData>
#include <QUrl>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/main_window_bench.h"
#include "playlist/play_list_window.h"

namespace vexolo {
namespace {

using testing::ElementsAre;

constexpr int kRepeat = 42;
constexpr int kList = 47;

struct PlayListPluggedIn : testing::Test, MainWindowBench {
  PlayListPluggedIn() {
    constexpr auto kIndex = static_cast<std::size_t>(Companion::kPlayList);
    others.companions[kIndex] = ProgramWindows().companions[kIndex];
  }
  PlayList& List() { return dynamic_cast<PlayList&>(*window->companion(Companion::kPlayList)); }
  SpriteButton& ListButtonAt(int index) {
    return *List().findChild<SpriteButton*>("PicSM" + QString::number(index));
  }
  void ShowList() {
    if (!List().isVisible()) window->Action_Playlist();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&List()));
    List().Refresh();
  }
  void DoubleClick(int place) {
    SongListWidget& view = List().view();
    const QPoint at = view.visualRect(view.model()->index(place - 1, 0)).center();
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, at);
  }
  std::string Line(int place) {
    return List().view().model()->index(place - 1, 0).data().toString().toStdString();
  }
  void DropOnMain(const std::vector<std::string>& paths) {
    QMimeData data;
    QList<QUrl> urls;
    for (const std::string& path : paths) urls << QUrl::fromLocalFile(Q(path));
    data.setUrls(urls);
    QDragEnterEvent enter({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(window.get(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(window.get(), &drop);
  }
  bool WaitUntilPlaying(const std::string& path) {
    return QTest::qWaitFor([&] { return Playing() == path; });
  }
};

TEST_F(PlayListPluggedIn, ItsButtonShowsAndHidesIt) {
  ASSERT_TRUE(Start());
  EXPECT_FALSE(List().isVisible());
  Click(kList);
  EXPECT_TRUE(List().isVisible());
  EXPECT_EQ("1", Setting("PlayList", "Show"));
  EXPECT_EQ(1, Button(kList).drawn_state());
  Click(kList);
  EXPECT_FALSE(List().isVisible());
  EXPECT_EQ("0", Setting("PlayList", "Show"));
  EXPECT_EQ(0, Button(kList).drawn_state());
}

TEST_F(PlayListPluggedIn, ClosingItReleasesTheButtonAndItStaysHiddenAtTheNextStart) {
  ASSERT_TRUE(Start());
  Click(kList);
  List().close();
  EXPECT_EQ(0, Button(kList).drawn_state());
  EXPECT_EQ("0", Setting("PlayList", "Show"));
  ASSERT_TRUE(Start());
  EXPECT_FALSE(List().isVisible());
  Click(kList);
  ASSERT_TRUE(Start());
  EXPECT_TRUE(List().isVisible());
  EXPECT_EQ(1, Button(kList).drawn_state());
}

TEST_F(PlayListPluggedIn, IsDockedUnderTheMainWindowAndMovesWithIt) {
  ASSERT_TRUE(Start());
  ShowList();
  const QRect main = window->frameGeometry();
  EXPECT_EQ(List().pos(), QPoint(main.left(), main.bottom() + 1));
  EXPECT_EQ(List().width(), main.width());
  const QPoint before = List().pos() - window->pos();
  window->move(window->pos() + QPoint(30, 20));
  EXPECT_TRUE(QTest::qWaitFor([&] { return List().pos() - window->pos() == before; }));
}

TEST_F(PlayListPluggedIn, ADoubleClickPlaysTheEntry) {
  ASSERT_TRUE(Start());
  AddSongs({"a.mid", "b.mid", "c.mid"});
  ShowList();
  DoubleClick(2);
  EXPECT_EQ(folder / "b.mid", Playing());
  EXPECT_EQ("-> b.mid", Line(2));
  window->Action_Next();
  List().Refresh();
  EXPECT_EQ("    b.mid", Line(2));
  EXPECT_EQ("-> c.mid", Line(3));
}

TEST_F(PlayListPluggedIn, TheSongGoesOnWhenItsEntryIsRemovedAndTheNextOneFollows) {
  ASSERT_TRUE(Start());
  AddSongs({"a.mid", "b.mid", "c.mid"});
  ShowList();
  DoubleClick(2);
  QTest::keyClick(&List().view(), Qt::Key_Delete);
  EXPECT_EQ(folder / "b.mid", Playing());
  EXPECT_EQ(2, state().playlist.count());
  window->Action_Next();
  EXPECT_EQ(folder / "c.mid", Playing());
}

TEST_F(PlayListPluggedIn, BothRepeatButtonsShowTheMode) {
  ASSERT_TRUE(Start());
  ShowList();
  for (const int mode : {2, 3, 0}) {
    QTest::mouseClick(&ListButtonAt(7), Qt::LeftButton);
    EXPECT_EQ(mode, state().repeat_mode);
    EXPECT_EQ(mode, ListButtonAt(7).drawn_state());
    EXPECT_EQ(mode, Button(kRepeat).drawn_state());
    EXPECT_EQ(Button(kRepeat).toolTip(), ListButtonAt(7).toolTip());
  }
  Click(kRepeat);
  EXPECT_EQ(2, ListButtonAt(7).drawn_state());
  ASSERT_TRUE(Start());
  EXPECT_EQ(2, ListButtonAt(7).drawn_state());
}

TEST_F(PlayListPluggedIn, WhatIsDroppedOnTheMainWindowIsAddedAndTheLastSongPlays) {
  ASSERT_TRUE(Start());
  AddSongs({"first.mid"});
  std::filesystem::create_directory(folder / "m");
  Song("m/2.kar");
  DropOnMain({Song("b.mid"), folder / "m"});
  ASSERT_TRUE(WaitUntilPlaying(folder / "m/2.kar"));
  EXPECT_THAT(state().playlist.paths(),
              ElementsAre(folder / "first.mid", folder / "b.mid", folder / "m/2.kar"));
  EXPECT_EQ("-> 2.kar", Line(3));
}

TEST_F(PlayListPluggedIn, ControlOInTheMainWindowOpensSongs) {
  ASSERT_TRUE(Start());
  files.answers = {{Song("a.mid"), Song("b.mid")}};
  QTest::keyClick(window.get(), Qt::Key_O, Qt::ControlModifier);
  ASSERT_TRUE(WaitUntilPlaying(folder / "b.mid"));
  EXPECT_EQ(2, state().playlist.count());
  EXPECT_EQ(folder.path(), Setting("Mid", "Path"));
}

TEST_F(PlayListPluggedIn, TheSpaceBarPlaysAndStopsHereToo) {
  ASSERT_TRUE(Start());
  AddSongs({"a.mid"});
  ShowList();
  QTest::keyClick(&List().view(), Qt::Key_Space);
  EXPECT_EQ(folder / "a.mid", Playing());
  QTest::keyClick(&List().view(), Qt::Key_Space);
  EXPECT_EQ("", Playing());
}

TEST_F(PlayListPluggedIn, F1HelpsHereToo) {
  ASSERT_TRUE(Start());
  ShowList();
  QTest::keyClick(&List().view(), Qt::Key_F1);
  EXPECT_THAT(opened, ElementsAre(folder / "help/fr.html"));
}

TEST_F(PlayListPluggedIn, TheLastListComesBackAndNothingPlays) {
  ASSERT_TRUE(Start());
  AddSongs({"a.mid", "b.mid"});
  window->Action_Play();
  ASSERT_TRUE(Start());
  EXPECT_THAT(state().playlist.paths(), ElementsAre(folder / "a.mid", folder / "b.mid"));
  EXPECT_EQ(0, state().playlist.current());
  EXPECT_EQ(0, state().playlist.playing());
  EXPECT_EQ("", Playing());
  EXPECT_FALSE(state().playing);
  window->Action_Play();
  EXPECT_EQ(folder / "a.mid", Playing());
}

TEST_F(PlayListPluggedIn, TheCommandLinesSongPlaysBeforeTheLastList) {
  ASSERT_TRUE(Start());
  AddSongs({"a.mid", "b.mid"});
  ASSERT_TRUE(Start(Song("x.mid")));
  EXPECT_THAT(state().playlist.paths(),
              ElementsAre(folder / "x.mid", folder / "a.mid", folder / "b.mid"));
  EXPECT_EQ(1, state().playlist.current());
  EXPECT_EQ(folder / "x.mid", Playing());
  window->Action_Next();
  EXPECT_EQ(folder / "a.mid", Playing());
}

TEST_F(PlayListPluggedIn, SwitchingTheLanguageSwitchesTheList) {
  ASSERT_TRUE(Start());
  state().language_file = folder / "de.lng";
  window->LoadLanguage();
  EXPECT_EQ(List().windowTitle().toStdString(),
            window->context().Section("PlayList").Text("Caption"));
  EXPECT_NE(List().windowTitle(), "Liste des chansons");
}

}  // namespace
}  // namespace vexolo
