// layer: gui
#include "widgets/sprite_button.h"

#include <QImage>

#include <gtest/gtest.h>

#include "mixer/channel_strips.h"
#include "widgets/skin.h"

namespace vexolo {
namespace {

constexpr int kKey = 41;

class SpriteButtonFaces : public testing::Test {
 protected:
  SpriteButtonFaces() {
    button_.setFocusPolicy(Qt::NoFocus);
    button_.set_hover_face(kControllerSheet, HoverSprite(kKey));
  }

  QImage Shown() { return button_.grab().toImage().convertToFormat(QImage::Format_RGB32); }

  QImage Sprite(int id, const SpriteRect& rect) const {
    return skin_.Bitmap(id, 1)
        .copy(rect.x, rect.y, rect.width, rect.height)
        .toImage()
        .convertToFormat(QImage::Format_RGB32);
  }

  const Skin skin_;
  SpriteButton button_{skin_, kButtonSheet, [](int state) { return SmSprite(kKey, state); }, true,
                       nullptr};
};

TEST_F(SpriteButtonFaces, UpIsShownAsItStandsOnTheSkin) {
  EXPECT_EQ(Shown(), Sprite(kButtonSheet, SmSprite(kKey, kButtonUp)));
}

TEST_F(SpriteButtonFaces, UnderThePointerItHasAnother) {
  button_.setAttribute(Qt::WA_UnderMouse);
  EXPECT_EQ(Shown(), Sprite(kControllerSheet, HoverSprite(kKey)));
}

TEST_F(SpriteButtonFaces, DownItLooksTheSameUnderThePointer) {
  button_.set_state(kButtonDown);
  button_.setAttribute(Qt::WA_UnderMouse);
  EXPECT_EQ(Shown(), Sprite(kButtonSheet, SmSprite(kKey, kButtonDown)));
}

TEST_F(SpriteButtonFaces, DisabledItDoesNotAnswerThePointer) {
  button_.setEnabled(false);
  const QImage away = Shown();
  button_.setAttribute(Qt::WA_UnderMouse);
  EXPECT_EQ(Shown(), away);
  EXPECT_NE(away, Sprite(kButtonSheet, SmSprite(kKey, kButtonUp)));
}

}  // namespace
}  // namespace vexolo
