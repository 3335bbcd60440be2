#include "lyrics/vue_opengl_widget.h"

#include <QExposeEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QOffscreenSurface>
#include <QOpenGLFunctions>
#include <QWheelEvent>
#include <string_view>
#include <utility>

#include "lyrics/lyric_view_options.h"

namespace vexolo {

namespace {

constexpr int kColourBits = 8;  ///< for each component
constexpr int kDepthBits = 16;
constexpr int kNotch = 120;  ///< of the wheel, in eighths of a degree

QSurfaceFormat PlainFormat() {
  QSurfaceFormat format;
  format.setRenderableType(QSurfaceFormat::OpenGL);
  format.setProfile(QSurfaceFormat::NoProfile);  // the functions of version 1.1
  format.setSwapBehavior(QSurfaceFormat::DoubleBuffer);
  format.setRedBufferSize(kColourBits);
  format.setGreenBufferSize(kColourBits);
  format.setBlueBufferSize(kColourBits);
  format.setAlphaBufferSize(0);
  format.setDepthBufferSize(kDepthBits);
  format.setStencilBufferSize(0);
  return format;
}

/// Asks who draws, by means of a context that nobody sees: the number of samples has to be known
/// before the surface is made.
std::optional<QSurfaceFormat> ChooseFormat() {
  QSurfaceFormat format = PlainFormat();
  QOffscreenSurface nowhere;
  nowhere.setFormat(format);
  nowhere.create();
  QOpenGLContext probe;
  probe.setFormat(format);
  if (!probe.create() || !probe.makeCurrent(&nowhere)) return std::nullopt;
  const GLubyte* renderer = probe.functions()->glGetString(GL_RENDERER);
  format.setSamples(SamplesFor(renderer ? reinterpret_cast<const char*>(renderer) : ""));
  probe.doneCurrent();
  return format;
}

}  // namespace

SurfaceSteps UsualSurfaceSteps() {
  return {ChooseFormat, [](QOpenGLContext& context) { return context.create(); },
          [](QOpenGLContext& context, QSurface& surface) { return context.makeCurrent(&surface); }};
}

VueOpenGL::VueOpenGL(SurfaceSteps steps) : steps_(std::move(steps)) {
  setSurfaceType(QSurface::OpenGLSurface);
}

VueOpenGL::~VueOpenGL() { CloseOpenGL(); }

bool VueOpenGL::InitOpenGL() {
  CloseOpenGL();
  const std::optional<QSurfaceFormat> format = steps_.choose_format();
  if (!format) return false;
  setFormat(*format);
  create();
  context_ = std::make_unique<QOpenGLContext>();
  context_->setFormat(*format);
  if (steps_.create(*context_) && steps_.make_current(*context_, *this)) return true;
  context_.reset();
  return false;
}

void VueOpenGL::CloseOpenGL() {
  if (!context_) return;
  context_->doneCurrent();
  context_.reset();
}

bool VueOpenGL::MakeCurrent() { return context_ && context_->makeCurrent(this); }

void VueOpenGL::SwapBuffers() { context_->swapBuffers(this); }

void VueOpenGL::exposeEvent(QExposeEvent*) {
  if (isExposed() && on_expose) on_expose();
}

void VueOpenGL::keyPressEvent(QKeyEvent* event) {
  if (on_key) on_key(*event);
}

void VueOpenGL::keyReleaseEvent(QKeyEvent* event) {
  if (on_key_up) on_key_up(*event);
}

void VueOpenGL::mousePressEvent(QMouseEvent* event) {
  requestActivate();
  if (event->button() == Qt::RightButton && on_menu) on_menu(event->globalPosition().toPoint());
}

void VueOpenGL::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton && on_double_click) on_double_click();
}

void VueOpenGL::mouseMoveEvent(QMouseEvent*) {
  if (on_mouse_move) on_mouse_move();
}

void VueOpenGL::wheelEvent(QWheelEvent* event) {
  wheel_rest_ += event->angleDelta().y();
  const int steps = wheel_rest_ / kNotch;
  wheel_rest_ -= steps * kNotch;
  if (steps != 0 && on_wheel) on_wheel(steps);
}

}  // namespace vexolo
