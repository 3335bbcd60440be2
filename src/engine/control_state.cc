#include "engine/control_state.h"

namespace vexolo::engine {
namespace {

constexpr int kDataEntryMsb = 6;
constexpr int kDataEntryLsb = 38;
constexpr int kNrpnLsb = 98;
constexpr int kNrpnMsb = 99;
constexpr int kRpnLsb = 100;
constexpr int kRpnMsb = 101;
constexpr int kAllSoundOff = 120;
constexpr int kResetControllers = 121;
constexpr int kAllNotesOff = 123;
constexpr std::uint8_t kNullParameter = 127;

std::uint32_t InitialValue(int channel, std::size_t which) {
  if (which == static_cast<std::size_t>(ChannelValue::kDrums)) {
    return channel == kDrumChannel ? 1 : 0;
  }
  return kChannelValueTable[which].initial;
}

// Balance and the sound controllers rest in the middle; the low byte of expression is full, as the
// high one is.
std::uint8_t InitialController(int controller) {
  constexpr int kBalance = 8;
  constexpr int kExpressionLsb = 43;
  if (controller == kBalance || (controller >= 70 && controller <= 79)) return 64;
  return controller == kExpressionLsb ? 127 : 0;
}

bool SurvivesSystemReset(ChannelValue which) {
  return which == ChannelValue::kMixLevel || which == ChannelValue::kTranspose;
}

void ClearParameters(ChannelState& channel) {
  for (int controller = 0; controller < 128; ++controller) {
    channel.controller[controller] = InitialController(controller);
  }
  channel.controller[kRpnLsb] = channel.controller[kRpnMsb] = kNullParameter;
  channel.controller[kNrpnLsb] = channel.controller[kNrpnMsb] = kNullParameter;
  channel.pressure = 0;
  channel.bend_range_semitones = 2;
  channel.bend_range_cents = 0;
  channel.fine_tuning_msb = 64;
  channel.fine_tuning_lsb = 0;
  channel.coarse_tuning = 64;
  channel.registered_selected = false;
}

void SetValue(ControlState& state, int channel, ChannelValue which, std::uint32_t value,
              EventSink& sink) {
  state.channel[channel].value[static_cast<std::size_t>(which)] = value;
  ChannelState& strip = state.channel[channel];
  if (which == ChannelValue::kBank) strip.next_bank = static_cast<std::uint8_t>(value);
  if (which == ChannelValue::kProgram) {
    strip.preset_program = static_cast<std::uint8_t>(value);
    strip.preset_bank = strip.next_bank;
  }
  sink.ValueChanged(channel, which);
}

void ResetValue(ControlState& state, int channel, ChannelValue which, EventSink& sink) {
  const std::uint32_t initial = InitialValue(channel, static_cast<std::size_t>(which));
  if (state.channel[channel].Get(which) != initial) {
    SetValue(state, channel, which, initial, sink);
  }
}

void SetEffect(ControlState& state, EffectParameter which, std::uint32_t value, EventSink& sink) {
  state.effect[static_cast<std::size_t>(which)] = value;
  sink.EffectChanged(which);
}

void ResetSystem(ControlState& state, EventSink& sink) {
  for (ChannelState& channel : state.channel) {
    ClearParameters(channel);
    channel.next_bank = channel.preset_bank = channel.preset_program = 0;
  }
  sink.SystemReset();
  for (int channel = 0; channel < kChannels; ++channel) {
    ResetValue(state, channel, ChannelValue::kBank, sink);  // a program that is sent next needs it
    for (int which = 0; which < kChannelValues; ++which) {
      const auto value = static_cast<ChannelValue>(which);
      if (!SurvivesSystemReset(value)) ResetValue(state, channel, value, sink);
    }
  }
  for (int which = 0; which < kEffectParameters; ++which) {
    if (state.effect[which] != kEffectLimits[which].initial) {
      SetEffect(state, static_cast<EffectParameter>(which), kEffectLimits[which].initial, sink);
    }
  }
}

// Values as MIDI RP-015 lists them; selections of parameters become null.
void ResetChannelControllers(ControlState& state, int channel, EventSink& sink) {
  ChannelState& strip = state.channel[channel];
  for (const int controller : {65, 66, 67, 68}) strip.controller[controller] = 0;
  for (const int selection : {kNrpnLsb, kNrpnMsb, kRpnLsb, kRpnMsb}) {
    strip.controller[selection] = kNullParameter;
  }
  strip.registered_selected = false;
  strip.pressure = 0;
  sink.Mode(channel, bass::MIDI_EVENT_RESET);
  for (const ChannelValue which : {ChannelValue::kModulation, ChannelValue::kExpression,
                                   ChannelValue::kSustain, ChannelValue::kPitch}) {
    ResetValue(state, channel, which, sink);
  }
}

void KeepRegisteredParameter(ChannelState& channel, int controller, std::uint8_t value) {
  if (!channel.registered_selected || channel.controller[kRpnMsb] != 0) return;
  const bool msb = controller == kDataEntryMsb;
  switch (channel.controller[kRpnLsb]) {
    case 0:
      (msb ? channel.bend_range_semitones : channel.bend_range_cents) = value;
      break;
    case 1:
      (msb ? channel.fine_tuning_msb : channel.fine_tuning_lsb) = value;
      break;
    case 2:
      if (msb) channel.coarse_tuning = value;
      break;
    default:
      break;
  }
}

void InterpretController(ControlState& state, int channel, int controller, std::uint8_t value,
                         EventSink& sink) {
  if (const int which = ChannelValueOfController(controller); which >= 0) {
    SetValue(state, channel, static_cast<ChannelValue>(which), value, sink);
    return;
  }
  switch (controller) {
    case kAllSoundOff:
      sink.Mode(channel, bass::MIDI_EVENT_SOUNDOFF);
      return;
    case kResetControllers:
      ResetChannelControllers(state, channel, sink);
      return;
    case 122:  // local control: there is no keyboard here
      return;
    case kAllNotesOff:
    case 124:
    case 125:
    case 126:
    case 127:
      sink.Mode(channel, bass::MIDI_EVENT_NOTESOFF);
      return;
    default:
      break;
  }
  ChannelState& strip = state.channel[channel];
  strip.controller[controller] = value;
  if (controller == kRpnLsb || controller == kRpnMsb) strip.registered_selected = true;
  if (controller == kNrpnLsb || controller == kNrpnMsb) strip.registered_selected = false;
  if (controller == kDataEntryMsb || controller == kDataEntryLsb) {
    KeepRegisteredParameter(strip, controller, value);
  }
  sink.Controller(channel, controller, value);
}

std::uint8_t ByteAt(std::string_view data, std::size_t index) {
  return index < data.size() ? static_cast<std::uint8_t>(data[index]) : 0;
}

// GS part numbers: block 0 is channel 10, blocks 1..9 are channels 1..9, 10..15 are 11..16.
int ChannelOfGsBlock(int block) {
  if (block == 0) return 9;
  return block <= 9 ? block - 1 : block;
}

/// A GS parameter byte (0..127) and the effect parameter that it sets: value = byte x scale / 64.
struct GsEffect {
  std::uint8_t address;  ///< low byte behind 40 01
  EffectParameter parameter;
  std::uint32_t scale;  ///< the parameter's value at byte 64
};

// Centre values are the defaults of the unit; delay bytes are milliseconds.
constexpr std::array<GsEffect, 4> kGsEffects = {{
    {0x33, EffectParameter::kReverbLevel, 100},
    {0x34, EffectParameter::kReverbTime, 1800},
    {0x37, EffectParameter::kReverbDelay, 640},
    {0x3A, EffectParameter::kChorusLevel, 100},
}};

void InterpretGs(ControlState& state, std::string_view data, EventSink& sink) {
  // 41 dev 42 12 | address (3) | values ...
  const std::uint8_t high = ByteAt(data, 4);
  const std::uint8_t middle = ByteAt(data, 5);
  const std::uint8_t low = ByteAt(data, 6);
  const std::uint8_t value = ByteAt(data, 7) & 0x7F;
  if ((high == 0x40 || high == 0x00) && middle == 0x00 && low == 0x7F) {  // reset; system mode set
    ResetSystem(state, sink);
  } else if (high == 0x40 && (middle & 0xF0) == 0x10 && low == 0x15) {
    SetValue(state, ChannelOfGsBlock(middle & 0x0F), ChannelValue::kDrums, value != 0 ? 1 : 0,
             sink);
  } else if (high == 0x40 && middle == 0x01) {
    for (const GsEffect& effect : kGsEffects) {
      if (effect.address == low) {
        SetEffect(state, effect.parameter, value * effect.scale / 64, sink);
      }
    }
  }
}

void InterpretXg(ControlState& state, std::string_view data, EventSink& sink) {
  // 43 1n 4C | address (3) | value
  const std::uint8_t high = ByteAt(data, 3);
  const std::uint8_t middle = ByteAt(data, 4);
  const std::uint8_t low = ByteAt(data, 5);
  if (high == 0 && middle == 0 && (low == 0x7E || low == 0x7F)) {
    ResetSystem(state, sink);
  } else if (high == 0x08 && middle < kChannels && low == 0x07) {
    SetValue(state, middle, ChannelValue::kDrums, ByteAt(data, 6) != 0 ? 1 : 0, sink);
  }
}

void InterpretSystemExclusive(ControlState& state, std::string_view data, EventSink& sink) {
  if (data.size() >= 4 && ByteAt(data, 0) == 0x7E && ByteAt(data, 2) == 0x09) {
    ResetSystem(state, sink);  // GM on, GM off, GM2 on
  } else if (data.size() >= 9 && ByteAt(data, 0) == 0x41 && ByteAt(data, 2) == 0x42 &&
             ByteAt(data, 3) == 0x12) {
    InterpretGs(state, data, sink);
  } else if (data.size() >= 7 && ByteAt(data, 0) == 0x43 && (ByteAt(data, 1) & 0xF0) == 0x10 &&
             ByteAt(data, 2) == 0x4C) {
    InterpretXg(state, data, sink);
  }
}

}  // namespace

int ChannelValueOfEvent(bass::DWORD event) {
  for (int which = 0; which < kChannelValues; ++which) {
    if (kChannelValueTable[which].event == event) return which;
  }
  return -1;
}

int ChannelValueOfController(int controller) {
  for (int which = 0; which < kChannelValues; ++which) {
    if (kChannelValueTable[which].controller == controller) return which;
  }
  return -1;
}

ControlState ControlState::Initial() {
  ControlState state;
  for (int index = 0; index < kChannels; ++index) {
    ChannelState& channel = state.channel[index];
    ClearParameters(channel);
    channel.next_bank = channel.preset_bank = channel.preset_program = 0;
    for (std::size_t which = 0; which < kChannelValues; ++which) {
      channel.value[which] = InitialValue(index, which);
    }
  }
  for (std::size_t which = 0; which < kEffectParameters; ++which) {
    state.effect[which] = kEffectLimits[which].initial;
  }
  state.tempo = kDefaultTempo;
  return state;
}

void Interpret(ControlState& state, const MidiEvent& event, std::string_view data,
               EventSink& sink) {
  const int channel = event.channel();
  const auto second = static_cast<std::uint8_t>(event.value);
  switch (event.command()) {
    case 0x80:
      sink.Note(channel, event.data1, 0);
      break;
    case 0x90:
      sink.Note(channel, event.data1, second);
      break;
    case 0xA0:
      sink.KeyPressure(channel, event.data1, second);
      break;
    case 0xB0:
      InterpretController(state, channel, event.data1, second, sink);
      break;
    case 0xC0:
      SetValue(state, channel, ChannelValue::kProgram, event.data1, sink);
      break;
    case 0xD0:
      state.channel[channel].pressure = event.data1;
      sink.ChannelPressure(channel, event.data1);
      break;
    case 0xE0:
      SetValue(state, channel, ChannelValue::kPitch, event.data1 | (event.value << 7), sink);
      break;
    default:
      if (event.status == 0xF0) {
        InterpretSystemExclusive(state, data, sink);
      } else if (event.status == 0xFF && event.data1 == 0x51) {
        state.tempo = event.value;
        sink.TempoChanged(event.value);
      }
      break;
  }
}

bass::DWORD InterfaceEvent(const MidiEvent& event, bass::DWORD* param) {
  *param = 0;
  switch (event.command()) {
    case 0x80:
      *param = event.data1;
      return bass::MIDI_EVENT_NOTE;
    case 0x90:
      *param = event.data1 | (event.value << 8);
      return bass::MIDI_EVENT_NOTE;
    case 0xB0: {
      if (event.data1 == kAllSoundOff) return bass::MIDI_EVENT_SOUNDOFF;
      if (event.data1 == kResetControllers) return bass::MIDI_EVENT_RESET;
      if (event.data1 >= kAllNotesOff) return bass::MIDI_EVENT_NOTESOFF;
      const int which = ChannelValueOfController(event.data1);
      *param = event.value;
      return which < 0 ? 0 : kChannelValueTable[which].event;
    }
    case 0xC0:
      *param = event.data1;
      return bass::MIDI_EVENT_PROGRAM;
    case 0xE0:
      *param = event.data1 | (event.value << 7);
      return bass::MIDI_EVENT_PITCH;
    default:
      break;
  }
  if (event.status == 0xFF && event.data1 == 0x51) {
    *param = event.value;
    return bass::MIDI_EVENT_TEMPO;
  }
  return 0;
}

}  // namespace vexolo::engine
