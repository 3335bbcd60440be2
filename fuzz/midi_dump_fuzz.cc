// layer: core
// Structure dump: any bytes are listed, and what has a header is listed to its end.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "lyrics/midi_dump.h"

namespace {

constexpr char kHeader[] = "MThd\0\0\0\6\0\1\0\1\0\x60";

bool List(std::string_view bytes) {
  bool closed = false;
  std::string last;
  const auto header = vexolo::DumpMidiBytes(bytes, [&](std::string_view line) {
    if (closed) std::abort();
    closed = line.empty();
    if (!closed) last = line;
  });
  if (header.has_value() != closed) std::abort();
  if (closed && last != "====[ End of file ]====") std::abort();
  return closed;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  List(bytes);
  // Once more behind a good header, and as one track, so that the inside is reached at once.
  std::string file(kHeader, sizeof kHeader - 1);
  const std::string track = file + "MTrk" + std::string(4, '\xFF');
  if (!List(file.append(bytes)) || !List(track + std::string(bytes))) std::abort();
  return 0;
}
