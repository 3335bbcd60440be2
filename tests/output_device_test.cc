// layer: engine
#include "engine/output_device.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/device_backend.h"
#include "engine/fallback_output.h"
#include "engine/heard_clock.h"

namespace vexolo::engine {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

bool WaitFor(const std::function<bool()>& condition, milliseconds limit = milliseconds(2000)) {
  const auto end = Clock::now() + limit;
  while (!condition()) {
    if (Clock::now() > end) return false;
    std::this_thread::sleep_for(milliseconds(1));
  }
  return true;
}

/// What the render procedure saw; it writes 1000 into every sample.
struct Listener {
  static constexpr std::size_t kKept = 4096;
  std::atomic<int> inside = 0;
  std::atomic<bool> overlapped = false;
  std::atomic<std::uint64_t> frames = 0;
  std::atomic<std::uint64_t> calls = 0;
  std::atomic<int> largest = 0;
  std::atomic<int> smallest = 1 << 20;
  std::atomic<int> delay_ms = 0;  ///< the next call takes so long
  std::atomic<OutputDevice*> stop_me = nullptr;
  std::array<std::atomic<Clock::rep>, kKept> times{};

  static void Render(void* user, std::int16_t* out, int count) {
    auto* self = static_cast<Listener*>(user);
    if (self->inside.fetch_add(1) != 0) self->overlapped = true;
    const std::uint64_t call = self->calls;
    if (call < kKept) self->times[call] = Clock::now().time_since_epoch().count();
    const int delay = self->delay_ms.exchange(0);
    if (delay > 0) std::this_thread::sleep_for(milliseconds(delay));
    std::fill_n(out, 2 * count, std::int16_t{1000});
    self->largest = std::max(self->largest.load(), count);
    self->smallest = std::min(self->smallest.load(), count);
    self->frames += static_cast<std::uint64_t>(count);
    ++self->calls;
    if (OutputDevice* device = self->stop_me.exchange(nullptr)) device->Stop();
    --self->inside;
  }

  bool HearsMore(std::uint64_t more_calls = 3) {
    const std::uint64_t before = calls;
    return WaitFor([&] { return calls >= before + more_calls; }, milliseconds(700));
  }
};

/// No calls for longer than any block.
bool StaysQuiet(Listener& listener) {
  const std::uint64_t before = listener.calls;
  std::this_thread::sleep_for(milliseconds(60));
  return listener.calls == before;
}

// The clock of what is heard.

constexpr HeardClock::Time At(double milliseconds_since_start) {
  return HeardClock::Time(std::chrono::seconds(1000) +
                          std::chrono::nanoseconds(std::int64_t(milliseconds_since_start * 1e6)));
}

TEST(HeardClock, BlockIsHeardEvenlyUntilItsEnd) {
  HeardClock clock;
  EXPECT_EQ(clock.Heard(At(0)), 0u);
  EXPECT_EQ(clock.Queued(At(0)), 0u);
  clock.BeginBlock(At(0), {.frames = 441});
  clock.EndBlock();
  EXPECT_EQ(clock.Queued(At(0)), 441u);
  EXPECT_EQ(clock.Heard(At(2.5)), 110u);
  EXPECT_EQ(clock.Queued(At(2.5)), 331u);
  EXPECT_EQ(clock.Heard(At(10)), 441u);
  EXPECT_EQ(clock.Queued(At(50)), 0u) << "no further than what was handed over";
}

TEST(HeardClock, LatencyComesFirstAndNothingOldReturns) {
  HeardClock clock;
  double time = 0;
  for (int block = 0; block < 4; ++block, time += 10) {
    clock.BeginBlock(At(time), {.frames = 441, .latency = 882});
    clock.EndBlock();
  }
  // Handed over 1764; at the last request 1323 were handed over before, of which 882 are queued.
  EXPECT_EQ(clock.Heard(At(30)), 441u);
  EXPECT_EQ(clock.Queued(At(30)), 1323u);
  EXPECT_EQ(clock.Heard(At(35)), 441u + 220);
  // An early request moves ahead, never back.
  clock.BeginBlock(At(35), {.frames = 441, .latency = 882});
  EXPECT_EQ(clock.Heard(At(35)), 882u);
}

TEST(HeardClock, BlockCountsAsQueuedOnceItsCallHasReturned) {
  HeardClock clock;
  clock.BeginBlock(At(0), {.frames = 441, .latency = 100});
  EXPECT_EQ(clock.Queued(At(0)), 0u);
  clock.EndBlock();
  EXPECT_EQ(clock.Queued(At(0)), 441u);
}

TEST(HeardClock, OneRequestInSeveralBlocks) {
  HeardClock clock;
  clock.BeginBlock(At(0), {.frames = 2048, .latency = 1000});
  clock.EndBlock();
  clock.BeginBlock(At(0), {.frames = 1000, .lead = 2048, .latency = 1000});
  clock.EndBlock();
  EXPECT_EQ(clock.Heard(At(0)), 0u);
  EXPECT_EQ(clock.Queued(At(0)), 3048u);
  EXPECT_EQ(clock.Heard(At(60)), 2646u - 1000);
  EXPECT_EQ(clock.Heard(At(1000)), 2048u) << "the request's 3048 less the latency";
}

TEST(HeardClock, WhatIsQueuedPlaysOutAfterTheEnd) {
  HeardClock clock;
  clock.BeginBlock(At(0), {.frames = 441, .latency = 882});
  clock.EndBlock();
  clock.BeginBlock(At(10), {.frames = 441, .latency = 882});
  clock.EndBlock();
  clock.Drain(At(20), 882);
  EXPECT_EQ(clock.Heard(At(20)), 0u);
  EXPECT_EQ(clock.Queued(At(20)), 882u);
  EXPECT_EQ(clock.Heard(At(30)), 441u);
  EXPECT_EQ(clock.Heard(At(40)), 882u);
  EXPECT_EQ(clock.Queued(At(100)), 0u);
}

TEST(HeardClock, NewStartTakesEverythingBeforeAsHeard) {
  HeardClock clock;
  clock.BeginBlock(At(0), {.frames = 441});
  clock.EndBlock();
  clock.BeginBlock(At(5), {.frames = 512, .latency = 2048});
  clock.EndBlock();
  EXPECT_EQ(clock.Heard(At(5)), 441u);
  EXPECT_EQ(clock.Heard(At(16)), 441u);
  EXPECT_EQ(clock.Queued(At(5)), 512u);
}

TEST(HeardClock, NeverRunsBackForAReaderWhateverTheWriterDoes) {
  HeardClock clock;
  std::atomic<bool> done = false;
  std::atomic<bool> ran_back = false;
  std::thread reader([&] {
    std::uint64_t last = 0;
    while (!done) {
      const std::uint64_t heard = clock.Heard(Clock::now());
      if (heard < last) ran_back = true;
      last = heard;
    }
  });
  auto deadline = Clock::now();
  for (int block = 0; block < 300; ++block) {
    clock.BeginBlock(deadline, {.frames = 44, .latency = block % 100 < 50 ? 88u : 10u});
    clock.EndBlock();
    if (block % 70 == 69) clock.Drain(deadline, block % 100 < 50 ? 88u : 10u);
    deadline += std::chrono::microseconds(998);
    std::this_thread::sleep_until(deadline);
  }
  done = true;
  reader.join();
  EXPECT_FALSE(ran_back);
  EXPECT_GT(clock.Heard(Clock::now()), 300u * 44 - 100);
}

// The silent clock.

TEST(SilentClock, RunsWhereNoDeviceIsWanted) {
  Listener listener;
  auto device = OutputDevice::Create(false, &Listener::Render, &listener);
  EXPECT_TRUE(device->IsSilent());
  EXPECT_TRUE(StaysQuiet(listener)) << "nothing is rendered before the start";
  EXPECT_TRUE(device->Start());
  EXPECT_TRUE(listener.HearsMore());
  EXPECT_EQ(listener.smallest, 441);
  EXPECT_EQ(listener.largest, 441);
}

TEST(SilentClock, KeepsThePaceOfADevice) {
  Listener listener;
  auto device = OutputDevice::Create(false, &Listener::Render, &listener);
  device->Start();
  ASSERT_TRUE(listener.HearsMore(1));
  const auto begin = Clock::now();
  const std::uint64_t first = device->HeardFrames();
  std::this_thread::sleep_for(milliseconds(1000));
  const std::chrono::duration<double> passed = Clock::now() - begin;
  const double wanted = passed.count() * 44100;
  EXPECT_NEAR(static_cast<double>(device->HeardFrames() - first), wanted,
              441.0 * static_cast<double>(1 + device->LateBlocks()));
  EXPECT_NEAR(static_cast<double>(listener.frames), wanted + static_cast<double>(first),
              441.0 * static_cast<double>(2 + device->LateBlocks()));
}

TEST(SilentClock, PositionRunsEvenlyAndNeverBack) {
  Listener listener;
  auto device = OutputDevice::Create(false, &Listener::Render, &listener);
  device->Start();
  ASSERT_TRUE(listener.HearsMore(1));
  const auto begin = Clock::now();
  const auto first = static_cast<double>(device->HeardFrames());
  std::vector<double> errors;
  std::uint64_t last = 0;
  for (int sample = 0; sample < 300; ++sample) {
    std::this_thread::sleep_for(milliseconds(1));
    const std::uint64_t heard = device->HeardFrames();
    EXPECT_GE(heard, last);
    last = heard;
    const std::chrono::duration<double> passed = Clock::now() - begin;
    errors.push_back(std::abs(static_cast<double>(heard) - first - passed.count() * 44100));
    EXPECT_LE(device->QueuedFrames(), 441u);
  }
  std::ranges::sort(errors);
  if (device->LateBlocks() == 0) {
    EXPECT_LT(errors[errors.size() / 2], 44.1) << "the median error is below a millisecond";
  }
}

TEST(SilentClock, StopReturnsAtOnceAndEndsTheCalls) {
  Listener listener;
  auto device = OutputDevice::Create(false, &Listener::Render, &listener);
  device->Start();
  ASSERT_TRUE(listener.HearsMore(1));
  device->Stop();
  std::this_thread::sleep_for(milliseconds(25));
  EXPECT_TRUE(StaysQuiet(listener));
  EXPECT_EQ(device->QueuedFrames(), 0u);
  EXPECT_EQ(device->HeardFrames(), listener.frames);
  device->Stop();
  EXPECT_TRUE(device->Start());
  EXPECT_TRUE(device->Start());
  EXPECT_TRUE(listener.HearsMore());
}

TEST(SilentClock, TheProcedureMayStopIt) {
  Listener listener;
  auto device = OutputDevice::Create(false, &Listener::Render, &listener);
  listener.stop_me = device.get();
  device->Start();
  ASSERT_TRUE(WaitFor([&] { return listener.calls == 1; }));
  EXPECT_TRUE(StaysQuiet(listener));
  EXPECT_EQ(listener.calls, 1u);
}

TEST(SilentClock, MissedBlocksAreSkippedAndCounted) {
  Listener listener;
  auto device = OutputDevice::Create(false, &Listener::Render, &listener);
  device->Start();
  ASSERT_TRUE(listener.HearsMore(1));
  const std::uint64_t late_before = device->LateBlocks();
  listener.delay_ms = 75;
  ASSERT_TRUE(WaitFor([&] { return device->LateBlocks() > late_before; }));
  EXPECT_GE(device->LateBlocks() - late_before, 5u);
  // No burst afterwards: ten blocks take their hundred milliseconds, give or take two.
  const auto begin = Clock::now();
  ASSERT_TRUE(listener.HearsMore(10));
  EXPECT_GE(Clock::now() - begin, milliseconds(75));
}

TEST(SilentClock, DestructorEndsTheCallsWhileRunning) {
  for (int round = 0; round < 20; ++round) {
    Listener listener;
    auto device = OutputDevice::Create(false, &Listener::Render, &listener);
    device->Start();
    std::this_thread::sleep_for(milliseconds(round % 4));
    device.reset();
    EXPECT_EQ(listener.inside, 0);
    const std::uint64_t calls = listener.calls;
    std::this_thread::sleep_for(milliseconds(2));
    EXPECT_EQ(listener.calls, calls);
  }
}

TEST(SystemDevice, StartsWhateverTheMachineHas) {
  Listener listener;
  auto device = OutputDevice::Create(true, &Listener::Render, &listener);
  EXPECT_TRUE(device->Start());
  EXPECT_TRUE(listener.HearsMore());
  device->Stop();
  EXPECT_TRUE(device->Start());
  EXPECT_TRUE(listener.HearsMore());
}

// A device that fails in every way.

struct FakeDevice {
  std::atomic<bool> present = true;
  std::atomic<bool> start_fails = false;
  std::atomic<bool> mute = false;   ///< started, but asks for nothing
  std::atomic<bool> hurry = false;  ///< asks without waiting
  std::atomic<bool> dry = false;    ///< the next request says that sound was missing
  std::atomic<int> block = 512;
  std::uint32_t latency = 2048;
  std::atomic<int> opens = 0;
  std::atomic<int> starts = 0;
  std::atomic<int> requests = 0;
  std::atomic<int> last_sample = -1;  ///< of the last request
  std::atomic<int> last_reply = -1;
};

class FakeBackend final : public DeviceBackend {
 public:
  explicit FakeBackend(FakeDevice& device) : device_(device) {}
  ~FakeBackend() override { Close(); }

  bool Open(FillProc fill, void* user) override {
    Close();
    fill_ = fill;
    user_ = user;
    ++device_.opens;
    open_ = device_.present;
    return open_;
  }
  bool Start() override {
    ++device_.starts;
    if (!open_ || device_.start_fails) return false;
    Join();
    running_ = true;
    thread_ = std::thread([this] { Play(); });
    return true;
  }
  void Close() override {
    Join();
    open_ = false;
  }
  std::uint32_t LatencyFrames() const override { return device_.latency; }
  std::string Name() const override { return "Fake"; }

 private:
  void Join() {
    running_ = false;
    if (thread_.joinable()) thread_.join();
  }
  void Play() {
    auto deadline = Clock::now();
    while (running_) {
      const int frames = device_.block;
      if (!device_.mute) {
        std::vector<std::int16_t> out(static_cast<std::size_t>(2 * frames), std::int16_t{-7});
        const Reply reply = fill_(user_, out.data(), frames, device_.dry.exchange(false));
        device_.last_sample = out.back();
        device_.last_reply = static_cast<int>(reply);
        ++device_.requests;
        if (reply != Reply::kContinue) return;
      }
      if (device_.hurry) continue;
      deadline += std::chrono::nanoseconds(std::int64_t{frames} * 1'000'000'000 / 44100);
      std::this_thread::sleep_until(deadline);
    }
  }

  FakeDevice& device_;
  FillProc fill_ = nullptr;
  void* user_ = nullptr;
  bool open_ = false;
  std::atomic<bool> running_ = false;
  std::thread thread_;
};

struct Rig {
  FakeDevice fake;
  Listener listener;
  std::unique_ptr<FallbackOutput> output;

  void Create() {
    output = std::make_unique<FallbackOutput>(std::make_unique<FakeBackend>(fake),
                                              &Listener::Render, &listener);
  }
  void Play() {
    Create();
    EXPECT_TRUE(output->Start());
  }
  bool DeviceAsks(int more = 3) {
    const int before = fake.requests;
    return WaitFor([&] { return fake.requests >= before + more; });
  }
  ~Rig() { EXPECT_FALSE(listener.overlapped); }
};

TEST(FallbackOutput, DeviceRendersWhereThereIsOne) {
  Rig rig;
  rig.Create();
  EXPECT_FALSE(rig.output->IsSilent());
  EXPECT_EQ(rig.fake.starts, 0);
  EXPECT_TRUE(rig.output->Start());
  ASSERT_TRUE(rig.DeviceAsks());
  EXPECT_EQ(rig.fake.last_sample, 1000);
  EXPECT_EQ(rig.listener.largest, 512);
  EXPECT_EQ(rig.listener.smallest, 512) << "the clock does not render beside it";
  EXPECT_FALSE(rig.output->IsSilent());
}

TEST(FallbackOutput, OnlyADeviceInUseIsNamed) {
  Rig rig;
  rig.Create();
  EXPECT_EQ(rig.output->DeviceName(), "Fake");
  rig.output.reset();
  rig.fake.present = false;
  rig.Play();
  EXPECT_EQ(rig.output->DeviceName(), "");
  rig.fake.present = true;
  EXPECT_TRUE(rig.output->Start());
  EXPECT_EQ(rig.output->DeviceName(), "Fake");
}

TEST(FallbackOutput, LatencyIsQueued) {
  Rig rig;
  rig.Play();
  ASSERT_TRUE(rig.DeviceAsks(10));
  const std::uint32_t queued = rig.output->QueuedFrames();
  EXPECT_GE(queued, 2048u - 512);
  EXPECT_LE(queued, 2048u + 512);
  rig.output->Stop();
  ASSERT_TRUE(WaitFor([&] { return rig.output->QueuedFrames() == 0; }));
  EXPECT_EQ(rig.output->HeardFrames(), rig.listener.frames);
}

TEST(FallbackOutput, LargeRequestsComeInBlocks) {
  Rig rig;
  rig.fake.block = 5000;
  rig.Play();
  ASSERT_TRUE(rig.DeviceAsks(2));
  EXPECT_EQ(rig.listener.largest, OutputDevice::kMaxOutputBlock);
  EXPECT_EQ(rig.listener.smallest, 5000 - 2 * OutputDevice::kMaxOutputBlock);
  EXPECT_EQ(rig.fake.last_sample, 1000);
}

TEST(FallbackOutput, DryDeviceCountsAsLate) {
  Rig rig;
  rig.Play();
  ASSERT_TRUE(rig.DeviceAsks());
  EXPECT_EQ(rig.output->LateBlocks(), 0u);
  rig.fake.dry = true;
  ASSERT_TRUE(rig.DeviceAsks());
  EXPECT_EQ(rig.output->LateBlocks(), 1u);
}

TEST(FallbackOutput, StopDrainsTheDeviceAndStartGoesOn) {
  Rig rig;
  rig.Play();
  ASSERT_TRUE(rig.DeviceAsks());
  rig.output->Stop();
  ASSERT_TRUE(WaitFor(
      [&] { return rig.fake.last_reply == static_cast<int>(DeviceBackend::Reply::kDrain); }));
  EXPECT_EQ(rig.fake.last_sample, 0);
  EXPECT_TRUE(StaysQuiet(rig.listener));
  std::this_thread::sleep_for(FallbackOutput::kSilenceLimit + milliseconds(100));
  EXPECT_FALSE(rig.output->IsSilent()) << "a device that was stopped has not vanished";
  EXPECT_TRUE(rig.output->Start());
  EXPECT_TRUE(rig.listener.HearsMore());
  EXPECT_EQ(rig.fake.opens, 1);
  EXPECT_EQ(rig.fake.starts, 2);
}

TEST(FallbackOutput, StopTakenBackBeforeTheDeviceNoticed) {
  Rig rig;
  rig.Play();
  ASSERT_TRUE(rig.DeviceAsks());
  for (int round = 0; round < 50; ++round) {
    rig.output->Stop();
    EXPECT_TRUE(rig.output->Start());
    std::this_thread::sleep_for(std::chrono::microseconds(500));
  }
  EXPECT_TRUE(rig.listener.HearsMore());
  EXPECT_FALSE(rig.output->IsSilent());
}

TEST(FallbackOutput, ClockRunsWhereTheDeviceIsMissingAndEveryStartTriesAgain) {
  Rig rig;
  rig.fake.present = false;
  rig.Play();
  EXPECT_TRUE(rig.output->IsSilent());
  EXPECT_TRUE(rig.listener.HearsMore());
  EXPECT_EQ(rig.listener.largest, 441);
  const int opens = rig.fake.opens;
  rig.output->Stop();
  rig.fake.present = true;
  EXPECT_TRUE(rig.output->Start());
  EXPECT_EQ(rig.fake.opens, opens + 1);
  EXPECT_FALSE(rig.output->IsSilent());
  ASSERT_TRUE(rig.DeviceAsks());
  EXPECT_EQ(rig.fake.last_sample, 1000);
}

TEST(FallbackOutput, ClockTakesOverFromADeviceThatVanishes) {
  Rig rig;
  rig.Play();
  ASSERT_TRUE(rig.DeviceAsks());
  rig.fake.mute = true;
  const auto begin = Clock::now();
  ASSERT_TRUE(WaitFor([&] { return rig.output->IsSilent(); }));
  EXPECT_GE(Clock::now() - begin, milliseconds(250));
  EXPECT_LE(Clock::now() - begin, milliseconds(1500));
  EXPECT_GE(rig.output->LateBlocks(), 1u);
  EXPECT_TRUE(rig.listener.HearsMore(5));
}

TEST(FallbackOutput, DeviceThatComesBackByItselfGetsSilence) {
  Rig rig;
  rig.Play();
  ASSERT_TRUE(rig.DeviceAsks());
  rig.fake.mute = true;
  ASSERT_TRUE(WaitFor([&] { return rig.output->IsSilent(); }));
  rig.fake.mute = false;
  ASSERT_TRUE(rig.DeviceAsks(1));
  EXPECT_EQ(rig.fake.last_sample, 0);
  EXPECT_EQ(rig.fake.last_reply, static_cast<int>(DeviceBackend::Reply::kAbort));
  EXPECT_TRUE(rig.output->IsSilent());
  EXPECT_TRUE(rig.listener.HearsMore());
}

TEST(FallbackOutput, VanishedDeviceIsPickedUpAtTheNextStart) {
  Rig rig;
  rig.Play();
  ASSERT_TRUE(rig.DeviceAsks());
  rig.fake.mute = true;
  ASSERT_TRUE(WaitFor([&] { return rig.output->IsSilent(); }));
  rig.fake.present = false;
  EXPECT_TRUE(rig.output->Start()) << "while the clock is running";
  EXPECT_TRUE(rig.output->IsSilent());
  EXPECT_TRUE(rig.listener.HearsMore());
  rig.fake.present = true;
  rig.fake.mute = false;
  const std::uint64_t heard = rig.output->HeardFrames();
  EXPECT_TRUE(rig.output->Start());
  EXPECT_FALSE(rig.output->IsSilent());
  ASSERT_TRUE(rig.DeviceAsks());
  EXPECT_EQ(rig.fake.last_sample, 1000);
  EXPECT_GE(rig.output->HeardFrames(), heard);
  // The clock has left: all frames now come from the device.
  std::this_thread::sleep_for(milliseconds(20));
  rig.listener.smallest = 1 << 20;
  ASSERT_TRUE(rig.DeviceAsks(5));
  EXPECT_EQ(rig.listener.smallest, 512);
}

TEST(FallbackOutput, DeviceThatHurriesCountsAsVanished) {
  Rig rig;
  rig.Play();
  ASSERT_TRUE(rig.DeviceAsks());
  const std::uint64_t before = rig.listener.frames;
  rig.fake.hurry = true;
  ASSERT_TRUE(WaitFor([&] { return rig.output->IsSilent(); }));
  EXPECT_LT(rig.listener.frames - before, 44100u / 2) << "the song does not race away";
  EXPECT_TRUE(rig.listener.HearsMore());
}

TEST(FallbackOutput, DeviceThatOpensButDoesNotStart) {
  Rig rig;
  rig.fake.start_fails = true;
  rig.Play();
  EXPECT_TRUE(rig.output->IsSilent());
  EXPECT_TRUE(rig.listener.HearsMore());
  rig.fake.start_fails = false;
  EXPECT_TRUE(rig.output->Start());
  EXPECT_FALSE(rig.output->IsSilent());
  EXPECT_TRUE(rig.DeviceAsks());
}

TEST(FallbackOutput, RendererThatHangsIsNotCalledTwice) {
  Rig rig;
  rig.Play();
  ASSERT_TRUE(rig.DeviceAsks());
  rig.listener.delay_ms = 450;
  ASSERT_TRUE(WaitFor([&] { return rig.output->IsSilent(); }));
  EXPECT_TRUE(rig.listener.HearsMore());
  EXPECT_FALSE(rig.listener.overlapped);
}

TEST(FallbackOutput, StopOfAVanishedDeviceStillEndsTheCalls) {
  Rig rig;
  rig.Play();
  ASSERT_TRUE(rig.DeviceAsks());
  rig.fake.mute = true;
  rig.output->Stop();
  std::this_thread::sleep_for(FallbackOutput::kSilenceLimit + milliseconds(150));
  EXPECT_TRUE(StaysQuiet(rig.listener));
  rig.fake.mute = false;
  EXPECT_TRUE(rig.output->Start());
  EXPECT_FALSE(rig.output->IsSilent());
  EXPECT_TRUE(rig.listener.HearsMore());
}

TEST(FallbackOutput, StartsAndStopsFromSeveralThreads) {
  Rig rig;
  rig.Create();
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 3; ++thread) {
    threads.emplace_back([&rig, thread] {
      std::uint64_t last = 0;
      for (int round = 0; round < 60; ++round) {
        if ((round + thread) % 3 == 0) {
          rig.output->Stop();
        } else {
          rig.output->Start();
        }
        const std::uint64_t heard = rig.output->HeardFrames();
        EXPECT_GE(heard, last);
        last = heard;
        rig.fake.mute = round % 20 > 15;
        rig.fake.present = round % 7 != 0;
        std::this_thread::sleep_for(milliseconds(5));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  rig.fake.present = true;
  rig.fake.mute = false;
  EXPECT_TRUE(rig.output->Start());
  EXPECT_TRUE(rig.listener.HearsMore());
}

TEST(FallbackOutput, DestructorWhileTheDeviceRenders) {
  for (int round = 0; round < 10; ++round) {
    Rig rig;
    rig.fake.block = 64;
    rig.Play();
    std::this_thread::sleep_for(milliseconds(round));
    rig.output.reset();
    const std::uint64_t calls = rig.listener.calls;
    std::this_thread::sleep_for(milliseconds(3));
    EXPECT_EQ(rig.listener.calls, calls);
  }
}

}  // namespace
}  // namespace vexolo::engine
