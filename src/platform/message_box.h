/// Message boxes and questions, as an interface, so that tests and the command line can answer.
#pragma once

#include <string>

namespace vexolo {

enum class BoxIcon { kNone, kInformation, kExclamation, kCritical, kQuestion };

/// Text is UTF-8; "\n" or "\r\n" breaks lines. Called on the window thread only.
class MessageBoxes {
 public:
  virtual ~MessageBoxes() = default;
  /// An empty title stands for the program's own.
  virtual void Show(const std::string& text, const std::string& title, BoxIcon icon) = 0;
  /// A Yes/No question whose default button is No. True for Yes.
  virtual bool AskYesNo(const std::string& text, const std::string& title) = 0;
};

}  // namespace vexolo
