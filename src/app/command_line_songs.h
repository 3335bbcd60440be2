/// Songs named on the command line. Paths are UTF-8. Pure functions; any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/paths.h"

namespace vexolo {

/// Without blanks around it, then without one leading and one trailing double quote, each where
/// present.
std::string StripQuotes(std::string_view text);

/// The songs of a command line: cut at every blank where it holds no double quote, else at every
/// sequence of quote, blank, quote. Paths with blanks therefore need quotes around every path.
std::vector<std::string> SongsOfCommandLine(std::string_view command_line);

/// The command line that stands for separate arguments: each one made absolute from
/// `current_folder`, between double quotes, joined by blanks. Empty arguments are left out.
std::string CommandLineOf(const std::vector<std::string>& arguments,
                          std::string_view current_folder, PathStyle style = kNativePathStyle);

}  // namespace vexolo
