/// The measures of the 3D font's glyphs, and of texts set in it.
///
/// One unit is the height of the font. Texts are in Windows-1252.
#pragma once

#include <array>
#include <string_view>

namespace vexolo {

/// The black box is the smallest box around a glyph; its origin is its upper left corner seen from
/// the place of the glyph on the base line. The cell increment leads to the next glyph's place.
struct GlyphMetrics {
  float black_box_width = 0;
  float black_box_height = 0;
  float origin_x = 0;
  float origin_y = 0;
  float cell_increment_x = 0;
  float cell_increment_y = 0;
};

/// By character code.
using GlyphTable = std::array<GlyphMetrics, 256>;

inline const GlyphMetrics& MetricsOf(const GlyphTable& glyphs, char character) {
  return glyphs[static_cast<unsigned char>(character)];
}

/// Sum of the characters' cell increments; no kerning, so the parts of a text are as wide as the
/// whole.
float TextWidth3D(const GlyphTable& glyphs, std::string_view text);

/// The highest black box; 0 for an empty text.
float TextHeight3D(const GlyphTable& glyphs, std::string_view text);

}  // namespace vexolo
