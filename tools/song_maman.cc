// "Ah ! vous dirai-je, Maman", French tune first printed in 1761, with two texts sung to it.
#include <array>

#include "song_list.h"
#include "song_parts.h"

namespace vexolo::songs {
namespace {

constexpr Tick kBar = 4 * kBeat;
constexpr Tick kVerseLength = 12 * kBar;

constexpr Tick kVerse1 = 4 * kBar;
constexpr Tick kVariation = kVerse1 + kVerseLength;
constexpr Tick kVerse2 = kVariation + kVerseLength;
constexpr Tick kCoda = kVerse2 + kVerseLength;
constexpr Tick kLastChord = kCoda + 4 * kBar;
constexpr Tick kEnd = kLastChord + 2 * kBar;

constexpr std::string_view kTune =
    "F5:1 F5 C6 C6 D6 D6 C6:2 Bb5:1 Bb5 A5 A5 G5 G5 F5:2 "
    "C6:1 C6 Bb5 Bb5 A5 A5 G5:2 C6:1 C6 Bb5 Bb5 A5 A5 G5:2 "
    "F5:1 F5 C6 C6 D6 D6 C6:2 Bb5:1 Bb5 A5 A5 G5 G5 F5:2";

constexpr std::string_view kIntroChords = "F:2 Bb:2 F:2 C7:2 F:2 Bb:2 C7:4 ";
constexpr std::string_view kOuter1 = "F:4 Bb:2 F:2 C7:2 F:2 C7:2 F:2 ";
constexpr std::string_view kOuter2 = "F:2 F7:2 Bb:2 F:2 Gm:2 Dm:2 C7:2 F:2 ";
constexpr std::string_view kMiddle = "F:2 C7:2 F:2 C:2 F:2 C7:2 F:2 C7:2 ";
constexpr std::string_view kCodaChords = "Dm:2 Bb:2 Gm:2 C7:2 F:2 Bbm:2 F:2 C7:2 F:8 ";

constexpr std::string_view kIntroCelesta =
    "r:1 C6:.5 A5 Bb5:1 D6 C6:.5 A5 F5 A5 G5:1 E5 A5:.5 C6 F6:1 D6:.5 Bb5 F5:1 E5:.5 G5 Bb5 D6 "
    "C6:2";
constexpr std::string_view kVerse1Celesta =
    "r:6 A5:.5 C6 F6:1 r:6 A5:.5 G5 F5:1  r:6 E6:.5 D6 C6 Bb5 r:6 E5:.5 G5 Bb5 C6 "
    "r:6 A5:.5 C6 F6:1 r:6 A5:.5 G5 F5:1";
constexpr std::string_view kClarinetOuter =
    "A4:1 C5:.5 A4 Eb5:1 C5  D5 Bb4 C5 A4  Bb4 D5:.5 Bb4 A4:1 F4  G4:.5 E4 Bb4:1 A4:2 ";
constexpr std::string_view kClarinetMiddle =
    "A4:1 F4 G4 E4  F4:.5 G4 A4 C5 E5:1 C5  C5 A4 Bb4 G4  A4:.5 Bb4 C5 A4 G4:1 E4 ";
constexpr std::string_view kLowStrings =
    "A3:4 Bb3:2 A3 G3 F3 E3 F3  A3 G3 F3 E3 A3 Bb3 C4 Bb3  A3:4 Bb3:2 A3 G3 F3 E3 F3";
constexpr std::string_view kCodaFlute =
    "F5:1 A5 D6 Bb5  G5:.5 A5 Bb5:1 G5 E5  F5 C6 Db6 Bb5  A5:.5 F5 C6:1 E5 G5  F5:8";

const std::vector<std::string_view> kWords1 = {
    "Ah ! |vous |di|rai-|je, |Ma|man,",  "Ce |qui |cau|se |mon |tour|ment ?",
    "Pa|pa |veut |que |je |rai|sonne",   "Com|me u|ne |gran|de |per|sonne ;",
    "Moi, |je |dis |que |les |bon|bons", "Va|lent |mieux |que |la |rai|son."};
const std::vector<std::string_view> kWords2 = {
    "Quand |trois |pou|les |vont |aux |champs,", "La |pre|miè|re |va |de|vant,",
    "La |deu|xième |suit |la |pre|mière,",       "La |troi|sième |vient |la |der|nière,",
    "Quand |trois |pou|les |vont |aux |champs,", "La |pre|miè|re |va |de|vant."};

std::vector<Chord> AllChords() {
  std::string text(kIntroChords);
  for (const std::string_view outer : {kOuter1, kOuter1, kOuter2}) {
    text += outer;
    text += kMiddle;
    text += outer;
  }
  return ParseChords(text + std::string(kCodaChords), 0);
}

/// The key `degrees` steps of the scale of F major away from a key of that scale.
int Step(int key, int degrees) {
  constexpr std::array kScale = {0, 2, 4, 5, 7, 9, 10};  // C D E F G A Bb
  int degree = 0;
  while (kScale[static_cast<std::size_t>(degree)] != key % 12) ++degree;
  const int steps = key / 12 * 7 + degree + degrees;
  return steps / 7 * 12 + kScale[static_cast<std::size_t>(steps % 7)];
}

/// The tune in sixteenths: each quarter note is circled by its neighbours, and the second half of
/// a long note runs towards what follows.
void PlayFigures(Track& track, Tick start) {
  constexpr std::array kCircle = {1, 0, -1, 0};
  constexpr std::array kRun = {2, 4, 3, 1};
  constexpr Tick kSixteenth = kBeat / 4;
  for (const LineNote& note : ParseLine(kTune)) {
    for (Tick at = 0; at < note.length; at += kSixteenth) {
      const auto place = static_cast<std::size_t>(at / kSixteenth);
      const int degrees = place < 4 ? kCircle[place] : kRun[place - 4];
      const Tick tick = start + note.start + at;
      const int key = Step(note.key, degrees);
      const int velocity = place % 4 == 0 ? 104 : 90;
      track.Note(tick, kSixteenth - 8, key, Humanise(velocity, track.channel(), tick, key));
    }
  }
}

Track Conductor() {
  Track track("Ah ! vous dirai-je, Maman", 0);
  track.TimeSignature(0, 4, 2);
  track.Tempo(0, 108);
  track.Tempo(kVariation, 96);
  track.Tempo(kVerse2, 112);
  track.Tempo(kLastChord - kBar, 100);
  track.Tempo(kLastChord - 2 * kBeat, 88);
  return track;
}

Track Piano(const std::vector<Chord>& chords) {
  Track track("Piano", 0);
  track.Set(0, {.program = 0, .volume = 96, .pan = 58, .reverb = 40});
  const Touch left{.low = KeyOf("F3"), .velocity = 64, .voices = 3};
  PlayChords(track, chords, {0, kVerse1}, "0212", left);
  PlayChords(track, chords, {kVerse1, kVariation}, "0212x-1-0212x-..", left);
  const Touch under{.low = KeyOf("F3"), .velocity = 76, .voices = 3};
  PlayChords(track, chords, {kVariation, kVerse2}, "02120212", under);
  PlayFigures(track, kVariation);
  const Touch stride{.low = KeyOf("F3"), .velocity = 68, .voices = 4};
  PlayChords(track, chords, {kVerse2, kCoda}, "..X-..x-..X-.xx-", stride);
  PlayChords(track, chords, {kCoda, kLastChord}, "x--xx-x-", stride);
  PlayChords(track, chords, {kLastChord, kEnd, 8 * kBeat}, "x",
             {.low = KeyOf("F3"), .velocity = 76, .voices = 6, .strum = 30});
  return track;
}

Track Bass(const std::vector<Chord>& chords) {
  Track track("Contrebasse", 1);
  track.Set(0, {.program = 32, .volume = 104, .pan = 66, .reverb = 20});
  const int low = KeyOf("E2") - 12;
  PlayBass(track, chords, {2 * kBar, kVerse1}, "R---", low, 84);
  PlayBass(track, chords, {kVerse1, kVariation}, "R---5---R---R--a", low, 84);
  PlayBass(track, chords, {kVariation, kVerse2}, "R---....R---5-..", low, 86);
  PlayBass(track, chords, {kVerse2, kCoda, kBeat}, "R5R5R535", low, 94);
  PlayBass(track, chords, {kCoda, kLastChord}, "R-5-R--a", low, 92);
  PlayBass(track, chords, {kLastChord, kEnd, 8 * kBeat}, "R", low, 92);
  return track;
}

Track Pizzicato(const std::vector<Chord>& chords) {
  Track track(Encode("Cordes pincées", CodePage::kMacRoman), 2);
  track.Set(0, {.program = 45, .volume = 90, .pan = 40, .reverb = 50});
  const Touch touch{.low = KeyOf("A3"), .velocity = 66, .voices = 3};
  PlayChords(track, chords, {kVerse1 + 4 * kBar, kVariation}, "..x...x...x.xxx.", touch);
  PlayChords(track, chords, {kVariation + 4 * kBar, kVariation + 8 * kBar}, "x...x...x..xx...",
             touch);
  PlayChords(track, chords, {kVerse2, kCoda}, ".x.x.x.x.x.x.xxx", touch);
  return track;
}

/// The sung line and its words.
Track Voice(Track& words) {
  Track track("Chant", 3);
  track.Set(0, {.program = 73, .volume = 106, .pan = 64, .expression = 122, .reverb = 50});
  const Words how{&words, kLyric, CodePage::kMacRoman, Breaks::kFeeds};
  Sing(track, how, kTune, kVerse1, kWords1, 94);
  Sing(track, how, kTune, kVerse2, kWords2, 102);
  return track;
}

Track Strings(const std::vector<Chord>& chords) {
  Track track("Cordes", 4);
  track.Set(0, {.program = 48, .volume = 98, .pan = 72, .expression = 104, .reverb = 65});
  PlayLine(track, kLowStrings, kVerse1, 72);
  PlayPad(track, chords, kVariation, kVerse2, {.low = KeyOf("F3"), .velocity = 60, .voices = 3},
          20);
  PlayPad(track, chords, kVerse2 + 4 * kBar, kEnd,
          {.low = KeyOf("A3"), .velocity = 64, .voices = 4}, 20);
  track.Ramp(kCoda, kLastChord, kExpression, 96, 120, 12);
  track.Ramp(kLastChord + kBar, kEnd - kBeat / 2, kExpression, 120, 60, 10);
  return track;
}

Track Celesta() {
  Track track(Encode("Célesta", CodePage::kMacRoman), 5);
  track.Set(0, {.program = 8, .volume = 96, .pan = 92, .reverb = 60, .chorus = 10});
  PlayLine(track, kIntroCelesta, 0, 82);
  PlayLine(track, kVerse1Celesta, kVerse1, 72);
  PlayLine(track, kVerse1Celesta, kVerse2, 78);
  PlayLine(track, "r:1 C6:.5 D6 F6 A6 C7:1 F6:4", kLastChord, 76);
  return track;
}

Track Clarinet() {
  Track track("Clarinette", 6);
  track.Set(0, {.program = 71, .volume = 86, .pan = 34, .expression = 112, .reverb = 50});
  const std::string line =
      std::string(kClarinetOuter) + std::string(kClarinetMiddle) + std::string(kClarinetOuter);
  PlayLine(track, line, kVerse2, 78);
  PlayLine(track, kCodaFlute, kCoda, 84);
  return track;
}

void DrumFill(Track& track, Tick end) {
  const Passage fill{end - 2 * kBeat, end, kBeat / 4};
  PlayDrum(track, fill, kSnare, "xoxxX.xx", 70);
  PlayDrum(track, fill, kKick, "x...x...", 76);
}

Track Drums() {
  Track track("Batterie", 9);
  track.Set(0, {.program = 0, .volume = 88, .pan = 64, .reverb = 25});
  PlayDrum(track, {0, kVerse1, kBeat}, kTriangle, "x...", 58);
  PlayDrum(track, {kVerse1, kVariation}, kPedalHat, "..x...x.", 60);
  PlayDrum(track, {kVerse1 + 4 * kBar, kVariation}, kHighWoodBlock, "x...x.x.", 50);
  PlayDrum(track, {kVerse1, kVariation}, kKick, "x.......x.....x.", 66);
  PlayDrum(track, {kVariation, kVerse2, kBeat}, kTriangle, "x...x.x.", 46);
  PlayDrum(track, {kVerse2, kLastChord - 2 * kBeat}, kKick, "x...x...x...x.x.", 84);
  PlayDrum(track, {kVerse2, kLastChord - 2 * kBeat}, kSnare, "..x...x...x..ox.", 72);
  PlayDrum(track, {kVerse2, kLastChord}, kClosedHat, "xoxoxoxo", 60);
  PlayDrum(track, {kVerse2 + 8 * kBar, kLastChord}, kTambourine, "..x...x.", 58);
  for (const Tick end : {kVariation, kVerse2, kVerse2 + 4 * kBar, kCoda, kLastChord}) {
    DrumFill(track, end);
    if (end != kVariation) track.Note(end, kBeat, kCrash, Humanise(66, 9, end, kCrash));
  }
  track.Note(kLastChord, kBeat, kKick, 82);
  return track;
}

}  // namespace

Song MakeMaman() {
  const std::vector<Chord> chords = AllChords();
  Track words("Paroles", 3);
  for (const std::string_view header :
       {"@TAh ! vous dirai-je, Maman", "@TChanson traditionnelle française (1761)"})
    words.Meta(0, kLyric, Encode(header, CodePage::kMacRoman));
  Track voice = Voice(words);
  return {"ah-vous-dirai-je-maman.mid",
          0,
          {Conductor(), words, voice, Piano(chords), Bass(chords), Pizzicato(chords),
           Strings(chords), Celesta(), Clarinet(), Drums()}};
}

}  // namespace vexolo::songs
