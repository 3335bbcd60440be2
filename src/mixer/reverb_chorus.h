/// The rules of the reverb and chorus window: eleven song-wide parameters.
#pragma once

#include <array>

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

/// The window `Reverb` without its window. Window thread only.
class ReverbChorus {
 public:
  /// The objects must outlive this one.
  ReverbChorus(const bass::Api& api, MixState& state, AudioState& audio, SongSettings& settings);

  /// What the knob of a kind (1..11) shows: the moved value while it is held, else the override or
  /// the stream's value.
  int Value(int kind) const;

  /// The drag begins; the modifier keys are those held now.
  void ControllerDown(int kind, double x, double y, bool ctrl, bool shift);
  /// Sends the value for the mouse's place. True when the knob is to be drawn again.
  bool ControllerMove(double x, double y);
  /// Stores and saves the value. False when no knob was held.
  bool ControllerUp();

  int held_kind() const { return kind_; }  ///< 0 = none

 private:
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
