#include "lyrics/lyric_window.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QList>
#include <QPalette>
#include <QScreen>
#include <algorithm>
#include <chrono>
#include <utility>

#include "settings/window_place.h"

namespace vexolo {

namespace {

constexpr const char* kSection = "Paroles";          ///< place, size, language texts
constexpr const char* kShowSection = "Lyrics";       ///< whether the window is shown
constexpr int kBelowTheView = 15;                    ///< pixels of the window under the surface
constexpr std::chrono::milliseconds kForLetters{4};  ///< of each tick, while they are made
constexpr QSize kSmallest = {200, 120};
constexpr QSize kUsual = {640, 420};
constexpr int kPointerRest = 2000;  ///< milliseconds after which the pointer is in the way

LyricKey KeyOf(const QKeyEvent& event) {
  const int key = event.key();
  if (key == Qt::Key_Minus) return LyricKey::kPadMinus;
  if (key == Qt::Key_Plus) return LyricKey::kPadPlus;
  const bool is_digit = key >= Qt::Key_0 && key <= Qt::Key_9;
  if (!is_digit || !event.modifiers().testFlag(Qt::KeypadModifier)) return LyricKey::kOther;
  return static_cast<LyricKey>(static_cast<int>(LyricKey::kPad0) + key - Qt::Key_0);
}

QColor ColourOf(std::uint32_t value) {
  return QColor(static_cast<int>(value & 0xFF), static_cast<int>((value >> 8) & 0xFF),
                static_cast<int>((value >> 16) & 0xFF));
}

}  // namespace

OGLWin::OGLWin(const WindowContext& context, QWidget* main_window, LyricWindowParts parts)
    : CompanionWindow(context, main_window, kSection, PlaceFrom::kMainWindow),
      parts_(std::move(parts)),
      scene_(context.ini),
      view_(new VueOpenGL(parts_.surface_steps)),
      container_(QWidget::createWindowContainer(view_, this)),
      options_(LoadLyricViewOptions(context.ini)),
      menu_(new LyricMenu(this, MenuChoices())) {
  setWindowFlags(Qt::Window);  // it can be enlarged, unlike the small ones beside the panel
  setObjectName("OGLWin");
  container_->setFocusPolicy(Qt::StrongFocus);
  setFocusProxy(container_);
  setMinimumSize(kSmallest);
  resize(kUsual);
  timer_.setTimerType(Qt::PreciseTimer);
  QObject::connect(&timer_, &QTimer::timeout, this, [this] { TimerTick(); });
  pointer_timer_.setSingleShot(true);
  pointer_timer_.setInterval(kPointerRest);
  QObject::connect(&pointer_timer_, &QTimer::timeout, this,
                   [this] { view_->setCursor(Qt::BlankCursor); });
  ConnectView();
  ReadRefreshRate();
  ApplyTheme();
  ApplyOnTop();
  scene_.EffaceLyrics();
  LoadLanguage();
}

OGLWin::~OGLWin() { Unload(); }

void OGLWin::LoadLanguage() {
  const LanguageSection texts = context().Section(kSection);
  setWindowTitle(Q(texts.Text("Caption")));
  container_->setAccessibleName(windowTitle());
  menu_->LoadLanguage(texts);
}

void OGLWin::ConnectView() {
  view_->on_expose = [this] {
    if (is_loaded_ && !is_drawing_ && view_->MakeCurrent()) Rendu_VueOpenGL();
  };
  view_->on_key = [this](QKeyEvent& event) { KeyDown(event); };
  view_->on_key_up = [this](QKeyEvent& event) { keyReleaseEvent(&event); };
  view_->on_menu = [this](QPoint at) { ShowMenu(at); };
  view_->on_double_click = [this] { ChooseFullScreen(!options_.full_screen); };
  view_->on_wheel = [this](int steps) { Zoom(steps); };
  view_->on_mouse_move = [this] { ShowPointer(); };
}

// ---- Load and unload

void OGLWin::setVisible(bool visible) {
  if (visible && !is_loaded_ && !Load()) return;
  if (visible && options_.full_screen && !isFullScreen()) {
    ApplyFullScreen();  // comes back here
    return;
  }
  CompanionWindow::setVisible(visible);
}

bool OGLWin::Load() {
  RestoreExtent();
  Resize();
  if (!view_->InitOpenGL()) {
    context().boxes.Show("Problème initilisation OpenGL !", "", BoxIcon::kCritical);
    Unload();
    return false;
  }
  OutlineSource* outlines = parts_.outlines != nullptr ? parts_.outlines : &toolkit_outlines_;
  painter_ = std::make_unique<LyricPainter>(*outlines, context().boxes, parts_.text_steps);
  if (!painter_->Prepare()) {
    Unload();
    return false;
  }
  UpdateViewport();
  winId();  // there is a window handle from here on
  QObject::connect(windowHandle(), &QWindow::screenChanged, this, [this] { ReadRefreshRate(); });
  is_loaded_ = true;
  return true;
}

void OGLWin::Unload() {
  timer_.stop();
  painter_.reset();
  view_->CloseOpenGL();
  if (std::exchange(is_loaded_, false)) WriteExtentNow();
}

void OGLWin::RestoreExtent() {
  const auto kept = ReadExtent(context().ini, kSection);
  if (!kept) return;
  const QSize most = screen()->geometry().size();
  resize(QSize(kept->width, kept->height).boundedTo(most).expandedTo(kSmallest));
}

void OGLWin::WriteExtentNow() {
  QSize extent = size();
  if (isFullScreen()) {
    extent = ordinary_place_.size();
  } else if (isMaximized()) {
    extent = normalGeometry().size();
  }
  if (!extent.isEmpty()) WriteExtent(context().ini, kSection, {extent.width(), extent.height()});
}

void OGLWin::SaveLyricsWindowOffset() {
  if (!context().quitting && !options_.full_screen) SavePlace();
}

// Closing by the user: the window stays closed at the next start.
void OGLWin::StoreClosed() {
  CompanionWindow::StoreClosed();
  WriteShow(context().ini, kShowSection, false);
}

void OGLWin::closeEvent(QCloseEvent* event) {
  CompanionWindow::closeEvent(event);
  if (event->isAccepted()) Unload();
}

// ---- Frames

void OGLWin::Rendu_VueOpenGL() {
  is_drawing_ = true;
  const std::optional<std::int64_t> tick = painter_->has_letters() ? SongTick() : std::nullopt;
  painter_->Paint(scene_.BuildFrame(parts_.model, painter_->glyphs(), tick));
  view_->SwapBuffers();
  shows_song_ = tick.has_value();
  is_drawing_ = false;
}

bool OGLWin::IsReady() const { return painter_ && painter_->is_complete(); }

void OGLWin::BuildLetters() {
  is_drawing_ = true;
  const Text3D::Progress progress = painter_->BuildLetters(kForLetters);
  is_drawing_ = false;
  if (progress != Text3D::Progress::kFailed) return;
  Unload();
  close();
}

void OGLWin::TimerTick() {
  const double elapsed =
      since_tick_.isValid() ? static_cast<double>(since_tick_.nsecsElapsed()) / 1e6 : 0;
  since_tick_.start();
  const bool has_song = parts_.audio.stream != 0;
  const bool has_something_new = (has_song || shows_song_) && view_->isExposed();
  if (is_loaded_ && !is_drawing_ && (has_something_new || !IsReady()) && view_->MakeCurrent()) {
    BuildLetters();
    if (is_loaded_ && has_something_new) Rendu_VueOpenGL();
  }
  scene_.Tick(TicksPassed(elapsed, interval_));
}

std::optional<std::int64_t> OGLWin::SongTick() const {
  if (parts_.audio.stream == 0) return std::nullopt;
  const bass::QWORD tick =
      parts_.api.BASS_ChannelGetPosition(parts_.audio.stream, bass::BASS_POS_MIDI_TICK);
  if (tick == bass::kError64) return std::nullopt;
  return static_cast<std::int64_t>(tick);
}

void OGLWin::ReadRefreshRate() {
  interval_ = RefreshInterval(screen() ? screen()->refreshRate() : 0);
  timer_.setInterval(interval_);
  scene_.set_refresh_interval(interval_);
}

void OGLWin::showEvent(QShowEvent* event) {
  CompanionWindow::showEvent(event);
  ReadRefreshRate();
  since_tick_.invalidate();
  timer_.start();
}

void OGLWin::hideEvent(QHideEvent* event) {
  CompanionWindow::hideEvent(event);
  timer_.stop();
  SaveLyricsWindowOffset();
}

// ---- Place and size

void OGLWin::resizeEvent(QResizeEvent* event) {
  CompanionWindow::resizeEvent(event);
  Resize();
}

void OGLWin::Resize() {
  const int foot = options_.full_screen ? 0 : kBelowTheView;
  container_->setGeometry(0, 0, width(), std::max(height() - foot, 1));
  if (is_loaded_ && view_->MakeCurrent()) UpdateViewport();
  scene_.EffaceLyrics();
  scene_.DisplayLyrics(scene_.mark_index());
}

void OGLWin::UpdateViewport() {
  const QSize pixels = container_->size() * devicePixelRatio();
  painter_->SetViewport(pixels.width(), pixels.height());
}

void OGLWin::moveEvent(QMoveEvent* event) {
  if (!options_.full_screen) CompanionWindow::moveEvent(event);
}

void OGLWin::Follow(QPoint by) {
  if (isFullScreen()) {
    ordinary_place_.translate(by);
  } else {
    CompanionWindow::Follow(by);
  }
}

// ---- What the user chooses

void OGLWin::keyPressEvent(QKeyEvent* event) { KeyDown(*event); }

void OGLWin::KeyDown(QKeyEvent& event) {
  const LyricKey zoom_key = KeyOf(event);
  scene_.KeyDown(zoom_key);
  const bool with_shift = event.modifiers().testFlag(Qt::ShiftModifier);
  if (event.key() == Qt::Key_F11) {
    with_shift ? ChooseSecondScreen(!options_.second_screen)
               : ChooseFullScreen(!options_.full_screen);
  } else if (event.key() == Qt::Key_Escape) {
    ChooseFullScreen(false);
  } else if (event.key() == Qt::Key_T && event.modifiers() == Qt::NoModifier) {
    ChooseOnTop(!options_.on_top);
  } else if (event.key() == Qt::Key_C && event.modifiers() == Qt::NoModifier) {
    ChooseTheme((options_.theme + 1) % kLyricThemeCount);
  } else if (zoom_key == LyricKey::kOther) {
    CompanionWindow::keyPressEvent(&event);
  }
}

void OGLWin::Zoom(int steps) {
  const LyricKey key = steps > 0 ? LyricKey::kPadPlus : LyricKey::kPadMinus;
  for (int i = std::min(std::abs(steps), kLyricZoomMax); i > 0; --i) scene_.KeyDown(key);
}

void OGLWin::ChooseFullScreen(bool full_screen) {
  SaveLyricsWindowOffset();  // the place from which it leaves
  const LyricViewOptions before = options_;
  options_.full_screen = full_screen;
  SaveLyricViewOptions(context().ini, options_, before);
  if (options_ != before) ApplyFullScreen();
}

void OGLWin::ChooseSecondScreen(bool second_screen) {
  const LyricViewOptions before = options_;
  options_.second_screen = second_screen;
  SaveLyricViewOptions(context().ini, options_, before);
  if (!isFullScreen()) return;
  showNormal();  // a full-screen window does not move
  setGeometry(ordinary_place_);
  ApplyFullScreen();
}

void OGLWin::ApplyFullScreen() {
  ShowPointer();
  if (!options_.full_screen) {
    showNormal();
    if (ordinary_place_.isValid()) setGeometry(ordinary_place_);
    return;
  }
  ordinary_place_ = geometry();
  QScreen* target = TargetScreen();
  if (target != screen()) setScreen(target);
  setGeometry(target->geometry());
  showFullScreen();
}

/// Full screen belongs to the words: a pointer at rest disappears.
void OGLWin::ShowPointer() {
  view_->unsetCursor();
  if (options_.full_screen) {
    pointer_timer_.start();
  } else {
    pointer_timer_.stop();
  }
}

QScreen* OGLWin::TargetScreen() const {
  const QList<QScreen*> screens = ReachableScreens();
  const auto place_of = [&](QScreen* screen) {
    return static_cast<int>(std::max<qsizetype>(screens.indexOf(screen), 0));
  };
  const int own = place_of(screen());
  const int main = main_window() != nullptr ? place_of(main_window()->screen()) : own;
  return screens[FullScreenTarget(static_cast<int>(screens.size()), main, own,
                                  options_.second_screen)];
}

/// Those of the same desktop: its own is always among them.
QList<QScreen*> OGLWin::ReachableScreens() const { return screen()->virtualSiblings(); }

void OGLWin::ChooseOnTop(bool on_top) {
  const LyricViewOptions before = options_;
  options_.on_top = on_top;
  SaveLyricViewOptions(context().ini, options_, before);
  ApplyOnTop();
}

/// A window that is there keeps its surface: changing the flags of the widget would make it anew.
void OGLWin::ApplyOnTop() {
  Qt::WindowFlags flags = windowFlags();
  flags.setFlag(Qt::WindowStaysOnTopHint, options_.on_top);
  if (QWindow* window = windowHandle()) {
    window->setFlag(Qt::WindowStaysOnTopHint, options_.on_top);
    overrideWindowFlags(flags);
  } else {
    setWindowFlags(flags);
  }
}

void OGLWin::ChooseTheme(int theme) {
  const LyricViewOptions before = options_;
  options_.theme = theme;
  SaveLyricViewOptions(context().ini, options_, before);
  ApplyTheme();
}

void OGLWin::ApplyTheme() {
  scene_.set_theme(options_.theme);
  QPalette colours = palette();
  colours.setColor(QPalette::Window, ColourOf(scene_.colours().background));
  setPalette(colours);
  if (is_loaded_ && !is_drawing_ && view_->isExposed() && view_->MakeCurrent()) Rendu_VueOpenGL();
}

void OGLWin::ChooseCodePage(std::int16_t page) {
  parts_.model.code_pages().set_forced(page);
  if (parts_.store_code_page) parts_.store_code_page(page);
}

LyricMenuChoices OGLWin::MenuChoices() {
  return {.full_screen = [this](bool on) { ChooseFullScreen(on); },
          .second_screen = [this](bool on) { ChooseSecondScreen(on); },
          .on_top = [this](bool on) { ChooseOnTop(on); },
          .nearer = [this](int steps) { Zoom(steps); },
          .theme = [this](int theme) { ChooseTheme(theme); },
          .code_page = [this](std::int16_t page) { ChooseCodePage(page); },
          .close = [this] { close(); }};
}

LyricMenu& OGLWin::PrepareMenu() {
  const bool is_converting = parts_.is_converting && parts_.is_converting();
  menu_->ShowState({.options = options_,
                    .has_other_screen = ReachableScreens().size() > 1,
                    .zoom = scene_.zoom(),
                    .takes_code_page = parts_.audio.stream != 0 && !is_converting,
                    .code_page = parts_.model.code_pages().forced()});
  return *menu_;
}

void OGLWin::ShowMenu(QPoint at) { PrepareMenu().popup(at); }

}  // namespace vexolo
