// layer: core
#include "app/dropped_songs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

using testing::ElementsAre;

TEST(DroppedSongs, AreAddedInTheirOrder) {
  PlayListModel playlist;
  FakeMessageBoxes boxes;
  playlist.AjouteFichierPlayList("/s/a.mid");
  EXPECT_EQ(AddSongs({"/s/c.kar", "/s/b.mid"}, playlist, boxes), 3);
  EXPECT_THAT(playlist.paths(), ElementsAre("/s/a.mid", "/s/c.kar", "/s/b.mid"));
  EXPECT_EQ(AddSongs({}, playlist, boxes), 0);
  EXPECT_EQ(AddSongs({""}, playlist, boxes), 0);
}

TEST(DroppedSongs, AListFileAddsItsSongs) {
  PlayListModel playlist;
  FakeMessageBoxes boxes;
  const TemporaryFolder folder;
  const std::string list = folder.Write("Party.M3U", "# songs\r\none.kar\r\nnotes.txt\r\n");
  EXPECT_EQ(AddSongs({list, "/s/b.mid"}, playlist, boxes), 2);
  EXPECT_THAT(playlist.paths(), ElementsAre(folder / "one.kar", "/s/b.mid"));
}

TEST(DroppedSongs, AListFileThatCannotBeReadIsTold) {
  PlayListModel playlist;
  FakeMessageBoxes boxes;
  EXPECT_EQ(AddSongs({"/nowhere/list.zvp"}, playlist, boxes), 0);
  EXPECT_EQ(1u, boxes.shown.size());
}

}  // namespace
}  // namespace vexolo
