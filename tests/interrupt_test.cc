// layer: core
#include "platform/interrupt.h"

#include <gtest/gtest.h>
#include <signal.h>

namespace vexolo {
namespace {

TEST(InterruptTest, FirstRequestIsNoted) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    const InterruptWatch watch;
    EXPECT_FALSE(watch.IsRequested());
    raise(signal);
    EXPECT_TRUE(watch.IsRequested()) << signal;
  }
}

TEST(InterruptDeathTest, SecondRequestEndsTheProgram) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(
      {
        const InterruptWatch watch;
        raise(SIGINT);
        raise(SIGINT);
      },
      testing::KilledBySignal(SIGINT), "");
}

TEST(InterruptDeathTest, RequestAfterTheWatchEndsTheProgram) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(
      {
        { const InterruptWatch watch; }
        raise(SIGINT);
      },
      testing::KilledBySignal(SIGINT), "");
}

}  // namespace
}  // namespace vexolo
