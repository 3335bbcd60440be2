/// How a song is started: the one routine that playback and conversion share.
#pragma once

#include <atomic>
#include <functional>
#include <string>

#include "app/program_state.h"
#include "audio/audio_binding.h"
#include "audio/bass.h"
#include "audio/end_fade.h"
#include "audio/stream_syncs.h"
#include "mixer/mix_callback.h"
#include "mixer/song_settings.h"
#include "settings/mod_ini.h"

namespace vexolo {

inline constexpr double kFadeLength = 0.3;  ///< seconds, at the start of every song
inline constexpr double kTail = 0.01;       ///< seconds between the fade's end and the song's

/// Hears that a song has come to its end.
class EndOfSongNotifier {
 public:
  virtual ~EndOfSongNotifier() = default;
  /// Called on a thread of the audio library, perhaps the mixing thread: has to hand the message
  /// over to the window thread without waiting. The stream has been stopped.
  virtual void SongEnded(bass::HSTREAM stream) = 0;
};

enum class SongUse { kPlayback, kConversion };

struct SongStartOptions {
  SongUse use = SongUse::kPlayback;
  /// The stream plays the bank of this record instead of the library's default one: for songs that
  /// are converted side by side, whose Gain settings differ. adjust_mix may still choose the bank.
  bool own_bank = false;
  bool use_song_settings = true;  ///< else the song starts with the defaults
  /// Called when the song's own settings have been read and before they act; may be empty.
  std::function<void(MixState&)> adjust_mix{};
  /// The same for the markers. The speed factor is in force by then.
  std::function<void(Markers&)> adjust_markers{};
};

enum class SongStartResult {
  kStarted,
  kCannotOpen,  ///< no stream could be made
  kCannotPlay,  ///< the stream was made and is still there; the caller reports and closes the song
};

/// What a program has of this: one, for one stream at a time. Its callbacks are attached to the
/// streams, so it must be destroyed after the last of them has been freed. Window thread, but for
/// the callbacks (or, for a conversion without windows, the thread that converts).
class SongStart {
 public:
  /// `notifier` hears of the ends of songs that are played; it may be null where none is played.
  SongStart(const bass::Api& api, modMidiTest& state, AudioBinding& binding, ModIni& ini,
            SongSettings& settings, EndOfSongNotifier* notifier);
  SongStart(const SongStart&) = delete;
  SongStart& operator=(const SongStart&) = delete;

  /// Opens a song in place of the current one and brings it to the user's settings: structure dump
  /// (where the settings ask for it), stream, lyrics, settings of the song, syncs, mix and
  /// overrides, tempo, markers; playback then starts, a conversion is left ready to be pulled.
  /// On failure the library's error code of this thread tells why. What is thrown for want of
  /// memory leaves no song loaded.
  SongStartResult Start(const std::string& path, const SongStartOptions& options = {});

  /// Moves the stream (mode: bytes or ticks) and brings it back to the user's settings. False where
  /// the library refuses; nothing has changed then. Callers without a stream get false.
  bool Seek(bass::QWORD position, bass::DWORD mode);

  /// What has to be sent again after every seek: a seek puts back what the song itself sets.
  void AfterSeek();

  /// Reads the length of the song (seconds and ticks) at the speed in force; 0 without a stream.
  void ReadSongLength();

  /// Stops and frees the current stream: no song is loaded any more, lamps and meter are at rest.
  void CloseSong();

  /// Whether the end-of-run handler of the current conversion has run. Any thread.
  bool end_has_run() const { return end_has_run_; }

 private:
  SongStartResult Open(const std::string& path, const SongStartOptions& options);
  void OpenLyrics(SongUse use);
  void LoadSettings(const std::string& path, const SongStartOptions& options);
  void AttachSyncs(SongUse use);
  void ApplyMix();
  void PlaceMarkers(const SongStartOptions& options);
  SyncTarget EndTarget(SongUse use);

  /// The end of a song that is played, at its stream's end or after the end marker.
  static void BASS_CALLBACK EndOfSongProc(bass::HSYNC sync, bass::DWORD channel, bass::DWORD data,
                                          void* user);
  /// The end of a conversion.
  static void BASS_CALLBACK EndOfRunProc(bass::HSYNC sync, bass::DWORD channel, bass::DWORD data,
                                         void* user);

  const bass::Api& api_;
  modMidiTest& state_;
  AudioBinding& binding_;
  ModIni& ini_;
  SongSettings& settings_;
  EndOfSongNotifier* const notifier_;
  MixCallbacks mix_callbacks_;
  TempoSync tempo_sync_;
  EndFade end_fade_;
  std::atomic<bool> end_has_run_{false};
};

}  // namespace vexolo
