/// The main window's knobs: channel levels, Gain, Transpose and Speed.
///
/// `Potard` indices: 0..15 level of that channel, 16 Gain, 17 Transpose, 18 Speed.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "audio/audio_state.h"
#include "audio/bass.h"
#include "mixer/mix_state.h"
#include "mixer/song_settings.h"
#include "platform/sprite.h"

namespace vexolo {

inline constexpr int kGainKnob = 16;
inline constexpr int kTransposeKnob = 17;
inline constexpr int kSpeedKnob = 18;
inline constexpr int kKnobs = 19;

// ---- What the values do to the sound.

/// 10 ^ (gain / 20); the gain is kept within -20..20 dB.
double LinearGain(int gain);

/// Sets the volume of the current bank.
void ApplyLevels(const bass::Api& api, bass::HSOUNDFONT font, int gain);

/// Sends the transposition, kept within -12..12 semitones, to all channels of a stream.
void ApplyTranspose(const bass::Api& api, bass::HSTREAM stream, int transpose);

/// 1 - tempo / 1000. Where that is not above 0 (a file written by hand), the factor of the fastest
/// speed that the knob allows.
double SpeedFactor(int tempo);

/// Takes the speed factor from Tempo and sends the tempo to the current stream. The caller draws
/// the Speed knob.
void NewTempo(const bass::Api& api, const MixState& state, AudioState& audio);

// ---- What is shown. Values are clamped to the range that is drawn: level 0..200, Gain -20..20,
// Transpose -12..12, Speed -10000..600.

/// The frame of a knob's picture: 0..40, or 0..24 for Transpose; 0 for Speed, which has none.
int KnobFrame(int knob, int value);

/// That frame's place in the knob's bitmap: 24 x 128 frames side by side, for Transpose 103 x 103
/// frames one below the other.
SpriteRect KnobSprite(int knob, int value);

/// The tooltip. `text`: "Knob(Gain)" or "Knob(Transpose)" of the language, with "%1" for the value;
/// the other knobs do not need it. Empty for Speed.
std::string KnobTip(int knob, int value, std::string_view text);

/// Three LED characters.
struct SpeedText {
  std::string text;  ///< beats a minute, right-aligned, or "bpm" where there is no sensible number
  bool lit = false;  ///< the song's own speed
  bool operator==(const SpeedText&) const = default;
};

/// `base_tempo`: microseconds a quarter note.
SpeedText SpeedKnobText(int base_tempo, int value);

/// `LabelGain`: the linear volume in percent.
std::string LabelGainText(int gain);

/// What is written under the Transpose knob while it is turned away from its middle; else empty.
std::string TransposeValueText(int transpose);

// ---- The mouse.

/// What the value becomes when the mouse has moved: `stored` + the distance from the press (x0, y0)
/// in the knob's measure, rounded (halves to even) and clamped. Positions in pixels; y grows
/// downwards.
int DraggedValue(int knob, int stored, double x0, double y0, double x, double y);

/// What one step of the wheel or of the keyboard is: a twentieth of the normal level, 1 dB, 1
/// semitone, 1 percent of speed; `fine`: the least there is, a tenth of a percent for the speed.
int KnobStep(int knob, bool fine);

/// Dragging and resetting of knobs. Values act while a knob is held (but for Speed) and are stored
/// and saved when it is released. Window thread only.
class Knobs {
 public:
  /// The objects must outlive this one.
  Knobs(const bass::Api& api, MixState& state, AudioState& audio, SongSettings& settings);

  /// Left: the drag begins. Right: the knob goes back to its normal value at once. True when the
  /// knob is to be drawn again.
  bool Potard_MouseDown(int index, int mouse_button, double x, double y);
  /// True when the knob that is held is to be drawn again.
  bool Potard_MouseMove(double x, double y);
  /// True when a knob was held. After the Speed knob the length of the song and the time display
  /// have changed as well.
  bool Potard_MouseUp();

  /// Turns a knob by steps, up where they are positive; stores and saves. Nothing happens while a
  /// knob is held. True when the knob is to be drawn again.
  bool Step(int index, int steps, bool fine);

  /// What a knob shows: the moved value while it is held, else the stored one.
  int Value(int index) const;
  int held_knob() const { return held_; }  ///< -1 = none

 private:
  int Stored(int index) const;
  void Store(int index, int value);
  void Act(int index, int value);
  void Reset(int index);
  void ChangeSpeed(int tempo);

  const bass::Api& api_;
  MixState& state_;
  AudioState& audio_;
  SongSettings& settings_;
  int held_ = -1;
  int value_ = 0;
  double x0_ = 0;
  double y0_ = 0;
};

}  // namespace vexolo
