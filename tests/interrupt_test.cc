// layer: core
#include "platform/interrupt.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include "fakes/temporary_folder.h"
#include "platform/file_io.h"

namespace vexolo {
namespace {

TEST(InterruptTest, FirstRequestIsNoted) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
    const InterruptWatch watch;
    EXPECT_FALSE(watch.IsRequested());
    raise(signal);
    EXPECT_TRUE(watch.IsRequested()) << signal;
  }
}

// Some programs pass a Ctrl-C on to a child that the terminal has told already, and fingers slip.
TEST(InterruptTest, RequestsRightAfterOneAnotherAreOne) {
  const InterruptWatch watch;
  raise(SIGINT);
  raise(SIGINT);
  raise(SIGTERM);
  EXPECT_TRUE(watch.IsRequested());
}

TEST(InterruptDeathTest, LaterSecondRequestEndsTheProgram) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(
      {
        const InterruptWatch watch;
        raise(SIGINT);
        std::this_thread::sleep_for(InterruptWatch::kOneRequest + std::chrono::milliseconds(50));
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

TEST(SurviveFileSizeLimit, WritingBeyondTheLimitIsAnErrorAndNoEnd) {
  const TemporaryFolder folder;
  const auto write = [&] {
    SurviveFileSizeLimit();
    const rlimit limit = {1000, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
    const auto error = WriteWholeFile(folder / "a", std::string(5000, 'a'));
    return error ? error->number : 0;
  };
  EXPECT_EXIT(std::_Exit(write()), testing::ExitedWithCode(EFBIG), "");
}

}  // namespace
}  // namespace vexolo
