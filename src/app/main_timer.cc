#include "app/main_timer.h"

#include "app/time_format.h"
#include "audio/audio_binding.h"
#include "platform/locale_format.h"
#include "platform/text_encoding.h"
#include "settings/language.h"

namespace vexolo {

bool TickCounter::Tick() {
  if (++count_ > 3) count_ = 0;
  return count_ == 0;
}

double SliderValue(const bass::Api& api, const AudioState& audio, double maximum) {
  if (audio.stream == 0 || audio.song_length_ticks == 0) return 0;
  const bass::QWORD ticks = api.BASS_ChannelGetPosition(audio.stream, bass::BASS_POS_MIDI_TICK);
  if (ticks == bass::kError64) return 0;
  return (1.0 / audio.song_length_ticks) * static_cast<double>(ticks) * maximum;
}

std::string TimeText(const bass::Api& api, const AudioState& audio, char separator) {
  double position = 0;
  if (audio.stream != 0) {
    const bass::QWORD bytes = api.BASS_ChannelGetPosition(audio.stream, bass::BASS_POS_BYTE);
    if (bytes != bass::kError64) position = SecondsOf(api, audio.stream, bytes);
  }
  return FormatTime(position, separator) + " / " + FormatTime(audio.song_length, separator);
}

std::string BankInfoText(const bass::Api& api, bass::HSOUNDFONT font, std::string_view load_text,
                         std::string_view none_text, char separator) {
  bass::BASS_MIDI_FONTINFO info = {};
  if (font == 0 || api.BASS_MIDI_FontGetInfo(font, &info) == 0) return BreakLines(none_text);
  const std::string name = info.name == nullptr ? std::string() : DecodeText(info.name).text;
  const double megabytes = info.samsize / (1024.0 * 1024.0);
  return FillIn(BreakLines(load_text), {name, FormatNumber(info.presets, "0", separator),
                                        FormatNumber(megabytes, "0.0", separator)});
}

void MainTimer::Tick() {
  view_.DispMiscButtons();
  view_.DispLeds();
  view_.DrawVuMeters(TickVuMeter(api_, state_.audio.stream, state_.mix));
  view_.DrawMeters(TickLamps(state_.mix));
  if (state_.playing && !state_.seeking) view_.RefreshChannels();
  const bool is_fourth = counter_.Tick();
  if (state_.audio.song_length_ticks > 0) {
    view_.MoveSlider(SliderValue(api_, state_.audio, view_.slider_maximum()));
  }
  view_.ShowTime();
  if (!is_fourth) return;
  view_.ShowBankInfo(
      BankInfoText(api_, state_.audio.font, bank_texts_.loaded, bank_texts_.none, separator_));
}

}  // namespace vexolo
