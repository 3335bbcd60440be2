/// How often files of a folder are replaced.
#pragma once

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include <sys/inotify.h>
#include <unistd.h>

namespace vexolo {

/// Counts the files that are moved into a folder from its creation on: the last step of every write
/// that replaces a file as a whole.
class WriteWatch {
 public:
  explicit WriteWatch(const std::string& folder)
      : queue_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)),
        watch_(inotify_add_watch(queue_, folder.c_str(), IN_MOVED_TO | IN_CLOSE_WRITE)) {
    if (watch_ < 0) std::abort();
  }
  ~WriteWatch() { close(queue_); }
  WriteWatch(const WriteWatch&) = delete;
  WriteWatch& operator=(const WriteWatch&) = delete;

  /// Times that the file of this name was replaced or written since the last question about it.
  int Count(const std::string& name) {
    alignas(inotify_event) char events[4096];
    for (ssize_t length = 0; (length = read(queue_, events, sizeof events)) > 0;) {
      for (ssize_t at = 0; at < length;) {
        inotify_event event;
        std::memcpy(&event, events + at, sizeof event);
        ++counts_[events + at + sizeof event];
        at += static_cast<ssize_t>(sizeof event + event.len);
      }
    }
    const int count = counts_[name];
    counts_[name] = 0;
    return count;
  }

 private:
  const int queue_;
  const int watch_;
  std::map<std::string, int> counts_;
};

}  // namespace vexolo
