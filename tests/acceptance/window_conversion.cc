/// Converts songs in the program's real windows, as a user does, and measures how that goes. Prints
/// one line of JSON. --help tells the options.
#include <QApplication>
#include <QCommandLineParser>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QTest>
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>

#include <time.h>

#include "app/conversion_window.h"
#include "app/convert_report.h"
#include "fakes/conversion_bench.h"
#include "platform/heap.h"
#include "platform/interrupt.h"
#include "platform/paths.h"
#include "support/resident_memory.h"
#include "widgets/message_boxes.h"
#include "widgets/palette.h"

namespace vexolo {
namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point begin) {
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

double ThreadSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// How long the window thread takes to come to what is posted to it, and how long it works without
/// looking for that: the second says the same on a machine that is busy with other things.
class LatencyMeter {
 public:
  LatencyMeter() : thread_([this] { Post(); }) {}
  ~LatencyMeter() { Stop(); }

  void Stop() {
    stops_ = true;
    if (thread_.joinable()) thread_.join();
    QCoreApplication::sendPostedEvents(&receiver_);
  }
  std::size_t count() const { return count_; }
  double Worst() const { return worst_; }
  double Busiest() const { return busiest_; }
  /// In milliseconds, rounded up to a step.
  double Quantile(double share) const {
    std::size_t left = static_cast<std::size_t>(share * static_cast<double>(count_));
    for (std::size_t step = 0; step < kSteps; ++step) {
      if (left <= waits_[step]) return kStep * static_cast<double>(step + 1);
      left -= waits_[step];
    }
    return worst_;
  }

 private:
  void Post() {
    while (!stops_) {
      const auto posted = Clock::now();
      QMetaObject::invokeMethod(
          &receiver_, [this, posted] { Arrived(posted); }, Qt::QueuedConnection);
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }

  void Arrived(Clock::time_point posted) {
    const double wait = 1000 * SecondsSince(posted);
    ++count_;
    worst_ = std::max(worst_, wait);
    ++waits_[std::min(kSteps - 1, static_cast<std::size_t>(wait / kStep))];
    const double now = 1000 * ThreadSeconds();
    if (worked_ >= 0) busiest_ = std::max(busiest_, now - worked_);
    worked_ = now;
  }

  std::atomic<bool> stops_{false};
  double worked_ = -1;  ///< milliseconds of the window thread when the last one arrived
  double busiest_ = 0;
  QObject receiver_;
  // No list of them: it would grow with the run whose memory is measured.
  static constexpr double kStep = 0.1;  ///< milliseconds
  static constexpr std::size_t kSteps = 5000;
  std::array<std::uint32_t, kSteps> waits_{};
  std::size_t count_ = 0;
  double worst_ = 0;
  std::thread thread_;
};

/// Answers every question that comes up.
class Answerer {
 public:
  explicit Answerer(bool yes) {
    QObject::connect(&timer_, &QTimer::timeout, [this, yes] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (box == nullptr) return;
      const bool is_question = box->button(QMessageBox::Yes) != nullptr;
      ++(is_question ? asked : shown);
      const auto button = !is_question ? QMessageBox::Ok : yes ? QMessageBox::Yes : QMessageBox::No;
      QTest::mouseClick(box->button(button), Qt::LeftButton);
    });
    timer_.start(20);
  }
  int asked = 0;
  int shown = 0;

 private:
  QTimer timer_;
};

int CountChildren() {
  int count = 0;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    std::ifstream children(task.path() / "children");
    for (int child = 0; children >> child;) ++count;
  }
  return count;
}

struct Wishes {
  std::string folder;
  std::string scheme;
  std::string format;
};

/// The user at the window.
class Session {
 public:
  Session(ConversionBench& bench, Wishes wishes) : bench_(bench), wishes_(std::move(wishes)) {}

  /// Sets the dialog up and presses a button of it.
  void Confirm(const char* button, const std::string& picture = {}) {
    bench_.RecordAnd([this, button, picture](QDialog& dialog) {
      Type(dialog, "RecFolder", wishes_.folder);
      Type(dialog, "Scheme", wishes_.scheme);
      const char* option = wishes_.format == "mp3"   ? "OptionMP3"
                           : wishes_.format == "ogg" ? "OptionOgg"
                                                     : "OptionWav";
      dialog.findChild<QRadioButton*>(option)->click();
      if (!picture.empty()) dialog.grab().save(Q(picture));
      megabytes_ = ResidentMegabytes();
      begun_ = Clock::now();
      ConversionBench::Click(dialog, button);
    });
  }
  bool WaitForBegin() {
    return QTest::qWaitFor([this] { return bench_.program->state.converting || Summary(); }, 60000);
  }
  bool WaitForEnd(bool is_all) {
    const bool ends = QTest::qWaitFor(
        [&] { return is_all ? Summary() != nullptr : !bench_.program->state.converting; },
        3600 * 1000);
    seconds_ = SecondsSince(begun_);
    return ends;
  }
  QDialog* Summary() const {
    auto* dialog = bench_.window->findChild<QDialog*>("SummaryDialog");
    return dialog != nullptr && dialog->isVisible() ? dialog : nullptr;
  }
  QDialog* RunDialog() const { return bench_.window->findChild<QDialog*>("RunDialog"); }
  double seconds() const { return seconds_; }
  /// Resident when the button was about to be pressed.
  double megabytes() const { return megabytes_; }

 private:
  static void Type(QDialog& dialog, const char* name, const std::string& text) {
    auto* box = dialog.findChild<QLineEdit*>(name);
    box->setFocus();
    box->selectAll();
    QTest::keyClick(box, Qt::Key_Delete);
    QTest::keyClicks(box, Q(text));
  }

  ConversionBench& bench_;
  const Wishes wishes_;
  Clock::time_point begun_;
  double seconds_ = 0;
  double megabytes_ = 0;
};

/// The windows as they stand on the screen.
void SaveScreen(const std::string& path, const QWidget& main, const QWidget& over) {
  const QRect area = main.frameGeometry().united(over.frameGeometry()).adjusted(-12, -12, 12, 12);
  QTest::qWait(50);
  main.screen()->grabWindow(0, area.x(), area.y(), area.width(), area.height()).save(Q(path));
}

/// The dialog, a run in progress and its summary.
bool TakePictures(ConversionBench& bench, Session& session, const std::string& folder,
                  const std::string& language) {
  bench.window->move(60, 60);
  session.Confirm("Tous", folder + "/conversion-dialog-" + language + ".png");
  if (!session.WaitForBegin()) return false;
  QDialog* run = session.RunDialog();
  auto* bar = run->findChild<QProgressBar*>("Bar");
  if (!QTest::qWaitFor([&] { return bar->value() > bar->maximum() / 3; }, 600 * 1000)) return false;
  SaveScreen(folder + "/conversion-run-" + language + ".png", *bench.window, *run);
  if (!session.WaitForEnd(true)) return false;
  QTest::qWait(100);
  session.Summary()->grab().save(Q(folder + "/conversion-summary-" + language + ".png"));
  return true;
}

int Main(int argc, char** argv) {
  SurviveFileSizeLimit();
  ReturnFreedMemory();
  QApplication application(argc, argv);
  application.setQuitOnLastWindowClosed(false);
  UseDarkPalette(application);
  QCommandLineParser options;
  options.addHelpOption();
  options.addOptions({{"bank", "SoundFont", "path"},
                      {"oggenc", "Ogg encoder", "path"},
                      {"folder", "of the finished files", "path"},
                      {"format", "wav, mp3 or ogg", "format", "wav"},
                      {"scheme", "naming scheme", "text", "%A - %T"},
                      {"answer", "to the overwrite questions: yes or no", "answer", "no"},
                      {"language", "of the windows", "code", "fr"},
                      {"one", "converts the first song instead of all"},
                      {"pictures", "takes pictures of the windows instead", "folder"}});
  options.addPositionalArgument("songs", "full paths");
  options.process(application);
  const auto value = [&](const char* name) { return options.value(name).toStdString(); };

  QtMessageBoxes boxes;
  ConversionBench bench(value("bank"), value("oggenc"));
  bench.message_boxes = &boxes;
  bench.folder.Write("Vexolo.ini", "[Vexolo]\r\nLng=" + value("language") + "\r\n");
  if (!bench.Start()) return 1;
  // Songs stay where they are: what is beside them holds for the command line as well.
  for (const QString& song : options.positionalArguments()) {
    bench.program->state.playlist.AjouteFichierPlayList(song.toStdString());
  }
  Session session(bench, {value("folder"), value("scheme"), value("format")});
  Answerer answerer(value("answer") == "yes");
  if (options.isSet("pictures")) {
    return TakePictures(bench, session, value("pictures"), value("language")) ? 0 : 1;
  }

  const bool is_all = !options.isSet("one");
  const double before = ResidentMegabytes();
  LatencyMeter meter;
  session.Confirm(is_all ? "Tous" : "Validation");
  if (!session.WaitForBegin() || !session.WaitForEnd(is_all)) return 1;
  meter.Stop();
  std::string summary;
  if (QDialog* dialog = session.Summary()) {
    summary = dialog->findChild<QPlainTextEdit*>("Text")->toPlainText().toStdString();
    QTest::mouseClick(dialog->findChild<QPushButton*>("Close"), Qt::LeftButton);
  }
  QTest::qWait(100);
  std::printf(
      "{\"seconds\": %.3f, \"worst_ms\": %.2f, \"busiest_ms\": %.2f, \"p99_ms\": %.2f, \"posted\": "
      "%zu, "
      "\"mb_before\": %.2f, \"mb_begun\": %.2f, \"mb_after\": %.2f, \"children\": %d, \"asked\": "
      "%d, \"shown\": %d, "
      "\"summary\": %s}\n",
      session.seconds(), meter.Worst(), meter.Busiest(), meter.Quantile(0.99), meter.count(),
      before, session.megabytes(), ResidentMegabytes(), CountChildren(), answerer.asked,
      answerer.shown, JsonText(summary).c_str());
  return 0;
}

}  // namespace
}  // namespace vexolo

int main(int argc, char** argv) { return vexolo::Main(argc, argv); }
