/// Where the outlines of a font come from, as an interface, so that tests can stand in.
#pragma once

#include <string>

#include "lyrics/outline_mesh.h"

namespace vexolo {

/// What a font is asked for by. Zero leaves the choice to the platform.
struct LogicalFont {
  int height = 0;  ///< in units of the drawing surface; outlines hardly depend on it
  int width = 0;
  int escapement = 0;
  int orientation = 0;
  int weight = 0;  ///< 400 = normal, 700 = bold
  bool italic = false;
  bool underline = false;
  bool strike_out = false;
  int character_set = 0;
  int out_precision = 0;
  int clip_precision = 0;
  int quality = 0;
  std::string face_name;
};

/// One glyph in units of the font's height.
struct OutlineGlyph {
  GlyphOutline outline;  ///< empty for a blank
  double advance = 0;    ///< to the place of the next glyph
};

class OutlineSource {
 public:
  virtual ~OutlineSource() = default;
  /// Takes the font, or the one that comes nearest; false where there is none at all.
  virtual bool Select(const LogicalFont& font) = 0;
  /// The glyph of a Windows-1252 code, 0..255, of the selected font; false where it cannot be had.
  virtual bool ReadGlyph(int code, OutlineGlyph& glyph) = 0;
  /// Gives the font back.
  virtual void Release() = 0;
};

}  // namespace vexolo
