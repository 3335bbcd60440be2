/// The colours of the lyric window: its own five and the themes that can be chosen instead.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace vexolo {

/// Components 0..1.
struct Rgb {
  float red = 0;
  float green = 0;
  float blue = 0;
};

/// A colour value of 24 bits: red in the low byte, blue in the high one.
constexpr std::uint32_t ColourValue(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
  return red | (green << 8) | (blue << 16);
}

/// Splits a 24-bit colour value into its components.
Rgb RGB2CouleurRVB(std::uint32_t colour);

/// (1 - part) x `from` + part x `to`, for each component.
Rgb Blend(const Rgb& from, const Rgb& to, float part);

/// 24-bit colour values.
struct LyricTheme {
  std::uint32_t background;
  std::uint32_t sung;    ///< the line that is sung, where it has been
  std::uint32_t flash;   ///< a syllable at its onset
  std::uint32_t unsung;  ///< what is still to come
  std::uint32_t spare;   ///< belongs to the set; no frame uses it
};

/// The first one is the window's own. Their names stand in the language files under "Theme(n)".
inline constexpr std::array<LyricTheme, 6> kLyricThemes = {{
    {ColourValue(128, 0, 0), ColourValue(128, 128, 128), ColourValue(255, 255, 255),
     ColourValue(64, 192, 192), ColourValue(64, 32, 32)},
    // Night: amber on black.
    {ColourValue(6, 6, 10), ColourValue(92, 88, 84), ColourValue(255, 255, 255),
     ColourValue(224, 152, 32), ColourValue(32, 24, 16)},
    // Blackboard: yellow chalk.
    {ColourValue(26, 48, 42), ColourValue(116, 136, 128), ColourValue(255, 255, 255),
     ColourValue(212, 196, 112), ColourValue(40, 64, 56)},
    // Stage: pink light in a dark hall.
    {ColourValue(18, 10, 44), ColourValue(104, 92, 144), ColourValue(255, 255, 255),
     ColourValue(212, 88, 164), ColourValue(40, 24, 64)},
    // Paper: dark ink on light ground, where only a dark flash is seen.
    {ColourValue(240, 236, 224), ColourValue(124, 120, 112), ColourValue(176, 16, 16),
     ColourValue(24, 48, 104), ColourValue(208, 200, 184)},
    // Strong contrast.
    {ColourValue(0, 0, 0), ColourValue(112, 112, 112), ColourValue(255, 255, 0),
     ColourValue(255, 255, 255), ColourValue(48, 48, 48)},
}};
inline constexpr int kLyricThemeCount = static_cast<int>(kLyricThemes.size());

}  // namespace vexolo
