/// The windows beside the main one: channel settings, reverb, lyrics, playlist.
#pragma once

#include <QPoint>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <string>

#include "widgets/window_context.h"

namespace vexolo {

/// A window that keeps its place in the settings, follows the main window and is hidden rather than
/// destroyed when the user closes it. Window thread only.
class CompanionWindow : public QWidget {
 public:
  /// What its place in the settings is counted from.
  enum class PlaceFrom { kScreen, kMainWindow };

  /// `section`: of the settings, for "X" and "Y". `main_window` may be null in tests.
  CompanionWindow(const WindowContext& context, QWidget* main_window, std::string section,
                  PlaceFrom place_from = PlaceFrom::kScreen);

  /// Takes all captions from the language file in use.
  virtual void LoadLanguage() = 0;

  /// Goes to the place that the settings keep, else to `beside` the main window (offset of the top
  /// left corners). A place outside every screen counts as none.
  virtual void RestorePlace(QPoint beside);

  /// Moves with the main window, whose top left corner has moved by `by`.
  virtual void Follow(QPoint by);

  /// Called after the user has closed the window: the place to draw its button released.
  void set_closed_by_user(std::function<void()> closed) { closed_by_user_ = std::move(closed); }

  const std::string& section() const { return section_; }

  /// Writes the place now, where a move has not been written yet.
  void SavePlace();

 protected:
  const WindowContext& context() const { return context_; }
  QWidget* main_window() const { return main_window_; }

  /// Writes that the window is closed: "Show" = "0". Override where more is to be written.
  virtual void StoreClosed();

  /// Keys that no control has taken are the main window's: they play, stop and seek here too.
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void moveEvent(QMoveEvent* event) override;

 private:
  WindowContext context_;
  QWidget* main_window_;
  std::string section_;
  PlaceFrom place_from_;
  std::function<void()> closed_by_user_;
  QTimer save_timer_;  ///< a drag moves a window many times a second; its end is what is kept
};

}  // namespace vexolo
