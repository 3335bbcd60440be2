/// Makes one operation of the process fail, so that what follows can be watched.
///
/// Linked into a program, or loaded before it, this takes the place of `operator new` and of the
/// system's functions for files, processes and threads. They do their work as ever until a fault is
/// armed; then the n-th one of its kind fails, and where asked for all after it. The
/// first one to fail prints its callers to the standard error output. Linux only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vexolo::faults {

enum class Kind : std::uint8_t {
  kFile,     ///< what is done to a file, or asked of one, under the watched folder
  kMemory,   ///< `operator new`
  kProcess,  ///< starting programs and threads, pipes, waiting
  kDevice,   ///< see ShouldFail
};
inline constexpr int kKinds = 4;

struct Fault {
  Kind kind = Kind::kFile;
  std::uint64_t number = 0;  ///< of the operation that fails, counted from 1; 0 = none does
  bool all_after = false;    ///< those that follow fail as well
};

/// Counts from here on, on all threads. `folder`: absolute, where files are watched.
void Arm(const Fault& fault, const std::string& folder);

/// Nothing fails any more, and nothing is counted.
void Disarm();

/// Operations of a kind since Arm.
std::uint64_t Count(Kind kind);

/// Where the operations of the armed fault's kind came from, in their order: equal numbers for
/// equal ways through the program. Only where no fault is due (number 0). At most kMostOrigins.
std::vector<std::uint64_t> Origins();
inline constexpr std::size_t kMostOrigins = 1 << 18;

/// Whether the fault has come.
bool HasFailed();

/// Counts one operation and says whether it is to fail: for fakes of devices.
bool ShouldFail(Kind kind);

/// While one lives its thread's operations neither fail nor count: for what belongs to the test.
class Quiet {
 public:
  Quiet();
  ~Quiet();
  Quiet(const Quiet&) = delete;
  Quiet& operator=(const Quiet&) = delete;
};

}  // namespace vexolo::faults
