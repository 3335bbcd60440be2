/// What the computer is like, where the system has no tool of its own that tells it.
#pragma once

#include <QDialog>
#include <QTimer>
#include <string>
#include <vector>

#include "about/system_info.h"
#include "widgets/window_context.h"

class QFormLayout;
class QPushButton;

namespace vexolo {

/// Name and version of the toolkit.
std::string ToolkitVersion();

/// Version and renderer of OpenGL; empty where there is none. Opens it for the question.
std::string DescribeOpenGl();

/// Window thread only.
class SystemInfoDialog : public QDialog {
 public:
  explicit SystemInfoDialog(const WindowContext& context, QWidget* parent = nullptr);

  /// Captions from section "SysInfo" of the language file in use.
  void LoadLanguage();

  /// Shows these facts, or brings the window to the front with them, without waiting.
  void Open(const SystemInfo& info);

 private:
  void ShowFacts();
  void Copy();

  WindowContext context_;
  SystemInfo info_;
  std::vector<SystemInfoRow> rows_;
  QFormLayout* facts_;
  QPushButton* copy_;
  QPushButton* close_;
  QTimer copied_;  ///< for how long the button says so
};

}  // namespace vexolo
