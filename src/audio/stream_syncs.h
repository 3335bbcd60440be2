/// The callbacks of a song's stream that belong to the song itself: its end, its tempo, its end
/// marker. Those of the mixer are attached by mixer/mix_callback.h.
///
/// A new playback stream gets its syncs in this order: end, notes and all notes off (mixer), tempo,
/// overrides (mixer), and later, where an end marker is in force, its two.
#pragma once

#include "audio/audio_state.h"
#include "audio/bass.h"

namespace vexolo {

/// A callback and what it gets as its user value, which must outlive the stream.
struct SyncTarget {
  bass::SYNCPROC* proc = nullptr;
  void* user = nullptr;
};

void AttachEndSync(const bass::Api& api, bass::HSTREAM stream, const SyncTarget& target);

/// The two syncs of an end marker that is in force: the fade's at `fade_start` and the song's end
/// at `end`, in seconds at the speed in force.
void AttachEndMarkerSyncs(const bass::Api& api, bass::HSTREAM stream, double fade_start, double end,
                          const SyncTarget& fade_target, const SyncTarget& end_target);

/// Keeps the speed factor in force when the song changes its tempo. One object serves any number of
/// streams, which it must outlive.
class TempoSync {
 public:
  TempoSync(const bass::Api& api, AudioState& audio) : api_(api), audio_(audio) {}
  TempoSync(const TempoSync&) = delete;
  TempoSync& operator=(const TempoSync&) = delete;

  void Attach(bass::HSTREAM stream);

 private:
  /// Mixing thread: reads the new tempo, keeps it as the base tempo and sends it x the factor. What
  /// shows the tempo reads the base tempo by its own timer.
  static void BASS_CALLBACK TempoProc(bass::HSYNC sync, bass::DWORD channel, bass::DWORD data,
                                      void* user);

  const bass::Api& api_;
  AudioState& audio_;
};

}  // namespace vexolo
