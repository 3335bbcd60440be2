/// Activity lamps, level meter and LED text: what they show and how they fall back.
#pragma once

#include <array>
#include <string_view>
#include <vector>

#include "audio/bass.h"
#include "mixer/mix_state.h"
#include "platform/sprite.h"

namespace vexolo {

inline constexpr int kMaxLampLevel = 127;

/// Takes the data word of a note event: raises the lamp of its channel to its velocity. Any thread;
/// neither allocates nor locks.
void NoteHeard(MixState& state, bass::DWORD data);

/// `DrawMeters`, once for each tick of the main timer: returns the levels to draw now and lowers
/// them by 8 for the next tick.
std::array<int, kChannels> TickLamps(MixState& state);

/// 0..8. The level is clamped to 0..127.
int LampFrame(int level);

/// `DrawJ`: the place of a lamp's picture in the lamp bitmap.
SpriteRect LampSprite(int level, bool is_melody_channel);

/// Lit segments of the level meter's two halves, 0..11 each.
struct VuMeter {
  int level = 0;
  int peak = 0;
  bool overloaded = false;  ///< the sound is too loud for the output
  bool operator==(const VuMeter&) const = default;
};

/// `DrawVuMeters`, once for each tick of the main timer: lowers the held peak by 2048 and raises it
/// to the stream's level. A level that cannot be read shows as silence.
VuMeter TickVuMeter(const bass::Api& api, bass::HSTREAM stream, MixState& state);

/// `ClipLed`: the overload lamp stays lit for a while.
class ClipLamp {
 public:
  static constexpr int kTime = 15;  ///< ticks

  /// Once a tick. Whether the lamp is lit.
  bool Tick(bool overloaded);

 private:
  int left_ = 0;
};

/// The place of a half of the level meter in the meter bitmap.
SpriteRect VuSprite(int segments);

/// Lamps and meter at rest, as when nothing plays.
void ClearMeters(MixState& state);

/// One glyph of an LED text: from `source` in the LED font bitmap to (x, y) on the display.
struct LedGlyph {
  SpriteRect source;
  int x = 0;
  int y = 0;
  bool operator==(const LedGlyph&) const = default;
};

/// `LedPrint`: what has to be copied to show `text` (UTF-8) from (x, y) on. What the font does not
/// have is blank.
std::vector<LedGlyph> LedPrint(std::string_view text, int x, int y, bool lit);

}  // namespace vexolo
