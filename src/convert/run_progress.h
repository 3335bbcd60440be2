/// How far a conversion has come, and how that is told.
#pragma once

#include <optional>
#include <string>

#include "settings/language.h"

namespace vexolo {

/// Of one song.
struct JobProgress {
  double share = 0;           ///< 0..1; 1 = what is left is the decay and the encoder's own work
  double seconds = 0;         ///< of audio that are done
  double elapsed = 0;         ///< seconds since the rendering began
  bool is_rendering = false;  ///< it has begun

  /// Times real time; 0 while nothing can be said.
  double Speed() const { return elapsed > 0 ? seconds / elapsed : 0; }
  /// Nothing while nothing can be said.
  std::optional<double> SecondsLeft() const {
    if (share <= 0) return std::nullopt;
    return elapsed * (1 - share) / share;
  }
};

/// Of a series of songs, or of one alone.
struct SeriesProgress {
  std::string song;         ///< its title and artist, else the name of its file
  int number = 0;           ///< of the song in the series, from 1
  int count = 1;            ///< songs of the series; 1 = only this one
  bool cancelling = false;  ///< the user has cancelled, and the end is awaited
  JobProgress job;
};

inline constexpr int kFullBar = 1000;

/// What the window shows. A text that there is nothing to say in is empty.
struct ProgressTexts {
  std::string song;
  std::string count;
  std::string left;   ///< time left, or what is being waited for
  std::string speed;  ///< times real time
  int bar = 0;        ///< 0..kFullBar
};

/// `texts`: section "Tags"; `separator`: of decimals.
ProgressTexts TextsOfProgress(const SeriesProgress& progress, const LanguageSection& texts,
                              char separator);

}  // namespace vexolo
