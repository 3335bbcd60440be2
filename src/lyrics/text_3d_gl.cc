#include "lyrics/text_3d_gl.h"

#include <array>
#include <cstddef>
#include <deque>
#include <memory>
#include <utility>
#include <vector>

#include "platform/opengl.h"

namespace vexolo {

namespace {

/// Fills outlines with triangles. The ink is where an outline winds round a place, so letters whose
/// strokes overlap come out whole.
class Tessellator {
 public:
  Tessellator() : tess_(gluNewTess(), &gluDeleteTess) {
    if (!tess_) return;
    using Callback = void(CALLBACK*)();
    GLUtesselator* tess = tess_.get();
    gluTessCallback(tess, GLU_TESS_VERTEX_DATA, reinterpret_cast<Callback>(&TakeVertex));
    gluTessCallback(tess, GLU_TESS_COMBINE_DATA, reinterpret_cast<Callback>(&Combine));
    gluTessCallback(tess, GLU_TESS_ERROR_DATA, reinterpret_cast<Callback>(&TakeError));
    // With this one set, strips and fans are left out: triangles only.
    gluTessCallback(tess, GLU_TESS_EDGE_FLAG, reinterpret_cast<Callback>(&IgnoreEdge));
    gluTessProperty(tess, GLU_TESS_WINDING_RULE, GLU_TESS_WINDING_NONZERO);
    gluTessNormal(tess, 0, 0, 1);
  }

  /// Corners of triangles, counter-clockwise, three by three. False where it failed.
  bool Fill(const std::vector<Contour>& contours, std::vector<OutlinePoint>& triangles) {
    if (!tess_) return false;
    triangles.clear();
    corners_.clear();
    triangles_ = &triangles;
    failed_ = false;
    gluTessBeginPolygon(tess_.get(), this);
    for (const Contour& contour : contours) {
      gluTessBeginContour(tess_.get());
      for (const ContourPoint& point : contour) {
        corners_.push_back({point.at.x, point.at.y, 0});
        gluTessVertex(tess_.get(), corners_.back().data(), corners_.back().data());
      }
      gluTessEndContour(tess_.get());
    }
    gluTessEndPolygon(tess_.get());
    return !failed_ && triangles.size() % 3 == 0;
  }

 private:
  using Corner = std::array<GLdouble, 3>;

  static void CALLBACK TakeVertex(void* vertex, void* self) {
    const auto* at = static_cast<const GLdouble*>(vertex);
    static_cast<Tessellator*>(self)->triangles_->push_back({at[0], at[1]});
  }
  static void CALLBACK Combine(const GLdouble* at, void** /*vertices*/, const GLfloat* /*weights*/,
                               void** made, void* self) {
    auto& corners = static_cast<Tessellator*>(self)->corners_;
    corners.push_back({at[0], at[1], at[2]});
    *made = corners.back().data();
  }
  static void CALLBACK TakeError(GLenum /*error*/, void* self) {
    static_cast<Tessellator*>(self)->failed_ = true;
  }
  static void CALLBACK IgnoreEdge(GLboolean /*is_edge*/) {}

  std::unique_ptr<GLUtesselator, decltype(&gluDeleteTess)> tess_;
  std::deque<Corner> corners_;  ///< the tessellator keeps pointers to them
  std::vector<OutlinePoint>* triangles_ = nullptr;
  bool failed_ = false;
};

void Vertex(const OutlinePoint& at, double z) { glVertex3d(at.x, at.y, z); }
void Normal(const OutlinePoint& normal) { glNormal3d(normal.x, normal.y, 0); }

void DrawFront(const std::vector<OutlinePoint>& triangles) {
  glNormal3d(0, 0, 1);
  for (const OutlinePoint& corner : triangles) Vertex(corner, 0);
}

void DrawBack(const std::vector<OutlinePoint>& triangles) {
  glNormal3d(0, 0, -1);
  for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
    Vertex(triangles[i], -kExtrusion);
    Vertex(triangles[i + 2], -kExtrusion);
    Vertex(triangles[i + 1], -kExtrusion);
  }
}

void DrawSide(const SideFace& face) {
  // Seen from outside the ink lies behind the face: counter-clockwise is down its back first.
  Normal(face.from_normal);
  Vertex(face.from, 0);
  Vertex(face.from, -kExtrusion);
  Normal(face.to_normal);
  Vertex(face.to, -kExtrusion);
  Normal(face.from_normal);
  Vertex(face.from, 0);
  Normal(face.to_normal);
  Vertex(face.to, -kExtrusion);
  Vertex(face.to, 0);
}

GlyphMetrics MetricsFor(const OutlineBox& box, double advance) {
  GlyphMetrics metrics;
  metrics.black_box_width = static_cast<float>(box.right - box.left);
  metrics.black_box_height = static_cast<float>(box.top - box.bottom);
  metrics.origin_x = static_cast<float>(box.left);
  metrics.origin_y = static_cast<float>(box.top);
  metrics.cell_increment_x = static_cast<float>(advance);
  return metrics;
}

}  // namespace

TextSteps UsualTextSteps() {
  return {[](int count) { return static_cast<unsigned>(glGenLists(count)); },
          [] { return static_cast<unsigned>(glGetError()); }};
}

Text3D::Text3D(OutlineSource& source, MessageBoxes& boxes, TextSteps steps)
    : source_(source), boxes_(boxes), steps_(std::move(steps)) {}

bool Text3D::CreateOutlineFont(unsigned& list_base, const std::string& face, int height, int weight,
                               bool italic, const Rgb& colour) {
  LogicalFont font;
  font.height = height;
  font.weight = weight;
  font.italic = italic;
  font.face_name = face;
  glColor3f(colour.red, colour.green, colour.blue);
  list_base = steps_.reserve_lists(kGlyphLists);
  if (list_base == 0) {
    boxes_.Show("Impossible de créer la police de caractère", "", BoxIcon::kNone);
    return false;
  }
  const bool built = BuildLists(list_base, font);
  if (!built) {
    glDeleteLists(list_base, kGlyphLists);
    glyphs_ = {};
    boxes_.Show("Impossible de créer la police de caractères", "", BoxIcon::kNone);
  }
  return built;
}

bool Text3D::BuildLists(unsigned list_base, const LogicalFont& font) {
  if (!source_.Select(font)) return false;
  bool built = true;
  for (int code = 0; code < kGlyphLists && built; ++code) {
    built = BuildList(list_base + static_cast<unsigned>(code), code);
  }
  source_.Release();
  return built;
}

bool Text3D::BuildList(unsigned list, int code) {
  OutlineGlyph glyph;
  if (!source_.ReadGlyph(code, glyph)) return false;
  const std::vector<Contour> contours = FlattenOutline(glyph.outline, kFlatness);
  std::vector<OutlinePoint> triangles;
  if (!Tessellator().Fill(contours, triangles)) return false;
  glyphs_[static_cast<std::size_t>(code)] = MetricsFor(BoxOf(contours), glyph.advance);
  glNewList(list, GL_COMPILE);
  glBegin(GL_TRIANGLES);
  DrawFront(triangles);
  DrawBack(triangles);
  for (const SideFace& face : SideFaces(contours)) DrawSide(face);
  glEnd();
  glTranslated(glyph.advance, 0, 0);
  glEndList();
  return steps_.last_error() == GL_NO_ERROR;
}

void Text3D::DrawText3D(std::string_view text, float x, float y, float z, const Rgb& colour) {
  if (text.empty()) return;
  glPushMatrix();
  glTranslatef(x, y, z);
  glColor3f(colour.red, colour.green, colour.blue);
  glListBase(1);
  glCallLists(static_cast<GLsizei>(text.size()), GL_UNSIGNED_BYTE, text.data());
  glPopMatrix();
  const unsigned error = steps_.last_error();
  if (error == GL_NO_ERROR || error == shown_error_) return;
  shown_error_ = error;
  boxes_.Show(std::to_string(error), "", BoxIcon::kNone);
}

}  // namespace vexolo
