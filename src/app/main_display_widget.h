/// What the main window's panel shows: the state of transport, mixer, markers and song.
#pragma once

#include <array>
#include <functional>
#include <optional>
#include <string>

#include "app/companions.h"
#include "app/main_panel_widget.h"
#include "app/main_timer.h"
#include "app/program.h"
#include "app/title_display.h"
#include "app/transport.h"
#include "mixer/meters.h"
#include "widgets/window_context.h"

namespace vexolo {

/// What the display hands on. Functions may be empty.
struct DisplayLinks {
  std::function<void(bool enabled)> enable_timer;
  std::function<std::optional<std::string>(const std::string& proposed)> ask_time;
  std::function<void(const QString& caption)> set_caption;  ///< of the main window
  std::function<void()> refresh_channels;
  std::function<void()> mix_drawn;
  std::function<void(int mode)> repeat_drawn;
  std::function<void(const std::string& text)> show_bank_info;
};

/// The side of transport and timer on which things are shown. Draws only what has changed. Window
/// thread only.
class MainDisplay : public TransportView, public MainTimerView {
 public:
  /// The objects must outlive this one.
  MainDisplay(Program& program, MainPanelWidget& panel);

  DisplayLinks links;

  /// Captions and tooltips from section "Main" of the language file in use.
  void LoadLanguage(const WindowContext& context);
  const MainTimer::BankTexts& bank_texts() const { return texts_.bank; }

  void DispSoloMute();
  void DrawKnobs();
  /// One knob, with its tooltip; held in the mouse, the tooltip is open.
  void DrawPotard(int index, bool moving = false);
  void DrawFace(Companion companion, bool pressed);

  /// A button whose window is not there cannot be used and says so.
  void SetMissing(int button);
  /// While a song is converted, what would disturb that cannot be used.
  void EnableControls();
  /// Says for a moment, in the title's place, that a song has been converted.
  void TellConverted();

  // For the transport.
  void ShowTitle(const std::string& song_path) override;
  void DrawPlay(bool pressed) override;
  void DrawRepeat(int mode) override;
  void AfficherMarqueurs() override;
  void DrawMix() override;
  void ShowTime() override;
  void EnableTimer(bool enabled) override { links.enable_timer(enabled); }
  std::optional<std::string> AskTime(const std::string& proposed) override {
    return links.ask_time(proposed);
  }

  // For the timer.
  void DispMiscButtons() override;
  void DispLeds() override;
  void DrawVuMeters(const VuMeter& meter) override;
  void DrawMeters(const std::array<int, kChannels>& levels) override;
  void RefreshChannels() override;
  void MoveSlider(double value) override;
  double slider_maximum() const override { return PositionSlider::kMaximum; }
  void ShowBankInfo(const std::string& text) override;

 private:
  struct Texts {
    std::array<std::string, kSmButtons> buttons;
    std::array<std::string, 2> start_tips;  ///< markers off, on
    std::array<std::string, 2> end_tips;
    std::array<std::string, 4> repeat_tips;  ///< by mode
    std::string melody;
    std::string not_yet;
    std::string gain_tip;
    std::string transpose_tip;
    std::string speed_tip;
    std::string caption;
    std::string caption_with_song;
    std::string title_name;
    std::string title_tip;
    std::string converting;
    std::string converted;
    std::string no_sound;
    std::string no_sound_tip;
    std::string bank_loading;
    TitleTexts title;
    MainTimer::BankTexts bank;
  };

  void ReadTexts(const LanguageSection& section);
  void NameControls(const LanguageSection& section);
  void NameKnobs(const LanguageSection& section);
  void DescribeSpeed(int value);
  void ShowTip(int index);
  void NameButtons();
  void NameButton(int index, const std::string& text);
  void NameMelody();
  void RefreshTitle();
  /// What stands in the title's place; empty where the title itself does.
  std::string Status() const;
  void TellOfSilence();
  std::string MarkerTip(const std::array<std::string, 2>& tips, double stored) const;

  Program& program_;
  MainPanelWidget& panel_;
  Texts texts_;
  LedScroller scroller_;
  ClipLamp clip_lamp_;
  std::array<bool, kSmButtons> missing_{};
  std::string shown_song_;        ///< path
  bool song_is_open_ = false;     ///< what it tells of itself is known
  int named_melody_ = -1;         ///< channel whose mute button says that it is the melody's
  std::uint64_t list_shown_ = 0;  ///< revision of the list that the title was made from
  std::string shown_status_;
  bool silence_told_ = false;
};

}  // namespace vexolo
