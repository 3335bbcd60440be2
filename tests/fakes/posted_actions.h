/// Functions handed to the window thread, run when the test says so.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <utility>

namespace vexolo {

class PostedActions {
 public:
  void Post(std::function<void()> action) {
    const std::lock_guard lock(mutex_);
    actions_.push_back(std::move(action));
    arrived_.notify_all();
  }

  /// Waits for the next one (at most ten seconds) and runs it. False where none has come.
  bool RunNext() {
    std::function<void()> action;
    {
      std::unique_lock lock(mutex_);
      if (!arrived_.wait_for(lock, std::chrono::seconds(10), [&] { return !actions_.empty(); })) {
        return false;
      }
      action = std::move(actions_.front());
      actions_.pop_front();
    }
    action();
    return true;
  }

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::deque<std::function<void()>> actions_;
};

}  // namespace vexolo
