/// Temporary files, for this user alone. Paths are UTF-8. Any thread; nothing throws.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/file_io.h"

namespace vexolo {

/// Makes a new empty file in the user's temporary folder and returns its full path: "zvt", a number
/// that nobody has yet, ".tmp". Nobody else may open it. Empty on failure.
std::string MakeTempFile();

/// Makes the file `path`, readable and writable by this user alone, with that content. What stands
/// there already, a symbolic link included, is an error and stays.
std::optional<FileError> WriteNewPrivateFile(const std::string& path, std::string_view content);

}  // namespace vexolo
