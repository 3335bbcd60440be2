/// Choosing files and folders, as an interface, so that tests can answer.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vexolo {

struct FileQuestion {
  std::string title;
  /// Pairs of description and patterns, all separated by "|": "Songs|*.mid;*.kar|All files|*.*".
  std::string filter;
  std::string folder;  ///< that is shown first; may be empty
  std::string name;    ///< proposed, when a file is to be saved
};

/// Texts and paths are UTF-8. An empty answer: the user has chosen nothing. Window thread only.
class FileDialogs {
 public:
  virtual ~FileDialogs() = default;
  virtual std::vector<std::string> OpenFiles(const FileQuestion& question) = 0;
  virtual std::string OpenFile(const FileQuestion& question) = 0;
  /// Where the user gives no extension, the one of the chosen filter is added. Asks before an
  /// existing file is replaced.
  virtual std::string SaveFile(const FileQuestion& question) = 0;
  virtual std::string ChooseFolder(const std::string& title, const std::string& folder) = 0;
};

/// The pairs of a filter; a description without patterns is left out.
std::vector<std::pair<std::string, std::vector<std::string>>> FilterPairs(std::string_view filter);

}  // namespace vexolo
