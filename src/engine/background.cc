#include "engine/background.h"

#include <new>
#include <utility>

namespace vexolo::engine {

Background::Background() : thread_([this] { Loop(); }) {}

Background::~Background() {
  std::deque<std::function<void()>> dropped;  // what it holds goes away outside the lock
  {
    const std::lock_guard lock(mutex_);
    leaving_ = true;
    dropped.swap(work_);
  }
  wake_.notify_all();
  dropped.clear();
  thread_.join();
}

void Background::Run(std::function<void()> work) {
  {
    const std::lock_guard lock(mutex_);
    work_.push_back(std::move(work));
  }
  wake_.notify_all();
}

void Background::Loop() {
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return leaving_ || !work_.empty(); });
    if (leaving_) return;
    std::function<void()> work = std::move(work_.front());
    work_.pop_front();
    lock.unlock();
    try {
      work();
    } catch (const std::bad_alloc&) {
      // Whoever needs what was to be made here makes it itself.
    }
    work = nullptr;  // what it held goes away outside the lock
    lock.lock();
  }
}

}  // namespace vexolo::engine
