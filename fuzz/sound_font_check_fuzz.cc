// layer: engine
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "engine/sound_font_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vexolo::engine::SoundFontHeader header;
  if (!vexolo::engine::LooksLikeSoundFont({data, size}, &header)) return 0;
  const auto inside = [&](const vexolo::engine::ChunkPlace& place) {
    return place.offset <= header.size && place.size <= header.size - place.offset;
  };
  if (header.size > size || !inside(header.samples) || !inside(header.parameters)) std::abort();
  return 0;
}
