#include "app/dropped_songs.h"

#include "platform/paths.h"
#include "platform/text_encoding.h"
#include "playlist/list_file.h"

namespace vexolo {
namespace {

bool IsListFile(const std::string& path) {
  const std::string extension = FoldCase(ExtensionOf(path));
  return extension == ".m3u" || extension == ".zvp";
}

}  // namespace

bool AddSongs(const std::vector<std::string>& paths, PlayListModel& playlist, MessageBoxes& boxes) {
  const int before = playlist.count();
  for (const std::string& path : paths) {
    if (IsListFile(path)) {
      LoadPlayList(path, playlist, boxes);
    } else {
      playlist.AjouteFichierPlayList(path);
    }
  }
  return playlist.count() > before;
}

}  // namespace vexolo
