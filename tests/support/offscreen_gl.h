/// An OpenGL context that draws into a picture.
#pragma once

#include <QImage>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <memory>
#include <string>

#include "platform/opengl.h"

namespace vexolo {

class OffscreenGl {
 public:
  OffscreenGl(int width, int height) {
    surface_.create();
    if (!context_.create() || !context_.makeCurrent(&surface_)) return;
    picture_ =
        std::make_unique<QOpenGLFramebufferObject>(width, height, QOpenGLFramebufferObject::Depth);
    is_there_ = picture_->bind();
  }
  ~OffscreenGl() {
    picture_.reset();
    context_.doneCurrent();
  }
  OffscreenGl(const OffscreenGl&) = delete;
  OffscreenGl& operator=(const OffscreenGl&) = delete;

  bool is_there() const { return is_there_; }
  /// Whether the processor draws, the same on every machine.
  bool IsSoftware() const { return Renderer().find("llvmpipe") != std::string::npos; }
  std::string Renderer() const {
    const auto* name = context_.functions()->glGetString(GL_RENDERER);
    return name ? reinterpret_cast<const char*>(name) : "";
  }
  QImage Picture() const { return picture_->toImage().convertToFormat(QImage::Format_RGB32); }

 private:
  QOffscreenSurface surface_;
  QOpenGLContext context_;
  std::unique_ptr<QOpenGLFramebufferObject> picture_;
  bool is_there_ = false;
};

}  // namespace vexolo
