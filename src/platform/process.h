/// Running another program.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace vexolo {

/// A child process that is fed through its standard input; its other output is dropped. It inherits
/// no other handle of ours.
///
/// Write and CloseInput come from one thread at a time; Running, Wait and Kill from any thread,
/// also while another writes.
class Process {
 public:
  /// Starts a program without a shell. The first argument is its path or, where it holds no folder
  /// separator, a name that is looked for on the search path; arguments are UTF-8. What the program
  /// prints (output and errors) goes to the file `printed_to`, or nowhere where that is empty.
  /// The program gets our environment, with the variables of `environment` ("NAME=value") in place
  /// of ours. Null where the program is missing or cannot be started.
  static std::unique_ptr<Process> Start(const std::vector<std::string>& arguments,
                                        const std::string& printed_to = {},
                                        const std::vector<std::string>& environment = {});

  /// Closes the input and waits until the process has ended.
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// Blocks until all is taken. False once the process no longer reads (or the input is closed);
  /// raises no signal.
  bool Write(std::span<const std::uint8_t> bytes);

  /// The process sees the end of its input.
  void CloseInput();

  /// The process has not ended yet.
  bool Running();

  /// Waits until the process has ended: its exit status, or the negative number of the signal that
  /// ended it. Does not close the input.
  int Wait();

  /// Ends the process without asking it; Wait still tells how it ended.
  void Kill();

 private:
  struct State;
  explicit Process(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

/// Starts a program that then goes its own way, also when this program ends. False where it is
/// missing or cannot be started. Any thread.
bool StartProgram(const std::string& path);

/// Path of the program that the system would run for a name without a folder; empty where there is
/// none on the search path. A path with a folder is given back where a program stands there. Any
/// thread.
std::string FindProgram(const std::string& name);

}  // namespace vexolo
