/// The window thread of a test: what other threads post to it runs when the test says so.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <utility>

namespace vexolo {

class FakeWindowThread {
 public:
  std::function<void(std::function<void()>)> Poster() {
    return [this](std::function<void()> action) {
      const std::lock_guard lock(mutex_);
      actions_.push_back(std::move(action));
      arrived_.notify_all();
    };
  }

  /// Runs what is posted until `done` says so. False where that takes longer than `limit`.
  bool RunUntil(const std::function<bool()>& done,
                std::chrono::milliseconds limit = std::chrono::seconds(60)) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!done()) {
      std::function<void()> action;
      {
        std::unique_lock lock(mutex_);
        // Not everything that ends a wait is posted.
        arrived_.wait_for(lock, std::chrono::milliseconds(1), [&] { return !actions_.empty(); });
        if (!actions_.empty()) {
          action = std::move(actions_.front());
          actions_.pop_front();
        }
      }
      if (action) action();
      if (!action && std::chrono::steady_clock::now() > end) return false;
    }
    return true;
  }

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::deque<std::function<void()>> actions_;
};

}  // namespace vexolo
