#include "support/heap_watch.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VEXOLO_FOREIGN_HEAP
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VEXOLO_FOREIGN_HEAP
#endif

namespace vexolo {
namespace {

struct Counters {
  std::size_t count = 0;
  std::ptrdiff_t in_use = 0;  ///< below 0 where older blocks were freed
  std::ptrdiff_t peak = 0;
};

thread_local Counters counters;

}  // namespace

HeapWatch::HeapWatch() { counters = {}; }

std::size_t HeapWatch::count() const { return counters.count; }

std::size_t HeapWatch::peak() const { return static_cast<std::size_t>(counters.peak); }

#ifdef VEXOLO_FOREIGN_HEAP

bool HeapWatch::IsAvailable() { return false; }

}  // namespace vexolo

#else

bool HeapWatch::IsAvailable() { return true; }

namespace {

/// Each block's size stands before it.
constexpr std::size_t kPrefix = __STDCPP_DEFAULT_NEW_ALIGNMENT__;
static_assert(kPrefix >= sizeof(std::size_t));

void* Allocate(std::size_t size) noexcept {
  auto* block = static_cast<char*>(std::malloc(size + kPrefix));
  if (!block) return nullptr;
  std::memcpy(block, &size, sizeof size);
  ++counters.count;
  counters.in_use += static_cast<std::ptrdiff_t>(size);
  counters.peak = std::max(counters.peak, counters.in_use);
  return block + kPrefix;
}

void* AllocateOrThrow(std::size_t size) {
  if (void* block = Allocate(size)) return block;
  throw std::bad_alloc();
}

void Free(void* pointer) noexcept {
  if (!pointer) return;
  char* block = static_cast<char*>(pointer) - kPrefix;
  std::size_t size = 0;
  std::memcpy(&size, block, sizeof size);
  counters.in_use -= static_cast<std::ptrdiff_t>(size);
  std::free(block);
}

}  // namespace
}  // namespace vexolo

void* operator new(std::size_t size) { return vexolo::AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return vexolo::AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return vexolo::Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return vexolo::Allocate(size);
}
void operator delete(void* pointer) noexcept { vexolo::Free(pointer); }
void operator delete[](void* pointer) noexcept { vexolo::Free(pointer); }
void operator delete(void* pointer, std::size_t) noexcept { vexolo::Free(pointer); }
void operator delete[](void* pointer, std::size_t) noexcept { vexolo::Free(pointer); }
void operator delete(void* pointer, const std::nothrow_t&) noexcept { vexolo::Free(pointer); }
void operator delete[](void* pointer, const std::nothrow_t&) noexcept { vexolo::Free(pointer); }

#endif
