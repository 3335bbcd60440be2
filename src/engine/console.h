/// The mixing desk behind the synthesiser: sixteen strips, two sends, reverb, chorus, master.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "engine/sound_font_synth.h"

namespace vexolo::engine {

/// The eleven song-wide effect parameters, in the order of event numbers 32..42.
enum class EffectParameter : std::uint8_t {
  kReverbTime,      ///< milliseconds until the tail has fallen by 60 dB
  kReverbDelay,     ///< tenths of a millisecond before the first reflection
  kReverbLowPass,   ///< hertz, -3 dB, 0 = off
  kReverbHighPass,  ///< hertz, -3 dB, 0 = off
  kReverbLevel,     ///< 0 = off, 100 = 0 dB, 200 = +6 dB
  kChorusDelay,     ///< tenths of a millisecond
  kChorusDepth,     ///< tenths of a millisecond, the greatest departure from the delay
  kChorusRate,      ///< hundredths of a hertz
  kChorusFeedback,  ///< 0 = -100 %, 100 = none, 200 = +100 %
  kChorusLevel,     ///< as the reverb level
  kChorusToReverb,  ///< as the reverb level
};
inline constexpr int kEffectParameters = 11;

struct EffectLimits {
  std::uint32_t initial;
  std::uint32_t lowest;
  std::uint32_t highest;
};

/// Defaults and limits, in the order of EffectParameter.
inline constexpr std::array<EffectLimits, kEffectParameters> kEffectLimits = {{
    {1800, 10, 20000},  // reverb time
    {200, 0, 2000},     // reverb delay
    {9000, 0, 20000},   // reverb low-pass
    {200, 0, 20000},    // reverb high-pass
    {100, 0, 200},      // reverb level
    {100, 1, 1000},     // chorus delay
    {40, 0, 500},       // chorus depth
    {40, 1, 1000},      // chorus rate
    {100, 0, 200},      // chorus feedback
    {100, 0, 200},      // chorus level
    {0, 0, 200},        // chorus to reverb
}};

/// Levels (mix level, send levels, effect levels) in percent of 0 dB: 100 = 1.0, 200 = 2.0 (+6 dB).
///
/// Values set while sound passes are reached over a short ramp, so that nothing clicks; Snap makes
/// the values set so far hold at once. A value beyond its limit sounds as the limit. One thread at
/// a time; nothing allocates after construction.
class Console {
 public:
  Console();
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  void SetMixLevel(int channel, std::uint32_t percent);  ///< dry sound and both sends
  void SetReverbSend(int channel, std::uint32_t value);  ///< 0..127
  void SetChorusSend(int channel, std::uint32_t value);  ///< 0..127
  void SetEffect(EffectParameter parameter, std::uint32_t value);
  void SetMaster(float volume);  ///< linear, on everything

  /// Ends every ramp: the values set so far hold from the next frame on.
  void Snap();

  /// Empties the delay lines of both effects; the values stay.
  void Silence();

  /// Mixes `frames` (up to kMaxBlock) frames into `left` and `right` (overwritten, full scale
  /// = 1.0, not limited). Channels without sound are passed over.
  void Process(const DryChannels& dry, float* left, float* right, int frames);

  /// The same. Bit n of `audible` set: channel n may hold more than zeros.
  void Process(const DryBlock& dry, std::uint32_t audible, float* left, float* right, int frames);

  /// Whether what the effects still hold stays below -90 dBFS: the decay after a song is over once
  /// this is so and no voice sounds.
  bool TailIsOver() const;

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

/// Turns one block into the output format: interleaved 16-bit, rounded to nearest (halves to even).
/// Up to -1 dBFS the samples pass unchanged; above, a smooth curve bends them so that they never
/// reach full scale, however loud the input: its ceiling is +-32766 of 32768 (NaN counts as 0).
void LimitTo16Bit(const float* left, const float* right, std::int16_t* out, int frames);

}  // namespace vexolo::engine
