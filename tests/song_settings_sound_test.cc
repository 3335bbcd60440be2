// layer: core
// What every key of a song's settings does to the sound of its conversion.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/convert_command.h"
#include "audio/loader.h"
#include "engine_fixture.h"
#include "fakes/temporary_folder.h"
#include "mixer/controller_table.h"
#include "song_builder.h"
#include "tone_bank.h"

namespace vexolo {
namespace {

using engine::testing::Cents;
using engine::testing::FramesOf;
using engine::testing::Hertz;
using engine::testing::HertzOf;
using engine::testing::Pcm;
using engine::testing::SongBuilder;
using engine::testing::ToneBank;

constexpr double kRate = 44100;
constexpr int kDrums = 9;
constexpr double kSlot = 0.5;   // seconds from channel to channel
constexpr double kNote = 0.25;  // seconds that each of them sounds

enum SongKind {
  kReverbTime = 1,
  kReverbDelay,
  kReverbLowPass,
  kReverbHighPass,
  kReverbLevel,
  kChorusDelay,
  kChorusDepth,
  kChorusRate,
  kChorusFeedback,
  kChorusLevel,
  kChorusToReverb,
};

std::uint32_t Ticks(double seconds) {
  return static_cast<std::uint32_t>(std::lround(seconds * 960));  // 480 a quarter, 120 a minute
}

/// Every channel in its turn, a key higher each if asked for.
SongBuilder AllChannels(bool scale = false) {
  SongBuilder song;
  for (int channel = 0; channel < kChannels; ++channel) {
    song.Note(Ticks(kSlot * channel), Ticks(kNote), channel, 60 + (scale ? channel : 0));
  }
  return song.End(Ticks(kSlot * kChannels));
}

/// One note of the first channel, and time for what it leaves behind.
SongBuilder OneNote(double seconds, int key = 60) {
  return SongBuilder().Note(0, Ticks(seconds), 0, key).End(Ticks(seconds + 1));
}

/// Keys of a song's settings.
class Settings {
 public:
  Settings& Set(const std::string& section, const std::string& key, const std::string& value) {
    sections_[section][key] = value;
    return *this;
  }
  Settings& Slider(const std::string& section, const std::string& value) {
    return Set(section, "Slider", value);
  }
  Settings& Channel(const std::string& section, int channel, int value) {
    return Set(section, "Ch" + std::to_string(channel), std::to_string(value));
  }
  Settings& Entry(int entry, int value) {
    return Set("CC", "CC" + std::to_string(entry), std::to_string(value));
  }
  Settings& Control(int kind, int channel, int value) {
    return Entry(16 * (kind - 1) + channel, value);
  }
  Settings& Effect(SongKind kind, int value) { return Entry(111 + kind, value); }

  std::string Text() const {
    std::string text;
    for (const auto& [section, keys] : sections_) {
      text += "[" + section + "]\r\n";
      for (const auto& [key, value] : keys) text += key + "=" + value + "\r\n";
    }
    return text;
  }

 private:
  std::map<std::string, std::map<std::string, std::string>> sections_;
};

Settings Dry() { return Settings().Effect(kReverbLevel, 0).Effect(kChorusLevel, 0); }

/// Nothing but the reverb of the first channel.
Settings ReverbOnly() {
  return Settings().Control(kReverbKind, 0, 127).Effect(kChorusLevel, 0).Effect(kReverbHighPass, 0);
}

/// Nothing but a single echo of the first channel, 100 ms late.
Settings EchoOnly() {
  return Settings()
      .Control(kReverbKind, 0, 0)
      .Control(kChorusKind, 0, 127)
      .Effect(kChorusDelay, 1000)
      .Effect(kChorusDepth, 0);
}

// ---- Measurements

std::vector<double> Side(const Pcm& sound, int side, double from, double to) {
  std::vector<double> samples;
  const auto end = static_cast<std::size_t>(std::lround(to * kRate));
  for (auto i = static_cast<std::size_t>(std::lround(from * kRate)); i < end; ++i) {
    samples.push_back(2 * i + 1 < sound.size() ? sound[2 * i + side] : 0);
  }
  return samples;
}

double SideLevel(const Pcm& sound, int side, double from, double to) {
  return engine::testing::RmsOf(Side(sound, side, from, to));
}

/// Root of the mean power of both sides.
double Level(const Pcm& sound, double from, double to) {
  return std::hypot(SideLevel(sound, 0, from, to), SideLevel(sound, 1, from, to)) / std::sqrt(2.0);
}

double Decibels(double ratio) { return 20 * std::log10(ratio); }

/// Of the note of a channel of AllChannels.
double NoteLevel(const Pcm& sound, int channel) {
  return Level(sound, kSlot * channel + 0.05, kSlot * channel + 0.2);
}

/// Of what is left between that note and the next.
double TailLevel(const Pcm& sound, int channel) {
  return Level(sound, kSlot * channel + kNote + 0.02, kSlot * (channel + 1) - 0.01);
}

double NoteHertz(const Pcm& sound, int channel) {
  const double from = kSlot * channel + 0.05;
  return Hertz(sound, static_cast<std::size_t>(from * kRate),
               static_cast<std::size_t>((from + 0.15) * kRate));
}

/// On either side.
double FirstSound(const Pcm& sound, double from) {
  for (auto i = 2 * static_cast<std::size_t>(from * kRate); i < sound.size(); ++i) {
    if (std::abs(sound[i]) > 100) return static_cast<double>(i / 2) / kRate;
  }
  return -1;
}

double LastSound(const Pcm& sound) {
  for (std::size_t i = FramesOf(sound); i-- > 0;) {
    if (std::abs(sound[2 * i]) > 100) return static_cast<double>(i) / kRate;
  }
  return -1;
}

/// Levels of 10 ms each.
std::vector<double> Envelope(const Pcm& sound, double from, double to) {
  std::vector<double> levels;
  for (double at = from; at < to; at += 0.01) levels.push_back(SideLevel(sound, 0, at, at + 0.01));
  return levels;
}

class SongSettingsSoundTest : public ::testing::Test {
 protected:
  SongSettingsSoundTest() : library_(AudioLibrary::OpenEngine()) {
    folder_.Write("Vexolo.ini", "[Vexolo]\r\nAutoMute=0\r\n");
    folder_.Write("tones.sf2", ToneBank(0.25));
  }

  /// The samples of the WAV file that a song with these settings becomes.
  Pcm Convert(const SongBuilder& song, const Settings& settings) {
    const std::string path = folder_.Write("song.mid", song.Song());
    folder_.Write("song.zvn", settings.Text());
    std::ostringstream out;
    std::ostringstream err;
    const ConvertEnvironment environment = {library_->api(),
                                            {out, err, false, false},
                                            VEXOLO_PROGRAM_FOLDER,
                                            folder_ / "Vexolo.ini",
                                            ',',
                                            [] { return false; },
                                            {}};
    EXPECT_EQ(RunConvertCommand({"-s", folder_ / "tones.sf2", "-f", "wav", "-y", "-n", "out", path},
                                environment),
              0)
        << err.str();
    const std::string wav = folder_.Read("out.wav");
    Pcm sound(wav.size() > 44 ? (wav.size() - 44) / 2 : 0);
    if (!sound.empty()) std::memcpy(sound.data(), wav.data() + 44, 2 * sound.size());
    return sound;
  }

  TemporaryFolder folder_;
  std::unique_ptr<AudioLibrary> library_;
};

// ---- Song-wide knobs

TEST_F(SongSettingsSoundTest, GainIsDecibels) {
  const Pcm plain = Convert(AllChannels(), Dry());
  ASSERT_GT(NoteLevel(plain, 0), 300);
  for (const int gain : {-20, -6, 5, 12}) {
    const Pcm sound = Convert(AllChannels(), Dry().Slider("Gain", std::to_string(gain)));
    for (int channel = 0; channel < kChannels; ++channel) {
      EXPECT_NEAR(Decibels(NoteLevel(sound, channel) / NoteLevel(plain, channel)), gain, 0.1);
    }
  }
}

TEST_F(SongSettingsSoundTest, TempoIsPercentOfTheTimeBetweenNotes) {
  for (const auto& [text, factor] :
       std::map<std::string, double>{{"25,0", 0.75}, {"-50.0", 1.5}, {"12,5", 0.875}}) {
    const Pcm sound = Convert(AllChannels(), Dry().Slider("Tempo", text));
    EXPECT_NEAR(static_cast<double>(FramesOf(sound)) / kRate, kSlot * kChannels * factor, 0.1);
    for (int channel = 1; channel < kChannels; ++channel) {
      const double gap = (kSlot * channel - 0.1) * factor;
      EXPECT_NEAR(FirstSound(sound, gap), kSlot * channel * factor, 0.002) << text;
    }
    EXPECT_NEAR(Cents(Hertz(sound, 4410, 8000), HertzOf(0, 0)), 0, 3) << "speed is not pitch";
  }
}

TEST_F(SongSettingsSoundTest, TransposeMovesEveryChannelButTheDrums) {
  for (const int semitones : {-12, -5, 3, 12}) {
    const Pcm sound = Convert(AllChannels(), Dry().Slider("Transpose", std::to_string(semitones)));
    for (int channel = 0; channel < kChannels; ++channel) {
      const double own = channel == kDrums ? HertzOf(128, 0) : HertzOf(0, 0);
      const int moved = channel == kDrums ? 0 : 100 * semitones;
      EXPECT_NEAR(Cents(NoteHertz(sound, channel), own), moved, 3) << channel;
    }
  }
}

// ---- Levels and mutes

TEST_F(SongSettingsSoundTest, VolumeIsThePercentOfEachChannel) {
  Settings settings = Dry();
  const auto percent = [](int channel) { return 20 + 12 * channel; };  // 20..200
  for (int channel = 0; channel < kChannels; ++channel) {
    settings.Channel("Volume", channel, percent(channel));
  }
  const Pcm plain = Convert(AllChannels(), Dry());
  const Pcm sound = Convert(AllChannels(), settings);
  for (int channel = 0; channel < kChannels; ++channel) {
    EXPECT_NEAR(Decibels(NoteLevel(sound, channel) / NoteLevel(plain, channel)),
                Decibels(percent(channel) / 100.0), 0.1)
        << channel;
  }
}

TEST_F(SongSettingsSoundTest, VolumeZeroIsSilence) {
  const Pcm sound = Convert(AllChannels(), Settings().Channel("Volume", 0, 0));
  EXPECT_EQ(Level(sound, 0, kSlot), 0);
  EXPECT_GT(NoteLevel(sound, 1), 300);
}

TEST_F(SongSettingsSoundTest, MuteSilencesItsChannelAlone) {
  for (const int odd : {0, 1}) {
    Settings settings = Dry();
    for (int channel = 0; channel < kChannels; ++channel) {
      settings.Channel("Mute", channel, channel % 2 == odd ? 1 : 0);
    }
    const Pcm sound = Convert(AllChannels(), settings);
    for (int channel = 0; channel < kChannels; ++channel) {
      const double level = NoteLevel(sound, channel);
      EXPECT_EQ(level == 0, channel % 2 == odd) << channel;
      EXPECT_EQ(level > 300, channel % 2 != odd) << channel;
    }
  }
}

// ---- Controllers of the channels

TEST_F(SongSettingsSoundTest, VolumeControllerOfEachChannel) {
  Settings settings = Dry();
  const auto value = [](int channel) { return 7 + 8 * channel; };  // 7..127
  for (int channel = 0; channel < kChannels; ++channel) {
    settings.Control(kVolumeKind, channel, value(channel));
  }
  const Pcm plain = Convert(AllChannels(), Dry());
  const Pcm sound = Convert(AllChannels(), settings);
  for (int channel = 2; channel < kChannels; ++channel) {
    // General MIDI: 40 log(value / 127); songs start at 100.
    EXPECT_NEAR(Decibels(NoteLevel(sound, channel) / NoteLevel(plain, channel)),
                2 * Decibels(value(channel) / 100.0), 0.5)
        << channel;
  }
}

TEST_F(SongSettingsSoundTest, PanOfEachChannel) {
  Settings settings = Dry();
  const auto pan = [](int channel) { return std::min(127, 8 * channel + channel / 8); };
  for (int channel = 0; channel < kChannels; ++channel) {
    settings.Control(kPanKind, channel, pan(channel));
  }
  const Pcm sound = Convert(AllChannels(), settings);
  double last = -1;
  for (int channel = 0; channel < kChannels; ++channel) {
    const double from = kSlot * channel + 0.05;
    const double left = SideLevel(sound, 0, from, from + 0.15);
    const double right = SideLevel(sound, 1, from, from + 0.15);
    const double angle = std::atan2(right, left) / (std::acos(-1) / 2);  // 0 left, 1 right
    EXPECT_NEAR(angle, pan(channel) / 127.0, 0.03) << channel;
    EXPECT_GT(angle, last) << channel;
    last = angle;
  }
}

TEST_F(SongSettingsSoundTest, ReverbSendOfEachChannel) {
  for (const int odd : {0, 1}) {
    Settings settings = Settings().Effect(kReverbTime, 100).Effect(kReverbHighPass, 0);
    for (int channel = 0; channel < kChannels; ++channel) {
      settings.Control(kReverbKind, channel, channel % 2 == odd ? 127 : 0);
    }
    const Pcm sound = Convert(AllChannels(), settings);
    for (int channel = 0; channel < kChannels; ++channel) {
      const double share = TailLevel(sound, channel) / NoteLevel(sound, channel);
      EXPECT_EQ(share > 0.01, channel % 2 == odd) << channel << ": " << share;
      EXPECT_EQ(share < 0.001, channel % 2 != odd) << channel << ": " << share;
    }
  }
}

TEST_F(SongSettingsSoundTest, ChorusSendOfEachChannel) {
  for (const int odd : {0, 1}) {
    Settings settings =
        Settings().Effect(kReverbLevel, 0).Effect(kChorusDelay, 1000).Effect(kChorusDepth, 0);
    for (int channel = 0; channel < kChannels; ++channel) {
      settings.Control(kChorusKind, channel, channel % 2 == odd ? 127 : 0);
    }
    const Pcm sound = Convert(AllChannels(), settings);
    for (int channel = 0; channel < kChannels; ++channel) {
      const double share = TailLevel(sound, channel) / NoteLevel(sound, channel);
      EXPECT_EQ(share > 0.3, channel % 2 == odd) << channel << ": " << share;
      EXPECT_EQ(share < 0.001, channel % 2 != odd) << channel << ": " << share;
    }
  }
}

TEST_F(SongSettingsSoundTest, BankProgramAndDrumModeOfEachChannel) {
  const struct {
    int bank, program, drums, tone_bank;
  } kCases[] = {{8, 0, 0, 8}, {0, 1, 0, 0}, {8, 1, 0, 8}, {0, 8, 1, 128}, {0, 0, 0, 0}};
  for (int first = 0; first < 5; ++first) {
    Settings settings = Dry();
    for (int channel = 0; channel < kChannels; ++channel) {
      const auto& made = kCases[(first + channel) % 5];
      settings.Control(kBankKind, channel, made.bank);
      settings.Control(kProgramKind, channel, made.program);
      settings.Control(kDrumKind, channel, made.drums);
    }
    const Pcm sound = Convert(AllChannels(), settings);
    for (int channel = 0; channel < kChannels; ++channel) {
      const auto& made = kCases[(first + channel) % 5];
      EXPECT_NEAR(Cents(NoteHertz(sound, channel), HertzOf(made.tone_bank, made.program)), 0, 5)
          << channel << " case " << (first + channel) % 5;
    }
  }
}

TEST_F(SongSettingsSoundTest, BankProgramAndDrumModeAloneKeepWhatTheSongSays) {
  const auto song = AllChannels().Program(0, 0, 1).Control(0, 1, 0, 8).Program(0, 1, 0);
  const Pcm sound = Convert(song, Dry()
                                      .Control(kBankKind, 0, 8)
                                      .Control(kProgramKind, 1, 1)
                                      .Control(kDrumKind, 2, 1)
                                      .Control(kDrumKind, kDrums, 0));
  EXPECT_NEAR(Cents(NoteHertz(sound, 0), HertzOf(8, 1)), 0, 5);
  EXPECT_NEAR(Cents(NoteHertz(sound, 1), HertzOf(8, 1)), 0, 5);
  EXPECT_NEAR(Cents(NoteHertz(sound, 2), HertzOf(128, 0)), 0, 5);
  EXPECT_NEAR(Cents(NoteHertz(sound, kDrums), HertzOf(0, 0)), 0, 5);
}

/// The largest difference of two samples at the same place; very large where the lengths differ.
int LargestDifference(const Pcm& one, const Pcm& other) {
  if (one.size() != other.size()) return 1 << 20;
  int most = 0;
  for (std::size_t i = 0; i < one.size(); ++i) most = std::max(most, std::abs(one[i] - other[i]));
  return most;
}

TEST_F(SongSettingsSoundTest, WhatIsSetOutlastsWhatTheSongSends) {
  Settings settings = Settings().Effect(kReverbTime, 300).Effect(kChorusDelay, 500);
  SongBuilder busy = AllChannels();
  for (int channel = 0; channel < kChannels; ++channel) {
    const std::vector<int> values = {90, 20, 64, 64, 8, 1, 0};
    for (int kind = kVolumeKind; kind <= kDrumKind; ++kind) {
      settings.Control(kind, channel, values[static_cast<std::size_t>(kind - 1)]);
    }
    const std::uint32_t before = Ticks(kSlot * channel);
    for (const auto& [controller, value] :
         std::map<int, int>{{7, 30}, {10, 127}, {91, 0}, {93, 0}, {0, 0}}) {
      busy.Control(before, channel, controller, value);
    }
    busy.Program(before, channel, 0);
  }
  const Pcm quiet = Convert(AllChannels(), settings);
  EXPECT_GT(NoteLevel(quiet, 0), 300);
  EXPECT_FALSE(Convert(busy, Settings()) == Convert(AllChannels(), Settings()));
  EXPECT_TRUE(Convert(busy, settings) == quiet);
  // A reset has voices and effects work their values out anew, which may round a sample otherwise.
  EXPECT_LE(LargestDifference(Convert(busy.GmReset(Ticks(2.9)), settings), quiet), 1)
      << "after a reset";
}

// ---- Reverb

TEST_F(SongSettingsSoundTest, ReverbTimeIsTheTimeOfAFallBy60Decibels) {
  for (const int milliseconds : {500, 1500, 4000}) {
    const Pcm sound = Convert(OneNote(0.25), ReverbOnly().Effect(kReverbTime, milliseconds));
    const double fall = Decibels(Level(sound, 0.35, 0.45) / Level(sound, 0.65, 0.75));
    EXPECT_NEAR(fall, 60 * 300.0 / milliseconds, 2 + 0.1 * fall) << milliseconds;
  }
}

TEST_F(SongSettingsSoundTest, ReverbDelayIsTenthsOfAMillisecond) {
  for (const int delay : {1000, 1500, 2000}) {
    const Pcm sound = Convert(OneNote(0.05), ReverbOnly().Effect(kReverbDelay, delay));
    const double heard = FirstSound(sound, 0.08);
    EXPECT_GE(heard, delay / 10000.0);
    EXPECT_LE(heard, delay / 10000.0 + 0.03);
  }
  EXPECT_GT(Level(Convert(OneNote(0.05), ReverbOnly().Effect(kReverbDelay, 0)), 0.08, 0.1), 10);
}

TEST_F(SongSettingsSoundTest, ReverbLowPassAndHighPassAreHertz) {
  const auto tail = [this](SongKind kind, int hertz, int key) {
    const Pcm sound =
        Convert(OneNote(0.25, key), ReverbOnly().Effect(kReverbLowPass, 0).Effect(kind, hertz));
    return Level(sound, 0.3, 0.6);
  };
  // Two octaves beyond the edge, at 12 decibels an octave.
  const double high = 4 * HertzOf(0, 0);  // key 84
  EXPECT_NEAR(Decibels(tail(kReverbLowPass, 441, 84) / tail(kReverbLowPass, 0, 84)), -24, 2);
  EXPECT_NEAR(Decibels(tail(kReverbLowPass, 20000, 84) / tail(kReverbLowPass, 0, 84)), 0, 1);
  EXPECT_NEAR(
      Decibels(tail(kReverbHighPass, static_cast<int>(high), 60) / tail(kReverbHighPass, 0, 60)),
      -24, 2);
  EXPECT_NEAR(Decibels(tail(kReverbHighPass, 20, 60) / tail(kReverbHighPass, 0, 60)), 0, 1);
}

TEST_F(SongSettingsSoundTest, ReverbLevelIsPercent) {
  const auto tail = [this](int level) {
    return Level(Convert(OneNote(0.25), ReverbOnly().Effect(kReverbLevel, level)), 0.3, 0.6);
  };
  const double normal = tail(100);
  EXPECT_GT(normal, 50);
  EXPECT_NEAR(Decibels(tail(50) / normal), -6.02, 0.1);
  EXPECT_NEAR(Decibels(tail(200) / normal), 6.02, 0.1);
  EXPECT_EQ(tail(0), 0);
}

// ---- Chorus

TEST_F(SongSettingsSoundTest, ChorusDelayIsTenthsOfAMillisecond) {
  const double dry = LastSound(Convert(OneNote(0.05), EchoOnly().Effect(kChorusLevel, 0)));
  for (const int delay : {200, 500, 1000}) {
    const Pcm sound = Convert(OneNote(0.05), EchoOnly().Effect(kChorusDelay, delay));
    EXPECT_NEAR(LastSound(sound) - dry, delay / 10000.0, 0.001);
  }
}

TEST_F(SongSettingsSoundTest, ChorusDepthMakesTheSoundSwing) {
  const auto swing = [this](int depth) {
    const Pcm sound = Convert(
        OneNote(2),
        EchoOnly().Effect(kChorusDelay, 96).Effect(kChorusDepth, depth).Effect(kChorusRate, 100));
    const std::vector<double> levels = Envelope(sound, 0.1, 1.9);
    const auto [lowest, highest] = std::minmax_element(levels.begin(), levels.end());
    return Decibels(*highest / *lowest);
  };
  EXPECT_LT(swing(0), 1);
  EXPECT_GT(swing(2), 2);
  EXPECT_GT(swing(40), 12) << "the echo passes through opposite phase";
}

TEST_F(SongSettingsSoundTest, ChorusRateIsHundredthsOfAHertz) {
  for (const int rate : {200, 500, 800}) {
    // A quarter of a period off, so that the level goes with the swing.
    const Pcm sound = Convert(
        OneNote(2.2),
        EchoOnly().Effect(kChorusDelay, 96).Effect(kChorusDepth, 2).Effect(kChorusRate, rate));
    const std::vector<double> levels = Envelope(sound, 0.1, 2.1);
    double mean = 0;
    for (const double level : levels) mean += level / static_cast<double>(levels.size());
    int rises = 0;
    for (std::size_t i = 1; i < levels.size(); ++i) {
      rises += levels[i - 1] < mean && levels[i] >= mean;
    }
    EXPECT_NEAR(rises, 2 * rate / 100, 1) << rate;
  }
}

TEST_F(SongSettingsSoundTest, ChorusFeedbackIsPercentFrom100) {
  const auto echoes = [this](int feedback) {
    return Convert(OneNote(0.05), EchoOnly().Effect(kChorusFeedback, feedback));
  };
  EXPECT_EQ(Level(echoes(100), 0.21, 0.24), 0);
  for (const int feedback : {25, 50, 150, 180}) {
    const Pcm sound = echoes(feedback);
    const std::vector<double> first = Side(sound, 0, 0.11, 0.14);
    const std::vector<double> second = Side(sound, 0, 0.21, 0.24);
    double product = 0;
    double power = 0;
    for (std::size_t i = 0; i < first.size(); ++i) {
      product += first[i] * second[i];
      power += first[i] * first[i];
    }
    EXPECT_NEAR(product / power, (feedback - 100) / 100.0, 0.02) << feedback;
  }
}

TEST_F(SongSettingsSoundTest, ChorusLevelIsPercent) {
  const auto echo = [this](int level) {
    return Level(Convert(OneNote(0.05), EchoOnly().Effect(kChorusLevel, level)), 0.11, 0.14);
  };
  const double normal = echo(100);
  EXPECT_GT(normal, 100);
  EXPECT_NEAR(Decibels(echo(50) / normal), -6.02, 0.1);
  EXPECT_NEAR(Decibels(echo(200) / normal), 6.02, 0.1);
  EXPECT_EQ(echo(0), 0);
}

TEST_F(SongSettingsSoundTest, ChorusGoesToTheReverbByPercent) {
  const auto tail = [this](int share) {
    const Pcm sound = Convert(OneNote(0.05), EchoOnly().Effect(kChorusToReverb, share));
    return Level(sound, 0.2, 0.5);
  };
  const double normal = tail(100);
  EXPECT_GT(normal, 10);
  EXPECT_EQ(tail(0), 0);
  EXPECT_NEAR(Decibels(tail(50) / normal), -6.02, 0.2);
  EXPECT_NEAR(Decibels(tail(200) / normal), 6.02, 0.2);
}

// ---- Markers

TEST_F(SongSettingsSoundTest, MarkersCutOutTheirPartAndFadeItsEnd) {
  Settings settings = Dry().Set("Marqueurs", "Debut", "1,000").Set("Marqueurs", "Fin", "2.600");
  const Pcm whole = Convert(AllChannels(true), settings.Set("Marqueurs", "Marche", "0"));
  const Pcm part = Convert(AllChannels(true), settings.Set("Marqueurs", "Marche", "1"));
  EXPECT_GE(static_cast<double>(FramesOf(whole)) / kRate, kSlot * kChannels);
  EXPECT_NEAR(static_cast<double>(FramesOf(part)) / kRate, 2.6 - 1 + 0.3 + 0.01, 0.001);
  for (int note = 0; note < 3; ++note) {
    EXPECT_NEAR(Cents(NoteHertz(part, note), HertzOf(0, 0)), 100 * (note + 2), 3);
    EXPECT_NEAR(Decibels(NoteLevel(part, note) / NoteLevel(whole, note + 2)), 0, 0.1);
  }
  // A third and then two thirds of the way down, while the note of 2.5 s sounds.
  EXPECT_NEAR(Level(part, 1.695, 1.705) / Level(whole, 2.695, 2.705), 2 / 3.0, 0.03);
  EXPECT_LT(Level(part, 1.9, 1.91), 1);
}

// ---- Everything together

/// What EveryKey gives a channel.
struct Strip {
  explicit Strip(int channel)
      : muted(channel % 3 == 0),
        level(60 + 5 * channel),
        volume(70 + 3 * channel),
        side(channel % 2),
        bank(8 * (channel / 2 % 2)),
        program(channel / 4 % 2),
        reverb(channel == 13 ? 127 : 0),
        chorus(channel == 11 ? 127 : 0) {}
  bool muted;
  int level, volume, side, bank, program, reverb, chorus;
};

constexpr double kFactor = 0.8;  // of the tempo in EveryKey
constexpr double kStart = 0.8;   // seconds of the converted song: the third channel's note
constexpr double kEnd = 5.6;     // after the fourteenth's
constexpr int kGain = -4;        // decibels
constexpr int kSemitones = 2;

/// All keys that there are, none of them at its default.
Settings EveryKey() {
  Settings settings;
  settings.Slider("Gain", "-4").Slider("Tempo", "20,0").Slider("Transpose", "2");
  // Markers are stored times the factor.
  settings.Set("Marqueurs", "Marche", "1");
  settings.Set("Marqueurs", "Debut", "0,640").Set("Marqueurs", "Fin", "4.480");
  for (int channel = 0; channel < kChannels; ++channel) {
    const Strip strip(channel);
    settings.Channel("Volume", channel, strip.level).Channel("Mute", channel, strip.muted);
    settings.Control(kVolumeKind, channel, strip.volume);
    settings.Control(kPanKind, channel, 127 * strip.side);
    settings.Control(kReverbKind, channel, strip.reverb);
    settings.Control(kChorusKind, channel, strip.chorus);
    settings.Control(kBankKind, channel, strip.bank);
    settings.Control(kProgramKind, channel, strip.program);
    settings.Control(kDrumKind, channel, 0);
  }
  return settings.Effect(kReverbTime, 300)
      .Effect(kReverbDelay, 0)
      .Effect(kReverbLowPass, 0)
      .Effect(kReverbHighPass, 0)
      .Effect(kReverbLevel, 90)
      .Effect(kChorusDelay, 1000)
      .Effect(kChorusDepth, 0)
      .Effect(kChorusRate, 100)
      .Effect(kChorusFeedback, 101)
      .Effect(kChorusLevel, 90)
      .Effect(kChorusToReverb, 1);
}

/// The note of a channel that starts at `at`; it had `plain_level` without settings.
void ExpectStrip(const Pcm& sound, const Strip& strip, double at, double plain_level) {
  const double from = at + 0.02;
  const double to = at + 0.09;  // before the echo
  if (strip.muted) {
    EXPECT_LT(Level(sound, from, to), 3);
    return;
  }
  EXPECT_NEAR(FirstSound(sound, std::max(0.0, at - 0.03)), at, 0.003);
  const bool has_room = strip.reverb > 0;  // which sounds on both sides
  const double other_side =
      SideLevel(sound, 1 - strip.side, from, to) / SideLevel(sound, strip.side, from, to);
  EXPECT_EQ(other_side < 0.02, !has_room) << other_side;
  const double expected =
      kGain + Decibels(strip.level / 100.0) + 2 * Decibels(strip.volume / 100.0);
  EXPECT_NEAR(Decibels(Level(sound, from, to) / plain_level), expected, has_room ? 3 : 0.3);
  Pcm tone;
  for (const double sample : Side(sound, strip.side, from, to)) {
    tone.insert(tone.end(), 2, static_cast<std::int16_t>(sample));
  }
  EXPECT_NEAR(Cents(Hertz(tone, 0, FramesOf(tone)), HertzOf(strip.bank, strip.program)),
              100 * kSemitones, 12);
  const double tail = Level(sound, at + 0.23, at + 0.29);
  EXPECT_EQ(tail > 10, has_room || strip.chorus > 0) << tail;
  EXPECT_EQ(tail < 3, !has_room && strip.chorus == 0) << tail;
}

TEST_F(SongSettingsSoundTest, EveryKeyAtOnceStillActsInEveryRespect) {
  const Pcm plain = Convert(AllChannels(), Dry());
  const Pcm sound = Convert(AllChannels(), EveryKey());
  EXPECT_NEAR(static_cast<double>(FramesOf(sound)) / kRate, kEnd - kStart + 0.31, 0.001);
  for (int channel = 2; channel < 14; ++channel) {
    SCOPED_TRACE(channel);
    ExpectStrip(sound, Strip(channel), kSlot * channel * kFactor - kStart,
                NoteLevel(plain, channel));
  }
}

}  // namespace
}  // namespace vexolo
