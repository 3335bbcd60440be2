/// The panel with everything that stands on it.
#pragma once

#include <QString>
#include <array>
#include <functional>

#include "app/led_widget.h"
#include "app/meter_widget.h"
#include "app/panel_face_widget.h"
#include "app/position_slider_widget.h"
#include "mixer/knobs.h"
#include "mixer/mix_state.h"
#include "widgets/knob_widget.h"
#include "widgets/sprite_button.h"

class QLabel;

namespace vexolo {

inline constexpr int kSmButtons = 48;  ///< `PicSM`

/// What is done on the panel. All of it has to be set before the panel is used.
struct PanelActions {
  /// A `PicSM` button goes down (mouse button 1 left, 2 right), and is clicked.
  std::function<void(int index, int mouse_button)> press_button;
  std::function<void(int index)> click_button;
  /// A knob (`Potard`) is pressed, dragged, let go; positions are pixels in the knob.
  std::function<void(int index, int mouse_button, QPointF at)> press_knob;
  std::function<void(QPointF at)> move_knob;
  std::function<void()> release_knob;
  /// A knob is turned by steps with wheel or keyboard; finer with Ctrl.
  std::function<void(int index, int steps, bool fine)> step_knob;
  /// A knob is given a value by an assistive tool.
  std::function<void(int index, int value)> set_knob;
  std::function<void()> open_about;
};

/// Makes the controls, at the places of panel_layout.h, and shows what it is given; what the
/// controls do is decided elsewhere. Window thread only.
class MainPanelWidget : public PanelFaceWidget {
 public:
  MainPanelWidget(const Skin& skin, QWidget* parent);

  PanelActions actions;

  /// `DrawSM`.
  void DrawSM(int button, int state);
  /// `DrawKnob`, without its tooltip.
  void DrawKnob(int knob, int value, int base_tempo);

  SpriteButton& sm(int index) { return *sm_[static_cast<std::size_t>(index)]; }
  KnobWidget& potard(int index) { return *potards_[static_cast<std::size_t>(index)]; }
  LampWidget& lamp(int channel) { return *lamps_[static_cast<std::size_t>(channel)]; }
  LevelWidget& level() { return *level_; }
  LevelWidget& peak() { return *peak_; }
  ClipWidget& clip_lamp() { return *clip_lamp_; }
  LedWidget& title() { return *title_; }
  LedWidget& time() { return *time_; }
  PositionSlider& slider() { return *slider_; }
  QLabel& label_gain() { return *label_gain_; }
  QWidget& speed_frame() { return *speed_frame_; }
  QAbstractButton& name_plate() { return *name_plate_; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void MakeButtons();
  void MakeKnobs();
  void MakeDisplays();
  KnobWidget* MakeKnob(int index);
  void PaintKnob(QPainter& painter, int index, int value) const;
  /// Tab goes through the panel as people use it: transport first, then strips.
  void OrderTabs();

  const Skin& skin_;
  int base_tempo_ = 0;
  int transpose_ = 0;
  std::array<SpriteButton*, kSmButtons> sm_{};
  std::array<KnobWidget*, kKnobs> potards_{};
  std::array<LampWidget*, kChannels> lamps_{};
  QWidget* speed_frame_;
  LevelWidget* level_;
  LevelWidget* peak_;
  ClipWidget* clip_lamp_;
  LedWidget* title_;
  LedWidget* time_;
  PositionSlider* slider_;
  QLabel* label_gain_;
  QAbstractButton* name_plate_;
};

}  // namespace vexolo
