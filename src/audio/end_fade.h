/// The fall to silence after the end marker.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "audio/audio_state.h"
#include "audio/bass.h"

namespace vexolo {

/// Sets the fade's fields: gain 1, fading, and a step of -1 / fade length / 44100 / 2 a sample. A
/// fade length of 0 or less cuts at once. Any thread; no waiting.
void BeginFade(AudioState& audio);

/// Back to full level, as at the start of a song and after a seek.
void ResetFade(AudioState& audio);

/// Fades 16-bit samples in place, going on from the gain that AudioState holds: each sample x gain,
/// to the nearest whole number with halves away from zero, then the gain goes down by one step,
/// never below 0. Samples are left alone while no fade has begun. Mixing thread.
void FadeSamples(AudioState& audio, std::span<std::int16_t> samples);

/// What the end-marker sync and the sample callback of one stream share. It must outlive that
/// stream.
class EndFade {
 public:
  EndFade(const bass::Api& api, AudioState& audio) : api_(api), audio_(audio) {}
  EndFade(const EndFade&) = delete;
  EndFade& operator=(const EndFade&) = delete;

  /// A new stream has no sample callback yet. Not while a stream has syncs with this object.
  void ForgetStream();

  /// The callback of the end-marker sync; its user value is an EndFade. Begins the fade and
  /// attaches the sample callback, once a stream: a marker that is passed again (after a seek back)
  /// must not fade twice over.
  static void BASS_CALLBACK EndMarkerSync(bass::HSYNC sync, bass::DWORD channel, bass::DWORD data,
                                          void* user);

 private:
  static void BASS_CALLBACK FadeDsp(bass::HDSP dsp, bass::DWORD channel, void* buffer,
                                    bass::DWORD length, void* user);

  const bass::Api& api_;
  AudioState& audio_;
  std::atomic<bool> attached_{false};
};

}  // namespace vexolo
