#include "widgets/dropped_data.h"

#include <QMimeData>
#include <QUrl>

namespace vexolo {

std::vector<std::string> LocalFiles(const QMimeData& data) {
  std::vector<std::string> paths;
  for (const QUrl& url : data.urls()) {
    if (url.isLocalFile()) paths.push_back(url.toLocalFile().toStdString());
  }
  return paths;
}

}  // namespace vexolo
