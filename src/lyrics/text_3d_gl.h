/// Extruded text: a font's 256 glyphs as display lists, and texts drawn with them.
///
/// Everything here draws into the OpenGL context that is current. Window thread only.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "lyrics/glyph_table.h"
#include "lyrics/lyric_colours.h"
#include "lyrics/outline_source.h"
#include "platform/message_box.h"

namespace vexolo {

inline constexpr int kGlyphLists = 256;
inline constexpr double kExtrusion = 0.1;  ///< depth of a letter, in heights of the font
/// Of curves, in heights of the font: a fifth of a pixel where that is 300 pixels high, as it is on
/// a screen of 2160 lines seen from the nearest place.
inline constexpr double kFlatness = 0.0006;

/// The calls that can fail; tests put their own in place.
struct TextSteps {
  std::function<unsigned(int count)> reserve_lists;  ///< the first list, 0 = none to be had
  std::function<unsigned()> last_error;              ///< of the graphics library, 0 = none
};
TextSteps UsualTextSteps();

class Text3D {
 public:
  /// Both must outlive this object.
  Text3D(OutlineSource& source, MessageBoxes& boxes, TextSteps steps = UsualTextSteps());

  /// Makes a display list for each Windows-1252 code and fills the table of measures. `list_base`
  /// gets the number of the first list. The current colour becomes `colour`. On failure the reason
  /// is shown and no list is left.
  bool CreateOutlineFont(unsigned& list_base, const std::string& face, int height, int weight,
                         bool italic, const Rgb& colour);

  const GlyphTable& glyphs() const { return glyphs_; }
  float TextWidth3D(std::string_view text) const { return vexolo::TextWidth3D(glyphs_, text); }
  float TextHeight3D(std::string_view text) const { return vexolo::TextHeight3D(glyphs_, text); }

  /// Draws a text from (x, y, z) on; nothing for an empty one. The lists must be the first ones of
  /// the context: code c is drawn by list c + 1. An error of the graphics library is shown by its
  /// number, each number once until another one comes.
  void DrawText3D(std::string_view text, float x, float y, float z, const Rgb& colour);

 private:
  bool BuildLists(unsigned list_base, const LogicalFont& font);
  bool BuildList(unsigned list, int code);

  OutlineSource& source_;
  MessageBoxes& boxes_;
  const TextSteps steps_;
  GlyphTable glyphs_;
  unsigned shown_error_ = 0;
};

}  // namespace vexolo
