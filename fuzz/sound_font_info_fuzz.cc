// layer: core
// What a bank's file says about itself: any bytes are read, and either a level is missing or there
// is a text within bounds.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "mixer/sound_font_info.h"
#include "platform/text_encoding.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream file(std::string(data, data + size));
  const vexolo::SoundFontInfo info = vexolo::ReadSoundFontInfo(file);
  if (info.problem != nullptr && !info.engine.empty()) std::abort();
  if (vexolo::CountCharacters(info.engine) > 1024 || !vexolo::IsValidUtf8(info.engine)) {
    std::abort();
  }
  if (!vexolo::SoundFontInfoText(info).starts_with(info.engine)) std::abort();
  return 0;
}
