#include "engine/fallback_output.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "engine/time_line.h"

namespace vexolo::engine {

namespace {

constexpr std::chrono::milliseconds kWatchPeriod{50};
constexpr auto kNotAskingYet = std::numeric_limits<FallbackOutput::Clock::rep>::max();

FallbackOutput::Clock::rep Now() { return FallbackOutput::Clock::now().time_since_epoch().count(); }

}  // namespace

FallbackOutput::FallbackOutput(std::unique_ptr<DeviceBackend> backend, RenderProc render,
                               void* user)
    : backend_(std::move(backend)), render_(render), user_(user) {
  silent_ = backend_ == nullptr || !backend_->Open(&Fill, this);
  keeper_ = std::thread([this] { Keep(); });
}

FallbackOutput::~FallbackOutput() {
  run_ = Run::kIdle;
  renderer_ = Renderer::kNobody;
  quit_ = true;
  Wake();
  keeper_.join();
  while (rendering_) std::this_thread::yield();  // a device's call that is still under way
  if (backend_ != nullptr) backend_->Close();
}

bool FallbackOutput::Start() {
  const std::lock_guard lock(control_);
  const bool retry = silent_ && backend_ != nullptr;
  Run stopping = Run::kStopping;
  const bool goes_on =
      run_.compare_exchange_strong(stopping, Run::kRunning) || stopping == Run::kRunning;
  if (goes_on && !retry) return true;
  if (retry && !backend_->Open(&Fill, this)) {
    if (!goes_on) StartClock();
    return true;
  }
  if (silent_ && !retry) {
    StartClock();
    return true;
  }
  if (!StartDevice()) {
    // What was open no longer works; what is there now may.
    if (retry || !backend_->Open(&Fill, this) || !StartDevice()) StartClock();
  }
  return true;
}

/// Gives the rendering to the open device and starts it. False, with nobody rendering, where it
/// does not work.
bool FallbackOutput::StartDevice() {
  renderer_ = Renderer::kNobody;
  last_fill_ = kNotAskingYet;
  forget_hurry_ = true;
  broken_ = false;
  latency_ = backend_->LatencyFrames();
  silent_ = false;
  renderer_ = Renderer::kDevice;
  run_ = Run::kRunning;
  const bool started = backend_->Start();
  if (!started) renderer_ = Renderer::kNobody;
  Clock::rep not_yet = kNotAskingYet;
  last_fill_.compare_exchange_strong(not_yet, Now());
  Wake();
  return started;
}

void FallbackOutput::StartClock() {
  silent_ = true;
  renderer_ = Renderer::kClock;
  run_ = Run::kRunning;
  Wake();
}

void FallbackOutput::Stop() {
  Run running = Run::kRunning;
  run_.compare_exchange_strong(running, Run::kStopping);
}

std::string FallbackOutput::DeviceName() const {
  const std::lock_guard lock(control_);
  return silent_ ? std::string() : backend_->Name();
}

void FallbackOutput::Wake() {
  { const std::lock_guard lock(sleep_); }  // whoever is about to sleep has looked before
  wake_.notify_all();
}

DeviceBackend::Reply FallbackOutput::Fill(void* user, std::int16_t* out, int frames, bool ran_dry) {
  return static_cast<FallbackOutput*>(user)->FillForDevice(out, frames, ran_dry);
}

DeviceBackend::Reply FallbackOutput::FillForDevice(std::int16_t* out, int frames, bool ran_dry) {
  const Clock::time_point now = Clock::now();
  std::fill_n(out, 2 * frames, std::int16_t{0});
  if (renderer_ != Renderer::kDevice) return DeviceBackend::Reply::kAbort;
  last_fill_ = now.time_since_epoch().count();
  if (DeviceHurries(now, frames)) {
    broken_ = true;
    return DeviceBackend::Reply::kAbort;
  }
  if (TakeStop(Renderer::kDevice, now)) return DeviceBackend::Reply::kDrain;
  if (ran_dry) ++late_;
  for (int done = 0; done < frames; done += kMaxOutputBlock) {
    const int count = std::min(frames - done, kMaxOutputBlock);
    RenderAs(Renderer::kDevice, now, {.frames = count, .lead = done, .latency = latency_},
             out + 2 * done);
  }
  return DeviceBackend::Reply::kContinue;
}

/// A device that has lost its hardware may ask without ever waiting. Counts what it is ahead of the
/// time that has passed.
bool FallbackOutput::DeviceHurries(Clock::time_point now, int frames) {
  if (forget_hurry_.exchange(false)) {
    hurry_since_ = now;
    ahead_ = 0;
  }
  const std::chrono::duration<double> passed = now - hurry_since_;
  hurry_since_ = now;
  ahead_ = std::max(ahead_ - passed.count() * kSampleRate, 0.0) + frames;
  return ahead_ > latency_ + kHurryFrames + static_cast<std::uint32_t>(frames);
}

/// One call of the procedure, if it is this renderer's turn; false leaves `out` as it was.
bool FallbackOutput::RenderAs(Renderer renderer, Clock::time_point now,
                              const HeardClock::Block& block, std::int16_t* out) {
  if (rendering_.exchange(true)) return false;
  const bool turn = renderer_ == renderer && run_ != Run::kIdle;
  if (turn) {
    heard_.BeginBlock(now, block);
    render_(user_, out, block.frames);
    heard_.EndBlock();
  }
  rendering_ = false;
  return turn;
}

/// Carries out a Stop where one is due.
bool FallbackOutput::TakeStop(Renderer renderer, Clock::time_point now) {
  if (run_ != Run::kStopping || rendering_.exchange(true)) return false;
  Run stopping = Run::kStopping;
  const bool taken = renderer_ == renderer && run_.compare_exchange_strong(stopping, Run::kIdle);
  if (taken) heard_.Drain(now, renderer == Renderer::kDevice ? latency_.load() : 0);
  rendering_ = false;
  return taken;
}

void FallbackOutput::Keep() {
  while (!quit_) {
    if (renderer_ == Renderer::kClock && run_ != Run::kIdle) {
      RunClock();
    } else if (DeviceHasVanished()) {
      TakeOver();
    } else {
      std::unique_lock lock(sleep_);
      if (quit_) return;
      if (run_ == Run::kIdle) {
        wake_.wait(lock, [this] { return quit_ || run_ != Run::kIdle; });
      } else if (renderer_ != Renderer::kClock) {
        wake_.wait_for(lock, kWatchPeriod);
      }
    }
  }
}

/// Runs the silent clock until it is stopped or replaced. Neither locks nor allocates.
void FallbackOutput::RunClock() {
  std::array<std::int16_t, 2 * kClockBlock> dropped;
  Clock::time_point deadline = Clock::now();
  while (!quit_ && renderer_ == Renderer::kClock && run_ != Run::kIdle) {
    if (TakeStop(Renderer::kClock, deadline)) return;
    if (!RenderAs(Renderer::kClock, deadline, {.frames = kClockBlock}, dropped.data()) &&
        renderer_ == Renderer::kClock) {
      ++late_;
    }
    deadline += kClockPeriod;
    std::this_thread::sleep_until(deadline);
    const auto behind = Clock::now() - deadline;
    if (behind > kClockPeriod) {
      const auto missed = behind / kClockPeriod;
      late_ += static_cast<std::uint64_t>(missed);
      deadline += missed * kClockPeriod;
    }
  }
}

bool FallbackOutput::DeviceHasVanished() const {
  if (run_ == Run::kIdle || renderer_ != Renderer::kDevice) return false;
  const Clock::rep last = last_fill_;
  if (last == kNotAskingYet) return false;
  return broken_ || Clock::duration(Now() - last) > kSilenceLimit;
}

void FallbackOutput::TakeOver() {
  Renderer device = Renderer::kDevice;
  if (!renderer_.compare_exchange_strong(device, Renderer::kClock)) return;
  silent_ = true;
  ++late_;
}

std::unique_ptr<OutputDevice> OutputDevice::Create(bool want_device, RenderProc render,
                                                   void* user) {
  return std::make_unique<FallbackOutput>(want_device ? CreateSystemBackend() : nullptr, render,
                                          user);
}

}  // namespace vexolo::engine
