/// Extruded text: a font's 256 glyphs as display lists, and texts drawn with them.
///
/// Everything here draws into the OpenGL context that is current. Window thread only.
#pragma once

#include <chrono>
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
/// Distance of lines from the curves that they stand for, in heights of the font, until another one
/// is asked for.
inline constexpr double kUsualFlatness = 0.0008;

/// The calls that can fail; tests put their own in place.
struct TextSteps {
  std::function<unsigned(int count)> reserve_lists;  ///< the first list, 0 = none to be had
  std::function<unsigned()> last_error;              ///< of the graphics library, 0 = none
};
TextSteps UsualTextSteps();

/// Making a font takes longer than a frame, so it is done bit by bit: CreateOutlineFont begins it,
/// BuildGlyphs goes on.
class Text3D {
 public:
  enum class Progress { kGoesOn, kDone, kFailed };

  /// Both must outlive this object.
  Text3D(OutlineSource& source, MessageBoxes& boxes, TextSteps steps = UsualTextSteps());

  /// Reserves a display list for each Windows-1252 code; `list_base` gets the number of the first
  /// one. The current colour becomes `colour`. On failure the reason is shown.
  bool CreateOutlineFont(unsigned& list_base, const std::string& face, int height, int weight,
                         bool italic, const Rgb& colour);

  /// Fills lists and measures, at least one list and no more than fit into `most`. On failure the
  /// reason is shown and no list is left.
  Progress BuildGlyphs(std::chrono::milliseconds most);

  /// Draws letters as fine as this from now on, in heights of the font: BuildGlyphs makes the lists
  /// anew, which show the letters as they were until then.
  void set_flatness(double flatness);
  double flatness() const { return flatness_; }

  /// Whether all lists can be drawn, be they as fine as they should or not yet.
  bool has_font() const { return has_font_; }
  /// Whether they are as fine as they should.
  bool is_complete() const { return has_font_ && next_code_ == kGlyphLists; }

  const GlyphTable& glyphs() const { return glyphs_; }
  float TextWidth3D(std::string_view text) const { return vexolo::TextWidth3D(glyphs_, text); }
  float TextHeight3D(std::string_view text) const { return vexolo::TextHeight3D(glyphs_, text); }

  /// Draws a text from (x, y, z) on; nothing for an empty one. The lists must be the first ones of
  /// the context: code c is drawn by list c + 1. An error of the graphics library is shown by its
  /// number, each number once until another one comes.
  void DrawText3D(std::string_view text, float x, float y, float z, const Rgb& colour);

 private:
  bool BuildNextList();
  bool BuildList(int code);
  void ReleaseSource();
  Progress Fail();

  OutlineSource& source_;
  MessageBoxes& boxes_;
  const TextSteps steps_;
  LogicalFont font_;
  unsigned list_base_ = 0;  ///< 0: no lists
  int next_code_ = 0;       ///< whose list is made next; kGlyphLists: all are made
  double flatness_ = kUsualFlatness;
  bool is_selected_ = false;  ///< the source holds the font
  bool has_font_ = false;
  GlyphTable glyphs_;
  unsigned shown_error_ = 0;
};

}  // namespace vexolo
