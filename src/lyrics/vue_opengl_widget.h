/// The drawing surface of the lyric window.
#pragma once

#include <QOpenGLContext>
#include <QPoint>
#include <QSurfaceFormat>
#include <QWindow>
#include <functional>
#include <memory>
#include <optional>

namespace vexolo {

/// What brings OpenGL up; tests put their own in place.
struct SurfaceSteps {
  /// Nothing where no format can be had.
  std::function<std::optional<QSurfaceFormat>()> choose_format;
  std::function<bool(QOpenGLContext& context)> create;
  std::function<bool(QOpenGLContext& context, QSurface& surface)> make_current;
};
SurfaceSteps UsualSurfaceSteps();

/// A surface with an OpenGL context of its own, so that the display lists made first are number 1
/// and up. Reports what is done to it. Window thread only.
class VueOpenGL final : public QWindow {
 public:
  explicit VueOpenGL(SurfaceSteps steps = UsualSurfaceSteps());
  ~VueOpenGL() override;

  /// Pixel format, context, made current. False where one of them cannot be had; nothing is left
  /// then.
  bool InitOpenGL();
  /// Releases and deletes the context.
  void CloseOpenGL();
  bool HasContext() const { return context_ != nullptr; }
  bool MakeCurrent();
  void SwapBuffers();

  // May be empty.
  std::function<void()> on_expose;  ///< it has to be drawn again
  std::function<void(QKeyEvent& event)> on_key;
  std::function<void(QKeyEvent& event)> on_key_up;
  std::function<void(QPoint at)> on_menu;  ///< where on the screen
  std::function<void()> on_double_click;
  std::function<void(int steps)> on_wheel;  ///< away from the user: above 0
  std::function<void()> on_mouse_move;

 protected:
  void exposeEvent(QExposeEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;

 private:
  const SurfaceSteps steps_;
  std::unique_ptr<QOpenGLContext> context_;
  int wheel_rest_ = 0;  ///< eighths of a degree that make no notch yet
};

}  // namespace vexolo
