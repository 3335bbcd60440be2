/// What an arranger writes by habit: chord symbols, comping and drum patterns, lines, sung verses.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "song_writer.h"

namespace vexolo::songs {

/// Key number of a note name: "C4" = 60, "F#5", "Bb3". Throws std::invalid_argument otherwise.
int KeyOf(std::string_view name);

/// One note of a line, in ticks from the line's start.
struct LineNote {
  Tick start;
  Tick length;
  int key;
};

/// A line such as "G4:2 G4:1 B4 r:.5 A4:.5": notes with their lengths in quarter notes; a length
/// left out repeats the one before; "r" rests.
std::vector<LineNote> ParseLine(std::string_view text);

/// Length of a line in ticks, rests at its end included.
Tick LineLength(std::string_view text);

struct Chord {
  Tick start;
  Tick length;
  std::vector<int> classes;  ///< pitch classes, root first
};

/// Chord symbols with lengths in quarter notes, such as "G:3 D7:1 Em:4", from tick `start` on.
/// Known: major, m, 7, m7, maj7, 6, m6, sus4, dim.
std::vector<Chord> ParseChords(std::string_view text, Tick start, int transpose = 0);

/// A velocity moved up or down by as much as `range`, by a fixed rule: the same place always gets
/// the same touch.
int Humanise(int velocity, int channel, Tick tick, int key, int range = 6);

/// Where and how a pattern is played. A pattern is a row of steps, repeated over the passage:
/// "." silence, "-" the step before goes on, other letters as each function says.
struct Passage {
  Tick from;
  Tick to;
  Tick step = kBeat / 2;
};

/// How chords are laid out and struck.
struct Touch {
  int low;       ///< lowest key; the chord stands in close position above it
  int velocity;  ///< of an ordinary stroke; accents are 14 above
  int voices = 4;
  Tick strum = 0;  ///< from one string to the next
};

/// Keys of a chord in close position from `low` upwards.
std::vector<int> Voicing(const Chord& chord, int low, int voices);

/// "x" the chord, "X" accented, "0".."9" that voice alone (counted from below).
void PlayChords(Track& track, const std::vector<Chord>& chords, const Passage& passage,
                std::string_view pattern, const Touch& touch);

/// "R" root, "5" fifth, "3" third, "8" octave, "a" a half tone below the
/// next chord's root, if that comes next.
void PlayBass(Track& track, const std::vector<Chord>& chords, const Passage& passage,
              std::string_view pattern, int low, int velocity);

/// Every chord held for its whole length, with a breath of `gap` ticks before the next.
void PlayPad(Track& track, const std::vector<Chord>& chords, Tick from, Tick to, const Touch& touch,
             Tick gap = 0);

/// One drum: "x" a stroke, "X" accented, "o" soft.
void PlayDrum(Track& track, const Passage& passage, int key, std::string_view pattern,
              int velocity);

/// A line, each note `gap` ticks shorter than written.
void PlayLine(Track& track, std::string_view line, Tick start, int velocity, int transpose = 0,
              Tick gap = 24);

/// How the words show where lines and verses end.
enum class Breaks {
  kMarks,  ///< "\" before a verse, "/" before a line
  kFeeds,  ///< line feed after a line, carriage return and line feed after a verse
};

/// The words of a song and the way they are written down.
struct Words {
  Track* track;
  MetaType type;
  CodePage code_page;
  Breaks breaks;
};

/// A verse: the line is played on `melody`, and each of its notes gets one syllable at its tick.
/// `lines` are split at "|". Throws std::invalid_argument where notes and syllables differ in
/// number.
void Sing(Track& melody, const Words& words, std::string_view line, Tick start,
          const std::vector<std::string_view>& lines, int velocity, int transpose = 0);

/// Standard drum kit.
enum Drum {
  kKick = 36,
  kSideStick = 37,
  kSnare = 38,
  kLowTom = 45,
  kClosedHat = 42,
  kPedalHat = 44,
  kOpenHat = 46,
  kMidTom = 47,
  kCrash = 49,
  kHighTom = 50,
  kRide = 51,
  kTambourine = 54,
  kCabasa = 69,
  kShaker = 70,
  kHighWoodBlock = 76,
  kTriangle = 81,
};

}  // namespace vexolo::songs
