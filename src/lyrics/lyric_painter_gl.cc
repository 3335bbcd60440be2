#include "lyrics/lyric_painter_gl.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <utility>

#include "platform/opengl.h"

namespace vexolo {

namespace {

constexpr const char* kFace = "Comic Sans MS";
constexpr int kFontHeight = 144;
constexpr int kBold = 700;
constexpr Rgb kFontColour = {0.7f, 0.5f, 0.1f};

constexpr double kFieldOfView = 40;  // degrees, upright
constexpr double kNearest = 1;
constexpr double kFarthest = 100;

constexpr double kMostPixelsOff = 0.25;
constexpr double kNearestText = 9.5;  ///< from the camera, at zoom 0
constexpr double kLowestStep = 768;   ///< in pixels

void SetUpState() {
  glClearColor(0, 0, 0, 0);
  glShadeModel(GL_SMOOTH);
  glEnable(GL_CULL_FACE);
  glFrontFace(GL_CCW);
  glEnable(GL_DEPTH_TEST);
  glClearDepth(1);
  glDepthFunc(GL_LEQUAL);
  glBlendFunc(GL_SRC_ALPHA, GL_DST_ALPHA);
  glEnable(GL_COLOR_MATERIAL);
}

/// The light stands behind the letters, to the upper left: their fronts show the plain colour, and
/// the edges that look its way shine.
void SetUpLight() {
  constexpr std::array<GLfloat, 4> kWhite = {1, 1, 1, 1};
  constexpr std::array<GLfloat, 4> kPosition = {-10, 10, -100, 1};
  glEnable(GL_LIGHTING);
  glLightfv(GL_LIGHT1, GL_AMBIENT, kWhite.data());
  glLightfv(GL_LIGHT1, GL_DIFFUSE, kWhite.data());
  glLightfv(GL_LIGHT1, GL_SPECULAR, kWhite.data());
  glLightfv(GL_LIGHT1, GL_POSITION, kPosition.data());
  glMaterialfv(GL_FRONT, GL_SPECULAR, kWhite.data());
  glMaterialf(GL_FRONT, GL_SHININESS, 1);
  glEnable(GL_LIGHT1);
}

/// Of what is seen at a distance.
double HalfHeight(double distance) {
  return std::tan(kFieldOfView / 2 * std::numbers::pi / 180) * distance;
}

/// Whether a text's line crosses the view at all: accents reach up to 1.2 above the base line,
/// descenders 0.5 below it.
bool IsInView(const LyricText& text, float distance) {
  const double half_height = HalfHeight(double{distance} - text.z);
  return text.y + 1.2 > -half_height && text.y - 0.5 < half_height;
}

}  // namespace

double FlatnessFor(int height) {
  double step = kLowestStep;
  while (step < height) step *= std::numbers::sqrt2;
  return kMostPixelsOff * 2 * HalfHeight(kNearestText) / step;
}

LyricPainter::LyricPainter(OutlineSource& source, MessageBoxes& boxes, TextSteps steps)
    : text_(source, boxes, std::move(steps)) {}

bool LyricPainter::Prepare() {
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  SetUpState();
  SetUpLight();
  return text_.CreateOutlineFont(list_base_, kFace, kFontHeight, kBold, false, kFontColour);
}

void LyricPainter::SetViewport(int width, int height) {
  width = std::max(width, 1);
  height = std::max(height, 1);
  glViewport(0, 0, width, height);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  text_.set_flatness(FlatnessFor(height));
  gluPerspective(kFieldOfView, static_cast<double>(width) / height, kNearest, kFarthest);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
}

void LyricPainter::Paint(const LyricFrame& frame) {
  glClearColor(frame.background.red, frame.background.green, frame.background.blue, 1);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glLoadIdentity();
  gluLookAt(0, 0, -double{frame.distance}, 0, 0, 0, 0, 1, 0);
  glRotatef(0, 1, 0, 0);
  glRotatef(180, 0, 1, 0);
  glRotatef(0, 0, 0, 1);
  for (const LyricText& text : frame.texts) {
    if (!IsInView(text, frame.distance)) continue;
    text_.DrawText3D(frame.Text(text), text.x, text.y, text.z, text.colour);
  }
}

}  // namespace vexolo
