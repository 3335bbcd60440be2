// layer: gui
#include "lyrics/lyric_window.h"

#include <QAction>
#include <QScreen>
#include <QTest>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_bass.h"
#include "fakes/fake_file_dialogs.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/fake_outlines.h"
#include "fakes/temporary_folder.h"
#include "widgets/skin.h"

namespace vexolo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kPerPixel = 15;  // twips

class MainStandIn : public QWidget {
 public:
  std::vector<int> keys;
  std::vector<int> released;

 protected:
  void keyPressEvent(QKeyEvent* event) override { keys.push_back(event->key()); }
  void keyReleaseEvent(QKeyEvent* event) override { released.push_back(event->key()); }
};

class LyricWindowTest : public ::testing::Test {
 protected:
  LyricWindowTest() { main_.move(300, 300); }
  ~LyricWindowTest() override { window_.reset(); }

  OGLWin& Make() {
    LyricWindowParts parts{.api = bass_.api(),
                           .audio = audio_,
                           .model = model_,
                           .store_code_page = [this](std::int16_t page) { stored_page_ = page; },
                           .surface_steps = surface_steps_,
                           .text_steps = text_steps_,
                           .outlines = &outlines_};
    window_.reset();
    window_ = std::make_unique<OGLWin>(context_, &main_, std::move(parts));
    window_->set_closed_by_user([this] { ++closed_; });
    return *window_;
  }
  OGLWin& Show() {
    Make().show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window_->view()));
    EXPECT_TRUE(QTest::qWaitFor([this] { return window_->IsReady(); }));
    QTest::qWait(20);
    return *window_;
  }

  /// Three lines, a syllable every 100 ticks from tick 100 on; the stream stands at `tick`.
  void LoadSong(int tick) {
    FakeBass::Song song;
    song.track_names = {"", "words"};
    song.bytes_per_tick = 1;
    song.marks[bass::BASS_MIDI_MARK_LYRIC] = {
        {1, 100, "/LL "}, {1, 200, "LL"}, {1, 300, "/LLL"}, {1, 400, "/L"}};
    song.length = 1000;
    audio_.stream = bass_.AddStream(song);
    model_.InitLyrics(audio_.stream, true);
    bass_.stream(audio_.stream).position = static_cast<bass::QWORD>(tick);
  }

  /// What the surface shows on the screen.
  QImage Seen() {
    QTest::qWait(60);
    return window_->screen()->grabWindow(window_->view().winId()).toImage();
  }
  /// Number of pixels that are not the background.
  int InkSeen() {
    const QImage picture = Seen();
    const QRgb background = picture.pixel(0, 0);
    int ink = 0;
    for (int y = 0; y < picture.height(); ++y) {
      for (int x = 0; x < picture.width(); ++x) ink += picture.pixel(x, y) != background;
    }
    return ink;
  }

  std::string Kept(const char* key, const char* section = "Paroles") {
    return ini_.ReadIni(section, key);
  }
  QAction& Choice(const char* name) {
    auto* action = window_->PrepareMenu().findChild<QAction*>(name);
    if (action == nullptr) throw std::out_of_range(name);
    return *action;
  }

  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  FakeFileDialogs files_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  Skin skin_{Skin::kBuildLater};
  std::string language_file_ = std::string(VEXOLO_SOURCES) + "/src/resources/languages/fr.lng";
  std::atomic<bool> quitting_{false};
  WindowContext context_{ini_, skin_, boxes_, files_, language_file_, quitting_};
  FakeBass bass_;
  AudioState audio_;
  LyricModel model_{bass_.api(), nullptr};
  FakeOutlines outlines_;
  SurfaceSteps surface_steps_ = UsualSurfaceSteps();
  TextSteps text_steps_ = UsualTextSteps();
  std::int16_t stored_page_ = -9;
  int closed_ = 0;
  MainStandIn main_;
  std::unique_ptr<OGLWin> window_;
};

// ---- Load

TEST_F(LyricWindowTest, ShowingItBringsUpTheSurface) {
  OGLWin& window = Make();
  EXPECT_FALSE(window.view().HasContext());
  window.show();
  EXPECT_TRUE(window.isVisible());
  EXPECT_TRUE(window.view().HasContext());
  EXPECT_EQ("Paroles", window.windowTitle());
  EXPECT_THAT(boxes_.shown, IsEmpty());
}

TEST_F(LyricWindowTest, TheSurfaceFillsTheWindowButForItsFoot) {
  OGLWin& window = Show();
  window.resize(500, 315);
  QTest::qWait(50);
  EXPECT_EQ(QSize(500, 300), window.view().size());
  ASSERT_TRUE(window.view().MakeCurrent());
  GLint viewport[4];
  glGetIntegerv(GL_VIEWPORT, viewport);
  EXPECT_THAT(viewport, ElementsAre(0, 0, 500, 300));
}

TEST_F(LyricWindowTest, EveryStepOfOpenGLThatFailsIsTheSameMessageAndLeavesTheWindowHidden) {
  const SurfaceSteps usual = surface_steps_;
  for (int step = 0; step < 3; ++step) {
    boxes_.shown.clear();
    surface_steps_ = usual;
    if (step == 0) surface_steps_.choose_format = [] { return std::nullopt; };
    if (step == 1) surface_steps_.create = [](QOpenGLContext&) { return false; };
    if (step == 2) surface_steps_.make_current = [](QOpenGLContext&, QSurface&) { return false; };
    OGLWin& window = Make();
    window.show();
    EXPECT_FALSE(window.isVisible()) << step;
    EXPECT_FALSE(window.view().HasContext()) << step;
    ASSERT_EQ(1u, boxes_.shown.size()) << step;
    EXPECT_EQ("Problème initilisation OpenGL !", boxes_.shown[0].text);
    EXPECT_EQ("", boxes_.shown[0].title);
    EXPECT_EQ(BoxIcon::kCritical, boxes_.shown[0].icon);
  }
}

TEST_F(LyricWindowTest, WithoutDisplayListsItIsUnloadedAfterTheMessage) {
  text_steps_.reserve_lists = [](int) { return 0u; };
  OGLWin& window = Make();
  window.show();
  EXPECT_FALSE(window.isVisible());
  EXPECT_FALSE(window.view().HasContext());
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_EQ("Impossible de créer la police de caractère", boxes_.shown[0].text);
}

TEST_F(LyricWindowTest, WithoutOutlinesItIsUnloadedAfterTheMessageAndItsButtonReleased) {
  outlines_.failing_code = 'e';
  LoadSong(150);
  OGLWin& window = Make();
  window.show();
  EXPECT_TRUE(QTest::qWaitFor([&] { return !window.isVisible(); }));
  EXPECT_FALSE(window.view().HasContext());
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_EQ("Impossible de créer la police de caractères", boxes_.shown[0].text);
  EXPECT_EQ(1, closed_);
  EXPECT_EQ("0", Kept("Show", "Lyrics"));
}

TEST_F(LyricWindowTest, UntilItHasLettersTheBackgroundIsSeenAndNoTickWaitsForThem) {
  outlines_.delay = std::chrono::milliseconds(1);
  LoadSong(150);
  OGLWin& window = Make();
  window.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&window.view()));
  EXPECT_EQ(0, InkSeen());
  EXPECT_FALSE(window.IsReady());
  EXPECT_EQ(0, window.scene().scroll_factor()) << "nothing is placed by the measures of no font";
  for (int before = outlines_.reads; !window.IsReady(); before = outlines_.reads) {
    window.TimerTick();
    EXPECT_LE(outlines_.reads - before, 5);
  }
  EXPECT_GT(InkSeen(), 500);
}

TEST_F(LyricWindowTest, ALargerWindowGetsFinerLettersAndShowsTheOthersUntilThen) {
  LoadSong(150);
  OGLWin& window = Show();
  const int reads = outlines_.reads;
  window.resize(window.size() + QSize(30, 20));
  QApplication::sendPostedEvents();
  EXPECT_TRUE(window.IsReady());
  window.resize(1000, 900);
  QTest::qWait(5);
  window.Rendu_VueOpenGL();
  EXPECT_FLOAT_EQ(0.0005f, window.scene().scroll_factor());
  EXPECT_TRUE(QTest::qWaitFor([&] { return window.IsReady(); }));
  EXPECT_EQ(2 * reads, outlines_.reads);
}

TEST_F(LyricWindowTest, AfterAFailureItCanBeShownOnceTheReasonIsGone) {
  outlines_.select_fails = true;
  OGLWin& window = Make();
  window.show();
  EXPECT_TRUE(QTest::qWaitFor([&] { return !window.isVisible(); }));
  outlines_.select_fails = false;
  window.show();
  EXPECT_TRUE(QTest::qWaitFor([&] { return window.IsReady(); }));
  EXPECT_TRUE(window.isVisible());
  EXPECT_EQ(1u, boxes_.shown.size());
}

TEST_F(LyricWindowTest, AnErrorOfTheGraphicsLibraryIsShownByItsNumber) {
  unsigned error = GL_NO_ERROR;
  text_steps_.last_error = [&] { return error; };
  LoadSong(150);
  OGLWin& window = Show();
  EXPECT_THAT(boxes_.shown, IsEmpty());
  error = GL_STACK_OVERFLOW;
  for (int i = 0; i < 3; ++i) window.TimerTick();
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_EQ("1283", boxes_.shown[0].text);
}

// ---- Frames

TEST_F(LyricWindowTest, WithoutASongOnlyTheBackgroundIsSeen) {
  Show();
  EXPECT_EQ(qRgb(128, 0, 0), Seen().pixel(10, 10));
  EXPECT_EQ(0, InkSeen());
}

TEST_F(LyricWindowTest, ASongsWordsAreSeenAndGoWithIt) {
  LoadSong(150);
  Show();
  EXPECT_GT(InkSeen(), 500);
  audio_.stream = 0;
  EXPECT_EQ(0, InkSeen());
}

TEST_F(LyricWindowTest, TheFootHasTheColourOfTheBackground) {
  OGLWin& window = Show();
  const QImage foot = window.grab().toImage();
  EXPECT_EQ(qRgb(128, 0, 0), foot.pixel(5, foot.height() - 3));
}

TEST_F(LyricWindowTest, TheFrameShowsThePlaceThatTheStreamHasReached) {
  LoadSong(150);
  OGLWin& window = Show();
  bass_.ClearCalls();
  const int before = bass_.CallCount("BASS_ChannelGetPosition");
  window.TimerTick();
  EXPECT_EQ(before + 1, bass_.CallCount("BASS_ChannelGetPosition"));
  EXPECT_FLOAT_EQ(0.0005f, window.scene().scroll_factor());
}

TEST_F(LyricWindowTest, ItRunsAtTheScreensRateAndOnlyWhileItIsShown) {
  LoadSong(150);
  OGLWin& window = Show();
  const int before = bass_.CallCount("BASS_ChannelGetPosition");
  QTest::qWait(400);
  const int frames = bass_.CallCount("BASS_ChannelGetPosition") - before;
  EXPECT_GE(frames, 4);  // the machine may be busy
  EXPECT_LE(frames, 30);
  window.hide();
  const int hidden = bass_.CallCount("BASS_ChannelGetPosition");
  QTest::qWait(100);
  EXPECT_EQ(hidden, bass_.CallCount("BASS_ChannelGetPosition"));
}

TEST_F(LyricWindowTest, TheFlashFadesInASecondWhateverTheFramesTake) {
  OGLWin& window = Show();
  window.scene().DisplayLyrics(1);
  QTest::qWait(500);
  EXPECT_GT(window.scene().flash_remaining(), 0.1f);
  EXPECT_LT(window.scene().flash_remaining(), 0.7f);
  QTest::qWait(700);
  EXPECT_EQ(0, window.scene().flash_remaining());
}

TEST_F(LyricWindowTest, ResizingStartsAfreshAndFlashesTheSyllableAgain) {
  LoadSong(150);
  OGLWin& window = Show();
  window.scene().DisplayLyrics(2);
  QTest::qWait(100);
  ASSERT_LT(window.scene().flash_remaining(), 1);
  ini_.WriteIni("Lyrics", "Zoom", "8");
  window.resize(window.size() + QSize(10, 10));
  QApplication::sendPostedEvents();
  EXPECT_GT(window.scene().flash_remaining(), 0.9f);
  EXPECT_EQ(2, window.scene().mark_index());
  EXPECT_EQ(8, window.scene().zoom());
}

// ---- Keys

TEST_F(LyricWindowTest, TheNumericPadSetsTheZoom) {
  OGLWin& window = Show();
  QTest::keyClick(&window.view(), Qt::Key_1, Qt::KeypadModifier);
  EXPECT_EQ(19.0f, window.scene().distance());
  QTest::keyClick(&window.view(), Qt::Key_9, Qt::KeypadModifier);
  EXPECT_EQ(11.0f, window.scene().distance());
  QTest::keyClick(&window.view(), Qt::Key_0, Qt::KeypadModifier);
  EXPECT_EQ(10.0f, window.scene().distance());
  QTest::keyClick(&window.view(), Qt::Key_Plus, Qt::KeypadModifier);
  EXPECT_EQ(10.0f, window.scene().distance());
  QTest::keyClick(&window.view(), Qt::Key_Minus, Qt::KeypadModifier);
  EXPECT_EQ(11.0f, window.scene().distance());
  EXPECT_EQ("1", Kept("Zoom", "Lyrics"));
}

TEST_F(LyricWindowTest, DigitsAboveTheLettersAreNotTheNumericPad) {
  OGLWin& window = Show();
  QTest::keyClick(&window.view(), Qt::Key_1);
  EXPECT_EQ(5, window.scene().zoom());
  EXPECT_EQ("5", Kept("Zoom", "Lyrics"));
}

TEST_F(LyricWindowTest, KeysReachItThroughTheWindowToo) {
  OGLWin& window = Show();
  QTest::keyClick(&window, Qt::Key_3, Qt::KeypadModifier);
  EXPECT_EQ(7, window.scene().zoom());
}

TEST_F(LyricWindowTest, OtherKeysGoOnToTheMainWindow) {
  OGLWin& window = Show();
  QTest::keyClick(&window.view(), Qt::Key_Space);
  QTest::keyClick(&window.view(), Qt::Key_F11);
  QTest::keyClick(&window.view(), Qt::Key_Escape);
  QTest::keyClick(&window.view(), Qt::Key_5, Qt::KeypadModifier);
  EXPECT_THAT(main_.keys, ElementsAre(int{Qt::Key_Space}));
}

TEST_F(LyricWindowTest, KeysThatActWhenTheyAreLetGoGoOnToTheMainWindow) {
  OGLWin& window = Show();
  QTest::keyClick(&window.view(), Qt::Key_F1);
  EXPECT_THAT(main_.released, ElementsAre(int{Qt::Key_F1}));
}

// ---- Closing, place and size

TEST_F(LyricWindowTest, ItsCloseBoxHidesItAndReleasesTheButtonAndTheSongGoesOn) {
  LoadSong(150);
  bass_.stream(audio_.stream).active = bass::BASS_ACTIVE_PLAYING;
  OGLWin& window = Show();
  ini_.WriteIni("Lyrics", "Show", "1");
  EXPECT_FALSE(window.close());
  EXPECT_FALSE(window.isVisible());
  EXPECT_EQ("0", Kept("Show", "Paroles"));
  EXPECT_EQ("0", Kept("Show", "Lyrics"));
  EXPECT_EQ(1, closed_);
  EXPECT_EQ(bass::BASS_ACTIVE_PLAYING, bass_.stream(audio_.stream).active);
  EXPECT_TRUE(window.view().HasContext());
  window.show();
  EXPECT_TRUE(window.isVisible());
}

TEST_F(LyricWindowTest, AtTheEndOfTheProgramItKeepsItsSizeAndWhetherItIsShown) {
  OGLWin& window = Show();
  ini_.WriteIni("Lyrics", "Show", "1");
  window.resize(700, 500);
  QTest::qWait(20);
  quitting_ = true;
  EXPECT_TRUE(window.close());
  EXPECT_FALSE(window.view().HasContext());
  EXPECT_EQ(std::to_string(700 * kPerPixel), Kept("W"));
  EXPECT_EQ(std::to_string(500 * kPerPixel), Kept("H"));
  EXPECT_EQ("1", Kept("Show", "Lyrics"));
  EXPECT_EQ(0, closed_);
}

TEST_F(LyricWindowTest, ASizeThatWasKeptComesBack) {
  ini_.WriteIni("Paroles", "W", std::to_string(640 * kPerPixel));
  ini_.WriteIni("Paroles", "H", std::to_string(333 * kPerPixel));
  EXPECT_EQ(QSize(640, 333), Show().size());
}

TEST_F(LyricWindowTest, ASizeBeyondTheScreenIsCut) {
  ini_.WriteIni("Paroles", "W", "99999999");
  ini_.WriteIni("Paroles", "H", "15");
  OGLWin& window = Show();
  EXPECT_EQ(window.screen()->geometry().width(), window.width());
  EXPECT_EQ(window.minimumHeight(), window.height());
}

TEST_F(LyricWindowTest, AWindowThatWasNeverShownWritesNoSize) {
  Make();
  quitting_ = true;
  EXPECT_TRUE(window_->close());
  EXPECT_EQ("", Kept("W"));
}

TEST_F(LyricWindowTest, ItsPlaceIsCountedFromTheMainWindow) {
  OGLWin& window = Show();
  window.move(main_.pos() + QPoint(40, -60));
  QTest::qWait(300);
  EXPECT_EQ(std::to_string(40 * kPerPixel), Kept("X"));
  EXPECT_EQ(std::to_string(-60 * kPerPixel), Kept("Y"));
}

TEST_F(LyricWindowTest, HidingItKeepsItsPlaceUnlessTheProgramEnds) {
  OGLWin& window = Show();
  window.move(main_.pos() + QPoint(10, 20));
  window.hide();
  EXPECT_EQ(std::to_string(10 * kPerPixel), Kept("X"));
  window.show();
  quitting_ = true;
  window.move(main_.pos() + QPoint(99, 20));
  window.hide();
  EXPECT_EQ(std::to_string(10 * kPerPixel), Kept("X"));
}

// ---- Full screen

TEST_F(LyricWindowTest, FullScreenComesByKeyAndDoubleClickAndGoesByEscape) {
  OGLWin& window = Show();
  const QRect ordinary = window.geometry();
  QTest::keyClick(&window.view(), Qt::Key_F11);
  EXPECT_TRUE(window.isFullScreen());
  EXPECT_EQ(window.screen()->geometry(), window.geometry());
  EXPECT_EQ("1", Kept("FullScreen"));
  QTest::keyClick(&window.view(), Qt::Key_Escape);
  EXPECT_FALSE(window.isFullScreen());
  EXPECT_EQ(ordinary, window.geometry());
  EXPECT_EQ("0", Kept("FullScreen"));
  QTest::keyClick(&window.view(), Qt::Key_Escape);
  EXPECT_FALSE(window.isFullScreen());
  QTest::mouseDClick(&window.view(), Qt::LeftButton);
  EXPECT_TRUE(window.isFullScreen());
  QTest::mouseDClick(&window.view(), Qt::LeftButton);
  EXPECT_FALSE(window.isFullScreen());
  EXPECT_TRUE(window.isVisible());
}

TEST_F(LyricWindowTest, InFullScreenTheSurfaceFillsTheScreenAndAPointerAtRestDisappears) {
  OGLWin& window = Show();
  QTest::keyClick(&window.view(), Qt::Key_F11);
  QTest::qWait(50);
  EXPECT_EQ(window.screen()->geometry().size(), window.view().size());
  const auto is_hidden = [&] { return window.view().cursor().shape() == Qt::BlankCursor; };
  EXPECT_FALSE(is_hidden());
  EXPECT_TRUE(QTest::qWaitFor(is_hidden, 5000));
  QTest::mouseMove(&window.view(), {30, 40});
  QTest::mouseMove(&window.view(), {31, 41});
  EXPECT_FALSE(is_hidden());
  EXPECT_TRUE(QTest::qWaitFor(is_hidden, 5000));
  QTest::keyClick(&window.view(), Qt::Key_Escape);
  QTest::qWait(50);
  EXPECT_FALSE(is_hidden());
  EXPECT_EQ(window.height() - 15, window.view().height());
}

TEST_F(LyricWindowTest, FullScreenIsRememberedAndPlaceAndSizeAreTheOrdinaryOnes) {
  OGLWin& window = Show();
  window.setGeometry(QRect(main_.pos() + QPoint(30, 40), QSize(610, 410)));
  QTest::qWait(300);
  const std::string x = Kept("X");
  QTest::keyClick(&window.view(), Qt::Key_F11);
  QTest::qWait(300);
  EXPECT_EQ(x, Kept("X"));
  window.Follow({5, 6});
  EXPECT_TRUE(window.isFullScreen());
  quitting_ = true;
  window.close();
  EXPECT_EQ(std::to_string(610 * kPerPixel), Kept("W"));
  EXPECT_EQ(std::to_string(410 * kPerPixel), Kept("H"));
  quitting_ = false;
  OGLWin& again = Show();
  EXPECT_TRUE(again.isFullScreen());
  QTest::keyClick(&again.view(), Qt::Key_Escape);
  EXPECT_EQ(QSize(610, 410), again.size());
}

TEST_F(LyricWindowTest, TheChoiceOfAnotherScreenIsRememberedAndHarmlessWhereThereIsNone) {
  OGLWin& window = Show();
  QTest::keyClick(&window.view(), Qt::Key_F11, Qt::ShiftModifier);
  EXPECT_EQ("1", Kept("SecondScreen"));
  EXPECT_FALSE(window.isFullScreen());
  QTest::keyClick(&window.view(), Qt::Key_F11);
  EXPECT_TRUE(window.isFullScreen());
  QTest::keyClick(&window.view(), Qt::Key_F11, Qt::ShiftModifier);
  EXPECT_EQ("0", Kept("SecondScreen"));
  EXPECT_TRUE(window.isFullScreen());
}

// ---- On top, colours, code page

TEST_F(LyricWindowTest, ItCanStayOnTopWithoutLosingItsSurface) {
  LoadSong(150);
  OGLWin& window = Show();
  QTest::keyClick(&window.view(), Qt::Key_T);
  EXPECT_TRUE(window.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
  EXPECT_TRUE(window.windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint));
  EXPECT_EQ("1", Kept("OnTop"));
  EXPECT_GT(InkSeen(), 500);
  QTest::keyClick(&window.view(), Qt::Key_T);
  EXPECT_FALSE(window.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
  QTest::keyClick(&window.view(), Qt::Key_T);
  OGLWin& again = Show();
  EXPECT_TRUE(again.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
}

TEST_F(LyricWindowTest, ThemesAreChosenByMenuAndKeyAndRemembered) {
  OGLWin& window = Show();
  Choice("Theme(4)").trigger();
  EXPECT_EQ(qRgb(240, 236, 224), Seen().pixel(10, 10));
  EXPECT_EQ("4", Kept("Theme"));
  QTest::keyClick(&window.view(), Qt::Key_C);
  EXPECT_EQ(qRgb(0, 0, 0), Seen().pixel(10, 10));
  QTest::keyClick(&window.view(), Qt::Key_C);
  EXPECT_EQ(qRgb(128, 0, 0), Seen().pixel(10, 10));
  Choice("Theme(1)").trigger();
  EXPECT_EQ(1, Show().scene().theme());
}

TEST_F(LyricWindowTest, ACodePageIsForcedAndKeptWithoutTouchingTheModel) {
  LoadSong(150);
  Show();
  EXPECT_TRUE(Choice("CodePage").isEnabled());
  EXPECT_TRUE(Choice("CodePage(-1)").isChecked());
  const auto reads = bass_.CallCount("BASS_MIDI_StreamGetMark");
  const LyricSyllable* const first = model_.syllables().data();
  for (const int page : {0, 1, 2, 3, -1}) {
    Choice(QString("CodePage(%1)").arg(page).toUtf8()).trigger();
    EXPECT_EQ(page, model_.code_pages().forced());
    EXPECT_EQ(page, stored_page_);
    EXPECT_TRUE(Choice(QString("CodePage(%1)").arg(page).toUtf8()).isChecked());
  }
  EXPECT_EQ(reads, bass_.CallCount("BASS_MIDI_StreamGetMark"));
  EXPECT_EQ(first, model_.syllables().data());
  audio_.stream = 0;
  EXPECT_FALSE(Choice("CodePage").isEnabled());
}

TEST_F(LyricWindowTest, TheMenuTellsWhatIsChosenAndPossible) {
  OGLWin& window = Show();
  EXPECT_EQ("&Plein écran", Choice("FullScreen").text());
  EXPECT_EQ("Bordeaux (d’origine)", Choice("Theme(0)").text());
  EXPECT_TRUE(Choice("Theme(0)").isChecked());
  EXPECT_FALSE(Choice("FullScreen").isChecked());
  EXPECT_FALSE(Choice("SecondScreen").isEnabled());  // the tests have one screen
  EXPECT_TRUE(Choice("Closer").isEnabled());
  for (const QAction* action : window.PrepareMenu().actions()) {
    if (!action->isSeparator()) {
      EXPECT_FALSE(action->text().isEmpty());
    }
  }
  Choice("Closer").trigger();
  EXPECT_EQ(4, window.scene().zoom());
  Choice("Farther").trigger();
  Choice("Farther").trigger();
  EXPECT_EQ(6, window.scene().zoom());
  QTest::keyClick(&window.view(), Qt::Key_0, Qt::KeypadModifier);
  EXPECT_FALSE(Choice("Closer").isEnabled());
  QTest::keyClick(&window.view(), Qt::Key_1, Qt::KeypadModifier);
  EXPECT_FALSE(Choice("Farther").isEnabled());
  Choice("OnTop").trigger();
  EXPECT_TRUE(window.options().on_top);
  EXPECT_TRUE(Choice("OnTop").isChecked());
  Choice("FullScreen").trigger();
  EXPECT_TRUE(window.isFullScreen());
  Choice("FullScreen").trigger();
  EXPECT_FALSE(window.isFullScreen());
  Choice("Close").trigger();
  EXPECT_FALSE(window.isVisible());
  EXPECT_EQ(1, closed_);
}

TEST_F(LyricWindowTest, ARightClickOpensTheMenu) {
  OGLWin& window = Show();
  QTest::mouseClick(&window.view(), Qt::RightButton);
  EXPECT_TRUE(QTest::qWaitFor([&] { return window.PrepareMenu().isVisible(); }, 2000));
  window.PrepareMenu().close();
}

TEST_F(LyricWindowTest, AnotherLanguageReachesTitleAndMenu) {
  OGLWin& window = Show();
  language_file_ = std::string(VEXOLO_SOURCES) + "/src/resources/languages/en.lng";
  window.LoadLanguage();
  EXPECT_EQ("Lyrics", window.windowTitle());
  EXPECT_EQ("&Full screen", Choice("FullScreen").text());
}

}  // namespace
}  // namespace vexolo
