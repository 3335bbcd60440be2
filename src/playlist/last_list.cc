#include "playlist/last_list.h"

#include <optional>
#include <unordered_map>

#include "platform/file_io.h"
#include "platform/paths.h"
#include "playlist/list_file.h"

namespace vexolo {

LastList::LastList(const std::string& settings_file)
    : path_(Join(FolderOf(settings_file), kLastListName)) {}

void LastList::Restore(PlayListModel& list, MessageBoxes& boxes) {
  restored_ = true;
  PlayListModel last;
  if (!FileExists(path_) || !LoadPlayList(path_, last, boxes)) {
    saved_revision_ = last.order_revision();
    return;
  }
  const bool was_empty = list.count() == 0;
  std::unordered_map<std::string, int> there;
  for (const std::string& song : list.paths()) ++there[song];
  for (const std::string& song : last.paths()) {
    if (--there[song] < 0) list.AjouteFichierPlayList(song);
  }
  // Behind songs of the command line the list is another one than the file holds.
  if (was_empty) saved_revision_ = list.order_revision();
}

void LastList::Save(const PlayListModel& list) {
  if (!restored_ || list.order_revision() == saved_revision_) return;
  saved_revision_ = list.order_revision();
  // Losing the latest change in a power cut is better than to wait for the disk at each.
  WriteWholeFile(path_, FormatList(list.paths()), Durability::kInSystem);
}

}  // namespace vexolo
