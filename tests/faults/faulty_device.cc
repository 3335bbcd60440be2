/// A sound device in place of the machine's, every operation of which can be made to fail.
#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "engine/device_backend.h"
#include "faults/fault_points.h"

namespace vexolo::engine {
namespace {

using faults::Kind;
using faults::Quiet;
using faults::ShouldFail;

class FaultyDevice final : public DeviceBackend {
 public:
  ~FaultyDevice() override { Close(); }

  bool Open(FillProc fill, void* user) override {
    Close();
    if (ShouldFail(Kind::kDevice)) return false;
    fill_ = fill;
    user_ = user;
    return true;
  }

  bool Start() override {
    if (ShouldFail(Kind::kDevice)) return false;
    Close();
    const Quiet quiet;  // how a device gets its thread is no business of the program's
    running_ = true;
    thread_ = std::thread([this] { Run(); });
    return true;
  }

  void Close() override {
    running_ = false;
    if (thread_.joinable()) thread_.join();
  }

  std::uint32_t LatencyFrames() const override { return 2 * kFrames; }
  std::string Name() const override { return "Faulty"; }

 private:
  static constexpr int kFrames = 441;

  /// A device that fails while it plays asks for nothing any more.
  void Run() {
    std::array<std::int16_t, 2 * kFrames> block;
    auto next = std::chrono::steady_clock::now();
    while (running_ && !ShouldFail(Kind::kDevice)) {
      if (fill_(user_, block.data(), kFrames, false) != Reply::kContinue) return;
      next += std::chrono::milliseconds(10);
      std::this_thread::sleep_until(next);
    }
  }

  FillProc fill_ = nullptr;
  void* user_ = nullptr;
  std::atomic<bool> running_ = false;
  std::thread thread_;
};

}  // namespace

std::unique_ptr<DeviceBackend> CreateSystemBackend() { return std::make_unique<FaultyDevice>(); }

std::string SoundSystemVersion() { return "Faulty 1"; }

}  // namespace vexolo::engine
