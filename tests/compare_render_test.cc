// layer: tool
#include "tools/compare_render.h"

#include <cmath>
#include <complex>
#include <filesystem>
#include <fstream>
#include <numbers>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/fft.h"
#include "wav_bytes.h"

namespace vexolo {
namespace {

using testing::Contains;

using testing::HasSubstr;
using testing::IsEmpty;

constexpr int kRate = 44100;
constexpr double kSeconds = 6;

struct Note {
  double start;  // s
  double frequency;
  double level;
};

/// Struck notes that die away, with overtones up to 10 kHz.
std::vector<Note> Song() {
  std::vector<Note> notes;
  for (int i = 0; i < 18; ++i) {
    const double frequency = 220 * std::pow(2, (i * 7 % 12) / 12.0);
    notes.push_back({0.3 + 0.3 * i, frequency, 0.1});
  }
  return notes;
}

Sound Play(const std::vector<Note>& notes, double lift_from = 0, double lift_to = 0,
           double lift_db = 0) {
  Sound sound{kRate, 2, std::vector<float>(2 * static_cast<std::size_t>(kSeconds * kRate))};
  for (const Note& note : notes) {
    for (int overtone = 1; overtone * note.frequency < 10000; ++overtone) {
      const double frequency = overtone * note.frequency;
      const bool lifted = frequency >= lift_from && frequency < lift_to;
      const double level = note.level / overtone * std::pow(10, lifted ? lift_db / 20 : 0);
      const auto first = static_cast<std::size_t>(std::ceil(note.start * kRate));
      const double late = static_cast<double>(first) / kRate - note.start;
      const std::complex<double> rate{-6, 2 * std::numbers::pi * frequency};
      const std::complex<double> step = std::exp(rate / static_cast<double>(kRate));
      std::complex<double> value = level * std::exp(rate * late);
      for (std::size_t i = first; i < std::min(first + kRate / 2, sound.frames()); ++i) {
        sound.samples[2 * i] += static_cast<float>(value.imag());
        sound.samples[2 * i + 1] += 0.5F * static_cast<float>(value.imag());
        value *= step;
      }
    }
  }
  return sound;
}

const Sound& Reference() {
  static const Sound sound = Play(Song());
  return sound;
}

Sound Delayed(const Sound& sound, std::size_t frames) {
  Sound delayed = sound;
  delayed.samples.insert(delayed.samples.begin(), frames * sound.channels, 0.0F);
  return delayed;
}

Sound Scaled(Sound sound, double db, double from = 0, double to = 1e9) {
  for (std::size_t i = 0; i < sound.samples.size(); ++i) {
    const double at = static_cast<double>(i / 2) / kRate;
    if (at >= from && at < to) sound.samples[i] *= static_cast<float>(std::pow(10, db / 20));
  }
  return sound;
}

std::vector<std::string> Passed(const Comparison& comparison) {
  return PassedLimits(comparison, Limits());
}

TEST(CompareRender, EqualSoundsDoNotDiffer) {
  const Comparison c = Compare(Reference(), Reference());
  EXPECT_DOUBLE_EQ(c.gain_db, 0);
  EXPECT_GE(c.onsets.count, 36U) << "each of 18 notes, seen from both sides";
  EXPECT_EQ(c.onsets.missing, 0U);
  EXPECT_LT(c.onsets.max_ms, 0.1);
  EXPECT_EQ(c.level.seconds, 6U);
  EXPECT_DOUBLE_EQ(c.level.max_db, 0);
  for (const BandReport& band : c.bands) {
    EXPECT_NEAR(band.difference, 0, 1e-3) << band.centre;
    EXPECT_NEAR(band.worst_second, 0, 0.01) << band.centre;
  }
  EXPECT_THAT(Passed(c), IsEmpty());
}

TEST(CompareRender, OneCommonGainIsTakenOut) {
  const Comparison c = Compare(Reference(), Scaled(Reference(), -7));
  EXPECT_NEAR(c.gain_db, -7, 0.001);
  EXPECT_LT(c.level.max_db, 0.001);
  EXPECT_LT(c.onsets.max_ms, 0.1);
  EXPECT_THAT(Passed(c), IsEmpty());
}

TEST(CompareRender, ADelayIsMeasuredAndNotTakenOut) {
  const Comparison late = Compare(Reference(), Delayed(Reference(), 176));
  EXPECT_NEAR(late.onsets.offset_ms, 3.99, 0.1);
  EXPECT_NEAR(late.onsets.median_ms, 3.99, 0.1);
  EXPECT_THAT(Passed(late), Contains(HasSubstr("onsets: ")));
  const Comparison early = Compare(Delayed(Reference(), 176), Reference());
  EXPECT_NEAR(early.onsets.offset_ms, -3.99, 0.1);
}

TEST(CompareRender, ADelayWithinTheLimitPasses) {
  const Comparison c = Compare(Reference(), Delayed(Reference(), 64));
  EXPECT_NEAR(c.onsets.offset_ms, 1.45, 0.1);
  EXPECT_LT(c.onsets.max_ms, 2);
  EXPECT_THAT(Passed(c), IsEmpty());
}

TEST(CompareRender, FindsTheOneNoteThatIsLate) {
  std::vector<Note> notes = Song();
  notes[9].start += 0.008;
  const Comparison c = Compare(Reference(), Play(notes));
  EXPECT_NEAR(c.onsets.max_ms, 8, 1);
  EXPECT_NEAR(c.onsets.max_at, 3.0, 0.05);
  EXPECT_LT(c.onsets.median_ms, 0.1);
  EXPECT_THAT(Passed(c), Contains(HasSubstr("onsets: ")));
}

TEST(CompareRender, CountsANoteThatIsNotThere) {
  std::vector<Note> notes = Song();
  notes.erase(notes.begin() + 9);
  const Comparison fewer = Compare(Reference(), Play(notes));
  EXPECT_GT(fewer.onsets.missing, 0U);
  EXPECT_THAT(Passed(fewer), Contains(HasSubstr("no counterpart")));
  EXPECT_GT(Compare(Play(notes), Reference()).onsets.missing, 0U) << "nor here";
}

TEST(CompareRender, FindsTheSecondThatIsLouder) {
  const Comparison c = Compare(Reference(), Scaled(Reference(), 2.5, 3, 4));
  EXPECT_NEAR(c.level.max_db, 2.5 - c.gain_db, 0.01);
  EXPECT_EQ(c.level.max_at, 3);
  EXPECT_THAT(Passed(c), Contains(HasSubstr("level: ")));
}

TEST(CompareRender, FindsTheSideThatIsMissing) {
  Sound one_sided = Reference();
  for (std::size_t i = 1; i < one_sided.samples.size(); i += 2) one_sided.samples[i] = 0;
  const Comparison c = Compare(Reference(), one_sided);
  EXPECT_GT(c.level.max_db, 40);
  EXPECT_THAT(Passed(c), Contains(HasSubstr("level: ")));
}

TEST(CompareRender, FindsTheOctaveThatIsLouder) {
  const Comparison c = Compare(Reference(), Play(Song(), 2828.4, 5656.9, 4));
  for (const BandReport& band : c.bands) {
    if (band.centre < 250 || band.centre > 8000) continue;  // no overtones there
    EXPECT_NEAR(band.difference, (band.centre == 4000 ? 4 : 0) - c.gain_db, 0.3) << band.centre;
  }
  EXPECT_THAT(Passed(c), Contains(HasSubstr("octave around 4000 Hz")));
  EXPECT_THAT(Passed(Compare(Reference(), Play(Song(), 2828.4, 5656.9, 2))), IsEmpty());
}

TEST(CompareRender, LevelsAreRelativeToFullScale) {
  Sound tone{kRate, 1, std::vector<float>(4 * kRate)};
  for (std::size_t i = 0; i < tone.samples.size(); ++i) {
    const double phase = 2 * std::numbers::pi * 1000 * static_cast<double>(i) / kRate;
    tone.samples[i] = static_cast<float>(std::sin(phase));
  }
  const Comparison c = Compare(tone, tone);
  EXPECT_EQ(c.bands[5].centre, 1000);
  EXPECT_NEAR(c.bands[5].one_db, -3.01, 0.3);
  EXPECT_LT(c.bands[7].one_db, -50);
}

TEST(CompareRender, SilenceAgainstSoundIsADifference) {
  const Sound silence{kRate, 2, std::vector<float>(Reference().samples.size())};
  EXPECT_THAT(Passed(Compare(Reference(), silence)), Contains(HasSubstr("level: ")));
  EXPECT_THAT(Passed(Compare(silence, Reference())), Contains(HasSubstr("level: ")));
  EXPECT_THAT(Passed(Compare(silence, silence)), IsEmpty());
}

TEST(CompareRender, ALongerTailPassesAndHalfASongDoesNot) {
  Sound longer = Reference();
  longer.samples.resize(longer.samples.size() + 2 * 5 * kRate);
  EXPECT_THAT(Passed(Compare(Reference(), longer)), IsEmpty());
  longer.samples.resize(longer.samples.size() + 2 * 11 * kRate);
  EXPECT_THAT(Passed(Compare(Reference(), longer)),
              Contains(HasSubstr("length: differs by 16.0 s")));
}

TEST(CompareRender, NothingComparedWithNothing) {
  const Sound empty{kRate, 2, {}};
  EXPECT_THAT(Passed(Compare(empty, empty)), IsEmpty());
}

TEST(CompareRender, TableNamesWhatWasMeasured) {
  const std::string table = Table(Compare(Reference(), Reference()));
  for (const char* const word :
       {"length", "gain", "onsets", "offset", "level", "31.5 Hz", "16000 Hz"}) {
    EXPECT_THAT(table, HasSubstr(word));
  }
}

TEST(CompareRender, ReadsWavFiles) {
  const std::string path = testing::TempDir() + "compare_render_test.wav";
  std::ofstream(path, std::ios::binary) << PlainWav({16384, -32768, 0, 1}, 2, 48000);
  Sound sound;
  std::string error;
  ASSERT_TRUE(ReadSound(path, sound, error)) << error;
  EXPECT_EQ(sound.sample_rate, 48000);
  EXPECT_EQ(sound.frames(), 2U);
  EXPECT_THAT(sound.samples, testing::ElementsAre(0.5F, -1, 0, 1 / 32768.0F));
  std::ofstream(path, std::ios::binary) << "no sound";
  EXPECT_FALSE(ReadSound(path, sound, error));
  EXPECT_THAT(error, HasSubstr(path));
  std::filesystem::remove(path);
  EXPECT_FALSE(ReadSound(path, sound, error));
}

TEST(Fft, FindsTwoTonesInTheirBins) {
  constexpr std::size_t kSize = 64;
  std::vector<std::complex<float>> values(kSize);
  for (std::size_t i = 0; i < kSize; ++i) {
    const double turn = 2 * std::numbers::pi * static_cast<double>(i) / kSize;
    values[i] = {static_cast<float>(std::cos(5 * turn)),
                 static_cast<float>(0.5 * std::sin(9 * turn))};
  }
  Fft(kSize).Transform(values);
  for (std::size_t k = 0; k < kSize / 2; ++k) {
    const BinPair bins = SplitBin(values, k);
    EXPECT_NEAR(std::abs(bins.first), k == 5 ? 32 : 0, 1e-3) << k;
    EXPECT_NEAR(std::abs(bins.second), k == 9 ? 16 : 0, 1e-3) << k;
  }
}

TEST(Fft, WindowKeepsPower) {
  double power = 0;
  for (const float w : HannWindow(1024)) power += static_cast<double>(w) * w / 1024;
  EXPECT_NEAR(power, 1, 1e-6);
}

}  // namespace
}  // namespace vexolo
