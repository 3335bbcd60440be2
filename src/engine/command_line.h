/// Splitting a command line into arguments.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vexolo::engine {

/// Splits by the quoting rules of the Windows C runtime: blanks and tabs separate; double quotes
/// group; 2n backslashes before a quote give n backslashes and the quote acts, 2n+1 give n and a
/// literal quote; backslashes elsewhere stand for themselves; inside a group a doubled quote is one
/// literal quote and the group goes on. The first argument (the program) knows no escapes: it ends
/// at its closing quote, or at the first blank. Blanks before it are passed over; a group that is
/// never closed ends with the line; an empty line gives no arguments. Source: the public
/// description of argument parsing in the Windows C runtime's documentation.
std::vector<std::string> SplitCommandLine(std::string_view line);

}  // namespace vexolo::engine
