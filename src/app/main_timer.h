/// What the main timer shows, without the windows that show it. Window thread only.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "app/program_state.h"
#include "audio/audio_state.h"
#include "audio/bass.h"
#include "mixer/meters.h"

namespace vexolo {

inline constexpr int kMainTimerInterval = 100;  ///< milliseconds

/// Counts 0, 1, 2, 3, 0, ...
class TickCounter {
 public:
  /// Once a tick. True at every fourth: what changes rarely is shown again.
  bool Tick();

 private:
  int count_ = 0;
};

/// Where the position slider stands, 0..maximum. Nothing known of the song or of the position: 0.
double SliderValue(const bass::Api& api, const AudioState& audio, double maximum);

/// `ShowTime`: position " / " length.
std::string TimeText(const bass::Api& api, const AudioState& audio, char separator);

/// What is told of the bank in use. `load_text`: the language's "SF2LoadInfo", with "%1" for the
/// bank's name, "%2" for the number of its presets, "%3" for the size of its samples in megabytes;
/// `none_text`: "SF2NoneInfo". "|" breaks lines in both.
std::string BankInfoText(const bass::Api& api, bass::HSOUNDFONT font, std::string_view load_text,
                         std::string_view none_text, char separator);

/// What the timer has drawn. Each is called at every tick unless it says otherwise; who draws looks
/// for itself what has changed.
class MainTimerView {
 public:
  virtual ~MainTimerView() = default;
  virtual void DispMiscButtons() = 0;
  virtual void DispLeds() = 0;
  virtual void DrawVuMeters(const VuMeter& meter) = 0;
  virtual void DrawMeters(const std::array<int, kChannels>& levels) = 0;
  /// What a song changes of its channels as it plays. Not while none plays or the user seeks.
  virtual void RefreshChannels() = 0;
  /// Where the slider is to stand, 0..slider_maximum(). Only while a song is loaded.
  virtual void MoveSlider(double value) = 0;
  virtual double slider_maximum() const = 0;
  virtual void ShowTime() = 0;
  /// Every fourth tick.
  virtual void ShowBankInfo(const std::string& text) = 0;
};

/// One tick after the other, every kMainTimerInterval.
class MainTimer {
 public:
  /// Texts of the language in use, as BankInfoText takes them.
  struct BankTexts {
    std::string loaded;
    std::string none;
  };

  /// The objects must outlive this one.
  MainTimer(const bass::Api& api, modMidiTest& state, MainTimerView& view, char separator)
      : api_(api), state_(state), view_(view), separator_(separator) {}

  void set_bank_texts(BankTexts texts) { bank_texts_ = std::move(texts); }

  /// `tmrMidiTest`.
  void Tick();

 private:
  const bass::Api& api_;
  modMidiTest& state_;
  MainTimerView& view_;
  const char separator_;
  BankTexts bank_texts_;
  TickCounter counter_;
};

}  // namespace vexolo
