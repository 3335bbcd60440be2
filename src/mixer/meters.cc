#include "mixer/meters.h"

#include <algorithm>
#include <cmath>

namespace vexolo {
namespace {

constexpr int kLampDecay = 8;
constexpr int kLampFrames = 9;
constexpr int kLampSize = 18;
constexpr int kMelodyLampX = 3;
constexpr int kLampX = 147;
constexpr int kLampPitch = 24;  ///< from frame to frame
constexpr int kLampMargin = 3;

constexpr int kFullLevel = 32768;
/// A library that bends what is too loud, instead of cutting it, stays below the full level: this
/// is what it makes of a sound that just reaches it.
constexpr int kOverload = 31700;
constexpr int kPeakDecay = 2048;
constexpr int kSegments = 12;
constexpr int kVuWidth = 16;
constexpr int kVuHeight = 80;

constexpr int kGlyphWidth = 14;
constexpr int kGlyphHeight = 22;
constexpr int kGlyphs = 96;

int Segments(int level) { return std::min(level * kSegments / kFullLevel, kSegments - 1); }

}  // namespace

void NoteHeard(MixState& state, bass::DWORD data) {
  const bass::DWORD channel = data / 65536;
  if (channel >= kChannels) return;
  // The channel adds itself to the low byte here (65536 = 65535 + 1), where it never reaches the
  // velocity: key 127 + channel 15 stays below 256.
  const int velocity = static_cast<int>(data % 65535 / 256);
  std::atomic<int>& lamp = state.lamp_levels[channel];
  int level = lamp.load(std::memory_order_relaxed);
  while (level < velocity &&
         !lamp.compare_exchange_weak(level, velocity, std::memory_order_relaxed)) {
  }
}

std::array<int, kChannels> TickLamps(MixState& state) {
  std::array<int, kChannels> drawn{};
  for (std::size_t i = 0; i < drawn.size(); ++i) {
    std::atomic<int>& lamp = state.lamp_levels[i];
    int level = lamp.load(std::memory_order_relaxed);
    // A note that comes in between is not lost: then it is drawn now.
    while (!lamp.compare_exchange_weak(level, std::max(level - kLampDecay, 0),
                                       std::memory_order_relaxed)) {
    }
    drawn[i] = level;
  }
  return drawn;
}

int LampFrame(int level) {
  const int clamped = std::clamp(level, 0, kMaxLampLevel);
  return static_cast<int>(std::floor((clamped + 1) * kLampFrames / 128.0 - 0.01));
}

SpriteRect LampSprite(int level, bool is_melody_channel) {
  return {is_melody_channel ? kMelodyLampX : kLampX, LampFrame(level) * kLampPitch + kLampMargin,
          kLampSize, kLampSize};
}

VuMeter TickVuMeter(const bass::Api& api, bass::HSTREAM stream, MixState& state) {
  state.held_peak = std::max(state.held_peak - kPeakDecay, 0);
  const bass::DWORD word = api.BASS_ChannelGetLevel(stream);
  int level = 0;
  if (word != bass::kError32) {
    level = std::min(static_cast<int>(std::max(word & 0xFFFF, word >> 16)), kFullLevel);
    state.held_peak = std::max(state.held_peak, level);
  }
  return {Segments(level), Segments(state.held_peak), level >= kOverload};
}

bool ClipLamp::Tick(bool overloaded) {
  if (overloaded) {
    left_ = kTime;
  } else if (left_ > 0) {
    --left_;
  }
  return left_ > 0;
}

SpriteRect VuSprite(int segments) {
  return {std::clamp(segments, 0, kSegments - 1) * kVuWidth, 0, kVuWidth, kVuHeight};
}

void ClearMeters(MixState& state) {
  for (auto& lamp : state.lamp_levels) lamp.store(0, std::memory_order_relaxed);
  state.held_peak = 0;
}

std::vector<LedGlyph> LedPrint(std::string_view text, int x, int y, bool lit) {
  std::vector<LedGlyph> glyphs;
  for (const char character : text) {
    const int byte = static_cast<unsigned char>(character);
    if ((byte & 0xC0) == 0x80) continue;  // a further byte of the same character
    int code = byte - 32;
    if (code < 0 || code >= kGlyphs) code = 0;
    glyphs.push_back(
        {{code * kGlyphWidth, lit ? 0 : kGlyphHeight, kGlyphWidth, kGlyphHeight}, x, y});
    x += kGlyphWidth;
  }
  return glyphs;
}

}  // namespace vexolo
