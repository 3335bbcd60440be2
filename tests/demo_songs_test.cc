// layer: tool
// The demo songs: what stands in songs/ is what the program writes, and each song has what a
// karaoke song of its kind has.
#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "song_list.h"
#include "song_parts.h"
#include "song_writer.h"

namespace vexolo::songs {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

struct ReadEvent {
  Tick tick;
  std::size_t track;
  int status;  ///< with its channel; 0xF0 system exclusive, 0xFF meta
  int data1;   ///< meta events: the type
  int data2;
  std::string text;

  int channel() const { return status & 0x0F; }
  bool Is(int command) const { return status < 0xF0 && (status & 0xF0) == command; }
  bool IsStrike() const { return Is(0x90) && data2 > 0; }
  bool IsRelease() const { return Is(0x80) || (Is(0x90) && data2 == 0); }
  bool IsMeta(int type) const { return status == 0xFF && data1 == type; }
};

/// A small strict reader: anything out of order is an error.
class ReadSong {
 public:
  explicit ReadSong(std::string bytes) : bytes_(std::move(bytes)) {
    if (Take(4) != "MThd" || Number(4) != 6) throw std::runtime_error("no header");
    format = static_cast<int>(Number(2));
    tracks = Number(2);
    division = static_cast<int>(Number(2));
    for (std::size_t track = 0; track < tracks; ++track) ReadTrack(track);
    if (at_ != bytes_.size()) throw std::runtime_error("more than the tracks");
    std::stable_sort(events.begin(), events.end(),
                     [](const ReadEvent& a, const ReadEvent& b) { return a.tick < b.tick; });
  }

  int format;
  std::size_t tracks;
  int division;
  std::vector<ReadEvent> events;

  /// Seconds from the start to a tick.
  double Seconds(Tick tick) const {
    double seconds = 0;
    Tick from = 0;
    double tempo = 0.5;
    for (const ReadEvent& event : events) {
      if (!event.IsMeta(0x51) || event.tick >= tick) continue;
      seconds += (event.tick - from) * tempo / division;
      from = event.tick;
      tempo = 0;
      for (const char byte : event.text) tempo = tempo * 256 + static_cast<unsigned char>(byte);
      tempo /= 1e6;
    }
    return seconds + (tick - from) * tempo / division;
  }

  std::vector<ReadEvent> Where(auto condition) const {
    std::vector<ReadEvent> found;
    std::copy_if(events.begin(), events.end(), std::back_inserter(found), condition);
    return found;
  }

  std::string TrackName(std::size_t track) const {
    for (const ReadEvent& event : events)
      if (event.track == track && event.IsMeta(kTrackName)) return event.text;
    return "";
  }

  Tick LastRelease() const {
    Tick last = 0;
    for (const ReadEvent& event : events)
      if (event.IsRelease()) last = std::max(last, event.tick);
    return last;
  }

 private:
  std::string Take(std::size_t count) {
    if (count > bytes_.size() - at_) throw std::runtime_error("ends early");
    at_ += count;
    return bytes_.substr(at_ - count, count);
  }

  std::uint32_t Number(std::size_t size) {
    std::uint32_t number = 0;
    for (const char byte : Take(size)) number = number << 8 | static_cast<unsigned char>(byte);
    return number;
  }

  std::uint32_t Variable() {
    std::uint32_t number = 0;
    for (;;) {
      const std::uint32_t byte = Number(1);
      number = number << 7 | (byte & 0x7F);
      if (byte < 0x80) return number;
    }
  }

  void ReadTrack(std::size_t track) {
    if (Take(4) != "MTrk") throw std::runtime_error("no track");
    const std::size_t size = Number(4);
    const std::size_t end = at_ + size;
    Tick tick = 0;
    int running = 0;
    bool open = true;
    while (at_ < end) {
      if (!open) throw std::runtime_error("goes on after its end");
      tick += static_cast<Tick>(Variable());
      ReadEvent event{tick, track, static_cast<int>(Number(1)), 0, 0, ""};
      if (event.status < 0x80) {
        if (running == 0) throw std::runtime_error("running status of nothing");
        event.status = running;
        --at_;
      }
      running = event.status < 0xF0 ? event.status : 0;
      if (event.status >= 0xF0) {
        if (event.status == 0xFF) event.data1 = static_cast<int>(Number(1));
        event.text = Take(Variable());
        open = !event.IsMeta(0x2F);
      } else {
        event.data1 = static_cast<int>(Number(1));
        if (!event.Is(0xC0) && !event.Is(0xD0)) event.data2 = static_cast<int>(Number(1));
      }
      events.push_back(std::move(event));
    }
    if (open || at_ != end) throw std::runtime_error("track without its end");
  }

  std::string bytes_;
  std::size_t at_ = 0;
};

std::string FileBytes(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

ReadSong Read(const std::string& name) {
  return ReadSong(FileBytes(fs::path(VEXOLO_SONGS) / name));
}

constexpr const char* kFontaine = "a-la-claire-fontaine.mid";
constexpr const char* kLune = "au-clair-de-la-lune.kar";
constexpr const char* kMaman = "ah-vous-dirai-je-maman.mid";
constexpr const char* kCanonName = "canon.mid";
constexpr int kVoiceChannel = 3;
constexpr int kDrumChannel = 9;

/// Sung marks: those that are no headers.
std::vector<ReadEvent> Syllables(const ReadSong& song, MetaType type) {
  return song.Where(
      [type](const ReadEvent& event) { return event.IsMeta(type) && event.text[0] != '@'; });
}

std::vector<std::string> Headers(const ReadSong& song, MetaType type) {
  std::vector<std::string> headers;
  for (const ReadEvent& event : song.events)
    if (event.IsMeta(type) && event.text[0] == '@') headers.push_back(event.text);
  return headers;
}

std::vector<ReadEvent> Strikes(const ReadSong& song, int channel) {
  return song.Where(
      [channel](const ReadEvent& event) { return event.IsStrike() && event.channel() == channel; });
}

std::vector<Tick> Ticks(const std::vector<ReadEvent>& events) {
  std::vector<Tick> ticks;
  for (const ReadEvent& event : events) ticks.push_back(event.tick);
  return ticks;
}

std::vector<int> Keys(const std::vector<ReadEvent>& events, std::size_t count) {
  std::vector<int> keys;
  for (std::size_t i = 0; i < std::min(count, events.size()); ++i) keys.push_back(events[i].data1);
  return keys;
}

std::vector<int> KeysOf(const std::vector<std::string_view>& names) {
  std::vector<int> keys;
  for (const std::string_view name : names) keys.push_back(KeyOf(name));
  return keys;
}

/// High bytes of a text that stand in one of the sets of seven accented letters.
std::array<int, 3> AccentCounts(const std::vector<std::string>& texts) {
  constexpr std::array<std::string_view, 3> kSets = {"\xE0\xE7\xE9\xE8\xEA\xEB\xF9",
                                                     "\x85\x87\x82\x8A\x88\x89\x97",
                                                     "\x88\x8D\x8E\x8F\x90\x91\x9D"};
  std::array<int, 3> counts{};
  for (const std::string& text : texts) {
    for (const char byte : text) {
      const auto set = std::find_if(kSets.begin(), kSets.end(), [byte](std::string_view each) {
        return each.find(byte) != std::string_view::npos;
      });
      if (set != kSets.end()) ++counts[static_cast<std::size_t>(set - kSets.begin())];
    }
  }
  return counts;
}

std::vector<std::string> AllTexts(const ReadSong& song, MetaType type) {
  std::vector<std::string> texts;
  for (const ReadEvent& event : song.events)
    if (event.IsMeta(type)) texts.push_back(event.text);
  return texts;
}

class EverySong : public ::testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(DemoSongs, EverySong,
                         ::testing::Values(kFontaine, kLune, kMaman, kCanonName),
                         [](const auto& song) {
                           std::string name = song.param;
                           std::erase_if(name, [](char letter) { return !std::isalnum(letter); });
                           return name;
                         });

TEST_P(EverySong, LastsAtLeastNinetySeconds) {
  const ReadSong song = Read(GetParam());
  EXPECT_GE(song.Seconds(song.LastRelease()), 90.0);
  EXPECT_LE(song.Seconds(song.LastRelease()), 180.0);
}

TEST_P(EverySong, ReleasesEveryNoteOnceAndStrikesNoSoundingKey) {
  std::map<std::pair<int, int>, int> sounding;
  for (const ReadEvent& event : Read(GetParam()).events) {
    int& count = sounding[{event.channel(), event.data1}];
    if (event.IsStrike()) {
      EXPECT_EQ(++count, 1) << "tick " << event.tick;
    }
    if (event.IsRelease()) {
      EXPECT_EQ(--count, 0) << "tick " << event.tick;
    }
  }
  for (const auto& [key, count] : sounding) EXPECT_EQ(count, 0);
}

TEST_P(EverySong, SetsTheSoundOfEveryPlayingChannelAtItsStart) {
  const ReadSong song = Read(GetParam());
  for (int channel = 0; channel < 16; ++channel) {
    if (Strikes(song, channel).empty()) continue;
    std::set<int> controllers;
    int programs = 0;
    for (const ReadEvent& event : song.events) {
      if (event.tick > 0 || event.status >= 0xF0 || event.channel() != channel) continue;
      if (event.Is(0xB0)) controllers.insert(event.data1);
      programs += event.Is(0xC0);
    }
    EXPECT_EQ(programs, 1) << "channel " << channel;
    for (const int controller : {kVolume, kPan, kExpression, kReverbSend, kChorusSend})
      EXPECT_TRUE(controllers.contains(controller)) << "channel " << channel << ", " << controller;
  }
}

TEST_P(EverySong, HasDrumsBassChordsCounterLineAndMelodyOnChannelsOfTheirOwn) {
  const ReadSong song = Read(GetParam());
  int playing = 0;
  int several_keys_at_once = 0;
  for (int channel = 0; channel < 16; ++channel) {
    const std::vector<Tick> ticks = Ticks(Strikes(song, channel));
    playing += !ticks.empty();
    const std::set<Tick> places(ticks.begin(), ticks.end());
    several_keys_at_once += channel != kDrumChannel && ticks.size() > 2 * places.size();
  }
  EXPECT_GE(playing, 7);
  EXPECT_GE(several_keys_at_once, 1);
  EXPECT_GT(Strikes(song, kDrumChannel).size(), 100u);
}

TEST_P(EverySong, StaysInBankZeroAndTheStandardKit) {
  for (const ReadEvent& event : Read(GetParam()).events) {
    EXPECT_FALSE(event.Is(0xB0) && (event.data1 == 0 || event.data1 == 32));
    if (event.Is(0xC0) && event.channel() == kDrumChannel) {
      EXPECT_EQ(event.data1, 0);
    }
  }
}

TEST_P(EverySong, EndsWithAHeldChord) {
  const ReadSong song = Read(GetParam());
  const Tick end = song.LastRelease();
  std::set<int> classes;
  for (const ReadEvent& event : song.events) {
    if (event.IsRelease() && event.tick == end) classes.insert(event.data1 % 12);
    if (event.IsStrike()) {
      EXPECT_LT(event.tick, end - kBeat);
    }
  }
  EXPECT_GE(classes.size(), 3u);
}

TEST_P(EverySong, TouchesItsNotesUnevenly) {
  std::set<int> velocities;
  for (const ReadEvent& event : Read(GetParam()).events)
    if (event.IsStrike()) velocities.insert(event.data2);
  EXPECT_GT(velocities.size(), 20u);
}

TEST(DemoSongs, InTheFolderAreWhatTheProgramWrites) {
  for (const Song& song : MakeSongs())
    EXPECT_EQ(FileBytes(fs::path(VEXOLO_SONGS) / song.file_name), Serialize(song))
        << song.file_name;
}

TEST(DemoSongs, AreWrittenIntoAFolder) {
  const fs::path folder = fs::path(::testing::TempDir()) / "demo_songs_test";
  fs::create_directory(folder);
  EXPECT_TRUE(WriteSongs(folder));
  for (const char* name : {kFontaine, kLune, kMaman, kCanonName})
    EXPECT_EQ(FileBytes(folder / name), FileBytes(fs::path(VEXOLO_SONGS) / name));
  fs::remove_all(folder);
}

TEST(DemoSongs, ReportAFolderThatIsNotThere) {
  EXPECT_FALSE(WriteSongs(fs::path(::testing::TempDir()) / "no" / "such" / "folder"));
}

TEST(DemoSongs, ReportAFullDisk) {
  const fs::path folder = fs::path(::testing::TempDir()) / "demo_songs_full";
  fs::create_directory(folder);
  std::error_code error;
  fs::create_symlink("/dev/full", folder / kFontaine, error);
  if (error || !fs::exists("/dev/full")) GTEST_SKIP() << "no full device here";
  EXPECT_FALSE(WriteSongs(folder));
  fs::remove_all(folder);
}

/// A song with words: what kind of marks, which code page (0 Windows, 1 DOS, 2 Macintosh).
struct Sung {
  const char* name;
  MetaType type;
  std::size_t code_page;
  std::size_t least_syllables;
};

std::string CodePageName(const ::testing::TestParamInfo<Sung>& song) {
  constexpr std::array kNames = {"Windows", "Dos", "Macintosh"};
  return kNames[song.param.code_page];
}

class SungSong : public ::testing::TestWithParam<Sung> {};
INSTANTIATE_TEST_SUITE_P(DemoSongs, SungSong,
                         ::testing::Values(Sung{kFontaine, kLyric, 0, 160},
                                           Sung{kLune, kText, 1, 160}, Sung{kMaman, kLyric, 2, 80}),
                         CodePageName);

TEST_P(SungSong, HasOneSyllableOnTheTickOfEachNoteOfTheMelody) {
  const ReadSong song = Read(GetParam().name);
  const std::vector<ReadEvent> syllables = Syllables(song, GetParam().type);
  EXPECT_GE(syllables.size(), GetParam().least_syllables);
  EXPECT_EQ(Ticks(syllables), Ticks(Strikes(song, kVoiceChannel)));
  EXPECT_GT(syllables.front().tick, 0);
}

TEST_P(SungSong, HasNoOtherChannelThatFollowsTheSyllablesAsClosely) {
  const ReadSong song = Read(GetParam().name);
  const std::vector<Tick> sung = Ticks(Syllables(song, GetParam().type));
  const std::set<Tick> places(sung.begin(), sung.end());
  for (int channel = 0; channel < 16; ++channel) {
    if (channel == kVoiceChannel) continue;
    const std::vector<Tick> ticks = Ticks(Strikes(song, channel));
    const auto hits =
        std::count_if(ticks.begin(), ticks.end(), [&](Tick tick) { return places.contains(tick); });
    EXPECT_LE(hits * 100, static_cast<long>(ticks.size()) * 95) << "channel " << channel;
  }
}

TEST_P(SungSong, IsWrittenInItsCodePage) {
  const std::array<int, 3> counts = AccentCounts(AllTexts(Read(GetParam().name), GetParam().type));
  for (std::size_t i = 0; i < counts.size(); ++i)
    if (i != GetParam().code_page) {
      EXPECT_GT(counts[GetParam().code_page], 2 * counts[i]);
    }
}

TEST_P(SungSong, HasItsMarksInOneTrackAndOfOneType) {
  const ReadSong song = Read(GetParam().name);
  std::set<std::size_t> tracks;
  for (const ReadEvent& event : song.events) {
    if (event.IsMeta(kText) || event.IsMeta(kLyric)) {
      EXPECT_EQ(event.data1, GetParam().type);
      tracks.insert(event.track);
    }
  }
  EXPECT_EQ(tracks.size(), 1u);
}

/// Lines of a song that breaks them by "/" and "\".
std::vector<std::string> MarkedLines(const ReadSong& song, MetaType type) {
  std::vector<std::string> lines;
  for (const ReadEvent& event : Syllables(song, type)) {
    if (event.text[0] == '/' || event.text[0] == '\\') lines.emplace_back();
    lines.back() += event.text;
  }
  return lines;
}

TEST(Fontaine, IsFormatOneWithTitleAndArtistAmongItsLyrics) {
  const ReadSong song = Read(kFontaine);
  EXPECT_EQ(song.format, 1);
  EXPECT_THAT(Headers(song, kLyric), ElementsAre("@T\xC0 la claire fontaine",
                                                 "@TChanson traditionnelle fran\xE7"
                                                 "aise"));
}

TEST(Fontaine, BreaksLinesAndVerses) {
  const std::vector<std::string> lines = MarkedLines(Read(kFontaine), kLyric);
  ASSERT_EQ(lines.size(), 25u);
  EXPECT_EQ(lines[0], "\\\xC0 la claire fontaine");
  EXPECT_EQ(lines[3], "/Que je m'y suis baign\xE9.");
  EXPECT_EQ(lines[13], "/Toi qui as le c\x9Cur gai ;");
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                          [](const std::string& line) { return line[0] == '\\'; }),
            5);
}

TEST(Fontaine, ChangesItsTempoInTheMiddle) {
  const ReadSong song = Read(kFontaine);
  const Tick end = song.LastRelease();
  const std::vector<ReadEvent> changes = song.Where([end](const ReadEvent& event) {
    return event.IsMeta(0x51) && event.tick > end * 2 / 5 && event.tick < end * 3 / 5;
  });
  EXPECT_GE(changes.size(), 1u);
}

TEST(Fontaine, SingsTheTune) {
  EXPECT_EQ(Keys(Strikes(Read(kFontaine), kVoiceChannel), 26),
            KeysOf({"G4", "G4", "B4", "B4", "A4", "B4", "A4", "G4", "G4", "B4", "B4", "A4", "B4",
                    "B4", "B4", "A4", "G4", "B4", "D5", "B4", "D5", "D5", "B4", "G4", "B4", "A4"}));
}

TEST(Lune, IsAKaraokeFileWithAWordsTrackAndHeaders) {
  const ReadSong song = Read(kLune);
  EXPECT_THAT(Headers(song, kText),
              ElementsAre("@KMIDI KARAOKE FILE", "@V0100", "@LFRAN", "@TAu clair de la lune",
                          "@TChanson traditionnelle (XVIIIe si\x8A"
                          "cle)"));
  EXPECT_EQ(song.TrackName(Syllables(song, kText).front().track), "Words");
}

TEST(Lune, BreaksLinesAndVerses) {
  const std::vector<std::string> lines = MarkedLines(Read(kLune), kText);
  ASSERT_EQ(lines.size(), 32u);
  EXPECT_EQ(lines[2], "/Pr\x88te-moi ta plume");
  EXPECT_EQ(lines[9], "/Pierrot r\x82pondit :");
  for (const std::size_t verse : {0u, 8u, 16u, 24u}) EXPECT_EQ(lines[verse][0], '\\');
}

TEST(Lune, SingsTheTuneAndLiftsItsLastVerse) {
  const std::vector<ReadEvent> notes = Strikes(Read(kLune), kVoiceChannel);
  const std::vector<int> tune =
      KeysOf({"C5", "C5", "C5", "D5", "E5", "D5", "C5", "E5", "D5", "D5", "C5"});
  ASSERT_EQ(notes.size(), 4 * 44u);
  EXPECT_EQ(Keys(notes, 11), tune);
  for (std::size_t i = 0; i < 44; ++i) EXPECT_EQ(notes[132 + i].data1, notes[i].data1 + 2);
}

TEST(Maman, IsOneTrackOfFormatZeroWithTwoVerses) {
  const ReadSong song = Read(kMaman);
  EXPECT_EQ(song.format, 0);
  EXPECT_EQ(song.tracks, 1u);
  const std::vector<ReadEvent> syllables = Syllables(song, kLyric);
  ASSERT_EQ(syllables.size(), 2 * 42u);
  EXPECT_GT(syllables[42].tick - syllables[41].tick, 16 * kBeat);
  EXPECT_THAT(Headers(song, kLyric), ElementsAre("@TAh ! vous dirai-je, Maman",
                                                 "@TChanson traditionnelle fran\x8D"
                                                 "aise (1761)"));
}

TEST(Maman, BreaksLinesByFeeds) {
  const std::vector<ReadEvent> syllables = Syllables(Read(kMaman), kLyric);
  ASSERT_EQ(syllables.size(), 84u);
  for (std::size_t i = 0; i < syllables.size(); ++i) {
    const std::string& text = syllables[i].text;
    EXPECT_EQ(text.ends_with('\n'), i % 7 == 6) << i;
    EXPECT_EQ(text.ends_with("\r\n"), i % 42 == 41) << i;
    EXPECT_THAT(text.substr(0, 1), Not(::testing::AnyOf("/", "\\")));
  }
}

TEST(Maman, SingsTheTune) {
  EXPECT_EQ(Keys(Strikes(Read(kMaman), kVoiceChannel), 21),
            KeysOf({"F5", "F5", "C6", "C6", "D6", "D6",  "C6",  "Bb5", "Bb5", "A5", "A5",
                    "G5", "G5", "F5", "C6", "C6", "Bb5", "Bb5", "A5",  "A5",  "G5"}));
}

TEST(Canon, PlaysOnSixteenChannelsWithoutWords) {
  const ReadSong song = Read(kCanonName);
  for (int channel = 0; channel < 16; ++channel)
    EXPECT_FALSE(Strikes(song, channel).empty()) << channel;
  EXPECT_THAT(AllTexts(song, kText), IsEmpty());
  EXPECT_THAT(AllTexts(song, kLyric), IsEmpty());
}

TEST(Canon, HoldsManyKeysAtOnce) {
  const ReadSong song = Read(kCanonName);
  double key_seconds = 0;
  std::map<std::pair<int, int>, Tick> since;
  for (const ReadEvent& event : song.events) {
    const std::pair key{event.channel(), event.data1};
    if (event.IsStrike()) since[key] = event.tick;
    if (event.IsRelease()) key_seconds += song.Seconds(event.tick) - song.Seconds(since[key]);
  }
  EXPECT_GT(key_seconds / song.Seconds(song.LastRelease()), 28.0);
}

TEST(Canon, ResetsAtItsStartAndInItsMiddleAndThenSetsEverythingAgain) {
  const ReadSong song = Read(kCanonName);
  const std::vector<ReadEvent> resets =
      song.Where([](const ReadEvent& event) { return event.status == 0xF0; });
  ASSERT_EQ(resets.size(), 2u);
  EXPECT_EQ(resets[0].tick, 0);
  EXPECT_EQ(resets[0].text, "\x7E\x7F\x09\x01\xF7");
  EXPECT_EQ(resets[1].text, std::string("\x41\x10\x42\x12\x40\x00\x7F\x00\x41\xF7", 10));
  EXPECT_GT(resets[1].tick, song.LastRelease() / 3);
  std::set<int> programs;
  for (const ReadEvent& event : song.events)
    if (event.tick == resets[1].tick && event.Is(0xC0)) programs.insert(event.channel());
  EXPECT_EQ(programs.size(), 16u);
}

TEST(Canon, NoNoteSoundsAcrossTheResetInItsMiddle) {
  const ReadSong song = Read(kCanonName);
  const Tick reset =
      song.Where([](const ReadEvent& event) { return event.status == 0xF0; }).back().tick;
  int sounding = 0;
  for (const ReadEvent& event : song.events) {
    if (event.tick > reset) break;
    sounding += event.IsStrike();
    sounding -= event.IsRelease();
  }
  EXPECT_EQ(sounding, 0);
}

TEST(Canon, ChangesSoundsOnTheTicksOfNotes) {
  const ReadSong song = Read(kCanonName);
  std::set<std::pair<int, Tick>> strikes;
  for (const ReadEvent& event : song.events)
    if (event.IsStrike()) strikes.emplace(event.channel(), event.tick);
  int programs = 0;
  int controllers = 0;
  int bends = 0;
  for (const ReadEvent& event : song.events) {
    if (event.status >= 0xF0 || !strikes.contains({event.channel(), event.tick})) continue;
    programs += event.Is(0xC0);
    controllers += event.Is(0xB0);
    bends += event.Is(0xE0);
  }
  EXPECT_GE(programs, 2);
  EXPECT_GE(controllers, 50);
  EXPECT_GE(bends, 3);
}

TEST(Canon, SetsBendRangeFineAndCoarseTuning) {
  std::map<int, int> number;
  std::set<std::pair<int, int>> set;  // parameter, coarse value
  for (const ReadEvent& event : Read(kCanonName).events) {
    if (!event.Is(0xB0)) continue;
    if (event.data1 == kRpnFine) number[event.channel()] = event.data2;
    if (event.data1 == kDataEntry) set.emplace(number[event.channel()], event.data2);
  }
  EXPECT_THAT(set, ::testing::IsSupersetOf(
                       {std::pair{0, 2}, std::pair{0, 12}, std::pair{1, 64}, std::pair{2, 52}}));
}

TEST(Canon, PlaysTheGround) {
  const ReadSong song = Read(kCanonName);
  for (const int channel : {10, 11})
    EXPECT_EQ(Keys(Strikes(song, channel), 8),
              KeysOf({"D3", "A2", "B2", "F#2", "G2", "D2", "G2", "A2"}));
}

TEST(SongWriter, RejectsWhatDoesNotFit) {
  Track track("x", 0);
  EXPECT_THROW(track.Note(0, 10, 128, 64), std::out_of_range);
  EXPECT_THROW(track.Note(0, 10, 60, 0), std::out_of_range);
  EXPECT_THROW(track.Control(0, kVolume, 128), std::out_of_range);
  EXPECT_THROW(track.Bend(0, 8192), std::out_of_range);
}

TEST(SongWriter, EncodesAccentsInThreeCodePages) {
  EXPECT_EQ(Encode("é à", CodePage::kWindows1252), "\xE9 \xE0");
  EXPECT_EQ(Encode("é à", CodePage::kDos850), "\x82 \x85");
  EXPECT_EQ(Encode("é à œ", CodePage::kMacRoman), "\x8E \x88 \xCF");
  EXPECT_THROW(Encode("œ", CodePage::kDos850), std::invalid_argument);
  EXPECT_THROW(Encode("€", CodePage::kWindows1252), std::invalid_argument);
}

TEST(SongParts, ReadNotesLinesAndChords) {
  EXPECT_EQ(KeyOf("C4"), 60);
  EXPECT_EQ(KeyOf("Bb3"), 58);
  EXPECT_THROW(KeyOf("H2"), std::invalid_argument);
  EXPECT_THROW(KeyOf("C"), std::invalid_argument);
  const std::vector<LineNote> line = ParseLine("C4:2 r:.5 D4");
  ASSERT_EQ(line.size(), 2u);
  EXPECT_EQ(line[1].start, Beats(2.5));
  EXPECT_EQ(line[1].length, Beats(0.5));
  EXPECT_EQ(LineLength("C4:2 r:.5 D4"), Beats(3));
  EXPECT_THAT(ParseChords("F#m7:4", 0)[0].classes, ElementsAre(6, 9, 1, 4));
  EXPECT_THROW(ParseChords("Cx:4", 0), std::invalid_argument);
}

TEST(SongParts, SingsOnlyWhereNotesAndSyllablesAgree) {
  Track melody("m", 3);
  Track words("w", 3);
  const Words how{&words, kLyric, CodePage::kWindows1252, Breaks::kMarks};
  EXPECT_THROW(Sing(melody, how, "C4 D4", 0, {"one|two|three"}, 80), std::invalid_argument);
  EXPECT_NO_THROW(Sing(melody, how, "C4 D4 E4", 0, {"one|two", "three"}, 80));
}

}  // namespace
}  // namespace vexolo::songs
