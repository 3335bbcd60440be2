#include "app/conversion_window.h"

#include <QTimer>

#include "app/main_window.h"
#include "convert/conversion_dialog.h"

namespace vexolo {

namespace {

/// Milliseconds after which a bank that is on its way is looked for again.
constexpr int kBankInterval = 100;

}  // namespace

ConversionWindows::ConversionWindows(frmMidiTest& main)
    : main_(main),
      series_({.api = main.program().api,
               .state = main.program().state,
               .song_start = main.program().song_start,
               .settings = main.program().settings,
               .ini = main.program().ini,
               .boxes = main.program().env.boxes,
               .transport = main.transport(),
               .transport_view = main.display(),
               .view = *this,
               .post = main.program().env.post,
               .program_folder = main.program().env.program_folder,
               .separator = main.program().env.separator,
               .end_encoders = [&main] { main.program().env.library.EndEncoders(); }}),
      run_dialog_(
          main.context(), [this] { return series_.Progress(); }, [this] { series_.Cancel(); },
          &main) {}

void ConversionWindows::Action_Record() {
  if (run_dialog_.isVisible()) {
    run_dialog_.raise();
    run_dialog_.activateWindow();
    return;
  }
  BankLoader& loader = main_.program().bank_loader;
  if (loader.loading() && main_.program().state.audio.font != 0) {
    QTimer::singleShot(kBankInterval, &run_dialog_, [this] { Action_Record(); });
    return;
  }
  loader.WhenReady([this] { series_.Action_Record(); });
}

void ConversionWindows::Unload() {
  series_.ShutDown();
  run_dialog_.End();
  delete summary_;
}

void ConversionWindows::ShowTags(ConversionForm& form, bool confirms_itself) {
  Tags(main_.context(), form, confirms_itself, &main_).exec();
}

void ConversionWindows::ShowRun() {
  if (summary_) summary_->close();  // of the run before
  main_.EnableForConversion();
  run_dialog_.Begin();
}

void ConversionWindows::EndRun() {
  run_dialog_.End();
  main_.EnableForConversion();
}

void ConversionWindows::EnableTimerEncodage(bool enabled) { main_.EnableTimerEncodage(enabled); }

void ConversionWindows::TellConverted() { main_.display().TellConverted(); }

void ConversionWindows::ShowSummary(const std::string& text, const std::string& folder) {
  const Program& program = main_.program();
  delete summary_;
  summary_ = new SummaryDialog(main_.context(), text, folder, program.env.open_document, &main_);
  summary_->setAttribute(Qt::WA_DeleteOnClose);
  summary_->show();
}

}  // namespace vexolo
