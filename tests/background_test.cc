// layer: engine
#include "engine/background.h"

#include <chrono>
#include <future>
#include <memory>
#include <new>
#include <optional>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vexolo::engine {
namespace {

TEST(Background, WorkIsDoneInItsOrderOnAnotherThread) {
  std::vector<int> done;
  std::thread::id thread;
  std::promise<void> last;
  Background background;
  for (int i = 0; i < 5; ++i) background.Run([&done, i] { done.push_back(i); });
  background.Run([&] {
    thread = std::this_thread::get_id();
    last.set_value();
  });
  last.get_future().wait();
  EXPECT_THAT(done, ::testing::ElementsAre(0, 1, 2, 3, 4));
  EXPECT_NE(thread, std::this_thread::get_id());
}

TEST(Background, WorkForWhichMemoryIsMissingIsGivenUpAndTheNextIsDone) {
  std::promise<void> last;
  Background background;
  background.Run([] { throw std::bad_alloc(); });
  background.Run([&] { last.set_value(); });
  EXPECT_EQ(last.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
}

TEST(Background, AtItsEndTheRunningPieceIsWaitedForAndTheRestIsDropped) {
  std::promise<void> begun;
  std::promise<void> go_on;
  bool first = false;
  bool second = false;
  auto held = std::make_shared<int>(1);
  std::optional<Background> background(std::in_place);
  background->Run([&] {
    begun.set_value();
    go_on.get_future().wait();
    first = true;
  });
  background->Run([&second, held] { second = true; });
  begun.get_future().wait();
  std::thread ending([&] { background.reset(); });
  while (held.use_count() > 1) std::this_thread::yield();  // it has begun to end
  go_on.set_value();
  ending.join();
  EXPECT_TRUE(first);
  EXPECT_FALSE(second);
}

TEST(Background, WhatAPieceHeldIsLetGo) {
  auto held = std::make_shared<int>(1);
  std::promise<void> next;
  Background background;
  background.Run([held] {});
  background.Run([&next] { next.set_value(); });
  next.get_future().wait();
  EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace vexolo::engine
