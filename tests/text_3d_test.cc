// layer: gui
#include <QFontDatabase>
#include <QRect>
#include <chrono>
#include <cmath>
#include <numbers>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"
#include "fakes/fake_outlines.h"
#include "lyrics/lyric_painter_gl.h"
#include "lyrics/outline_font_widget.h"
#include "lyrics/text_3d_gl.h"
#include "support/offscreen_gl.h"

namespace vexolo {
namespace {

using ::testing::ElementsAre;

constexpr Rgb kTeal = {0.25f, 0.75f, 0.75f};
constexpr int kWidth = 400;
constexpr int kHeight = 300;
constexpr std::chrono::milliseconds kLong = std::chrono::minutes(10);
constexpr std::chrono::milliseconds kShort{0};

/// Where anything but the background is.
QRect Ink(const QImage& picture, QRgb background) {
  QRect ink;
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      if (picture.pixel(x, y) != background) ink |= QRect(x, y, 1, 1);
    }
  }
  return ink;
}

class Text3DTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(gl_.is_there()) << "no OpenGL here"; }

  bool Begin(Text3D& text) {
    return text.CreateOutlineFont(base_, "Comic Sans MS", 144, 700, false, {0.7f, 0.5f, 0.1f});
  }
  bool Create(Text3D& text) {
    return Begin(text) && text.BuildGlyphs(kLong) == Text3D::Progress::kDone;
  }
  std::vector<std::string> Shown() const {
    std::vector<std::string> texts;
    for (const auto& box : boxes_.shown) texts.push_back(box.text);
    return texts;
  }

  OffscreenGl gl_{kWidth, kHeight};
  FakeMessageBoxes boxes_;
  FakeOutlines outlines_;
  unsigned base_ = 0;
};

// ---- The font.

TEST_F(Text3DTest, TheFontIsAskedForAsItStands) {
  Text3D text(outlines_, boxes_);
  ASSERT_TRUE(Create(text));
  ASSERT_EQ(1u, outlines_.fonts.size());
  const LogicalFont& font = outlines_.fonts[0];
  EXPECT_EQ("Comic Sans MS", font.face_name);
  EXPECT_EQ(144, font.height);
  EXPECT_EQ(700, font.weight);
  EXPECT_FALSE(font.italic);
  EXPECT_EQ(0, font.width + font.escapement + font.orientation + font.character_set +
                   font.out_precision + font.clip_precision + font.quality);
  EXPECT_FALSE(font.underline || font.strike_out);
  EXPECT_EQ(1, outlines_.releases);
  GLfloat colour[4];
  glGetFloatv(GL_CURRENT_COLOR, colour);
  EXPECT_FLOAT_EQ(0.7f, colour[0]);
  EXPECT_FLOAT_EQ(0.5f, colour[1]);
  EXPECT_FLOAT_EQ(0.1f, colour[2]);
}

TEST_F(Text3DTest, TheListsAreTheFirstOnesOfTheContext) {
  Text3D text(outlines_, boxes_);
  ASSERT_TRUE(Create(text));
  EXPECT_EQ(1u, base_);
  EXPECT_TRUE(glIsList(1));
  EXPECT_TRUE(glIsList(256));
  EXPECT_FALSE(glIsList(257));
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(Text3DTest, MeasuresAreThoseOfTheOutlines) {
  Text3D text(outlines_, boxes_);
  ASSERT_TRUE(Create(text));
  const GlyphMetrics& l = MetricsOf(text.glyphs(), 'L');
  EXPECT_FLOAT_EQ(0.5f, l.black_box_width);
  EXPECT_FLOAT_EQ(1.0f, l.black_box_height);
  EXPECT_FLOAT_EQ(0.0f, l.origin_x);
  EXPECT_FLOAT_EQ(1.0f, l.origin_y);
  EXPECT_FLOAT_EQ(0.75f, l.cell_increment_x);
  EXPECT_FLOAT_EQ(0.0f, l.cell_increment_y);
  EXPECT_FLOAT_EQ(0.0f, MetricsOf(text.glyphs(), ' ').black_box_height);
  EXPECT_FLOAT_EQ(2.25f, text.TextWidth3D("L x"));
  EXPECT_FLOAT_EQ(1.0f, text.TextHeight3D("xL"));
}

TEST_F(Text3DTest, WithoutListsTheUserIsTold) {
  TextSteps steps = UsualTextSteps();
  steps.reserve_lists = [](int count) {
    EXPECT_EQ(256, count);
    return 0u;
  };
  Text3D text(outlines_, boxes_, steps);
  EXPECT_FALSE(Create(text));
  ASSERT_THAT(Shown(), ElementsAre("Impossible de créer la police de caractère"));
  EXPECT_EQ("", boxes_.shown[0].title);
  EXPECT_EQ(BoxIcon::kNone, boxes_.shown[0].icon);
  EXPECT_TRUE(outlines_.fonts.empty());
}

TEST_F(Text3DTest, WithoutAFontTheUserIsToldAndTheListsAreFreed) {
  outlines_.select_fails = true;
  Text3D text(outlines_, boxes_);
  EXPECT_FALSE(Create(text));
  EXPECT_THAT(Shown(), ElementsAre("Impossible de créer la police de caractères"));
  EXPECT_FALSE(glIsList(1));
}

TEST_F(Text3DTest, WithoutAnOutlineTheUserIsToldAndTheListsAreFreed) {
  for (const int code : {0, 77, 255}) {
    boxes_.shown.clear();
    outlines_.failing_code = code;
    Text3D text(outlines_, boxes_);
    EXPECT_FALSE(Create(text));
    EXPECT_THAT(Shown(), ElementsAre("Impossible de créer la police de caractères")) << code;
    for (GLuint list = 1; list <= 256; ++list) EXPECT_FALSE(glIsList(list)) << list;
    EXPECT_FLOAT_EQ(0, text.TextWidth3D("L"));
    EXPECT_FALSE(text.has_font());
  }
  EXPECT_EQ(3, outlines_.releases);
}

TEST_F(Text3DTest, AListThatTheLibraryRefusesIsAFailureToo) {
  TextSteps steps = UsualTextSteps();
  steps.last_error = [] { return unsigned{GL_OUT_OF_MEMORY}; };
  Text3D text(outlines_, boxes_, steps);
  EXPECT_FALSE(Create(text));
  EXPECT_THAT(Shown(), ElementsAre("Impossible de créer la police de caractères"));
}

// ---- The font is made bit by bit.

TEST_F(Text3DTest, EachStepMakesAtLeastOneListAndTheLastOneMakesTheFont) {
  Text3D text(outlines_, boxes_);
  ASSERT_TRUE(Begin(text));
  EXPECT_EQ(0, outlines_.reads);
  for (int list = 1; list < kGlyphLists; ++list) {
    ASSERT_EQ(Text3D::Progress::kGoesOn, text.BuildGlyphs(kShort));
    ASSERT_EQ(list, outlines_.reads);
    ASSERT_FALSE(text.has_font());
  }
  EXPECT_EQ(0, outlines_.releases);
  EXPECT_EQ(Text3D::Progress::kDone, text.BuildGlyphs(kShort));
  EXPECT_TRUE(text.has_font());
  EXPECT_EQ(Text3D::Progress::kDone, text.BuildGlyphs(kShort));
  EXPECT_EQ(kGlyphLists, outlines_.reads);
  EXPECT_EQ(1, outlines_.releases);
}

TEST_F(Text3DTest, AStepThatHasTimeDoesNotTakeMore) {
  outlines_.delay = std::chrono::milliseconds(2);
  Text3D text(outlines_, boxes_);
  ASSERT_TRUE(Begin(text));
  EXPECT_EQ(Text3D::Progress::kGoesOn, text.BuildGlyphs(std::chrono::milliseconds(10)));
  EXPECT_GE(outlines_.reads, 1);
  EXPECT_LE(outlines_.reads, 5);
}

TEST_F(Text3DTest, FinerLettersTakeThePlaceOfTheOthersWhichAreDrawnUntilThen) {
  Text3D text(outlines_, boxes_);
  ASSERT_TRUE(Create(text));
  text.set_flatness(text.flatness());
  EXPECT_TRUE(text.is_complete());
  text.set_flatness(text.flatness() / 2);
  EXPECT_FALSE(text.is_complete());
  EXPECT_EQ(Text3D::Progress::kGoesOn, text.BuildGlyphs(kShort));
  EXPECT_TRUE(text.has_font());
  EXPECT_FLOAT_EQ(2.25f, text.TextWidth3D("L x"));
  EXPECT_EQ(Text3D::Progress::kDone, text.BuildGlyphs(kLong));
  EXPECT_TRUE(text.is_complete());
  EXPECT_EQ(2 * kGlyphLists, outlines_.reads);
  EXPECT_EQ(2, outlines_.releases);
  EXPECT_FALSE(glIsList(kGlyphLists + 1));
}

TEST_F(Text3DTest, WhereLettersCannotBeMadeAnewTheFontIsGone) {
  Text3D text(outlines_, boxes_);
  ASSERT_TRUE(Create(text));
  outlines_.failing_code = 100;
  text.set_flatness(text.flatness() / 2);
  EXPECT_EQ(Text3D::Progress::kFailed, text.BuildGlyphs(kLong));
  EXPECT_THAT(Shown(), ElementsAre("Impossible de créer la police de caractères"));
  EXPECT_FALSE(text.has_font());
  EXPECT_FALSE(glIsList(1));
  EXPECT_EQ(Text3D::Progress::kFailed, text.BuildGlyphs(kLong));
  EXPECT_EQ(1u, boxes_.shown.size());
}

// ---- Errors while drawing.

TEST_F(Text3DTest, AnErrorAfterATextIsShownByItsNumberOnce) {
  unsigned error = GL_NO_ERROR;
  TextSteps steps = UsualTextSteps();
  steps.last_error = [&] { return error; };
  Text3D text(outlines_, boxes_, steps);
  ASSERT_TRUE(Create(text));
  text.DrawText3D("L", 0, 0, 0, kTeal);
  EXPECT_TRUE(boxes_.shown.empty());
  error = GL_INVALID_OPERATION;
  for (int frame = 0; frame < 3; ++frame) text.DrawText3D("L", 0, 0, 0, kTeal);
  EXPECT_THAT(Shown(), ElementsAre("1282"));
  EXPECT_EQ("", boxes_.shown[0].title);
  error = GL_OUT_OF_MEMORY;
  text.DrawText3D("L", 0, 0, 0, kTeal);
  EXPECT_THAT(Shown(), ElementsAre("1282", "1285"));
}

TEST_F(Text3DTest, AnEmptyTextDoesNothing) {
  int asked = 0;
  TextSteps steps = UsualTextSteps();
  steps.last_error = [&] {
    ++asked;
    return unsigned{GL_NO_ERROR};
  };
  Text3D text(outlines_, boxes_, steps);
  ASSERT_TRUE(Create(text));
  asked = 0;
  text.DrawText3D("", 0, 0, 0, kTeal);
  EXPECT_EQ(0, asked);
}

TEST_F(Text3DTest, TheMatrixIsPutBack) {
  Text3D text(outlines_, boxes_);
  ASSERT_TRUE(Create(text));
  GLfloat before[16];
  GLfloat after[16];
  glGetFloatv(GL_MODELVIEW_MATRIX, before);
  text.DrawText3D("LLL", 1, 2, 3, kTeal);
  glGetFloatv(GL_MODELVIEW_MATRIX, after);
  EXPECT_THAT(after, ::testing::ElementsAreArray(before));
}

// ---- What is seen. The letters are looked at along the z axis, one unit is 100 pixels and the
// middle of the picture is (0, 0).

class SeenTextTest : public Text3DTest {
 protected:
  void SetUp() override {
    Text3DTest::SetUp();
    glViewport(0, 0, kWidth, kHeight);
    glMatrixMode(GL_PROJECTION);
    glOrtho(-2, 2, -1.5, 1.5, -2, 2);
    glMatrixMode(GL_MODELVIEW);
    glEnable(GL_CULL_FACE);
    glEnable(GL_DEPTH_TEST);
    ASSERT_TRUE(Create(text_));
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  }
  QRect InkNow() const { return Ink(gl_.Picture(), qRgb(0, 0, 0)); }
  bool IsInk(int x, int y) const { return gl_.Picture().pixel(x, y) != qRgb(0, 0, 0); }

  Text3D text_{outlines_, boxes_};
};

TEST_F(SeenTextTest, ALetterStandsOnItsBaseLineAndLooksToTheRight) {
  text_.DrawText3D("L", 0, 0, 0, kTeal);
  EXPECT_EQ(QRect(200, 50, 50, 100), InkNow());
  EXPECT_EQ(qRgb(64, 191, 191), gl_.Picture().pixel(205, 60));
  EXPECT_FALSE(IsInk(240, 60));  // above the foot
  EXPECT_TRUE(IsInk(240, 140));
}

TEST_F(SeenTextTest, LettersFollowEachOtherByTheirIncrements) {
  text_.DrawText3D("x L", -1, 0.25f, 0, kTeal);
  EXPECT_EQ(QRect(100, 25, 200, 100), InkNow());
  EXPECT_TRUE(IsInk(149, 120));
  EXPECT_FALSE(IsInk(151, 120));
  EXPECT_FALSE(IsInk(249, 120));
  EXPECT_TRUE(IsInk(251, 120));
}

TEST_F(SeenTextTest, AHoleIsOpen) {
  text_.DrawText3D("O", 0, 0, 0, kTeal);
  EXPECT_EQ(QRect(200, 90, 60, 60), InkNow());
  EXPECT_FALSE(IsInk(230, 120));
  EXPECT_TRUE(IsInk(210, 120));
}

TEST_F(SeenTextTest, FromBehindTheBackIsSeen) {
  glRotatef(180, 0, 1, 0);
  text_.DrawText3D("O", 0, 0, 0, kTeal);
  EXPECT_EQ(QRect(140, 90, 60, 60), InkNow());
  EXPECT_FALSE(IsInk(170, 120));
}

TEST_F(SeenTextTest, FromEverySideTheRimIsSeenAsDeepAsTheExtrusion) {
  const float depth = static_cast<float>(kExtrusion) * 100;
  for (const float angle : {90.0f, -90.0f}) {
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glLoadIdentity();
    glRotatef(angle, 0, 1, 0);
    text_.DrawText3D("x", 0, 0, 0, kTeal);
    const QRect ink = InkNow();
    EXPECT_NEAR(depth, ink.width(), 1) << angle;
    EXPECT_EQ(50, ink.height());
    EXPECT_NEAR(angle > 0 ? 190 : 200, ink.left(), 1) << "it goes back from the front";
  }
  for (const float angle : {90.0f, -90.0f}) {
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glLoadIdentity();
    glRotatef(angle, 1, 0, 0);
    text_.DrawText3D("x", 0, 0, 0, kTeal);
    EXPECT_NEAR(depth, InkNow().height(), 1) << angle;
    EXPECT_EQ(50, InkNow().width());
  }
}

// ---- The toolkit's fonts.

class QtOutlinesTest : public Text3DTest {
 protected:
  QtOutlines fonts_;
};

TEST_F(QtOutlinesTest, TheFaceIsTakenWhereItIsInstalledElseOneThatLooksLikeIt) {
  LogicalFont font;
  font.height = 144;
  font.weight = 700;
  font.face_name = "DejaVu Sans";
  ASSERT_TRUE(fonts_.Select(font));
  EXPECT_EQ("DejaVu Sans", fonts_.family());
  font.face_name = "No such face";
  ASSERT_TRUE(fonts_.Select(font));
  if (QFontDatabase::hasFamily("Comic Neue")) {
    EXPECT_EQ("Comic Neue", fonts_.family());
  } else {
    EXPECT_FALSE(fonts_.family().isEmpty());
  }
}

TEST_F(QtOutlinesTest, EveryVisibleCharacterOfWindows1252HasInkAndRoom) {
  Text3D text(fonts_, boxes_);
  ASSERT_TRUE(Create(text));
  for (int code = 0; code < 256; ++code) {
    const GlyphMetrics& glyph = text.glyphs()[static_cast<std::size_t>(code)];
    const bool is_control = code < 32 || code == 127 || code == 0x81 || code == 0x8D ||
                            code == 0x8F || code == 0x90 || code == 0x9D ||
                            code == 0xAD;  // soft hyphen: shown only where a line is broken
    const bool is_space = code == ' ' || code == 0xA0 || (code >= 9 && code <= 13);
    if (is_space) {
      EXPECT_GT(glyph.cell_increment_x, 0) << code;
      EXPECT_EQ(0, glyph.black_box_width) << code;
    } else if (is_control) {
      EXPECT_EQ(0, glyph.cell_increment_x) << code;
      EXPECT_EQ(0, glyph.black_box_width) << code;
    } else {
      EXPECT_GT(glyph.cell_increment_x, 0.1f) << code;
      EXPECT_LT(glyph.cell_increment_x, 1.5f) << code;
      EXPECT_GT(glyph.black_box_width, 0.02f) << code;
      EXPECT_LT(glyph.black_box_height, 1.4f) << code;
    }
  }
}

TEST_F(QtOutlinesTest, MeasuresAreInHeightsOfTheFont) {
  Text3D text(fonts_, boxes_);
  ASSERT_TRUE(Create(text));
  // Letters of any text face: capitals are about 0.7 high, small ones about 0.5.
  EXPECT_NEAR(0.7f, text.TextHeight3D("H"), 0.08f);
  EXPECT_NEAR(0.52f, text.TextHeight3D("x"), 0.08f);
  EXPECT_GT(text.TextHeight3D("\xC9"), text.TextHeight3D("E"));
  EXPECT_LT(MetricsOf(text.glyphs(), 'p').origin_y - text.TextHeight3D("p"), -0.1f);
  EXPECT_NEAR(0, MetricsOf(text.glyphs(), 'H').origin_y - text.TextHeight3D("H"), 0.03f);
}

TEST_F(QtOutlinesTest, ItalicsLean) {
  OutlineGlyph upright;
  OutlineGlyph leaning;
  LogicalFont font;
  font.height = 144;
  font.face_name = "DejaVu Sans";
  ASSERT_TRUE(fonts_.Select(font));
  ASSERT_TRUE(fonts_.ReadGlyph('l', upright));
  font.italic = true;
  ASSERT_TRUE(fonts_.Select(font));
  ASSERT_TRUE(fonts_.ReadGlyph('l', leaning));
  const auto box = [](const OutlineGlyph& glyph) {
    return BoxOf(FlattenOutline(glyph.outline, kUsualFlatness));
  };
  EXPECT_GT(box(leaning).right - box(leaning).left, 1.5 * (box(upright).right - box(upright).left));
}

TEST_F(QtOutlinesTest, WithoutASelectedFontThereAreNoGlyphs) {
  OutlineGlyph glyph;
  EXPECT_FALSE(fonts_.ReadGlyph('A', glyph));
  fonts_.Select({.height = 144, .face_name = "DejaVu Sans"});
  EXPECT_TRUE(fonts_.ReadGlyph('A', glyph));
  fonts_.Release();
  EXPECT_FALSE(fonts_.ReadGlyph('A', glyph));
}

TEST(Flatness, NoCurveLeavesItsPlaceByMoreThanAQuarterOfAPixel) {
  for (const int height : {1, 270, 720, 768, 769, 1080, 1200, 1440, 2160, 4320, 8640}) {
    // Of the nearest text: half of the height shows 9.5 tan 20 units.
    const double pixels = height / 2.0 / (9.5 * std::tan(20 * std::numbers::pi / 180));
    EXPECT_LE(FlatnessFor(height) * pixels, 0.25 + 1e-9) << height;
    const double least = height >= 768 ? 0.25 / std::numbers::sqrt2 : 0;
    EXPECT_GE(FlatnessFor(height) * pixels, least - 1e-9) << height << ": finer than needed";
  }
}

TEST(Flatness, ASmallChangeOfTheSizeLeavesTheLettersAsTheyAre) {
  EXPECT_EQ(FlatnessFor(300), FlatnessFor(720));
  EXPECT_EQ(FlatnessFor(1100), FlatnessFor(1200));
  EXPECT_GT(FlatnessFor(720), FlatnessFor(1080));
}

// ---- Frames.

class PainterTest : public Text3DTest {
 protected:
  void SetUp() override {
    Text3DTest::SetUp();
    ASSERT_TRUE(painter_.Prepare());
    painter_.SetViewport(kWidth, kHeight);
    ASSERT_EQ(Text3D::Progress::kDone, painter_.BuildLetters(kLong));
    frame_.background = {0.5f, 0, 0};
    frame_.distance = 15;
  }
  void Add(const std::string& text, float x, float y, float z) {
    frame_.texts.push_back({frame_.bytes.size(), text.size(), x, y, z, kTeal});
    frame_.bytes += text;
  }
  QImage Paint() {
    painter_.Paint(frame_);
    return gl_.Picture();
  }

  LyricPainter painter_{outlines_, boxes_};
  LyricFrame frame_;
};

TEST_F(PainterTest, WithoutTextsThereIsTheBackground) {
  const QImage picture = Paint();
  for (const QPoint at : {QPoint(0, 0), QPoint(200, 150), QPoint(399, 299)}) {
    EXPECT_EQ(qRgb(128, 0, 0), picture.pixel(at));
  }
}

// 40 degrees upright: at 14.5 from the camera a unit is 150 / (14.5 tan 20) = 28.42 pixels.
TEST_F(PainterTest, TextsStandWhereThePerspectivePutsThem) {
  Add("L", 1, 2, 0.5f);
  const QRect ink = Ink(Paint(), qRgb(128, 0, 0));
  EXPECT_NEAR(200 + 28.42, ink.left(), 1);
  EXPECT_NEAR(200 + 1.5 * 28.42, ink.right() + 1, 1);
  EXPECT_NEAR(150 - 3 * 28.42, ink.top(), 1);
  // The rim goes back by 0.1, towards the middle: its lower edge shows below the letter.
  EXPECT_NEAR(150 - 2 * 28.42, ink.bottom() + 1, 1.5);
}

TEST_F(PainterTest, WhatRecedesGetsSmaller) {
  Add("L", 0, 0, -14);
  const QRect ink = Ink(Paint(), qRgb(128, 0, 0));
  EXPECT_NEAR(150 / (29 * 0.36397), ink.height(), 1);
}

TEST_F(PainterTest, FrontsShowTheirColourAndOnlyRimsThatLookUpOrLeftShine) {
  Add("x", 5, -3.5f, 0.5f);  // its left and its upper rim are seen
  Add("x", -5, 3.5f, 0.5f);  // its right and its lower one
  const QImage picture = Paint();
  const double unit = 28.42;
  const QRgb front =
      picture.pixel(static_cast<int>(200 + 5.25 * unit), static_cast<int>(150 + 3.25 * unit));
  // The light's own ambient part and the scene's: 1.2 times the colour.
  EXPECT_NEAR(0.25 * 1.2 * 255, qRed(front), 2);
  EXPECT_NEAR(0.75 * 1.2 * 255, qGreen(front), 2);
  int shining_right = 0;
  int shining_left = 0;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      if (qRed(picture.pixel(x, y)) < 200) continue;
      ++(x < 200 ? shining_left : shining_right);
    }
  }
  EXPECT_GT(shining_right, 10);
  EXPECT_EQ(0, shining_left);
}

TEST_F(PainterTest, NearerTextsCoverFartherOnes) {
  Add("x", -0.25f, -0.25f, 0.5f);
  Add("x", -0.25f, -0.25f, -4);
  frame_.texts[1].colour = {1, 1, 0};
  const QRgb middle = Paint().pixel(200, 150);
  EXPECT_NEAR(0.75 * 1.2 * 255, qBlue(middle), 2);
}

TEST_F(PainterTest, TextsOutOfTheViewAreNotDrawnAndThoseAtItsEdgeAre) {
  // Half of the view is 14.5 tan 20 = 5.28 high.
  Add("L", 0, 5.0f, 0.5f);
  Add("L", -2, -6.0f, 0.5f);
  const QImage picture = Paint();
  EXPECT_NE(qRgb(128, 0, 0), picture.pixel(203, 1));
  EXPECT_NE(qRgb(128, 0, 0), picture.pixel(200 - 55, 298));
}

TEST_F(PainterTest, TheStateIsTheOneThatTheFramesNeed) {
  EXPECT_TRUE(glIsEnabled(GL_CULL_FACE));
  EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
  EXPECT_TRUE(glIsEnabled(GL_COLOR_MATERIAL));
  EXPECT_TRUE(glIsEnabled(GL_LIGHTING));
  EXPECT_TRUE(glIsEnabled(GL_LIGHT1));
  EXPECT_FALSE(glIsEnabled(GL_LIGHT0));
  EXPECT_FALSE(glIsEnabled(GL_BLEND));
  GLint value = 0;
  glGetIntegerv(GL_FRONT_FACE, &value);
  EXPECT_EQ(GL_CCW, value);
  glGetIntegerv(GL_DEPTH_FUNC, &value);
  EXPECT_EQ(GL_LEQUAL, value);
  glGetIntegerv(GL_BLEND_SRC, &value);
  EXPECT_EQ(GL_SRC_ALPHA, value);
  glGetIntegerv(GL_BLEND_DST, &value);
  EXPECT_EQ(GL_DST_ALPHA, value);
  GLfloat position[4];
  glGetLightfv(GL_LIGHT1, GL_POSITION, position);
  EXPECT_THAT(position, ElementsAre(-10, 10, -100, 1));
  GLfloat shininess = 0;
  glGetMaterialfv(GL_FRONT, GL_SHININESS, &shininess);
  EXPECT_FLOAT_EQ(1, shininess);
}

}  // namespace
}  // namespace vexolo
