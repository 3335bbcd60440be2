/// A button whose faces come out of the skin.
#pragma once

#include <QAbstractButton>
#include <functional>

#include "platform/sprite.h"
#include "widgets/held_control.h"

namespace vexolo {

class Skin;

/// Where the picture of a button stands in the skin, for a state.
using ButtonSprite = std::function<SpriteRect(int state)>;

inline constexpr int kButtonUp = 0;
inline constexpr int kButtonDown = 1;

/// Shows one state of its sprite: the pressed one while it is held down, else the one that it was
/// given. Left and right clicks; Return activates it when it has the focus (the space bar belongs
/// to the window, where it plays). Window thread only.
class SpriteButton : public QAbstractButton, public HeldControl {
 public:
  /// `bitmap`: number of the skin bitmap. `press_shows_down`: whether the pressed state is drawn
  /// while the mouse holds the button.
  SpriteButton(const Skin& skin, int bitmap, ButtonSprite sprite, bool press_shows_down,
               QWidget* parent);

  /// The face under the mouse pointer while the button is up; without one nothing shows there.
  void set_hover_face(int bitmap, const SpriteRect& face);

  void set_state(int state);
  int state() const { return state_; }
  /// What is drawn now.
  int drawn_state() const;

  /// `mouse_button`: 1 left, 2 right. The press comes first, then, where the button is let go over
  /// the widget, the click.
  std::function<void(int mouse_button)> on_press;
  std::function<void()> on_click;

  /// Without a click.
  void LetGo() override;

  QSize sizeHint() const final;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  void Activate(int mouse_button);

  const Skin& skin_;
  const int bitmap_;
  const ButtonSprite sprite_;
  const bool press_shows_down_;
  int hover_bitmap_ = 0;  ///< 0 = no such face
  SpriteRect hover_face_;
  int state_ = kButtonUp;
  int held_by_ = 0;  ///< mouse button, 0 = none
};

}  // namespace vexolo
