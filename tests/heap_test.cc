// layer: core
#include "platform/heap.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/resident_memory.h"

namespace vexolo {
namespace {

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

void Use(std::size_t blocks, std::size_t size) {
  std::vector<std::unique_ptr<char[]>> used(blocks);
  for (auto& block : used) {
    block = std::make_unique<char[]>(size);
    std::memset(block.get(), 1, size);
  }
}

/// What a thread leaves behind that has used twenty megabytes and freed them.
std::size_t LeftByAThread() {
  Use(1, 30 << 20);  // as the heap of a program that has read a bank
  const std::size_t before = ResidentBytes();
  std::size_t after = 0;
  std::thread([&] {
    Use(200, 100 << 10);
    after = ResidentBytes();
  }).join();
  return after > before ? after - before : 0;
}

TEST(HeapTest, WhatAThreadHasFreedGoesBackToTheSystem) {
  const auto is_little = [] {
    ReturnFreedMemory();
    return LeftByAThread() < (4u << 20);
  };
  EXPECT_EXIT(std::_Exit(is_little() ? 0 : 1), testing::ExitedWithCode(0), "");
}

#endif

}  // namespace
}  // namespace vexolo
