// layer: core
#include "playlist/background_worker.h"

#include <chrono>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace vexolo {
namespace {

using namespace std::chrono_literals;
using Worker = BackgroundWorker<int, int>;
using Results = std::vector<int>;

template <typename Condition>
bool Eventually(Condition condition) {
  for (const auto end = std::chrono::steady_clock::now() + 10s;
       std::chrono::steady_clock::now() < end;) {
    if (condition()) return true;
    std::this_thread::sleep_for(1ms);
  }
  return false;
}

/// All results, once nothing more is to come.
template <typename Job, typename Result>
std::vector<Result> CollectAll(BackgroundWorker<Job, Result>& worker) {
  std::vector<Result> all;
  EXPECT_TRUE(Eventually([&] {
    for (Result& result : worker.Collect()) all.push_back(std::move(result));
    return !worker.HasMore();
  }));
  return all;
}

int Double(const int& job, const std::atomic<bool>&) { return 2 * job; }

TEST(BackgroundWorker, ResultsComeInTheOrderOfTheJobs) {
  Worker worker(Double);
  for (const int job : {1, 2, 3}) worker.Add(job);
  EXPECT_EQ(CollectAll(worker), (Results{2, 4, 6}));
  EXPECT_FALSE(worker.HasMore());
  worker.Add(4);
  EXPECT_EQ(CollectAll(worker), (Results{8}));
}

TEST(BackgroundWorker, WithoutJobsThereIsNothingToWaitFor) {
  Worker worker(Double);
  EXPECT_FALSE(worker.HasMore());
  EXPECT_TRUE(worker.Collect().empty());
}

TEST(BackgroundWorker, AJobThatThrowsHasNoResultAndTheNextOneIsWorkedOff) {
  Worker worker([](const int& job, const std::atomic<bool>&) {
    if (job == 1) throw std::runtime_error("no");
    return job;
  });
  worker.Add(1);
  worker.Add(2);
  EXPECT_EQ(CollectAll(worker), (Results{2}));
}

/// Holds its first job until the test lets it go.
class HeldWorkerTest : public ::testing::Test {
 protected:
  void Hold() {
    worker_.Add(1);
    ASSERT_TRUE(Eventually([&] { return started_.load(); }));
  }

  std::atomic<bool> started_{false};
  std::atomic<bool> released_{false};
  std::atomic<bool> saw_cancel_{false};
  Worker worker_{[this](const int& job, const std::atomic<bool>& cancelled) {
    started_ = true;
    while (!released_ && !cancelled) std::this_thread::sleep_for(1ms);
    if (cancelled) saw_cancel_ = true;
    return job;
  }};
};

TEST_F(HeldWorkerTest, ReplacedJobsAreNotWorkedOff) {
  Hold();
  worker_.Add(2);
  worker_.Replace({3, 4});
  released_ = true;
  EXPECT_EQ(CollectAll(worker_), (Results{1, 3, 4}));
}

TEST_F(HeldWorkerTest, WhatIsCancelledHasNoResult) {
  Hold();
  worker_.Add(2);
  EXPECT_TRUE(worker_.HasMore());
  worker_.Cancel();
  EXPECT_FALSE(worker_.HasMore());
  EXPECT_TRUE(Eventually([&] { return saw_cancel_.load(); }));
  released_ = true;
  worker_.Add(5);
  EXPECT_EQ(CollectAll(worker_), (Results{5}));
}

TEST_F(HeldWorkerTest, StoppingEndsTheJobUnderWayAndTakesNoOthers) {
  Hold();
  worker_.Add(2);
  worker_.Stop();
  EXPECT_TRUE(saw_cancel_);
  EXPECT_TRUE(worker_.Collect().empty());
  worker_.Add(3);
  std::this_thread::sleep_for(20ms);
  EXPECT_TRUE(worker_.Collect().empty());
}

TEST_F(HeldWorkerTest, TheWorkerMayGoWhileItWorks) {
  Hold();  // the destructor must not wait for ever
}

}  // namespace
}  // namespace vexolo
