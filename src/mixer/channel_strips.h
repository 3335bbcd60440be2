/// Solo, mute and mix level of the 16 channels, and the search for the channel that sings.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "audio/bass.h"
#include "mixer/mix_state.h"
#include "mixer/song_settings.h"
#include "platform/sprite.h"

namespace vexolo {

inline constexpr int kLeftButton = 1;
inline constexpr int kRightButton = 2;

/// `PicSM`: solo buttons from 0, mute buttons from 16, other buttons of the main window from 32.
inline constexpr int kFirstMuteButton = 16;
inline constexpr int kFirstMiscButton = 32;

/// Channel is MelodyChannel and the AutoMute option is on.
bool IsHeldByAutoMute(const MixState& state, int channel);

/// What a channel is to sound at, 0..200: its level, or 0 when the user or AutoMute mutes it.
int EffectiveLevel(const MixState& state, int channel);

/// Sends the effective levels of all channels. Without a stream (0) the events fail unnoticed.
void ApplyVolume(const bass::Api& api, bass::HSTREAM stream, const MixState& state);

/// What a click on a solo (0..15) or mute (16..31) button does to the state. False, and nothing is
/// changed, for any other button of the window or of the mouse.
bool ClickSoloMute(MixState& state, int index, int mouse_button);

/// The looks of the 32 solo and mute buttons, 0..3: 0 off, 3 on, 1 and 2 a channel that AutoMute
/// holds.
std::array<int, 32> SoloMuteStates(const MixState& state);

/// Where the picture of a `PicSM` button stands in the skin's button bitmap. `state` is clamped to
/// 0..3, but for button 42.
SpriteRect SmSprite(int button, int state);

/// The channel that sings: the one whose notes begin with the syllables. -1 when there are fewer
/// than 10 syllables or no channel fits. Allocates; the thread that loads songs.
int FindMelodyChannel(const bass::Api& api, bass::HSTREAM stream,
                      std::span<const std::int32_t> syllable_ticks);

/// Sets MelodyChannel. To be called after the lyrics are known and before the first ApplyVolume.
void DetectMelodyChannel(const bass::Api& api, bass::HSTREAM stream,
                         std::span<const std::int32_t> syllable_ticks, MixState& state);

/// The grid of solo and mute buttons. Window thread only.
class ChannelStrips {
 public:
  /// The objects must outlive this one.
  ChannelStrips(const bass::Api& api, MixState& state, SongSettings& settings);

  /// Remembers the mouse button for the click that follows.
  void PicSM_MouseDown(int index, int mouse_button);
  /// Applies the click, saves all mutes and sends the levels. True when the buttons are to be drawn
  /// again.
  bool PicSM_Click(int index, bass::HSTREAM stream);

 private:
  const bass::Api& api_;
  MixState& state_;
  SongSettings& settings_;
  int mouse_button_ = kLeftButton;
};

}  // namespace vexolo
