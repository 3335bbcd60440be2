/// lyric_frames [--pictures FOLDER] SONG: measures the frames of the lyric window on the display
/// that it finds, and whether they keep step with a playing song. Exit status 1 where a limit is
/// not kept. With --pictures it only writes the window's pictures of the song into a folder.
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QOffscreenSurface>
#include <QOpenGLFramebufferObject>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "audio/loader.h"
#include "lyrics/lyric_window.h"
#include "platform/opengl.h"
#include "song_builder.h"
#include "support/resident_memory.h"
#include "widgets/file_boxes.h"
#include "widgets/palette.h"
#include "widgets/skin.h"

namespace {

using namespace vexolo;
using engine::testing::SongBuilder;

constexpr int kWidth = 1280;
constexpr int kHeight = 720;
constexpr int kFoot = 15;  ///< of the window, below the surface

class StderrBoxes : public MessageBoxes {
 public:
  void Show(const std::string& text, const std::string&, BoxIcon) override {
    std::fprintf(stderr, "lyric_frames: %s\n", text.c_str());
  }
  bool AskYesNo(const std::string&, const std::string&) override { return false; }
};

double Milliseconds(const QElapsedTimer& timer) {
  return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

/// Of all threads since then, in milliseconds.
double ProcessorTime(std::clock_t begun) {
  return 1000.0 * static_cast<double>(std::clock() - begun) / CLOCKS_PER_SEC;
}

/// A lyric window and the song that it shows.
class Stage {
 public:
  explicit Stage(const AudioLibrary& library) : api_(library.api()) { skin_.Build(); }
  ~Stage() {
    window_.reset();
    Close();
  }

  /// False where the song cannot be opened.
  bool Open(const std::string& path, bass::DWORD flags) {
    Close();
    audio_.stream =
        api_.BASS_MIDI_StreamCreateFile(0, path.c_str(), 0, 0, flags | bass::BASS_UNICODE, 44100);
    if (audio_.stream == 0) return false;
    model_.InitLyrics(audio_.stream, false);
    return true;
  }
  void Close() {
    if (audio_.stream != 0) api_.BASS_StreamFree(audio_.stream);
    audio_.stream = 0;
  }

  bool ShowWindow() {
    window_ = std::make_unique<OGLWin>(
        context_, nullptr, LyricWindowParts{.api = api_, .audio = audio_, .model = model_});
    window_->resize(kWidth, kHeight + kFoot);
    window_->show();
    return window_->isVisible() && QTest::qWaitForWindowExposed(&window_->view());
  }

  void MoveTo(std::int64_t tick) {
    api_.BASS_ChannelSetPosition(audio_.stream, static_cast<bass::QWORD>(tick),
                                 bass::BASS_POS_MIDI_TICK);
  }

  /// One frame, until the last pixel has arrived; milliseconds.
  double Draw() {
    QElapsedTimer timer;
    timer.start();
    window_->Rendu_VueOpenGL();
    glFinish();
    return Milliseconds(timer);
  }

  const bass::Api& api() const { return api_; }
  bass::HSTREAM stream() const { return audio_.stream; }
  const LyricModel& model() const { return model_; }
  OGLWin& window() { return *window_; }
  ModIni& ini() { return ini_; }

 private:
  const bass::Api& api_;
  QTemporaryDir folder_;
  StderrBoxes boxes_;
  QtFileDialogs files_;
  ModIni ini_{folder_.filePath("Vexolo.ini").toStdString(), boxes_};
  Skin skin_{Skin::kBuildLater};
  std::string language_file_;
  std::atomic<bool> quitting_{false};
  WindowContext context_{ini_, skin_, boxes_, files_, language_file_, quitting_};
  AudioState audio_;
  LyricModel model_{api_, nullptr};
  std::unique_ptr<OGLWin> window_;
};

void WriteFile(const QString& path, const std::string& bytes) {
  QFile file(path);
  if (file.open(QIODevice::WriteOnly)) file.write(bytes.data(), static_cast<qint64>(bytes.size()));
}

/// Lines of at least `width` characters, `ticks` from one syllable to the next.
std::string WordySong(int syllables, int width, std::uint32_t ticks) {
  constexpr const char* kWords[] = {"la ", "mer ", "qu'", "on ",   "voit ",
                                    "dan", "ser ", "au ", "fond ", "bleu "};
  SongBuilder song;
  song.Name("words").Note(0, 10, 0, 60);
  int in_line = width;
  for (int i = 0; i < syllables; ++i) {
    std::string text;
    if (in_line >= width) {
      text.push_back('/');
      in_line = 0;
    }
    text += kWords[i % 10];
    in_line += static_cast<int>(text.size());
    song.Lyric(480 + static_cast<std::uint32_t>(i) * ticks, text);
  }
  return song.Song();
}

struct Spread {
  double least = 0;
  double median = 0;
  double most = 0;
};

Spread SpreadOf(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return {values.front(), values[values.size() / 2], values.back()};
}

bool Report(const char* what, double value, double limit, const char* unit) {
  const bool is_kept = value < limit;
  std::printf("%-58s %9.3f %s  (limit %g) %s\n", what, value, unit, limit, is_kept ? "" : "MISSED");
  return is_kept;
}

/// Shows the window and makes its letters, a tick of its timer after the other.
bool MeasureFirstShow(Stage& stage) {
  QElapsedTimer whole;
  whole.start();
  std::clock_t begun = std::clock();
  if (!stage.ShowWindow()) return false;
  std::printf("%-58s %9.3f ms\n", "window and OpenGL brought up, until it is seen",
              Milliseconds(whole));
  std::printf("%-58s %9.3f ms\n", "processor time of that", ProcessorTime(begun));
  std::vector<double> times;
  begun = std::clock();
  while (!stage.window().IsReady() && stage.window().isVisible()) {
    QElapsedTimer timer;
    timer.start();
    stage.window().TimerTick();
    times.push_back(Milliseconds(timer));
  }
  if (times.empty()) return stage.window().IsReady();
  std::printf("letters made in %zu ticks, processor time %.3f ms\n", times.size(),
              ProcessorTime(begun));
  return Report("longest tick while letters are made", SpreadOf(times).most, 16, "ms") &&
         stage.window().IsReady();
}

bool MeasureDrawList(Stage& stage) {
  GlyphTable glyphs;
  for (GlyphMetrics& glyph : glyphs) glyph.cell_increment_x = 0.5f;
  LyricScene& scene = stage.window().scene();
  const LyricModel& model = stage.model();
  const int last = model.syllable(model.nNbParoles()).tick;
  std::printf("%d syllables in %d lines\n", model.nNbParoles(), model.line_count());
  std::mt19937 random(1);
  std::vector<double> times;
  for (int i = 0; i < 5000; ++i) {
    const std::int64_t tick = std::uniform_int_distribution<int>(0, last)(random);
    QElapsedTimer timer;
    timer.start();
    scene.BuildFrame(model, glyphs, tick);
    times.push_back(Milliseconds(timer));
  }
  return Report("list of a frame, median of 5,000", SpreadOf(times).median, 0.2, "ms");
}

bool MeasureFrames(Stage& stage) {
  const LyricModel& model = stage.model();
  stage.MoveTo(model.line_start_tick(12) + 400);
  const std::clock_t first = std::clock();
  std::printf("%-58s %9.3f ms\n", "first frame with words", stage.Draw());
  std::printf("%-58s %9.3f ms\n", "processor time of that", ProcessorTime(first));
  for (int i = 0; i < 20; ++i) stage.Draw();
  std::vector<double> times;
  const std::clock_t begun = std::clock();
  for (int i = 0; i < 200; ++i) times.push_back(stage.Draw());
  const double processor = ProcessorTime(begun);
  const LyricFrame& frame = stage.window().scene().frame();
  std::printf("%zu texts, %zu characters\n", frame.texts.size(), frame.bytes.size());
  const Spread spread = SpreadOf(times);
  std::printf("%-58s %9.3f ms\n", "fastest of 200 frames", spread.least);
  std::printf("%-58s %9.3f ms\n", "slowest of 200 frames", spread.most);
  std::printf("%-58s %9.3f ms\n", "processor time of a frame, all threads", processor / 200);
  return Report("frame of 15 full lines, 1280 x 720, median of 200", spread.median, 16, "ms");
}

long ResidentKilobytes() { return std::lround(ResidentMegabytes() * 1024); }

bool MeasureMemory(Stage& stage) {
  const LyricModel& model = stage.model();
  const int last = model.syllable(model.nNbParoles()).tick;
  std::mt19937 random(2);
  const auto draw = [&](int frames) {
    for (int i = 0; i < frames; ++i) {
      stage.MoveTo(std::uniform_int_distribution<int>(0, last)(random));
      stage.window().scene().DisplayLyrics(i);
      stage.Draw();
    }
  };
  draw(1000);
  const long before = ResidentKilobytes();
  draw(10000);
  const long after = ResidentKilobytes();
  std::printf("resident memory %ld KiB, after 10,000 frames %ld KiB\n", before, after);
  return Report("growth over 10,000 frames", static_cast<double>(after - before), 1024, "KiB");
}

/// How late the window is, in milliseconds: since when its syllable is no longer the current one.
double Lateness(Stage& stage) {
  const LyricModel& model = stage.model();
  const bass::Api& api = stage.api();
  const bass::QWORD tick = api.BASS_ChannelGetPosition(stage.stream(), bass::BASS_POS_MIDI_TICK);
  const bass::QWORD bytes = api.BASS_ChannelGetPosition(stage.stream(), bass::BASS_POS_BYTE);
  const int shown = stage.window().scene().frame().syllable;
  if (shown >= CurrentSyllable(model, static_cast<std::int64_t>(tick))) return 0;
  const double now = api.BASS_ChannelBytes2Seconds(stage.stream(), bytes);
  return 1000 * (now - model.syllable(shown + 1).time);
}

/// Plays from the first syllable on and looks at the window at 200 random instants.
bool MeasureStep(Stage& stage) {
  stage.MoveTo(stage.model().syllable(1).tick - 100);
  stage.api().BASS_ChannelPlay(stage.stream(), 0);
  std::mt19937 random(3);
  std::vector<double> late;
  QEventLoop loop;
  std::function<void()> look = [&] {
    late.push_back(Lateness(stage));
    if (late.size() >= 200) return loop.quit();
    QTimer::singleShot(std::uniform_int_distribution<int>(10, 150)(random), Qt::PreciseTimer, &loop,
                       look);
  };
  QTimer::singleShot(500, &loop, look);
  loop.exec();
  const auto over = std::count_if(late.begin(), late.end(), [](double ms) { return ms > 16; });
  std::printf("syllable not the heard one: %zu of 200 instants, later than a frame: %zu\n",
              static_cast<std::size_t>(
                  std::count_if(late.begin(), late.end(), [](double ms) { return ms > 0; })),
              static_cast<std::size_t>(over));
  return Report("latest of 200 random instants", SpreadOf(late).most, 16.7, "ms");
}

bool Measure(Stage& stage, const std::string& song) {
  QTemporaryDir folder;
  const QString many = folder.filePath("many.mid");
  const QString full = folder.filePath("full.mid");
  WriteFile(many, WordySong(5000, 30, 120));
  WriteFile(full, WordySong(400, 35, 128));
  std::printf("%s\n", reinterpret_cast<const char*>(glGetString(GL_RENDERER)));
  bool is_kept = true;
  if (!stage.Open(many.toStdString(), bass::BASS_STREAM_DECODE)) return false;
  is_kept &= MeasureDrawList(stage);
  if (!stage.Open(full.toStdString(), bass::BASS_STREAM_DECODE)) return false;
  is_kept &= MeasureFrames(stage);
  if (!stage.Open(song, bass::BASS_STREAM_DECODE)) return false;
  is_kept &= MeasureMemory(stage);
  if (!stage.Open(song, 0)) return false;
  is_kept &= MeasureStep(stage);
  return is_kept;
}

// ---- Pictures

struct Shot {
  const char* name;
  std::int64_t tick;
  int zoom;
  float flash;  ///< of a second, left
  QSize size;
};

/// Of the first demo song.
constexpr Shot kShots[] = {
    {"before-first-syllable", 6000, 5, 0, {640, 360}},
    {"middle-of-line", 21000, 5, 0.2f, {640, 360}},
    {"flash", 21130, 5, 1, {640, 360}},
    {"after-last-syllable", 107560, 5, 0, {640, 360}},
    {"zoom-0", 10320, 0, 0.2f, {640, 360}},
    {"zoom-9", 21000, 9, 0.2f, {640, 360}},
    {"full-screen", 36100, 5, 0.8f, {1920, 1080}},
};

/// Edges are smoothed as a graphics card does it.
QImage Take(const Shot& shot, Stage& stage) {
  QOffscreenSurface nowhere;
  nowhere.create();
  QOpenGLContext context;
  if (!context.create() || !context.makeCurrent(&nowhere)) return {};
  QOpenGLFramebufferObjectFormat format;
  format.setAttachment(QOpenGLFramebufferObject::Depth);
  format.setSamples(4);
  QOpenGLFramebufferObject picture(shot.size, format);
  picture.bind();
  StderrBoxes boxes;
  QtOutlines outlines;
  LyricPainter painter(outlines, boxes);
  if (!painter.Prepare()) return {};
  painter.SetViewport(shot.size.width(), shot.size.height());
  if (painter.BuildLetters(std::chrono::minutes(1)) != Text3D::Progress::kDone) return {};
  stage.ini().WriteIni("Lyrics", "Zoom", std::to_string(shot.zoom));
  LyricScene scene(stage.ini());
  scene.EffaceLyrics();
  scene.set_refresh_interval(1);
  scene.DisplayLyrics(0);
  scene.Tick(static_cast<int>(1000 - 1000 * shot.flash));
  painter.Paint(scene.BuildFrame(stage.model(), painter.glyphs(), shot.tick));
  return picture.toImage().convertToFormat(QImage::Format_RGB888);
}

bool TakePictures(Stage& stage, const std::string& song, const QString& folder) {
  if (!stage.Open(song, bass::BASS_STREAM_DECODE)) return false;
  for (const Shot& shot : kShots) {
    const QImage picture = Take(shot, stage);
    if (!picture.save(folder + "/lyrics-" + shot.name + ".png")) return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  UseDarkPalette(application);
  const QStringList arguments = application.arguments();
  const bool takes_pictures = arguments.size() == 4 && arguments[1] == "--pictures";
  if (!takes_pictures && arguments.size() != 2) {
    std::fprintf(stderr, "usage: lyric_frames [--pictures FOLDER] SONG\n");
    return 2;
  }
  const auto library = AudioLibrary::OpenEngine();
  library->api().BASS_Init(0, 44100, 0, nullptr, nullptr);
  bool is_well = false;
  {
    Stage stage(*library);
    const std::string song = arguments.last().toStdString();
    if (takes_pictures) {
      is_well = TakePictures(stage, song, arguments[2]);
    } else {
      const bool is_soon = MeasureFirstShow(stage);
      is_well = stage.window().IsReady() && Measure(stage, song) && is_soon;
    }
  }
  library->api().BASS_Free();
  return is_well ? 0 : 1;
}
