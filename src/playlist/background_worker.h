/// A thread that turns jobs into results while the window goes on.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "platform/thread_priority.h"

namespace vexolo {

/// Works jobs off one by one, below the priority of what plays. The thread comes with the first
/// job. One thread (the window's) calls the functions here.
template <typename Job, typename Result>
class BackgroundWorker {
 public:
  /// Runs on the worker's thread; may throw, the job then has no result. Long work looks at
  /// `cancelled` now and again: nobody waits for its result any more.
  using Work = std::function<Result(const Job& job, const std::atomic<bool>& cancelled)>;

  explicit BackgroundWorker(Work work) : work_(std::move(work)) {}
  ~BackgroundWorker() { Stop(); }
  BackgroundWorker(const BackgroundWorker&) = delete;
  BackgroundWorker& operator=(const BackgroundWorker&) = delete;

  void Add(Job job) {
    const std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(job));
    WakeUp();
  }

  /// Puts other jobs in place of those that wait. The one under way goes on.
  void Replace(std::deque<Job> jobs) {
    const std::lock_guard lock(mutex_);
    waiting_ = std::move(jobs);
    WakeUp();
  }

  /// Nothing waits, is under way or has a result any more.
  void Cancel() {
    const std::lock_guard lock(mutex_);
    waiting_.clear();
    results_.clear();
    if (busy_) cancelled_ = true;
  }

  /// The results since the last call, in the order of their jobs.
  std::vector<Result> Collect() {
    const std::lock_guard lock(mutex_);
    return std::exchange(results_, {});
  }

  /// Whether a result is still to be collected.
  bool HasMore() const {
    const std::lock_guard lock(mutex_);
    return !waiting_.empty() || !results_.empty() || (busy_ && !cancelled_);
  }

  /// Cancels, and waits until the job under way has noticed. Jobs that come later are not worked
  /// off.
  void Stop() {
    Cancel();
    {
      const std::lock_guard lock(mutex_);
      leaving_ = true;
    }
    woken_.notify_all();
    if (thread_.joinable()) thread_.join();
  }

 private:
  void WakeUp() {
    if (waiting_.empty() || leaving_) return;
    if (!thread_.joinable()) thread_ = std::thread([this] { Run(); });
    woken_.notify_one();
  }

  void Run() {
    LowerThreadPriority();
    std::unique_lock lock(mutex_);
    for (;;) {
      woken_.wait(lock, [this] { return leaving_ || !waiting_.empty(); });
      if (leaving_) return;
      const Job job = std::move(waiting_.front());
      waiting_.pop_front();
      busy_ = true;
      cancelled_ = false;
      lock.unlock();
      std::vector<Result> results = ResultOf(job);
      lock.lock();
      busy_ = false;
      if (cancelled_) continue;
      for (Result& result : results) results_.push_back(std::move(result));
    }
  }

  /// One, or none where the work has thrown.
  std::vector<Result> ResultOf(const Job& job) {
    std::vector<Result> results;
    try {
      results.push_back(work_(job, cancelled_));
    } catch (...) {
      results.clear();
    }
    return results;
  }

  const Work work_;
  mutable std::mutex mutex_;
  std::condition_variable woken_;
  std::deque<Job> waiting_;
  std::vector<Result> results_;
  bool busy_ = false;
  bool leaving_ = false;
  std::atomic<bool> cancelled_{false};  ///< the job under way
  std::thread thread_;
};

}  // namespace vexolo
