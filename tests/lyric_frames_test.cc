// layer: gui
// Whole frames of a demo song, drawn by the processor, against stored pictures. After a change that
// is meant, VEXOLO_WRITE_PICTURES=1 in the environment writes the pictures anew.
#include <QDir>
#include <QImage>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "audio/loader.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "lyrics/lyric_painter_gl.h"
#include "lyrics/lyric_scene.h"
#include "lyrics/outline_font_widget.h"
#include "support/heap_watch.h"
#include "support/offscreen_gl.h"

namespace vexolo {
namespace {

constexpr int kWidth = 480;
constexpr int kHeight = 270;
constexpr int kTallest = 4320;  ///< of a window: it has the finest letters

constexpr int kPixelTolerance = 12;       ///< of 255, for each component
constexpr double kShareAllowed = 0.0005;  ///< of the pixels may lie outside it: edges

/// Share of the pixels that differ by more than the tolerance.
double ShareApart(const QImage& a, const QImage& b) {
  if (a.size() != b.size()) return 1;
  int apart = 0;
  for (int y = 0; y < a.height(); ++y) {
    for (int x = 0; x < a.width(); ++x) {
      const QRgb p = a.pixel(x, y);
      const QRgb q = b.pixel(x, y);
      const int difference = std::max({std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                                       std::abs(qBlue(p) - qBlue(q))});
      apart += difference > kPixelTolerance;
    }
  }
  return static_cast<double>(apart) / (a.width() * a.height());
}

class LyricFramesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(gl_.is_there()) << "no OpenGL here";
    ASSERT_TRUE(painter_.Prepare());
    MakeLetters(kTallest);
    const bass::Api& api = library_->api();
    ASSERT_TRUE(api.BASS_Init(0, 44100, 0, nullptr, nullptr));
    const std::string path = std::string(VEXOLO_SONGS) + "/a-la-claire-fontaine.mid";
    stream_ = api.BASS_MIDI_StreamCreateFile(0, path.c_str(), 0, 0,
                                             bass::BASS_STREAM_DECODE | bass::BASS_UNICODE, 44100);
    ASSERT_NE(0u, stream_);
    model_.InitLyrics(stream_, false);
    scene_.EffaceLyrics();
    scene_.set_refresh_interval(1);
  }
  ~LyricFramesTest() override {
    library_->api().BASS_StreamFree(stream_);
    library_->api().BASS_Free();
  }

  /// As fine as a window of this height asks for, to be drawn into the picture.
  void MakeLetters(int height) {
    painter_.SetViewport(kWidth, height);
    ASSERT_EQ(Text3D::Progress::kDone, painter_.BuildLetters(std::chrono::minutes(10)));
    painter_.SetViewport(kWidth, kHeight);
  }

  QImage Picture(std::int64_t tick, float flash) {
    scene_.DisplayLyrics(0);
    scene_.Tick(static_cast<int>(1000 - 1000 * flash));
    painter_.Paint(scene_.BuildFrame(model_, painter_.glyphs(), tick));
    return gl_.Picture();
  }

  void ExpectStored(const std::string& name, const QImage& picture) {
    const QString path =
        QString::fromStdString(std::string(VEXOLO_TEST_DATA) + "/lyrics/" + name + ".png");
    if (std::getenv("VEXOLO_WRITE_PICTURES") != nullptr) {
      ASSERT_TRUE(QDir().mkpath(QString(VEXOLO_TEST_DATA) + "/lyrics"));
      ASSERT_TRUE(picture.convertToFormat(QImage::Format_RGB888).save(path));
    }
    const QImage stored(path);
    ASSERT_FALSE(stored.isNull()) << path.toStdString();
    EXPECT_LE(ShareApart(stored.convertToFormat(QImage::Format_RGB32), picture), kShareAllowed);
  }

  /// The pictures are of one renderer and one font.
  bool CanBeCompared() const {
    return gl_.IsSoftware() && outlines_.family() == QStringLiteral("Comic Neue");
  }

  OffscreenGl gl_{kWidth, kHeight};
  FakeMessageBoxes boxes_;
  TemporaryFolder folder_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  std::unique_ptr<AudioLibrary> library_ = AudioLibrary::OpenEngine();
  LyricScene scene_{ini_};
  LyricModel model_{library_->api(), &scene_};
  QtOutlines outlines_;
  LyricPainter painter_{outlines_, boxes_};
  bass::HSTREAM stream_ = 0;
};

TEST_F(LyricFramesTest, BeforeTheFirstSyllable) {
  if (!CanBeCompared()) GTEST_SKIP() << gl_.Renderer() << ", other font";
  ExpectStored("waiting", Picture(6000, 0));
}

TEST_F(LyricFramesTest, InTheMiddleOfALine) {
  if (!CanBeCompared()) GTEST_SKIP() << gl_.Renderer() << ", other font";
  ExpectStored("singing", Picture(21000, 0.5f));
}

TEST_F(LyricFramesTest, AfterTheLastSyllable) {
  if (!CanBeCompared()) GTEST_SKIP() << gl_.Renderer() << ", other font";
  ExpectStored("ending", Picture(107560, 0));
}

TEST_F(LyricFramesTest, AFrameOfAnotherInstantIsNoticed) {
  const QImage picture = Picture(21000, 0.5f);
  EXPECT_EQ(0, ShareApart(picture, Picture(21000, 0.5f)));
  EXPECT_GT(ShareApart(picture, Picture(21060, 0.5f)), kShareAllowed);  // a sixteenth of a beat
  EXPECT_GT(ShareApart(picture, Picture(21000, 0.0f)), kShareAllowed);
}

// An edge is off by 0.06 pixels at most here: as many of the pixels along edges may change sides,
// and those are less than a twelfth of the picture.
TEST_F(LyricFramesTest, LettersForASmallWindowLookLikeTheFinestOnes) {
  const QImage finest = Picture(21000, 0.5f);
  MakeLetters(kHeight);
  const double apart = ShareApart(finest, Picture(21000, 0.5f));
  EXPECT_LT(apart, 0.005);
  EXPECT_GT(apart, 0) << "these are the finest ones";
}

TEST_F(LyricFramesTest, FramesTakeNoMemory) {
  if (!HeapWatch::IsAvailable()) GTEST_SKIP() << "the heap is not watched here";
  Picture(7000, 1);
  HeapWatch watch;
  for (std::int64_t tick = 7000; tick < 110000; tick += 400) {
    scene_.DisplayLyrics(1);
    painter_.Paint(scene_.BuildFrame(model_, painter_.glyphs(), tick));
    scene_.Tick();
  }
  EXPECT_EQ(0u, watch.count());
}

}  // namespace
}  // namespace vexolo
