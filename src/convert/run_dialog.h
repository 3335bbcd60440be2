/// The progress of a conversion.
#pragma once

#include <QDialog>
#include <QTimer>
#include <functional>

#include "convert/run_progress.h"
#include "widgets/window_context.h"

class QLabel;
class QProgressBar;
class QPushButton;

namespace vexolo {

class ElidedLabel;

/// Stands beside the other windows, which go on answering. Closing it is cancelling. Window thread
/// only.
class RunDialog : public QDialog {
 public:
  static constexpr int kRefreshInterval = 100;  ///< milliseconds

  /// `progress` is asked while the dialog is shown; `cancel` hears of the user's wish, and whoever
  /// runs the conversion closes the dialog with End.
  RunDialog(const WindowContext& context, std::function<SeriesProgress()> progress,
            std::function<void()> cancel, QWidget* parent = nullptr);

  void LoadLanguage();

  /// Shows the dialog, or the next song in it.
  void Begin();
  void End();

  void reject() override;

 private:
  void Refresh();

  const WindowContext context_;
  const std::function<SeriesProgress()> progress_;
  const std::function<void()> cancel_;
  QTimer timer_;
  ElidedLabel* song_;
  QLabel* count_;
  QProgressBar* bar_;
  QLabel* left_;
  QLabel* speed_;
  QPushButton* cancel_button_;
};

}  // namespace vexolo
