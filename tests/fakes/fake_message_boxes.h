/// Message boxes that are only written down, with answers given beforehand.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "platform/message_box.h"

namespace vexolo {

class FakeMessageBoxes : public MessageBoxes {
 public:
  struct Box {
    std::string text;
    std::string title;
    BoxIcon icon = BoxIcon::kNone;
    bool operator==(const Box&) const = default;
  };

  void Show(const std::string& text, const std::string& title, BoxIcon icon) override {
    shown.push_back({text, title, icon});
  }
  bool AskYesNo(const std::string& text, const std::string& title) override {
    asked.push_back({text, title, BoxIcon::kQuestion});
    if (answers.empty()) return false;
    const bool answer = answers.front();
    answers.pop_front();
    return answer;
  }

  std::vector<Box> shown;
  std::vector<Box> asked;
  std::deque<bool> answers;  ///< used up from the front; No where there is none
};

}  // namespace vexolo
