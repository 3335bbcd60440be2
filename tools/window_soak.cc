/// window_soak BANK SECONDS SEED SONG...: the whole program, windows included, under a hand that
/// clicks, drags, turns and types at random, as fast as the machine renders. Its choices come from
/// the seed. Once a minute it closes everything and looks at the memory; exit status 1 where that
/// has grown. Needs a display; made to be built with a sanitizer, which judges the rest.
#include <QAbstractButton>
#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QDialog>
#include <QDrag>
#include <QLineEdit>
#include <QPointer>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "app/companions.h"
#include "app/main_window.h"
#include "fakes/conversion_bench.h"
#include "tools/soak/restless_hand.h"
#include "widgets/palette.h"

namespace {

using namespace vexolo;

/// Seconds until every window, dialog and letter has been seen: then the toolkit's stores of
/// pictures, letters and icons are full.
constexpr double kWarmUp = 600;
constexpr int kFirstTransportButton = 33;
constexpr int kModalInterval = 40;  ///< milliseconds between two acts in a dialog that waits
constexpr int kMostWaits = 6000;    ///< of 20 milliseconds, for everything to come to its end

/// Nobody reads them; every second question gets a yes.
class SilentBoxes : public MessageBoxes {
 public:
  void Show(const std::string&, const std::string&, BoxIcon) override { ++shown; }
  bool AskYesNo(const std::string&, const std::string&) override { return ++shown % 2 == 0; }
  int shown = 0;
};

class Hand {
 public:
  Hand(ConversionBench& bench, std::vector<std::string> songs, unsigned seed)
      : bench_(bench), songs_(std::move(songs)), random_(seed) {
    // A dialog that waits for its answer, and a menu, run loops of their own: this reaches them.
    // (Posted, because a timer does not fire again while its function runs such a loop.)
    QObject::connect(&modal_timer_, &QTimer::timeout, &modal_timer_, [this] {
      QMetaObject::invokeMethod(
          &modal_timer_, [this] { ActInModal(); }, Qt::QueuedConnection);
    });
    modal_timer_.start(kModalInterval);
  }

  void Step() {
    Act();
    // What was posted and what is due runs.
    QTest::qWait(Draw(4) == 0 ? 30 : 1);
    bench_.files.asked.clear();
    bench_.files.answers = {{bench_.folder / "list.zvp"}};
  }

  /// Nothing is open, nothing under way, and the list is as it was.
  void Rest() {
    rests_ = true;
    for (int i = 0; i < kMostWaits && !IsIdle(); ++i) {
      for (QWidget* dialog : Others()) dialog->close();
      QTest::qWait(20);
    }
    if (!IsIdle()) std::puts("something is still under way after two minutes");
    main().Action_Stop();
    // The lyric window that is only hidden keeps the pictures of its last size, eight megabytes
    // each where it filled the screen; closed, it keeps nothing.
    for (const CompanionInfo& info : kCompanions) {
      CompanionWindow* companion = main().companion(info.companion);
      companion->show();
      companion->close();
    }
    PlayListModel& list = program().state.playlist;
    list.Clear();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QTest::qWait(3000);  // the engine frees beside its callers
    rests_ = false;
  }

  void Report() const {
    std::printf("%d actions:", actions_);
    for (const auto& [name, count] : counts_) std::printf(" %s %d,", name.c_str(), count);
    std::printf(" in dialogs and menus that wait %d\n", modal_actions_);
  }

 private:
  void Act() {
    ++actions_;
    switch (Draw(20)) {
      case 0:
        return Count("play", [&] { main().Action_Play(); });
      case 1:
        return Count("next", [&] { main().Action_Next(); });
      case 2:
        return Count("seek", [&] { Seek(); });
      case 3:
        return Count("companion", [&] { Toggle(); });
      case 4:
        if (Draw(20) == 0)
          return Count("bank", [&] { main().ChangeSF2(bench_.folder / "Orvanel.SF2"); });
        return Draw(3) == 0 ? Count("options", [&] { main().Action_Setup(); })
                            : Count("about", [&] { main().Action_About(); });
      case 5:
        return Draw(2) == 0 ? Count("marker in", [&] { main().Action_PunchIn(); })
                            : Count("marker out", [&] { main().Action_PunchOut(); });
      case 6:
        return Draw(6) == 0 ? Count("record", [&] { main().Action_Record(); })
                            : Count("punch", [&] { main().Action_Punch(); });
      case 7:
        return Count("close", [&] { CloseOne(); });
      case 8:
        return Count("songs", [&] { AddSongs(); });
      case 9:
        return Count("transport", [&] {
          QTest::mouseClick(&main().panel().sm(kFirstTransportButton + Draw(5)), DrawButton());
        });
      case 10:
      case 11:
        return Count("key", [&] { PressKey(DrawWindow()); });
      default:
        return Count("mouse", [&] { UseMouse(DrawWindow()); });
    }
  }

  frmMidiTest& main() { return *bench_.window; }
  Program& program() { return *bench_.program; }

  int Draw(std::size_t count) { return static_cast<int>(random_() % count); }
  Qt::MouseButton DrawButton() { return Draw(6) == 0 ? Qt::RightButton : Qt::LeftButton; }
  QPoint DrawPoint(const QWidget& in) {
    return {Draw(static_cast<std::size_t>(std::max(in.width(), 1))),
            Draw(static_cast<std::size_t>(std::max(in.height(), 1)))};
  }
  template <typename Act>
  void Count(const char* name, const Act& act) {
    ++counts_[name];
    act();
  }

  /// The visible windows but the main one and its companions.
  static std::vector<QWidget*> Others() {
    std::vector<QWidget*> others;
    for (QWidget* top : QApplication::topLevelWidgets()) {
      if (top->isVisible() && qobject_cast<QDialog*>(top)) others.push_back(top);
    }
    return others;
  }
  bool IsIdle() {
    return !program().state.converting && !program().bank_loader.loading() && Others().empty() &&
           QApplication::activePopupWidget() == nullptr;
  }

  /// Any visible window; the main one most often.
  QWidget& DrawWindow() {
    std::vector<QWidget*> windows(3, &main());
    for (QWidget* top : QApplication::topLevelWidgets()) {
      if (top->isVisible()) windows.push_back(top);
    }
    QWidget* const window = windows[static_cast<std::size_t>(Draw(windows.size()))];
    return *window;
  }

  void Seek() {
    PositionSlider& slider = main().panel().slider();
    QTest::mouseClick(&slider, Qt::LeftButton, {}, DrawPoint(slider));
  }
  void Toggle() {
    const CompanionInfo& info = kCompanions[static_cast<std::size_t>(Draw(kCompanions.size()))];
    QTest::mouseClick(&main().panel().sm(info.button), Qt::LeftButton);
  }
  void CloseOne() {
    const std::vector<QWidget*> others = Others();
    if (!others.empty()) others[static_cast<std::size_t>(Draw(others.size()))]->close();
  }
  void AddSongs() {
    const int few = 6;
    if (program().state.playlist.count() > few) return;
    main().GereDrop({songs_[static_cast<std::size_t>(Draw(songs_.size()))]});
  }

  void UseMouse(QWidget& window) {
    const QPoint in_window = DrawPoint(window);
    QWidget* const child = window.childAt(in_window);
    QWidget& widget = child != nullptr ? *child : window;
    if (!widget.isEnabled()) return;
    const QPoint at = widget.mapFrom(&window, in_window);
    switch (Draw(8)) {
      case 0: {
        const QPoint turn(0, Draw(2) == 0 ? 120 : -120);
        QWheelEvent event(at, widget.mapToGlobal(at), {}, turn, {}, {}, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&widget, &event);
        return;
      }
      case 1:
        return QTest::mouseDClick(&widget, Qt::LeftButton, {}, at);
      case 2:
        return QTest::mouseClick(&widget, Qt::RightButton, {}, at);
      case 3:
      case 4: {
        // The widget may be gone with its window after any of these.
        const QPointer<QWidget> held = &widget;
        QTest::mousePress(held, Qt::LeftButton, {}, at);
        for (int i = 0; i < 4 && held; ++i) {
          QTest::mouseMove(held, at + QPoint(Draw(81) - 40, Draw(81) - 40));
        }
        if (held) QTest::mouseRelease(held, Qt::LeftButton, {}, at);
        return;
      }
      default:
        return QTest::mouseClick(&widget, DrawButton(), {}, at);
    }
  }

  void PressKey(QWidget& window) {
    constexpr std::array kKeys = {Qt::Key_Space, Qt::Key_Left,   Qt::Key_Right, Qt::Key_Up,
                                  Qt::Key_Down,  Qt::Key_PageUp, Qt::Key_Tab,   Qt::Key_Return,
                                  Qt::Key_Plus,  Qt::Key_F1,     Qt::Key_Minus, Qt::Key_PageDown,
                                  Qt::Key_F11,   Qt::Key_Escape, Qt::Key_Home,  Qt::Key_End,
                                  Qt::Key_5,     Qt::Key_Delete, Qt::Key_L,     Qt::Key_P};
    QWidget* const focus = window.focusWidget();
    QWidget& target = focus != nullptr && focus->isVisible() ? *focus : window;
    const Qt::KeyboardModifier modifier = Draw(4) == 0 ? Qt::ControlModifier : Qt::NoModifier;
    QTest::keyClick(&target, kKeys[static_cast<std::size_t>(Draw(kKeys.size()))], modifier);
  }

  /// One act in whatever waits; it is closed in the end.
  void ActInModal() {
    QDrag::cancel();  // one that was begun waits for a mouse that nobody moves
    QWidget* const popup = QApplication::activePopupWidget();
    QWidget* const modal = popup != nullptr ? popup : QApplication::activeModalWidget();
    if (modal == nullptr) return;
    ++modal_actions_;
    if (rests_ || Draw(8) == 0) {
      modal->close();
    } else if (popup != nullptr) {
      QTest::keyClick(popup, Draw(3) == 0 ? Qt::Key_Return : Qt::Key_Down);
    } else {
      UseControl(*modal);
    }
  }
  void UseControl(QWidget& dialog) {
    std::vector<QWidget*> controls;
    for (QWidget* child : dialog.findChildren<QWidget*>()) {
      if (child->isVisible() && child->isEnabled()) controls.push_back(child);
    }
    if (controls.empty()) return;
    QWidget* const control = controls[static_cast<std::size_t>(Draw(controls.size()))];
    if (auto* line = qobject_cast<QLineEdit*>(control)) {
      // A name without a folder in it: files stay where they belong.
      line->setText(line->objectName().contains("Folder") ? Q(bench_.folder / "out/") : Text());
    } else if (auto* box = qobject_cast<QComboBox*>(control)) {
      box->setCurrentIndex(Draw(static_cast<std::size_t>(std::max(box->count(), 1))));
    } else if (auto* button = qobject_cast<QAbstractButton*>(control)) {
      button->click();
    }
  }
  QString Text() {
    const std::array<const char*, 6> texts = {"0:02,5", "Été", "", "7", "0:20", "%T"};
    return QString::fromUtf8(texts[static_cast<std::size_t>(Draw(texts.size()))]);
  }

  ConversionBench& bench_;
  const std::vector<std::string> songs_;
  std::mt19937 random_;
  QTimer modal_timer_;
  bool rests_ = false;
  int actions_ = 0;
  int modal_actions_ = 0;
  std::map<std::string, int> counts_;
};

}  // namespace

int main(int argc, char** argv) {
  // A sanitizer may end the program at its exit.
  if (std::setvbuf(stdout, nullptr, _IOLBF, 0) != 0) return 2;
  QApplication application(argc, argv);
  application.setQuitOnLastWindowClosed(false);
  UseDarkPalette(application);
  char* end = nullptr;
  const double seconds = argc < 5 ? 0 : std::strtod(argv[2], &end);
  char* end_of_seed = nullptr;
  const auto seed = argc < 5 ? 0 : std::strtoul(argv[3], &end_of_seed, 10);
  if (argc < 5 || *end != '\0' || seconds <= 0 || *end_of_seed != '\0') {
    std::fputs("Usage: window_soak BANK SECONDS SEED SONG...\n", stderr);
    return 2;
  }
  ConversionBench bench(argv[1], VEXOLO_PROGRAM_FOLDER "/oggenc");
  SilentBoxes boxes;
  bench.message_boxes = &boxes;
  std::filesystem::create_directory(bench.folder / "songs");
  std::vector<std::string> songs;
  for (int i = 4; i < argc; ++i) {
    const std::filesystem::path song = argv[i];
    songs.push_back(bench.folder / ("songs/" + song.filename().string()));
    std::filesystem::copy_file(song, songs.back());
  }
  if (!bench.Start()) {
    std::fputs("window_soak: the program does not start\n", stderr);
    return 1;
  }
  bench.program->ini.WriteIni("Wave", "SaveFolder", bench.folder / "out/");
  Hand hand(bench, songs, static_cast<unsigned>(seed));
  const bool is_flat = UseAndWatch(hand, seconds, kWarmUp);
  bench.Quit();
  return is_flat ? 0 : 1;
}
