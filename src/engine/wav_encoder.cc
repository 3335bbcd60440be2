#include "engine/wav_encoder.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <ios>
#include <system_error>
#include <utility>

#include "engine/gather.h"
#include "engine/wav_header.h"

namespace vexolo::engine {

namespace {

constexpr std::uint64_t kMaxFileBytes = 0xFFFFFFFFu;

class FileTarget final : public WavTarget {
 public:
  explicit FileTarget(std::filesystem::path path) : path_(std::move(path)) {
    file_.pubsetbuf(nullptr, 0);  // the encoder gathers, and wants to know what was taken
    is_open_ = file_.open(path_, std::ios::out | std::ios::binary | std::ios::trunc) != nullptr;
  }

  bool IsOpen() const { return is_open_; }

  std::uint64_t Append(std::span<const std::uint8_t> bytes) override {
    const std::streamsize taken = file_.sputn(reinterpret_cast<const char*>(bytes.data()),
                                              static_cast<std::streamsize>(bytes.size()));
    appended_ += static_cast<std::uint64_t>(taken);
    return static_cast<std::uint64_t>(taken);
  }

  bool Rewrite(std::span<const std::uint8_t> bytes) override {
    const auto size = static_cast<std::streamsize>(bytes.size());
    return file_.pubseekpos(0, std::ios::out) == std::streampos(0) &&
           file_.sputn(reinterpret_cast<const char*>(bytes.data()), size) == size;
  }

  bool Close(std::uint64_t length) override {
    if (file_.close() == nullptr) return false;
    if (length == appended_) return true;
    std::error_code error;
    std::filesystem::resize_file(path_, length, error);
    return !error;
  }

 private:
  std::filesystem::path path_;
  std::filebuf file_;
  bool is_open_ = false;
  std::uint64_t appended_ = 0;
};

class WavEncoder final : public Encoder {
 public:
  WavEncoder(std::unique_ptr<WavTarget> target, std::uint64_t max_file_bytes)
      : target_(std::move(target)), room_(max_file_bytes - kWavHeaderBytes) {
    room_ -= room_ % kFrameBytes;
  }
  ~WavEncoder() override { Finish(); }

  bool Begin() {
    active_ = target_->Append(MakeWavHeader(0)) == kWavHeaderBytes;
    finished_ = !active_;
    return active_;
  }

  void Write(std::span<const std::uint8_t> bytes) override {
    if (!active_) return;
    const std::size_t fitting = std::min<std::uint64_t>(bytes.size(), room_);
    room_ -= fitting;
    if (!gather_.Add(bytes.first(fitting), append_) || fitting < bytes.size()) active_ = false;
  }

  bool IsActive() override { return active_; }

  bool Finish() override {
    if (finished_) return complete_;
    finished_ = true;
    const bool took_all = gather_.Flush(append_) && active_;
    active_ = false;
    const std::uint64_t length = written_ - written_ % kFrameBytes;
    const bool header = target_->Rewrite(MakeWavHeader(static_cast<std::uint32_t>(length)));
    const bool closed = target_->Close(kWavHeaderBytes + length);
    complete_ = took_all && header && closed;
    return complete_;
  }

 private:
  std::unique_ptr<WavTarget> target_;
  std::uint64_t room_;  ///< bytes of samples that may still come
  std::uint64_t written_ = 0;
  Gather gather_;
  Gather::Sink append_ = [this](std::span<const std::uint8_t> bytes) {
    const std::uint64_t taken = target_->Append(bytes);
    written_ += taken;
    return taken == bytes.size();
  };
  std::atomic<bool> active_ = false;
  bool finished_ = false;
  bool complete_ = false;
};

}  // namespace

std::unique_ptr<Encoder> CreateWavEncoder(std::unique_ptr<WavTarget> target,
                                          std::uint64_t max_file_bytes) {
  auto encoder = std::make_unique<WavEncoder>(std::move(target), max_file_bytes);
  if (!encoder->Begin()) return nullptr;
  return encoder;
}

std::unique_ptr<Encoder> CreateWavEncoder(const std::string& path) {
  auto target =
      std::make_unique<FileTarget>(std::filesystem::path(std::u8string(path.begin(), path.end())));
  if (!target->IsOpen()) return nullptr;
  return CreateWavEncoder(std::move(target), kMaxFileBytes);
}

}  // namespace vexolo::engine
