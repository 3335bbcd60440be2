/// The toolkit's message boxes.
#pragma once

#include "platform/message_box.h"

namespace vexolo {

/// Boxes over the active window. Window thread only.
class QtMessageBoxes : public MessageBoxes {
 public:
  void Show(const std::string& text, const std::string& title, BoxIcon icon) override;
  bool AskYesNo(const std::string& text, const std::string& title) override;
};

}  // namespace vexolo
