/// The start and end markers of a song: when they act and whether they are in force.
///
/// Transport, conversion and lyrics file all ask the predicates here, so that a marker means the
/// same to each of them. Pure functions; any thread.
#pragma once

namespace vexolo {

/// The markers as they are stored with the song: the time the user typed x the speed factor that
/// was in force then, in seconds.
struct Markers {
  double start = 0;
  double end = 0;
  bool on = false;
  bool operator==(const Markers&) const = default;
};

/// What is stored for a typed time, and the time at which a stored marker acts: the typed time
/// again. Seconds at the speed in force. A speed factor that is not above 0 acts at 0, which puts
/// no marker in force.
double StoredTime(double typed, double speed_factor);
double ActingTime(double stored, double speed_factor);

double ActingStart(const Markers& markers, double speed_factor);
double ActingEnd(const Markers& markers, double speed_factor);

/// `song_length`: seconds, at the speed in force. The start marker is in force when the markers are
/// on and it acts after the song's start and before its end; the end marker when they are on and it
/// acts after the start marker and before the song's end. At a time without sense (not a number)
/// neither is.
bool StartInForce(const Markers& markers, double speed_factor, double song_length);
bool EndInForce(const Markers& markers, double speed_factor, double song_length);

/// Keeps both markers at their musical place when the speed changes. The acting time itself
/// stretches by (new / old), and what is stored is that times the new factor: so stored values
/// change by (new / old)². Nothing changes when a factor is not above 0.
void RescaleForSpeed(Markers& markers, double old_factor, double new_factor);

}  // namespace vexolo
