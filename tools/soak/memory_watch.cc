#include "tools/soak/memory_watch.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <span>

#include <malloc.h>

#include "support/resident_memory.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VEXOLO_SANITIZER_HEAP
// Of the sanitizers' own run-time library, which comes without a header here.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();  // NOLINT
#endif
#ifdef __SANITIZE_ADDRESS__
extern "C" void __sanitizer_print_memory_profile(std::size_t percent, std::size_t most);  // NOLINT
#endif

namespace vexolo {
namespace {

constexpr double kMegabyte = 1 << 20;

double HeapInUse() {
#ifdef VEXOLO_SANITIZER_HEAP
  return static_cast<double>(__sanitizer_get_current_allocated_bytes());
#else
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
#endif
}

/// Who has taken what is in use, the most first, on the standard error output.
void PrintCallers() {
#ifdef __SANITIZE_ADDRESS__
  if (std::getenv("VEXOLO_HEAP_CALLERS") != nullptr) __sanitizer_print_memory_profile(100, 100000);
#endif
}

/// The least of each.
MemoryUse Least(std::span<const MemoryUse> looks) {
  MemoryUse least = looks.front();
  for (const MemoryUse& look : looks) {
    least.resident = std::min(least.resident, look.resident);
    least.in_use = std::min(least.in_use, look.in_use);
  }
  return least;
}

}  // namespace

MemoryUse CurrentMemoryUse() { return {ResidentMegabytes(), HeapInUse() / kMegabyte}; }

void MemoryWatch::Look(double elapsed) {
  const MemoryUse now = CurrentMemoryUse();
  std::printf("%6.0f s: %.1f MB resident, %.2f MB of heap in use\n", elapsed, now.resident,
              now.in_use);
  PrintCallers();
  if (elapsed >= warm_up_) looks_.push_back(now);
}

bool MemoryWatch::IsFlat() const {
  if (looks_.size() < kFewestLooks) {
    std::puts("too few looks at the memory after the warm-up to judge it");
    return false;
  }
  const std::span<const MemoryUse> looks(looks_);
  const std::size_t third = looks.size() / 3;
  const MemoryUse early = Least(looks.first(third));
  const MemoryUse late = Least(looks.last(third));
  const double resident = late.resident - early.resident;
  const double heap = late.in_use - early.in_use;
  std::printf("grown over %zu looks: %.1f MB resident (at most %.0f), %.2f MB of heap (%.0f)\n",
              looks.size(), resident, kMostResident, heap, kMostHeap);
  return resident <= kMostResident && heap <= kMostHeap;
}

}  // namespace vexolo
