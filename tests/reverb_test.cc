// layer: engine
#include "engine/reverb.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "signals.h"

namespace vexolo::engine {
namespace {

using testing::Decibels;
using testing::EqualBlocks;
using testing::Frames;
using testing::Impulse;
using testing::kRate;
using testing::LargestStep;
using testing::Noise;
using testing::Onset;
using testing::Peak;
using testing::RandomBlocks;
using testing::ReverbTime;
using testing::Rms;
using testing::RunUnit;
using testing::Sine;
using testing::Sound;
using testing::Spectrum;

struct Room {
  float time = 1800.0F;
  float delay = 0.0F;
  float low_pass = 0.0F;
  float high_pass = 0.0F;
};

void Set(Reverb& reverb, const Room& room) {
  reverb.SetTime(room.time);
  reverb.SetDelay(room.delay);
  reverb.SetLowPass(room.low_pass);
  reverb.SetHighPass(room.high_pass);
}

Sound Reverberated(const Room& room, const Sound& in) {
  Reverb reverb;
  Set(reverb, room);
  reverb.Snap();
  return RunUnit(reverb, in);
}

/// The sound with everything outside of an octave around `middle` taken away, by two passes of a
/// resonant filter.
std::vector<float> Octave(std::vector<float> samples, double middle) {
  const double w = 2.0 * std::numbers::pi * middle / kRate;
  const double alpha = std::sin(w) / (2.0 * std::numbers::sqrt2);
  for (int pass = 0; pass < 2; ++pass) {
    double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
    for (float& sample : samples) {
      const double x = sample;
      const double y =
          (alpha * (x - x2) + 2.0 * std::cos(w) * y1 - (1.0 - alpha) * y2) / (1.0 + alpha);
      x2 = x1, x1 = x, y2 = y1, y1 = y;
      sample = static_cast<float>(y);
    }
  }
  return samples;
}

TEST(Reverb, TailFallsBySixtyDecibelsInTheTimeSet) {
  for (const float time : {30.0F, 100.0F, 300.0F, 500.0F, 1800.0F, 5000.0F, 20000.0F}) {
    const Sound out = Reverberated({.time = time}, Impulse(0.3 + time / 1000.0));
    // A short decay is made of few reflections.
    const double tolerance = time < 200.0F ? 0.2 : time < 5001.0F ? 0.04 : 0.01;
    for (const auto& side : {out.left, out.right}) {
      const double measured = ReverbTime(side);
      RecordProperty("rt60_at_" + std::to_string(static_cast<int>(time)), std::to_string(measured));
      EXPECT_NEAR(measured / time, 1.0, tolerance) << time;
    }
  }
}

TEST(Reverb, ShortestTimeIsHeardAndShort) {
  const Sound out = Reverberated({.time = 10.0F}, Impulse(0.5));
  const double whole = Rms(out.left, 0, out.frames());
  ASSERT_GT(whole, 0.0);
  const double after = Rms(out.left, Frames(0.010), out.frames());
  EXPECT_LT(Decibels(after / whole), -50.0);
}

TEST(Reverb, AllFrequenciesDecayAlike) {
  const Sound out = Reverberated({.time = 1800.0F}, Impulse(2.2));
  for (const double middle : {125.0, 500.0, 2000.0, 8000.0}) {
    EXPECT_NEAR(ReverbTime(Octave(out.left, middle)) / 1800.0, 1.0, 0.12) << middle;
  }
}

TEST(Reverb, FirstReflectionComesAfterTheDelay) {
  for (const float time : {10.0F, 500.0F, 1800.0F, 20000.0F}) {
    for (const float delay : {0.0F, 0.1F, 20.0F, 77.7F, 200.0F}) {
      const Sound out = Reverberated({.time = time, .delay = delay}, Impulse(0.5));
      for (const auto& side : {out.left, out.right}) {
        const double onset = Onset(side, 0.03) / kRate * 1000.0;
        EXPECT_NEAR(onset, delay, 0.05) << time;
        EXPECT_EQ(Peak(side, 0, Frames(delay / 1000.0)), 0.0F) << delay;
      }
    }
  }
}

/// Energy in thirds of an octave, from both sides.
class Bands {
 public:
  explicit Bands(const Sound& sound) : left_(sound.left), right_(sound.right) {}

  /// Against the band around another frequency.
  double Decibels(double hertz, double reference) const {
    return 10.0 * std::log10(Energy(hertz) / Energy(reference));
  }

 private:
  double Energy(double hertz) const {
    const double edge = std::pow(2.0, 1.0 / 6.0);
    return left_.Mean(hertz / edge, hertz * edge) + right_.Mean(hertz / edge, hertz * edge);
  }

  Spectrum left_;
  Spectrum right_;
};

/// The response with a filter over the response without, at the frequencies of the bins: all
/// filtering stands before the room, so that the room itself cancels.
class FilterResponse {
 public:
  explicit FilterResponse(const Room& room)
      : with_(Reverberated(room, Impulse(1.4)).left),
        without_(Reverberated({.time = room.time}, Impulse(1.4)).left) {}

  double DecibelsAt(double hertz) const {
    const double edge = 1.01;
    return 10.0 * std::log10(with_.Mean(hertz / edge, hertz * edge) /
                             without_.Mean(hertz / edge, hertz * edge));
  }

  /// Where the response crosses -3 dB between two frequencies.
  double CutOff(double low, double high) const {
    const bool falling = DecibelsAt(low) > DecibelsAt(high);
    for (int i = 0; i < 30; ++i) {
      const double middle = std::sqrt(low * high);
      (DecibelsAt(middle) > -3.0103) == falling ? low = middle : high = middle;
    }
    return low;
  }

 private:
  Spectrum with_;
  Spectrum without_;
};

TEST(Reverb, LowPassIsThreeDecibelsDownAtItsCutOff) {
  for (const float hertz : {300.0F, 1000.0F, 4000.0F, 9000.0F, 18000.0F}) {
    const FilterResponse response({.time = 1000.0F, .low_pass = hertz});
    const double measured = response.CutOff(hertz / 3.0, std::min(hertz * 3.0, 21500.0));
    RecordProperty("low_pass_at_" + std::to_string(static_cast<int>(hertz)),
                   std::to_string(measured));
    EXPECT_NEAR(measured / hertz, 1.0, 0.03);
    EXPECT_NEAR(response.DecibelsAt(hertz / 6.0), 0.0, 0.1);
    if (hertz < 9000.0F) {
      EXPECT_LT(response.DecibelsAt(hertz * 2.0), -11.0);
    }
  }
}

TEST(Reverb, HighPassIsThreeDecibelsDownAtItsCutOff) {
  for (const float hertz : {50.0F, 200.0F, 1000.0F, 8000.0F}) {
    const FilterResponse response({.time = 1000.0F, .high_pass = hertz});
    const double measured = response.CutOff(hertz / 3.0, hertz * 2.5);
    RecordProperty("high_pass_at_" + std::to_string(static_cast<int>(hertz)),
                   std::to_string(measured));
    EXPECT_NEAR(measured / hertz, 1.0, 0.03);
    EXPECT_NEAR(response.DecibelsAt(std::min(hertz * 6.0, 21000.0)), 0.0, 0.1);
    EXPECT_LT(response.DecibelsAt(hertz / 2.0), -11.0);
  }
}

TEST(Reverb, CutOffsStandWithoutComparison) {
  // Measured from the reverberation alone: noise that filled the room, band by band.
  const Bands bands(Reverberated({.low_pass = 4000.0F, .high_pass = 400.0F}, Noise(5.0)));
  EXPECT_NEAR(bands.Decibels(4000.0, 1200.0), -3.0, 1.0);
  EXPECT_NEAR(bands.Decibels(400.0, 1200.0), -3.0, 1.0);
}

TEST(Reverb, WithoutFiltersTheSpectrumIsEven) {
  const Bands bands(Reverberated({}, Noise(5.0)));
  for (double hertz = 100.0; hertz < 18000.0; hertz *= 2.0) {
    EXPECT_NEAR(bands.Decibels(hertz, 1000.0), 0.0, 1.5) << hertz;
  }
}

TEST(Reverb, LevelStaysComfortableWhateverTheTime) {
  const auto level = [](float time) {
    Sound in = Noise(2.0 + 0.5 * time / 1000.0);
    const Sound out = Reverberated({.time = time}, in);
    const int from = out.frames() - Frames(2.0);
    return Decibels(Rms(out.left, from, out.frames()) / Rms(in.left));
  };
  const double usual = level(1800.0F);
  EXPECT_GT(usual, -10.0);
  EXPECT_LT(usual, -5.0);
  double last = -100.0;
  for (const float time : {10.0F, 50.0F, 200.0F, 1000.0F, 5000.0F, 20000.0F}) {
    const double there = level(time);
    RecordProperty("level_at_" + std::to_string(static_cast<int>(time)), std::to_string(there));
    EXPECT_GT(there, usual - 4.0) << time;
    EXPECT_LT(there, usual + 4.0) << time;
    EXPECT_GT(there, last - 0.7) << time;
    last = there;
  }
}

/// Share of samples beyond the standard deviation in a window, over that of Gaussian noise: 1 where
/// the echoes are as dense as noise (Abel, Huang: "A simple, robust measure of reverberation echo
/// density", AES 121, 2006).
double EchoDensity(const std::vector<float>& response, int middle) {
  const int half = Frames(0.010);
  const int from = std::max(0, middle - half);
  const double deviation = Rms(response, from, middle + half);
  int beyond = 0;
  for (int i = from; i < middle + half; ++i) beyond += std::abs(response[i]) > deviation ? 1 : 0;
  return beyond / (0.3173 * (middle + half - from));
}

TEST(Reverb, EchoesAreDenseWithinATenthOfASecond) {
  for (const float time : {800.0F, 1800.0F, 5000.0F}) {
    const Sound out = Reverberated({.time = time}, Impulse(1.0));
    for (const auto& side : {out.left, out.right}) {
      double first_dense = -1.0;
      for (double seconds = 0.01; seconds < 0.5 && first_dense < 0.0; seconds += 0.001) {
        if (EchoDensity(side, Frames(seconds)) >= 0.95) first_dense = seconds;
      }
      RecordProperty("dense_after_" + std::to_string(static_cast<int>(time)),
                     std::to_string(first_dense));
      EXPECT_GT(first_dense, 0.0);
      EXPECT_LT(first_dense, 0.1);
      for (double seconds = 0.1; seconds < 0.6; seconds += 0.02) {
        EXPECT_GT(EchoDensity(side, Frames(seconds)), 0.85) << seconds;
      }
    }
  }
}

TEST(Reverb, TailHasNoRing) {
  // What stands out of the late tail's spectrum rings. The peaks of noise of as many bins reach
  // about 10 dB over its mean.
  const Sound out = Reverberated({.time = 1800.0F}, Impulse(2.0));
  std::vector<float> late(out.left.begin() + Frames(0.5), out.left.begin() + Frames(0.5) + 32768);
  for (std::size_t i = 0; i < late.size(); ++i) {
    late[i] *= static_cast<float>(std::pow(10.0, 3.0 * static_cast<double>(i) / kRate / 1.8));
  }
  const Spectrum spectrum(late);
  const double mean = spectrum.Mean(100.0, 20000.0);
  double peak = 0.0;
  double log_sum = 0.0;
  int bins = 0;
  for (std::size_t i = 0; i < spectrum.energy().size(); ++i) {
    const double hertz = static_cast<double>(i) * spectrum.hertz_per_bin();
    if (hertz < 100.0 || hertz > 20000.0) continue;
    peak = std::max(peak, spectrum.energy()[i]);
    log_sum += std::log(spectrum.energy()[i]);
    ++bins;
  }
  const double flatness = std::exp(log_sum / bins) / mean;  // exp(-0.577) = 0.56 for noise
  RecordProperty("flatness", std::to_string(flatness));
  RecordProperty("peak_db", std::to_string(10.0 * std::log10(peak / mean)));
  EXPECT_GT(flatness, 0.47);
  EXPECT_LT(10.0 * std::log10(peak / mean), 14.0);
}

TEST(Reverb, SidesAreDifferentRooms) {
  Sound mono = Noise(3.0);
  mono.right = mono.left;
  const Sound out = Reverberated({}, mono);
  double cross = 0.0;
  for (int i = 0; i < out.frames(); ++i) cross += out.left[i] * out.right[i];
  const double correlation = cross / out.frames() / (Rms(out.left) * Rms(out.right));
  EXPECT_LT(std::abs(correlation), 0.2);
  EXPECT_NEAR(Decibels(Rms(out.left) / Rms(out.right)), 0.0, 1.0);
}

TEST(Reverb, OneSideIsReturnedByBoth) {
  Sound in = Noise(3.0);
  std::fill(in.right.begin(), in.right.end(), 0.0F);
  const Sound out = Reverberated({.time = 3000.0F}, in);
  EXPECT_NEAR(Decibels(Rms(out.left) / Rms(out.right)), 0.0, 3.0);
}

TEST(Reverb, StaysStableAtTheLimits) {
  for (const float time : {10.0F, 20000.0F}) {
    for (const float low : {0.0F, 1.0F, 20000.0F}) {
      for (const float high : {0.0F, 1.0F, 20000.0F}) {
        const Sound out = Reverberated({time, 200.0F, low, high}, Noise(1.5, 0.5));
        EXPECT_LT(Peak(out.left), 5.0F) << time << ' ' << low << ' ' << high;
      }
    }
  }
}

TEST(Reverb, LongTailOnlyFalls) {
  Sound in = Noise(1.0);
  in.left.resize(static_cast<std::size_t>(Frames(8.0)));
  in.right.resize(in.left.size());
  const Sound out = Reverberated({.time = 20000.0F}, in);
  double last = 1.0;
  for (int second = 2; second < 8; ++second) {
    const double now = Rms(out.left, Frames(second), Frames(second + 1) - 1);
    EXPECT_LT(now, last);
    last = now;
  }
}

TEST(Reverb, ChangesAreSmooth) {
  const Sound in = Sine(4.0, 440.0, 0.5);
  const std::array<Room, 6> rooms = {{{1800, 20, 9000, 200},
                                      {10, 200, 0, 0},
                                      {20000, 0, 20000, 20000},
                                      {500, 100, 1, 1},
                                      {100, 3, 300, 0},
                                      {5000, 150, 0, 5000}}};
  Reverb reverb;
  Set(reverb, rooms[0]);
  reverb.Snap();
  const std::vector<int> blocks = EqualBlocks(in.frames(), 100);
  Sound out(in.frames());
  int done = 0;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    if (i >= 200 && i % 40 == 0) Set(reverb, rooms[(i / 40) % rooms.size()]);
    reverb.Process(in.left.data() + done, in.right.data() + done, out.left.data() + done,
                   out.right.data() + done, blocks[i]);
    done += blocks[i];
  }
  // A sine of 440 Hz moves by a sixteenth of its amplitude between two samples.
  const float limit = 0.07F * Peak(out.left) + 0.003F;
  EXPECT_LT(LargestStep(out.left, 0, out.frames()), limit);
  EXPECT_LT(LargestStep(out.right, 0, out.frames()), limit);
}

TEST(Reverb, SoundDoesNotDependOnTheBlocks) {
  Sound in = Noise(3.0);
  std::fill(in.left.begin() + Frames(0.5), in.left.begin() + Frames(2.0), 0.0F);
  std::fill(in.right.begin() + Frames(0.5), in.right.begin() + Frames(2.0), 0.0F);
  const auto run = [&](const std::vector<int>& blocks) {
    Reverb reverb;
    Set(reverb, {200, 30, 5000, 100});  // ramps and fades from the beginning on
    return RunUnit(reverb, in, blocks);
  };
  const Sound whole = run({in.frames()});
  EXPECT_EQ(run(EqualBlocks(in.frames(), 1)), whole);
  EXPECT_EQ(run(EqualBlocks(in.frames(), 441)), whole);
  EXPECT_EQ(run(RandomBlocks(in.frames(), 3)), whole);
}

TEST(Reverb, RestsAndWakesUnchanged) {
  Reverb reverb;
  Set(reverb, {300, 10, 0, 0});
  reverb.Snap();
  const Sound in = Noise(0.2);
  RunUnit(reverb, in);
  EXPECT_GT(reverb.TailBound(), 0.01F);
  RunUnit(reverb, Sound(Frames(2.0)));
  EXPECT_EQ(reverb.TailBound(), 0.0F);
  EXPECT_EQ(RunUnit(reverb, Sound(1000)), Sound(1000));
  EXPECT_GT(Rms(RunUnit(reverb, in).left), 0.01);
}

TEST(Reverb, NothingLouderThanTheBoundComesOut) {
  for (const float time : {10.0F, 300.0F, 3000.0F}) {
    Reverb reverb;
    Set(reverb, {time, 50, 8000, 50});
    reverb.Snap();
    RunUnit(reverb, Sine(0.5, 315.0));
    for (int i = 0; i < 100; ++i) {
      const float bound = reverb.TailBound();
      const Sound out = RunUnit(reverb, Sound(1000));
      ASSERT_LE(std::max(Peak(out.left), Peak(out.right)), bound) << time << ' ' << i;
    }
  }
}

TEST(Reverb, ForgetsNumbersThatAreNone) {
  for (const float bad :
       {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
    Reverb reverb;
    Set(reverb, {1800, 20, 9000, 200});
    reverb.Snap();
    Sound in = Noise(0.5);
    in.left[1234] = bad;
    in.right[1235] = -bad;
    RunUnit(reverb, in);
    const Sound after = RunUnit(reverb, Noise(0.5));
    EXPECT_TRUE(std::isfinite(Rms(after.left)));
    EXPECT_GT(Rms(after.left), 0.001);
  }
}

}  // namespace
}  // namespace vexolo::engine
