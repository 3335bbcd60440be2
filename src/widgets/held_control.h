/// Controls that the mouse takes hold of.
#pragma once

#include <QWidget>

namespace vexolo {

/// Window thread only.
class HeldControl {
 public:
  virtual ~HeldControl() = default;
  /// As when the mouse button comes up; nothing happens where it is not held.
  virtual void LetGo() = 0;
};

/// For the moment at which a box opens before a window: the mouse button comes up over the box, and
/// what was held in the window, or in one that belongs to it, would never hear of it.
inline void LetGoControls(const QWidget& window) {
  for (QWidget* child : window.findChildren<QWidget*>()) {
    if (auto* control = dynamic_cast<HeldControl*>(child)) control->LetGo();
  }
}

}  // namespace vexolo
