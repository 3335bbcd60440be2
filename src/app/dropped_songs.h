/// Files that the user brings: dropped on the main window, or chosen to be opened.
#pragma once

#include <string>
#include <vector>

#include "platform/message_box.h"
#include "playlist/play_list_model.h"

namespace vexolo {

/// Adds files to the list in their order; a list file adds its songs instead. True where the list
/// has grown: its last song is the one to play. Window thread only.
bool AddSongs(const std::vector<std::string>& paths, PlayListModel& playlist, MessageBoxes& boxes);

}  // namespace vexolo
