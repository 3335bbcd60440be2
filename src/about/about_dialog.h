/// The about box.
#pragma once

#include <QDialog>
#include <functional>

#include "widgets/window_context.h"

class QCheckBox;
class QGroupBox;
class QLabel;
class QPushButton;

namespace vexolo {

/// Window thread only.
class About : public QDialog {
 public:
  /// `start_sys_info`: the user wants to know about the computer.
  About(const WindowContext& context, std::function<void()> start_sys_info,
        QWidget* parent = nullptr);
  ~About() override;

  /// Captions from section "About" of the language file in use.
  void LoadLanguage();

  /// Shows the box, or brings it to the front, without waiting. When it closes, the settings keep
  /// whether it is to be shown at the next start.
  void Open();  // not QDialog::open. NOLINT(bugprone-virtual-near-miss)

 private:
  QWidget* MakeHead();
  QWidget* MakeButtons();
  void StoreAtOpen();
  void done(int result) override;

  WindowContext context_;
  QLabel* version_;
  QLabel* description_;
  QLabel* copyright_;
  QGroupBox* credits_box_;
  QLabel* credits_;
  QGroupBox* disclaimer_box_;
  QLabel* disclaimer_;
  QCheckBox* chkOK;
  QPushButton* cmdSysInfo;
  QPushButton* cmdOK;
};

}  // namespace vexolo
