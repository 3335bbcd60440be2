/// window_bench BANK SONG [MINUTES]: the main window on the real engine. Measures how soon a click
/// on play reaches the device, what the program takes while it is idle and while it plays, and
/// whether a block comes late while the window is dragged, resized and its knobs are turned, or
/// while ten thousand songs are taken into the list and read. Needs a display; exit status 1 where
/// a figure misses its mark.
#include <QApplication>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/resource.h>

#include "app/main_window.h"
#include "app/program.h"
#include "audio/loader.h"
#include "playlist/play_list_window.h"
#include "widgets/file_boxes.h"
#include "widgets/message_boxes.h"
#include "widgets/palette.h"

namespace {

using namespace vexolo;
using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

constexpr int kPlay = 33;
constexpr int kStop = 34;
constexpr double kPlayMark = 60;  // milliseconds
constexpr double kIdleMark = 2;   // percent of a core
constexpr double kPlayingMark = 15;
constexpr int kManySongs = 10'000;

/// The engine, with a look at the first block of each stream that is played.
class WatchedEngine : public AudioLibrary {
 public:
  WatchedEngine() : engine_(AudioLibrary::OpenEngine()), api_(engine_->api()) {
    watched = this;
    play_ = api_.BASS_ChannelPlay;
    api_.BASS_ChannelPlay = PlayWatched;
  }
  const bass::Api& api() const override { return api_; }
  bool is_open_engine() const override { return true; }
  bool OutputIsSilent() const override { return engine_->OutputIsSilent(); }
  std::string OutputName() const override { return engine_->OutputName(); }
  std::vector<std::string> Components() const override { return engine_->Components(); }
  std::uint64_t LateBlocks() const override { return engine_->LateBlocks(); }

  /// When the first block was handed over; 0 = not yet.
  std::atomic<Clock::rep> first_block{0};

 private:
  static bass::BOOL BASS_CALLBACK PlayWatched(bass::DWORD handle, bass::BOOL restart) {
    watched->first_block = 0;
    watched->api_.BASS_ChannelSetDSP(handle, BlockRendered, watched, 0);
    return watched->play_(handle, restart);
  }
  // The last step before the block is the device's.
  static void BASS_CALLBACK BlockRendered(bass::HDSP, bass::DWORD, void*, bass::DWORD, void* user) {
    auto* self = static_cast<WatchedEngine*>(user);
    if (self->first_block == 0) self->first_block = Clock::now().time_since_epoch().count();
  }

  inline static WatchedEngine* watched = nullptr;
  std::unique_ptr<AudioLibrary> engine_;
  bass::Api api_;
  decltype(bass::Api::BASS_ChannelPlay) play_ = nullptr;
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
  Bench(frmMidiTest& window, Program& program, WatchedEngine& engine)
      : window_(window), program_(program), engine_(engine) {}

  void MeasurePlay() {
    constexpr int kRounds = 15;
    std::vector<double> times;
    for (int round = 0; round < kRounds; ++round) {
      Click(kStop);
      QTest::qWait(200);
      const auto begin = Clock::now();
      Click(kPlay);
      while (engine_.first_block == 0) QCoreApplication::processEvents();
      const Clock::time_point first{Clock::duration{engine_.first_block.load()}};
      times.push_back(std::chrono::duration<double, std::milli>(first - begin).count());
    }
    std::sort(times.begin(), times.end());
    std::printf("click on play to the first block: median %.1f ms, longest %.1f ms (mark %.0f)\n",
                times[kRounds / 2], times.back(), kPlayMark);
    Judge(times.back() < kPlayMark);
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

  frmMidiTest& window_;
  Program& program_;
  WatchedEngine& engine_;
  bool passed_ = true;
};

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  if (argc < 3) {
    std::fputs("Usage: window_bench BANK SONG [MINUTES]\n", stderr);
    return 2;
  }
  const double minutes = argc > 3 ? std::atof(argv[3]) : 2;
  UseDarkPalette(application);
  const Folder folder(VEXOLO_PROGRAM_FOLDER, argv[1]);
  const fs::path song = fs::path(folder.path()) / fs::path(argv[2]).filename();
  fs::copy_file(argv[2], song);  // its settings are written beside it
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
  Bench bench(window, program, engine);
  bench.MeasurePlay();
  bench.MeasureIdle();
  bench.MeasurePlaying();
  bench.MeasureLateBlocks(minutes);
  bench.MeasureManySongs(song, fs::path(folder.path()) / "many");
  window.ShutDown();
  return bench.passed() ? 0 : 1;
}
