#include "widgets/companion_window.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <algorithm>

#include "settings/window_place.h"

namespace vexolo {
namespace {

constexpr int kSaveDelay = 200;  // milliseconds

bool IsOnAScreen(const QRect& window) {
  const QList<QScreen*> screens = QGuiApplication::screens();
  return std::any_of(screens.begin(), screens.end(), [&window](const QScreen* screen) {
    return screen->geometry().intersects(window);
  });
}

}  // namespace

CompanionWindow::CompanionWindow(const WindowContext& context, QWidget* main_window,
                                 std::string section, PlaceFrom place_from)
    : QWidget(main_window, Qt::Tool),
      context_(context),
      main_window_(main_window),
      section_(std::move(section)),
      place_from_(place_from) {
  save_timer_.setSingleShot(true);
  save_timer_.setInterval(kSaveDelay);
  QObject::connect(&save_timer_, &QTimer::timeout, this, [this] { SavePlace(); });
}

void CompanionWindow::RestorePlace(QPoint beside) {
  const QPoint main_corner = main_window_ ? main_window_->pos() : QPoint();
  QPoint corner = main_corner + beside;
  if (const auto place = ReadPlace(context_.ini, section_)) {
    QPoint kept(place->x, place->y);
    if (place_from_ == PlaceFrom::kMainWindow) kept += main_corner;
    if (IsOnAScreen({kept, size()})) corner = kept;
  }
  move(corner);
  save_timer_.stop();  // nothing the user has done
}

void CompanionWindow::Follow(QPoint by) {
  if (!by.isNull()) move(pos() + by);
}

void CompanionWindow::SavePlace() {
  save_timer_.stop();
  QPoint corner = pos();
  if (place_from_ == PlaceFrom::kMainWindow && main_window_) corner -= main_window_->pos();
  WritePlace(context_.ini, section_, {corner.x(), corner.y()});
}

void CompanionWindow::StoreClosed() { WriteShow(context_.ini, section_, false); }

void CompanionWindow::closeEvent(QCloseEvent* event) {
  const IniGroup group(context_.ini);
  if (save_timer_.isActive()) SavePlace();
  if (context_.quitting) {
    event->accept();
    return;
  }
  event->ignore();
  hide();
  StoreClosed();
  if (closed_by_user_) closed_by_user_();
}

void CompanionWindow::keyPressEvent(QKeyEvent* event) {
  if (main_window_) QCoreApplication::sendEvent(main_window_, event);
}

void CompanionWindow::keyReleaseEvent(QKeyEvent* event) {
  if (main_window_) QCoreApplication::sendEvent(main_window_, event);
}

void CompanionWindow::moveEvent(QMoveEvent*) {
  if (isVisible()) save_timer_.start();
}

}  // namespace vexolo
