/// The synthesiser: channel events in, sixteen dry stereo channels out.
#pragma once

#include <array>
#include <cstdint>

namespace vexolo::engine {

inline constexpr int kChannels = 16;
inline constexpr int kMaxBlock = 512;  ///< frames rendered at once, at most

/// One block of the sixteen dry channels.
struct DryBlock {
  alignas(64) std::array<std::array<float, kMaxBlock>, kChannels> left;
  alignas(64) std::array<std::array<float, kMaxBlock>, kChannels> right;
};

/// Where the sound of the channels stands; null = silence.
struct DryChannels {
  std::array<const float*, kChannels> left{};
  std::array<const float*, kChannels> right{};
};

/// What happens on the channels of a synthesiser. Channels 0..15, data bytes 0..127; the caller
/// keeps to that.
class ChannelEvents {
 public:
  virtual ~ChannelEvents() = default;

  virtual void NoteOn(int channel, int key, int velocity) = 0;
  virtual void NoteOff(int channel, int key) = 0;
  virtual void KeyPressure(int channel, int key, int value) = 0;
  virtual void ChannelPressure(int channel, int value) = 0;

  /// Any controller but bank select (0, 32), the effect sends (91, 93) and the channel mode
  /// messages (120..127): they have operations of their own or belong to the console.
  virtual void Controller(int channel, int controller, int value) = 0;
  virtual void PitchWheel(int channel, int value) = 0;  ///< 0..16383, 8192 = centre

  /// The preset that new notes use. Where the bank lacks it: the same program of bank 0, of a drum
  /// channel the standard kit; else the channel stays silent.
  virtual void Preset(int channel, int bank, int program, bool drums) = 0;

  virtual void AllNotesOff(int channel) = 0;  ///< releases, as if every key went up
  virtual void AllSoundOff(int channel) = 0;  ///< silences at once (a few milliseconds' ramp)

  /// Every channel as after power-on and no note sounding; presets stay as they are. Cuts what
  /// sounds without a ramp. A note played afterwards may differ in its first 64 frames from one of
  /// a new synthesiser (a voice that has played before begins at its old place between the
  /// speakers).
  virtual void Reset() = 0;
};

/// Plays one bank, up to 512 voices at once; beyond, the least important ones end early. One voice
/// at full velocity and volume reaches half of full scale (1.0), and many voices add up without
/// limit. The wheel's range is exact: 2 semitones, or what registered parameter 0 sets.
///
/// The seam where another renderer can stand: nothing of the present one shows
/// here.
///
/// One thread at a time. Nothing here allocates, locks or touches a file, so that the mixing thread
/// may call it all.
class SoundFontSynth : public ChannelEvents {
 public:
  /// Renders `frames` (1..kMaxBlock) frames, overwriting `block`. Events take effect at the next
  /// boundary of an inner grid of 64 frames that runs from creation (or Reset) on, so that the
  /// sound does not depend on how a run is cut into blocks.
  virtual void Render(DryBlock& block, int frames) = 0;

  /// Voices that still sound.
  virtual int ActiveVoices() const = 0;

  /// Whether a channel's part of the block that was rendered last may hold anything but zeros.
  virtual bool Audible(int channel) const = 0;
};

/// The same for one channel alone (events name it, and no other), up to 256 voices: sixteen of them
/// render a song on several threads. For files, not for the mixing thread: presets are read from
/// the bank when they are first chosen, and where that fails UnreadableBank is thrown: silence
/// would be taken for the song. One thread at a time; each object its own.
class ChannelSynth : public ChannelEvents {
 public:
  /// Renders `frames` frames, overwriting; cut as one likes, as above. False where nothing but
  /// zeros was written. A new one has no preset and is silent.
  virtual bool Render(float* left, float* right, int frames) = 0;

  virtual int ActiveVoices() const = 0;
};

}  // namespace vexolo::engine
