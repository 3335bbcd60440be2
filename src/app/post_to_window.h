/// How other threads reach the window thread.
#pragma once

#include <chrono>
#include <functional>
#include <new>
#include <thread>

namespace vexolo {

/// Has a function called on the window thread soon. Callable from any thread.
using PostToWindow = std::function<void(std::function<void()>)>;

/// Posts what the window must not miss, and waits for memory where there is none. For threads that
/// may wait.
inline void PostSurely(const PostToWindow& post, const std::function<void()>& action) {
  for (;;) {
    try {
      return post(action);
    } catch (const std::bad_alloc&) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }
}

}  // namespace vexolo
