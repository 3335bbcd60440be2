/// Signals: Ctrl-C, and one that must not end the program.
#pragma once

#include <chrono>

namespace vexolo {

/// While it lives, the first request to end the program (Ctrl-C, a hang-up, a plain kill, nobody
/// left to read its output) is only noted, so that work under way can be cleared up; a later one
/// ends the program as usual. What follows the first within kOneRequest is the same request told
/// twice. One at a time; made and destroyed on the main thread.
class InterruptWatch {
 public:
  static constexpr std::chrono::milliseconds kOneRequest{1000};

  InterruptWatch();
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

  /// Whether a request has come since the watch began. Any thread.
  bool IsRequested() const;
};

/// From now on, what is written beyond the user's limit for the size of a file fails (EFBIG), as on
/// a full disk, instead of ending this program. For the beginning of a program. Programs that it
/// starts are not concerned.
void SurviveFileSizeLimit();

}  // namespace vexolo
