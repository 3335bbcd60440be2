/// Where the delivered sound of a stream goes: a WAV file, or a process that reads standard input.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace vexolo::engine {

/// A running child process that reads from its standard input. The platform supplies it. Write and
/// CloseInput come from one thread at a time; Running and Wait from any, also meanwhile.
class ChildProcess {
 public:
  virtual ~ChildProcess() = default;  ///< closes the input; waits for the process
  /// Blocks until all is taken. False once the process no longer reads; raises no signal.
  virtual bool Write(std::span<const std::uint8_t> bytes) = 0;
  virtual bool Running() = 0;
  virtual void CloseInput() = 0;
  /// Exit status once it has ended (blocks); negative when a signal ended it.
  virtual int Wait() = 0;
};

/// Starts a program without a shell; the first argument is its path or name. Null on failure.
using ProcessStarter =
    std::function<std::unique_ptr<ChildProcess>(const std::vector<std::string>& arguments)>;

/// One encoder of one stream. Write and Finish never run at the same time; IsActive comes from any
/// thread. What is written is gathered into larger pieces before it goes on.
class Encoder {
 public:
  virtual ~Encoder() = default;  ///< finishes first where Finish was not called
  /// Takes one delivered block of 16-bit stereo. Where it cannot, the encoder becomes inactive.
  virtual void Write(std::span<const std::uint8_t> bytes) = 0;
  virtual bool IsActive() = 0;
  /// Ends the input, waits for a process to finish, completes a WAV header. False where the file
  /// is known to be incomplete: something could not be taken, or the process reports failure. A
  /// second call changes nothing and gives the same answer.
  virtual bool Finish() = 0;
};

/// A WAV file at a UTF-8 path (44-byte header, 44100 Hz, 16-bit stereo). Null where it cannot be
/// created or no header can be written. Becomes inactive when the disk is full or the file would
/// pass 4 GiB - 1 bytes in all (no WAV header, and no FAT volume, goes further); the whole frames
/// that were written stay, with a header that fits them.
std::unique_ptr<Encoder> CreateWavEncoder(const std::string& path);

/// A process, fed a WAV header of unknown length (both lengths 0) and then the samples.
/// Null where it cannot be started.
std::unique_ptr<Encoder> CreateProcessEncoder(const std::vector<std::string>& arguments,
                                              const ProcessStarter& start);

}  // namespace vexolo::engine
