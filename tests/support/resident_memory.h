/// What the process holds of the machine's memory. Linux.
#pragma once

#include <cstddef>
#include <fstream>

#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <unistd.h>

namespace vexolo {

/// With what the heap keeps of memory that was freed. 0 where the system does not tell.
inline std::size_t ResidentBytes() {
  std::size_t total = 0;
  std::size_t resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

/// Without: what the heap can give back it has given back first. For comparing two moments.
inline double ResidentMegabytes() {
#ifdef __GLIBC__
  malloc_trim(0);
#endif
  return static_cast<double>(ResidentBytes()) / (1 << 20);
}

}  // namespace vexolo
