#include <atomic>
#include <utility>

#include "engine/encoder.h"
#include "engine/gather.h"
#include "engine/wav_header.h"

namespace vexolo::engine {

namespace {

class ProcessEncoder final : public Encoder {
 public:
  explicit ProcessEncoder(std::unique_ptr<ChildProcess> process) : process_(std::move(process)) {
    Write(MakeWavHeader(kUnknownLength, kUnknownLength));
  }
  ~ProcessEncoder() override { Finish(); }

  void Write(std::span<const std::uint8_t> bytes) override {
    if (active_ && !gather_.Add(bytes, feed_)) active_ = false;
  }

  bool IsActive() override {
    if (active_ && !process_->Running()) active_ = false;
    return active_;
  }

  bool Finish() override {
    if (finished_) return complete_;
    finished_ = true;
    const bool took_all = gather_.Flush(feed_);
    // A process that ends before its input does left something out, whatever it reports.
    const bool lived_on = active_.exchange(false) && process_->Running();
    process_->CloseInput();
    const bool succeeded = process_->Wait() == 0;
    complete_ = took_all && lived_on && succeeded;
    return complete_;
  }

 private:
  std::unique_ptr<ChildProcess> process_;
  Gather gather_;
  Gather::Sink feed_ = [this](std::span<const std::uint8_t> bytes) {
    return process_->Write(bytes);
  };
  std::atomic<bool> active_ = true;
  bool finished_ = false;
  bool complete_ = false;
};

}  // namespace

std::unique_ptr<Encoder> CreateProcessEncoder(const std::vector<std::string>& arguments,
                                              const ProcessStarter& start) {
  if (arguments.empty() || !start) return nullptr;
  std::unique_ptr<ChildProcess> process = start(arguments);
  if (process == nullptr) return nullptr;
  return std::make_unique<ProcessEncoder>(std::move(process));
}

}  // namespace vexolo::engine
