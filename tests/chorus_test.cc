// layer: engine
#include "engine/chorus.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
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
using testing::Peak;
using testing::RandomBlocks;
using testing::Rms;
using testing::RunUnit;
using testing::Sine;
using testing::Sound;

struct Swing {
  float delay = 10.0F;
  float depth = 0.0F;
  float rate = 1.0F;
  float feedback = 0.0F;
};

void Set(Chorus& chorus, const Swing& swing) {
  chorus.SetDelay(swing.delay);
  chorus.SetDepth(swing.depth);
  chorus.SetRate(swing.rate);
  chorus.SetFeedback(swing.feedback);
}

Sound Chorused(const Swing& swing, const Sound& in) {
  Chorus chorus;
  Set(chorus, swing);
  chorus.Snap();
  return RunUnit(chorus, in);
}

/// The delay in milliseconds at every frame, read from the phase that a tone of `hertz` has lost,
/// without its whole turns: within half a turn of `near`.
class DelayCurve {
 public:
  DelayCurve(const std::vector<float>& out, double hertz, double near) {
    const double step = 2.0 * std::numbers::pi * hertz / kRate;
    // The mean over whole periods of the tone moved down to zero leaves the phase.
    const int period = static_cast<int>(std::lround(kRate / hertz));
    std::vector<std::complex<double>> sums(out.size() + 1);
    for (std::size_t i = 0; i < out.size(); ++i) {
      sums[i + 1] =
          sums[i] + static_cast<double>(out[i]) * std::polar(1.0, -step * static_cast<double>(i));
    }
    double turns = 0.0;
    double last = 0.0;
    for (std::size_t i = 0; i + period < out.size(); ++i) {
      // sin = cos a quarter turn later
      const double phase = std::arg(sums[i + period] - sums[i]) / (2.0 * std::numbers::pi) + 0.25;
      if (i == 0) {
        turns = std::round(near / 1000.0 * hertz + phase);
      } else {
        turns += std::round(phase - last);
      }
      last = phase;
      milliseconds.push_back((turns - phase) / hertz * 1000.0);
    }
  }

  double Mean() const {
    double sum = 0.0;
    for (const double x : milliseconds) sum += x;
    return sum / static_cast<double>(milliseconds.size());
  }
  double Lowest() const { return *std::min_element(milliseconds.begin(), milliseconds.end()); }
  double Highest() const { return *std::max_element(milliseconds.begin(), milliseconds.end()); }

  /// From the times at which it rises through the mean.
  double Rate() const {
    const double mean = Mean();
    double first = -1.0;
    double last = -1.0;
    int turns = -1;
    for (std::size_t i = 1; i < milliseconds.size(); ++i) {
      if (milliseconds[i - 1] >= mean || milliseconds[i] < mean) continue;
      if (static_cast<double>(i) - last < 0.02 * kRate) continue;
      last = static_cast<double>(i);
      if (first < 0.0) first = last;
      ++turns;
    }
    return turns * kRate / (last - first);
  }

  std::vector<double> milliseconds;
};

/// Of whole turns of the swing, behind the filling of the line.
DelayCurve MeasureDelay(const Swing& swing, double seconds, bool right = false) {
  constexpr double kTone = 441.0;
  const double filling = 0.2;
  const Sound out = Chorused(swing, Sine(filling + seconds, kTone, 0.5));
  const auto& side = right ? out.right : out.left;
  const std::vector<float> steady(side.begin() + Frames(filling), side.end());
  // The phase of the tone at the beginning of what is measured: 88.2 turns have passed.
  DelayCurve curve(steady, kTone, swing.delay);
  const double lost = std::fmod(filling * kTone, 1.0) / kTone * 1000.0;
  for (double& x : curve.milliseconds) x += lost;
  // Whole turns of the tone could be gained or lost at the start; the middle tells them.
  const double turn = 1000.0 / kTone;
  const double middle = (curve.Lowest() + curve.Highest()) / 2.0;
  const double off = std::round((middle - swing.delay) / turn) * turn;
  for (double& x : curve.milliseconds) x -= off;
  return curve;
}

TEST(Chorus, AnUnmovedLineDelaysByTheDelay) {
  for (const float delay : {0.1F, 1.0F, 10.0F, 33.3F, 100.0F}) {
    const Sound out = Chorused({.delay = delay}, Impulse(0.3));
    for (const auto& side : {out.left, out.right}) {
      double energy = 0.0;
      double moment = 0.0;
      for (int i = 0; i < out.frames(); ++i) {
        energy += side[i] * side[i];
        moment += static_cast<double>(side[i]) * i;
      }
      // The centre of what an interpolation makes of an impulse is its delay.
      EXPECT_NEAR(moment / kRate * 1000.0, delay, 0.001);
      EXPECT_GT(energy, 0.5);
    }
  }
}

TEST(Chorus, WholeFramesPassUnchanged) {
  const Sound in = Noise(0.2);
  const Sound out = Chorused({.delay = 100.0F}, in);
  for (int i = 0; i < Frames(0.1); ++i) {
    ASSERT_EQ(out.left[i + 4410], in.left[i]);
    ASSERT_EQ(out.right[i + 4410], in.right[i]);
  }
}

TEST(Chorus, SwingsAroundTheDelayByTheDepth) {
  struct Case {
    float delay, depth;
  };
  for (const auto& [delay, depth] : {Case{10.0F, 4.0F}, {100.0F, 50.0F}, {20.0F, 0.5F}}) {
    for (const bool right : {false, true}) {
      const DelayCurve curve = MeasureDelay({delay, depth, 0.5F, 0.0F}, 4.0 + 1.0 / 441.0, right);
      EXPECT_NEAR(curve.Mean(), delay, 0.03) << depth;
      EXPECT_NEAR(curve.Highest() - delay, depth, 0.02 * depth + 0.01);
      EXPECT_NEAR(delay - curve.Lowest(), depth, 0.02 * depth + 0.01);
    }
  }
}

TEST(Chorus, SwingsAtItsRate) {
  struct Case {
    float rate;
    double seconds;
  };
  for (const auto& [rate, seconds] :
       {Case{0.1F, 31.0}, {0.4F, 10.0}, {1.0F, 8.0}, {5.0F, 4.0}, {10.0F, 4.0}}) {
    const DelayCurve curve = MeasureDelay({20.0F, 2.0F, rate, 0.0F}, seconds);
    RecordProperty("rate_at_" + std::to_string(rate), std::to_string(curve.Rate()));
    EXPECT_NEAR(curve.Rate() / rate, 1.0, 0.005);
  }
}

TEST(Chorus, SlowestRateTakesAHundredSeconds) {
  // A quarter of the turn: from the delay to its greatest departure.
  const DelayCurve curve = MeasureDelay({20.0F, 5.0F, 0.01F, 0.0F}, 25.0);
  const double start = curve.milliseconds.front();
  const double end = curve.milliseconds.back();
  EXPECT_NEAR(std::abs(end - start), 5.0, 0.2);
}

TEST(Chorus, SidesSwingAQuarterTurnApart) {
  const DelayCurve left = MeasureDelay({20.0F, 2.0F, 1.0F, 0.0F}, 3.0);
  const DelayCurve right = MeasureDelay({20.0F, 2.0F, 1.0F, 0.0F}, 3.0, true);
  const int quarter = Frames(0.25);
  for (int i = 0; i < Frames(2.0); i += 1000) {
    EXPECT_NEAR(right.milliseconds[i], left.milliseconds[i + quarter], 0.02);
  }
}

TEST(Chorus, EchoesFallByTheFeedback) {
  for (const float feedback : {-0.98F, -0.5F, -0.1F, 0.1F, 0.5F, 0.9F}) {
    const Sound out = Chorused({.delay = 50.0F, .feedback = feedback}, Impulse(0.5));
    const int echo = 2205;
    double expected = std::sqrt(1.0 - feedback * feedback);
    for (int i = 1; i <= 8; ++i) {
      EXPECT_NEAR(out.left[i * echo], expected, 1e-4) << feedback;
      expected *= feedback;
    }
  }
  const Sound none = Chorused({.delay = 50.0F}, Impulse(0.5));
  EXPECT_EQ(none.left[2205], 1.0F);
  EXPECT_EQ(none.left[4410], 0.0F);
}

TEST(Chorus, FullFeedbackStaysShortOfInstability) {
  EXPECT_EQ(Chorused({.delay = 50.0F, .feedback = 1.0F}, Impulse(0.5)),
            Chorused({.delay = 50.0F, .feedback = 0.98F}, Impulse(0.5)));
  EXPECT_EQ(Chorused({.delay = 50.0F, .feedback = -1.0F}, Impulse(0.5)),
            Chorused({.delay = 50.0F, .feedback = -0.98F}, Impulse(0.5)));
  for (const float feedback : {-1.0F, 1.0F}) {
    for (const Swing& swing : {Swing{0.1F, 50.0F, 10.0F, feedback},
                               {100.0F, 50.0F, 10.0F, feedback},
                               {0.1F, 0.0F, 1.0F, feedback},
                               {20.0F, 20.0F, 7.77F, feedback}}) {
      const Sound loud = Noise(6.0, 0.3);
      const Sound out = Chorused(swing, loud);
      // A sum of what came in, weighted by the powers of 0.98.
      EXPECT_LT(Peak(out.left), Peak(loud.left) * 50.0F * 0.2F * 1.25F);
      const double early = Rms(out.left, Frames(2.0), Frames(4.0));
      EXPECT_LT(Rms(out.left, Frames(4.0), Frames(6.0)), 2.0 * early);
    }
  }
}

TEST(Chorus, FullFeedbackRingsOut) {
  Sound in = Noise(1.0);
  in.left.resize(static_cast<std::size_t>(Frames(25.0)));
  in.right.resize(in.left.size());
  const Sound out = Chorused({5.0F, 4.0F, 3.0F, 1.0F}, in);
  EXPECT_GT(Rms(out.left, Frames(1.0), Frames(1.1)), 0.001);
  EXPECT_LT(Peak(out.left, Frames(24.0), Frames(25.0)), 1e-6F);
}

TEST(Chorus, NoiseKeepsItsLevelWhateverTheFeedback) {
  const Sound in = Noise(5.0);
  for (const float feedback : {-0.9F, -0.5F, 0.0F, 0.5F, 0.9F}) {
    const Sound out = Chorused({.delay = 50.0F, .feedback = feedback}, in);
    EXPECT_NEAR(Decibels(Rms(out.left, Frames(2.0), out.frames()) / Rms(in.left)), 0.0, 0.3);
  }
}

TEST(Chorus, DepthBeyondTheDelayNeverReadsTheFuture) {
  // What the line would have to know in advance stays out: before the sound begins there is
  // nothing, and behind it follows within the shortest delay.
  Sound in(Frames(1.0));
  for (int i = Frames(0.5); i < in.frames(); ++i) in.left[i] = in.right[i] = 0.5F;
  const Sound out = Chorused({0.1F, 50.0F, 10.0F, 0.0F}, in);
  EXPECT_EQ(Peak(out.left, 0, Frames(0.5) + 1), 0.0F);
  EXPECT_NEAR(out.left[Frames(0.9)], 0.5F, 0.1F);
  const Sound tone = Chorused({1.0F, 10.0F, 1.0F, 0.0F}, Sine(3.0, 440.0, 0.5));
  EXPECT_LT(Peak(tone.left), 0.51F);
  // Turning back from the clamp there is no step, only another pitch (at most 1 + 2 pi * 0.01).
  EXPECT_LT(LargestStep(tone.left, 0, tone.frames()), 0.5F * 0.0627F * 1.08F);
}

TEST(Chorus, KeepsTheTreble) {
  // Between two frames, where interpolation is worst.
  const float delay = static_cast<float>(440.5 / 44.1);
  const Sound out = Chorused({.delay = delay}, Sine(0.5, 8000.0, 0.5));
  EXPECT_GT(Decibels(Rms(out.left, Frames(0.1), out.frames()) / (0.5 / std::numbers::sqrt2)), -1.0);
}

TEST(Chorus, ChangesAreSmooth) {
  const Sound in = Sine(4.0, 440.0, 0.5);
  const std::array<Swing, 5> swings = {{{10, 4, 0.4F, 0.0F},
                                        {100, 0, 10.0F, 0.5F},
                                        {0.1F, 2, 1.0F, -0.5F},
                                        {50, 10, 0.01F, 0.5F},
                                        {3, 3, 2.0F, -0.3F}}};
  Chorus chorus;
  Set(chorus, swings[0]);
  chorus.Snap();
  Sound out(in.frames());
  int done = 0;
  for (const int block : EqualBlocks(in.frames(), 100)) {
    if (done / 100 % 37 == 36) Set(chorus, swings[(done / 3700) % swings.size()]);
    chorus.Process(in.left.data() + done, in.right.data() + done, out.left.data() + done,
                   out.right.data() + done, block);
    done += block;
  }
  // From where the line is full. The fastest swing raises the pitch by 63 %.
  const int from = Frames(0.02);
  const float limit = 0.0627F * 1.65F * Peak(out.left, from, out.frames()) + 0.003F;
  EXPECT_LT(LargestStep(out.left, from, out.frames()), limit);
  EXPECT_LT(LargestStep(out.right, from, out.frames()), limit);
}

TEST(Chorus, SoundDoesNotDependOnTheBlocks) {
  Sound in = Noise(2.0);
  std::fill(in.left.begin() + Frames(0.5), in.left.begin() + Frames(1.5), 0.0F);
  std::fill(in.right.begin() + Frames(0.5), in.right.begin() + Frames(1.5), 0.0F);
  const auto run = [&](const std::vector<int>& blocks) {
    Chorus chorus;
    Set(chorus, {20, 5, 3, 0.3F});  // ramps and fades from the beginning on
    return RunUnit(chorus, in, blocks);
  };
  const Sound whole = run({in.frames()});
  EXPECT_EQ(run(EqualBlocks(in.frames(), 1)), whole);
  EXPECT_EQ(run(EqualBlocks(in.frames(), 441)), whole);
  EXPECT_EQ(run(RandomBlocks(in.frames(), 5)), whole);
}

TEST(Chorus, RestsAndSwingsOn) {
  // Two units of which one never rests: the same swing when the sound comes back.
  const auto second_tone = [](float between) {
    Chorus chorus;
    Set(chorus, {20, 5, 3, 0});
    chorus.Snap();
    Sound pause(Frames(1.0));
    std::fill(pause.left.begin(), pause.left.end(), between);
    std::fill(pause.right.begin(), pause.right.end(), between);
    RunUnit(chorus, pause);
    Sound out = RunUnit(chorus, Sine(0.5, 440.0, 0.5));
    out.left.erase(out.left.begin(), out.left.begin() + Frames(0.05));
    out.right.erase(out.right.begin(), out.right.begin() + Frames(0.05));
    return out;
  };
  EXPECT_EQ(second_tone(0.0F), second_tone(0.1F));
}

TEST(Chorus, NothingLouderThanTheBoundComesOut) {
  for (const float feedback : {0.0F, 0.9F, -1.0F}) {
    Chorus chorus;
    Set(chorus, {30, 20, 2, feedback});
    chorus.Snap();
    RunUnit(chorus, Noise(0.5, 0.3));
    EXPECT_GT(chorus.TailBound(), 0.01F);
    for (int i = 0; i < 100; ++i) {
      const float bound = chorus.TailBound();
      const Sound out = RunUnit(chorus, Sound(1000));
      ASSERT_LE(std::max(Peak(out.left), Peak(out.right)), bound);
    }
  }
}

TEST(Chorus, ForgetsNumbersThatAreNone) {
  for (const float bad :
       {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
    Chorus chorus;
    Set(chorus, {10, 4, 1, 0.5F});
    chorus.Snap();
    Sound in = Noise(0.5);
    in.left[1234] = bad;
    RunUnit(chorus, in);
    const Sound again = Noise(0.5);
    const Sound after = RunUnit(chorus, again);
    EXPECT_NEAR(Decibels(Rms(after.left) / Rms(again.left)), 0.0, 2.0);
  }
}

}  // namespace
}  // namespace vexolo::engine
