/// The toolkit's file dialogs.
#pragma once

#include <QStringList>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_dialogs.h"

namespace vexolo {

class QtFileDialogs : public FileDialogs {
 public:
  std::vector<std::string> OpenFiles(const FileQuestion& question) override;
  std::string OpenFile(const FileQuestion& question) override;
  std::string SaveFile(const FileQuestion& question) override;
  std::string ChooseFolder(const std::string& title, const std::string& folder) override;
};

/// The toolkit's form of a filter: "Songs (*.mid *.kar)".
QStringList ToolkitFilters(std::string_view filter);

}  // namespace vexolo
