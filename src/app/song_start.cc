#include "app/song_start.h"

#include <cstdint>
#include <vector>

#include "lyrics/midi_dump.h"
#include "mixer/channel_strips.h"
#include "mixer/controller_table.h"
#include "mixer/knobs.h"
#include "mixer/meters.h"

namespace vexolo {
namespace {

std::vector<std::int32_t> SyllableTicks(const LyricModel& lyrics) {
  std::vector<std::int32_t> ticks;
  ticks.reserve(lyrics.syllables().size());
  for (const LyricSyllable& syllable : lyrics.syllables()) ticks.push_back(syllable.tick);
  return ticks;
}

bass::DWORD FlagsFor(SongUse use) {
  return use == SongUse::kConversion ? kConversionFlags : kPlaybackFlags;
}

}  // namespace

SongStart::SongStart(const bass::Api& api, modMidiTest& state, AudioBinding& binding, ModIni& ini,
                     SongSettings& settings, EndOfSongNotifier* notifier)
    : api_(api),
      state_(state),
      binding_(binding),
      ini_(ini),
      settings_(settings),
      notifier_(notifier),
      mix_callbacks_(api, state.mix),
      tempo_sync_(api, state.audio),
      end_fade_(api, state.audio) {}

SongStartResult SongStart::Start(const std::string& path, const SongStartOptions& options) {
  try {
    return Open(path, options);
  } catch (...) {
    // Half a mix must not be taken for the user's, and saved.
    settings_.SetSong({});
    CloseSong();
    throw;
  }
}

SongStartResult SongStart::Open(const std::string& path, const SongStartOptions& options) {
  CloseSong();
  // Where the new song cannot be opened, nothing may be saved for the one before it.
  settings_.SetSong({});
  end_has_run_ = false;
  end_fade_.ForgetStream();
  state_.lyrics.ResetForSong();
  state_.lyrics.InitLyrics(0, false);  // the words of the song before must not outlive it
  ResetForSong(state_.mix);
  if (ini_.ReadIni("Vexolo", "Debug_MidiTxt") == "1") MidiDump(true).MidiFileDump(path);
  state_.audio.stream = CreateStream(api_, false, path, 0, 0, FlagsFor(options.use), 0);
  if (state_.audio.stream == 0) return SongStartResult::kCannotOpen;
  OpenLyrics(options.use);
  LoadSettings(path, options);
  if (options.own_bank) {
    const bass::BASS_MIDI_FONT entry = {state_.audio.font, -1, 0};
    api_.BASS_MIDI_StreamSetFonts(state_.audio.stream, &entry, 1);
  }
  AttachSyncs(options.use);
  ApplyMix();
  RefreshBaseTempo(api_, state_.audio.stream, state_.audio);
  NewTempo(api_, state_.mix, state_.audio);
  ReadSongLength();
  PlaceMarkers(options);
  if (options.use == SongUse::kConversion) return SongStartResult::kStarted;
  if (api_.BASS_ChannelPlay(state_.audio.stream, 0) != 0) return SongStartResult::kStarted;
  return SongStartResult::kCannotPlay;
}

void SongStart::OpenLyrics(SongUse use) {
  const bool converts = use == SongUse::kConversion;
  state_.lyrics.set_max_line_length(converts ? state_.conversion.max_line_length : std::int16_t{0});
  state_.lyrics.InitLyrics(state_.audio.stream, true);
  DetectMelodyChannel(api_, state_.audio.stream, SyllableTicks(state_.lyrics), state_.mix);
}

void SongStart::LoadSettings(const std::string& path, const SongStartOptions& options) {
  settings_.SetSong(options.use_song_settings ? path : std::string());
  state_.lyrics.code_pages().set_forced(settings_.LoadCodePage());
  settings_.LoadMix(state_.mix);
  if (options.adjust_mix) options.adjust_mix(state_.mix);
}

// A conversion gets its end sync with its markers: only one of its possible ends is in force.
void SongStart::AttachSyncs(SongUse use) {
  const bass::HSTREAM stream = state_.audio.stream;
  if (use == SongUse::kPlayback) {
    AttachEndSync(api_, stream, EndTarget(use));
    mix_callbacks_.AttachLampSyncs(stream);
  }
  tempo_sync_.Attach(stream);
  mix_callbacks_.AttachMixSyncs(stream);
}

void SongStart::ApplyMix() {
  const bass::HSTREAM stream = state_.audio.stream;
  ReadCurrentValues(api_, stream, state_.mix);
  ApplyLevels(api_, state_.audio.font, state_.mix.Gain);
  ApplyTranspose(api_, stream, state_.mix.Transpose);
  ApplyVolume(api_, stream, state_.mix);
  ApplyAllOverrides(api_, stream, state_.mix);
}

void SongStart::ReadSongLength() {
  AudioState& audio = state_.audio;
  audio.song_length = 0;
  audio.song_length_ticks = 0;
  if (audio.stream == 0) return;
  const bass::QWORD bytes = api_.BASS_ChannelGetLength(audio.stream, bass::BASS_POS_BYTE);
  const bass::QWORD ticks = api_.BASS_ChannelGetLength(audio.stream, bass::BASS_POS_MIDI_TICK);
  if (bytes != bass::kError64) audio.song_length = SecondsOf(api_, audio.stream, bytes);
  if (ticks != bass::kError64) audio.song_length_ticks = static_cast<std::uint32_t>(ticks);
}

void SongStart::PlaceMarkers(const SongStartOptions& options) {
  AudioState& audio = state_.audio;
  audio.tail = kTail;
  settings_.LoadMarqueurs(audio.markers);
  if (options.adjust_markers) options.adjust_markers(audio.markers);
  const double factor = audio.speed_factor;
  if (StartInForce(audio.markers, factor, audio.song_length)) {
    const double start = ActingStart(audio.markers, factor);
    Seek(api_.BASS_ChannelSeconds2Bytes(audio.stream, start), bass::BASS_POS_BYTE);
  }
  double fade_length = kFadeLength;
  const SyncTarget end_target = EndTarget(options.use);
  if (EndInForce(audio.markers, factor, audio.song_length)) {
    const double end = ActingEnd(audio.markers, factor);
    const double room = audio.song_length - end - audio.tail;
    if (fade_length > room) fade_length = room;
    AttachEndMarkerSyncs(api_, audio.stream, end, end + fade_length + audio.tail,
                         {EndFade::EndMarkerSync, &end_fade_}, end_target);
  } else if (options.use == SongUse::kConversion) {
    AttachEndSync(api_, audio.stream, end_target);
  }
  audio.fade_length = fade_length;
}

bool SongStart::Seek(bass::QWORD position, bass::DWORD mode) {
  const bass::HSTREAM stream = state_.audio.stream;
  if (stream == 0 || !SetStreamPosition(api_, stream, position, mode)) return false;
  AfterSeek();
  return true;
}

void SongStart::AfterSeek() {
  const bass::HSTREAM stream = state_.audio.stream;
  if (stream == 0) return;
  ResetFade(state_.audio);
  RefreshBaseTempo(api_, stream, state_.audio);
  ApplyTempo(api_, stream, state_.audio);
  ReadCurrentValues(api_, stream, state_.mix);
  ApplyAllOverrides(api_, stream, state_.mix);
}

void SongStart::CloseSong() {
  binding_.FreeStream();
  ClearMeters(state_.mix);
  ReadSongLength();
}

SyncTarget SongStart::EndTarget(SongUse use) {
  return {use == SongUse::kConversion ? EndOfRunProc : EndOfSongProc, this};
}

void SongStart::EndOfSongProc(bass::HSYNC /*sync*/, bass::DWORD channel, bass::DWORD /*data*/,
                              void* user) {
  auto* self = static_cast<SongStart*>(user);
  self->api_.BASS_ChannelStop(channel);
  self->state_.audio.fading = false;
  if (self->notifier_ != nullptr) self->notifier_->SongEnded(channel);
}

void SongStart::EndOfRunProc(bass::HSYNC /*sync*/, bass::DWORD channel, bass::DWORD /*data*/,
                             void* user) {
  auto* self = static_cast<SongStart*>(user);
  self->api_.BASS_ChannelStop(channel);
  self->state_.audio.fading = false;
  self->end_has_run_ = true;
}

}  // namespace vexolo
