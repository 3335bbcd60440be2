/// `Temps`: typing the time of a marker.
#pragma once

#include <QDialog>
#include <optional>
#include <string>

#include "widgets/window_context.h"

class QLabel;
class QLineEdit;
class QPushButton;

namespace vexolo {

/// What is typed is not looked at here: ParseTime makes a number of anything. Window thread only.
class Temps : public QDialog {
 public:
  /// `label_key`: of section "Temps" of the language file, what the time is for.
  Temps(const WindowContext& context, const char* label_key, QWidget* parent);

  void LoadLanguage();

  /// Opens the dialog in the middle of the screen with a time in its text box. The text, when the
  /// user validates it; nothing when not.
  std::optional<std::string> Ask(const std::string& proposed);

 private:
  WindowContext context_;
  const char* label_key_;
  bool accepted_ = false;
  QLabel* label_;
  QLineEdit* text_;
  QPushButton* Btn_Validation;
  QPushButton* Btn_Abandon;
  QPushButton* Cmd_Raz;
};

}  // namespace vexolo
