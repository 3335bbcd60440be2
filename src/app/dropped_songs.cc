#include "app/dropped_songs.h"

#include <atomic>

#include "platform/file_io.h"
#include "playlist/dropped_files.h"

namespace vexolo {

int AddSongs(const std::vector<std::string>& paths, PlayListModel& playlist, MessageBoxes& boxes) {
  const std::atomic<bool> never_cancelled{false};
  const DroppedSongs dropped = ExpandDropped(paths, never_cancelled);
  for (const std::string& song : dropped.songs) playlist.AjouteFichierPlayList(song);
  if (dropped.error) boxes.Show(FileErrorText(*dropped.error), {}, BoxIcon::kExclamation);
  return dropped.songs.empty() ? 0 : playlist.count();
}

}  // namespace vexolo
