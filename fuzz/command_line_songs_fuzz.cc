// layer: core
// Songs on the command line: any line gives paths, and separate arguments come through it.
#include <algorithm>
#include <string>
#include <vector>

#include "app/command_line_songs.h"
#include "fuzz/support/fuzz_input.h"

namespace {

using namespace vexolo;

/// What the line cannot carry: a quote, which separates, and blanks at an end, which go with it.
bool IsPlain(const std::string& argument) {
  return argument.find('"') == std::string::npos && !argument.starts_with(' ') &&
         !argument.ends_with(' ');
}

void CheckArguments(std::vector<std::string> arguments, PathStyle style, const char* folder) {
  std::erase_if(arguments, [](const std::string& text) { return text.empty() || !IsPlain(text); });
  const std::string line = CommandLineOf(arguments, folder, style);
  std::vector<std::string> paths;
  for (const std::string& argument : arguments) {
    paths.push_back(IsAbsolute(argument, style) ? argument : Join(folder, argument, style));
  }
  fuzz::Require(SongsOfCommandLine(line) == paths);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view line = fuzz::Text(data, size);
  std::size_t total = 0;
  for (const std::string& song : SongsOfCommandLine(line)) {
    fuzz::Require(!song.empty());
    total += song.size();
  }
  fuzz::Require(total <= size);
  CheckArguments(fuzz::SplitAtZeros(line), PathStyle::kPosix, "/home/someone");
  CheckArguments(fuzz::SplitAtZeros(line), PathStyle::kWindows, "D:\\Songs");
  return 0;
}
