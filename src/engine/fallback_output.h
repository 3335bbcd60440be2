/// The output: a device as long as there is one, the silent clock in its place otherwise.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "engine/device_backend.h"
#include "engine/heard_clock.h"
#include "engine/output_device.h"

namespace vexolo::engine {

/// One thread of its own does two things: it runs the silent clock while nothing else renders, and
/// it watches the device while that one does. A device that does not ask for kSilenceLimit, or that
/// asks so fast that it cannot be playing, has vanished: the clock takes over, and the device gets
/// silence should it come back. It is closed and tried again at the next Start only, because
/// closing a dead device may take long.
class FallbackOutput final : public OutputDevice {
 public:
  using Clock = std::chrono::steady_clock;

  static constexpr int kClockBlock = 441;
  static constexpr std::chrono::milliseconds kClockPeriod{10};
  static constexpr std::chrono::milliseconds kSilenceLimit{300};
  /// Sound that a device may ask for ahead of time, beyond its latency, before it counts as broken.
  static constexpr std::uint32_t kHurryFrames = 11025;

  /// Without a backend no device is wanted.
  FallbackOutput(std::unique_ptr<DeviceBackend> backend, RenderProc render, void* user);
  ~FallbackOutput() override;

  bool Start() override;
  void Stop() override;
  bool IsSilent() const override { return silent_; }
  std::string DeviceName() const override;
  std::uint32_t QueuedFrames() const override { return heard_.Queued(Clock::now()); }
  std::uint64_t HeardFrames() const override { return heard_.Heard(Clock::now()); }
  std::uint64_t LateBlocks() const override { return late_; }

 private:
  enum class Renderer { kNobody, kDevice, kClock };
  enum class Run { kIdle, kRunning, kStopping };

  bool StartDevice();
  void StartClock();
  void Wake();

  static DeviceBackend::Reply Fill(void* user, std::int16_t* out, int frames, bool ran_dry);
  DeviceBackend::Reply FillForDevice(std::int16_t* out, int frames, bool ran_dry);
  bool DeviceHurries(Clock::time_point now, int frames);
  bool RenderAs(Renderer renderer, Clock::time_point now, const HeardClock::Block& block,
                std::int16_t* out);
  bool TakeStop(Renderer renderer, Clock::time_point now);

  void Keep();
  void RunClock();
  bool DeviceHasVanished() const;
  void TakeOver();

  const std::unique_ptr<DeviceBackend> backend_;
  const RenderProc render_;
  void* const user_;

  mutable std::mutex control_;  ///< Start against Start
  std::atomic<Run> run_ = Run::kIdle;
  std::atomic<Renderer> renderer_ = Renderer::kNobody;
  /// Taken for one call of the procedure: a renderer that was replaced while it was late, and its
  /// successor, never run at the same time.
  std::atomic<bool> rendering_ = false;
  std::atomic<bool> silent_ = true;
  std::atomic<std::uint64_t> late_ = 0;
  std::atomic<std::uint32_t> latency_ = 0;
  std::atomic<Clock::rep> last_fill_ = 0;  ///< when the device asked last
  std::atomic<bool> broken_ = false;       ///< the device hurries
  HeardClock heard_;

  // Of the device's thread.
  Clock::time_point hurry_since_;
  double ahead_ = 0;  ///< frames asked for and not yet due
  std::atomic<bool> forget_hurry_ = true;

  std::mutex sleep_;
  std::condition_variable wake_;
  std::atomic<bool> quit_ = false;
  std::thread keeper_;
};

}  // namespace vexolo::engine
