// layer: engine
// Command lines: any line is split, and arguments that are quoted by the rules come back.
#include <string>
#include <vector>

#include "engine/command_line.h"
#include "fuzz/support/fuzz_input.h"

namespace {

/// Between quotes, backslashes before a quote doubled.
std::string Quoted(const std::string& argument) {
  std::string quoted = "\"";
  std::size_t backslashes = 0;
  for (const char c : argument) {
    if (c == '"') quoted.append(backslashes + 1, '\\');
    backslashes = c == '\\' ? backslashes + 1 : 0;
    quoted += c;
  }
  return quoted.append(backslashes, '\\') + '"';
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using vexolo::engine::SplitCommandLine;
  using vexolo::fuzz::Require;
  const std::string_view line = vexolo::fuzz::Text(data, size);
  std::size_t total = 0;
  for (const std::string& argument : SplitCommandLine(line)) total += argument.size();
  Require(total <= size);

  std::vector<std::string> arguments = vexolo::fuzz::SplitAtZeros(line);
  std::erase(arguments[0], '"');  // the program's name has no way to hold one
  std::string quoted = "\"" + arguments[0] + "\"";
  for (std::size_t i = 1; i < arguments.size(); ++i) quoted += " " + Quoted(arguments[i]);
  Require(SplitCommandLine(quoted) == arguments);
  return 0;
}
