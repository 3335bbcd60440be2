#include "audio/stream_syncs.h"

#include "audio/audio_binding.h"

namespace vexolo {

void AttachEndSync(const bass::Api& api, bass::HSTREAM stream, const SyncTarget& target) {
  SetStreamSync(api, stream, bass::BASS_SYNC_END, 0, target.proc, target.user);
}

void AttachEndMarkerSyncs(const bass::Api& api, bass::HSTREAM stream, double fade_start, double end,
                          const SyncTarget& fade_target, const SyncTarget& end_target) {
  SetStreamSync(api, stream, bass::BASS_SYNC_POS, api.BASS_ChannelSeconds2Bytes(stream, fade_start),
                fade_target.proc, fade_target.user);
  SetStreamSync(api, stream, bass::BASS_SYNC_POS, api.BASS_ChannelSeconds2Bytes(stream, end),
                end_target.proc, end_target.user);
}

void TempoSync::Attach(bass::HSTREAM stream) {
  SetStreamSync(api_, stream, bass::BASS_SYNC_MIDI_EVENT | bass::BASS_SYNC_MIXTIME,
                bass::MIDI_EVENT_TEMPO, TempoProc, this);
}

void TempoSync::TempoProc(bass::HSYNC /*sync*/, bass::DWORD channel, bass::DWORD /*data*/,
                          void* user) {
  auto* tempo = static_cast<TempoSync*>(user);
  RefreshBaseTempo(tempo->api_, channel, tempo->audio_);
  ApplyTempo(tempo->api_, channel, tempo->audio_);
}

}  // namespace vexolo
