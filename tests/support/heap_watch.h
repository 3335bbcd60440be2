/// What a piece of code takes from the heap.
#pragma once

#include <cstddef>

namespace vexolo {

/// Watches `new` on the thread that creates it, from its creation on. One at a time on a thread.
/// Counts nothing in sanitizer builds, which bring their own heap: ask IsAvailable first.
class HeapWatch {
 public:
  HeapWatch();

  static bool IsAvailable();

  /// Number of allocations.
  std::size_t count() const;

  /// The most bytes that were in use at once, over what was in use at the beginning.
  std::size_t peak() const;
};

}  // namespace vexolo
