// "À la claire fontaine", traditional, known in France and Canada since the 17th century.
#include "song_list.h"
#include "song_parts.h"

namespace vexolo::songs {
namespace {

constexpr Tick kBar = 4 * kBeat;

constexpr Tick kIntro = 0;
constexpr Tick kVerse1 = 4 * kBar;
constexpr Tick kVerse2 = 16 * kBar;
constexpr Tick kInterlude = 28 * kBar;
constexpr Tick kVerse3 = 30 * kBar;
constexpr Tick kVerse4 = 42 * kBar;
constexpr Tick kCoda = 54 * kBar;
constexpr Tick kLastChord = 56 * kBar;
constexpr Tick kEnd = 58 * kBar;

constexpr std::string_view kTune =
    "G4:2 G4:1 B4  B4 A4 B4 A4  G4:2 G4:1 B4  B4 A4 B4:2 "
    "B4:2 B4:1 A4  G4 B4 D5 B4  D5:2 D5:1 B4  G4 B4 A4:2 "
    "G4:2 G4:1 B4  B4 A4:.5 G4 B4:1 G4  B4:2 B4:1 A4:.5 G4  B4:1 A4 G4:2";
constexpr std::string_view kLastLine = "B4:2 B4:1 A4:.5 G4  B4:1 A4 G4:6";

constexpr std::string_view kVerseChords =
    "G:4 G:2 D:2 Em:4 G:1 D:1 G:2 G:3 D:1 Em:2 G:2 Bm:4 Em:2 D:2 "
    "G:4 Em:4 G:2 Em:1 C:1 D:2 G:2 ";
constexpr std::string_view kIntroChords = "G:4 Em:4 C:2 D:2 G:4 ";
constexpr std::string_view kInterludeChords = "C:2 G:2 Am:2 D7:2 ";
constexpr std::string_view kCodaChords = "G:2 Em:1 C:1 D:2 G:10 ";

constexpr std::string_view kIntroFlute =
    "r:2 D5:1 G5 B5:1.5 A5:.5 G5:2 E5:1.5 G5:.5 F#5:1 A5 G5:3 r:1";
constexpr std::string_view kHighCounter =
    "D5:4  D5:2 F#5  G5:3 E5:1  D5 F#5 G5:2  B5:2 G5:1 F#5  G5 E5 D5:2 "
    "F#5:2 D5:1 F#5  E5:2 F#5:1 A5  B5:2 A5:.5 G5 D5:1  G5:1.5 F#5:.5 E5:2  D5:2 G5:1 E5  F#5 A5 "
    "G5:2";
constexpr std::string_view kLowCounter =
    "G3:2 B3  D4 A3  E3 G3  B3:1 A3 G3:2  D4:3 A3:1  G3:2 B3  D4 B3  E4 F#3 "
    "D4:4  B3:2 G3  B3 G3:1 E3  F#3:2 G3";
constexpr std::string_view kInterludeFlute = "E5:1 G5:.5 E5 D5:1 B4 C5 E5:.5 D5 A5:1 F#5";

const std::vector<std::string_view> kWords1 = {"À |la |clai|re |fon|tai|ne",
                                               "M'en |al|lant |pro|me|ner,",
                                               "J'ai |trou|vé |l'eau |si |bel|le",
                                               "Que |je |m'y |suis |bai|gné.",
                                               "Il |y a |long|temps |que |je |t'ai|me,",
                                               "Ja|mais |je |ne |t'ou|blie|rai."};
const std::vector<std::string_view> kWords2 = {
    "Sous |les |feuil|les |d'un |chê|ne",     "Je |me |suis |fait |sé|cher,",
    "Sur |la |plus |hau|te |bran|che",        "Un |ros|si|gnol |chan|tait.",
    "Il |y a |long|temps |que |je |t'ai|me,", "Ja|mais |je |ne |t'ou|blie|rai."};
const std::vector<std::string_view> kWords3 = {"Chan|te, |ros|si|gnol, |chan|te,",
                                               "Toi |qui |as |le |cœur |gai ;",
                                               "Tu |as |le |cœur |à |ri|re,",
                                               "Moi |je |l'ai |à |pleu|rer.",
                                               "Il |y a |long|temps |que |je |t'ai|me,",
                                               "Ja|mais |je |ne |t'ou|blie|rai."};
const std::vector<std::string_view> kWords4 = {"J'ai |per|du |mon |a|mi|e",
                                               "Sans |l'a|voir |mé|ri|té,",
                                               "Pour |un |bou|quet |de |ro|ses",
                                               "Que |je |lui |re|fu|sai.",
                                               "Il |y a |long|temps |que |je |t'ai|me,",
                                               "Ja|mais |je |ne |t'ou|blie|rai."};
const std::vector<std::string_view> kWordsCoda = {"Ja|mais |je |ne |t'ou|blie|rai."};

std::vector<Chord> AllChords() {
  const std::string verse(kVerseChords);
  return ParseChords(std::string(kIntroChords) + verse + verse + std::string(kInterludeChords) +
                         verse + verse + std::string(kCodaChords),
                     0);
}

Track Conductor() {
  Track track(Encode("À la claire fontaine", CodePage::kWindows1252), 0);
  track.TimeSignature(0, 4, 2);
  track.Tempo(kIntro, 100);
  track.Tempo(kInterlude + 6 * kBeat, 90);
  track.Tempo(kVerse3, 84);
  track.Tempo(kVerse4, 100);
  track.Tempo(kCoda - 2 * kBeat, 90);
  track.Tempo(kCoda, 80);
  track.Tempo(kCoda + kBar, 70);
  return track;
}

Track Guitar(const std::vector<Chord>& chords) {
  Track track("Guitare", 0);
  track.Set(0, {.program = 24, .volume = 96, .pan = 44, .reverb = 45, .chorus = 10});
  const Touch picked{.low = KeyOf("B2"), .velocity = 72, .voices = 5};
  PlayChords(track, chords, {kIntro, kVerse2}, "02132413", picked);
  PlayChords(track, chords, {kVerse2, kVerse3}, "0-2132x-", picked);
  PlayChords(track, chords, {kVerse3, kVerse4}, "0213241302132413", picked);
  const Touch strummed{.low = KeyOf("B2"), .velocity = 58, .voices = 5, .strum = 12};
  PlayChords(track, chords, {kVerse4, kCoda}, "X-xx-xxxX-xx-x-x", strummed);
  PlayChords(track, chords, {kCoda, kLastChord - 2 * kBeat}, "0213", picked);
  PlayChords(track, chords, {kLastChord - 2 * kBeat, kEnd, 10 * kBeat}, "x",
             {.low = KeyOf("B2"), .velocity = 74, .voices = 6, .strum = 40});
  return track;
}

Track Bass(const std::vector<Chord>& chords) {
  Track track("Basse", 1);
  track.Set(0, {.program = 32, .volume = 100, .pan = 64, .reverb = 15});
  const int low = KeyOf("E2") - 12;
  PlayBass(track, chords, {kIntro + 2 * kBar, kVerse1}, "R---5---", low, 84);
  PlayBass(track, chords, {kVerse1, kVerse2}, "R---5---R---R-5-", low, 84);
  PlayBass(track, chords, {kVerse2, kVerse3}, "R--R5--aR--R5-R-", low, 88);
  PlayBass(track, chords, {kVerse3, kVerse4}, "R-------R---5---", low, 80);
  PlayBass(track, chords, {kVerse4, kCoda}, "R--R5-8-R--R5--a", low, 92);
  PlayBass(track, chords, {kCoda, kLastChord - 2 * kBeat}, "R---", low, 82);
  PlayBass(track, chords, {kLastChord - 2 * kBeat, kEnd, 10 * kBeat}, "R", low, 86);
  return track;
}

Track Piano(const std::vector<Chord>& chords) {
  Track track("Piano", 2);
  track.Set(0, {.program = 0, .volume = 92, .pan = 82, .reverb = 40, .chorus = 5});
  const Touch touch{.low = KeyOf("F#3"), .velocity = 62, .voices = 4};
  PlayChords(track, chords, {kVerse2, kVerse3}, "x--x--x-x---x-x-", touch);
  PlayChords(track, chords, {kVerse3 + 8 * kBar, kVerse4}, "x-------", touch);
  PlayChords(track, chords, {kVerse4, kCoda}, "X--x-xx-X-x--x-x", touch);
  PlayChords(track, chords, {kCoda, kLastChord - 2 * kBeat}, "x---", touch);
  PlayChords(track, chords, {kLastChord - 2 * kBeat, kEnd, 10 * kBeat}, "x",
             {.low = KeyOf("G3"), .velocity = 64, .voices = 5, .strum = 50});
  return track;
}

/// The sung line and its words.
Track Voice(Track& words) {
  Track track("Chant", 3);
  track.Set(0, {.program = 68, .volume = 104, .pan = 64, .expression = 120, .reverb = 50});
  const Words how{&words, kLyric, CodePage::kWindows1252, Breaks::kMarks};
  Sing(track, how, kTune, kVerse1, kWords1, 92);
  Sing(track, how, kTune, kVerse2, kWords2, 96);
  Sing(track, how, kTune, kVerse3, kWords3, 86);
  Sing(track, how, kTune, kVerse4, kWords4, 100);
  Sing(track, how, kLastLine, kCoda, kWordsCoda, 88);
  track.Ramp(kLastChord, kEnd - kBeat, kExpression, 120, 70, 12);
  return track;
}

Track Strings(const std::vector<Chord>& chords) {
  Track track("Cordes", 4);
  track.Set(0, {.program = 48, .volume = 98, .pan = 54, .expression = 100, .reverb = 70});
  PlayPad(track, chords, kVerse2 + 8 * kBar, kVerse3,
          {.low = KeyOf("G3"), .velocity = 60, .voices = 4}, 20);
  track.Ramp(kInterlude, kVerse3 - kBeat, kExpression, 100, 118, 8);
  PlayLine(track, kLowCounter, kVerse3, 74);
  PlayPad(track, chords, kVerse4, kEnd, {.low = KeyOf("G3"), .velocity = 64, .voices = 4}, 20);
  track.Ramp(kVerse4, kVerse4 + 8 * kBar, kExpression, 96, 118, 16);
  track.Ramp(kLastChord, kEnd - kBeat, kExpression, 118, 60, 14);
  return track;
}

Track Flute() {
  Track track(Encode("Flûte", CodePage::kWindows1252), 5);
  track.Set(0, {.program = 73, .volume = 94, .pan = 90, .expression = 115, .reverb = 65});
  PlayLine(track, kIntroFlute, kIntro, 80);
  PlayLine(track, kHighCounter, kVerse2, 70);
  PlayLine(track, kInterludeFlute, kInterlude, 84);
  PlayLine(track, kHighCounter, kVerse4, 74);
  PlayLine(track, "r:2 D5:1 E5 F#5 A5 B5:6", kCoda, 72);
  return track;
}

Track Accordion(const std::vector<Chord>& chords) {
  Track track(Encode("Accordéon", CodePage::kWindows1252), 6);
  track.Set(0, {.program = 21, .volume = 92, .pan = 30, .expression = 105, .reverb = 45});
  PlayPad(track, chords, kVerse3 + 8 * kBar, kVerse4,
          {.low = KeyOf("D4"), .velocity = 58, .voices = 3}, 30);
  PlayChords(track, chords, {kVerse4, kCoda}, "..x-..x-..x-..xx",
             {.low = KeyOf("D4"), .velocity = 62, .voices = 3});
  return track;
}

void DrumFill(Track& track, Tick bar) {
  const Passage fill{bar + 2 * kBeat, bar + kBar, kBeat / 4};
  PlayDrum(track, fill, kSnare, "o.xx....", 74);
  PlayDrum(track, fill, kHighTom, "....xx..", 78);
  PlayDrum(track, fill, kLowTom, "......xX", 82);
}

Track Drums() {
  Track track("Batterie", 9);
  track.Set(0, {.program = 0, .volume = 88, .pan = 64, .reverb = 25});
  PlayDrum(track, {kVerse1, kVerse2, kBeat / 2}, kShaker, "xoxoxoxo", 58);
  PlayDrum(track, {kVerse1 + 8 * kBar, kVerse2}, kSideStick, "..x...x.", 60);
  for (const auto& [from, to] : {std::pair{kVerse2, kInterlude}, std::pair{kVerse4, kCoda}}) {
    PlayDrum(track, {from, from + kBeat}, kCrash, "x.", 68);
    PlayDrum(track, {from, to}, kClosedHat, "xoxoxoxo", 62);
    PlayDrum(track, {from, to - 2 * kBeat}, kSideStick, "..x...x.", 76);
    PlayDrum(track, {from, to - 2 * kBeat}, kKick, "x..xx...x...x..x", 80);
    DrumFill(track, from + 7 * kBar);
    DrumFill(track, to - kBar);
  }
  PlayDrum(track, {kInterlude, kVerse3}, kRide, "x.x.x.x.", 56);
  PlayDrum(track, {kVerse3, kVerse4, kBeat}, kTriangle, "x...", 56);
  PlayDrum(track, {kVerse3 + 8 * kBar, kVerse4}, kShaker, "xoxoxoxo", 50);
  PlayDrum(track, {kLastChord - 2 * kBeat, kLastChord, 2 * kBeat}, kCrash, "x", 56);
  PlayDrum(track, {kLastChord - 2 * kBeat, kLastChord, 2 * kBeat}, kKick, "x", 66);
  return track;
}

}  // namespace

Song MakeFontaine() {
  const std::vector<Chord> chords = AllChords();
  Track words("Paroles", 3);
  for (const std::string_view header :
       {"@TÀ la claire fontaine", "@TChanson traditionnelle française"})
    words.Meta(0, kLyric, Encode(header, CodePage::kWindows1252));
  Track voice = Voice(words);
  Song song{"a-la-claire-fontaine.mid",
            1,
            {Conductor(), words, voice, Guitar(chords), Bass(chords), Piano(chords),
             Strings(chords), Flute(), Accordion(chords), Drums()}};
  return song;
}

}  // namespace vexolo::songs
