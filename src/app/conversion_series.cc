#include "app/conversion_series.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include "mixer/meters.h"
#include "mixer/song_mix.h"
#include "platform/paths.h"
#include "platform/text_encoding.h"

namespace vexolo {

namespace {

std::string NameOfSong(const std::string& artist, const std::string& title,
                       const std::string& path) {
  if (title.empty()) return StemOf(path);
  return artist.empty() ? title : title + " – " + artist;
}

/// Messages about the audio library are fixed, and the explanation follows them; where the system
/// has failed, its own words follow the explanation.
std::string Explained(const std::string& message, const std::string& explanation, RunCause cause,
                      const RunResult& result) {
  constexpr const char* kGap = "\n\n";
  if (cause == RunCause::kUnreadable || explanation.empty()) return message;
  if (result.audio_error != 0) return message + kGap + explanation;
  return result.file_error.number != 0 ? explanation + kGap + message : explanation;
}

}  // namespace

std::chrono::year_month_day Today() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
#ifdef _WIN32
  localtime_s(&local, &now);
#else
  localtime_r(&now, &local);
#endif
  return std::chrono::year(local.tm_year + 1900) /
         std::chrono::month(static_cast<unsigned>(local.tm_mon + 1)) /
         std::chrono::day(static_cast<unsigned>(local.tm_mday));
}

ConversionSeries::ConversionSeries(Parts parts)
    : parts_(std::move(parts)),
      job_({parts_.api, parts_.post, parts_.ini.default_file(), parts_.separator,
            parts_.end_encoders}) {}

ConversionSeries::~ConversionSeries() { ShutDown(); }

template <typename Action>
void ConversionSeries::Attempt(Action action) {
  try {
    action();
  } catch (...) {
    Finish();
    throw;
  }
}

void ConversionSeries::Action_Record() {
  if (phase_ == Phase::kIdle) Attempt([&] { Begin(); });
}

void ConversionSeries::Begin() {
  const modMidiTest& state = parts_.state;
  if (state.audio.font == 0) {
    parts_.boxes.Show(Texts("Main").Message("SF2NoneInfo"), {}, BoxIcon::kExclamation);
    return;
  }
  place_ = state.playlist.current();
  if (place_ < 1 || place_ > state.playlist.count()) place_ = 1;
  song_ = state.playlist.Path(place_);
  is_series_ = false;
  cancelled_ = false;
  number_ = 1;
  summary_ = {};
  Prepare();
}

// What is known of a song that plays need not be found out.
void ConversionSeries::Prepare() {
  name_ = StemOf(song_);
  if (song_.empty() || IsLoaded()) {
    Ask(LoadedSong());
    return;
  }
  phase_ = Phase::kOpening;
  job_.Open(SongForJob(), [this](const OpenedSong& song) { Attempt([&] { Opened(song); }); });
}

void ConversionSeries::Opened(const OpenedSong& song) {
  if (cancelled_) {
    if (is_series_) summary_.Cancelled();
    Finish();
    return;
  }
  if (song.stream == 0 && is_series_) {
    RunResult result;
    result.status = RunStatus::kCannotOpenSong;
    NoteResult(result);
    GoOn();
    return;
  }
  Ask({song.artist, song.title, song_});
}

void ConversionSeries::Ask(const SongIdentity& identity) {
  phase_ = Phase::kAsking;
  name_ = NameOfSong(identity.artist, identity.title, song_);
  ConversionForm form(parts_.ini, identity, parts_.today());
  parts_.view.ShowTags(form, is_series_);
  if (phase_ != Phase::kAsking) return;  // the program has ended meanwhile
  if (!form.confirmed()) {
    if (is_series_) summary_.Cancelled();
    Finish();
    return;
  }
  parts_.state.convert_all = form.convert_all();
  parts_.state.conversion = form.settings();
  borrowed_ = form.borrowed();
  if (song_.empty()) {
    Finish();
    parts_.boxes.Show(Texts("Main").Message("Titre(0)"), {}, BoxIcon::kInformation);
    return;
  }
  is_series_ = is_series_ || form.convert_all();
  MarkSong();
  StartRun();
}

// The list goes on from the song of the dialog, whatever the player has done meanwhile and whether
// the song gets to its run or not. A song alone is marked when it has become the one that is open.
void ConversionSeries::MarkSong() {
  PlayListModel& playlist = parts_.state.playlist;
  const bool goes_on = is_series_ || parts_.state.converting;
  if (goes_on && playlist.Path(place_) == song_) playlist.PlayListSelect(place_);
}

void ConversionSeries::StartRun() {
  phase_ = Phase::kRunning;
  if (is_shown_) parts_.view.ShowRun();
  job_.Run(SongForJob(), Request(),
           {[this] { ReplaceWhatPlays(); },
            [this](const std::string& text, const std::string& title) {
              return parts_.boxes.AskYesNo(text, title);
            },
            [this](const OpenedSong& song) { ShowOpened(song); },
            [this](const RunOutcome& outcome) { Attempt([&] { Ended(outcome); }); }});
}

void ConversionSeries::ReplaceWhatPlays() {
  modMidiTest& state = parts_.state;
  state.playing = false;
  state.converting = true;
  parts_.transport_view.DrawPlay(false);
  parts_.song_start.CloseSong();
  parts_.settings.SetSong({});
  state.lyrics.ResetForSong();
  state.lyrics.InitLyrics(0, false);
  ResetForSong(state.mix);
  MarkSong();
  parts_.transport_view.ShowTitle(song_);
  is_shown_ = true;
  parts_.view.ShowRun();
}

void ConversionSeries::ShowOpened(const OpenedSong& song) {
  if (song.stream == 0) return;
  AudioState& audio = parts_.state.audio;
  audio.stream = song.stream;  // its position is shown; nothing here changes it
  audio.base_tempo = song.base_tempo;
  audio.speed_factor = song.speed_factor;
  audio.song_length = song.length;
  audio.song_length_ticks = song.length_ticks;
  audio.markers = song.user.markers;
  SetMix(song.user.mix, parts_.state.mix);
  parts_.state.lyrics.code_pages().set_forced(song.user.code_page);
  parts_.settings.SetSong(song_);
  parts_.transport_view.DrawMix();
  parts_.transport_view.AfficherMarqueurs();
  parts_.transport_view.ShowTime();
}

void ConversionSeries::Ended(const RunOutcome& outcome) {
  modMidiTest& state = parts_.state;
  if (state.converting) {
    // The stream is freed already; this makes it none, and the meters rest.
    state.audio.stream = 0;
    parts_.song_start.CloseSong();
    parts_.transport_view.ShowTime();
  }
  ForgetBorrowedTags(parts_.ini, borrowed_);
  borrowed_ = {};
  state.conversion = LoadConversionSettings(parts_.ini);
  if (outcome.result.status == RunStatus::kCancelled) cancelled_ = true;
  if (is_series_) {
    NoteResult(outcome.result);
    GoOn();
    return;
  }
  Finish();
  if (outcome.result.status == RunStatus::kDone) parts_.view.TellConverted();
  Report(outcome);
}

void ConversionSeries::NoteResult(const RunResult& result) {
  const AudioFormat format = parts_.state.conversion.format;
  const RunCause cause = CauseOf(result, format);
  summary_.Add(song_, cause, ReasonText(Texts("Tags"), cause, result, format), result);
}

void ConversionSeries::Report(const RunOutcome& outcome) {
  const RunResult& result = outcome.result;
  const AudioFormat format = parts_.state.conversion.format;
  const RunCause cause = CauseOf(result, format);
  const std::string explanation = ErrorText(Texts("Tags"), cause, result, format, song_);
  for (const RunMessage& message : outcome.messages) {
    parts_.boxes.Show(Explained(message.text, explanation, cause, result), message.title,
                      message.icon);
  }
}

// The next song is opened while the timer runs.
void ConversionSeries::GoOn() {
  std::optional<std::string> next;
  if (!cancelled_) next = parts_.transport.NextToConvert();
  if (!next) {
    Finish();
    return;
  }
  song_ = *next;
  place_ = parts_.state.playlist.current();
  name_ = StemOf(song_);
  ++number_;
  phase_ = Phase::kWaiting;
  has_ticked_ = false;
  opened_.reset();
  parts_.view.EnableTimerEncodage(true);
  job_.Open(SongForJob(), [this](const OpenedSong& song) {
    Attempt([&] {
      opened_ = song;
      Continue();
    });
  });
}

void ConversionSeries::TimerEncodage_Timer() {
  parts_.view.EnableTimerEncodage(false);
  has_ticked_ = true;
  Attempt([this] { Continue(); });
}

void ConversionSeries::Continue() {
  if (phase_ != Phase::kWaiting || !opened_) return;
  if (has_ticked_ || cancelled_) Opened(*opened_);
}

void ConversionSeries::Cancel() {
  if (phase_ == Phase::kIdle) return;
  cancelled_ = true;
  job_.Cancel();
  Continue();
}

void ConversionSeries::Finish() {
  modMidiTest& state = parts_.state;
  parts_.view.EnableTimerEncodage(false);
  job_.Discard();
  ForgetBorrowedTags(parts_.ini, borrowed_);
  borrowed_ = {};
  phase_ = Phase::kIdle;
  state.convert_all = false;
  state.converting = false;
  if (std::exchange(is_shown_, false)) parts_.view.EndRun();
  if (is_series_) parts_.view.ShowSummary(summary_.Text(Texts("Tags")), summary_.folder());
  is_series_ = false;
}

void ConversionSeries::ShutDown() {
  job_.GiveUp();
  ForgetBorrowedTags(parts_.ini, borrowed_);
  borrowed_ = {};
  phase_ = Phase::kIdle;
  parts_.state.convert_all = false;
  parts_.state.converting = false;
}

SeriesProgress ConversionSeries::Progress() const {
  SeriesProgress progress;
  progress.song = name_;
  progress.number = number_;
  const PlayListModel& list = parts_.state.playlist;  // the user may change it meanwhile
  if (is_series_) progress.count = number_ + std::max(list.count() - list.current(), 0);
  progress.cancelling = cancelled_;
  progress.job = job_.Progress();
  return progress;
}

bool ConversionSeries::IsLoaded() const {
  const modMidiTest& state = parts_.state;
  return state.audio.stream != 0 && state.playlist.playing() == place_ &&
         parts_.settings.path() == SongSettingsPath(song_);
}

SongIdentity ConversionSeries::LoadedSong() const {
  const LyricModel& lyrics = parts_.state.lyrics;
  if (song_.empty()) return {};
  return {Utf8FromWindows1252(lyrics.ConvertLyricText(lyrics.artist())),
          Utf8FromWindows1252(lyrics.ConvertLyricText(lyrics.title())), song_};
}

JobSong ConversionSeries::SongForJob() const {
  const modMidiTest& state = parts_.state;
  JobSong song;
  song.path = song_;
  song.font = state.audio.font;
  song.auto_mute = state.mix.AutoMute;
  if (parts_.settings.path() == SongSettingsPath(song_)) {
    song.user_mix =
        UserMix{CopyOfMix(state.mix), state.audio.markers, state.lyrics.code_pages().forced()};
  }
  return song;
}

RunRequest ConversionSeries::Request() const {
  const LanguageSection texts = Texts("Main");
  RunRequest request;
  request.settings = WithFullFolder(parts_.state.conversion, song_);
  request.song_path = song_;
  request.program_folder = parts_.program_folder;
  request.texts = {texts.Text("OverWriteText"), texts.Text("OverWriteTitle"),
                   texts.Text("MidiReadError")};
  return request;
}

LanguageSection ConversionSeries::Texts(const char* section) const {
  return LanguageSection(parts_.ini, parts_.state.language_file, section);
}

}  // namespace vexolo
