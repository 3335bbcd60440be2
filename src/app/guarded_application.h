/// The toolkit's application, for actions that may find the machine short of something.
#pragma once

#include <QApplication>

#include "app/action_guard.h"

namespace vexolo {

/// Guards each event on its own: nothing that is thrown may pass through the toolkit.
class GuardedApplication : public QApplication {
 public:
  /// `guard` must outlive this object.
  GuardedApplication(int& argc, char** argv, ActionGuard& guard)
      : QApplication(argc, argv), guard_(guard) {}

  bool notify(QObject* receiver, QEvent* event) override {
    bool handled = false;
    guard_.Run([&] { handled = QApplication::notify(receiver, event); });
    return handled;
  }

 private:
  ActionGuard& guard_;
};

}  // namespace vexolo
