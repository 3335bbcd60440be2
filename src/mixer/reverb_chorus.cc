#include "mixer/reverb_chorus.h"

#include <algorithm>
#include <cmath>

#include "mixer/controllers.h"
#include "platform/locale_format.h"

namespace vexolo {
namespace {

constexpr int kNoLimit = -1;

bool IsKind(int kind) { return kind >= 1 && kind <= kSongKinds; }

/// How the values of a kind are meant.
enum class Measure { kMilliseconds, kTenthsOfMs, kHertz, kHundredthsOfHertz, kFeedback, kLevel };
constexpr std::array<Measure, kSongKinds> kMeasures = {
    Measure::kMilliseconds, Measure::kTenthsOfMs, Measure::kHertz,      Measure::kHertz,
    Measure::kLevel,        Measure::kTenthsOfMs, Measure::kTenthsOfMs, Measure::kHundredthsOfHertz,
    Measure::kFeedback,     Measure::kLevel,      Measure::kLevel};

Measure MeasureOf(int kind) { return kMeasures[static_cast<std::size_t>(kind - 1)]; }

/// Three digits at the most, so that the text does not jump.
std::string Digits(double value, char separator) {
  const char* const format = std::abs(value) < 9.995 ? "0.##" : "0.#";
  std::string text = FormatNumber(value, std::abs(value) < 99.95 ? format : "0", separator);
  if (text.back() == separator) text.pop_back();
  return text;
}

EffectText DecibelText(int level, char separator) {
  if (level <= 0) return {};
  return {FormatNumber(20 * std::log10(level / 100.0), "+0.0;-0.0;0.0", separator), "dB"};
}

}  // namespace

double EffectShare(int kind, int value) {
  if (!IsKind(kind)) return 0;
  const EffectRange& range = kEffectRanges[static_cast<std::size_t>(kind - 1)];
  const double share =
      std::clamp((value - range.min) / static_cast<double>(range.max - range.min), 0.0, 1.0);
  const Measure measure = MeasureOf(kind);
  const bool is_linear = measure == Measure::kLevel || measure == Measure::kFeedback;
  return is_linear ? share : std::sqrt(share);
}

EffectText EffectValueText(int kind, int value, char separator) {
  if (!IsKind(kind)) return {};
  const EffectRange& range = kEffectRanges[static_cast<std::size_t>(kind - 1)];
  value = std::clamp(value, range.min, range.max);
  switch (MeasureOf(kind)) {
    case Measure::kMilliseconds:
      if (value >= 1000) return {Digits(value / 1000.0, separator), "s"};
      return {Digits(value, separator), "ms"};
    case Measure::kTenthsOfMs:
      return {Digits(value / 10.0, separator), "ms"};
    case Measure::kHertz:
      if (value == 0) return {};
      if (value >= 1000) return {Digits(value / 1000.0, separator), "kHz"};
      return {Digits(value, separator), "Hz"};
    case Measure::kHundredthsOfHertz:
      return {Digits(value / 100.0, separator), "Hz"};
    case Measure::kFeedback:
      return {FormatNumber(value - 100, "+0;-0;0", separator), "%"};
    case Measure::kLevel:
      break;
  }
  return DecibelText(value, separator);
}

ReverbChorus::ReverbChorus(const bass::Api& api, MixState& state, AudioState& audio,
                           SongSettings& settings)
    : api_(api), state_(state), audio_(audio), settings_(settings) {}

int ReverbChorus::Value(int kind) const {
  if (!IsKind(kind)) return 0;
  if (kind == kind_) return value_;
  const int entry = SongEntry(kind);
  // The stream of a bypassed effect says 0.
  if (IsBypassed(state_, entry) && !state_.overrides.Has(entry)) {
    return std::max(state_.current_values.Get(entry), 0);
  }
  return ValueInForce(api_, audio_.stream, state_, entry);
}

void ReverbChorus::ControllerDown(int kind, double x, double y, bool ctrl, bool shift) {
  kind_ = 0;
  if (!IsKind(kind)) return;
  start_ = value_ = Value(kind);
  kind_ = kind;
  x0_ = x;
  y0_ = y;
  ctrl_ = ctrl;
  shift_ = shift;
}

bool ReverbChorus::ControllerMove(double x, double y) {
  if (kind_ == 0) return false;
  const int step = kEffectKnobs[static_cast<std::size_t>(kind_ - 1)].step;
  value_ = DraggedController(start_, step, x0_, y0_, x, y, ctrl_, shift_, kNoLimit);
  Send(kind_, value_);
  return true;
}

bool ReverbChorus::ControllerUp() {
  if (kind_ == 0) return false;
  const int kind = kind_;
  kind_ = 0;
  Store(kind, value_);
  return true;
}

void ReverbChorus::Step(int kind, int steps, bool ctrl, bool shift) {
  if (!IsKind(kind)) return;
  const int step = kEffectKnobs[static_cast<std::size_t>(kind - 1)].step;
  const int value = DraggedController(Value(kind), step, 0, 0, steps, 0, ctrl, shift, kNoLimit);
  Send(kind, value);
  Store(kind, value);
}

void ReverbChorus::Reset(int kind) {
  if (!IsKind(kind)) return;
  kind_ = 0;
  const int entry = SongEntry(kind);
  const std::int32_t song_value = SongValue(api_, audio_.stream, state_, entry);
  state_.overrides.Set(entry, ControllerTable::kNone);
  Send(kind, song_value);
  settings_.SaveCC(state_, entry);
}

void ReverbChorus::SetBypass(bool chorus, bool bypass) {
  (chorus ? state_.bypass_chorus : state_.bypass_reverb) = bypass;
  for (const int kind : {kReverbLevelKind, kChorusLevelKind, kChorusReverbKind}) {
    if (kEffectKnobs[static_cast<std::size_t>(kind - 1)].is_chorus == chorus) {
      Send(kind, Value(kind));
    }
  }
}

bool ReverbChorus::HasOverride(int kind) const {
  return IsKind(kind) && (kind == kind_ || state_.overrides.Has(SongEntry(kind)));
}

void ReverbChorus::Send(int kind, int value) {
  const int entry = SongEntry(kind);
  SendValue(api_, audio_.stream, entry, IsBypassed(state_, entry) ? 0 : value);
}

void ReverbChorus::Store(int kind, int value) {
  const int entry = SongEntry(kind);
  state_.overrides.Set(entry, value);
  settings_.SaveCC(state_, entry);
}

}  // namespace vexolo
