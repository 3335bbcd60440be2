/// An output without a device that takes sound as fast as it is rendered. Linked in place of the
/// engine's own.
#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "engine/output_device.h"

namespace vexolo::engine {
namespace {

class HurriedOutput final : public OutputDevice {
 public:
  HurriedOutput(RenderProc render, void* user)
      : render_(render), user_(user), thread_([this] { Run(); }) {}
  ~HurriedOutput() override {
    {
      const std::lock_guard lock(mutex_);
      quits_ = true;
    }
    wake_.notify_all();
    thread_.join();
  }

  bool Start() override {
    {
      const std::lock_guard lock(mutex_);
      runs_ = true;
    }
    wake_.notify_all();
    return true;
  }
  void Stop() override { runs_ = false; }
  bool IsSilent() const override { return true; }
  std::string DeviceName() const override { return {}; }
  std::uint32_t QueuedFrames() const override { return 0; }
  std::uint64_t HeardFrames() const override { return heard_; }
  std::uint64_t LateBlocks() const override { return 0; }

 private:
  static constexpr int kBlock = 441;

  void Run() {
    std::array<std::int16_t, 2 * kBlock> dropped;
    while (!quits_) {
      if (!runs_) {
        std::unique_lock lock(mutex_);
        wake_.wait(lock, [this] { return quits_ || runs_; });
        continue;
      }
      render_(user_, dropped.data(), kBlock);
      heard_ += kBlock;
    }
  }

  const RenderProc render_;
  void* const user_;
  std::atomic<bool> runs_{false};
  std::atomic<bool> quits_{false};
  std::atomic<std::uint64_t> heard_{0};
  std::mutex mutex_;
  std::condition_variable wake_;
  std::thread thread_;
};

}  // namespace

std::unique_ptr<OutputDevice> OutputDevice::Create(bool, RenderProc render, void* user) {
  return std::make_unique<HurriedOutput>(render, user);
}

}  // namespace vexolo::engine
