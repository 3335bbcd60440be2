// layer: engine
#include "engine/sound_font_synth.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <memory>
#include <numbers>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/sound_font.h"

namespace vexolo::engine {
namespace {

constexpr double kRate = 44100.0;
constexpr int kOrgan = 16;    // drawbar organ: steady, looped
constexpr int kStrings = 48;  // string ensemble
constexpr int kOcarina = 79;  // steady pitch, next to no overtones
constexpr int kDrums = 9;
constexpr int kGridFrames = 64;

/// Everything that a synthesiser said, channel for channel.
struct Recording {
  std::array<std::vector<float>, kChannels> left;
  std::array<std::vector<float>, kChannels> right;
};

double Rms(const std::vector<float>& samples) {
  double sum = 0;
  for (const float sample : samples) sum += static_cast<double>(sample) * sample;
  return std::sqrt(sum / static_cast<double>(samples.size()));
}

class SoundFontSynthTest : public testing::Test {
 public:
  static void SetUpTestSuite() {
    SoundFont::Error error;
    font_ = new std::shared_ptr<SoundFont>(SoundFont::Load(VEXOLO_TEST_BANK, &error));
  }
  static void TearDownTestSuite() {
    delete font_;
    font_ = nullptr;
  }

  void SetUp() override {
    ASSERT_NE(*font_, nullptr);
    synth_ = (*font_)->CreateSynth();
    ASSERT_NE(synth_, nullptr);
  }

  /// Renders in the given cuts, over and over, and keeps it all.
  static Recording Record(SoundFontSynth& synth, int frames, std::vector<int> cuts = {kMaxBlock}) {
    auto block = std::make_unique<DryBlock>();
    Recording recording;
    for (std::size_t i = 0; frames > 0; ++i) {
      const int now = std::min(frames, cuts[i % cuts.size()]);
      for (auto& samples : block->left) samples.fill(99.0f);
      for (auto& samples : block->right) samples.fill(99.0f);
      synth.Render(*block, now);
      for (int channel = 0; channel < kChannels; ++channel) {
        const float* left = block->left[channel].data();
        const float* right = block->right[channel].data();
        recording.left[channel].insert(recording.left[channel].end(), left, left + now);
        recording.right[channel].insert(recording.right[channel].end(), right, right + now);
      }
      frames -= now;
    }
    return recording;
  }

  Recording Record(double seconds) { return Record(*synth_, static_cast<int>(seconds * kRate)); }

  void Skip(double seconds) { Record(seconds); }

  static double Decibels(double ratio) { return 20 * std::log10(ratio); }

  /// Hertz of the strongest partial near `guess`, from the phase advance between two windows.
  static double Pitch(const std::vector<float>& samples, double guess) {
    constexpr int kWindow = 8192;
    constexpr int kHop = 256;
    double frequency = guess;
    for (int round = 0; round < 8; ++round) {
      const double step = 2 * std::numbers::pi * frequency / kRate;
      double phases[2];
      for (int part = 0; part < 2; ++part) {
        double real = 0;
        double imaginary = 0;
        for (int i = 0; i < kWindow; ++i) {
          const double window = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * i / kWindow);
          const double sample = samples.at(part * kHop + i) * window;
          real += sample * std::cos(step * (i + part * kHop));
          imaginary -= sample * std::sin(step * (i + part * kHop));
        }
        phases[part] = std::atan2(imaginary, real);
      }
      const double turn = std::remainder(phases[1] - phases[0], 2 * std::numbers::pi);
      frequency += turn / kHop * kRate / (2 * std::numbers::pi);
    }
    return frequency;
  }

  static double Cents(double frequency, double reference) {
    return 1200 * std::log2(frequency / reference);
  }

  /// Greatest step from one sample to the next.
  static float Jump(const std::vector<float>& samples, std::size_t begin, std::size_t end) {
    float jump = 0;
    for (std::size_t i = begin + 1; i < end; ++i) {
      jump = std::max(jump, std::abs(samples[i] - samples[i - 1]));
    }
    return jump;
  }

  void SetRpn(int channel, int parameter, int value) {
    synth_->Controller(channel, 101, 0);
    synth_->Controller(channel, 100, parameter);
    synth_->Controller(channel, 6, value);
    synth_->Controller(channel, 38, 0);
  }

  double PitchOfHeldNote(double guess) {
    synth_->NoteOn(0, 69, 100);
    Skip(0.3);
    return Pitch(Record(0.3).left[0], guess);
  }

  static std::shared_ptr<SoundFont>* font_;
  std::unique_ptr<SoundFontSynth> synth_;
};

std::shared_ptr<SoundFont>* SoundFontSynthTest::font_ = nullptr;

const std::vector<float> Silence(std::size_t frames) { return std::vector<float>(frames, 0.0f); }

TEST_F(SoundFontSynthTest, IsSilentAndInaudibleBeforeTheFirstNote) {
  const Recording recording = Record(0.1);
  for (int channel = 0; channel < kChannels; ++channel) {
    EXPECT_EQ(recording.left[channel], Silence(4410));
    EXPECT_EQ(recording.right[channel], Silence(4410));
    EXPECT_FALSE(synth_->Audible(channel));
  }
  EXPECT_EQ(synth_->ActiveVoices(), 0);
}

TEST_F(SoundFontSynthTest, PlaysConcertPitch) {
  synth_->Preset(0, 0, kOcarina, false);
  EXPECT_NEAR(Cents(PitchOfHeldNote(440), 440), 0, 5);
}

TEST_F(SoundFontSynthTest, PlaysEveryChannelInItsOwnPlaceOnly) {
  for (int channel = 0; channel < kChannels; ++channel) {
    std::unique_ptr<SoundFontSynth> synth = (*font_)->CreateSynth();
    synth->NoteOn(channel, channel == kDrums ? 38 : 60, 100);
    const Recording recording = Record(*synth, 4410);
    for (int other = 0; other < kChannels; ++other) {
      EXPECT_EQ(synth->Audible(other), other == channel);
      if (other == channel) {
        EXPECT_GT(Rms(recording.left[other]), 0.001);
        EXPECT_GT(Rms(recording.right[other]), 0.001);
      } else {
        EXPECT_EQ(recording.left[other], Silence(4410));
        EXPECT_EQ(recording.right[other], Silence(4410));
      }
    }
  }
}

TEST_F(SoundFontSynthTest, VolumeAndExpressionFollowTheSquareLaw) {
  synth_->Preset(0, 0, kOrgan, false);
  for (const int controller : {7, 11}) {
    synth_->Controller(0, 7, 127);
    synth_->Controller(0, 11, 127);
    synth_->NoteOn(0, 60, 100);
    Skip(0.5);
    const double loud = Rms(Record(1.0).left[0]);
    synth_->Controller(0, controller, 64);
    Skip(0.1);
    const double soft = Rms(Record(1.0).left[0]);
    EXPECT_NEAR(Decibels(soft / loud), 40 * std::log10(64.0 / 127), 0.5) << controller;
    synth_->NoteOff(0, 60);
    Skip(1.0);
  }
}

TEST_F(SoundFontSynthTest, VelocityFollowsTheSquareLaw) {
  synth_->Preset(0, 0, kOrgan, false);
  std::vector<double> levels;
  for (const int velocity : {127, 64}) {
    synth_->NoteOn(0, 60, velocity);
    Skip(0.5);
    levels.push_back(Rms(Record(1.0).left[0]));
    synth_->NoteOff(0, 60);
    Skip(1.0);
  }
  EXPECT_NEAR(Decibels(levels[1] / levels[0]), 40 * std::log10(64.0 / 127), 0.5);
}

TEST_F(SoundFontSynthTest, PanReachesBothSides) {
  synth_->Preset(0, 0, kOrgan, false);
  synth_->NoteOn(0, 60, 100);
  synth_->Controller(0, 10, 0);
  Skip(0.2);
  Recording recording = Record(0.2);
  EXPECT_GT(Rms(recording.left[0]), 0.01);
  EXPECT_LT(Rms(recording.right[0]), Rms(recording.left[0]) / 50);
  synth_->Controller(0, 10, 127);
  Skip(0.2);
  recording = Record(0.2);
  EXPECT_GT(Rms(recording.right[0]), 0.01);
  EXPECT_LT(Rms(recording.left[0]), Rms(recording.right[0]) / 50);
  synth_->Controller(0, 10, 64);
  Skip(0.2);
  recording = Record(0.2);
  EXPECT_NEAR(Decibels(Rms(recording.left[0]) / Rms(recording.right[0])), 0, 0.3);
}

TEST_F(SoundFontSynthTest, ChannelNineStartsWithTheStandardKit) {
  std::unique_ptr<SoundFontSynth> chosen = (*font_)->CreateSynth();
  chosen->Preset(0, 0, 0, true);
  chosen->NoteOn(0, 38, 100);
  synth_->NoteOn(kDrums, 38, 100);
  EXPECT_EQ(Record(*synth_, 8820).left[kDrums], Record(*chosen, 8820).left[0]);
}

TEST_F(SoundFontSynthTest, AnotherChannelBecomesDrumsAndDrumsBecomeMelodic) {
  synth_->Preset(kDrums, 0, kOcarina, false);
  synth_->NoteOn(kDrums, 69, 100);
  Skip(0.3);
  EXPECT_NEAR(Cents(Pitch(Record(0.3).left[kDrums], 440), 440), 0, 5);
}

TEST_F(SoundFontSynthTest, AMissingBankFallsBackOnBankZero) {
  ASSERT_EQ((*font_)->PresetName(kOrgan, 77), nullptr);
  std::unique_ptr<SoundFontSynth> plain = (*font_)->CreateSynth();
  synth_->Preset(0, 77, kOrgan, false);
  plain->Preset(0, 0, kOrgan, false);
  synth_->NoteOn(0, 60, 100);
  plain->NoteOn(0, 60, 100);
  EXPECT_EQ(Record(*synth_, 8820).left[0], Record(*plain, 8820).left[0]);
}

TEST_F(SoundFontSynthTest, AMissingKitFallsBackOnTheStandardKit) {
  ASSERT_EQ((*font_)->PresetName(99, 128), nullptr);
  std::unique_ptr<SoundFontSynth> standard = (*font_)->CreateSynth();
  synth_->Preset(0, 0, 99, true);
  standard->Preset(0, 0, 0, true);
  synth_->NoteOn(0, 38, 100);
  standard->NoteOn(0, 38, 100);
  const Recording recording = Record(*synth_, 8820);
  EXPECT_GT(Rms(recording.left[0]), 0.001);
  EXPECT_EQ(recording.left[0], Record(*standard, 8820).left[0]);
}

TEST_F(SoundFontSynthTest, ANewPresetLeavesSoundingNotesAlone) {
  std::unique_ptr<SoundFontSynth> same = (*font_)->CreateSynth();
  for (SoundFontSynth* synth : {synth_.get(), same.get()}) {
    synth->Preset(0, 0, kOrgan, false);
    synth->NoteOn(0, 60, 100);
    Record(*synth, 4410);
  }
  synth_->Preset(0, 0, kStrings, false);
  EXPECT_EQ(Record(*synth_, 4410).left[0], Record(*same, 4410).left[0]);
}

TEST_F(SoundFontSynthTest, ThePitchWheelReachesTwoSemitones) {
  synth_->Preset(0, 0, kOcarina, false);
  synth_->PitchWheel(0, 16383);
  EXPECT_NEAR(Cents(PitchOfHeldNote(493.88), 440), 200, 5);
  synth_->PitchWheel(0, 0);
  Skip(0.1);
  EXPECT_NEAR(Cents(Pitch(Record(0.3).left[0], 392), 440), -200, 5);
  synth_->PitchWheel(0, 8192);
  Skip(0.1);
  EXPECT_NEAR(Cents(Pitch(Record(0.3).left[0], 440), 440), 0, 5);
}

TEST_F(SoundFontSynthTest, ARegisteredParameterSetsTheWheelsRange) {
  synth_->Preset(0, 0, kOcarina, false);
  SetRpn(0, 0, 12);
  synth_->NoteOn(0, 69, 100);
  synth_->PitchWheel(0, 8192);
  Skip(0.3);
  const double middle = Pitch(Record(0.3).left[0], 440);
  synth_->PitchWheel(0, 16383);
  Skip(0.1);
  EXPECT_NEAR(Cents(Pitch(Record(0.3).left[0], 880), middle), 1200, 3);
}

TEST_F(SoundFontSynthTest, AnUnregisteredParameterDivertsDataEntry) {
  synth_->Preset(0, 0, kOcarina, false);
  SetRpn(0, 0, 2);
  synth_->Controller(0, 99, 1);
  synth_->Controller(0, 98, 8);
  synth_->Controller(0, 6, 12);
  synth_->PitchWheel(0, 16383);
  EXPECT_NEAR(Cents(PitchOfHeldNote(493.88), 440), 200, 5);
}

TEST_F(SoundFontSynthTest, TheNullParameterTakesNoData) {
  synth_->Preset(0, 0, kOcarina, false);
  SetRpn(0, 0, 2);
  synth_->Controller(0, 101, 127);
  synth_->Controller(0, 100, 127);
  synth_->Controller(0, 6, 12);
  synth_->PitchWheel(0, 16383);
  EXPECT_NEAR(Cents(PitchOfHeldNote(493.88), 440), 200, 5);
}

TEST_F(SoundFontSynthTest, ANoteEndsAfterItsRelease) {
  synth_->Preset(0, 0, kOrgan, false);
  synth_->NoteOn(0, 60, 100);
  Skip(2.0);
  EXPECT_GT(synth_->ActiveVoices(), 0);
  EXPECT_TRUE(synth_->Audible(0));
  synth_->NoteOff(0, 60);
  Skip(2.0);
  EXPECT_EQ(synth_->ActiveVoices(), 0);
  EXPECT_FALSE(synth_->Audible(0));
}

TEST_F(SoundFontSynthTest, ThePedalHoldsReleasedNotes) {
  synth_->Preset(0, 0, kOrgan, false);
  synth_->Controller(0, 64, 127);
  synth_->NoteOn(0, 60, 100);
  Skip(0.5);
  synth_->NoteOff(0, 60);
  Skip(2.0);
  EXPECT_GT(synth_->ActiveVoices(), 0);
  synth_->Controller(0, 64, 0);
  Skip(2.0);
  EXPECT_EQ(synth_->ActiveVoices(), 0);
}

TEST_F(SoundFontSynthTest, AllNotesOffReleasesButHonoursThePedal) {
  synth_->Preset(0, 0, kOrgan, false);
  synth_->Preset(1, 0, kOrgan, false);
  synth_->Controller(0, 64, 127);
  synth_->NoteOn(0, 60, 100);
  synth_->NoteOn(1, 60, 100);
  Skip(0.5);
  synth_->AllNotesOff(0);
  synth_->AllNotesOff(1);
  Skip(2.0);
  EXPECT_TRUE(synth_->Audible(0));
  EXPECT_FALSE(synth_->Audible(1));
}

TEST_F(SoundFontSynthTest, AllSoundOffIsQuickAndDoesNotClick) {
  synth_->Preset(0, 0, kStrings, false);
  synth_->Preset(1, 0, kStrings, false);
  synth_->Controller(0, 64, 127);
  synth_->Controller(0, 66, 127);
  for (const int channel : {0, 1}) synth_->NoteOn(channel, 60, 127);
  Skip(0.5);
  const Recording before = Record(0.5);
  synth_->AllSoundOff(0);
  const Recording after = Record(0.1);

  const float natural = Jump(before.left[0], 0, before.left[0].size());
  const float peak = *std::max_element(before.left[0].begin(), before.left[0].end());
  std::vector<float> seam(before.left[0].end() - 1, before.left[0].end());
  seam.insert(seam.end(), after.left[0].begin(), after.left[0].end());
  EXPECT_LE(Jump(seam, 0, seam.size()), natural + peak / kGridFrames);
  const std::vector<float> rest(after.left[0].begin() + 4 * kGridFrames, after.left[0].end());
  EXPECT_LT(Rms(rest), 1e-5);
  EXPECT_FALSE(synth_->Audible(0));
  EXPECT_TRUE(synth_->Audible(1));
}

TEST_F(SoundFontSynthTest, ANoteRightAfterAllSoundOffSoundsInFull) {
  std::unique_ptr<SoundFontSynth> fresh = (*font_)->CreateSynth();
  synth_->Preset(0, 0, kOrgan, false);
  fresh->Preset(0, 0, kOrgan, false);
  synth_->NoteOn(0, 48, 127);
  Record(*synth_, 64 * 200);
  synth_->AllSoundOff(0);
  synth_->NoteOn(0, 60, 100);
  fresh->NoteOn(0, 60, 100);
  Record(*synth_, 64 * 20);
  Record(*fresh, 64 * 20);
  EXPECT_EQ(Record(*synth_, 8192).left[0], Record(*fresh, 8192).left[0]);
}

/// A little of everything, the same at every call.
void Stir(SoundFontSynth& synth, int step) {
  const int channel = step * 5 % kChannels;
  synth.Preset(channel, 0, step * 11 % 128, channel == kDrums);
  synth.NoteOn(channel, 36 + step * 7 % 48, 60 + step * 13 % 60);
  synth.NoteOff((channel + 8) % kChannels, 36 + step * 3 % 48);
  synth.Controller(channel, 7, 40 + step * 17 % 80);
  synth.PitchWheel(channel, step * 997 % 16384);
  synth.Controller(channel, 64, step % 3 == 0 ? 127 : 0);
  synth.ChannelPressure(channel, step * 31 % 128);
  synth.KeyPressure(channel, 60, step * 3 % 128);
  synth.Controller(channel, 101, 0);
  synth.Controller(channel, 100, step % 3);  // wheel range, fine tuning, coarse tuning
  synth.Controller(channel, 6, 60 + step % 7);
  if (step % 16 == 15) synth.AllSoundOff(channel);
}

/// Events every 1000 frames, which is off the grid; the runs between them are cut as told.
Recording StirredRecording(SoundFontSynth& synth, const std::vector<int>& cuts, int steps = 40) {
  Recording all;
  for (int step = 0; step < steps; ++step) {
    Stir(synth, step);
    const Recording part = SoundFontSynthTest::Record(synth, 1000, cuts);
    for (int channel = 0; channel < kChannels; ++channel) {
      all.left[channel].insert(all.left[channel].end(), part.left[channel].begin(),
                               part.left[channel].end());
      all.right[channel].insert(all.right[channel].end(), part.right[channel].begin(),
                                part.right[channel].end());
    }
  }
  return all;
}

void ExpectSame(const Recording& one, const Recording& other) {
  for (int channel = 0; channel < kChannels; ++channel) {
    EXPECT_TRUE(one.left[channel] == other.left[channel]) << channel;
    EXPECT_TRUE(one.right[channel] == other.right[channel]) << channel;
  }
}

/// Equal but for how a voice that has played before begins its first step.
void ExpectAlike(const Recording& one, const Recording& other) {
  for (int channel = 0; channel < kChannels; ++channel) {
    std::vector<float> difference;
    std::transform(one.left[channel].begin(), one.left[channel].end(), other.left[channel].begin(),
                   std::back_inserter(difference), std::minus<>());
    EXPECT_LE(Rms(difference), 0.02 * Rms(other.left[channel]) + 1e-6) << channel;
  }
}

TEST_F(SoundFontSynthTest, SoundsTheSameHoweverARunIsCut) {
  const Recording whole = StirredRecording(*synth_, {kMaxBlock});
  EXPECT_GT(Rms(whole.left[5]), 0.001);
  for (const std::vector<int>& cuts :
       {std::vector{1}, {64}, {63, 65}, {7, 64, 300, 1, 128, 441}, {512, 3}}) {
    std::unique_ptr<SoundFontSynth> synth = (*font_)->CreateSynth();
    ExpectSame(StirredRecording(*synth, cuts), whole);
  }
}

TEST_F(SoundFontSynthTest, EventsTakeEffectAtTheNextStepOfTheGrid) {
  for (const int before : {0, 1, 63, 64, 65, 100}) {
    std::unique_ptr<SoundFontSynth> synth = (*font_)->CreateSynth();
    if (before > 0) Record(*synth, before);
    synth->NoteOn(kDrums, 38, 127);
    const std::vector<float> sound = Record(*synth, 512).left[kDrums];
    const auto first = std::find_if(sound.begin(), sound.end(), [](float f) { return f != 0; });
    const int at = before + static_cast<int>(first - sound.begin());
    const int boundary = (before + kGridFrames - 1) / kGridFrames * kGridFrames;
    EXPECT_GE(at, boundary) << before;
    EXPECT_LT(at, boundary + kGridFrames) << before;
  }
}

TEST_F(SoundFontSynthTest, ResetLeavesNothingBehind) {
  StirredRecording(*synth_, {100}, 37);
  synth_->Reset();
  EXPECT_EQ(synth_->ActiveVoices(), 0);
  for (int channel = 0; channel < kChannels; ++channel) EXPECT_FALSE(synth_->Audible(channel));
  std::unique_ptr<SoundFontSynth> fresh = (*font_)->CreateSynth();
  ExpectAlike(StirredRecording(*synth_, {kMaxBlock}), StirredRecording(*fresh, {kMaxBlock}));
}

TEST_F(SoundFontSynthTest, ResetKeepsThePresets) {
  std::unique_ptr<SoundFontSynth> fresh = (*font_)->CreateSynth();
  synth_->Preset(3, 0, kStrings, false);
  fresh->Preset(3, 0, kStrings, false);
  synth_->Controller(3, 7, 10);
  Skip(0.01);
  synth_->Reset();
  synth_->NoteOn(3, 60, 100);
  fresh->NoteOn(3, 60, 100);
  const Recording recording = Record(*synth_, 4096);
  EXPECT_GT(Rms(recording.left[3]), 0.001);
  ExpectAlike(recording, Record(*fresh, 4096));
}

TEST_F(SoundFontSynthTest, TwoThreadsPlayOneBankAlike) {
  std::unique_ptr<SoundFontSynth> other = (*font_)->CreateSynth();
  Recording recordings[2];
  std::thread thread([&] { recordings[0] = StirredRecording(*other, {kMaxBlock}, 200); });
  recordings[1] = StirredRecording(*synth_, {kMaxBlock}, 200);
  thread.join();
  ExpectSame(recordings[0], recordings[1]);
}

TEST_F(SoundFontSynthTest, VoicesAreBounded) {
  for (int channel = 0; channel < kChannels; ++channel) {
    synth_->Preset(channel, 0, kOrgan, false);
    for (int key = 0; key < 128; ++key) synth_->NoteOn(channel, key, 100);
    Record(*synth_, kGridFrames);
  }
  EXPECT_LE(synth_->ActiveVoices(), 512);
  EXPECT_GE(synth_->ActiveVoices(), 256);
}

}  // namespace
}  // namespace vexolo::engine
