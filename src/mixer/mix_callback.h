/// The callbacks that the mixer attaches to each stream: the user's settings against the song's own
/// events, and the channel activity.
#pragma once

#include <array>

#include "audio/bass.h"
#include "mixer/controller_table.h"
#include "mixer/mix_state.h"

namespace vexolo {

/// One mix-time sync: the song's event, the user value that names it in the callback, and where it
/// stands in the controller tables (for channel 0). Beware: user values 5 and 6 are program and
/// bank, while controller kinds 5 and 6 are bank and program.
struct MixSync {
  bass::DWORD event;
  int user_value;
  int first_entry;
};
inline constexpr int kMixSyncs = 18;
/// In the order in which they are attached.
inline constexpr std::array<MixSync, kMixSyncs> kMixSyncTable = {{
    {bass::MIDI_EVENT_VOLUME, 1, ControllerEntry(kVolumeKind, 0)},
    {bass::MIDI_EVENT_PAN, 2, ControllerEntry(kPanKind, 0)},
    {bass::MIDI_EVENT_REVERB, 3, ControllerEntry(kReverbKind, 0)},
    {bass::MIDI_EVENT_CHORUS, 4, ControllerEntry(kChorusKind, 0)},
    {bass::MIDI_EVENT_PROGRAM, 5, ControllerEntry(kProgramKind, 0)},
    {bass::MIDI_EVENT_BANK, 6, ControllerEntry(kBankKind, 0)},
    {bass::MIDI_EVENT_DRUMS, 18, ControllerEntry(kDrumKind, 0)},
    {bass::MIDI_EVENT_REVERB_TIME, 7, SongEntry(1)},
    {bass::MIDI_EVENT_REVERB_DELAY, 8, SongEntry(2)},
    {bass::MIDI_EVENT_REVERB_LOCUTOFF, 9, SongEntry(3)},
    {bass::MIDI_EVENT_REVERB_HICUTOFF, 10, SongEntry(4)},
    {bass::MIDI_EVENT_REVERB_LEVEL, 11, SongEntry(5)},
    {bass::MIDI_EVENT_CHORUS_DELAY, 12, SongEntry(6)},
    {bass::MIDI_EVENT_CHORUS_DEPTH, 13, SongEntry(7)},
    {bass::MIDI_EVENT_CHORUS_RATE, 14, SongEntry(8)},
    {bass::MIDI_EVENT_CHORUS_FEEDBACK, 15, SongEntry(9)},
    {bass::MIDI_EVENT_CHORUS_LEVEL, 16, SongEntry(10)},
    {bass::MIDI_EVENT_CHORUS_REVERB, 17, SongEntry(11)},
}};

/// Owns what the syncs of a stream carry as their user pointer, so it must outlive the streams. May
/// not be moved. One object serves one stream after the other, or several at once.
class MixCallbacks {
 public:
  /// The objects must outlive this one.
  MixCallbacks(const bass::Api& api, MixState& state);
  MixCallbacks(const MixCallbacks&) = delete;
  MixCallbacks& operator=(const MixCallbacks&) = delete;

  /// The syncs of notes (event 1) and of all notes off (event 18), heard time, which light the
  /// activity lamps. Returns how many were attached.
  int AttachLampSyncs(bass::HSTREAM stream);
  /// The eighteen mix-time syncs of controllers, programs, banks, drum modes and effects. Returns
  /// how many were attached.
  int AttachMixSyncs(bass::HSTREAM stream);

 private:
  /// What a mix-time sync carries.
  struct Context {
    const bass::Api* api = nullptr;
    MixState* state = nullptr;
    const MixSync* sync = nullptr;
  };

  /// Mixing thread: neither allocates nor locks.
  static void BASS_CALLBACK MixSyncProc(bass::HSYNC sync, bass::DWORD channel, bass::DWORD data,
                                        void* user);
  static void BASS_CALLBACK NoteSyncProc(bass::HSYNC sync, bass::DWORD channel, bass::DWORD data,
                                         void* user);

  const bass::Api& api_;
  MixState& state_;
  std::array<Context, kMixSyncs> contexts_;
};

}  // namespace vexolo
