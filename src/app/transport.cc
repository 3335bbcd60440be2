#include "app/transport.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "app/main_keys.h"
#include "app/time_format.h"
#include "audio/error_report.h"
#include "platform/locale_format.h"
#include "settings/language.h"

namespace vexolo {

void Transport::Action_Play() {
  modMidiTest& state = parts_.state;
  if (state.converting) return;
  Attempt([&] {
    parts_.view.DrawPlay(true);
    const std::string path = CurrentSong();
    state.playing = !path.empty() && StartSong(path);
    if (!state.playing) parts_.view.DrawPlay(false);
  });
}

template <typename Action>
void Transport::Attempt(Action action) {
  try {
    action();
  } catch (...) {
    Halt();
    throw;
  }
}

std::string Transport::CurrentSong() {
  PlayListModel& playlist = parts_.state.playlist;
  int place = playlist.current();
  if (place < 1 || place > playlist.count()) place = 1;
  std::string path = playlist.Path(place);
  // Another one is shown, or none, where the list has ended or changed since a song was chosen.
  if (!path.empty() && playlist.playing() != place) {
    playlist.PlayListSelect(place);
    parts_.view.ShowTitle(path);
  }
  return path;
}

bool Transport::StartSong(const std::string& path) {
  const SongStartResult result = parts_.song_start.Start(path);
  if (result == SongStartResult::kStarted) {
    parts_.view.DrawMix();
    parts_.view.AfficherMarqueurs();
    return true;
  }
  ReportFailure(path);
  CloseSong();
  return false;
}

// The text goes into the audio error box, so that the library's reason is told as well.
void Transport::ReportFailure(const std::string& path) {
  const LanguageSection texts(parts_.ini, parts_.state.language_file, "Main");
  const std::string text = texts.Message("MidiReadError", {path});
  ReportAudioError(parts_.api, parts_.boxes, text.empty() ? path : text);
}

// The playing flag stays: whoever goes on to another song asks it.
void Transport::CloseSong() { parts_.song_start.CloseSong(); }

void Transport::Action_Stop() {
  if (!parts_.state.converting) Halt();
}

void Transport::Halt() {
  CloseSong();
  parts_.state.playing = false;
  parts_.view.DrawPlay(false);
}

void Transport::Action_Next() {
  if (parts_.state.converting) return;
  CloseSong();
  const int count = parts_.state.playlist.count();
  int place = std::min(parts_.state.playlist.current(), count) + 1;
  if (place > count && parts_.state.repeat_mode == kRepeatList && parts_.state.playing) place = 1;
  PlayPlace(place);
}

void Transport::Action_Prev() {
  if (parts_.state.converting) return;
  CloseSong();
  const int count = parts_.state.playlist.count();
  const int place = parts_.state.playlist.current() - 1;
  PlayPlace(place < 1 ? count : place);
}

void Transport::Action_PlaySelected(int place) {
  if (parts_.state.converting) return;
  CloseSong();
  if (place > parts_.state.playlist.count() && parts_.state.repeat_mode == kRepeatList) place = 1;
  PlayPlace(place);
}

void Transport::PlayPlace(int place) {
  PlayListModel& playlist = parts_.state.playlist;
  Attempt([&] {
    if (place < 1 || place > playlist.count()) {
      playlist.PlayListSelect(0);
      playlist.set_current(std::max(place, 0));
      NothingPlays();
      return;
    }
    playlist.PlayListSelect(place);
    parts_.view.ShowTitle(playlist.Path(place));
    Action_Play();
  });
}

void Transport::NothingPlays() {
  parts_.state.playing = false;
  parts_.settings.SetSong({});
  parts_.view.ShowTitle({});
  parts_.view.DrawPlay(false);
}

void Transport::Action_Repeat() {
  std::int32_t& mode = parts_.state.repeat_mode;
  mode = mode == kPlayListOnce ? kRepeatSong : mode == kRepeatSong ? kRepeatList : kPlayListOnce;
  parts_.ini.WriteIni("Repeat", "Mode", std::to_string(mode));
  parts_.view.DrawRepeat(mode);
}

void Transport::LoadRepeat() {
  const int mode = RoundToInt(TextToNumber(parts_.ini.ReadIni("Repeat", "Mode")));
  parts_.state.repeat_mode = mode == kRepeatSong || mode == kRepeatList ? mode : kPlayListOnce;
  parts_.view.DrawRepeat(parts_.state.repeat_mode);
}

void Transport::EndOfSong(bass::HSTREAM stream) {
  if (stream == 0 || stream != parts_.state.audio.stream || parts_.state.converting) return;
  if (parts_.display != nullptr) parts_.display->EffaceLyrics();
  if (!parts_.state.playing) return;
  if (parts_.state.repeat_mode == kRepeatSong) {
    Action_Play();
  } else {
    Action_Next();
  }
}

std::optional<std::string> Transport::NextToConvert() {
  PlayListModel& playlist = parts_.state.playlist;
  const int place = playlist.current() + 1;
  if (!parts_.state.convert_all || place < 1 || place > playlist.count()) {
    parts_.state.convert_all = false;
    return std::nullopt;
  }
  playlist.PlayListSelect(place);
  parts_.view.ShowTitle(playlist.Path(place));
  return playlist.Path(place);
}

void Transport::Action_Punch() {
  Markers& markers = parts_.state.audio.markers;
  markers.on = !markers.on;
  parts_.settings.SaveMarqueurs(markers);
  parts_.view.AfficherMarqueurs();
}

void Transport::Action_PunchIn() { AskMarker(parts_.state.audio.markers.start); }

void Transport::Action_PunchOut() { AskMarker(parts_.state.audio.markers.end); }

void Transport::AskMarker(double& stored) {
  const AudioState& audio = parts_.state.audio;
  double proposed = ActingTime(stored, audio.speed_factor);
  if (audio.stream != 0) {
    const bass::QWORD position =
        parts_.api.BASS_ChannelGetPosition(audio.stream, bass::BASS_POS_BYTE);
    if (position != bass::kError64) proposed = SecondsOf(parts_.api, audio.stream, position);
  }
  const std::optional<std::string> typed =
      parts_.view.AskTime(FormatTime(proposed, parts_.separator));
  if (!typed) return;
  stored = StoredTime(ParseTime(*typed), audio.speed_factor);
  parts_.settings.SaveMarqueurs(audio.markers);
  parts_.view.AfficherMarqueurs();
}

void Transport::SpeedChanged(double old_factor) {
  AudioState& audio = parts_.state.audio;
  const double factor = audio.speed_factor;
  // The marker's syncs keep their musical place, so the time between them stretches: the fade has
  // to be over when the second one ends the song.
  if (old_factor > 0 && factor > 0) audio.fade_length = audio.fade_length * (factor / old_factor);
  parts_.song_start.ReadSongLength();
  parts_.view.ShowTime();
}

void Transport::SeekBy(double seconds) {
  const AudioState& audio = parts_.state.audio;
  if (audio.stream == 0 || parts_.state.converting) return;
  const bass::QWORD bytes = parts_.api.BASS_ChannelGetPosition(audio.stream, bass::BASS_POS_BYTE);
  if (bytes == bass::kError64) return;
  const double sought =
      SoughtPosition(SecondsOf(parts_.api, audio.stream, bytes), seconds, audio.song_length);
  if (parts_.song_start.Seek(parts_.api.BASS_ChannelSeconds2Bytes(audio.stream, sought),
                             bass::BASS_POS_BYTE)) {
    ResyncLyrics();
  }
}

void Transport::SliderPressed() {
  parts_.state.seeking = true;
  parts_.view.EnableTimer(false);
}

void Transport::SliderReleased(double value, double maximum) {
  const double length = parts_.state.audio.song_length_ticks;
  if (length > 0 && maximum > 0 && !parts_.state.converting) {
    const double ticks = std::clamp((1.0 / maximum) * value * length, 0.0, length);
    if (parts_.song_start.Seek(static_cast<bass::QWORD>(std::llround(ticks)),
                               bass::BASS_POS_MIDI_TICK)) {
      ResyncLyrics();
    }
  }
  parts_.state.seeking = false;
  parts_.view.EnableTimer(true);
}

// The display hears of the syllable at the new place, as if it had just been reached.
void Transport::ResyncLyrics() {
  if (parts_.display == nullptr) return;
  parts_.display->EffaceLyrics();
  const bass::QWORD position =
      parts_.api.BASS_ChannelGetPosition(parts_.state.audio.stream, bass::BASS_POS_MIDI_TICK);
  if (position == bass::kError64) return;
  const auto& syllables = parts_.state.lyrics.syllables();
  const auto next = std::upper_bound(
      syllables.begin(), syllables.end(), static_cast<std::int64_t>(position),
      [](std::int64_t tick, const LyricSyllable& syllable) { return tick < syllable.tick; });
  if (next != syllables.begin()) parts_.display->DisplayLyrics(std::prev(next)->mark_index);
}

}  // namespace vexolo
