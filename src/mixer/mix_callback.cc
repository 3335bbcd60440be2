#include "mixer/mix_callback.h"

#include "mixer/meters.h"

namespace vexolo {

namespace {

constexpr std::array<bass::DWORD, 2> kLampEvents = {bass::MIDI_EVENT_NOTE,
                                                    bass::MIDI_EVENT_NOTESOFF};

}  // namespace

MixCallbacks::MixCallbacks(const bass::Api& api, MixState& state) : api_(api), state_(state) {
  for (std::size_t i = 0; i < contexts_.size(); ++i) {
    contexts_[i] = {&api, &state, &kMixSyncTable[i]};
  }
}

int MixCallbacks::AttachLampSyncs(bass::HSTREAM stream) {
  int attached = 0;
  for (const bass::DWORD event : kLampEvents) {
    attached += api_.BASS_ChannelSetSync(stream, bass::BASS_SYNC_MIDI_EVENT, event, NoteSyncProc,
                                         &state_) != 0;
  }
  return attached;
}

int MixCallbacks::AttachMixSyncs(bass::HSTREAM stream) {
  int attached = 0;
  for (std::size_t i = 0; i < contexts_.size(); ++i) {
    attached +=
        api_.BASS_ChannelSetSync(stream, bass::BASS_SYNC_MIDI_EVENT | bass::BASS_SYNC_MIXTIME,
                                 kMixSyncTable[i].event, MixSyncProc, &contexts_[i]) != 0;
  }
  return attached;
}

void BASS_CALLBACK MixCallbacks::MixSyncProc(bass::HSYNC, bass::DWORD channel, bass::DWORD data,
                                             void* user) {
  const Context& context = *static_cast<const Context*>(user);
  int entry = context.sync->first_entry;
  if (!IsSongEntry(entry)) {
    const int midi_channel = static_cast<int>(data >> 16);
    if (midi_channel >= kChannels) return;
    entry += midi_channel;
  }
  context.state->current_values.Set(entry, static_cast<std::int32_t>(data & 0xFFFF));
  ApplyOverride(*context.api, channel, *context.state, entry);
}

void BASS_CALLBACK MixCallbacks::NoteSyncProc(bass::HSYNC, bass::DWORD, bass::DWORD data,
                                              void* user) {
  NoteHeard(*static_cast<MixState*>(user), data);
}

}  // namespace vexolo
