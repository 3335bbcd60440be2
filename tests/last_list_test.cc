// layer: core
#include "playlist/last_list.h"

#include <chrono>

#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "platform/file_io.h"

namespace vexolo {
namespace {

using Paths = std::vector<std::string>;

class LastListTest : public ::testing::Test {
 protected:
  PlayListModel Restored(const Paths& command_line = {}) {
    PlayListModel list;
    for (const std::string& song : command_line) list.AjouteFichierPlayList(song);
    LastList(settings_).Restore(list, boxes_);
    return list;
  }

  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  std::string settings_ = folder_ / "Vexolo.ini";
};

TEST_F(LastListTest, ComesBackWithNoEntryCurrent) {
  {
    PlayListModel list;
    LastList last(settings_);
    last.Restore(list, boxes_);
    for (const char* song : {"/b.mid", "/a.kar", "/b.mid"}) list.AjouteFichierPlayList(song);
    list.PlayListSelect(2);
    last.Save(list);
  }
  const PlayListModel list = Restored();
  EXPECT_EQ(list.paths(), (Paths{"/b.mid", "/a.kar", "/b.mid"}));
  EXPECT_EQ(list.current(), 0);
  EXPECT_EQ(list.playing(), 0);
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(LastListTest, StandsBesideTheSettings) {
  EXPECT_EQ(LastList(settings_).path(), folder_ / "Vexolo.zvp");
}

TEST_F(LastListTest, AtTheFirstStartThereIsNone) {
  EXPECT_EQ(Restored().count(), 0);
  EXPECT_TRUE(boxes_.shown.empty());
  EXPECT_EQ(folder_.CountEntries(), 0u);
}

TEST_F(LastListTest, FollowsTheSongsOfTheCommandLine) {
  folder_.Write("Vexolo.zvp", "/a.mid\r\n/b.mid\r\n/c.mid\r\n/b.mid\r\n");
  const PlayListModel list = Restored({"/x.mid", "/b.mid"});
  EXPECT_EQ(list.paths(), (Paths{"/x.mid", "/b.mid", "/a.mid", "/c.mid", "/b.mid"}));
  EXPECT_EQ(list.current(), 0);
}

TEST_F(LastListTest, OpeningTheSameSongEachTimeDoesNotMakeTheListLonger) {
  for (int day = 0; day < 3; ++day) {
    PlayListModel list;
    list.AjouteFichierPlayList("/today.mid");
    LastList last(settings_);
    last.Restore(list, boxes_);
    EXPECT_EQ(list.paths(), (Paths{"/today.mid"}));
    last.Save(list);
  }
}

TEST_F(LastListTest, NothingIsWrittenBeforeTheListIsBack) {
  folder_.Write("Vexolo.zvp", "/a.mid\r\n");
  PlayListModel list;
  list.AjouteFichierPlayList("/x.mid");
  LastList last(settings_);
  last.Save(list);
  EXPECT_EQ(folder_.Read("Vexolo.zvp"), "/a.mid\r\n");
  last.Restore(list, boxes_);
  last.Save(list);
  EXPECT_EQ(folder_.Read("Vexolo.zvp"), "/x.mid\r\n/a.mid\r\n");
}

TEST_F(LastListTest, IsWrittenOnlyWhenEntriesHaveChanged) {
  folder_.Write("Vexolo.zvp", "/a.mid\r\n");
  PlayListModel list;
  LastList last(settings_);
  last.Restore(list, boxes_);
  folder_.Write("Vexolo.zvp", "untouched");
  last.Save(list);
  list.PlayListSelect(1);
  last.Save(list);
  EXPECT_EQ(folder_.Read("Vexolo.zvp"), "untouched");
  list.Clear();
  last.Save(list);
  EXPECT_EQ(folder_.Read("Vexolo.zvp"), "");
}

TEST_F(LastListTest, AListThatCannotBeReadIsReported) {
  folder_.Write("Vexolo.zvp", std::string((64u << 20) + 1, '#'));
  EXPECT_EQ(Restored({"/x.mid"}).paths(), (Paths{"/x.mid"}));
  ASSERT_EQ(boxes_.shown.size(), 1u);
  EXPECT_TRUE(boxes_.shown[0].text.starts_with("Erreur n° "));
}

TEST_F(LastListTest, AFolderThatCannotBeWrittenIsNoTrouble) {
  PlayListModel list;
  LastList last(folder_ / "none/Vexolo.ini");
  last.Restore(list, boxes_);
  list.AjouteFichierPlayList("/a.mid");
  last.Save(list);
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(LastListTest, TenThousandSongsAreKeptAndBroughtBackQuickly) {
  const auto limit = std::chrono::milliseconds(300);
  PlayListModel list;
  LastList last(settings_);
  last.Restore(list, boxes_);
  for (int i = 0; i < 10'000; ++i) list.AjouteFichierPlayList("/m/" + std::to_string(i) + ".mid");
  auto start = std::chrono::steady_clock::now();
  last.Save(list);
  EXPECT_LT(std::chrono::steady_clock::now() - start, limit);
  start = std::chrono::steady_clock::now();
  EXPECT_EQ(Restored().count(), 10'000);
  EXPECT_LT(std::chrono::steady_clock::now() - start, limit);
}

}  // namespace
}  // namespace vexolo
