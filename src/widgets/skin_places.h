/// What stands where on the nine skin bitmaps, in pixels at scale 1. Read by the windows that copy
/// from them and by the program that renders them, so that both mean the same places.
///
/// Solo, mute and panel button faces, level faders, lamps, meter and LED glyphs have their rules
/// beside the controls themselves (SmSprite, KnobSprite, LampSprite, VuSprite, LedPrint). Here is
/// the rest.
#pragma once

#include <algorithm>
#include <array>

#include "platform/sprite.h"

namespace vexolo {

/// One skin bitmap. The set for dense screens has twice the width and height.
struct SkinSheet {
  int id = 0;  ///< resource of type CUSTOM
  int width = 0;
  int height = 0;
  int bits = 0;  ///< for each pixel
};

inline constexpr int kFirstSheet = 101;

inline constexpr std::array<SkinSheet, 9> kSkinSheets{{
    {101, 768, 384, 32},
    {102, 48, 1560, 24},
    {103, 312, 208, 24},
    {104, 192, 192, 24},
    {105, 96, 2160, 24},
    {106, 984, 128, 32},
    {107, 192, 80, 32},
    {108, 1344, 44, 24},
    {109, 103, 2575, 32},
}};

/// The program's icon is drawn in these sizes.
inline constexpr std::array kIconSizes{16, 24, 32, 48, 64, 128, 256};

inline constexpr int kControllerSheet = 101;
inline constexpr int kNumberSheet = 102;
inline constexpr int kButtonSheet = 103;
inline constexpr int kLampSheet = 104;
inline constexpr int kReverbSheet = 105;
inline constexpr int kFaderSheet = 106;
inline constexpr int kMeterSheet = 107;
inline constexpr int kLedSheet = 108;
inline constexpr int kTransposeSheet = 109;

// ---- 101: small knobs of the channel settings, 24 x 24, 32 frames side by side.

enum class KnobStyle {
  kAmount,           ///< 0 at the left stop; the song's own value
  kAmountOverride,   ///< the user's value: the ring is lit
  kCentred,          ///< 64 in the middle; the song's own value
  kCentredOverride,  ///< the user's value
  kAmountOff,        ///< no song
  kCentredOff,
};
inline constexpr int kKnobStyles = 6;
inline constexpr int kSmallKnobSize = 24;
inline constexpr int kSmallKnobFrames = 32;

/// `value` 0..127, clamped.
constexpr SpriteRect SmallKnobSprite(KnobStyle style, int value) {
  const int frame = std::clamp(value, 0, 127) * kSmallKnobFrames / 128;
  return {frame * kSmallKnobSize, static_cast<int>(style) * kSmallKnobSize, kSmallKnobSize,
          kSmallKnobSize};
}

// ---- 101: button faces under the mouse pointer, for buttons that are up.

inline constexpr int kHoverY = 336;

/// The hover face of a `PicSM` button of the main window: all solo buttons share one, all mute
/// buttons another.
constexpr SpriteRect HoverSprite(int button) {
  if (button < 16) return {624, kHoverY, 24, 12};
  if (button < 32) return {624, kHoverY + 12, 24, 12};
  if (button < 38) return {(button - 32) * 32, kHoverY, 32, 32};
  return {192 + (button - 38) * 24, kHoverY, 24, 24};
}

// ---- 101: drum control of the channel settings, 24 x 12.

constexpr SpriteRect DrumSprite(bool is_drum, bool is_override) {
  return {648, kHoverY + (is_drum ? 24 : 0) + (is_override ? 12 : 0), 24, 12};
}

// ---- 102: bank and program of the channel settings: little displays of 24 x 12, one below the
// other; the left column for the song's own value, the right one for the user's.

inline constexpr int kNumberBlank = 129;  ///< no number

/// `number` 0..128, or kNumberBlank for anything else.
constexpr SpriteRect NumberSprite(int number, bool is_override) {
  if (number < 0 || number > kNumberBlank) number = kNumberBlank;
  return {is_override ? 24 : 0, number * 12, 24, 12};
}

// ---- 103: buttons of the playlist window, 24 x 24.

enum class ListButton { kPlus, kMoins, kPoubelle, kShuffle, kLoad, kSave, kPlayIt, kRepeat };
inline constexpr int kListButtons = 8;

constexpr SpriteRect ListButtonSprite(ListButton button, bool is_down) {
  return {120 + static_cast<int>(button) * 24, is_down ? 24 : 0, 24, 24};
}

/// The repeat button, which looks as that of the main window does. `state`: 0 up, 1 down, 2 and 3
/// the repeat modes of these numbers.
constexpr SpriteRect ListRepeatSprite(int state) {
  if (state == 2 || state == 3) return {72 + (state - 2) * 24, 24, 24, 24};
  return {96, state == 1 ? 184 : 160, 24, 24};
}

constexpr SpriteRect ListButtonHoverSprite(ListButton button) {
  return {432 + static_cast<int>(button) * 24, kHoverY, 24, 24};  // on 101
}

// ---- 103: parts of the panel.

/// A picture whose corners keep their size while its edges and middle are stretched.
struct NinePatch {
  int sheet = 0;
  SpriteRect source;
  int border = 0;  ///< width of the corners
};

inline constexpr NinePatch kGlassPatch{kButtonSheet, {192, 48, 48, 48}, 8};
inline constexpr NinePatch kPlatePatch{kButtonSheet, {240, 48, 48, 48}, 16};
inline constexpr SpriteRect kScrewSprite{288, 48, 24, 24};
inline constexpr SpriteRect kScrewTurnedSprite{288, 72, 24, 24};
inline constexpr NinePatch kGroovePatch{kButtonSheet, {192, 96, 48, 16}, 7};
inline constexpr NinePatch kGroovePlayedPatch{kButtonSheet, {192, 144, 48, 16}, 7};
inline constexpr SpriteRect kDividerSprite{244, 124, 2, 16};       ///< line between groups, upright
inline constexpr SpriteRect kLevelDividerSprite{244, 142, 6, 2};   ///< the same, lying
inline constexpr SpriteRect kPassageStartSprite{252, 120, 12, 8};  ///< marker over the groove
inline constexpr SpriteRect kPassageEndSprite{264, 120, 12, 8};

/// Overload lamp, 18 x 18.
constexpr SpriteRect ClipLampSprite(bool is_lit) { return {is_lit ? 219 : 195, 123, 18, 18}; }

inline constexpr SpriteRect kSliderCapSprite{243, 96, 18, 24};
inline constexpr SpriteRect kSliderCapHoverSprite{267, 96, 18, 24};
inline constexpr SpriteRect kSliderCapDownSprite{291, 96, 18, 24};

// ---- 104: panel. Its lamps stand in the columns x = 0..24 and 144..168.

inline constexpr SpriteRect kPanelTile{24, 0, 120, 128};   ///< repeats without a seam
inline constexpr SpriteRect kNamePlate{24, 128, 120, 32};  ///< the program's name

/// Light that falls on the panel: white is all of it. Stretched over the panel and multiplied with
/// it.
inline constexpr SpriteRect kPanelLight{168, 0, 24, 64};

/// The eighth and brightest row of lamps is the last one that the bitmap holds; it stands for the
/// ninth as well.
constexpr SpriteRect OnLampSheet(SpriteRect lamp) {
  lamp.y = std::min(lamp.y, 7 * 24 + 3);
  return lamp;
}

// ---- 105: knobs of the reverb window, 48 x 48: the left column for the song's own value, the
// right one for the user's; 45 frames one below the other.

inline constexpr int kReverbKnobFrames = 45;

/// `share` 0..1 of the knob's range, clamped.
constexpr SpriteRect ReverbKnobSprite(double share, bool is_override) {
  const int frame = Nearest(std::clamp(share, 0.0, 1.0) * (kReverbKnobFrames - 1));
  return {is_override ? 48 : 0, frame * 48, 48, 48};
}

}  // namespace vexolo
