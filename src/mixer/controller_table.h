/// What the entries of the controller tables are, and how overrides reach the stream.
///
/// Controller kind k (1..7) of channel c is entry 16 (k - 1) + c; the eleven song-wide parameters
/// are the entries from 112 on.
#pragma once

#include <array>
#include <cstdint>

#include "audio/bass.h"
#include "mixer/mix_state.h"

namespace vexolo {

/// Kinds of the controller window, in the order of its columns.
enum ControllerKind {
  kVolumeKind = 1,
  kPanKind,
  kReverbKind,
  kChorusKind,
  kBankKind,
  kProgramKind,
  kDrumKind,
};
inline constexpr int kControllerKinds = 7;

struct ControllerInfo {
  const char* caption_key;  ///< in section "Reglage" of the language file
  bass::DWORD event;        ///< sent, and read with GetEvent
  int max;                  ///< what is sent is kept within 0..max
};
inline constexpr std::array<ControllerInfo, kControllerKinds> kControllers = {{
    {"Volume", bass::MIDI_EVENT_VOLUME, 127},
    {"Pan", bass::MIDI_EVENT_PAN, 127},
    {"Reverb", bass::MIDI_EVENT_REVERB, 127},
    {"Chorus", bass::MIDI_EVENT_CHORUS, 127},
    {"Bank", bass::MIDI_EVENT_BANK, 127},
    {"Program", bass::MIDI_EVENT_PROGRAM, 127},
    {"Drum", bass::MIDI_EVENT_DRUMS, 1},
}};

/// Song-wide entries; kind k (1..11) sends event 31 + k.
inline constexpr int kFirstSongEntry = kControllerKinds * kChannels;
inline constexpr int kSongKinds = ControllerTable::kEntries - kFirstSongEntry;
static_assert(kFirstSongEntry == 112 && kSongKinds == 11);

constexpr int ControllerEntry(int kind, int channel) { return kChannels * (kind - 1) + channel; }
/// Song kinds that set how loud an effect is.
inline constexpr int kReverbLevelKind = 5;
inline constexpr int kChorusLevelKind = 10;
inline constexpr int kChorusReverbKind = 11;

constexpr int SongEntry(int song_kind) { return kFirstSongEntry + song_kind - 1; }
constexpr bool IsSongEntry(int entry) { return entry >= kFirstSongEntry; }
constexpr int KindOf(int entry) { return entry / kChannels + 1; }  ///< of a channel's entry
constexpr int ChannelOf(int entry) { return IsSongEntry(entry) ? 0 : entry % kChannels; }

/// The event that an entry stands for.
constexpr bass::DWORD EventOf(int entry) {
  return IsSongEntry(entry)
             ? bass::MIDI_EVENT_REVERB_TIME + static_cast<bass::DWORD>(entry - kFirstSongEntry)
             : kControllers[static_cast<std::size_t>(KindOf(entry) - 1)].event;
}

/// What is in force: the override, else what the stream says, else (no stream) the song's value as
/// far as it is known. Never negative. Any thread.
std::int32_t ValueInForce(const bass::Api& api, bass::HSTREAM stream, const MixState& state,
                          int entry);

/// The song's own value, even while it is overridden: the current-value table's, or what the stream
/// says where that holds none. Never negative. Any thread.
std::int32_t SongValue(const bass::Api& api, bass::HSTREAM stream, const MixState& state,
                       int entry);

/// Sends a value of an entry, kept in range, as the one event that the entry stands for. Song-wide
/// values have no upper limit here: the synthesiser has its own.
void SendValue(const bass::Api& api, bass::HSTREAM stream, int entry, std::int32_t value);

/// Sends a channel's bank and then its program. The order matters: a bank acts with the program
/// that follows it.
void SendInstrument(const bass::Api& api, bass::HSTREAM stream, int channel, std::int32_t bank,
                    std::int32_t program);

/// The instrument operation: sends a channel's bank and program as they are in force.
void SendInstrument(const bass::Api& api, bass::HSTREAM stream, const MixState& state, int channel);

/// Whether a channel's bank or program is overridden.
bool HasInstrumentOverride(const MixState& state, int channel);

/// Whether an entry is an output of an effect that is bypassed: it sounds as 0. Any thread.
bool IsBypassed(const MixState& state, int entry);

/// Sends again what the user has set for an entry (0 where it is bypassed): its override, for a
/// bank or a program the whole instrument when either is overridden, and an overridden instrument
/// after a drum mode too (a channel that changes it chooses its preset anew). Without override
/// nothing is sent. Any thread, the mixing thread too.
void ApplyOverride(const bass::Api& api, bass::HSTREAM stream, const MixState& state, int entry);

/// Sends every override: after a song has been loaded and after every seek, which puts the stream
/// back to the song's own values. The drum mode of a channel comes before its instrument.
void ApplyAllOverrides(const bass::Api& api, bass::HSTREAM stream, const MixState& state);

/// Fills the current values from the stream. They are the song's own only as long as no override
/// has been sent: to be called for a new stream and after every seek, before ApplyAllOverrides.
void ReadCurrentValues(const bass::Api& api, bass::HSTREAM stream, MixState& state);

}  // namespace vexolo
