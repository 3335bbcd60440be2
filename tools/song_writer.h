/// Writes standard MIDI files: notes, controllers and texts in, bytes out.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vexolo::songs {

using Tick = std::int32_t;

inline constexpr Tick kBeat = 480;  ///< ticks per quarter note, the division of every song

/// A length in quarter notes as ticks, rounded to the nearest tick.
Tick Beats(double quarters);

/// The 8-bit code pages in which karaoke files are met.
enum class CodePage { kWindows1252, kDos850, kMacRoman };

/// Text in one of the code pages. Throws std::invalid_argument for a character that the code page
/// lacks, and for one that no song needs.
std::string Encode(std::string_view utf8, CodePage code_page);

enum MetaType : std::uint8_t { kText = 1, kTrackName = 3, kLyric = 5 };

enum Controller : std::uint8_t {
  kModulation = 1,
  kDataEntry = 6,
  kVolume = 7,
  kPan = 10,
  kExpression = 11,
  kDataEntryFine = 38,
  kSustain = 64,
  kReverbSend = 91,
  kChorusSend = 93,
  kRpnFine = 100,
  kRpnCoarse = 101,
};

/// An event ready for the file, without its time.
struct Event {
  Tick tick;
  int rank;  ///< order at the same tick: releases, meta, system exclusive, controllers, words,
             ///< notes
  std::string bytes;
};

/// The sound of a channel: what a song sets before the channel's first note.
struct Sound {
  int program = 0;
  int volume = 100;
  int pan = 64;
  int expression = 127;
  int reverb = 40;
  int chorus = 0;
};

/// One track. Its channel messages all go to one channel.
class Track {
 public:
  Track(std::string name, int channel) : name_(std::move(name)), channel_(channel) {}

  const std::string& name() const { return name_; }
  int channel() const { return channel_; }

  /// A note with its release. A key that still sounds when it is struck again is released first.
  void Note(Tick tick, Tick length, int key, int velocity);
  void Control(Tick tick, Controller controller, int value);
  void Program(Tick tick, int program);
  void Bend(Tick tick, int value);  ///< -8192..8191, 0 = none
  void Set(Tick tick, const Sound& sound);

  /// A registered parameter: its number, its coarse and its fine value, and the closing null
  /// number.
  void Rpn(Tick tick, int number, int coarse, int fine);

  /// A controller led in a straight line from one value to another, `steps` values in all.
  void Ramp(Tick from, Tick to, Controller controller, int first, int last, int steps);

  void Meta(Tick tick, MetaType type, std::string_view bytes);
  void Tempo(Tick tick, double beats_per_minute);
  void TimeSignature(Tick tick, int numerator, int denominator_power);
  void SystemExclusive(Tick tick,
                       std::string_view bytes);  ///< between 0xF0 and 0xF7, both left out

  /// All events in the order of the file, its name first.
  std::vector<Event> Events() const;

 private:
  struct SoundingNote {
    Tick tick;
    Tick length;
    int key;
    int velocity;
  };
  std::string name_;
  int channel_;
  std::vector<SoundingNote> notes_;
  std::vector<Event> events_;
};

/// A song: format 1 keeps its tracks, format 0 merges them into one (named after the first).
struct Song {
  std::string file_name;
  int format = 1;
  std::vector<Track> tracks;
};

/// The bytes of the file.
std::string Serialize(const Song& song);

}  // namespace vexolo::songs
