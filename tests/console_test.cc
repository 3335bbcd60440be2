// layer: engine
#include "engine/console.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "engine/chorus.h"
#include "engine/reverb.h"
#include "signals.h"

namespace vexolo::engine {
namespace {

using testing::Decibels;
using testing::EqualBlocks;
using testing::Frames;
using testing::LargestStep;
using testing::Noise;
using testing::Peak;
using testing::RandomBlocks;
using testing::Rms;
using testing::RunUnit;
using testing::Sine;
using testing::Sound;

/// A console and what it is fed with.
class Desk {
 public:
  Desk() : block_(std::make_unique<DryBlock>()) {
    for (int channel = 0; channel < kChannels; ++channel) {
      block_->left[channel].fill(0.0F);
      block_->right[channel].fill(0.0F);
    }
  }

  Console& operator*() { return console_; }
  Console* operator->() { return &console_; }

  /// Plays `in` on each of the channels; every one but the first turned in phase by its place, so
  /// that no two carry the same.
  Sound Play(const Sound& in, const std::vector<int>& channels, const std::vector<int>& blocks,
             const std::function<void(int)>& before_block = {}) {
    Sound out(in.frames());
    audible_ = 0;
    for (const int channel : channels) audible_ |= 1U << channel;
    int done = 0;
    for (const int frames : blocks) {
      if (before_block) before_block(done);
      for (const int channel : channels) {
        for (int i = 0; i < frames; ++i) {
          const int at = (done + i + 97 * channel) % in.frames();
          block_->left[channel][i] = in.left[at];
          block_->right[channel][i] = in.right[at];
        }
      }
      console_.Process(*block_, audible_, out.left.data() + done, out.right.data() + done, frames);
      done += frames;
    }
    return out;
  }

  Sound Play(const Sound& in, const std::vector<int>& channels) {
    return Play(in, channels, EqualBlocks(in.frames(), 441));
  }

  Sound PlayNothing(double seconds) { return Play(Sound(Frames(seconds)), {}); }

  void Dry() {
    for (int channel = 0; channel < kChannels; ++channel) console_.SetReverbSend(channel, 0);
    console_.Snap();
  }

 private:
  Console console_;
  std::uint32_t audible_ = 0;
  std::unique_ptr<DryBlock> block_;
};

Sound Quiet(double seconds) { return Noise(seconds, 0.02); }

TEST(Console, StartsWithPlainChannelsAndReverbSend40) {
  Desk desk;
  Desk same;
  for (int channel = 0; channel < kChannels; ++channel) {
    same->SetMixLevel(channel, 100);
    same->SetReverbSend(channel, 40);
    same->SetChorusSend(channel, 0);
  }
  for (int i = 0; i < kEffectParameters; ++i) {
    same->SetEffect(static_cast<EffectParameter>(i), kEffectLimits[i].initial);
  }
  same->SetMaster(1.0F);
  same->Snap();
  const Sound in = Quiet(0.3);
  EXPECT_EQ(desk.Play(in, {3}), same.Play(in, {3}));
}

TEST(Console, DryChannelsPassUnchanged) {
  Desk desk;
  desk.Dry();
  const Sound in = Quiet(0.2);
  EXPECT_EQ(desk.Play(in, {0}), in);
}

TEST(Console, AddsAllSixteenChannels) {
  Desk desk;
  desk.Dry();
  Sound in(1000);
  std::fill(in.left.begin(), in.left.end(), 0.25F);
  std::fill(in.right.begin(), in.right.end(), -0.5F);
  std::vector<int> all(kChannels);
  for (int i = 0; i < kChannels; ++i) all[i] = i;
  const Sound out = desk.Play(in, all);
  EXPECT_EQ(out.left, std::vector<float>(1000, 4.0F));
  EXPECT_EQ(out.right, std::vector<float>(1000, -8.0F));
}

TEST(Console, PassesOverChannelsThatDoNotSound) {
  Desk desk;
  const Sound in = Quiet(0.05);
  desk.Play(in, {5});  // leaves its samples in the block
  desk->Silence();
  EXPECT_EQ(desk.PlayNothing(0.5), Sound(Frames(0.5)));
}

TEST(Console, MixLevelIsPercentOfTheChannel) {
  const Sound in = Quiet(0.1);
  const std::array<std::array<double, 2>, 4> cases = {{{0, 0}, {50, 0.5}, {100, 1}, {200, 2}}};
  for (const auto& [percent, gain] : cases) {
    Desk desk;
    desk.Dry();
    desk->SetMixLevel(7, static_cast<std::uint32_t>(percent));
    desk->SetMixLevel(8, 13);
    desk->Snap();
    EXPECT_NEAR(Rms(desk.Play(in, {7}).left), gain * Rms(in.left), 1e-4 * Rms(in.left)) << percent;
  }
  Desk beyond;
  beyond.Dry();
  beyond->SetMixLevel(0, 4000000000U);
  beyond->Snap();
  EXPECT_NEAR(Rms(beyond.Play(in, {0}).left), 2.0 * Rms(in.left), 1e-4 * Rms(in.left));
}

TEST(Console, MasterIsOnEverything) {
  Desk loud;
  Desk soft;
  soft->SetMaster(0.25F);
  for (Desk* desk : {&loud, &soft}) {
    (*desk)->SetChorusSend(0, 127);
    (*desk)->Snap();
  }
  const Sound in = Quiet(0.5);
  const Sound full = loud.Play(in, {0});
  Sound quarter = soft.Play(in, {0});
  for (float& x : quarter.left) x *= 4.0F;
  for (float& x : quarter.right) x *= 4.0F;
  EXPECT_EQ(quarter, full);
}

/// What the effects add to a channel, played twice as long as it sounds.
Sound Wet(const std::function<void(Console&)>& set) {
  Desk desk;
  desk.Dry();
  set(*desk);
  desk->Snap();
  Sound in = Quiet(1.0);
  in.left.resize(static_cast<std::size_t>(Frames(2.0)));
  in.right.resize(static_cast<std::size_t>(Frames(2.0)));
  Sound out = desk.Play(in, {0});
  for (int i = 0; i < in.frames(); ++i) out.left[i] -= in.left[i];
  for (int i = 0; i < in.frames(); ++i) out.right[i] -= in.right[i];
  return out;
}

TEST(Console, ReverbSendIsAShareOf127) {
  const double full = Rms(Wet([](Console& c) { c.SetReverbSend(0, 127); }).left);
  ASSERT_GT(full, 1e-4);
  const double part = Rms(Wet([](Console& c) { c.SetReverbSend(0, 40); }).left);
  EXPECT_NEAR(Decibels(part / full), Decibels(40.0 / 127.0), 0.02);
  EXPECT_EQ(Rms(Wet([](Console& c) { c.SetReverbSend(0, 0); }).left), 0.0);
  const double beyond = Rms(Wet([](Console& c) { c.SetReverbSend(0, 4000); }).left);
  EXPECT_DOUBLE_EQ(beyond, full);
}

TEST(Console, ChorusSendIsAShareOf127) {
  const double full = Rms(Wet([](Console& c) { c.SetChorusSend(0, 127); }).left);
  ASSERT_GT(full, 1e-3);
  const double part = Rms(Wet([](Console& c) { c.SetChorusSend(0, 32); }).left);
  EXPECT_NEAR(Decibels(part / full), Decibels(32.0 / 127.0), 0.02);
  const double beyond = Rms(Wet([](Console& c) { c.SetChorusSend(0, 128); }).left);
  EXPECT_DOUBLE_EQ(beyond, full);
}

TEST(Console, MixLevelActsOnBothSends) {
  for (const bool chorus : {false, true}) {
    Desk desk;
    desk.Dry();
    chorus ? desk->SetChorusSend(0, 100) : desk->SetReverbSend(0, 100);
    desk->Snap();
    const Sound in = Quiet(0.5);
    const double full = Rms(desk.Play(in, {0}).left);
    desk->Silence();
    desk->SetMixLevel(0, 50);
    desk->Snap();
    EXPECT_NEAR(Rms(desk.Play(in, {0}).left) / full, 0.5, 1e-4) << chorus;
  }
}

TEST(Console, EffectLevelsArePercent) {
  struct Case {
    EffectParameter parameter;
    std::uint32_t value;
    double decibels;
  };
  const auto set = [](Console& c, EffectParameter parameter, std::uint32_t value) {
    if (parameter == EffectParameter::kReverbLevel) {
      c.SetReverbSend(0, 127);
    } else {
      c.SetChorusSend(0, 127);
    }
    if (parameter == EffectParameter::kChorusToReverb) {
      c.SetEffect(EffectParameter::kChorusLevel, 0);
    }
    c.SetEffect(parameter, value);
  };
  const std::array<EffectParameter, 3> levels = {EffectParameter::kReverbLevel,
                                                 EffectParameter::kChorusLevel,
                                                 EffectParameter::kChorusToReverb};
  for (const EffectParameter level : levels) {
    const double at_100 = Rms(Wet([&](Console& c) { set(c, level, 100); }).right);
    ASSERT_GT(at_100, 1e-4);
    for (const auto& [value, gain] : {std::pair{200, 2.0}, {50, 0.5}, {1, 0.01}, {5000, 2.0}}) {
      const double there = Rms(Wet([&](Console& c) { set(c, level, value); }).right);
      EXPECT_NEAR(Decibels(there / at_100), Decibels(gain), 0.1)
          << static_cast<int>(level) << " at " << value;
    }
    EXPECT_EQ(Rms(Wet([&](Console& c) { set(c, level, 0); }).right), 0.0);
  }
}

TEST(Console, ReverbParametersAreInTheirUnits) {
  const Sound in = Quiet(0.5);
  Reverb reverb;
  reverb.SetTime(750.0F);
  reverb.SetDelay(12.3F);
  reverb.SetLowPass(6000.0F);
  reverb.SetHighPass(150.0F);
  reverb.Snap();
  Sound expected = RunUnit(reverb, in);
  for (int i = 0; i < in.frames(); ++i) expected.left[i] += in.left[i];
  for (int i = 0; i < in.frames(); ++i) expected.right[i] += in.right[i];

  Desk desk;
  desk.Dry();
  desk->SetReverbSend(0, 127);
  desk->SetEffect(EffectParameter::kReverbTime, 750);
  desk->SetEffect(EffectParameter::kReverbDelay, 123);
  desk->SetEffect(EffectParameter::kReverbLowPass, 6000);
  desk->SetEffect(EffectParameter::kReverbHighPass, 150);
  desk->Snap();
  EXPECT_EQ(desk.Play(in, {0}), expected);
}

TEST(Console, ChorusParametersAreInTheirUnits) {
  const Sound in = Quiet(0.5);
  const std::array<std::pair<std::uint32_t, float>, 3> feedbacks = {
      {{0, -1.0F}, {130, 0.3F}, {200, 1.0F}}};
  for (const auto& [value, amount] : feedbacks) {
    Chorus chorus;
    chorus.SetDelay(23.4F);
    chorus.SetDepth(5.6F);
    chorus.SetRate(1.23F);
    chorus.SetFeedback(amount);
    chorus.Snap();
    Sound expected = RunUnit(chorus, in);
    for (int i = 0; i < in.frames(); ++i) expected.left[i] += in.left[i];
    for (int i = 0; i < in.frames(); ++i) expected.right[i] += in.right[i];

    Desk desk;
    desk.Dry();
    desk->SetChorusSend(0, 127);
    desk->SetEffect(EffectParameter::kChorusDelay, 234);
    desk->SetEffect(EffectParameter::kChorusDepth, 56);
    desk->SetEffect(EffectParameter::kChorusRate, 123);
    desk->SetEffect(EffectParameter::kChorusFeedback, value);
    desk->Snap();
    EXPECT_EQ(desk.Play(in, {0}), expected) << value;
  }
}

TEST(Console, ChorusReachesTheReverb) {
  // With the chorus itself off, what comes through is the reverberation of the chorus.
  const Sound wet = Wet([](Console& c) {
    c.SetChorusSend(0, 127);
    c.SetEffect(EffectParameter::kChorusLevel, 0);
    c.SetEffect(EffectParameter::kChorusToReverb, 100);
  });
  const double tail = Rms(wet.left, Frames(1.3), Frames(1.5));
  EXPECT_GT(tail, 1e-4);
  const Sound unheard = Wet([](Console& c) {
    c.SetChorusSend(0, 127);
    c.SetEffect(EffectParameter::kReverbLevel, 0);
    c.SetEffect(EffectParameter::kChorusToReverb, 200);
  });
  EXPECT_EQ(Rms(unheard.left, Frames(1.3), Frames(1.5)), 0.0);
}

TEST(Console, AValueBeyondItsLimitSoundsAsTheLimit) {
  for (int i = 0; i < kEffectParameters; ++i) {
    const auto parameter = static_cast<EffectParameter>(i);
    const auto sound = [&](std::uint32_t value) {
      Desk desk;
      desk->SetReverbSend(0, 127);
      desk->SetChorusSend(0, 127);
      desk->SetEffect(EffectParameter::kChorusToReverb, 100);
      desk->SetEffect(parameter, value);
      desk->Snap();
      return desk.Play(Quiet(0.4), {0});
    };
    const EffectLimits& limits = kEffectLimits[i];
    EXPECT_EQ(sound(limits.highest + 1), sound(limits.highest)) << i;
    EXPECT_EQ(sound(0xFFFFFFFFU), sound(limits.highest)) << i;
    EXPECT_EQ(sound(0), sound(limits.lowest)) << i;
    EXPECT_NE(sound(limits.lowest),
              sound(limits.initial == limits.lowest ? limits.highest : limits.initial))
        << i;
  }
}

/// Every value of the console, from one limit to the other.
struct Value {
  std::string name;
  std::function<void(Console&, bool high)> set;
};

std::vector<Value> AllValues() {
  std::vector<Value> values = {
      {"mix level", [](Console& c, bool high) { c.SetMixLevel(0, high ? 200 : 0); }},
      {"reverb send", [](Console& c, bool high) { c.SetReverbSend(0, high ? 127 : 0); }},
      {"chorus send", [](Console& c, bool high) { c.SetChorusSend(0, high ? 127 : 0); }},
      {"master", [](Console& c, bool high) { c.SetMaster(high ? 1.0F : 0.0F); }}};
  for (int i = 0; i < kEffectParameters; ++i) {
    values.push_back({"effect " + std::to_string(i), [i](Console& c, bool high) {
                        c.SetEffect(static_cast<EffectParameter>(i),
                                    high ? kEffectLimits[i].highest : kEffectLimits[i].lowest);
                      }});
  }
  return values;
}

void SetUpEffects(Console& console) {
  console.SetReverbSend(0, 100);
  console.SetChorusSend(0, 100);
  console.SetEffect(EffectParameter::kChorusToReverb, 50);
}

TEST(Console, JumpsOfAValueDoNotClick) {
  const Sound in = Sine(1.5, 440.0, 0.5);
  const double period = 0.25;
  for (const Value& value : AllValues()) {
    // Every value stays long enough that the steps of the steady sound on both sides are known.
    std::array<float, 2> steady{};
    for (const bool high : {false, true}) {
      Desk desk;
      SetUpEffects(*desk);
      value.set(*desk, high);
      desk->Snap();
      const Sound out = desk.Play(in, {0});
      // The beginning of the sine in the empty lines belongs to it.
      steady[high ? 1 : 0] =
          std::max(LargestStep(out.left, 0, out.frames()), LargestStep(out.right, 0, out.frames()));
    }
    Desk desk;
    SetUpEffects(*desk);
    value.set(*desk, false);
    desk->Snap();
    bool high = false;
    int next = Frames(0.3);
    const Sound out = desk.Play(in, {0}, EqualBlocks(in.frames(), 63), [&](int done) {
      if (done < next) return;
      next += Frames(period);
      high = !high;
      value.set(*desk, high);
    });
    const float limit = 1.1F * std::max(steady[0], steady[1]) + 0.004F;
    EXPECT_LT(LargestStep(out.left, 0, out.frames()), limit) << value.name;
    EXPECT_LT(LargestStep(out.right, 0, out.frames()), limit) << value.name;
  }
}

TEST(Console, ValuesArriveWithinTwentyMilliseconds) {
  for (const Value& value : AllValues()) {
    if (value.name.starts_with("effect") || value.name.ends_with("send")) continue;
    Desk desk;
    desk.Dry();
    value.set(*desk, false);
    desk->Snap();
    const Sound in = Sine(0.1, 440.0, 0.5);
    value.set(*desk, true);
    const Sound out = desk.Play(in, {0});
    const float gain = value.name == "master" ? 1.0F : 2.0F;
    EXPECT_LT(Peak(out.left, 0, Frames(0.001)), 0.2F);
    for (int i = Frames(0.02); i < in.frames(); ++i) ASSERT_EQ(out.left[i], gain * in.left[i]);
  }
}

TEST(Console, SnapEqualsValuesFromTheStart) {
  const Sound in = Quiet(0.6);
  for (const Value& value : AllValues()) {
    Desk fresh;
    SetUpEffects(*fresh);
    value.set(*fresh, false);
    fresh->Snap();

    Desk used;
    SetUpEffects(*used);
    value.set(*used, true);
    used->Snap();
    used.Play(Quiet(0.0777), {0});
    value.set(*used, false);
    used.Play(Quiet(0.001), {0});  // in the middle of the ramp
    used->Silence();
    used->Snap();
    EXPECT_EQ(used.Play(in, {0}), fresh.Play(in, {0})) << value.name;
  }
}

TEST(Console, SoundDoesNotDependOnTheBlocks) {
  Sound in = Quiet(6.0);
  // A pause, so that the effects come to rest and wake.
  std::fill(in.left.begin() + Frames(1.0), in.left.begin() + Frames(5.0), 0.0F);
  std::fill(in.right.begin() + Frames(1.0), in.right.begin() + Frames(5.0), 0.0F);
  const auto play = [&](int kind) {
    Desk desk;
    SetUpEffects(*desk);
    desk->SetEffect(EffectParameter::kReverbTime, 300);
    std::vector<int> blocks;
    std::vector<Sound> parts;
    Sound whole;
    // Values change at the same frames whatever the cut.
    const std::vector<Value> values = AllValues();
    const int part = Frames(6.0 / 60);
    for (int i = 0; i < 60; ++i) {
      values[i % values.size()].set(*desk, i % 2 == 0);
      values[(i * 7 + 3) % values.size()].set(*desk, i % 3 == 0);
      if (i == 25) desk->SetMaster(1.0F);
      Sound piece(part);
      std::copy_n(in.left.begin() + i * part, part, piece.left.begin());
      std::copy_n(in.right.begin() + i * part, part, piece.right.begin());
      blocks = kind < 0 ? EqualBlocks(part, -kind)
                        : RandomBlocks(part, static_cast<unsigned>(kind * 1000 + i));
      const Sound out = desk.Play(piece, {0}, blocks);
      whole.left.insert(whole.left.end(), out.left.begin(), out.left.end());
      whole.right.insert(whole.right.end(), out.right.begin(), out.right.end());
    }
    return whole;
  };
  const Sound reference = play(-512);
  EXPECT_GT(Rms(reference.left), 1e-4);
  for (const int kind : {-1, -64, 1, 2}) EXPECT_EQ(play(kind), reference) << kind;
}

TEST(Console, SilenceEmptiesTheLines) {
  Desk desk;
  SetUpEffects(*desk);
  desk->SetEffect(EffectParameter::kChorusFeedback, 200);
  desk->SetEffect(EffectParameter::kReverbTime, 20000);
  desk->Snap();
  desk.Play(Quiet(1.0), {0});
  EXPECT_GT(Peak(desk.PlayNothing(0.5).left), 0.001F);
  desk->Silence();
  EXPECT_TRUE(desk->TailIsOver());
  EXPECT_EQ(desk.PlayNothing(0.5), Sound(Frames(0.5)));
}

TEST(Console, FreshConsoleHasNoTail) {
  Desk desk;
  EXPECT_TRUE(desk->TailIsOver());
  desk.PlayNothing(0.1);
  EXPECT_TRUE(desk->TailIsOver());
}

/// Plays a short loud noise and then nothing; gives the seconds until the tail is over.
double SecondsToTheEnd(const std::function<void(Console&)>& set, double longest) {
  constexpr float kLimit = 3.1622777e-5F;
  Desk desk;
  SetUpEffects(*desk);
  set(*desk);
  desk->Snap();
  desk.Play(Noise(0.3, 0.3), {0});
  EXPECT_FALSE(desk->TailIsOver());
  double last_loud = 0.0;
  double seconds = 0.0;
  for (; seconds < longest && !desk->TailIsOver(); seconds += 0.05) {
    const Sound out = desk.PlayNothing(0.05);
    if (std::max(Peak(out.left), Peak(out.right)) > kLimit) last_loud = seconds;
  }
  EXPECT_TRUE(desk->TailIsOver()) << "after " << seconds;
  EXPECT_GE(seconds, last_loud);
  const Sound after = desk.PlayNothing(3.0);
  EXPECT_LT(std::max(Peak(after.left), Peak(after.right)), kLimit);
  return seconds;
}

TEST(Console, TailIsOverOnceNothingIsHeard) {
  const double usual = SecondsToTheEnd([](Console&) {}, 10.0);
  EXPECT_GT(usual, 1.5);
  EXPECT_LT(usual, 4.0);
  EXPECT_LT(SecondsToTheEnd(
                [](Console& c) {
                  c.SetEffect(EffectParameter::kReverbTime, 10);
                  c.SetEffect(EffectParameter::kReverbDelay, 0);
                },
                2.0),
            0.6);
}

TEST(Console, TailEndsEvenAtTheLimits) {
  for (const std::uint32_t feedback : {0U, 200U}) {
    const double seconds = SecondsToTheEnd(
        [&](Console& c) {
          c.SetEffect(EffectParameter::kChorusFeedback, feedback);
          c.SetEffect(EffectParameter::kChorusDelay, feedback == 0 ? 200 : 1000);
          c.SetEffect(EffectParameter::kChorusDepth, 0);
          c.SetEffect(EffectParameter::kReverbTime, feedback == 0 ? 500 : 20000);
        },
        120.0);
    EXPECT_GT(seconds, feedback == 0 ? 4.0 : 20.0);
  }
}

TEST(Console, EffectsSwitchedOffHaveNoTail) {
  Desk desk;
  SetUpEffects(*desk);
  desk->Snap();
  desk.Play(Quiet(0.5), {0});
  EXPECT_FALSE(desk->TailIsOver());
  desk->SetEffect(EffectParameter::kReverbLevel, 0);
  desk->SetEffect(EffectParameter::kChorusLevel, 0);
  desk.PlayNothing(0.02);
  EXPECT_TRUE(desk->TailIsOver());
  // The room still holds its sound; opening it again is heard.
  desk->SetEffect(EffectParameter::kReverbLevel, 100);
  EXPECT_FALSE(desk->TailIsOver());
  EXPECT_GT(Peak(desk.PlayNothing(0.1).left), 1e-4F);
}

/// Median microseconds of a 10 ms block.
double BlockTime(Desk& desk, const Sound& in, const std::vector<int>& channels) {
  std::vector<double> times;
  auto last = std::chrono::steady_clock::now();
  desk.Play(in, channels, EqualBlocks(in.frames(), 441), [&](int) {
    const auto now = std::chrono::steady_clock::now();
    times.push_back(std::chrono::duration<double, std::micro>(now - last).count());
    last = now;
  });
  std::nth_element(times.begin(), times.begin() + static_cast<int>(times.size() / 2), times.end());
  return times[times.size() / 2];
}

TEST(Console, KeepsUpWithSixteenChannels) {
#ifndef NDEBUG
  GTEST_SKIP() << "says nothing without optimisation";
#endif
  Desk desk;
  std::vector<int> all(kChannels);
  for (int channel = 0; channel < kChannels; ++channel) {
    all[channel] = channel;
    desk->SetReverbSend(channel, 60);
    desk->SetChorusSend(channel, 50);
  }
  SetUpEffects(*desk);
  desk->Snap();
  // Includes the writing of the channels. Generous for the sake of busy machines: half the block.
  const double microseconds = BlockTime(desk, Quiet(1.0), all);
  RecordProperty("block_microseconds", std::to_string(microseconds));
  EXPECT_LT(microseconds, 5000.0);
}

TEST(Console, VanishingTailsDoNotSlowItDown) {
  Desk desk;
  SetUpEffects(*desk);
  desk->SetEffect(EffectParameter::kChorusFeedback, 199);
  desk->Snap();
  const double loud = BlockTime(desk, Quiet(2.0), {0});
  // So soft that everything would be computed below 1e-38.
  const double soft = BlockTime(desk, Noise(2.0, 3e-39), {0});
  RecordProperty("loud_block_microseconds", std::to_string(loud));
  RecordProperty("soft_block_microseconds", std::to_string(soft));
  EXPECT_LT(soft, 1.7 * loud);
}

}  // namespace
}  // namespace vexolo::engine
