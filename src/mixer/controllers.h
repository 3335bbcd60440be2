/// The controller window's rules: seven controllers of each channel that the user may set against
/// the song.
#pragma once

#include <string>

#include "audio/audio_state.h"
#include "audio/bass.h"
#include "mixer/controller_table.h"
#include "mixer/mix_state.h"
#include "mixer/song_settings.h"

namespace vexolo {

/// Which of `frames` pictures shows a value; the value is clamped to 0..127.
int ControllerFrame(int value, int frames);

/// A knob's text: "G 64" .. " C " .. "D 63" for pan, "Melodic" or "DrumSet" for drum mode, else
/// the number.
std::string ControllerText(int kind, int value);

/// A mouse drag on a controller or effect knob: pixels right and up x step, with Ctrl a tenth of
/// it (rounded, halves to even), with Shift ten times it, from the start value on; never below 0,
/// and at most `max` where that is not negative.
int DraggedController(int start, int step, double x0, double y0, double x, double y, bool ctrl,
                      bool shift, int max);

/// A bank and program with a name in the preset table.
struct Instrument {
  int bank = 0;
  int program = 0;
  bool operator==(const Instrument&) const = default;
};

/// The next instrument after `start`: by its bank or by its program, forwards (step 1) or backwards
/// (-1), around the ends of the range, at most 128 tries. `start` where there is none. A drum
/// channel's programs are searched among the drum kits, and its bank stays.
Instrument NextInstrument(const PresetNames& presets, Instrument start, bool by_bank, int step,
                          bool is_drum_channel);

/// The window `Reglage` without its window. Window thread only.
class Controllers {
 public:
  /// The objects must outlive this one.
  Controllers(const bass::Api& api, MixState& state, AudioState& audio, SongSettings& settings);

  /// What a knob shows: the moved value while it is held, else the override or the song's value.
  int Value(int entry) const;

  /// The press of a mouse button on a control. Right: the override goes (see Reset). Left: volume,
  /// pan, reverb and chorus begin a drag; bank, program and drum mode are stepped. True when the
  /// channel's knobs are to be drawn again.
  bool ControllerDown(int entry, int mouse_button, double x, double y, bool ctrl, bool shift);
  bool ControllerMove(double x, double y);
  bool ControllerUp();

  /// A left click on a bank or program control. False where there is no other instrument.
  bool TestButton(int entry, bool shift);
  void ToggleDrum(int channel);
  /// Turns a knob by so many steps, ten times as far with Shift, and keeps the value; steps to
  /// another instrument or drum mode, by the sign alone.
  void Step(int entry, int steps, bool shift);
  /// Sets bank and program of a channel; a drum channel keeps its bank.
  void ChooseInstrument(int channel, Instrument instrument);
  /// No override any more: the song's value is sent again and an empty value saved.
  void Reset(int entry);

  bool IsDrumChannel(int channel) const;
  bool HasOverride(int entry) const { return entry == held_ || state_.overrides.Has(entry); }
  int held_entry() const { return held_; }  ///< -1 = none

  /// Name of the channel's preset; empty where the bank has none.
  std::string TipPreset(int channel) const;

 private:
  void StoreOverride(int entry, int value);

  const bass::Api& api_;
  MixState& state_;
  AudioState& audio_;
  SongSettings& settings_;
  int held_ = -1;  ///< entry
  int start_ = 0;
  int value_ = 0;
  double x0_ = 0;
  double y0_ = 0;
  bool ctrl_ = false;
  bool shift_ = false;
};

}  // namespace vexolo
