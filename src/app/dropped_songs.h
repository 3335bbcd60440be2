/// Files that the user brings: dropped on the main window, or chosen to be opened.
#pragma once

#include <string>
#include <vector>

#include "platform/message_box.h"
#include "playlist/play_list_model.h"

namespace vexolo {

/// Adds files to the list in their order; folders and list files add their songs instead, which
/// is waited for. A folder or list that cannot be read is reported. Returns the place of the last
/// song that came, the one to play; 0 where none did. Window thread only.
int AddSongs(const std::vector<std::string>& paths, PlayListModel& playlist, MessageBoxes& boxes);

}  // namespace vexolo
