#include "lyrics/glyph_table.h"

#include <algorithm>

namespace vexolo {

float TextWidth3D(const GlyphTable& glyphs, std::string_view text) {
  float width = 0;
  for (const char character : text) width += MetricsOf(glyphs, character).cell_increment_x;
  return width;
}

float TextHeight3D(const GlyphTable& glyphs, std::string_view text) {
  float height = 0;
  for (const char character : text) {
    height = std::max(height, MetricsOf(glyphs, character).black_box_height);
  }
  return height;
}

}  // namespace vexolo
