/// Where played sound leaves the machine.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace vexolo::engine {

/// A running output at 44100 Hz stereo, or, where the machine has no sound device, a clock that
/// takes sound at the same pace and drops it.
///
/// The render procedure is called on the device's own thread (the mixing thread) with blocks of at
/// most kMaxOutputBlock frames. It must not allocate or lock.
class OutputDevice {
 public:
  static constexpr int kMaxOutputBlock = 2048;
  using RenderProc = void (*)(void* user, std::int16_t* interleaved, int frames);

  /// With `want_device` the system's default device is tried first.
  static std::unique_ptr<OutputDevice> Create(bool want_device, RenderProc render, void* user);
  virtual ~OutputDevice() = default;  ///< stops; afterwards the procedure is not called again

  /// Starts the calls (again); may take as long as opening a device does. Where the silent clock
  /// runs because a device vanished or none was there, and a device was wanted, the device is tried
  /// again first. False never happens for want of a device.
  virtual bool Start() = 0;
  /// No further calls (one that is under way ends); what is queued plays out. Returns at once and
  /// neither locks nor allocates, so that the render procedure may call it too.
  virtual void Stop() = 0;

  /// The silent clock is running in place of a device (also when it was asked for).
  virtual bool IsSilent() const = 0;

  /// What the system calls the device in use; empty while the silent clock runs. May wait for a
  /// Start that is under way.
  virtual std::string DeviceName() const = 0;

  /// Frames handed over by the procedure and not heard yet, estimated between two blocks from the
  /// time that has passed. A block counts once its call has returned. Any thread, without a lock.
  virtual std::uint32_t QueuedFrames() const = 0;

  /// Of all frames that the procedure was asked for since Create, counted from 0 in the order of
  /// the calls, how many have been heard: estimated in the same way, never runs back, and does not
  /// depend on whether a call is under way. Any thread, without a lock.
  virtual std::uint64_t HeardFrames() const = 0;

  /// Blocks that came too late since Create: the device ran dry, or the clock had to skip.
  virtual std::uint64_t LateBlocks() const = 0;
};

}  // namespace vexolo::engine
