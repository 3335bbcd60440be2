// layer: gui
// What the panel shows comes, pixel for pixel, from the stated rectangles of the skin.
#include <QImage>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <string>

#include <gtest/gtest.h>

#include "app/main_panel_widget.h"
#include "app/panel_layout.h"
#include "mixer/channel_strips.h"
#include "widgets/skin.h"

namespace vexolo {
namespace {

class MainPanel : public testing::Test {
 protected:
  /// A rectangle of a bitmap, as the resources hold it.
  QImage OfSkin(int id, const SpriteRect& rect) const {
    return skin_.Bitmap(id, 1)
        .copy(rect.x, rect.y, rect.width, rect.height)
        .toImage()
        .convertToFormat(QImage::Format_RGB32);
  }
  static QImage Shown(QWidget& widget) {
    return widget.grab().toImage().convertToFormat(QImage::Format_RGB32);
  }
  static QImage Shown(QWidget& widget, const QRect& part) {
    return widget.grab(part).toImage().convertToFormat(QImage::Format_RGB32);
  }

  Skin skin_;
  MainPanelWidget panel_{skin_, nullptr};
};

TEST_F(MainPanel, ButtonsShowTheirStates) {
  for (int button = 0; button < kSmButtons; ++button) {
    const bool is_small = button >= 38;
    for (int state = 0; state <= (is_small && button != 42 ? 1 : 3); ++state) {
      if (button >= 32 && button < 38 && state == 3) continue;  // no such face
      panel_.DrawSM(button, state);
      SpriteRect stated;
      if (button < 16) {
        stated = {0, state * 12, 24, 12};
      } else if (button < 32) {
        stated = {24, state * 12, 24, 12};
      } else if (button < 38) {
        stated = {(button - 32) * 32, state * 32 + 48, 32, 32};
      } else if (button == 42 && state >= 2) {
        stated = {state == 2 ? 72 : 96, 24, 24, 24};
      } else {
        stated = {(button - 38) * 24, state * 24 + 160, 24, 24};
      }
      EXPECT_EQ(OfSkin(103, stated), Shown(panel_.sm(button))) << button << " " << state;
    }
  }
}

TEST_F(MainPanel, LevelKnobsShowTheirFrame) {
  for (int value = 0; value <= 200; value += 5) {
    panel_.DrawKnob(4, value, 500000);
    const int frame = 41 * value / 201;
    EXPECT_EQ(OfSkin(106, {frame * 24, 0, 24, 128}), Shown(panel_.potard(4))) << value;
  }
}

TEST_F(MainPanel, TheGainKnobShowsItsFrame) {
  for (int value = -20; value <= 20; ++value) {
    panel_.DrawKnob(kGainKnob, value, 500000);
    EXPECT_EQ(OfSkin(106, {(value + 20) * 24, 0, 24, 128}), Shown(panel_.potard(kGainKnob)))
        << value;
  }
}

TEST_F(MainPanel, TheTransposeKnobShowsItsFrame) {
  for (int value = -12; value <= 12; ++value) {
    panel_.DrawKnob(kTransposeKnob, value, 500000);
    EXPECT_EQ(OfSkin(109, {0, (value + 12) * 103, 103, 103}), Shown(panel_.potard(kTransposeKnob)))
        << value;
  }
}

TEST_F(MainPanel, ATranspositionIsWrittenUnderItsKnob) {
  const auto& place = panel::kTransposeValue;
  const QRect under(place.x, place.y, place.width, place.height);
  const QImage none = Shown(panel_, under);
  panel_.DrawKnob(kTransposeKnob, 3, 500000);
  const QImage three = Shown(panel_, under);
  EXPECT_NE(none, three);
  panel_.DrawKnob(kTransposeKnob, -3, 500000);
  EXPECT_NE(three, Shown(panel_, under));
  panel_.DrawKnob(kTransposeKnob, 0, 500000);
  EXPECT_EQ(none, Shown(panel_, under));
}

TEST_F(MainPanel, TheSpeedKnobShowsThreeCharacters) {
  const auto expect = [this](const std::string& text, bool lit) {
    QWidget& knob = panel_.potard(kSpeedKnob);
    for (int i = 0; i < 3; ++i) {
      const int code = text[static_cast<std::size_t>(i)] - 32;
      EXPECT_EQ(OfSkin(108, {code * 14, lit ? 0 : 22, 14, 22}),
                Shown(knob, {4 + i * 14, 4, 14, 22}))
          << text;
    }
  };
  panel_.DrawKnob(kSpeedKnob, 0, 500000);
  expect("120", true);
  panel_.DrawKnob(kSpeedKnob, 0, 750000);
  expect(" 80", true);
  panel_.DrawKnob(kSpeedKnob, 600, 500000);
  expect("300", false);
  panel_.DrawKnob(kSpeedKnob, 0, 0);
  expect("bpm", true);
}

TEST_F(MainPanel, LampsShowTheirFrameInTheColumnOfTheirChannel) {
  for (int frame = 0; frame <= 8; ++frame) {
    const int level = frame * 127 / 8;
    ASSERT_EQ(frame, LampFrame(level));
    // The bitmap ends in the ninth row: the eighth stands for it.
    const int y = std::min(frame, 7) * 24 + 3;
    panel_.lamp(2).DrawJ(level, false);
    EXPECT_EQ(OfSkin(104, {147, y, 18, 18}), Shown(panel_.lamp(2))) << frame;
    panel_.lamp(2).DrawJ(level, true);
    EXPECT_EQ(OfSkin(104, {3, y, 18, 18}), Shown(panel_.lamp(2))) << frame;
  }
}

TEST_F(MainPanel, TheMeterShowsItsSegments) {
  for (int segments = 0; segments <= 11; ++segments) {
    panel_.level().ShowSegments(segments);
    panel_.peak().ShowSegments(11 - segments);
    EXPECT_EQ(OfSkin(107, {segments * 16, 0, 16, 80}), Shown(panel_.level()));
    EXPECT_EQ(OfSkin(107, {(11 - segments) * 16, 0, 16, 80}), Shown(panel_.peak()));
  }
}

TEST_F(MainPanel, LedTextsShowTheirGlyphs) {
  for (int first = 0; first < 96; first += 8) {
    std::string text;
    for (int code = first; code < first + 8; ++code) text += static_cast<char>(code + 32);
    for (const bool lit : {true, false}) {
      panel_.title().Print(text, lit);
      for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(OfSkin(108, {(first + i) * 14, lit ? 0 : 22, 14, 22}),
                  Shown(panel_.title(), {i * 14, 0, 14, 22}))
            << text[static_cast<std::size_t>(i)] << lit;
      }
      EXPECT_EQ(OfSkin(108, {0, lit ? 0 : 22, 14, 22}),
                Shown(panel_.title(), {panel_.title().width() - 14, 0, 14, 22}));
    }
  }
}

TEST_F(MainPanel, EverythingStandsInItsPlace) {
  EXPECT_EQ(QSize(panel::kWidth, panel::kHeight), panel_.size());
  for (int channel = 0; channel < kChannels; ++channel) {
    const panel::Place solo = panel::SoloPlace(channel);
    EXPECT_EQ(QRect(solo.x, solo.y, 24, 12), panel_.sm(channel).geometry());
    const panel::Place level = panel::LevelPlace(channel);
    EXPECT_EQ(QRect(level.x, level.y, 24, 128), panel_.potard(channel).geometry());
  }
  EXPECT_EQ(QSize(103, 103), panel_.potard(kTransposeKnob).size());
}

TEST_F(MainPanel, DrawsNothingBeforeItsSkinIsThereAndAfterItHasGone) {
  Skin later(Skin::kBuildLater);
  MainPanelWidget panel(later, nullptr);
  EXPECT_NE(OfSkin(103, {0, 0, 24, 12}), Shown(panel.sm(0)));
  EXPECT_TRUE(later.Build());
  EXPECT_EQ(OfSkin(103, {0, 0, 24, 12}), Shown(panel.sm(0)));
  later.Release();
  EXPECT_NE(OfSkin(103, {0, 0, 24, 12}), Shown(panel.sm(0)));
}

}  // namespace
}  // namespace vexolo
