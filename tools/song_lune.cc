// "Au clair de la lune", anonymous, France, 18th century; here as a bossa nova.
#include "song_list.h"
#include "song_parts.h"

namespace vexolo::songs {
namespace {

constexpr Tick kBar = 4 * kBeat;
constexpr Tick kVerseLength = 16 * kBar;

constexpr Tick kVerse1 = 4 * kBar;
constexpr Tick kVerse2 = kVerse1 + kVerseLength;
constexpr Tick kSolo = kVerse2 + kVerseLength;
constexpr Tick kVerse3 = kSolo + 8 * kBar;
constexpr Tick kTurn = kVerse3 + kVerseLength;
constexpr Tick kVerse4 = kTurn + 2 * kBar;
constexpr Tick kTag = kVerse4 + kVerseLength;
constexpr Tick kLastChord = kTag + 4 * kBar;
constexpr Tick kEnd = kLastChord + 2 * kBar;
constexpr int kLift = 2;  ///< half tones by which the last verse stands higher

constexpr std::string_view kTune =
    "C5:1 C5 C5 D5 E5:2 D5 C5:1 E5 D5 D5 C5:4 "
    "C5:1 C5 C5 D5 E5:2 D5 C5:1 E5 D5 D5 C5:4 "
    "D5:1 D5 D5 D5 A4:2 A4 D5:1 C5 B4 A4 G4:4 "
    "C5:1 C5 C5 D5 E5:2 D5 C5:1 E5 D5 D5 C5:4";

constexpr std::string_view kTurnaround = "C6:2 Am7:2 Dm7:2 G7:2 ";
constexpr std::string_view kLineA = "C6:4 Am7:2 G7:2 C6:2 G7:2 C6:4 ";
constexpr std::string_view kLineB = "C6:4 Am7:2 Dm7:2 C6:2 G7:2 C6:2 Am7:2 ";
constexpr std::string_view kLineC = "Dm7:4 Am7:4 G:2 D7:2 G7:4 ";
constexpr std::string_view kLineD = "C6:4 Em7:2 Dm7:2 Am7:2 G7:2 C6:4 ";

constexpr std::string_view kCounter =
    "G4:4 A4:2 B4 G4 F4 E4:4  G4:4 A4:2 F4 G4 F4 E4 G4 "
    "F4:2 A4 C5 E5 G4 F#4 G4 F4  G4:4 B4:2 A4 A4 F4 E4:4";
constexpr std::string_view kFills =
    "r:12 r:1 G5:.5 A5 C6 A5 G5:1  r:12 r:1 E5:.5 G5 A5 G5 E5:1 "
    "r:12 r:1 D5:.5 F5 G5 B5 D6:1  r:12 r:1 G5:.5 E5 A5 G5 E5:1";
constexpr std::string_view kIntroVibes =
    "r:.5 G5 A5 C6 E6:1 C6:.5 A5 r A5 F5 D5 B4 D5 F5 G5 "
    "r G5 A5 C6 D6:1 C6:.5 A5 F5:1 E5:.5 D5 B4:2";
constexpr std::string_view kSoloVibes =
    "E5:.5 G5 A5 G5 C6:1.5 A5:.5  G5 E5 C5 E5 D5:1 B4  r:.5 C5 E5 G5 F5 D5 B4 D5  C5:1.5 G4:.5 A4 "
    "C5 E5 G5  A5:1 G5:.5 E5 C6:1 A5  B5:.5 G5 E5 G5 F5 D5 A4 C5  E5 A5 G5 E5 D5 F5 B4 D5  C5:3 "
    "r:1";

const std::vector<std::string_view> kWords1 = {
    "Au |clair |de |la |lu|ne,", "Mon |a|mi |Pier|rot,",         "Prê|te-|moi |ta |plu|me",
    "Pour |é|crire |un |mot.",   "Ma |chan|delle |est |mor|te,", "Je |n'ai |plus |de |feu.",
    "Ou|vre-|moi |ta |por|te,",  "Pour |l'a|mour |de |Dieu."};
const std::vector<std::string_view> kWords2 = {
    "Au |clair |de |la |lu|ne,", "Pier|rot |ré|pon|dit :",   "Je |n'ai |pas |de |plu|me,",
    "Je |suis |dans |mon |lit.", "Va |chez |la |voi|si|ne,", "Je |crois |qu'elle |y |est,",
    "Car |dans |sa |cui|si|ne",  "On |bat |le |bri|quet."};
const std::vector<std::string_view> kWords3 = {
    "Au |clair |de |la |lu|ne,", "L'ai|ma|ble |Lu|bin",           "Frap|pe |chez |la |bru|ne ;",
    "Elle |ré|pond |sou|dain :", "Qui |frappe |de |la |sor|te ?", "Il |dit |à |son |tour :",
    "Ou|vrez |vo|tre |por|te",   "Pour |le |dieu |d'a|mour !"};
const std::vector<std::string_view> kWords4 = {
    "Au |clair |de |la |lu|ne,",     "On |n'y |voit |qu'un |peu.",
    "On |cher|cha |la |plu|me,",     "On |cher|cha |du |feu.",
    "En |cher|chant |d'la |sor|te,", "Je |n'sais |c'qu'on |trou|va,",
    "Mais |je |sais |qu'la |por|te", "Sur |eux |se |fer|ma."};

/// Every bar's harmony, the last verse lifted.
std::vector<Chord> AllChords() {
  const std::string turnaround(kTurnaround);
  std::string verse;
  for (const std::string_view line : {kLineA, kLineB, kLineC, kLineD}) verse += line;
  const std::string solo = std::string(kLineA) + std::string(kLineD);
  std::vector<Chord> chords =
      ParseChords(turnaround + turnaround + verse + verse + solo + verse + "C6:4 Em7:2 A7:2", 0);
  const std::string last = verse + turnaround + turnaround + "C6:8";
  for (const Chord& chord : ParseChords(last, kVerse4, kLift)) chords.push_back(chord);
  return chords;
}

Track Conductor() {
  Track track("Au clair de la lune", 0);
  track.TimeSignature(0, 4, 2);
  track.Tempo(0, 140);
  track.Tempo(kLastChord - 4 * kBeat, 126);
  track.Tempo(kLastChord - 2 * kBeat, 108);
  return track;
}

Track ElectricPiano(const std::vector<Chord>& chords) {
  Track track(Encode("Piano électrique", CodePage::kDos850), 0);
  track.Set(0, {.program = 4, .volume = 90, .pan = 46, .reverb = 35, .chorus = 40});
  const Touch touch{.low = KeyOf("E3"), .velocity = 70, .voices = 4};
  PlayChords(track, chords, {0, kVerse1}, "x--x--x-..x-x---", touch);
  PlayChords(track, chords, {kVerse1, kSolo}, "x-.x-.x-.x-.x--.", touch);
  PlayChords(track, chords, {kSolo, kVerse3}, "..x-..x-.x-.x-x-", touch);
  PlayChords(track, chords, {kVerse3, kTurn}, "x-.x-.x-.x-.x--.", touch);
  PlayChords(track, chords, {kTurn, kLastChord}, "X-.x-xx-.x-.X-x-", touch);
  PlayChords(track, chords, {kLastChord, kEnd, 8 * kBeat}, "x",
             {.low = KeyOf("E3"), .velocity = 74, .voices = 5, .strum = 30});
  return track;
}

Track Bass(const std::vector<Chord>& chords) {
  Track track("Basse", 1);
  track.Set(0, {.program = 32, .volume = 104, .pan = 64, .reverb = 15});
  const int low = KeyOf("E2") - 12;
  PlayBass(track, chords, {0, kVerse2}, "R--5", low, 86);
  PlayBass(track, chords, {kVerse2, kSolo}, "R--5R--a", low, 88);
  PlayBass(track, chords, {kSolo, kVerse3, kBeat}, "R35aR538", low, 88);
  PlayBass(track, chords, {kVerse3, kTurn}, "R--5R--a", low, 86);
  PlayBass(track, chords, {kTurn, kLastChord}, "R--RR-5aR--5R--a", low, 92);
  PlayBass(track, chords, {kLastChord, kEnd, 8 * kBeat}, "R", low, 90);
  return track;
}

Track Guitar(const std::vector<Chord>& chords) {
  Track track("Guitare", 2);
  track.Set(0, {.program = 24, .volume = 82, .pan = 88, .reverb = 35, .chorus = 10});
  const Touch touch{.low = KeyOf("G3"), .velocity = 66, .voices = 4, .strum = 6};
  PlayChords(track, chords, {2 * kBar, kTurn}, "x.x..x.x..x.xx..", touch);
  PlayChords(track, chords, {kTurn, kLastChord}, "x.xx.x.xX.x.xx.x", touch);
  PlayChords(track, chords, {kLastChord, kEnd, 8 * kBeat}, "x",
             {.low = KeyOf("E3"), .velocity = 70, .voices = 6, .strum = 40});
  return track;
}

/// The sung line and its words.
Track Voice(Track& words) {
  Track track("Chant", 3);
  track.Set(0, {.program = 71, .volume = 104, .pan = 64, .expression = 120, .reverb = 45});
  const Words how{&words, kText, CodePage::kDos850, Breaks::kMarks};
  Sing(track, how, kTune, kVerse1, kWords1, 92);
  Sing(track, how, kTune, kVerse2, kWords2, 94);
  Sing(track, how, kTune, kVerse3, kWords3, 92);
  Sing(track, how, kTune, kVerse4, kWords4, 100, kLift);
  return track;
}

Track Strings(const std::vector<Chord>& chords) {
  Track track("Cordes", 4);
  track.Set(0, {.program = 48, .volume = 96, .pan = 60, .expression = 108, .reverb = 65});
  PlayLine(track, kCounter, kVerse2, 72);
  PlayPad(track, chords, kSolo, kVerse3, {.low = KeyOf("A3"), .velocity = 54, .voices = 3}, 20);
  PlayPad(track, chords, kVerse3 + 8 * kBar, kVerse4,
          {.low = KeyOf("A3"), .velocity = 58, .voices = 3}, 20);
  PlayLine(track, kCounter, kVerse4, 78, kLift + 12);
  PlayPad(track, chords, kTag, kEnd, {.low = KeyOf("A3"), .velocity = 62, .voices = 4}, 20);
  track.Ramp(kTurn, kVerse4, kExpression, 90, 118, 10);
  track.Ramp(kLastChord + kBar, kEnd - kBeat / 2, kExpression, 118, 64, 10);
  return track;
}

Track Vibraphone() {
  Track track("Vibraphone", 5);
  track.Set(0, {.program = 11, .volume = 106, .pan = 36, .reverb = 50, .chorus = 15});
  PlayLine(track, kIntroVibes, 0, 80);
  PlayLine(track, kFills, kVerse1, 68);
  PlayLine(track, kSoloVibes, kSolo, 86);
  PlayLine(track, kFills, kVerse3, 70);
  PlayLine(track, kFills, kVerse4, 72, kLift);
  PlayLine(track, kIntroVibes, kTag, 78, kLift);
  PlayLine(track, "A5:.5 B5 D6 F#6 A6:6", kLastChord, 74);
  return track;
}

void DrumFill(Track& track, Tick end) {
  const Passage fill{end - 2 * kBeat, end, kBeat / 4};
  PlayDrum(track, fill, kSnare, "o.oxx...", 76);
  PlayDrum(track, fill, kMidTom, ".....xx.", 80);
  PlayDrum(track, fill, kLowTom, ".......X", 84);
}

Track Drums() {
  Track track("Batterie", 9);
  track.Set(0, {.program = 0, .volume = 90, .pan = 64, .reverb = 25});
  PlayDrum(track, {0, kLastChord, kBeat / 2}, kShaker, "xoxoxoxo", 56);
  PlayDrum(track, {2 * kBar, kLastChord}, kSideStick, "x..x..x...x.x...", 70);
  PlayDrum(track, {2 * kBar, kLastChord}, kKick, "x..xx..x", 74);
  PlayDrum(track, {kVerse2, kSolo}, kClosedHat, "..x...x.", 58);
  PlayDrum(track, {kSolo, kVerse3}, kRide, "x.xxx.xx", 60);
  PlayDrum(track, {kVerse4, kLastChord}, kClosedHat, "xxxxxxxo", 62);
  PlayDrum(track, {kVerse4, kLastChord}, kCabasa, "x.xxx.xx", 50);
  for (const Tick end : {kVerse1, kVerse2, kSolo, kVerse3, kVerse4, kTag, kLastChord}) {
    DrumFill(track, end);
    track.Note(end, kBeat, kCrash, Humanise(66, 9, end, kCrash));
  }
  track.Note(kLastChord, kBeat, kKick, 76);
  return track;
}

}  // namespace

Song MakeLune() {
  const std::vector<Chord> chords = AllChords();
  Track words("Words", 3);
  for (const std::string_view header :
       {"@KMIDI KARAOKE FILE", "@V0100", "@LFRAN", "@TAu clair de la lune",
        "@TChanson traditionnelle (XVIIIe siècle)"})
    words.Meta(0, kText, Encode(header, CodePage::kDos850));
  Track voice = Voice(words);
  return {"au-clair-de-la-lune.kar",
          1,
          {Conductor(), words, voice, ElectricPiano(chords), Bass(chords), Guitar(chords),
           Strings(chords), Vibraphone(), Drums()}};
}

}  // namespace vexolo::songs
