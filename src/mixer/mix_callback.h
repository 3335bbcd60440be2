/// The callbacks that the mixer attaches to each stream: the user's settings against the song's own
/// events, and the channel activity.
#pragma once

#include <array>

#include "audio/bass.h"
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
extern const std::array<MixSync, kMixSyncs> kMixSyncTable;

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
  /// What a sync carries.
  struct Context {
    const bass::Api* api = nullptr;
    MixState* state = nullptr;
    int user_value = 0;
    int first_entry = 0;
  };

  /// Mixing thread: neither allocates nor locks.
  static void BASS_CALLBACK MixSyncProc(bass::HSYNC sync, bass::DWORD channel, bass::DWORD data,
                                        void* user);
  static void BASS_CALLBACK NoteSyncProc(bass::HSYNC sync, bass::DWORD channel, bass::DWORD data,
                                         void* user);

  const bass::Api& api_;
  std::array<Context, kMixSyncs> contexts_;
  std::array<Context, 2> lamp_contexts_;
};

}  // namespace vexolo
