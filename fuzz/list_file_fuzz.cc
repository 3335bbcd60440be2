// layer: core
// List files: any bytes load in either path style, and what was loaded can be saved and loaded.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/text_encoding.h"
#include "playlist/list_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  for (const std::string& path :
       vexolo::ParseList(bytes, "D:\\Lists\\a.m3u", vexolo::PathStyle::kWindows)) {
    if (!vexolo::IsSongName(path) || path.find('\n') != std::string::npos) std::abort();
  }
  const auto paths = vexolo::ParseList(bytes, "/lists/a.m3u", vexolo::PathStyle::kPosix);
  for (const vexolo::TextEncoding encoding :
       {vexolo::TextEncoding::kUtf8, vexolo::TextEncoding::kWindows1252}) {
    const std::string saved = vexolo::EncodeText(vexolo::FormatList(paths), encoding);
    if (vexolo::ParseList(saved, "/other/b.zvp", vexolo::PathStyle::kPosix) != paths) std::abort();
  }
  return 0;
}
