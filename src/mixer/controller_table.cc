#include "mixer/controller_table.h"

#include <algorithm>

namespace vexolo {
namespace {

/// Negative when the stream does not answer.
std::int32_t StreamValue(const bass::Api& api, bass::HSTREAM stream, int entry) {
  const bass::DWORD value = api.BASS_MIDI_StreamGetEvent(
      stream, static_cast<bass::DWORD>(ChannelOf(entry)), EventOf(entry));
  return value > INT32_MAX ? ControllerTable::kNone : static_cast<std::int32_t>(value);
}

bool IsInstrument(int entry) {
  return !IsSongEntry(entry) && (KindOf(entry) == kBankKind || KindOf(entry) == kProgramKind);
}

bool IsDrumMode(int entry) { return !IsSongEntry(entry) && KindOf(entry) == kDrumKind; }

}  // namespace

std::int32_t ValueInForce(const bass::Api& api, bass::HSTREAM stream, const MixState& state,
                          int entry) {
  const std::int32_t set = state.overrides.Get(entry);
  if (set >= 0) return set;
  const std::int32_t value = StreamValue(api, stream, entry);
  return value >= 0 ? value : std::max(state.current_values.Get(entry), 0);
}

std::int32_t SongValue(const bass::Api& api, bass::HSTREAM stream, const MixState& state,
                       int entry) {
  const std::int32_t known = state.current_values.Get(entry);
  return known >= 0 ? known : std::max(StreamValue(api, stream, entry), 0);
}

void SendValue(const bass::Api& api, bass::HSTREAM stream, int entry, std::int32_t value) {
  value = std::max(value, 0);
  if (!IsSongEntry(entry)) {
    value = std::min(value, kControllers[static_cast<std::size_t>(KindOf(entry) - 1)].max);
  }
  api.BASS_MIDI_StreamEvent(stream, static_cast<bass::DWORD>(ChannelOf(entry)), EventOf(entry),
                            static_cast<bass::DWORD>(value));
}

void SendInstrument(const bass::Api& api, bass::HSTREAM stream, int channel, std::int32_t bank,
                    std::int32_t program) {
  SendValue(api, stream, ControllerEntry(kBankKind, channel), bank);
  SendValue(api, stream, ControllerEntry(kProgramKind, channel), program);
}

void SendInstrument(const bass::Api& api, bass::HSTREAM stream, const MixState& state,
                    int channel) {
  // Both are read before the first is sent.
  const auto bank = ValueInForce(api, stream, state, ControllerEntry(kBankKind, channel));
  const auto program = ValueInForce(api, stream, state, ControllerEntry(kProgramKind, channel));
  SendInstrument(api, stream, channel, bank, program);
}

bool HasInstrumentOverride(const MixState& state, int channel) {
  return state.overrides.Has(ControllerEntry(kBankKind, channel)) ||
         state.overrides.Has(ControllerEntry(kProgramKind, channel));
}

bool IsBypassed(const MixState& state, int entry) {
  if (entry == SongEntry(kReverbLevelKind)) return state.bypass_reverb;
  if (entry == SongEntry(kChorusLevelKind) || entry == SongEntry(kChorusReverbKind)) {
    return state.bypass_chorus;
  }
  return false;
}

void ApplyOverride(const bass::Api& api, bass::HSTREAM stream, const MixState& state, int entry) {
  const int channel = ChannelOf(entry);
  if (!IsInstrument(entry)) {
    // Read once: another thread may take the override away meanwhile.
    const std::int32_t set = IsBypassed(state, entry) ? 0 : state.overrides.Get(entry);
    if (set >= 0) SendValue(api, stream, entry, set);
    if (!IsDrumMode(entry)) return;
  }
  if (HasInstrumentOverride(state, channel)) SendInstrument(api, stream, state, channel);
}

void ApplyAllOverrides(const bass::Api& api, bass::HSTREAM stream, const MixState& state) {
  for (int channel = 0; channel < kChannels; ++channel) {
    for (const int kind : {kVolumeKind, kPanKind, kReverbKind, kChorusKind, kDrumKind}) {
      // The drum mode brings the instrument with it.
      ApplyOverride(api, stream, state, ControllerEntry(kind, channel));
    }
  }
  for (int kind = 1; kind <= kSongKinds; ++kind) {
    ApplyOverride(api, stream, state, SongEntry(kind));
  }
}

void ReadCurrentValues(const bass::Api& api, bass::HSTREAM stream, MixState& state) {
  for (int entry = 0; entry < ControllerTable::kEntries; ++entry) {
    state.current_values.Set(entry, StreamValue(api, stream, entry));
  }
}

}  // namespace vexolo
