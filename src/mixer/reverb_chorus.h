/// The rules of the reverb and chorus window: eleven song-wide parameters.
#pragma once

#include <array>
#include <string>

#include "audio/audio_state.h"
#include "audio/bass.h"
#include "mixer/controller_table.h"
#include "mixer/mix_state.h"
#include "mixer/song_settings.h"

namespace vexolo {

struct EffectKnob {
  bool is_chorus;
  bass::DWORD event;  ///< sent on channel 0
  int step;           ///< of the value, for one pixel of drag
};

/// Kind k is at k - 1.
inline constexpr std::array<EffectKnob, kSongKinds> kEffectKnobs = {{
    {false, bass::MIDI_EVENT_REVERB_TIME, 100},
    {false, bass::MIDI_EVENT_REVERB_DELAY, 100},
    {false, bass::MIDI_EVENT_REVERB_LOCUTOFF, 100},
    {false, bass::MIDI_EVENT_REVERB_HICUTOFF, 100},
    {false, bass::MIDI_EVENT_REVERB_LEVEL, 10},
    {true, bass::MIDI_EVENT_CHORUS_DELAY, 100},
    {true, bass::MIDI_EVENT_CHORUS_DEPTH, 100},
    {true, bass::MIDI_EVENT_CHORUS_RATE, 100},
    {true, bass::MIDI_EVENT_CHORUS_FEEDBACK, 1},
    {true, bass::MIDI_EVENT_CHORUS_LEVEL, 10},
    {true, bass::MIDI_EVENT_CHORUS_REVERB, 10},
}};

/// The drag of a knob within what sounds, for its picture: limits beyond which a value sounds like
/// the limit. Kind k is at k - 1.
struct EffectRange {
  int min;
  int max;
};
inline constexpr std::array<EffectRange, kSongKinds> kEffectRanges = {{
    {10, 20000},
    {0, 2000},
    {0, 20000},
    {0, 20000},
    {0, 200},
    {1, 1000},
    {0, 500},
    {1, 1000},
    {0, 200},
    {0, 200},
    {0, 200},
}};

/// Where a value stands in the range of its knob, 0..1. Times and frequencies are heard by their
/// ratios, so their knobs turn by the square root.
double EffectShare(int kind, int value);

/// A value as it is shown: a number and the key of its unit ("ms", "s", "Hz", "kHz", "dB", "%") in
/// the language file; an empty unit stands for an effect or filter that is off.
struct EffectText {
  std::string number;
  std::string unit;
  bool operator==(const EffectText&) const = default;
};
EffectText EffectValueText(int kind, int value, char separator);

/// The window `Reverb` without its window. Window thread only.
class ReverbChorus {
 public:
  /// The objects must outlive this one.
  ReverbChorus(const bass::Api& api, MixState& state, AudioState& audio, SongSettings& settings);

  /// What the knob of a kind (1..11) shows: the moved value while it is held, else the override or
  /// the song's value, bypassed or not.
  int Value(int kind) const;

  /// The drag begins; the modifier keys are those held now.
  void ControllerDown(int kind, double x, double y, bool ctrl, bool shift);
  /// Sends the value for the mouse's place. True when the knob is to be drawn again.
  bool ControllerMove(double x, double y);
  /// Stores and saves the value. False when no knob was held.
  bool ControllerUp();

  /// Turns a knob by so many of its steps; with Ctrl a tenth of it, with Shift ten times it. The
  /// value is stored and saved.
  void Step(int kind, int steps, bool ctrl, bool shift);

  /// No override any more: the song's value is sent again and an empty value saved.
  void Reset(int kind);

  /// Holds an effect's output at 0, or lets it sound as it is set.
  void SetBypass(bool chorus, bool bypass);

  bool HasOverride(int kind) const;

  int held_kind() const { return kind_; }  ///< 0 = none

 private:
  void Send(int kind, int value);
  void Store(int kind, int value);

  const bass::Api& api_;
  MixState& state_;
  AudioState& audio_;
  SongSettings& settings_;
  int kind_ = 0;
  int start_ = 0;
  int value_ = 0;
  double x0_ = 0;
  double y0_ = 0;
  bool ctrl_ = false;
  bool shift_ = false;
};

}  // namespace vexolo
