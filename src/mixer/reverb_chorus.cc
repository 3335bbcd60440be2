#include "mixer/reverb_chorus.h"

#include "mixer/controllers.h"

namespace vexolo {
namespace {

constexpr int kNoLimit = -1;

bool IsKind(int kind) { return kind >= 1 && kind <= kSongKinds; }

}  // namespace

ReverbChorus::ReverbChorus(const bass::Api& api, MixState& state, AudioState& audio,
                           SongSettings& settings)
    : api_(api), state_(state), audio_(audio), settings_(settings) {}

int ReverbChorus::Value(int kind) const {
  if (!IsKind(kind)) return 0;
  return kind == kind_ ? value_ : ValueInForce(api_, audio_.stream, state_, SongEntry(kind));
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
  SendValue(api_, audio_.stream, SongEntry(kind_), value_);
  return true;
}

bool ReverbChorus::ControllerUp() {
  if (kind_ == 0) return false;
  const int entry = SongEntry(kind_);
  kind_ = 0;
  state_.overrides.Set(entry, value_);
  settings_.SaveCC(state_, entry);
  return true;
}

}  // namespace vexolo
