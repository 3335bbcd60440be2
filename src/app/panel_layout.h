/// Where everything stands on the main window's panel, in pixels at scale 1. No toolkit in here, so
/// that tests can hold the places against each other.
///
/// Groups, by what people do: the display (what plays), the mixer (balance of the channels), the
/// master section (pitch, speed, loudness of the whole song), the song position, the transport, and
/// the keys that open something.
#pragma once

#include <array>

#include "platform/sprite.h"

namespace vexolo::panel {

using Place = SpriteRect;  ///< x and y from the panel's top left corner

inline constexpr int kWidth = 900;
inline constexpr int kHeight = 420;
inline constexpr Place kWhole{0, 0, kWidth, kHeight};

inline constexpr int kGlyphWidth = 14;  ///< of the LED font
inline constexpr int kGlyphHeight = 22;

// ---- Plates: recessed fields of the panel that hold a group each.

inline constexpr Place kMixerPlate{16, 72, 600, 232};
inline constexpr Place kMasterPlate{628, 72, 256, 232};
inline constexpr Place kTransportPlate{16, 316, 868, 90};
inline constexpr std::array kPlates{kMixerPlate, kMasterPlate, kTransportPlate};

inline constexpr std::array<Place, 4> kScrews{
    {{2, 2, 24, 24}, {874, 2, 24, 24}, {2, 394, 24, 24}, {874, 394, 24, 24}}};

/// The program's name; a click opens the About box.
inline constexpr Place kNamePlate{24, 22, 120, 32};

// ---- LED displays. The glass has a rim of 8 pixels round the text.

struct LedDisplay {
  Place glass;
  int characters = 0;  ///< side by side
  constexpr Place Text() const {
    return {glass.x + (glass.width - characters * kGlyphWidth) / 2,
            glass.y + (glass.height - kGlyphHeight) / 2, characters * kGlyphWidth, kGlyphHeight};
  }
};

inline constexpr LedDisplay kTitle{{152, 19, 436, 38}, 30};
inline constexpr LedDisplay kTime{{602, 19, 282, 38}, 19};

// ---- Mixer: sixteen strips; from the top number, lamp, level, solo, mute.

inline constexpr int kStrips = 16;
inline constexpr int kStripPitch = 34;
inline constexpr int kFirstStrip = 66;  ///< left edge of the first strip's 24 pixels

constexpr int StripX(int channel) { return kFirstStrip + channel * kStripPitch; }

constexpr Place ChannelCaption(int channel) { return {StripX(channel) - 4, 78, 32, 12}; }
constexpr Place LampPlace(int channel) { return {StripX(channel) + 3, 92, 18, 18}; }
constexpr Place LevelPlace(int channel) { return {StripX(channel), 114, 24, 128}; }
constexpr Place SoloPlace(int channel) { return {StripX(channel), 252, 24, 12}; }
constexpr Place MutePlace(int channel) { return {StripX(channel), 270, 24, 12}; }

/// Captions left of the first strip.
inline constexpr Place kSoloCaption{20, 252, 40, 12};
inline constexpr Place kMuteCaption{20, 270, 40, 12};

// ---- Master section.

inline constexpr Place kTransposePlace{640, 96, 103, 103};
inline constexpr Place kTransposeCaption{640, 78, 103, 12};
inline constexpr Place kSpeedPlace{667, 240, 50, 30};
inline constexpr Place kSpeedCaption{640, 222, 103, 12};
inline constexpr Place kGainPlace{764, 114, 24, 128};
inline constexpr Place kGainCaption{746, 78, 60, 12};
inline constexpr Place kLabelGain{746, 252, 60, 14};
inline constexpr Place kLevelMeter{814, 150, 16, 80};
inline constexpr Place kPeakMeter{836, 150, 16, 80};
inline constexpr Place kMeterGlass{808, 144, 50, 92};
inline constexpr Place kClipLamp{824, 114, 18, 18};

// ---- Position in the song: the whole slider, its cap of 24 pixels included.

inline constexpr Place kPosition{28, 322, 844, 24};

// ---- Buttons: `PicSM` from 32.

inline constexpr int kFirstMiscButton = 32;
inline constexpr std::array<Place, 16> kMiscButtons{{
    {28, 360, 32, 32},   // 32 previous
    {64, 360, 32, 32},   // 33 play
    {100, 360, 32, 32},  // 34 stop
    {136, 360, 32, 32},  // 35 next
    {196, 360, 32, 32},  // 36 record
    {256, 360, 32, 32},  // 37 lyrics
    {340, 364, 24, 24},  // 38 punch
    {368, 364, 24, 24},  // 39 punch in
    {396, 364, 24, 24},  // 40 punch out
    {736, 364, 24, 24},  // 41 SoundFont
    {300, 364, 24, 24},  // 42 repeat
    {480, 364, 24, 24},  // 43 channel settings
    {508, 364, 24, 24},  // 44 reverb
    {792, 364, 24, 24},  // 45 setup
    {820, 364, 24, 24},  // 46 help
    {536, 364, 24, 24},  // 47 playlist
}};

/// `index` 32..47.
constexpr Place MiscButtonPlace(int index) { return kMiscButtons[index - kFirstMiscButton]; }

}  // namespace vexolo::panel
