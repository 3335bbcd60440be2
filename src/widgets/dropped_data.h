/// What is dragged from the file manager.
#pragma once

#include <string>
#include <vector>

class QMimeData;

namespace vexolo {

/// The files and folders of this machine in dragged data, in their order; UTF-8.
std::vector<std::string> LocalFiles(const QMimeData& data);

}  // namespace vexolo
