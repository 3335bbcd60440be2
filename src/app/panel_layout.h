/// Where everything stands on the main window's panel, in pixels at scale 1. No toolkit in here, so
/// that tests can hold the places against each other.
///
/// Groups, by what people do: the display (what plays, and where in it), the mixer (balance of the
/// channels), the master section (pitch, speed and loudness of the whole song), and the keys:
/// transport, passage, windows, program.
#pragma once

#include <array>

#include "platform/sprite.h"

namespace vexolo::panel {

using Place = SpriteRect;  ///< x and y from the panel's top left corner

inline constexpr int kWidth = 900;
inline constexpr int kHeight = 408;
inline constexpr Place kWhole{0, 0, kWidth, kHeight};

inline constexpr int kGlyphWidth = 14;  ///< of the LED font
inline constexpr int kGlyphHeight = 22;

// ---- Plates: recessed fields of the panel that hold a group each. Left and right of them are the
// ears that the panel is screwed on with.

inline constexpr Place kDisplayPlate{146, 12, 730, 78};
inline constexpr Place kMixerPlate{24, 100, 596, 212};
inline constexpr Place kMasterPlate{630, 100, 246, 212};
inline constexpr Place kKeyPlate{24, 322, 852, 74};
inline constexpr std::array kPlates{kDisplayPlate, kMixerPlate, kMasterPlate, kKeyPlate};

inline constexpr std::array<Place, 4> kScrews{
    {{0, 10, 24, 24}, {876, 10, 24, 24}, {0, 374, 24, 24}, {876, 374, 24, 24}}};

/// The program's name; a click opens the About box.
inline constexpr Place kNamePlate{24, 35, 120, 32};

// ---- LED displays. Title and time share one glass, whose grid of dots goes on between them.

inline constexpr Place kDisplayGlass{153, 18, 716, 38};

struct LedDisplay {
  int x = 0;
  int y = 0;
  int characters = 0;  ///< side by side
  constexpr Place Text() const { return {x, y, characters * kGlyphWidth, kGlyphHeight}; }
};

inline constexpr LedDisplay kTitle{161, 26, 29};
inline constexpr LedDisplay kTime{595, 26, 19};
/// All cells of the glass.
inline constexpr LedDisplay kAllCells{161, 26, 50};

/// Position in the song: the whole slider, its cap included.
inline constexpr Place kPosition{153, 61, 716, 24};

// ---- Mixer: sixteen strips; from the top number, lamp, level, solo, mute.

inline constexpr int kStrips = 16;
inline constexpr int kStripPitch = 34;
inline constexpr int kFirstStrip = 76;  ///< left edge of the first strip's 24 pixels

// Rows that the strips and the master section have in common.
inline constexpr int kCaptionY = 107;
inline constexpr int kLampY = 121;
inline constexpr int kFaderY = 140;
inline constexpr int kSoloY = 273;
inline constexpr int kMuteY = 291;

constexpr int StripX(int channel) { return kFirstStrip + channel * kStripPitch; }

constexpr Place ChannelCaption(int channel) { return {StripX(channel) - 4, kCaptionY, 32, 12}; }
constexpr Place LampPlace(int channel) { return {StripX(channel) + 3, kLampY, 18, 18}; }
constexpr Place LevelPlace(int channel) { return {StripX(channel), kFaderY, 24, 128}; }
constexpr Place SoloPlace(int channel) { return {StripX(channel), kSoloY, 24, 12}; }
constexpr Place MutePlace(int channel) { return {StripX(channel), kMuteY, 24, 12}; }

/// Captions left of the first strip.
inline constexpr Place kSoloCaption{28, kSoloY, 42, 12};
inline constexpr Place kMuteCaption{28, kMuteY, 42, 12};

/// A number beside a scale.
struct ScaleMark {
  const char* text;
  Place place;
};

/// Where a fader's cap stands at a share of its travel, from the panel's top.
constexpr int FaderMarkY(double share) { return kFaderY + 18 + Nearest(91 * (1 - share)); }

constexpr ScaleMark FaderMark(const char* text, int x, double share) {
  return {text, {x, FaderMarkY(share) - 5, 30, 11}};
}

inline constexpr int kLevelScaleX = 40;
inline constexpr std::array kLevelScale{
    FaderMark("200", kLevelScaleX, 1), FaderMark("150", kLevelScaleX, 0.75),
    FaderMark("100", kLevelScaleX, 0.5), FaderMark("50", kLevelScaleX, 0.25),
    FaderMark("0", kLevelScaleX, 0)};

// ---- Master section.

inline constexpr Place kTransposeCaption{636, kCaptionY, 115, 12};
inline constexpr Place kTransposePlace{642, 121, 103, 103};
inline constexpr std::array<ScaleMark, 2> kTransposeScale{
    {{"-12", {646, 226, 30, 11}}, {"+12", {711, 226, 30, 11}}}};
/// Between the ends of its scale, while the knob is turned away from its middle.
inline constexpr Place kTransposeValue{677, 225, 34, 13};
inline constexpr Place kSpeedCaption{638, 241, 110, 12};
inline constexpr Place kSpeedPlace{668, 258, 50, 30};
inline constexpr Place kSpeedUnit{668, 291, 50, 12};

inline constexpr Place kGainCaption{764, kCaptionY, 60, 12};
inline constexpr Place kGainPlace{782, kFaderY, 24, 128};
inline constexpr int kGainScaleX = 749;
inline constexpr std::array kGainScale{FaderMark("+20", kGainScaleX, 1),
                                       FaderMark("0", kGainScaleX, 0.5),
                                       FaderMark("-20", kGainScaleX, 0)};
inline constexpr Place kLabelGain{766, 276, 56, 18};

inline constexpr Place kClipLamp{834, kLampY, 18, 18};
inline constexpr Place kMeterGlass{820, 152, 46, 92};
inline constexpr Place kLevelMeter{826, 158, 16, 80};
inline constexpr Place kPeakMeter{844, 158, 16, 80};

// ---- Keys: `PicSM` from 32. Each stands in the middle of a cell, over its caption.

inline constexpr int kFirstMiscButton = 32;
inline constexpr int kMiscButtonCount = 16;

constexpr Place LargeKey(int centre) { return {centre - 16, 331, 32, 32}; }
constexpr Place SmallKey(int centre) { return {centre - 12, 335, 24, 24}; }

inline constexpr std::array<Place, kMiscButtonCount> kMiscButtons{{
    LargeKey(58),   // 32 previous
    LargeKey(94),   // 33 play
    LargeKey(130),  // 34 stop
    LargeKey(166),  // 35 next
    LargeKey(228),  // 36 record
    LargeKey(512),  // 37 lyrics
    SmallKey(344),  // 38 punch
    SmallKey(396),  // 39 punch in
    SmallKey(448),  // 40 punch out
    SmallKey(732),  // 41 SoundFont
    SmallKey(292),  // 42 repeat
    SmallKey(616),  // 43 channel settings
    SmallKey(668),  // 44 reverb
    SmallKey(784),  // 45 setup
    SmallKey(836),  // 46 help
    SmallKey(564),  // 47 playlist
}};

/// `index` 32..47.
constexpr Place MiscButtonPlace(int index) { return kMiscButtons[index - kFirstMiscButton]; }

/// What is engraved under a key; for the four of the transport, one caption between two lines.
inline constexpr Place kTransportCaption{80, 370, 64, 12};
inline constexpr std::array<Place, 2> kTransportLines{{{44, 375, 32, 2}, {148, 375, 32, 2}}};

constexpr Place KeyCaption(int index) {
  if (index < 36) return kTransportCaption;
  const Place key = MiscButtonPlace(index);
  return {key.x + key.width / 2 - 26, 370, 52, 12};
}

/// Lines between groups of keys.
inline constexpr std::array<Place, 4> kKeyDividers{
    {{195, 331, 2, 52}, {259, 331, 2, 52}, {479, 331, 2, 52}, {699, 331, 2, 52}}};

}  // namespace vexolo::panel
