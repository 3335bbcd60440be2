// layer: core
// Names of converted files: whatever a song calls itself, they stay in the folder that was chosen.
//
// Input, between zero bytes: artist, title, name of the song's file, scheme.
#include <algorithm>
#include <string>
#include <vector>

#include "convert/output_name.h"
#include "fuzz/support/fuzz_input.h"

namespace {

using namespace vexolo;
using fuzz::Require;

/// The scheme is the user's own and may lead elsewhere; a song may not.
void CheckScheme(const NameRequest& request, PathStyle style) {
  const OutputBase base = MakeOutputBase(request, style);
  Require(base.Path().starts_with(request.folder));
  const char separator = SeparatorOf(style);
  Require(base.name.find(separator) == std::string::npos);
  const std::string below = AudioPath(base, AudioFormat::kWav).substr(request.folder.size());
  if (style == PathStyle::kWindows) Require(below.find('/') == std::string::npos);
  for (const std::string& part : SplitAtSeparators(below)) {
    Require(part != "." && part != "..");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> fields = fuzz::SplitAtZeros(fuzz::Text(data, size));
  fields.resize(4);
  const std::string cleaned = CleanedForName(fields[0]);
  Require(cleaned.find_first_of("\\/:*?\"<>|\n\r\t") == std::string::npos);
  Require(cleaned != "." && cleaned != "..");
  std::erase(fields[2], '/');
  std::erase(fields[2], '\\');
  if (fields[2].empty()) fields[2] = "song";
  for (const char* scheme : {"%A - %T", "%T", "%A/%T", "%A\\%a\\%T", "x/%A.%T", ""}) {
    CheckScheme({"/music/", scheme, fields[0], fields[1], "/songs/" + fields[2] + ".mid"},
                PathStyle::kPosix);
    CheckScheme({"D:\\Music\\", scheme, fields[0], fields[1], "D:\\" + fields[2] + ".mid"},
                PathStyle::kWindows);
  }
  // The scheme as anything at all.
  for (const PathStyle style : {PathStyle::kPosix, PathStyle::kWindows}) {
    const OutputBase base =
        MakeOutputBase({"out", fields[3], fields[0], fields[1], fields[2]}, style);
    Require(base.name.find(SeparatorOf(style)) == std::string::npos);
    Require(!base.name.empty() || StemOf(fields[2], style).empty());
    LyricsPath(base);
    AudioPath(base, AudioFormat::kOgg);
  }
  return 0;
}
