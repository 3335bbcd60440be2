/// A sound device, narrowed down to what the output needs, so that tests can stand in for one.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace vexolo::engine {

/// The system's default output at 44100 Hz, 16-bit stereo. One thread at a time calls it.
class DeviceBackend {
 public:
  enum class Reply {
    kContinue,
    kDrain,  ///< play what is queued, then stop asking
    kAbort,  ///< stop asking at once
  };
  /// Fills `frames` frames, on the device's own thread. `ran_dry`: sound was missing before.
  using FillProc = Reply (*)(void* user, std::int16_t* interleaved, int frames, bool ran_dry);

  virtual ~DeviceBackend() = default;  ///< closes

  /// Opens the device without starting it; one that was open is closed first. False where there is
  /// none.
  virtual bool Open(FillProc fill, void* user) = 0;
  /// Starts the calls of an open device; after kDrain or kAbort again, once they have come to an
  /// end. False where it no longer works.
  virtual bool Start() = 0;
  /// Closes; afterwards nothing is asked for.
  virtual void Close() = 0;
  /// Frames that the device holds between a call and the ear.
  virtual std::uint32_t LatencyFrames() const = 0;
  /// What the system calls the device that was opened last, for people to read.
  virtual std::string Name() const { return {}; }
};

/// The machine's sound system.
std::unique_ptr<DeviceBackend> CreateSystemBackend();

/// Name and version of the library that reaches it.
std::string SoundSystemVersion();

}  // namespace vexolo::engine
