// layer: core
#include "app/main_keys.h"

#include <map>
#include <utility>

#include <gtest/gtest.h>

namespace vexolo {
namespace {

using Key = std::pair<int, KeyModifiers>;

TEST(MainKeys, TheseKeysDoSomethingAndAllOthersNothing) {
  const std::map<Key, MainCommand> meant = {
      {{112, KeyModifiers::kNone}, MainCommand::kHelp},
      {{32, KeyModifiers::kNone}, MainCommand::kPlayOrStop},
      {{37, KeyModifiers::kNone}, MainCommand::kSeekBack},
      {{39, KeyModifiers::kNone}, MainCommand::kSeekForward},
      {{38, KeyModifiers::kNone}, MainCommand::kKnobUp},
      {{40, KeyModifiers::kNone}, MainCommand::kKnobDown},
      {{33, KeyModifiers::kNone}, MainCommand::kPreviousSong},
      {{34, KeyModifiers::kNone}, MainCommand::kNextSong},
      {{'O', KeyModifiers::kCtrl}, MainCommand::kOpenSongs},
      {{'R', KeyModifiers::kCtrl}, MainCommand::kRecord},
      {{'L', KeyModifiers::kCtrl}, MainCommand::kLyrics},
      {{'P', KeyModifiers::kCtrl}, MainCommand::kPlayList},
  };
  for (int key = 0; key < 256; ++key) {
    for (const KeyModifiers modifiers :
         {KeyModifiers::kNone, KeyModifiers::kCtrl, KeyModifiers::kOther}) {
      const auto found = meant.find({key, modifiers});
      EXPECT_EQ(found == meant.end() ? MainCommand::kNone : found->second,
                CommandOfKey(key, modifiers))
          << key;
    }
  }
}

TEST(MainKeys, OnlySeekingAndTurningGoOnWhileAKeyIsHeld) {
  for (int command = 0; command <= static_cast<int>(MainCommand::kPlayList); ++command) {
    const auto what = static_cast<MainCommand>(command);
    const bool repeats = what == MainCommand::kSeekBack || what == MainCommand::kSeekForward ||
                         what == MainCommand::kKnobUp || what == MainCommand::kKnobDown;
    EXPECT_EQ(repeats, RepeatsWhileHeld(what)) << command;
  }
}

TEST(MainKeys, SeekingStaysInTheSong) {
  EXPECT_DOUBLE_EQ(15, SoughtPosition(10, kSeekStep, 60));
  EXPECT_DOUBLE_EQ(5, SoughtPosition(10, -kSeekStep, 60));
  EXPECT_DOUBLE_EQ(0, SoughtPosition(3, -kSeekStep, 60));
  EXPECT_DOUBLE_EQ(59.9, SoughtPosition(58, kSeekStep, 60));
  EXPECT_DOUBLE_EQ(0, SoughtPosition(0, kSeekStep, 0));
}

}  // namespace
}  // namespace vexolo
