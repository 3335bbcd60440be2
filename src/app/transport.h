/// The player: play, stop, next, previous, repeat, markers and the position slider.
#pragma once

#include <optional>
#include <string>

#include "app/program_state.h"
#include "app/song_start.h"
#include "audio/bass.h"
#include "lyrics/lyric_model.h"
#include "mixer/song_settings.h"
#include "platform/message_box.h"
#include "settings/mod_ini.h"

namespace vexolo {

/// What the transport needs of the windows.
class TransportView {
 public:
  virtual ~TransportView() = default;
  /// Shows the title of a song; an empty path empties the display.
  virtual void ShowTitle(const std::string& song_path) = 0;
  virtual void DrawPlay(bool pressed) = 0;
  /// The repeat buttons of the main and the playlist window.
  virtual void DrawRepeat(int mode) = 0;
  virtual void AfficherMarqueurs() = 0;
  /// A song has been opened with its settings: knobs, solo and mute buttons and controllers.
  virtual void DrawMix() = 0;
  /// Position and length.
  virtual void ShowTime() = 0;
  virtual void EnableTimer(bool enabled) = 0;
  /// The time dialog with a proposed time in it; the text when the user validates it.
  virtual std::optional<std::string> AskTime(const std::string& proposed) = 0;
};

/// Window thread only. While a conversion is under way, what would end or move its stream does
/// nothing.
class Transport {
 public:
  struct Parts {
    const bass::Api& api;
    modMidiTest& state;
    SongStart& song_start;
    SongSettings& settings;
    ModIni& ini;
    MessageBoxes& boxes;
    TransportView& view;
    LyricDisplay* display;  ///< may be null
    char separator;         ///< of decimals
  };

  /// What the parts refer to must outlive this object.
  explicit Transport(const Parts& parts) : parts_(parts) {}

  /// Starts the current song of the playlist, from its beginning; without a current song (none
  /// chosen yet, or the end of the list reached) the first one. Shows its title where that is not
  /// shown already.
  void Action_Play();
  /// Stops and frees the stream; the song stays the current one.
  void Action_Stop();
  void Action_Next();
  void Action_Prev();
  /// `place`: 1-based.
  void Action_PlaySelected(int place);
  /// 0 -> 2 -> 3 -> 0; written to the settings.
  void Action_Repeat();
  /// Takes the repeat mode from the settings, at the start of the program.
  void LoadRepeat();

  /// What the notifier of the song's end has handed over. A stream that is no longer the current
  /// one has no say.
  void EndOfSong(bass::HSTREAM stream);

  /// While the whole list is converted: makes the following song the current one, to be converted
  /// next, and shows its title. After the last song the whole list is done: nothing is returned and
  /// the convert-all flag cleared. Repeat modes have no say.
  std::optional<std::string> NextToConvert();

  void Action_Punch();
  void Action_PunchIn();
  void Action_PunchOut();

  /// The speed factor has changed from `old_factor` (the knob has moved the markers with it).
  void SpeedChanged(double old_factor);

  /// Moves the song by so many seconds, at most to its ends. Nothing happens without a song.
  void SeekBy(double seconds);

  void SliderPressed();
  /// `value`: 0..maximum.
  void SliderReleased(double value, double maximum);

 private:
  /// What is thrown for want of memory goes on to the caller, and leaves nothing playing.
  template <typename Action>
  void Attempt(Action action);
  void Halt();
  void CloseSong();
  /// Its path, once it is marked in the list and its title shown; empty where the list is.
  std::string CurrentSong();
  void PlayPlace(int place);
  void NothingPlays();
  bool StartSong(const std::string& path);
  void ReportFailure(const std::string& path);
  void AskMarker(double& stored);
  void ResyncLyrics();

  Parts parts_;
};

}  // namespace vexolo
