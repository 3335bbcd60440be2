#include <algorithm>
#include <array>
#include <chrono>
#include <exception>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <rtaudio/RtAudio.h>

#include "engine/device_backend.h"
#include "engine/time_line.h"

#ifdef __linux__
/// Of the ALSA library, which comes with RtAudio where that was built with it.
extern "C" int snd_lib_error_set_handler(void (*handler)(const char*, int, const char*, int,
                                                         const char*, ...)) __attribute__((weak));
#endif

namespace vexolo::engine {

namespace {

constexpr unsigned kBufferFrames = 512;
constexpr unsigned kBuffers = 4;
constexpr std::chrono::milliseconds kLongestDrain{500};

/// In this order: the sound server that mixes with other programs, the hardware, and the one that
/// must be running already.
constexpr std::array kApis = {RtAudio::LINUX_PULSE, RtAudio::LINUX_ALSA,     RtAudio::LINUX_OSS,
                              RtAudio::UNIX_JACK,   RtAudio::WINDOWS_WASAPI, RtAudio::WINDOWS_DS,
                              RtAudio::MACOSX_CORE};

/// Without an error callback RtAudio throws on its own thread; what went wrong shows in the calls
/// that stay away.
void IgnoreError(RtAudioError::Type, const std::string&) {}

#ifdef __linux__
// ALSA's type. NOLINTNEXTLINE(cert-dcl50-cpp)
void IgnoreAlsaError(const char*, int, const char*, int, const char*, ...) {}
#endif

class RtAudioBackend final : public DeviceBackend {
 public:
  RtAudioBackend() {
#ifdef __linux__
    if (snd_lib_error_set_handler != nullptr) snd_lib_error_set_handler(&IgnoreAlsaError);
#endif
  }
  ~RtAudioBackend() override { Close(); }

  bool Open(FillProc fill, void* user) override {
    Close();
    fill_ = fill;
    user_ = user;
    std::vector<RtAudio::Api> compiled;
    RtAudio::getCompiledApi(compiled);
    return std::ranges::any_of(kApis, [&](RtAudio::Api api) {
      return std::ranges::find(compiled, api) != compiled.end() && OpenWith(api);
    });
  }

  bool Start() override {
    if (!audio_) return false;
    try {
      // A stream that drains ends by itself, on its own thread.
      const auto patience = std::chrono::steady_clock::now() + kLongestDrain;
      while (audio_->isStreamRunning()) {
        if (std::chrono::steady_clock::now() > patience) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
      }
      audio_->startStream();
      return audio_->isStreamRunning();
    } catch (const std::exception&) {
      return false;
    }
  }

  void Close() override {
    try {
      if (audio_ && audio_->isStreamOpen()) {
        if (audio_->isStreamRunning()) audio_->abortStream();
        audio_->closeStream();
      }
    } catch (const std::exception&) {
      // A device that cannot be closed any more is closed.
    }
    audio_.reset();
  }

  std::uint32_t LatencyFrames() const override { return latency_; }
  std::string Name() const override { return name_; }

 private:
  bool OpenWith(RtAudio::Api api) {
    try {
      audio_.emplace(api);
      audio_->showWarnings(false);
      if (audio_->getDeviceCount() > 0 && OpenStream(api)) return true;
    } catch (const std::exception&) {
      // Then the next one.
    }
    Close();
    return false;
  }

  bool OpenStream(RtAudio::Api api) {
    RtAudio::StreamParameters parameters;
    parameters.deviceId = audio_->getDefaultOutputDevice();
    parameters.nChannels = 2;
    name_ = audio_->getDeviceInfo(parameters.deviceId).name + " (" +
            RtAudio::getApiDisplayName(api) + ")";
    RtAudio::StreamOptions options;
    options.flags = RTAUDIO_SCHEDULE_REALTIME;
    // The hardware itself may know other rates only; the default device converts.
    if (api == RtAudio::LINUX_ALSA) options.flags |= RTAUDIO_ALSA_USE_DEFAULT;
    options.numberOfBuffers = kBuffers;
    options.streamName = "Vexolo";
    options.priority = 10;
    unsigned frames = kBufferFrames;
    audio_->openStream(&parameters, nullptr, RTAUDIO_SINT16, kSampleRate, &frames, &Callback, this,
                       &options, &IgnoreError);
    const long told = audio_->getStreamLatency();
    latency_ = told > 0 ? static_cast<std::uint32_t>(told)
                        : frames * std::max(options.numberOfBuffers, 1u);
    return audio_->getStreamSampleRate() == kSampleRate;
  }

  static int Callback(void* out, void*, unsigned frames, double, RtAudioStreamStatus status,
                      void* user) {
    auto* backend = static_cast<RtAudioBackend*>(user);
    const bool ran_dry = (status & RTAUDIO_OUTPUT_UNDERFLOW) != 0;
    switch (backend->fill_(backend->user_, static_cast<std::int16_t*>(out),
                           static_cast<int>(frames), ran_dry)) {
      case Reply::kDrain:
        return 1;
      case Reply::kAbort:
        return 2;
      default:
        return 0;
    }
  }

  std::optional<RtAudio> audio_;
  FillProc fill_ = nullptr;
  void* user_ = nullptr;
  std::uint32_t latency_ = 0;
  std::string name_;
};

}  // namespace

std::unique_ptr<DeviceBackend> CreateSystemBackend() { return std::make_unique<RtAudioBackend>(); }

std::string SoundSystemVersion() { return "RtAudio " + RtAudio::getVersion(); }

}  // namespace vexolo::engine
