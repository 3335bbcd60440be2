/// What this process holds of the memory, watched over a long time.
#pragma once

#include <vector>

namespace vexolo {

/// Megabytes.
struct MemoryUse {
  double resident = 0;
  double in_use = 0;  ///< on the heap, without what is freed and not given back
};
MemoryUse CurrentMemoryUse();

/// Prints what is held at every look, and judges whether it grows. To be asked in one and the same
/// state of the program: nothing open, nothing under way.
///
/// Judged is the least of the first third of the looks after the warm-up against the least of the
/// last third: what is freed beside the caller, and banks and voices that are kept ready, may be
/// there at one look and gone at the next; what leaks is there at all of them.
///
/// With AddressSanitizer and VEXOLO_HEAP_CALLERS in the environment every look also prints who has
/// taken what; ASAN_OPTIONS=fast_unwind_on_malloc=0 names callers behind libraries, but may block
/// the sanitizer itself.
class MemoryWatch {
 public:
  /// What may come on top, in megabytes: nothing to speak of on the heap; of the pages more, for
  /// they are given back when it suits the heap, and a sanitizer keeps notes of its own.
  static constexpr double kMostHeap = 2;
  static constexpr double kMostResident = 64;
  static constexpr int kFewestLooks = 3;  ///< after the warm-up

  /// `warm_up`: seconds before the first look that counts.
  explicit MemoryWatch(double warm_up) : warm_up_(warm_up) {}

  /// `elapsed`: seconds since the beginning.
  void Look(double elapsed);

  /// Says what has come on top. False where that is too much.
  bool IsFlat() const;

 private:
  const double warm_up_;
  std::vector<MemoryUse> looks_;
};

}  // namespace vexolo
