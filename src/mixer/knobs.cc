#include "mixer/knobs.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "audio/audio_binding.h"
#include "mixer/channel_strips.h"
#include "platform/locale_format.h"
#include "settings/language.h"

namespace vexolo {
namespace {

constexpr const char* kSignedFormat = "+0;-0;=0";
constexpr int kSlowestDrawnTempo = -10000;
constexpr int kSpeedCharacters = 3;
constexpr double kMicrosecondsPerMinute = 60'000'000;

/// How far a knob goes, and how many values a distance of pixels stands for. The rightward way
/// counts for some knobs only.
struct KnobRange {
  int min;
  int max;
  int drawn_min;
  double values;
  double pixels;
  bool follows_x;
  int frames;  ///< 0 = no picture
};
constexpr KnobRange kLevelRange = {0, kMaxLevel, 0, 201, 91, false, 41};
constexpr std::array<KnobRange, 3> kSongRanges = {{
    {-kMaxGain, kMaxGain, -kMaxGain, 41, 91, false, 41},
    {-kMaxTranspose, kMaxTranspose, -kMaxTranspose, 25, 100, true, 25},
    {kSlowestTempo, kFastestTempo, kSlowestDrawnTempo, 3101, 500, true, 0},
}};

const KnobRange& RangeOf(int knob) {
  if (knob < kGainKnob) return kLevelRange;
  return kSongRanges[static_cast<std::size_t>(knob - kGainKnob)];
}

int ClampToDrawn(int knob, int value) {
  return std::clamp(value, RangeOf(knob).drawn_min, RangeOf(knob).max);
}

bool IsKnob(int index) { return index >= 0 && index < kKnobs; }

}  // namespace

double LinearGain(int gain) {
  return std::exp(std::clamp(gain, -kMaxGain, kMaxGain) * std::numbers::ln10 / 20);
}

void ApplyLevels(const bass::Api& api, bass::HSOUNDFONT font, int gain) {
  api.BASS_MIDI_FontSetVolume(font, static_cast<float>(LinearGain(gain)));
}

void ApplyTranspose(const bass::Api& api, bass::HSTREAM stream, int transpose) {
  if (stream == 0) return;
  const int kept = std::clamp(transpose, -kMaxTranspose, kMaxTranspose);
  for (bass::DWORD channel = 0; channel < kChannels; ++channel) {
    api.BASS_MIDI_StreamEvent(stream, channel, bass::MIDI_EVENT_TRANSPOSE,
                              static_cast<bass::DWORD>(kept + 100));
  }
}

double SpeedFactor(int tempo) {
  const double factor = 1 - tempo / 1000.0;
  return factor > 0 ? factor : 1 - kFastestTempo / 1000.0;
}

void NewTempo(const bass::Api& api, const MixState& state, AudioState& audio) {
  audio.speed_factor = SpeedFactor(state.Tempo);
  ApplyTempo(api, audio.stream, audio);
}

int KnobFrame(int knob, int value) {
  const KnobRange& range = RangeOf(knob);
  return range.frames * (ClampToDrawn(knob, value) - range.min) / (range.max - range.min + 1);
}

SpriteRect KnobSprite(int knob, int value) {
  const int frame = KnobFrame(knob, value);
  if (knob == kSpeedKnob) return {};
  if (knob == kTransposeKnob) return {0, frame * 103, 103, 103};
  return {frame * 24, 0, 24, 128};
}

std::string KnobTip(int knob, int value, std::string_view text) {
  const int shown = ClampToDrawn(knob, value);
  if (knob == kSpeedKnob) return {};
  if (knob >= kGainKnob) return FillIn(text, {FormatNumber(shown, kSignedFormat, '.')});
  return shown == 0 ? "= 0" : std::string("x").append(NumberToText(shown / 100.0));
}

SpeedText SpeedKnobText(int base_tempo, int value) {
  const int shown = ClampToDrawn(kSpeedKnob, value);
  const double tempo = base_tempo * (1 - shown / 1000.0);
  const double beats = tempo == 0 ? 0 : kMicrosecondsPerMinute / tempo;
  if (beats < 1 || beats >= 999) return {"bpm", shown == 0};
  std::string text = FormatNumber(beats, "##0", '.');
  text.insert(0, kSpeedCharacters - std::min<std::size_t>(text.size(), kSpeedCharacters), ' ');
  return {text, shown == 0};
}

std::string LabelGainText(int gain) {
  return FormatNumber(LinearGain(gain) * 100, "###0", '.') + " %";
}

std::string TransposeValueText(int transpose) {
  const int shown = ClampToDrawn(kTransposeKnob, transpose);
  return shown == 0 ? std::string() : FormatNumber(shown, "+0;\u22120", '.');
}

int DraggedValue(int knob, int stored, double x0, double y0, double x, double y) {
  const KnobRange& range = RangeOf(knob);
  const double distance = (range.follows_x ? x - x0 : 0) + (y0 - y);
  const int value = RoundToInt(stored + distance * range.values / range.pixels);
  return std::clamp(value, range.min, range.max);
}

int KnobStep(int knob, bool fine) {
  constexpr int kLevelStep = 5;
  constexpr int kSpeedStep = 10;
  if (fine) return 1;
  if (knob < kGainKnob) return kLevelStep;
  return knob == kSpeedKnob ? kSpeedStep : 1;
}

Knobs::Knobs(const bass::Api& api, MixState& state, AudioState& audio, SongSettings& settings)
    : api_(api), state_(state), audio_(audio), settings_(settings) {}

bool Knobs::Potard_MouseDown(int index, int mouse_button, double x, double y) {
  if (!IsKnob(index)) return false;
  held_ = -1;
  if (mouse_button == kRightButton) {
    Reset(index);
    return true;
  }
  if (mouse_button != kLeftButton) return false;
  held_ = index;
  value_ = Stored(index);
  x0_ = x;
  y0_ = y;
  return false;
}

bool Knobs::Potard_MouseMove(double x, double y) {
  if (held_ < 0) return false;
  value_ = DraggedValue(held_, Stored(held_), x0_, y0_, x, y);
  Act(held_, value_);
  return true;
}

bool Knobs::Potard_MouseUp() {
  if (held_ < 0) return false;
  const int knob = held_;
  held_ = -1;
  Store(knob, value_);
  return true;
}

bool Knobs::Step(int index, int steps, bool fine) {
  if (!IsKnob(index) || held_ >= 0) return false;
  const KnobRange& range = RangeOf(index);
  const int value = std::clamp(Stored(index) + steps * KnobStep(index, fine), range.min, range.max);
  if (value == Stored(index)) return false;
  Act(index, value);
  Store(index, value);
  return true;
}

int Knobs::Value(int index) const {
  if (!IsKnob(index)) return 0;
  return index == held_ ? value_ : Stored(index);
}

int Knobs::Stored(int index) const {
  if (index == kGainKnob) return state_.Gain;
  if (index == kTransposeKnob) return state_.Transpose;
  if (index == kSpeedKnob) return state_.Tempo;
  return state_.ChannelVolume[static_cast<std::size_t>(index)];
}

void Knobs::Store(int index, int value) {
  const auto stored = static_cast<std::int16_t>(value);
  if (index == kGainKnob) {
    state_.Gain = stored;
    settings_.SaveGain(state_);
  } else if (index == kTransposeKnob) {
    state_.Transpose = stored;
    settings_.SaveTranspose(state_);
  } else if (index == kSpeedKnob) {
    ChangeSpeed(value);
  } else {
    state_.ChannelVolume[static_cast<std::size_t>(index)] = stored;
    settings_.SaveVolume(state_, index);
  }
}

void Knobs::Act(int index, int value) {
  if (index == kGainKnob) {
    ApplyLevels(api_, audio_.font, value);
  } else if (index == kTransposeKnob) {
    ApplyTranspose(api_, audio_.stream, value);
  } else if (index < kGainKnob && state_.ChannelMute[static_cast<std::size_t>(index)] == 0) {
    // The user's mute alone counts here: a melody channel that is held can be tried out.
    api_.BASS_MIDI_StreamEvent(audio_.stream, static_cast<bass::DWORD>(index),
                               bass::MIDI_EVENT_MIXLEVEL, static_cast<bass::DWORD>(value));
  }
}

void Knobs::Reset(int index) {
  const int normal = index < kGainKnob ? kNormalLevel : 0;
  Act(index, normal);
  Store(index, normal);
}

void Knobs::ChangeSpeed(int tempo) {
  const double old_factor = audio_.speed_factor;
  state_.Tempo = static_cast<std::int16_t>(tempo);
  NewTempo(api_, state_, audio_);
  const IniGroup group = settings_.Group();
  settings_.SaveTempo(state_);
  Markers& markers = audio_.markers;
  if (audio_.speed_factor == old_factor || (markers.start == 0 && markers.end == 0)) return;
  RescaleForSpeed(markers, old_factor, audio_.speed_factor);
  settings_.SaveMarqueurs(markers);
}

}  // namespace vexolo
