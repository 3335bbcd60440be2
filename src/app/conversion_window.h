/// The windows of a conversion, around the main one.
#pragma once

#include <QPointer>
#include <string>

#include "app/conversion_series.h"
#include "convert/run_dialog.h"
#include "convert/summary_dialog.h"

namespace vexolo {

class frmMidiTest;

/// Opens the dialog, shows progress and summary, and has the main window disable what would disturb
/// a run. Belongs to the main window. Window thread only.
class ConversionWindows : private ConversionView {
 public:
  /// `main` must outlive this object.
  explicit ConversionWindows(frmMidiTest& main);

  /// Waits for a bank that is being loaded: it would change the sound on the way.
  void Action_Record();
  void TimerEncodage_Timer() { series_.TimerEncodage_Timer(); }
  void LoadLanguage() { run_dialog_.LoadLanguage(); }
  /// At the end of the program.
  void Unload();

 private:
  void ShowTags(ConversionForm& form, bool confirms_itself) override;
  void ShowRun() override;
  void EndRun() override;
  void EnableTimerEncodage(bool enabled) override;
  void TellConverted() override;
  void ShowSummary(const std::string& text, const std::string& folder) override;

  frmMidiTest& main_;
  ConversionSeries series_;
  RunDialog run_dialog_;
  QPointer<SummaryDialog> summary_;  ///< until it is closed
};

}  // namespace vexolo
