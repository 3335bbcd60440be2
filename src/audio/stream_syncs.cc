#include "audio/stream_syncs.h"

#include "audio/audio_binding.h"

namespace vexolo {
namespace {

constexpr bass::DWORD kMixTimeEvent = bass::BASS_SYNC_MIDI_EVENT | bass::BASS_SYNC_MIXTIME;

void Attach(const bass::Api& api, bass::HSTREAM stream, bass::DWORD type, bass::QWORD param,
            const SyncTarget& target) {
  if (target.proc == nullptr) return;
  SetStreamSync(api, stream, type, param, target.proc, target.user);
}

}  // namespace

void AttachStreamSyncs(const bass::Api& api, bass::HSTREAM stream,
                       const StreamSyncTargets& targets) {
  Attach(api, stream, bass::BASS_SYNC_END, 0, targets.end);
  Attach(api, stream, bass::BASS_SYNC_MIDI_EVENT, bass::MIDI_EVENT_NOTE, targets.note);
  Attach(api, stream, bass::BASS_SYNC_MIDI_EVENT, bass::MIDI_EVENT_NOTESOFF, targets.notes_off);
  Attach(api, stream, kMixTimeEvent, bass::MIDI_EVENT_TEMPO, targets.tempo);
  for (std::size_t i = 0; i < kOverrideSyncs.size(); ++i) {
    Attach(api, stream, kMixTimeEvent, kOverrideSyncs[i].event, targets.overrides[i]);
  }
}

void AttachEndMarkerSyncs(const bass::Api& api, bass::HSTREAM stream, double fade_start, double end,
                          const SyncTarget& fade_target, const SyncTarget& end_target) {
  Attach(api, stream, bass::BASS_SYNC_POS, api.BASS_ChannelSeconds2Bytes(stream, fade_start),
         fade_target);
  Attach(api, stream, bass::BASS_SYNC_POS, api.BASS_ChannelSeconds2Bytes(stream, end), end_target);
}

}  // namespace vexolo
