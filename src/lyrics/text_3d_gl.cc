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

/// A letter's front.
struct Surface {
  std::vector<OutlinePoint> points;
  std::vector<Triangle> triangles;
};

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

  /// False where it failed.
  bool Fill(const std::vector<Contour>& contours, Surface& surface) {
    if (!tess_) return false;
    surface = {};
    surface_ = &surface;
    corners_.clear();
    found_.clear();
    failed_ = false;
    gluTessBeginPolygon(tess_.get(), this);
    for (const Contour& contour : contours) {
      gluTessBeginContour(tess_.get());
      for (const ContourPoint& point : contour) {
        Corner& corner = AddCorner({point.at.x, point.at.y, 0});
        gluTessVertex(tess_.get(), corner.at.data(), &corner);
      }
      gluTessEndContour(tess_.get());
    }
    gluTessEndPolygon(tess_.get());
    if (failed_ || found_.size() % 3 != 0) return false;
    for (std::size_t i = 0; i < found_.size(); i += 3) {
      surface.triangles.push_back({found_[i], found_[i + 1], found_[i + 2]});
    }
    return true;
  }

 private:
  struct Corner {
    std::array<GLdouble, 3> at;
    int place;  ///< among the points of the surface
  };

  Corner& AddCorner(const std::array<GLdouble, 3>& at) {
    corners_.push_back({at, static_cast<int>(surface_->points.size())});
    surface_->points.push_back({at[0], at[1]});
    return corners_.back();
  }

  static void CALLBACK TakeVertex(void* corner, void* self) {
    static_cast<Tessellator*>(self)->found_.push_back(static_cast<const Corner*>(corner)->place);
  }
  static void CALLBACK Combine(const GLdouble* at, void** /*corners*/, const GLfloat* /*weights*/,
                               void** made, void* self) {
    *made = &static_cast<Tessellator*>(self)->AddCorner({at[0], at[1], at[2]});
  }
  static void CALLBACK TakeError(GLenum /*error*/, void* self) {
    static_cast<Tessellator*>(self)->failed_ = true;
  }
  static void CALLBACK IgnoreEdge(GLboolean /*is_edge*/) {}

  std::unique_ptr<GLUtesselator, decltype(&gluDeleteTess)> tess_;
  std::deque<Corner> corners_;  ///< the tessellator keeps pointers to them
  std::vector<int> found_;      ///< corners of triangles, three by three
  Surface* surface_ = nullptr;
  bool failed_ = false;
};

void Vertex(const OutlinePoint& at, double z) { glVertex3d(at.x, at.y, z); }
void Normal(const OutlinePoint& normal) { glNormal3d(normal.x, normal.y, 0); }

void DrawFront(const Surface& surface) {
  glNormal3d(0, 0, 1);
  for (const Triangle& triangle : surface.triangles) {
    for (const int corner : triangle) Vertex(surface.points[static_cast<std::size_t>(corner)], 0);
  }
}

void DrawBack(const Surface& surface) {
  glNormal3d(0, 0, -1);
  for (const auto& [a, b, c] : surface.triangles) {
    for (const int corner : {a, c, b}) {
      Vertex(surface.points[static_cast<std::size_t>(corner)], -kExtrusion);
    }
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
  font_ = {};
  font_.height = height;
  font_.weight = weight;
  font_.italic = italic;
  font_.face_name = face;
  glColor3f(colour.red, colour.green, colour.blue);
  has_font_ = false;
  next_code_ = 0;
  list_base_ = list_base = steps_.reserve_lists(kGlyphLists);
  if (list_base_ != 0) return true;
  boxes_.Show("Impossible de créer la police de caractère", "", BoxIcon::kNone);
  return false;
}

Text3D::Progress Text3D::BuildGlyphs(std::chrono::milliseconds most) {
  if (list_base_ == 0) return Progress::kFailed;
  const auto end = std::chrono::steady_clock::now() + most;
  while (next_code_ < kGlyphLists) {
    if (!BuildNextList()) return Fail();
    if (next_code_ < kGlyphLists && std::chrono::steady_clock::now() >= end) {
      return Progress::kGoesOn;
    }
  }
  ReleaseSource();
  has_font_ = true;
  return Progress::kDone;
}

void Text3D::set_flatness(double flatness) {
  if (flatness == flatness_) return;
  flatness_ = flatness;
  next_code_ = 0;
}

bool Text3D::BuildNextList() {
  if (!is_selected_ && !source_.Select(font_)) return false;
  is_selected_ = true;
  return BuildList(next_code_++);
}

bool Text3D::BuildList(int code) {
  OutlineGlyph glyph;
  if (!source_.ReadGlyph(code, glyph)) return false;
  const std::vector<Contour> contours = FlattenOutline(glyph.outline, flatness_);
  Surface surface;
  if (!Tessellator().Fill(contours, surface)) return false;
  MakeCompact(surface.points, surface.triangles);
  glyphs_[static_cast<std::size_t>(code)] = MetricsFor(BoxOf(contours), glyph.advance);
  glNewList(list_base_ + static_cast<unsigned>(code), GL_COMPILE);
  glBegin(GL_TRIANGLES);
  DrawFront(surface);
  DrawBack(surface);
  for (const SideFace& face : SideFaces(contours)) DrawSide(face);
  glEnd();
  glTranslated(glyph.advance, 0, 0);
  glEndList();
  return steps_.last_error() == GL_NO_ERROR;
}

void Text3D::ReleaseSource() {
  if (std::exchange(is_selected_, false)) source_.Release();
}

Text3D::Progress Text3D::Fail() {
  ReleaseSource();
  glDeleteLists(std::exchange(list_base_, 0), kGlyphLists);
  glyphs_ = {};
  has_font_ = false;
  boxes_.Show("Impossible de créer la police de caractères", "", BoxIcon::kNone);
  return Progress::kFailed;
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
