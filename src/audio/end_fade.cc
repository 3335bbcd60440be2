#include "audio/end_fade.h"

#include "audio/audio_binding.h"

namespace vexolo {
namespace {

std::int16_t Scaled(std::int16_t sample, double gain) {
  const double value = sample * gain;
  return static_cast<std::int16_t>(value + (value < 0 ? -0.5 : 0.5));
}

}  // namespace

void BeginFade(AudioState& audio) {
  const bool fades = audio.fade_length > 0;
  audio.fade_step = fades ? -1.0 / audio.fade_length / kOutputRate / kOutputChannels : 0.0;
  audio.fade_gain = fades ? 1.0 : 0.0;
  audio.fading = true;
}

void ResetFade(AudioState& audio) {
  audio.fading = false;
  audio.fade_step = 0.0;
  audio.fade_gain = 1.0;
}

void FadeSamples(AudioState& audio, std::span<std::int16_t> samples) {
  double start = audio.fade_gain;
  const double step = audio.fade_step;
  if (step == 0 && start > 0) return;
  double gain = start;
  for (std::int16_t& sample : samples) {
    sample = Scaled(sample, gain);
    gain += step;
    if (gain < 0) gain = 0;
  }
  // A reset that came in the meantime wins.
  audio.fade_gain.compare_exchange_strong(start, gain);
}

void EndFade::ForgetStream() {
  attached_ = false;
  ResetFade(audio_);
}

void EndFade::EndMarkerSync(bass::HSYNC /*sync*/, bass::DWORD channel, bass::DWORD /*data*/,
                            void* user) {
  auto* fade = static_cast<EndFade*>(user);
  BeginFade(fade->audio_);
  if (!fade->attached_.exchange(true)) {
    fade->api_.BASS_ChannelSetDSP(channel, FadeDsp, user, 0);
  }
}

void EndFade::FadeDsp(bass::HDSP /*dsp*/, bass::DWORD /*channel*/, void* buffer, bass::DWORD length,
                      void* user) {
  const std::span samples(static_cast<std::int16_t*>(buffer), length / sizeof(std::int16_t));
  FadeSamples(static_cast<EndFade*>(user)->audio_, samples);
}

}  // namespace vexolo
