/// Draws the lyric window's frames with OpenGL 1.1 and GLU.
///
/// Everything here works on the OpenGL context that is current. Window thread only.
#pragma once

#include "lyrics/lyric_scene.h"
#include "lyrics/text_3d_gl.h"

namespace vexolo {

class LyricPainter {
 public:
  /// Both must outlive this object.
  LyricPainter(OutlineSource& source, MessageBoxes& boxes, TextSteps steps = UsualTextSteps());

  /// Once for a new context: light, depth, culling, and the font. False where the font could not be
  /// made; the reason has been shown.
  bool Prepare();

  /// After every change of the drawing surface's size, in pixels.
  void SetViewport(int width, int height);

  /// Draws a frame; the caller swaps the buffers.
  void Paint(const LyricFrame& frame);

  const GlyphTable& glyphs() const { return text_.glyphs(); }

 private:
  Text3D text_;
  unsigned list_base_ = 0;
};

}  // namespace vexolo
