/// The window that shows the lyrics in 3D.
#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QTimer>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "audio/audio_state.h"
#include "audio/bass.h"
#include "lyrics/lyric_menu_widget.h"
#include "lyrics/lyric_model.h"
#include "lyrics/lyric_painter_gl.h"
#include "lyrics/lyric_scene.h"
#include "lyrics/lyric_view_options.h"
#include "lyrics/outline_font_widget.h"
#include "lyrics/vue_opengl_widget.h"
#include "widgets/companion_window.h"

namespace vexolo {

/// What the lyric window shows, and what it is made with. The objects must outlive it.
struct LyricWindowParts {
  const bass::Api& api;
  const AudioState& audio;  ///< with the stream of the song
  LyricModel& model;
  /// Keeps the code page that the user has chosen for the song; may be empty.
  std::function<void(std::int16_t page)> store_code_page{};
  /// A conversion that is under way would not know of another code page; may be empty.
  std::function<bool()> is_converting{};
  SurfaceSteps surface_steps = UsualSurfaceSteps();
  TextSteps text_steps = UsualTextSteps();
  OutlineSource* outlines = nullptr;  ///< null: the toolkit's fonts
};

/// Draws from a timer while it is visible. OpenGL is brought up when the window is first shown;
/// where that fails the reason is shown and the window stays hidden. The letters are made then,
/// some at each tick; where that fails the reason is shown and the window closes. Window thread
/// only.
class OGLWin final : public CompanionWindow {
 public:
  OGLWin(const WindowContext& context, QWidget* main_window, LyricWindowParts parts);
  ~OGLWin() override;

  /// What the lyric model speaks to: `EffaceLyrics`, and `DisplayLyrics` from any thread.
  LyricScene& scene() { return scene_; }

  void LoadLanguage() override;

  /// Draws one frame into the context, which must be current, and shows it: only the background
  /// while there are no letters yet.
  void Rendu_VueOpenGL();

  /// One tick of the refresh timer: some letters where there are none yet, a frame where a song is
  /// loaded (and one more when it is gone), then the flash fades.
  void TimerTick();

  /// Whether all letters are there, as fine as the window's size asks for.
  bool IsReady() const;

  const LyricViewOptions& options() const { return options_; }
  VueOpenGL& view() { return *view_; }
  /// The context menu as it would open now.
  LyricMenu& PrepareMenu();

  /// Loads the window before it is shown for the first time.
  void setVisible(bool visible) override;
  void Follow(QPoint by) override;

 protected:
  void StoreClosed() override;
  void closeEvent(QCloseEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  // Load and unload.
  bool Load();
  void Unload();
  void RestoreExtent();
  void WriteExtentNow();
  void SaveLyricsWindowOffset();
  void ConnectView();
  void Resize();
  void UpdateViewport();
  void BuildLetters();

  // What the user chooses.
  void KeyDown(QKeyEvent& event);
  void ChooseFullScreen(bool full_screen);
  void ChooseSecondScreen(bool second_screen);
  void ChooseOnTop(bool on_top);
  void ChooseTheme(int theme);
  void ChooseCodePage(std::int16_t page);
  void ApplyFullScreen();
  void ShowPointer();
  void ApplyOnTop();
  void ApplyTheme();
  void Zoom(int steps);
  QScreen* TargetScreen() const;
  QList<QScreen*> ReachableScreens() const;

  LyricMenuChoices MenuChoices();
  void ShowMenu(QPoint at);

  std::optional<std::int64_t> SongTick() const;
  void ReadRefreshRate();

  const LyricWindowParts parts_;
  LyricScene scene_;
  QtOutlines toolkit_outlines_;
  std::unique_ptr<LyricPainter> painter_;
  VueOpenGL* view_;     ///< belongs to container_
  QWidget* container_;  ///< puts the surface into this window
  QTimer timer_;
  QTimer pointer_timer_;
  QElapsedTimer since_tick_;
  int interval_ = 0;
  bool is_loaded_ = false;
  bool is_drawing_ = false;  ///< a box may be open in the middle of a frame, or of making letters
  bool shows_song_ = false;  ///< the last frame had a song

  LyricViewOptions options_;
  QRect ordinary_place_;  ///< of the window when it is not full-screen

  LyricMenu* menu_;
};

}  // namespace vexolo
