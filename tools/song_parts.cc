#include "song_parts.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>

namespace vexolo::songs {
namespace {

constexpr int kAccent = 14;
constexpr int kOctave = 12;

struct Quality {
  std::string_view name;
  std::array<int, 4> intervals;  ///< above the root; -1 = none
};

constexpr std::array kQualities = {
    Quality{"", {0, 4, 7, -1}},   Quality{"m", {0, 3, 7, -1}},    Quality{"7", {0, 4, 7, 10}},
    Quality{"m7", {0, 3, 7, 10}}, Quality{"maj7", {0, 4, 7, 11}}, Quality{"6", {0, 4, 7, 9}},
    Quality{"m6", {0, 3, 7, 9}},  Quality{"sus4", {0, 5, 7, -1}}, Quality{"dim", {0, 3, 6, -1}},
};

/// Takes the next blank-separated word off the text; empty at its end.
std::string_view NextWord(std::string_view& text) {
  const std::size_t begin = std::min(text.find_first_not_of(' '), text.size());
  const std::size_t end = std::min(text.find(' ', begin), text.size());
  const std::string_view word = text.substr(begin, end - begin);
  text.remove_prefix(end);
  return word;
}

/// Splits "NAME:LENGTH"; keeps `length` where none is given.
std::string_view SplitLength(std::string_view word, Tick& length) {
  const std::size_t colon = word.find(':');
  if (colon != std::string_view::npos)
    length = Beats(std::strtod(std::string(word.substr(colon + 1)).c_str(), nullptr));
  return word.substr(0, colon);
}

/// Takes a letter with its sharp or flat off a name; its pitch class.
int TakePitchClass(std::string_view& name) {
  constexpr std::string_view kNames = "C D EF G A B";
  const std::size_t place = name.empty() ? std::string_view::npos : kNames.find(name[0]);
  if (place == std::string_view::npos || name[0] == ' ')
    throw std::invalid_argument("not a note: " + std::string(name));
  int pitch_class = static_cast<int>(place);
  name.remove_prefix(1);
  if (!name.empty() && (name[0] == '#' || name[0] == 'b')) {
    pitch_class += name[0] == '#' ? 1 : -1;
    name.remove_prefix(1);
  }
  return (pitch_class + kOctave) % kOctave;
}

const Chord* ChordAt(const std::vector<Chord>& chords, Tick tick) {
  for (const Chord& chord : chords)
    if (tick >= chord.start && tick < chord.start + chord.length) return &chord;
  return nullptr;
}

/// The lowest key of a pitch class that is not below `low`.
int KeyFrom(int pitch_class, int low) {
  return low + ((pitch_class - low) % kOctave + kOctave) % kOctave;
}

/// A step of a pattern that is struck, and how long it lasts.
struct Stroke {
  Tick tick;
  Tick length;
  char letter;
};

std::vector<Stroke> Strokes(const Passage& passage, std::string_view pattern) {
  std::vector<Stroke> strokes;
  std::size_t step = 0;
  bool sounding = false;
  for (Tick tick = passage.from; tick < passage.to; tick += passage.step, ++step) {
    const char letter = pattern[step % pattern.size()];
    if (letter == '-') {
      if (sounding) strokes.back().length += passage.step;
      continue;
    }
    sounding = letter != '.';
    if (sounding) strokes.push_back({tick, passage.step, letter});
  }
  return strokes;
}

/// Kept inside the chord that it belongs to, and off the next stroke by a little.
Tick Sounding(const Stroke& stroke, const Chord& chord) {
  return std::min(stroke.length, chord.start + chord.length - stroke.tick) - kBeat / 40;
}

/// The half tone below the next chord's root leads somewhere only right before that chord;
/// elsewhere the fifth stands in for it.
int LeadingKey(const Stroke& stroke, const Chord& chord, const Chord* next, int low) {
  const bool last = stroke.tick + stroke.length >= chord.start + chord.length;
  if (next == nullptr || !last || next->classes[0] == chord.classes[0])
    return KeyFrom(chord.classes[2], low);
  return std::max(KeyFrom(next->classes[0], low) - 1, low);
}

int BassKey(const Stroke& stroke, const Chord& chord, const Chord* next, int low) {
  const int root = KeyFrom(chord.classes[0], low);
  switch (stroke.letter) {
    case 'R':
      return root;
    case '3':
      return KeyFrom(chord.classes[1], low);
    case '5':
      return KeyFrom(chord.classes[2], low);
    case '8':
      return root + kOctave;
    case 'a':
      return LeadingKey(stroke, chord, next, low);
    default:
      throw std::invalid_argument("not a bass step");
  }
}

std::vector<std::string_view> SplitSyllables(std::string_view line) {
  std::vector<std::string_view> syllables;
  for (;;) {
    const std::size_t bar = line.find('|');
    syllables.push_back(line.substr(0, bar));
    if (bar == std::string_view::npos) return syllables;
    line.remove_prefix(bar + 1);
  }
}

/// All syllables of a verse with their break signs.
std::vector<std::string> MarkedSyllables(const std::vector<std::string_view>& lines,
                                         Breaks breaks) {
  std::vector<std::string> marked;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::size_t first = marked.size();
    for (const std::string_view syllable : SplitSyllables(lines[i])) marked.emplace_back(syllable);
    if (breaks == Breaks::kMarks) {
      marked[first].insert(marked[first].begin(), i == 0 ? '\\' : '/');
    } else {
      marked.back() += i + 1 == lines.size() ? "\r\n" : "\n";
    }
  }
  return marked;
}

}  // namespace

int KeyOf(std::string_view name) {
  std::string_view rest = name;
  const int pitch_class = TakePitchClass(rest);
  if (rest.size() != 1 || rest[0] < '0' || rest[0] > '9')
    throw std::invalid_argument("not a note: " + std::string(name));
  return kOctave * (rest[0] - '0' + 1) + pitch_class;
}

std::vector<LineNote> ParseLine(std::string_view text) {
  std::vector<LineNote> notes;
  Tick now = 0;
  Tick length = kBeat;
  for (std::string_view word = NextWord(text); !word.empty(); word = NextWord(text)) {
    const std::string_view name = SplitLength(word, length);
    if (name != "r") notes.push_back({now, length, KeyOf(name)});
    now += length;
  }
  return notes;
}

Tick LineLength(std::string_view text) {
  Tick now = 0;
  Tick length = kBeat;
  for (std::string_view word = NextWord(text); !word.empty(); word = NextWord(text)) {
    SplitLength(word, length);
    now += length;
  }
  return now;
}

std::vector<Chord> ParseChords(std::string_view text, Tick start, int transpose) {
  std::vector<Chord> chords;
  Tick length = 4 * kBeat;
  for (std::string_view word = NextWord(text); !word.empty(); word = NextWord(text)) {
    std::string_view name = SplitLength(word, length);
    const int root = TakePitchClass(name) + transpose;
    const auto quality = std::find_if(kQualities.begin(), kQualities.end(),
                                      [name](const Quality& each) { return each.name == name; });
    if (quality == kQualities.end())
      throw std::invalid_argument("not a chord: " + std::string(word));
    Chord chord{start, length, {}};
    for (const int interval : quality->intervals)
      if (interval >= 0) chord.classes.push_back((root + interval + kOctave) % kOctave);
    chords.push_back(std::move(chord));
    start += length;
  }
  return chords;
}

int Humanise(int velocity, int channel, Tick tick, int key, int range) {
  auto mix = static_cast<std::uint32_t>(tick) * 2654435761u +
             static_cast<std::uint32_t>(key) * 97u +
             static_cast<std::uint32_t>(channel) * 1013904223u;
  mix ^= mix >> 15;
  mix *= 2246822519u;
  mix ^= mix >> 13;
  const int shift = static_cast<int>(mix % static_cast<std::uint32_t>(2 * range + 1)) - range;
  return std::clamp(velocity + shift, 1, 127);
}

std::vector<int> Voicing(const Chord& chord, int low, int voices) {
  std::vector<int> keys;
  for (const int pitch_class : chord.classes) keys.push_back(KeyFrom(pitch_class, low));
  std::sort(keys.begin(), keys.end());
  const std::size_t size = keys.size();
  for (std::size_t i = size; i < static_cast<std::size_t>(voices); ++i)
    keys.push_back(keys[i - size] + kOctave);
  keys.resize(static_cast<std::size_t>(voices));
  return keys;
}

void PlayChords(Track& track, const std::vector<Chord>& chords, const Passage& passage,
                std::string_view pattern, const Touch& touch) {
  for (const Stroke& stroke : Strokes(passage, pattern)) {
    const Chord* chord = ChordAt(chords, stroke.tick);
    if (chord == nullptr) continue;
    const std::vector<int> keys = Voicing(*chord, touch.low, touch.voices);
    const Tick length = Sounding(stroke, *chord);
    const bool alone = stroke.letter >= '0' && stroke.letter <= '9';
    const int velocity = touch.velocity + (stroke.letter == 'X' ? kAccent : 0);
    Tick late = 0;
    for (std::size_t i = 0; i < keys.size(); ++i) {
      if (alone && i != static_cast<std::size_t>(stroke.letter - '0')) continue;
      track.Note(stroke.tick + late, length - late, keys[i],
                 Humanise(velocity, track.channel(), stroke.tick, keys[i]));
      if (!alone) late += touch.strum;
    }
  }
}

void PlayBass(Track& track, const std::vector<Chord>& chords, const Passage& passage,
              std::string_view pattern, int low, int velocity) {
  for (const Stroke& stroke : Strokes(passage, pattern)) {
    const Chord* chord = ChordAt(chords, stroke.tick);
    if (chord == nullptr) continue;
    const Chord* next = ChordAt(chords, chord->start + chord->length);
    const int key = BassKey(stroke, *chord, next, low);
    track.Note(stroke.tick, Sounding(stroke, *chord), key,
               Humanise(velocity, track.channel(), stroke.tick, key));
  }
}

void PlayPad(Track& track, const std::vector<Chord>& chords, Tick from, Tick to, const Touch& touch,
             Tick gap) {
  for (const Chord& chord : chords) {
    if (chord.start < from || chord.start >= to) continue;
    const Tick length = std::min(chord.length, to - chord.start) - gap;
    for (const int key : Voicing(chord, touch.low, touch.voices))
      track.Note(chord.start, length, key,
                 Humanise(touch.velocity, track.channel(), chord.start, key));
  }
}

void PlayDrum(Track& track, const Passage& passage, int key, std::string_view pattern,
              int velocity) {
  for (const Stroke& stroke : Strokes(passage, pattern)) {
    const int force = stroke.letter == 'X' ? kAccent : stroke.letter == 'o' ? -2 * kAccent : 0;
    track.Note(stroke.tick, passage.step / 2, key,
               Humanise(velocity + force, track.channel(), stroke.tick, key));
  }
}

void PlayLine(Track& track, std::string_view line, Tick start, int velocity, int transpose,
              Tick gap) {
  for (const LineNote& note : ParseLine(line)) {
    const Tick tick = start + note.start;
    const int key = note.key + transpose;
    track.Note(tick, std::max(note.length - gap, note.length / 2), key,
               Humanise(velocity, track.channel(), tick, key));
  }
}

void Sing(Track& melody, const Words& words, std::string_view line, Tick start,
          const std::vector<std::string_view>& lines, int velocity, int transpose) {
  const std::vector<LineNote> notes = ParseLine(line);
  const std::vector<std::string> syllables = MarkedSyllables(lines, words.breaks);
  if (notes.size() != syllables.size())
    throw std::invalid_argument("notes and syllables differ in number: " + std::string(lines[0]));
  PlayLine(melody, line, start, velocity, transpose);
  for (std::size_t i = 0; i < notes.size(); ++i)
    words.track->Meta(start + notes[i].start, words.type, Encode(syllables[i], words.code_page));
}

}  // namespace vexolo::songs
