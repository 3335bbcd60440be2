/// The record button: one song, or the whole list, from the dialog to the finished files.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "app/conversion_job.h"
#include "app/program_state.h"
#include "app/song_start.h"
#include "app/transport.h"
#include "convert/conversion_form.h"
#include "convert/run_progress.h"
#include "convert/run_report.h"
#include "mixer/song_settings.h"
#include "platform/message_box.h"
#include "settings/mod_ini.h"

namespace vexolo {

inline constexpr int kConversionTimerInterval = 250;  ///< of `TimerEncodage`, milliseconds

/// Today's date on the user's clock.
std::chrono::year_month_day Today();

/// What a series of conversions needs of the windows. Window thread.
class ConversionView {
 public:
  virtual ~ConversionView() = default;

  /// The conversion dialog over `form`, until the user or, where it confirms itself, its timer
  /// closes it. The answer is in the form.
  virtual void ShowTags(ConversionForm& form, bool confirms_itself) = 0;

  /// A run begins, or the next song of one: what would disturb it is disabled, its progress shown.
  virtual void ShowRun() = 0;
  /// All is over: the controls are restored, the progress is put away.
  virtual void EndRun() = 0;

  virtual void EnableTimerEncodage(bool enabled) = 0;

  /// A song alone has been converted, and nothing else says so. After EndRun.
  virtual void TellConverted() = 0;

  /// The report at the end of a whole list; `folder`: of the files, may be empty. It is shown
  /// beside the other windows: nothing waits for it.
  virtual void ShowSummary(const std::string& text, const std::string& folder) = 0;
};

/// Window thread only. A song that plays goes on playing until it has to give way to the run:
/// while the dialog and the overwrite question are shown.
class ConversionSeries {
 public:
  struct Parts {
    const bass::Api& api;
    modMidiTest& state;
    SongStart& song_start;
    SongSettings& settings;
    ModIni& ini;
    MessageBoxes& boxes;
    Transport& transport;
    TransportView& transport_view;
    ConversionView& view;
    PostToWindow post;
    std::string program_folder;
    char separator = '.';  ///< of decimals
    /// Ends encoders at once, when the user cancels; may be empty.
    std::function<void()> end_encoders{};
    std::function<std::chrono::year_month_day()> today = Today;
  };

  /// What the parts refer to must outlive this object.
  explicit ConversionSeries(Parts parts);
  ~ConversionSeries();
  ConversionSeries(const ConversionSeries&) = delete;
  ConversionSeries& operator=(const ConversionSeries&) = delete;

  /// Converts the current song of the list, or the first one where none is: opens the dialog and,
  /// once it is confirmed, begins the run. Does nothing while one is under way. Without a bank, and
  /// after the dialog without a song, a message says so.
  void Action_Record();

  /// A tick of `TimerEncodage`: goes on with the next song of the list, once that is open.
  void TimerEncodage_Timer();

  /// Ends the run, and with it the series.
  void Cancel();

  /// From Action_Record to the end, dialog included.
  bool is_under_way() const { return phase_ != Phase::kIdle; }

  SeriesProgress Progress() const;

  /// At the end of the program: ends everything at once, without messages. Waits for the thread.
  void ShutDown();

 private:
  enum class Phase {
    kIdle,
    kOpening,  ///< the song is opened, to know whose it is
    kAsking,   ///< the dialog is shown
    kRunning,
    kWaiting,  ///< for the timer, and for the next song to be open
  };

  /// What is thrown for want of memory or of a thread goes on to the caller, and ends the series.
  template <typename Action>
  void Attempt(Action action);
  void Begin();
  void Prepare();
  void Opened(const OpenedSong& song);
  void Ask(const SongIdentity& identity);
  void MarkSong();
  void StartRun();
  void ReplaceWhatPlays();
  void ShowOpened(const OpenedSong& song);
  void Ended(const RunOutcome& outcome);
  void Report(const RunOutcome& outcome);
  void NoteResult(const RunResult& result);
  void GoOn();
  void Continue();
  void Finish();

  bool IsLoaded() const;
  SongIdentity LoadedSong() const;
  JobSong SongForJob() const;
  RunRequest Request() const;
  LanguageSection Texts(const char* section) const;

  Parts parts_;
  ConversionJob job_;
  Phase phase_ = Phase::kIdle;
  std::string song_;  ///< path; empty where the list is
  int place_ = 0;     ///< of it in the list
  std::string name_;  ///< as it is shown
  bool is_series_ = false;
  bool is_shown_ = false;  ///< the progress is
  bool cancelled_ = false;
  int number_ = 0;
  bool has_ticked_ = false;           ///< the timer, since the last song
  std::optional<OpenedSong> opened_;  ///< the next song
  BorrowedTags borrowed_;
  ConversionSummary summary_;
};

}  // namespace vexolo
