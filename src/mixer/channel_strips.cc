#include "mixer/channel_strips.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace vexolo {
namespace {

constexpr int kOn = 3;  ///< of the button pictures
constexpr std::size_t kLeastSyllables = 10;
constexpr std::int64_t kTickTolerance = 2;

bool IsMuted(const MixState& state, std::size_t channel) { return state.ChannelMute[channel] != 0; }

/// The solo lamp is lit where one channel alone is left.
void FollowMutes(MixState& state) {
  const auto unmuted = std::count(state.ChannelMute.begin(), state.ChannelMute.end(), 0);
  for (std::size_t i = 0; i < kChannels; ++i) {
    state.ChannelSolo[i] = unmuted == 1 && !IsMuted(state, i);
  }
}

void ClickMute(MixState& state, int channel, bool left) {
  std::uint8_t& mute = state.ChannelMute[static_cast<std::size_t>(channel)];
  if (IsHeldByAutoMute(state, channel)) state.MelodyOverride = left && !state.MelodyOverride;
  mute = left && mute == 0;
  FollowMutes(state);
}

void ClickSolo(MixState& state, int channel, bool left) {
  const auto at = static_cast<std::size_t>(channel);
  const bool was_solo = state.ChannelSolo[at] != 0;
  if (IsHeldByAutoMute(state, channel)) state.MelodyOverride = left;
  if (was_solo) {
    // The right button only opens the mix: the lamp stays until a left click.
    if (left) state.ChannelSolo[at] = 0;
    state.ChannelMute.fill(0);
  } else if (left) {
    state.ChannelSolo.fill(0);
    state.ChannelSolo[at] = 1;
    state.ChannelMute.fill(1);
    state.ChannelMute[at] = 0;
  }
}

int HeldMuteState(bool solo, bool melody_override, bool mute) {
  if (solo) return melody_override ? 0 : 2;
  if (!melody_override) return 1;
  return mute ? kOn : 2;
}

std::vector<bass::BASS_MIDI_EVENT> NoteEvents(const bass::Api& api, bass::HSTREAM stream) {
  const bass::DWORD count =
      api.BASS_MIDI_StreamGetEvents(stream, -1, bass::MIDI_EVENT_NOTE, nullptr);
  if (count == bass::kError32) return {};
  std::vector<bass::BASS_MIDI_EVENT> events(count);
  if (events.empty()) return {};
  const bass::DWORD filled =
      api.BASS_MIDI_StreamGetEvents(stream, -1, bass::MIDI_EVENT_NOTE, events.data());
  events.resize(filled == bass::kError32 ? 0 : std::min(filled, count));
  return events;
}

/// `ticks`: ascending, not empty.
bool HitsSyllable(const std::vector<std::int32_t>& ticks, std::int64_t tick) {
  const auto after = std::lower_bound(ticks.begin(), ticks.end(), tick);
  if (after != ticks.end() && *after - tick < kTickTolerance) return true;
  return after != ticks.begin() && tick - *(after - 1) < kTickTolerance;
}

struct NoteCount {
  std::int64_t notes = 0;
  std::int64_t hits = 0;
};

int BestChannel(const std::array<NoteCount, kChannels>& counts, std::int64_t syllables) {
  int best = -1;
  double best_ratio = 0;
  for (int channel = 0; channel < kChannels; ++channel) {
    const NoteCount& count = counts[static_cast<std::size_t>(channel)];
    // 0.7 to 1.3 notes a syllable, in whole numbers.
    if (count.notes * 10 < syllables * 7 || count.notes * 10 > syllables * 13) continue;
    const double ratio = static_cast<double>(count.hits) / static_cast<double>(count.notes);
    if (ratio > best_ratio) {
      best = channel;
      best_ratio = ratio;
    }
  }
  return best;
}

}  // namespace

bool IsHeldByAutoMute(const MixState& state, int channel) {
  return state.AutoMute && channel == state.MelodyChannel;
}

int EffectiveLevel(const MixState& state, int channel) {
  const auto at = static_cast<std::size_t>(channel);
  if (IsMuted(state, at)) return 0;
  if (IsHeldByAutoMute(state, channel) && !state.MelodyOverride) return 0;
  return std::clamp<int>(state.ChannelVolume[at], 0, kMaxLevel);
}

void ApplyVolume(const bass::Api& api, bass::HSTREAM stream, const MixState& state) {
  for (int channel = 0; channel < kChannels; ++channel) {
    api.BASS_MIDI_StreamEvent(stream, static_cast<bass::DWORD>(channel), bass::MIDI_EVENT_MIXLEVEL,
                              static_cast<bass::DWORD>(EffectiveLevel(state, channel)));
  }
}

bool ClickSoloMute(MixState& state, int index, int mouse_button) {
  if (index < 0 || index >= kFirstMiscButton) return false;
  if (mouse_button != kLeftButton && mouse_button != kRightButton) return false;
  const bool left = mouse_button == kLeftButton;
  if (index < kFirstMuteButton) {
    ClickSolo(state, index, left);
  } else {
    ClickMute(state, index - kFirstMuteButton, left);
  }
  return true;
}

std::array<int, 32> SoloMuteStates(const MixState& state) {
  std::array<int, 32> states{};
  for (std::size_t i = 0; i < kChannels; ++i) {
    const bool solo = state.ChannelSolo[i] != 0;
    const bool mute = IsMuted(state, i);
    states[i] = solo ? kOn : 0;
    if (IsHeldByAutoMute(state, static_cast<int>(i))) {
      states[i + kFirstMuteButton] = HeldMuteState(solo, state.MelodyOverride, mute);
    } else {
      states[i + kFirstMuteButton] = mute ? kOn : 0;
    }
  }
  return states;
}

SpriteRect SmSprite(int button, int state) {
  constexpr int kFirstLarge = 32;  // 32 x 32
  constexpr int kFirstSmall = 38;  // 24 x 24
  constexpr int kOddButton = 42;   // has two looks more, elsewhere in the bitmap
  if (button == kOddButton) {
    if (state == 2) return {72, 24, 24, 24};
    if (state == 3) return {96, 24, 24, 24};
  } else {
    state = std::clamp(state, 0, kOn);
  }
  if (button < kFirstMuteButton) return {0, state * 12, 24, 12};
  if (button < kFirstLarge) return {24, state * 12, 24, 12};
  if (button < kFirstSmall) return {(button - kFirstLarge) * 32, state * 32 + 48, 32, 32};
  return {(button - kFirstSmall) * 24, state * 24 + 160, 24, 24};
}

int FindMelodyChannel(const bass::Api& api, bass::HSTREAM stream,
                      std::span<const std::int32_t> syllable_ticks) {
  if (syllable_ticks.size() < kLeastSyllables) return -1;
  std::vector<std::int32_t> ticks(syllable_ticks.begin(), syllable_ticks.end());
  std::sort(ticks.begin(), ticks.end());
  std::array<NoteCount, kChannels> counts{};
  for (const bass::BASS_MIDI_EVENT& event : NoteEvents(api, stream)) {
    const bass::DWORD velocity = event.param >> 8 & 0xFF;
    if (event.chan >= kChannels || velocity < 1) continue;
    NoteCount& count = counts[event.chan];
    ++count.notes;
    if (HitsSyllable(ticks, event.tick)) ++count.hits;
  }
  return BestChannel(counts, static_cast<std::int64_t>(ticks.size()));
}

void DetectMelodyChannel(const bass::Api& api, bass::HSTREAM stream,
                         std::span<const std::int32_t> syllable_ticks, MixState& state) {
  state.MelodyChannel = static_cast<std::int16_t>(FindMelodyChannel(api, stream, syllable_ticks));
}

ChannelStrips::ChannelStrips(const bass::Api& api, MixState& state, SongSettings& settings)
    : api_(api), state_(state), settings_(settings) {}

void ChannelStrips::PicSM_MouseDown(int, int mouse_button) { mouse_button_ = mouse_button; }

bool ChannelStrips::PicSM_Click(int index, bass::HSTREAM stream) {
  if (!ClickSoloMute(state_, index, mouse_button_)) return false;
  settings_.SaveMute(state_);
  ApplyVolume(api_, stream, state_);
  return true;
}

}  // namespace vexolo
