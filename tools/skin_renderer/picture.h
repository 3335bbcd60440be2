/// Pictures of the skin: drawn from SVG, written as BMP or PNG.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace skin_renderer {

struct Picture {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t>
      pixels;  ///< 0xAARRGGBB, colours multiplied by alpha, from the top left
};

/// Draws the SVG text into a picture of that many pixels. Throws std::runtime_error.
Picture Draw(const std::string& svg, int width, int height);

/// The bytes of a Windows bitmap, rows from the bottom, without compression; `bits` = 24 or 32 for
/// each pixel. What is transparent becomes black.
std::string ToBmp(const Picture& picture, int bits, int pixels_per_metre);

void WritePng(const Picture& picture, const std::string& path);

}  // namespace skin_renderer
