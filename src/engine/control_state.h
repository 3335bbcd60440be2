/// The values that MIDI events set, and what each event of a file does to them.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "audio/bass.h"
#include "engine/console.h"
#include "engine/midi_file.h"
#include "engine/time_line.h"

namespace vexolo::engine {

/// The values of a channel that the library's interface can read and set.
enum class ChannelValue : std::uint8_t {
  kProgram,
  kPitch,
  kDrums,
  kBank,
  kModulation,
  kVolume,
  kPan,
  kExpression,
  kSustain,
  kReverb,
  kChorus,
  kMixLevel,
  kTranspose,
};
inline constexpr int kChannelValues = 13;

struct ChannelValueInfo {
  bass::DWORD event;      ///< event number at the interface
  std::uint32_t initial;  ///< after power-on and system reset (drums: but for channel 9)
  std::uint32_t highest;  ///< a value above it is kept as sent and sounds as this
  int controller;         ///< MIDI controller that carries it, -1 = none
};

/// In the order of ChannelValue.
inline constexpr std::array<ChannelValueInfo, kChannelValues> kChannelValueTable = {{
    {bass::MIDI_EVENT_PROGRAM, 0, 127, -1},
    {bass::MIDI_EVENT_PITCH, 8192, 16383, -1},
    {bass::MIDI_EVENT_DRUMS, 0, 1, -1},
    {bass::MIDI_EVENT_BANK, 0, 127, 0},
    {bass::MIDI_EVENT_MODULATION, 0, 127, 1},
    {bass::MIDI_EVENT_VOLUME, 100, 127, 7},
    {bass::MIDI_EVENT_PAN, 64, 127, 10},
    {bass::MIDI_EVENT_EXPRESSION, 127, 127, 11},
    {bass::MIDI_EVENT_SUSTAIN, 0, 127, 64},
    {bass::MIDI_EVENT_REVERB, 40, 127, 91},
    {bass::MIDI_EVENT_CHORUS, 0, 127, 93},
    {bass::MIDI_EVENT_MIXLEVEL, 100, 200, -1},
    {bass::MIDI_EVENT_TRANSPOSE, 100, 200, -1},
}};

/// Index of an event number in kChannelValueTable, -1 where it is none of a channel's values.
int ChannelValueOfEvent(bass::DWORD event);
/// Index of a controller in kChannelValueTable, -1 where it carries none of the values.
int ChannelValueOfController(int controller);

inline constexpr int kDrumChannel = 9;

/// What registered parameters and the like have set on a channel.
struct ChannelState {
  std::array<std::uint32_t, kChannelValues> value;
  std::array<std::uint8_t, 128> controller;  ///< those that carry no ChannelValue
  std::uint8_t pressure;
  std::uint8_t bend_range_semitones;
  std::uint8_t bend_range_cents;
  std::uint8_t fine_tuning_msb, fine_tuning_lsb;
  std::uint8_t coarse_tuning;
  bool registered_selected;  ///< data entry goes to the registered parameter of 101/100
  std::uint8_t next_bank;    ///< which bank the next program change chooses from
  std::uint8_t preset_bank, preset_program;  ///< what the last program change chose

  std::uint32_t Get(ChannelValue which) const { return value[static_cast<std::size_t>(which)]; }
};

struct ControlState {
  std::array<ChannelState, kChannels> channel;
  std::array<std::uint32_t, kEffectParameters> effect;
  std::uint32_t tempo;  ///< in force, microseconds per quarter note

  /// As after power-on.
  static ControlState Initial();
};

/// Where the outcome of an event goes. The state has been updated before a call.
class EventSink {
 public:
  virtual ~EventSink() = default;
  /// Velocity 0 = release.
  virtual void Note(int channel, int key, int velocity) = 0;
  virtual void KeyPressure(int channel, int key, int value) = 0;
  virtual void ChannelPressure(int channel, int value) = 0;
  /// A controller that carries no ChannelValue, channel mode messages excluded.
  virtual void Controller(int channel, int controller, int value) = 0;
  /// `event` is MIDI_EVENT_SOUNDOFF, _RESET or _NOTESOFF. The values that a reset changes follow as
  /// ValueChanged.
  virtual void Mode(int channel, bass::DWORD event) = 0;
  virtual void ValueChanged(int channel, ChannelValue which) = 0;
  virtual void EffectChanged(EffectParameter which) = 0;
  virtual void TempoChanged(std::uint32_t tempo) = 0;
  /// GM, GS or XG reset: every note ends; the values that changed follow.
  virtual void SystemReset() = 0;
};

/// Applies one event of a file to the state and tells the sink what came of it. Marks and end of
/// track do nothing here. `data` holds the bytes of a system exclusive event.
///
/// Understood beside the channel messages: GM on and off, GM2 on, GS reset, XG on; GS and XG part
/// modes (drum kits), GS reverb and chorus parameters. A system reset leaves mix level and
/// transpose alone, as does reset of the controllers, which also leaves volume, pan, bank, program
/// and sends (MIDI RP-015).
void Interpret(ControlState& state, const MidiEvent& event, std::string_view data, EventSink& sink);

/// The interface's event number for an event of the file, 0 where it has none; `param` gets the
/// parameter in the interface's units.
bass::DWORD InterfaceEvent(const MidiEvent& event, bass::DWORD* param);

}  // namespace vexolo::engine
