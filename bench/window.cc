/// window_bench BANK SONG [MINUTES [OTHER_BANK]]: the main window on the real engine. Measures how
/// soon a click on play reaches the device and what it keeps the window from, step by step, the
/// same for another song and another bank, what the program takes while it is idle and while it
/// plays, and whether a block comes late while the window is dragged, resized and its knobs are
/// turned, or while ten thousand songs are taken into the list and read (so many minutes; 0 = none
/// of the last ones). Needs a display; exit status 1 where a figure misses its mark.
#include <QApplication>
#include <QTest>
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <sys/resource.h>

#include "app/main_window.h"
#include "app/program.h"
#include "audio/loader.h"
#include "large_song.h"
#include "platform/file_io.h"
#include "playlist/play_list_window.h"
#include "watched_engine.h"
#include "widgets/file_boxes.h"
#include "widgets/message_boxes.h"
#include "widgets/palette.h"

namespace {

using namespace vexolo;
using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

constexpr int kPlay = 33;
constexpr int kStop = 34;
constexpr int kNext = 35;
constexpr double kPlayMark = 60;  // milliseconds
constexpr double kFrameMark = 16;
constexpr double kOpeningMark = 20;  // of a song, however large
constexpr double kIdleMark = 2;      // percent of a core
constexpr double kPlayingMark = 15;
constexpr int kManySongs = 10'000;

/// How long the window is kept by any one event.
class WatchedApplication : public QApplication {
 public:
  using QApplication::QApplication;
  bool notify(QObject* receiver, QEvent* event) override {
    if (depth_++ > 0) {
      const bool handled = QApplication::notify(receiver, event);
      --depth_;
      return handled;
    }
    const Moment begin = Moment::Now();
    const bool handled = QApplication::notify(receiver, event);
    const Moment taken = Moment::Now() - begin;
    longest.wall = std::max(longest.wall, taken.wall);
    longest.processor = std::max(longest.processor, taken.processor);
    --depth_;
    return handled;
  }
  Moment longest;

 private:
  int depth_ = 0;
};

/// A program folder with the program's own languages and settings that name the bank.
class Folder {
 public:
  Folder(const std::string& program_folder, const std::string& bank) {
    path_ = fs::temp_directory_path() / ("vexolo-bench-" + std::to_string(getpid()));
    fs::create_directories(path_);
    for (const char* name : {"fr.lng", "vexolo.dll"}) {
      fs::copy_file(fs::path(program_folder) / name, path_ / name);
    }
    std::FILE* settings = std::fopen((path_ / "Vexolo.ini").c_str(), "w");
    std::fprintf(settings, "[Vexolo]\nLng=fr\n[SF2]\nBase=%s\n", bank.c_str());
    std::fclose(settings);
  }
  ~Folder() { fs::remove_all(path_); }
  std::string operator/(const char* name) const { return (path_ / name).string(); }
  std::string path() const { return path_.string(); }

 private:
  fs::path path_;
};

/// Times of several rounds.
class Times {
 public:
  void Add(const Moment& taken) {
    wall_.push_back(taken.wall);
    processor_.push_back(taken.processor);
  }
  double Median() const { return Quantile(wall_, 0.5); }
  double Longest() const { return Quantile(wall_, 1); }
  double Processor() const { return Quantile(processor_, 0.5); }

 private:
  static double Quantile(std::vector<double> values, double share) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1))];
  }
  std::vector<double> wall_;
  std::vector<double> processor_;
};

double ProcessorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Percent of a core that the process takes while the event loop runs for so many seconds.
double ShareOfACore(int seconds) {
  const double before = ProcessorSeconds();
  const auto begin = Clock::now();
  QTest::qWait(seconds * 1000);
  const std::chrono::duration<double> passed = Clock::now() - begin;
  return 100 * (ProcessorSeconds() - before) / passed.count();
}

class Bench {
 public:
  Bench(WatchedApplication& application, frmMidiTest& window, Program& program,
        WatchedEngine& engine)
      : application_(application), window_(window), program_(program), engine_(engine) {}

  /// A click that starts a song: what it keeps the window from, step by step, and how soon the
  /// first block goes to the device.
  void MeasureStart(const char* what, const std::function<void()>& prepare,
                    const std::function<void()>& click, bool is_large = false) {
    std::array<Times, kSteps.size()> steps;
    Times whole;
    std::vector<double> blocks;
    for (int round = 0; round < kRounds; ++round) {
      prepare();
      engine_.first_block = 0;
      const Moment begin = Moment::Now();
      click();
      const Moment end = Moment::Now();
      const auto& start = engine_.start;
      const Moment notes = start.notes.wall > 0 ? start.notes : start.first_sync;
      const std::array moments = {
          begin,        start.create, start.created, notes, start.first_sync, start.play,
          start.played, end};
      for (std::size_t i = 0; i < steps.size(); ++i) steps[i].Add(moments[i + 1] - moments[i]);
      whole.Add(end - begin);
      while (engine_.first_block == 0) QCoreApplication::processEvents();
      const WatchedEngine::Clock::duration first(engine_.first_block.load());
      blocks.push_back(std::chrono::duration<double, std::milli>(first).count() - begin.wall);
    }
    std::sort(blocks.begin(), blocks.end());
    std::printf("%s to the first block: median %.1f ms, longest %.1f ms (mark %.0f)\n", what,
                blocks[kRounds / 2], blocks.back(), kPlayMark);
    Print("the window is kept", whole);
    for (std::size_t i = 0; i < steps.size(); ++i) Print(kSteps[i], steps[i]);
    Judge(blocks.back() < kPlayMark && steps[1].Median() < kOpeningMark &&
          (is_large || whole.Median() < kFrameMark));
  }

  void MeasurePlay() {
    const auto stop = [this] {
      Click(kStop);
      QTest::qWait(200);
    };
    MeasureStart("click on play", stop, [this] { Click(kPlay); });
  }

  void MeasureNext() {
    program_.state.repeat_mode = kRepeatList;
    const auto go_on = [] { QTest::qWait(300); };
    MeasureStart("click on next", go_on, [this] { Click(kNext); });
  }

  /// A song of a megabyte with 5,000 syllables.
  void MeasureLargeSong(const std::string& path) {
    program_.state.playlist.AjouteFichierPlayList(path);
    const int place = program_.state.playlist.count();
    QTest::qWait(1000);  // the list has read it
    const auto stop = [this] {
      Click(kStop);
      QTest::qWait(200);
    };
    MeasureStart(
        "choice of a large song", stop, [&] { window_.Action_PlaySelected(place); }, true);
    Click(kStop);
    program_.state.playlist.PlayListDelete({place});
    program_.state.playlist.PlayListSelect(1);
  }

  /// Songs are read beside the window: what the longest of the events takes that come of a drop.
  void MeasureDrop(const std::string& path) {
    Times longest;
    for (int round = 0; round < kRounds; ++round) {
      QTest::qWait(300);
      application_.longest = {};
      window_.GereDrop({path});
      QTest::qWait(300);
      longest.Add(application_.longest);
      const int place = program_.state.playlist.count();
      Click(kStop);
      if (place > 1) program_.state.playlist.PlayListDelete({place});
    }
    std::printf("song dropped on the window:\n");
    Print("the longest event", longest);
    Judge(longest.Median() < kFrameMark);
    program_.state.playlist.PlayListSelect(1);
  }

  /// Another bank while a song plays, and back.
  void MeasureBankChange(const std::string& bank, const std::string& other) {
    window_.Action_Reglage();
    Click(kPlay);
    for (const std::string& path : {other, bank}) {
      Times longest, sent, freed, named;
      for (int round = 0; round < kRounds; ++round) {
        ChangeBank(path == bank ? other : bank);
        application_.longest = {};
        ChangeBank(path);
        QTest::qWait(300);
        const auto& change = engine_.change;
        longest.Add(application_.longest);
        sent.Add(change.set - change.begin);
        freed.Add(change.freed - change.set);
        named.Add(change.named - change.names);
      }
      std::printf("change to %s while a song plays:\n", fs::path(path).filename().c_str());
      Print("the longest event", longest);
      Print("given to the stream", sent);
      Print("old one freed", freed);
      Print("names of presets", named);
      Judge(longest.Median() < kFrameMark);
    }
    window_.Action_Reglage();
    Click(kStop);
  }

  void MeasureIdle() {
    Click(kStop);
    QTest::qWait(500);
    const double share = ShareOfACore(10);
    std::printf("stopped: %.2f %% of a core (mark %.0f)\n", share, kIdleMark);
    Judge(share < kIdleMark);
  }

  void MeasurePlaying() {
    Click(kPlay);
    QTest::qWait(3000);
    const double share = ShareOfACore(20);
    std::printf("playing: %.2f %% of a core (mark %.0f)\n", share, kPlayingMark);
    Judge(share < kPlayingMark);
  }

  /// Everything at once that a hand can do to the window, sixty times a second.
  void MeasureLateBlocks(double minutes) {
    program_.state.repeat_mode = kRepeatSong;
    Click(kPlay);
    QTest::qWait(1000);
    const std::uint64_t before = engine_.LateBlocks();
    const auto end = Clock::now() + std::chrono::duration<double>(minutes * 60);
    const QPoint home = window_.pos();
    int step = 0;
    while (Clock::now() < end) {
      ++step;
      window_.move(home + QPoint(step * 7 % 200, step * 5 % 120));
      if (step % 2 == 0) window_.resize(window_.minimumSize() + QSize(step % 90, step % 70));
      TurnKnob(step % kKnobs, step % 60 - 30);
      QTest::qWait(16);
    }
    window_.move(home);
    const std::uint64_t late = engine_.LateBlocks() - before;
    std::printf("late blocks in %.1f minutes of dragging, resizing and turning (%d steps): %llu\n",
                minutes, step, static_cast<unsigned long long>(late));
    Judge(late == 0);
  }

  /// A song plays while a folder of many is dropped on the list and their lengths are read.
  void MeasureManySongs(const fs::path& song, const fs::path& folder) {
    fs::create_directory(folder);
    for (int i = 0; i < kManySongs; ++i) {
      fs::create_hard_link(song, folder / (std::to_string(i) + song.extension().string()));
    }
    auto& list = dynamic_cast<PlayList&>(*window_.companion(Companion::kPlayList));
    list.show();
    Click(kPlay);
    QTest::qWait(1000);
    const std::uint64_t before = engine_.LateBlocks();
    const double processor = ProcessorSeconds();
    double longest = 0;
    auto last = Clock::now();
    const auto begin = last;
    const auto watch = [&] {
      const auto now = Clock::now();
      longest = std::max(longest, std::chrono::duration<double, std::milli>(now - last).count());
      last = now;
    };
    QTimer ticker;
    QObject::connect(&ticker, &QTimer::timeout, watch);
    ticker.start(1);
    list.AddDropped({folder.string()});
    const bool read = QTest::qWaitFor([&] { return IsRead(list, kManySongs); }, 120'000);
    const std::chrono::duration<double> passed = Clock::now() - begin;
    const std::uint64_t late = engine_.LateBlocks() - before;
    std::printf(
        "%d songs dropped and read in %.1f s (%.0f %% of a core): late blocks %llu, the"
        " window answers within %.0f ms\n",
        kManySongs, passed.count(), 100 * (ProcessorSeconds() - processor) / passed.count(),
        static_cast<unsigned long long>(late), longest);
    Judge(read && late == 0 && program_.state.playing);
  }

  bool passed() const { return passed_; }

 private:
  static constexpr int kRounds = 15;
  static constexpr std::array kSteps = {
      "buttons, end of what played", "song opened",    "words", "melody, settings",
      "syncs, mix, tempo, markers",  "output started", "drawn"};

  static void Print(const char* what, const Times& times) {
    std::printf("  %-28s median %6.2f ms, longest %6.2f, processor %6.2f\n", what, times.Median(),
                times.Longest(), times.Processor());
  }
  void ChangeBank(const std::string& path) {
    window_.ChangeSF2(path);
    const bool arrived = QTest::qWaitFor([this] { return !program_.bank_loader.loading(); }, 60000);
    if (!arrived) Judge(false);
  }

  void Click(int button) { QTest::mouseClick(&window_.panel().sm(button), Qt::LeftButton); }
  /// Whether the list has that many songs and knows the lengths of all.
  static bool IsRead(PlayList& list, int count) {
    const QAbstractItemModel& rows = *list.view().model();
    return rows.rowCount() >= count && !list.reading();
  }
  void TurnKnob(int index, int up) {
    KnobWidget& knob = window_.panel().potard(index);
    const QPoint from = knob.rect().center();
    QTest::mousePress(&knob, Qt::LeftButton, {}, from);
    QTest::mouseMove(&knob, from - QPoint(0, up));
    QTest::mouseRelease(&knob, Qt::LeftButton, {}, from - QPoint(0, up));
  }
  void Judge(bool met) {
    if (!met) std::printf("  misses its mark\n");
    passed_ = passed_ && met;
  }

  WatchedApplication& application_;
  frmMidiTest& window_;
  Program& program_;
  WatchedEngine& engine_;
  bool passed_ = true;
};

}  // namespace

int main(int argc, char** argv) {
  WatchedApplication application(argc, argv);
  if (argc < 3) {
    std::fputs("Usage: window_bench BANK SONG [MINUTES [OTHER_BANK]]\n", stderr);
    return 2;
  }
  const double minutes = argc > 3 ? std::atof(argv[3]) : 2;
  UseDarkPalette(application);
  const Folder folder(VEXOLO_PROGRAM_FOLDER, argv[1]);
  const fs::path song = fs::path(folder.path()) / fs::path(argv[2]).filename();
  fs::copy_file(argv[2], song);  // its settings are written beside it
  const std::string other_song = folder / "other.mid";
  fs::copy_file(argv[2], other_song);
  WriteWholeFile(folder / "large.mid", engine::testing::LargeSong());
  WatchedEngine engine;
  QtMessageBoxes boxes;
  QtFileDialogs files;
  Program program({.library = engine,
                   .boxes = boxes,
                   .files = files,
                   .program_folder = folder.path(),
                   .settings_file = folder / "Vexolo.ini",
                   .command_line = "\"" + song.string() + "\"",
                   .post = [](std::function<void()> action) {
                     QMetaObject::invokeMethod(qApp, std::move(action), Qt::QueuedConnection);
                   }});
  frmMidiTest window(program, ProgramWindows());
  if (!window.Start()) return 1;
  if (!QTest::qWaitFor([&] { return program.state.playing; }, 30000)) return 1;
  std::printf("output: %s\n", engine.OutputIsSilent() ? "none, in silence" : "a device");
  QTest::qWait(1000);
  Bench bench(application, window, program, engine);
  bench.MeasurePlay();
  bench.MeasureDrop(other_song);
  program.state.playlist.AjouteFichierPlayList(other_song);
  bench.MeasureNext();
  bench.MeasureLargeSong(folder / "large.mid");
  if (argc > 4) bench.MeasureBankChange(argv[1], argv[4]);
  if (minutes <= 0) {
    window.ShutDown();
    return bench.passed() ? 0 : 1;
  }
  bench.MeasureIdle();
  bench.MeasurePlaying();
  bench.MeasureLateBlocks(minutes);
  bench.MeasureManySongs(song, fs::path(folder.path()) / "many");
  window.ShutDown();
  return bench.passed() ? 0 : 1;
}
