#include "platform/heap.h"

#include <cstdlib>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace vexolo {

void ReturnFreedMemory() {
#ifdef __GLIBC__
  // Blocks this large come from the system and go back to it one by one. Once said, the limits no
  // longer rise with what is freed.
  constexpr int kOwnBlock = 512 << 10;
  constexpr int kKeptAtTheEnd = 64 << 10;
  constexpr int kHeaps = 4;  // threads seldom allocate at the same time
  mallopt(M_MMAP_THRESHOLD, kOwnBlock);
  mallopt(M_TRIM_THRESHOLD, kKeptAtTheEnd);
  mallopt(M_ARENA_MAX, kHeaps);
#endif
}

}  // namespace vexolo
