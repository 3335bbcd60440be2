#include "engine/command_line.h"

#include <algorithm>
#include <cstddef>

namespace vexolo::engine {

namespace {

constexpr std::string_view kBlanks = " \t";

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

/// The program's name from `at` on; leaves `at` behind it.
std::string TakeProgram(std::string_view line, std::size_t& at) {
  const bool quoted = line[at] == '"';
  const std::size_t begin = at + (quoted ? 1 : 0);
  const std::size_t end =
      std::min(quoted ? line.find('"', begin) : line.find_first_of(kBlanks, begin), line.size());
  at = std::min(end + (quoted ? 1 : 0), line.size());
  return std::string(line.substr(begin, end - begin));
}

/// One argument that begins at `at`, which is no blank; leaves `at` behind it.
std::string TakeArgument(std::string_view line, std::size_t& at) {
  std::string argument;
  bool in_group = false;
  while (at < line.size() && (in_group || !IsBlank(line[at]))) {
    const std::size_t after = std::min(line.find_first_not_of('\\', at), line.size());
    const std::size_t backslashes = after - at;
    at = after;
    if (at == line.size() || line[at] != '"') {
      argument.append(backslashes, '\\');
      if (at < line.size() && (in_group || !IsBlank(line[at]))) argument += line[at++];
      continue;
    }
    argument.append(backslashes / 2, '\\');
    ++at;
    if (backslashes % 2 != 0) {
      argument += '"';
    } else if (in_group && at < line.size() && line[at] == '"') {
      argument += '"';
      ++at;
    } else {
      in_group = !in_group;
    }
  }
  return argument;
}

}  // namespace

std::vector<std::string> SplitCommandLine(std::string_view line) {
  std::vector<std::string> arguments;
  std::size_t at = line.find_first_not_of(kBlanks);
  if (at == std::string_view::npos) return arguments;
  arguments.push_back(TakeProgram(line, at));
  while ((at = line.find_first_not_of(kBlanks, at)) != std::string_view::npos) {
    arguments.push_back(TakeArgument(line, at));
  }
  return arguments;
}

}  // namespace vexolo::engine
