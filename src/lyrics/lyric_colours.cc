#include "lyrics/lyric_colours.h"

namespace vexolo {

Rgb RGB2CouleurRVB(std::uint32_t colour) {
  constexpr float kFull = 255.0f;
  return {static_cast<float>(colour & 0xFF) / kFull,
          static_cast<float>((colour & 0xFF00) >> 8) / kFull,
          static_cast<float>((colour & 0xFF0000) >> 16) / kFull};
}

Rgb Blend(const Rgb& from, const Rgb& to, float part) {
  const float rest = 1.0f - part;
  return {rest * from.red + part * to.red, rest * from.green + part * to.green,
          rest * from.blue + part * to.blue};
}

}  // namespace vexolo
