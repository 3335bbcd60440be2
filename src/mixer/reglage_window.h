/// The window of the channel settings.
#pragma once

#include <QTimer>
#include <array>

#include "audio/audio_state.h"
#include "mixer/controller_table.h"
#include "mixer/controllers.h"
#include "mixer/instrument_button_widget.h"
#include "mixer/mix_state.h"
#include "widgets/companion_window.h"
#include "widgets/kept_picture.h"
#include "widgets/knob_widget.h"

namespace vexolo {

/// A row for each channel: activity lamp, four knobs, bank, program, the instrument's name and the
/// drum mode. What the user has set is lit. Window thread only.
class Reglage : public CompanionWindow {
 public:
  /// The objects must outlive this one.
  Reglage(const WindowContext& context, QWidget* main_window, Controllers& controllers,
          MixState& state, AudioState& audio);

  void LoadLanguage() final;
  /// Shows what is in force now; what is shown already is not drawn again. Ten times a second while
  /// a song plays, and when a song has been opened.
  void Refresh();
  /// Another bank is in use: its names are shown.
  void RefreshNames();

  /// Draws a control with its value and sets its text.
  void DrawKnob(int entry);

  KnobWidget& knob(int entry) { return *Potard[static_cast<std::size_t>(entry)]; }
  InstrumentButtonWidget& name_button(int channel) {
    return *names_[static_cast<std::size_t>(channel)];
  }
  /// Opens the list of instruments for a channel.
  void OpenInstruments(int channel);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  struct Shown {
    int value = -1;
    bool is_override = false;
    bool has_song = false;
    bool operator==(const Shown&) const = default;
  };

  void MakeControl(int entry);
  void MakeNameButton(int channel);
  void PaintControl(QPainter& painter, int entry) const;
  void PaintBack(QPainter& painter) const;
  void DrawChannel(int channel);
  void DrawName(int channel);
  void DrawLamps();
  void PressControl(int entry, int button, QPointF at, Qt::KeyboardModifiers keys);
  QString ValueText(int entry) const;
  QString Tip(int entry) const;
  Shown Now(int entry) const;

  Controllers& controllers_;
  MixState& state_;
  AudioState& audio_;
  std::array<KnobWidget*, static_cast<std::size_t>(kFirstSongEntry)> Potard{};
  std::array<InstrumentButtonWidget*, kChannels> names_{};
  std::array<Shown, static_cast<std::size_t>(kFirstSongEntry)> shown_{};
  std::array<int, kChannels> lamp_frames_{};
  std::array<QString, kControllerKinds> captions_;
  QString no_preset_;
  KeptPicture back_;  ///< what does not change
  QTimer lamp_timer_;
};

}  // namespace vexolo
