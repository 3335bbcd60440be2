/// Which of the library's callbacks the program attaches to a song's stream.
#pragma once

#include <array>
#include <cstdint>

#include "audio/bass.h"

namespace vexolo {

/// An event that the mixer may override, and the number by which its callback knows which.
struct OverrideSync {
  bass::DWORD event;
  int user_value;
};

/// In the order in which the syncs are attached. Mind that user values 5 and 6 are program and
/// bank, while the controller kinds 5 and 6 are bank and program.
inline constexpr std::array<OverrideSync, 18> kOverrideSyncs = {{
    {bass::MIDI_EVENT_VOLUME, 1},
    {bass::MIDI_EVENT_PAN, 2},
    {bass::MIDI_EVENT_REVERB, 3},
    {bass::MIDI_EVENT_CHORUS, 4},
    {bass::MIDI_EVENT_PROGRAM, 5},
    {bass::MIDI_EVENT_BANK, 6},
    {bass::MIDI_EVENT_DRUMS, 18},
    {bass::MIDI_EVENT_REVERB_TIME, 7},
    {bass::MIDI_EVENT_REVERB_DELAY, 8},
    {bass::MIDI_EVENT_REVERB_LOCUTOFF, 9},
    {bass::MIDI_EVENT_REVERB_HICUTOFF, 10},
    {bass::MIDI_EVENT_REVERB_LEVEL, 11},
    {bass::MIDI_EVENT_CHORUS_DELAY, 12},
    {bass::MIDI_EVENT_CHORUS_DEPTH, 13},
    {bass::MIDI_EVENT_CHORUS_RATE, 14},
    {bass::MIDI_EVENT_CHORUS_FEEDBACK, 15},
    {bass::MIDI_EVENT_CHORUS_LEVEL, 16},
    {bass::MIDI_EVENT_CHORUS_REVERB, 17},
}};

/// A callback and what it gets as its user value. Nothing is attached without a callback.
struct SyncTarget {
  bass::SYNCPROC* proc = nullptr;
  void* user = nullptr;
};

/// Callbacks and contexts of one stream; the contexts must outlive it.
struct StreamSyncTargets {
  SyncTarget end;        ///< end of the stream
  SyncTarget note;       ///< notes, when they are heard
  SyncTarget notes_off;  ///< all notes off, when it is heard
  SyncTarget tempo;      ///< on the mixing thread
  std::array<SyncTarget, kOverrideSyncs.size()> overrides;  ///< mixing thread; as kOverrideSyncs
};

/// Attaches every sync that a new stream gets before its markers, in their fixed order.
void AttachStreamSyncs(const bass::Api& api, bass::HSTREAM stream,
                       const StreamSyncTargets& targets);

/// Attaches the two syncs of an end marker that is in force: the fade's at `fade_start` and the
/// end's at `end` (seconds at the speed in force).
void AttachEndMarkerSyncs(const bass::Api& api, bass::HSTREAM stream, double fade_start, double end,
                          const SyncTarget& fade_target, const SyncTarget& end_target);

}  // namespace vexolo
