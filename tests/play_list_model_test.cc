// layer: core
#include "playlist/play_list_model.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <random>

#include <gtest/gtest.h>

namespace vexolo {
namespace {

using Paths = std::vector<std::string>;

PlayListModel ListOf(const Paths& paths) {
  PlayListModel list;
  for (const std::string& path : paths) list.AjouteFichierPlayList(path);
  return list;
}

/// Gives the numbers in turn.
PlayListModel::RandomSource Drawing(std::deque<double> numbers) {
  return [numbers]() mutable {
    const double number = numbers.front();
    numbers.pop_front();
    return number;
  };
}

TEST(PlayListModel, ShowsTheNameBehindFourSpacesAndThePlayingOneBehindAnArrow) {
  PlayListModel list = ListOf({"/m/a.mid", "/m/b.kar"});
  EXPECT_EQ(list.Line(1), "    a.mid");
  list.PlayListSelect(2);
  EXPECT_EQ(list.Line(1), "    a.mid");
  EXPECT_EQ(list.Line(2), "-> b.kar");
  EXPECT_EQ(list.current(), 2);
  list.PlayListSelect(1);
  EXPECT_EQ(list.Line(1), "-> a.mid");
  EXPECT_EQ(list.Line(2), "    b.kar");
  list.PlayListSelect(0);
  EXPECT_EQ(list.Line(1), "    a.mid");
  EXPECT_EQ(list.current(), 1);
}

TEST(PlayListModel, PlacesOutsideTheListAreIgnored) {
  PlayListModel list = ListOf({"/m/a.mid"});
  list.PlayListSelect(1);
  list.PlayListSelect(2);
  list.PlayListSelect(-1);
  list.PlayListDelete(0);
  list.PlayListDelete(2);
  EXPECT_EQ(list.count(), 1);
  EXPECT_EQ(list.playing(), 1);
  EXPECT_EQ(list.Path(0), "");
  EXPECT_EQ(list.Path(2), "");
  EXPECT_EQ(list.Line(2), "");
}

TEST(PlayListModel, AnEmptyPathIsNotAdded) {
  PlayListModel list;
  list.PlayListAdd("");
  EXPECT_EQ(list.count(), 0);
  EXPECT_EQ(list.revision(), 0u);
}

TEST(PlayListModel, RemovingBeforeTheCurrentSongKeepsItCurrent) {
  PlayListModel list = ListOf({"/a.mid", "/b.mid", "/c.mid"});
  list.PlayListSelect(2);
  list.PlayListDelete(1);
  EXPECT_EQ(list.current(), 1);
  EXPECT_EQ(list.Line(1), "-> b.mid");
  list.PlayListDelete(2);
  EXPECT_EQ(list.current(), 1);
  EXPECT_EQ(list.paths(), (Paths{"/b.mid"}));
}

TEST(PlayListModel, RemovingTheCurrentSongLeavesTheNextOneNext) {
  PlayListModel list = ListOf({"/a.mid", "/b.mid", "/c.mid"});
  list.PlayListSelect(2);
  list.PlayListDelete(2);
  EXPECT_EQ(list.playing(), 0);
  EXPECT_EQ(list.Path(list.current() + 1), "/c.mid");
  PlayListModel single = ListOf({"/a.mid"});
  single.PlayListSelect(1);
  single.PlayListDelete(1);
  EXPECT_EQ(single.current(), 0);
}

TEST(PlayListModel, SeveralEntriesAreRemovedAtOnce) {
  PlayListModel list = ListOf({"/a.mid", "/b.mid", "/c.mid", "/d.mid", "/e.mid"});
  list.PlayListSelect(4);
  list.PlayListDelete({5, 1, 3, 1, 9, 0, -2});
  EXPECT_EQ(list.paths(), (Paths{"/b.mid", "/d.mid"}));
  EXPECT_EQ(list.current(), 2);
  EXPECT_EQ(list.Line(1), "    b.mid");
  EXPECT_EQ(list.Line(2), "-> d.mid");
}

TEST(PlayListModel, RemovingTheCurrentSongAmongOthersLeavesTheNextOneNext) {
  PlayListModel list = ListOf({"/a.mid", "/b.mid", "/c.mid", "/d.mid"});
  list.PlayListSelect(3);
  list.PlayListDelete({1, 3});
  EXPECT_EQ(list.playing(), 0);
  EXPECT_EQ(list.Path(list.current() + 1), "/d.mid");
  list.PlayListDelete({1, 2});
  EXPECT_EQ(list.count(), 0);
  EXPECT_EQ(list.current(), 0);
}

TEST(PlayListModel, RemovingAtTheEndOfTheListStaysAtItsEnd) {
  PlayListModel list = ListOf({"/a.mid", "/b.mid", "/c.mid"});
  list.set_current(4);
  list.PlayListDelete({1, 2});
  EXPECT_EQ(list.current(), 2);
  EXPECT_EQ(list.count(), 1);
}

TEST(PlayListModel, RemovingNothingIsNoChange) {
  PlayListModel list = ListOf({"/a.mid"});
  const auto revision = list.revision();
  list.PlayListDelete(std::vector<int>{});
  list.PlayListDelete({2, 0});
  EXPECT_EQ(list.revision(), revision);
}

TEST(PlayListModel, MovesEntriesTogetherAndInTheirOrder) {
  const Paths five = {"/a.mid", "/b.mid", "/c.mid", "/d.mid", "/e.mid"};
  PlayListModel list = ListOf(five);
  list.PlayListSelect(4);
  EXPECT_EQ(list.PlayListMove({4, 2}, 1), 1);  // to the top
  EXPECT_EQ(list.paths(), (Paths{"/b.mid", "/d.mid", "/a.mid", "/c.mid", "/e.mid"}));
  EXPECT_EQ(list.current(), 2);
  EXPECT_EQ(list.Line(2), "-> d.mid");
  EXPECT_EQ(list.Line(4), "    c.mid");
  list = ListOf(five);
  EXPECT_EQ(list.PlayListMove({1, 3}, 6), 4);  // to the end
  EXPECT_EQ(list.paths(), (Paths{"/b.mid", "/d.mid", "/e.mid", "/a.mid", "/c.mid"}));
  list = ListOf(five);
  EXPECT_EQ(list.PlayListMove({1, 5}, 3), 2);  // from both sides
  EXPECT_EQ(list.paths(), (Paths{"/b.mid", "/a.mid", "/e.mid", "/c.mid", "/d.mid"}));
}

TEST(PlayListModel, MovingToWhereTheEntriesAreIsNoChange) {
  PlayListModel list = ListOf({"/a.mid", "/b.mid", "/c.mid"});
  const auto revision = list.revision();
  EXPECT_EQ(list.PlayListMove({2}, 2), 2);
  EXPECT_EQ(list.PlayListMove({2}, 3), 2);
  EXPECT_EQ(list.PlayListMove({1, 2, 3}, 2), 1);
  EXPECT_EQ(list.PlayListMove({}, 1), 0);
  EXPECT_EQ(list.PlayListMove({0, 4}, 1), 0);
  EXPECT_EQ(list.revision(), revision);
  EXPECT_EQ(list.PlayListMove({1}, 99), 3);
  EXPECT_EQ(list.PlayListMove({3}, -5), 1);
  EXPECT_EQ(list.paths(), (Paths{"/a.mid", "/b.mid", "/c.mid"}));
  PlayListModel empty;
  EXPECT_EQ(empty.PlayListMove({1}, 1), 0);
}

TEST(PlayListModel, MovingOthersTakesTheCurrentSongAlong) {
  PlayListModel list = ListOf({"/a.mid", "/b.mid", "/c.mid"});
  list.PlayListSelect(2);
  list.PlayListMove({1}, 4);
  EXPECT_EQ(list.current(), 1);
  EXPECT_EQ(list.playing(), 1);
  list.set_current(4);  // the end of the list has been reached
  list.PlayListMove({1}, 3);
  EXPECT_EQ(list.current(), 4);
}

TEST(PlayListModel, NamesAndPathsStayTogetherThroughEveryOperation) {
  std::mt19937 engine(7);
  const auto random = [&](int below) { return static_cast<int>(engine() % unsigned(below)); };
  PlayListModel list;
  for (int step = 0; step < 2000; ++step) {
    const std::vector<int> places = {random(40), random(40), random(40)};
    switch (random(6)) {
      case 0:
        list.PlayListDelete(places);
        break;
      case 1:
        list.PlayListMove(places, random(40));
        break;
      case 2:
        list.Shuffle([&] { return random(1000) / 1000.0; });
        break;
      case 3:
        list.PlayListSelect(random(40));
        break;
      default:
        list.PlayListAdd("/m/" + std::to_string(step) + ".mid");
    }
    int marked = 0;
    for (int place = 1; place <= list.count(); ++place) {
      const bool plays = place == list.playing();
      marked += plays;
      ASSERT_EQ("/m/" + list.Line(place).substr(plays ? 3 : 4), list.Path(place));
    }
    ASSERT_EQ(marked, list.playing() == 0 ? 0 : 1);
  }
}

TEST(PlayListModel, AnotherSongThatPlaysDoesNotChangeTheOrder) {
  PlayListModel list = ListOf({"/a.mid", "/b.mid"});
  const auto order = list.order_revision();
  list.PlayListSelect(2);
  EXPECT_EQ(list.order_revision(), order);
  list.PlayListMove({2}, 1);
  EXPECT_GT(list.order_revision(), order);
}

TEST(PlayListModel, ClearingLeavesNothing) {
  PlayListModel list = ListOf({"/a.mid", "/b.mid"});
  list.PlayListSelect(2);
  const auto revision = list.revision();
  list.Clear();
  EXPECT_EQ(list.count(), 0);
  EXPECT_EQ(list.current(), 0);
  EXPECT_EQ(list.playing(), 0);
  EXPECT_GT(list.revision(), revision);
}

TEST(PlayListModel, ShufflingSwapsEachPositionWithTheOneDrawn) {
  PlayListModel list = ListOf({"/a.mid", "/b.mid", "/c.mid", "/d.mid"});
  list.PlayListSelect(1);
  // 1 with 4: d b c a; 2 with 1: b d c a; 3 with 3; 4 with 2: b a c d.
  list.Shuffle(Drawing({0.99, 0.0, 0.5, 0.25}));
  EXPECT_EQ(list.paths(), (Paths{"/b.mid", "/a.mid", "/c.mid", "/d.mid"}));
  EXPECT_EQ(list.current(), 2);
  EXPECT_EQ(list.Line(2), "-> a.mid");
  EXPECT_EQ(list.Line(1), "    b.mid");
}

TEST(PlayListModel, ShufflingOneEntryOrNoneChangesNothing) {
  PlayListModel list = ListOf({"/a.mid"});
  list.PlayListSelect(1);
  list.Shuffle([] { return 0.7; });
  EXPECT_EQ(list.paths(), (Paths{"/a.mid"}));
  EXPECT_EQ(list.Line(1), "-> a.mid");
  PlayListModel empty;
  empty.Shuffle([]() -> double {
    ADD_FAILURE() << "nothing to draw for";
    return 0;
  });
  EXPECT_EQ(empty.count(), 0);
}

TEST(PlayListModel, ARandomSourceOutOfRangeDoesNoHarm) {
  PlayListModel list = ListOf({"/a.mid", "/b.mid"});
  list.Shuffle([] { return 1.0; });
  list.Shuffle([] { return -1.0; });
  EXPECT_EQ(list.count(), 2);
}

TEST(PlayListModel, TenThousandEntriesAreAddedShuffledMovedAndRemovedQuickly) {
  const auto limit = std::chrono::milliseconds(300);
  auto start = std::chrono::steady_clock::now();
  PlayListModel list;
  for (int i = 0; i < 10'000; ++i) list.AjouteFichierPlayList("/m/" + std::to_string(i) + ".mid");
  EXPECT_LT(std::chrono::steady_clock::now() - start, limit);
  Paths before = list.paths();
  std::mt19937 engine(1);
  std::uniform_real_distribution<double> uniform(0, 1);
  start = std::chrono::steady_clock::now();
  list.Shuffle([&] { return uniform(engine); });
  EXPECT_LT(std::chrono::steady_clock::now() - start, limit);
  EXPECT_NE(list.paths(), before);
  Paths after = list.paths();
  std::sort(before.begin(), before.end());
  std::sort(after.begin(), after.end());
  EXPECT_EQ(after, before);
  std::vector<int> every_other;
  for (int place = 1; place <= list.count(); place += 2) every_other.push_back(place);
  start = std::chrono::steady_clock::now();
  list.PlayListMove(every_other, 5'000);
  list.PlayListDelete(every_other);
  EXPECT_LT(std::chrono::steady_clock::now() - start, limit);
  EXPECT_EQ(list.count(), 5'000);
}

}  // namespace
}  // namespace vexolo
