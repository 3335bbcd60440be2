#include "engine/console.h"

#include <algorithm>
#include <cassert>

#include "engine/chorus.h"
#include "engine/denormals.h"
#include "engine/ramp.h"
#include "engine/reverb.h"
#include "engine/vectorized.h"

namespace vexolo::engine {
namespace {

constexpr float kInaudible = 3.1622777e-5F;  // -90 dBFS
constexpr float kStartingReverbSend = 40.0F / 127.0F;

/// A tone that meets a resonance of the room comes out louder than noise; more than this is not
/// to be expected of what is left of a chorus.
constexpr float kRoomResonance = 4.0F;

using Signal = std::array<float, kMaxBlock>;

struct Bus {
  alignas(64) Signal left;
  alignas(64) Signal right;

  void Clear(int frames) {
    std::fill_n(left.data(), frames, 0.0F);
    std::fill_n(right.data(), frames, 0.0F);
  }

  /// Adds `from` times a gain for each frame.
  void Add(const Bus& from, const float* gain, int frames) {
    for (int i = 0; i < frames; ++i) left[i] += from.left[i] * gain[i];
    for (int i = 0; i < frames; ++i) right[i] += from.right[i] * gain[i];
  }
};

struct Strip {
  Ramp mix{1.0F};
  Ramp reverb{kStartingReverbSend};
  Ramp chorus{0.0F};

  void Snap() {
    mix.Snap();
    reverb.Snap();
    chorus.Snap();
  }
  void Advance(int frames) {
    mix.Advance(frames);
    reverb.Advance(frames);
    chorus.Advance(frames);
  }
  bool Silent() const { return mix.Zero(); }
  bool Steady() const { return mix.Steady() && reverb.Steady() && chorus.Steady(); }
};

float Share(std::uint32_t value, std::uint32_t highest, float unit) {
  return static_cast<float>(std::min(value, highest)) / unit;
}

}  // namespace

struct Console::Parts {
  std::array<Strip, kChannels> strips;
  Reverb reverb;
  Chorus chorus;
  Ramp reverb_level{1.0F};
  Ramp chorus_level{1.0F};
  Ramp chorus_to_reverb{0.0F};
  Ramp master{1.0F};

  // The present block.
  Bus channel;  // one strip behind its mix level
  Bus dry;
  Bus reverb_send;
  Bus chorus_send;
  Bus wet;
  alignas(64) Signal gain;

  void AddStrip(Strip& strip, const float* left, const float* right, int frames);
  void AddSteadyStrip(const Strip& strip, const float* left, const float* right, int frames);
  void AddChorus(int frames);
  void AddReverb(int frames);
};

VEXOLO_VECTORIZED void Console::Parts::AddStrip(Strip& strip, const float* left, const float* right,
                                                int frames) {
  if (strip.Steady()) return AddSteadyStrip(strip, left, right, frames);
  strip.mix.Fill(gain.data(), frames);
  for (int i = 0; i < frames; ++i) {
    channel.left[i] = left[i] * gain[i];
    dry.left[i] += channel.left[i];
  }
  for (int i = 0; i < frames; ++i) {
    channel.right[i] = right[i] * gain[i];
    dry.right[i] += channel.right[i];
  }
  const auto send = [&](Ramp& amount, Bus& bus) {
    if (amount.Zero()) return;
    amount.Fill(gain.data(), frames);
    bus.Add(channel, gain.data(), frames);
  };
  send(strip.reverb, reverb_send);
  send(strip.chorus, chorus_send);
}

VEXOLO_VECTORIZED void Console::Parts::AddSteadyStrip(const Strip& strip, const float* left,
                                                      const float* right, int frames) {
  const float mix = strip.mix.Target();
  const float reverb_share = strip.reverb.Target();
  const float chorus_share = strip.chorus.Target();
  const auto add = [&](const float* in, float* to_dry, float* to_reverb) {
    for (int i = 0; i < frames; ++i) {
      const float sample = in[i] * mix;
      to_dry[i] += sample;
      to_reverb[i] += sample * reverb_share;
    }
  };
  add(left, dry.left.data(), reverb_send.left.data());
  add(right, dry.right.data(), reverb_send.right.data());
  if (chorus_share == 0.0F) return;
  const auto send = [&](const float* in, float* to_chorus) {
    for (int i = 0; i < frames; ++i) to_chorus[i] += in[i] * mix * chorus_share;
  };
  send(left, chorus_send.left.data());
  send(right, chorus_send.right.data());
}

VEXOLO_VECTORIZED void Console::Parts::AddChorus(int frames) {
  chorus.Process(chorus_send.left.data(), chorus_send.right.data(), wet.left.data(),
                 wet.right.data(), frames);
  chorus_level.Fill(gain.data(), frames);
  dry.Add(wet, gain.data(), frames);
  chorus_to_reverb.Fill(gain.data(), frames);
  reverb_send.Add(wet, gain.data(), frames);
}

VEXOLO_VECTORIZED void Console::Parts::AddReverb(int frames) {
  reverb.Process(reverb_send.left.data(), reverb_send.right.data(), wet.left.data(),
                 wet.right.data(), frames);
  reverb_level.Fill(gain.data(), frames);
  dry.Add(wet, gain.data(), frames);
}

Console::Console() : parts_(std::make_unique<Parts>()) {
  for (int i = 0; i < kEffectParameters; ++i) {
    SetEffect(static_cast<EffectParameter>(i), kEffectLimits[i].initial);
  }
  Snap();
}

Console::~Console() = default;

void Console::SetMixLevel(int channel, std::uint32_t percent) {
  parts_->strips[channel].mix.Set(Share(percent, 200, 100.0F));
}

void Console::SetReverbSend(int channel, std::uint32_t value) {
  parts_->strips[channel].reverb.Set(Share(value, 127, 127.0F));
}

void Console::SetChorusSend(int channel, std::uint32_t value) {
  parts_->strips[channel].chorus.Set(Share(value, 127, 127.0F));
}

void Console::SetEffect(EffectParameter parameter, std::uint32_t value) {
  const EffectLimits& limits = kEffectLimits[static_cast<std::size_t>(parameter)];
  const auto number = static_cast<float>(std::clamp(value, limits.lowest, limits.highest));
  switch (parameter) {
    case EffectParameter::kReverbTime:
      return parts_->reverb.SetTime(number);
    case EffectParameter::kReverbDelay:
      return parts_->reverb.SetDelay(number / 10.0F);
    case EffectParameter::kReverbLowPass:
      return parts_->reverb.SetLowPass(number);
    case EffectParameter::kReverbHighPass:
      return parts_->reverb.SetHighPass(number);
    case EffectParameter::kReverbLevel:
      return parts_->reverb_level.Set(number / 100.0F);
    case EffectParameter::kChorusDelay:
      return parts_->chorus.SetDelay(number / 10.0F);
    case EffectParameter::kChorusDepth:
      return parts_->chorus.SetDepth(number / 10.0F);
    case EffectParameter::kChorusRate:
      return parts_->chorus.SetRate(number / 100.0F);
    case EffectParameter::kChorusFeedback:
      return parts_->chorus.SetFeedback((number - 100.0F) / 100.0F);
    case EffectParameter::kChorusLevel:
      return parts_->chorus_level.Set(number / 100.0F);
    case EffectParameter::kChorusToReverb:
      return parts_->chorus_to_reverb.Set(number / 100.0F);
  }
}

void Console::SetMaster(float volume) { parts_->master.Set(volume); }

void Console::Snap() {
  for (Strip& strip : parts_->strips) strip.Snap();
  parts_->reverb.Snap();
  parts_->chorus.Snap();
  parts_->reverb_level.Snap();
  parts_->chorus_level.Snap();
  parts_->chorus_to_reverb.Snap();
  parts_->master.Snap();
}

void Console::Silence() {
  parts_->reverb.Silence();
  parts_->chorus.Silence();
}

void Console::Process(const DryBlock& dry, std::uint32_t audible, float* left, float* right,
                      int frames) {
  DryChannels channels;
  for (int channel = 0; channel < kChannels; ++channel) {
    if ((audible >> channel & 1) == 0) continue;
    channels.left[channel] = dry.left[channel].data();
    channels.right[channel] = dry.right[channel].data();
  }
  Process(channels, left, right, frames);
}

void Console::Process(const DryChannels& dry, float* left, float* right, int frames) {
  assert(frames <= kMaxBlock);
  const FlushDenormals guard;
  Parts& parts = *parts_;
  parts.dry.Clear(frames);
  parts.reverb_send.Clear(frames);
  parts.chorus_send.Clear(frames);
  for (int channel = 0; channel < kChannels; ++channel) {
    Strip& strip = parts.strips[channel];
    if (dry.left[channel] != nullptr && !strip.Silent()) {
      parts.AddStrip(strip, dry.left[channel], dry.right[channel], frames);
    } else {
      strip.Advance(frames);
    }
  }
  parts.AddChorus(frames);
  parts.AddReverb(frames);
  parts.master.Fill(parts.gain.data(), frames);
  for (int i = 0; i < frames; ++i) left[i] = parts.dry.left[i] * parts.gain[i];
  for (int i = 0; i < frames; ++i) right[i] = parts.dry.right[i] * parts.gain[i];
}

bool Console::TailIsOver() const {
  const Parts& parts = *parts_;
  const float room = parts.reverb_level.Bound();
  const float chorus =
      parts.chorus_level.Bound() + parts.chorus_to_reverb.Bound() * room * kRoomResonance;
  const float tail = parts.reverb.TailBound() * room + parts.chorus.TailBound() * chorus;
  return tail * parts.master.Bound() < kInaudible;
}

}  // namespace vexolo::engine
