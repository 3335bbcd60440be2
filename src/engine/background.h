/// Work that nobody waits for.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace vexolo::engine {

/// One thread that does pieces of work, one after the other, in the order in which they came. Any
/// thread but the mixing one may hand it work.
class Background {
 public:
  Background();
  /// Waits for the piece that is being done; what has not been begun is dropped.
  ~Background();
  Background(const Background&) = delete;
  Background& operator=(const Background&) = delete;

  /// Work for which memory is missing on its way is given up without a word.
  void Run(std::function<void()> work);

 private:
  void Loop();

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> work_;
  bool leaving_ = false;
  std::thread thread_;
};

}  // namespace vexolo::engine
