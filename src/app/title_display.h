/// The title of the song, on the LED display and in the main window's caption. Window thread only.
#pragma once

#include <string>
#include <string_view>

#include "lyrics/lyric_model.h"

namespace vexolo {

/// What the LED font can show of a text: letters without their accents, typographic marks as plain
/// ones, a blank for what has no likeness. Takes UTF-8, gives ASCII.
std::string LedText(std::string_view text);

/// Title and artist that the song itself tells, else the name of its file without extension.
/// UTF-8, whatever the song is written in.
std::string SongName(const LyricModel& lyrics, std::string_view song_path);

/// Texts "Titre(...)" of the language: "%1" for the song's name, "%2" for its place in the list,
/// "%3" for the number of songs.
struct TitleTexts {
  std::string no_song;       ///< the list is empty
  std::string one_song;      ///< the only song of the list is the current one
  std::string several;       ///< one of several songs is
  std::string none_current;  ///< there are songs, none is shown
};

/// `name`: empty where no song is shown.
std::string TitleText(const TitleTexts& texts, const std::string& name, int place, int count);

/// A display of so many characters. A longer text runs through it from right to left, after a rest
/// at its beginning, and begins again; a notice stands before it for a while.
class LedScroller {
 public:
  static constexpr int kRest = 20;        ///< ticks before a long text begins to run
  static constexpr int kStep = 3;         ///< ticks a character
  static constexpr int kNoticeTime = 40;  ///< ticks

  explicit LedScroller(int width) : width_(width) {}

  /// Texts are ASCII, as LedText gives it.
  void SetText(const std::string& text);
  void Notice(const std::string& text);
  bool has_notice() const { return notice_left_ > 0; }

  /// One step of the main timer.
  void Tick();

  /// Exactly as many characters as the display has.
  std::string Visible() const;

 private:
  int width_;
  std::string text_;
  int ticks_ = 0;
  std::string notice_;
  int notice_left_ = 0;
};

}  // namespace vexolo
