/// The report at the end of a conversion of the whole list.
#pragma once

#include <QDialog>
#include <functional>
#include <string>

#include "widgets/window_context.h"

class QPlainTextEdit;

namespace vexolo {

/// Stands beside the other windows until it is closed. Its text can be selected and copied. Window
/// thread only.
class SummaryDialog : public QDialog {
 public:
  /// `folder`: of the files; empty = there is none to open. `open`: shows a folder in the user's
  /// own program for that; false where it cannot.
  SummaryDialog(const WindowContext& context, const std::string& text, const std::string& folder,
                std::function<bool(const std::string& folder)> open, QWidget* parent = nullptr);

 private:
  void Copy() const;

  QPlainTextEdit* text_;
};

}  // namespace vexolo
