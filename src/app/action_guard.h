/// What lets the program go on when the machine runs short in the middle of an action.
#pragma once

#include <exception>
#include <string>
#include <utility>

#include "platform/message_box.h"

namespace vexolo {

/// Carries out what the user asks for. An action for which memory, threads or the like are missing
/// is given up, and a message says so: what has been written is whole, for files are replaced as a
/// whole. Window thread only.
class ActionGuard {
 public:
  explicit ActionGuard(MessageBoxes& boxes) : boxes_(boxes) {}

  /// "NoMemory" of section "Main", read beforehand: when it is needed it may be too late.
  void set_no_memory_text(std::string text) { no_memory_ = std::move(text); }

  /// True where the action has come to its end.
  template <typename Action>
  bool Run(Action&& action) noexcept {
    try {
      action();
      return true;
    } catch (const std::exception& reason) {
      Tell(reason);
      return false;
    }
  }

 private:
  void Tell(const std::exception& reason) noexcept;

  MessageBoxes& boxes_;
  std::string no_memory_ = "Mémoire insuffisante.";
};

}  // namespace vexolo
