/// The list as it was left: kept beside the settings, back at the next start.
#pragma once

#include <cstdint>
#include <string>

#include "platform/message_box.h"
#include "playlist/play_list_model.h"

namespace vexolo {

inline constexpr const char* kLastListName = "Vexolo.zvp";

/// Window thread only.
class LastList {
 public:
  /// `settings_file`: the list is kept in its folder.
  explicit LastList(const std::string& settings_file);

  /// Adds the songs of the list that was left, behind those that the command line has brought. A
  /// song that it has brought already does not come a second time (opening the same file day after
  /// day would make the list longer each time). No entry becomes the current one. A list that
  /// cannot be read is reported; where there is none, nothing happens.
  void Restore(PlayListModel& list, MessageBoxes& boxes);

  /// Writes the list, where entries have changed since the last call. Does nothing before Restore:
  /// the list that was left would be lost. Nothing is reported, as with all settings.
  void Save(const PlayListModel& list);

  const std::string& path() const { return path_; }

 private:
  std::string path_;
  bool restored_ = false;
  std::uint64_t saved_revision_ = 0;
};

}  // namespace vexolo
