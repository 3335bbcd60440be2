/// Draws the lyric window's frames with OpenGL 1.1 and GLU.
///
/// Everything here works on the OpenGL context that is current. Window thread only.
#pragma once

#include <chrono>

#include "lyrics/lyric_scene.h"
#include "lyrics/text_3d_gl.h"

namespace vexolo {

/// How fine letters have to be, in heights of the font, on a surface of this many pixels' height:
/// no curve is off by more than a quarter of a pixel, even at the nearest zoom. Steps, so that a
/// window may grow and shrink a little without its letters being made anew.
double FlatnessFor(int height);

class LyricPainter {
 public:
  /// Both must outlive this object.
  LyricPainter(OutlineSource& source, MessageBoxes& boxes, TextSteps steps = UsualTextSteps());

  /// Once for a new context: light, depth, culling, and room for the font. False where there is
  /// none; the reason has been shown.
  bool Prepare();

  /// After every change of the drawing surface's size, in pixels.
  void SetViewport(int width, int height);

  /// Makes letters for about as long as this, where some are missing or not fine enough. Where that
  /// fails the reason has been shown.
  Text3D::Progress BuildLetters(std::chrono::milliseconds most) { return text_.BuildGlyphs(most); }
  /// Whether texts can be measured and drawn.
  bool has_letters() const { return text_.has_font(); }
  bool is_complete() const { return text_.is_complete(); }

  /// Draws a frame; the caller swaps the buffers.
  void Paint(const LyricFrame& frame);

  const GlyphTable& glyphs() const { return text_.glyphs(); }

 private:
  Text3D text_;
  unsigned list_base_ = 0;
};

}  // namespace vexolo
