/// The window of the song-wide effects.
#pragma once

#include <array>

#include "mixer/mix_state.h"
#include "mixer/reverb_chorus.h"
#include "widgets/companion_window.h"
#include "widgets/kept_picture.h"
#include "widgets/knob_widget.h"
#include "widgets/sprite_button.h"

namespace vexolo {

/// Eleven knobs in two frames, one for the reverb and one for the chorus, each frame with a button
/// that takes the effect away for comparing. Window thread only.
class Reverb : public CompanionWindow {
 public:
  /// The objects must outlive this one.
  Reverb(const WindowContext& context, QWidget* main_window, ReverbChorus& effects,
         MixState& state);

  void LoadLanguage() final;
  /// Shows what is in force now; knobs that show it already are not drawn again. Ten times a second
  /// while a song plays, and when a song has been opened.
  void Refresh();

  /// Draws a knob (kind 1..11) with its value.
  void DrawKnob(int kind);

  KnobWidget& knob(int kind) { return *Potard[static_cast<std::size_t>(kind - 1)]; }
  SpriteButton& bypass_button(bool chorus) { return *bypass_[chorus ? 1 : 0]; }
  /// The value under a knob, as it is shown.
  QString ValueText(int kind) const;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  struct Shown {
    int value = -1;
    bool is_override = false;
    bool operator==(const Shown&) const = default;
  };

  void MakeKnob(int kind);
  void MakeBypass(bool chorus);
  void PaintKnob(QPainter& painter, int kind) const;
  void PaintBack(QPainter& painter) const;
  void PaintValue(QPainter& painter, int kind) const;
  void DrawBypass();
  Shown Now(int kind) const;
  Shown& ShownOf(int kind) { return shown_[static_cast<std::size_t>(kind - 1)]; }

  ReverbChorus& effects_;
  MixState& state_;
  std::array<KnobWidget*, kSongKinds> Potard{};
  std::array<SpriteButton*, 2> bypass_{};
  std::array<Shown, kSongKinds> shown_{};
  std::array<QString, 2> frames_;
  QString bypass_caption_;
  std::array<QString, kSongKinds> captions_;
  KeptPicture back_;  ///< what does not change
};

}  // namespace vexolo
