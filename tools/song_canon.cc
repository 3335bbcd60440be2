// Johann Pachelbel (1653-1706), Canon in D, for sixteen channels.
#include <array>
#include <string>

#include "song_list.h"
#include "song_parts.h"

namespace vexolo::songs {
namespace {

constexpr Tick kCycle = 16 * kBeat;  ///< eight half notes of the ground
constexpr int kCycles = 8;
constexpr int kFinale = 6;  ///< the cycle before which everything is reset
constexpr Tick kPause = 2 * kBeat;

/// Where a cycle of the ground starts; the last two come after the pause.
constexpr Tick Cycle(int number) {
  return kBeat + number * kCycle + (number >= kFinale ? kPause : 0);
}

constexpr Tick kReset = Cycle(kFinale) - kBeat;
constexpr Tick kLastChord = Cycle(kCycles);
constexpr Tick kEnd = kLastChord + 8 * kBeat;

constexpr std::string_view kGroundChords = "D:2 A Bm F#m G D G A ";
constexpr std::string_view kGround = "D3:2 A2 B2 F#2 G2 D2 G2 A2";

/// What each voice of the canon plays, one cycle each; every voice starts a cycle after the one
/// before it.
constexpr std::array<std::string_view, 6> kCanon = {
    "F#5:2 E5 D5 C#5 B4 A4 B4 C#5",
    "D5:2 C#5 B4 A4 G4 F#4 G4 E4",
    "D5:1 F#5 A5 G5 F#5 D5 F#5 E5 D5 B4 D5 A5 G5 B5 A5 G5",
    "A5:.5 F#5:.25 G5 A5:.5 F#5:.25 G5 A5 A4 B4 C#5 D5 E5 F#5 G5 "
    "F#5:.5 D5:.25 E5 F#5:.5 F#4:.25 G4 A4 B4 A4 G4 A4 F#4 G4 A4 "
    "G4:.5 B4:.25 A4 G4:.5 F#4:.25 E4 F#4 E4 D4 E4 F#4 G4 A4 B4 "
    "G4:.5 B4:.25 A4 B4:.5 C#5:.25 D5 A4 B4 C#5 D5 E5 F#5 G5 A5",
    "D5:.5 C#5 D5 D4 C#4 A4 E4 F#4 D4 D5 C#5 B4 C#5 F#5 A5 B5 "
    "G5 F#5 E5 G5 F#5 E5 D5 C#5 B4 A4 G4 F#4 E4 G4 F#4 E4",
    "F#5:2 E5 D5 C#5 B4 A4 B4 C#5"};

constexpr std::string_view kDescant = "A5:2 A5 F#5 F#5 D5 D5 D5 E5";
constexpr std::string_view kTrombone = "F#3:2 E3 D3 C#3 B2 A2 B2 C#3";

/// Channel 0 first; the drums' place among them is theirs.
constexpr std::array<Sound, 16> kSounds = {{
    {.program = 40, .volume = 108, .pan = 30, .expression = 115, .reverb = 60, .chorus = 0},
    {.program = 40, .volume = 108, .pan = 98, .expression = 115, .reverb = 60, .chorus = 0},
    {.program = 73, .volume = 98, .pan = 64, .expression = 115, .reverb = 60, .chorus = 0},
    {.program = 6, .volume = 78, .pan = 48, .expression = 110, .reverb = 40, .chorus = 5},
    {.program = 48, .volume = 88, .pan = 40, .expression = 90, .reverb = 70, .chorus = 20},
    {.program = 49, .volume = 86, .pan = 88, .expression = 90, .reverb = 70, .chorus = 20},
    {.program = 52, .volume = 92, .pan = 64, .expression = 90, .reverb = 80, .chorus = 20},
    {.program = 60, .volume = 82, .pan = 78, .expression = 100, .reverb = 65, .chorus = 0},
    {.program = 19, .volume = 74, .pan = 64, .expression = 90, .reverb = 75, .chorus = 10},
    {.program = 0, .volume = 84, .pan = 64, .expression = 110, .reverb = 50, .chorus = 0},
    {.program = 42, .volume = 94, .pan = 74, .expression = 115, .reverb = 45, .chorus = 0},
    {.program = 43, .volume = 94, .pan = 60, .expression = 115, .reverb = 35, .chorus = 0},
    {.program = 46, .volume = 84, .pan = 24, .expression = 110, .reverb = 65, .chorus = 10},
    {.program = 68, .volume = 94, .pan = 54, .expression = 112, .reverb = 60, .chorus = 0},
    {.program = 57, .volume = 70, .pan = 84, .expression = 105, .reverb = 55, .chorus = 0},
    {.program = 89, .volume = 76, .pan = 64, .expression = 95, .reverb = 70, .chorus = 45},
}};

constexpr std::array<const char*, 16> kNames = {
    "Violin I", "Violin II",     "Flute",     "Harpsichord", "Strings", "Slow strings",
    "Choir",    "Horns",         "Organ",     "Percussion",  "Cello",   "Double bass",
    "Harp",     "Oboe, trumpet", "Trombones", "Pad"};

/// Sound, bend range and tuning of a channel: at the start and again after the reset.
void SetUp(Track& track, Tick tick) {
  track.Set(tick, kSounds[static_cast<std::size_t>(track.channel())]);
  const bool slides = track.channel() == 14;
  track.Rpn(tick, 0, slides ? 12 : 2, 0);
  const bool pad = track.channel() == 15 || track.channel() == 5;
  track.Rpn(tick, 1, 64, pad ? 64 : 0);                    // a few cents sharp against the others
  track.Rpn(tick, 2, track.channel() == 11 ? 52 : 64, 0);  // the double bass sounds an octave down
  track.Bend(tick, 0);
}

std::vector<Chord> AllChords() {
  std::vector<Chord> chords;
  for (int cycle = 0; cycle < kCycles; ++cycle)
    for (const Chord& chord : ParseChords(kGroundChords, Cycle(cycle))) chords.push_back(chord);
  chords.push_back(ParseChords("D:8", kLastChord).front());
  return chords;
}

/// Louder and softer in the course of each chord, on the very ticks of the notes.
void Breathe(Track& track, int from_cycle, int low, int high) {
  for (int cycle = from_cycle; cycle < kCycles; ++cycle) {
    track.Ramp(Cycle(cycle), Cycle(cycle) + kCycle / 2, kExpression, low, high, 9);
    track.Ramp(Cycle(cycle) + kCycle / 2 + kBeat, Cycle(cycle) + kCycle - kBeat, kExpression, high,
               low, 7);
  }
  track.Ramp(kLastChord, kEnd - kBeat / 2, kExpression, high, low / 2, 16);
}

/// A slow vibrato on the second half of a long note.
void Vibrato(Track& track, Tick from, Tick to) {
  constexpr std::array kWave = {0, 500, 800, 500, 0, -500, -800, -500};
  constexpr Tick kStep = kBeat / 32;
  std::size_t place = 0;
  for (Tick tick = from; tick < to; tick += kStep) track.Bend(tick, kWave[place++ % kWave.size()]);
  track.Bend(to, 0);
}

/// Slides into a note from `depth` below it.
void SlideInto(Track& track, Tick tick, int depth, Tick length) {
  constexpr int kSteps = 16;
  for (int i = 0; i <= kSteps; ++i)
    track.Bend(tick + length * i / kSteps, -depth + depth * i / kSteps);
}

/// A voice of the canon that enters in cycle `entry`.
void PlayCanon(Track& track, int entry, int velocity, int transpose) {
  for (int cycle = entry; cycle < kCycles; ++cycle) {
    const auto part = static_cast<std::size_t>((cycle - entry) % static_cast<int>(kCanon.size()));
    const Tick start = Cycle(cycle);
    PlayLine(track, kCanon[part], start, velocity + (cycle >= kFinale ? 8 : 0), transpose, 12);
    for (const LineNote& note : ParseLine(kCanon[part])) {
      if (note.length < 2 * kBeat) continue;
      Vibrato(track, start + note.start + kBeat, start + note.start + note.length - kBeat / 8);
    }
  }
}

void PlaySolo(Track& track, int channel) {
  constexpr std::array kEntries = {1, 2, 3};
  constexpr std::array kLastKeys = {"A5", "F#5", "D6"};
  const auto voice = static_cast<std::size_t>(channel);
  PlayCanon(track, kEntries[voice], channel == 2 ? 80 : 76, 0);
  const int key = KeyOf(kLastKeys[voice]);
  track.Note(kLastChord, kEnd - kLastChord, key, 84);
  Vibrato(track, kLastChord + kBeat, kEnd - kBeat);
  track.Ramp(kLastChord, kEnd - kBeat / 2, kExpression, 115, 50, 16);
}

/// Sustained chords that run into each other.
void PlayLayer(Track& track, const std::vector<Chord>& chords, int from_cycle, const char* low,
               int velocity, int voices) {
  PlayPad(track, chords, Cycle(from_cycle), kEnd,
          {.low = KeyOf(low), .velocity = velocity, .voices = voices});
}

void PlayGround(Track& track) {
  for (int cycle = 0; cycle < kCycles; ++cycle)
    PlayLine(track, kGround, Cycle(cycle), cycle >= kFinale ? 96 : 82, 0, 16);
  track.Note(kLastChord, kEnd - kLastChord, KeyOf("D2"), 92);
}

void PlayHarpsichord(Track& track, const std::vector<Chord>& chords) {
  const Touch touch{.low = KeyOf("A3"), .velocity = 70, .voices = 5};
  PlayChords(track, chords, {Cycle(0), Cycle(3)}, "0214", touch);
  PlayChords(track, chords, {Cycle(3), Cycle(kFinale) - kPause, kBeat / 4}, "02132413", touch);
  PlayChords(track, chords, {Cycle(kFinale), kLastChord}, "x-2x-x-3", touch);
  PlayChords(track, chords, {kLastChord, kEnd, 8 * kBeat}, "x",
             {.low = KeyOf("A3"), .velocity = 80, .voices = 6, .strum = 40});
}

void PlayHarp(Track& track, const std::vector<Chord>& chords) {
  const Touch touch{.low = KeyOf("D3"), .velocity = 66, .voices = 9};
  PlayChords(track, chords, {Cycle(1), Cycle(4)}, "0246", touch);
  PlayChords(track, chords, {Cycle(4), Cycle(kFinale) - kPause}, "0357", touch);
  PlayChords(track, chords, {Cycle(kFinale), kLastChord}, "0468", touch);
  PlayChords(track, chords, {kLastChord, kEnd, 8 * kBeat}, "x",
             {.low = KeyOf("D3"), .velocity = 76, .voices = 12, .strum = 60});
}

/// Oboe, then clarinet, then trumpet: each change on the tick of the first note that it plays.
void PlayOboe(Track& track) {
  PlayLine(track, kCanon[1], Cycle(2), 66, 0, 16);
  track.Program(Cycle(4), 71);
  PlayLine(track, kCanon[0], Cycle(4), 70, 0, 16);
  PlayLine(track, kCanon[1], Cycle(5), 72, 0, 16);
  track.Program(Cycle(kFinale), 56);
  PlayLine(track, kDescant, Cycle(kFinale), 84, 0, 16);
  PlayLine(track, kDescant, Cycle(kFinale + 1), 90, 0, 16);
  track.Note(kLastChord, kEnd - kLastChord, KeyOf("F#5"), 88);
  track.Ramp(kLastChord, kEnd - kBeat / 2, kExpression, 112, 40, 16);
}

void PlayTrombones(Track& track, const std::vector<Chord>& chords) {
  PlayLine(track, kTrombone, Cycle(4), 66, 0, 16);
  PlayLine(track, kTrombone, Cycle(5), 70, 0, 16);
  SlideInto(track, Cycle(4), 1365, kBeat / 2);
  SlideInto(track, Cycle(5), 1365, kBeat / 2);
  PlayPad(track, chords, Cycle(kFinale), kEnd, {.low = KeyOf("A2"), .velocity = 72, .voices = 3},
          16);
  SlideInto(track, Cycle(kFinale), 3413, kBeat / 2);
  SlideInto(track, kLastChord, 1365, kBeat / 2);
  track.Ramp(kLastChord, kEnd - kBeat / 2, kExpression, 105, 40, 16);
}

void PlayPercussion(Track& track) {
  PlayDrum(track, {Cycle(2), Cycle(4), kBeat}, kTriangle, "x.......", 54);
  PlayDrum(track, {Cycle(4), Cycle(kFinale) - kPause}, kRide, "x...x.x.", 54);
  PlayDrum(track, {Cycle(4), Cycle(kFinale) - kPause}, kKick, "x.......x.....x.", 70);
  PlayDrum(track, {Cycle(5), Cycle(kFinale) - kPause}, kTambourine, "..x...x.", 52);
  PlayDrum(track, {Cycle(kFinale), kLastChord}, kKick, "x...x...x...x.x.", 86);
  PlayDrum(track, {Cycle(kFinale), kLastChord}, kSnare, "..x...x...x...xo", 66);
  PlayDrum(track, {Cycle(kFinale), kLastChord}, kTambourine, "x.xxx.xx", 58);
  PlayDrum(track, {Cycle(kFinale), kLastChord, 8 * kBeat}, kCrash, "x", 76);
  PlayDrum(track, {kLastChord - 2 * kBeat, kLastChord, kBeat / 4}, kLowTom, "x.xxxxXX", 80);
  track.Note(kLastChord, kBeat, kCrash, 84);
  track.Note(kLastChord, kBeat, kKick, 90);
}

/// Layers: the channels that hold the harmony.
void PlayLayers(Track& track, const std::vector<Chord>& chords) {
  switch (track.channel()) {
    case 4:
      PlayLayer(track, chords, 0, "D3", 66, 4);
      return Breathe(track, 0, 74, 106);
    case 5:
      PlayLayer(track, chords, 0, "A3", 64, 3);
      return Breathe(track, 0, 70, 104);
    case 6:
      PlayLayer(track, chords, 1, "F#3", 68, 3);
      return Breathe(track, 1, 70, 110);
    case 7:
      PlayLayer(track, chords, 2, "A2", 70, 3);
      return Breathe(track, 2, 76, 104);
    case 8:
      PlayLayer(track, chords, 0, "D3", 64, 4);
      return Breathe(track, 0, 70, 100);
    default:
      PlayLayer(track, chords, 0, "A3", 66, 3);
      return Breathe(track, 0, 70, 104);
  }
}

Track Channel(int channel, const std::vector<Chord>& chords) {
  Track track(kNames[static_cast<std::size_t>(channel)], channel);
  SetUp(track, 0);
  SetUp(track, kReset);
  switch (channel) {
    case 0:
    case 1:
    case 2:
      PlaySolo(track, channel);
      break;
    case 3:
      PlayHarpsichord(track, chords);
      break;
    case 9:
      PlayPercussion(track);
      break;
    case 10:
    case 11:
      PlayGround(track);
      break;
    case 12:
      PlayHarp(track, chords);
      break;
    case 13:
      PlayOboe(track);
      break;
    case 14:
      PlayTrombones(track, chords);
      break;
    default:
      PlayLayers(track, chords);
  }
  return track;
}

Track Conductor() {
  Track track("Canon in D (Johann Pachelbel)", 0);
  track.TimeSignature(0, 4, 2);
  track.SystemExclusive(0, std::string("\x7E\x7F\x09\x01", 4));  // General MIDI on
  track.Tempo(0, 72);
  track.Tempo(Cycle(kFinale) - kPause - 2 * kBeat, 62);
  track.SystemExclusive(kReset, std::string("\x41\x10\x42\x12\x40\x00\x7F\x00\x41", 9));  // GS
  track.Tempo(Cycle(kFinale), 70);
  track.Tempo(kLastChord - 2 * kBeat, 58);
  return track;
}

}  // namespace

Song MakeCanon() {
  const std::vector<Chord> chords = AllChords();
  Song song{"canon.mid", 1, {Conductor()}};
  for (int channel = 0; channel < 16; ++channel) song.tracks.push_back(Channel(channel, chords));
  return song;
}

}  // namespace vexolo::songs
