#include "audio/markers.h"

namespace vexolo {

double StoredTime(double typed, double speed_factor) { return typed * speed_factor; }

double ActingTime(double stored, double speed_factor) {
  return speed_factor > 0 ? stored / speed_factor : 0;
}

double ActingStart(const Markers& markers, double speed_factor) {
  return ActingTime(markers.start, speed_factor);
}

double ActingEnd(const Markers& markers, double speed_factor) {
  return ActingTime(markers.end, speed_factor);
}

bool StartInForce(const Markers& markers, double speed_factor, double song_length) {
  const double start = ActingStart(markers, speed_factor);
  return markers.on && start > 0 && start < song_length;
}

bool EndInForce(const Markers& markers, double speed_factor, double song_length) {
  const double start = ActingStart(markers, speed_factor);
  const double end = ActingEnd(markers, speed_factor);
  return markers.on && end > 0 && end > start && end < song_length;
}

void RescaleForSpeed(Markers& markers, double old_factor, double new_factor) {
  if (!(old_factor > 0) || !(new_factor > 0)) return;
  const double ratio = new_factor / old_factor;
  markers.start *= ratio * ratio;
  markers.end *= ratio * ratio;
}

}  // namespace vexolo
