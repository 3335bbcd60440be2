/// Where the delivered sound of a stream goes: a WAV file, or a process that reads standard input.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace vexolo::engine {

/// A running child process that reads from its standard input. The platform supplies it.
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

/// One encoder of one stream. Write comes from the thread that delivers; IsActive from any.
class Encoder {
 public:
  virtual ~Encoder() = default;
  /// Takes one delivered block of 16-bit stereo. Where it cannot, the encoder becomes inactive.
  virtual void Write(std::span<const std::uint8_t> bytes) = 0;
  virtual bool IsActive() = 0;
  /// Ends the input, waits for a process to finish, completes a WAV header. False where the file
  /// is known to be incomplete.
  virtual bool Finish() = 0;
};

/// A WAV file at a UTF-8 path (44-byte header, 44100 Hz, 16-bit stereo). Null where it cannot be
/// created. Becomes inactive when the disk is full or the file passes what a WAV header can tell
/// (4 GiB - 1); what was written stays, with a header that fits it.
std::unique_ptr<Encoder> CreateWavEncoder(const std::string& path);

/// A process, fed a WAV header of unknown length (both lengths 0xFFFFFFFF) and then the samples.
/// Null where it cannot be started.
std::unique_ptr<Encoder> CreateProcessEncoder(const std::vector<std::string>& arguments,
                                              const ProcessStarter& start);

}  // namespace vexolo::engine
