// layer: core
#include "platform/thread_priority.h"

#include <thread>

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace vexolo {
namespace {

TEST(ThreadPriority, OnlyTheCallingThreadIsLowered) {
  const int before = getpriority(PRIO_PROCESS, 0);
  int inside = before;
  std::thread([&] {
    LowerThreadPriority();
    inside = getpriority(PRIO_PROCESS, 0);  // of the calling thread, on Linux
  }).join();
#ifdef __linux__
  EXPECT_GT(inside, before);
#endif
  EXPECT_EQ(getpriority(PRIO_PROCESS, 0), before);
}

}  // namespace
}  // namespace vexolo
