#include "mixer/controllers.h"

#include <algorithm>

#include "mixer/channel_strips.h"
#include "platform/locale_format.h"

namespace vexolo {
namespace {

constexpr int kMaxValue = 127;
constexpr int kPanMiddle = 64;
constexpr int kTries = 128;
constexpr int kDrumBank = PresetNames::kBanks - 1;
constexpr int kPixelStep = 1;

std::string PanText(int value) {
  if (value < kPanMiddle) return std::string("G").append(NumberToText(kPanMiddle - value));
  if (value > kPanMiddle) return std::string("D").append(NumberToText(value - kPanMiddle));
  return " C ";
}

/// `value` + `step`, around the ends of 0..max.
int Around(int value, int step, int max) {
  const int next = value + step;
  if (next < 0) return max;
  return next > max ? 0 : next;
}

bool HasName(const PresetNames& presets, Instrument instrument, bool is_drum_channel) {
  const int bank = is_drum_channel ? kDrumBank : instrument.bank;
  return !presets.At(bank, instrument.program).empty();
}

bool IsChannelEntry(int entry) { return entry >= 0 && entry < kFirstSongEntry; }

}  // namespace

int ControllerFrame(int value, int frames) {
  return std::clamp(value, 0, kMaxValue) * frames / (kMaxValue + 1);
}

std::string ControllerText(int kind, int value) {
  if (kind == kDrumKind) return value != 0 ? "DrumSet" : "Melodic";
  const int shown = std::clamp(value, 0, kMaxValue);
  return kind == kPanKind ? PanText(shown) : std::to_string(shown);
}

int DraggedController(int start, int step, double x0, double y0, double x, double y, bool ctrl,
                      bool shift, int max) {
  double delta = RoundHalfToEven((x - x0) + (y0 - y)) * step;
  if (ctrl) delta = RoundHalfToEven(delta / 10);
  if (shift) delta *= 10;
  const int value = std::max(RoundToInt(start + delta), 0);
  return max < 0 ? value : std::min(value, max);
}

Instrument NextInstrument(const PresetNames& presets, Instrument start, bool by_bank, int step,
                          bool is_drum_channel) {
  if (by_bank && is_drum_channel) return start;
  const int highest_bank = std::clamp(presets.highest_bank, 0, kDrumBank - 1);
  // What a file written by hand has set may lie outside the table.
  Instrument next = {is_drum_channel ? start.bank : std::clamp(start.bank, 0, highest_bank),
                     std::clamp(start.program, 0, kMaxValue)};
  for (int i = 0; i < kTries; ++i) {
    if (by_bank) {
      next.bank = Around(next.bank, step, highest_bank);
    } else {
      next.program = Around(next.program, step, kMaxValue);
    }
    if (HasName(presets, next, is_drum_channel)) return next;
  }
  return start;
}

Controllers::Controllers(const bass::Api& api, MixState& state, AudioState& audio,
                         SongSettings& settings)
    : api_(api), state_(state), audio_(audio), settings_(settings) {}

int Controllers::Value(int entry) const {
  return entry == held_ ? value_ : ValueInForce(api_, audio_.stream, state_, entry);
}

bool Controllers::ControllerDown(int entry, int mouse_button, double x, double y, bool ctrl,
                                 bool shift) {
  if (!IsChannelEntry(entry)) return false;
  held_ = -1;
  if (mouse_button == kRightButton) {
    Reset(entry);
    return true;
  }
  if (mouse_button != kLeftButton) return false;
  const int kind = KindOf(entry);
  if (kind == kBankKind || kind == kProgramKind) return TestButton(entry, shift);
  if (kind == kDrumKind) {
    ToggleDrum(ChannelOf(entry));
    return true;
  }
  start_ = value_ = Value(entry);
  held_ = entry;
  x0_ = x;
  y0_ = y;
  ctrl_ = ctrl;
  shift_ = shift;
  return false;
}

bool Controllers::ControllerMove(double x, double y) {
  if (held_ < 0) return false;
  value_ = DraggedController(start_, kPixelStep, x0_, y0_, x, y, ctrl_, shift_, kMaxValue);
  SendValue(api_, audio_.stream, held_, value_);
  return true;
}

bool Controllers::ControllerUp() {
  if (held_ < 0) return false;
  const int entry = held_;
  held_ = -1;
  StoreOverride(entry, value_);
  return true;
}

bool Controllers::TestButton(int entry, bool shift) {
  const int channel = ChannelOf(entry);
  const int bank_entry = ControllerEntry(kBankKind, channel);
  const int program_entry = ControllerEntry(kProgramKind, channel);
  const Instrument start = {Value(bank_entry), Value(program_entry)};
  const Instrument next = NextInstrument(audio_.presets, start, KindOf(entry) == kBankKind,
                                         shift ? -1 : 1, IsDrumChannel(channel));
  if (next == start) return false;
  state_.overrides.Set(bank_entry, next.bank);
  if (next.program != start.program) state_.overrides.Set(program_entry, next.program);
  SendInstrument(api_, audio_.stream, channel, next.bank, next.program);
  const IniGroup group = settings_.Group();
  settings_.SaveCC(state_, bank_entry);
  settings_.SaveCC(state_, program_entry);
  return true;
}

void Controllers::ToggleDrum(int channel) {
  const int entry = ControllerEntry(kDrumKind, channel);
  state_.overrides.Set(entry, IsDrumChannel(channel) ? 0 : 1);
  ApplyOverride(api_, audio_.stream, state_, entry);
  settings_.SaveCC(state_, entry);
}

void Controllers::Step(int entry, int steps, bool shift) {
  if (!IsChannelEntry(entry) || steps == 0) return;
  const int kind = KindOf(entry);
  if (kind == kBankKind || kind == kProgramKind) {
    TestButton(entry, steps < 0);
  } else if (kind == kDrumKind) {
    ToggleDrum(ChannelOf(entry));
  } else {
    const int value =
        DraggedController(Value(entry), kPixelStep, 0, 0, steps, 0, false, shift, kMaxValue);
    SendValue(api_, audio_.stream, entry, value);
    StoreOverride(entry, value);
  }
}

void Controllers::ChooseInstrument(int channel, Instrument instrument) {
  const int bank_entry = ControllerEntry(kBankKind, channel);
  const int program_entry = ControllerEntry(kProgramKind, channel);
  if (!IsDrumChannel(channel)) state_.overrides.Set(bank_entry, instrument.bank);
  state_.overrides.Set(program_entry, instrument.program);
  SendInstrument(api_, audio_.stream, state_, channel);
  const IniGroup group = settings_.Group();
  settings_.SaveCC(state_, bank_entry);
  settings_.SaveCC(state_, program_entry);
}

void Controllers::Reset(int entry) {
  const int channel = ChannelOf(entry);
  const int kind = KindOf(entry);
  const std::int32_t song_value = SongValue(api_, audio_.stream, state_, entry);
  state_.overrides.Set(entry, ControllerTable::kNone);
  if (kind == kBankKind) {
    SendInstrument(api_, audio_.stream, channel, song_value,
                   Value(ControllerEntry(kProgramKind, channel)));
  } else if (kind == kProgramKind) {
    SendInstrument(api_, audio_.stream, channel, Value(ControllerEntry(kBankKind, channel)),
                   song_value);
  } else {
    SendValue(api_, audio_.stream, entry, song_value);
    // For a drum mode: an instrument that is overridden has to follow.
    ApplyOverride(api_, audio_.stream, state_, entry);
  }
  settings_.SaveCC(state_, entry);
}

std::string Controllers::TipPreset(int channel) const {
  const int bank = IsDrumChannel(channel) ? kDrumBank : Value(ControllerEntry(kBankKind, channel));
  const int program = Value(ControllerEntry(kProgramKind, channel));
  return audio_.presets.At(std::clamp(bank, 0, kDrumBank), std::clamp(program, 0, kMaxValue));
}

bool Controllers::IsDrumChannel(int channel) const {
  return Value(ControllerEntry(kDrumKind, channel)) != 0;
}

void Controllers::StoreOverride(int entry, int value) {
  state_.overrides.Set(entry, value);
  settings_.SaveCC(state_, entry);
}

}  // namespace vexolo
