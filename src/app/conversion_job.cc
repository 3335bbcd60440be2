#include "app/conversion_job.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <utility>

#include "app/separate_song.h"
#include "app/song_conversion.h"

namespace vexolo {

namespace {

constexpr const char* kNoMemory = "Mémoire insuffisante.";
constexpr const char* kNoMemoryTitle = "Error";

double SystemClock() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

/// Where the worker waits for the window. It outlives the job as long as a posted function knows
/// it.
struct ConversionJob::Meeting {
  std::mutex mutex;
  std::condition_variable answered;
  std::optional<bool> answer;
  bool abandoned = false;  ///< the window has gone

  /// Worker.
  bool WaitForAnswer() {
    std::unique_lock lock(mutex);
    answered.wait(lock, [this] { return answer || abandoned; });
    return std::exchange(answer, std::nullopt).value_or(false);
  }
  /// Window thread.
  void Answer(bool yes) {
    const std::lock_guard lock(mutex);
    answer = yes;
    answered.notify_all();
  }
  void Abandon() {
    const std::lock_guard lock(mutex);
    abandoned = true;
    answered.notify_all();
  }
  bool IsAbandoned() {
    const std::lock_guard lock(mutex);
    return abandoned;
  }
};

/// The thread's side: its own record of the song, and the boxes of the run.
class ConversionJob::Worker : private MessageBoxes {
 public:
  explicit Worker(ConversionJob& job)
      : job_(job), song_(job.parts_.api, job.parts_.settings_file, job.parts_.separator, *this) {}

  /// True where the song is open.
  bool Open(const JobSong& song) {
    Close();
    song_.state.audio.font = song.font;
    song_.state.mix.AutoMute = song.auto_mute;
    if (song_.start.Start(song.path, OptionsFor(song)) != SongStartResult::kStarted) return false;
    if (song.user_mix) {
      song_.state.lyrics.code_pages().set_forced(song.user_mix->code_page);
    }
    open_ = song;
    return true;
  }

  void Close() {
    song_.start.CloseSong();
    open_.reset();
  }

  OpenedSong Opened() const {
    OpenedSong opened;
    if (!open_) return opened;
    const AudioState& audio = song_.state.audio;
    opened.stream = audio.stream;
    opened.artist = song_.Text(song_.state.lyrics.artist());
    opened.title = song_.Text(song_.state.lyrics.title());
    opened.user = {CopyOfMix(song_.state.mix), audio.markers,
                   song_.state.lyrics.code_pages().forced()};
    opened.speed_factor = audio.speed_factor;
    opened.base_tempo = audio.base_tempo;
    opened.length = audio.song_length;
    opened.length_ticks = audio.song_length_ticks;
    return opened;
  }

  RunOutcome Run(const JobSong& song, const RunRequest& request,
                 std::shared_ptr<const Events> events);

 private:
  class Rendering;

  static SongStartOptions OptionsFor(const JobSong& song) {
    SongStartOptions options;
    options.use = SongUse::kConversion;
    if (song.user_mix) {
      options.adjust_mix = [&song](MixState& mix) { SetUserMix(song.user_mix->mix, mix); };
      options.adjust_markers = [&song](Markers& markers) { markers = song.user_mix->markers; };
    }
    return options;
  }

  void Show(const std::string& text, const std::string& title, BoxIcon icon) override {
    messages_.push_back({text, title, icon});
  }
  bool AskYesNo(const std::string& text, const std::string& title) override {
    return Ask([events = events_, text, title] { return events->ask(text, title); });
  }
  /// False where nobody can answer any more.
  bool Ask(std::function<bool()> question) {
    const std::shared_ptr<Meeting> meeting = job_.meeting_;
    job_.Tell([meeting, question = std::move(question)] {
      bool yes = false;
      try {
        yes = question();
      } catch (...) {
        meeting->Answer(false);  // nobody waits for ever
        throw;
      }
      meeting->Answer(yes);
    });
    return meeting->WaitForAnswer();
  }

  ConversionJob& job_;
  SeparateSong song_;
  std::optional<JobSong> open_;
  std::shared_ptr<const Events> events_;  ///< of the run under way
  std::vector<RunMessage> messages_;
};

/// The song of one run.
class ConversionJob::Worker::Rendering : public SongConversion {
 public:
  Rendering(Worker& worker, const JobSong& song)
      : SongConversion(worker.song_.state, worker.song_.start, song.path),
        worker_(worker),
        song_(song) {}

  bass::HSTREAM OpenForRendering() override {
    const bool may_open = worker_.Ask([events = worker_.events_] {
      events->replace();
      return true;
    });
    if (!may_open) return 0;
    // Where the song cannot be opened, the library's error code is asked for next.
    const bool is_open = worker_.open_ == song_ || worker_.Open(song_);
    const OpenedSong opened = worker_.Opened();
    ConversionJob& job = worker_.job_;
    if (is_open) {
      job.length_ = RenderedSeconds();
      job.begun_ = job.parts_.clock();
    }
    job.Tell([events = worker_.events_, opened] { events->opened(opened); });
    return opened.stream;
  }

  void Close() override { worker_.Close(); }

 private:
  Worker& worker_;
  const JobSong& song_;
};

RunOutcome ConversionJob::Worker::Run(const JobSong& song, const RunRequest& request,
                                      std::shared_ptr<const Events> events) {
  events_ = std::move(events);
  messages_.clear();
  Rendering rendering(*this, song);
  RunOutcome outcome;
  outcome.result = RunConversion(job_.parts_.api, rendering, request, *this, [this](double share) {
    job_.share_ = share;
    return !job_.cancelled_;
  });
  outcome.messages = std::move(messages_);
  Close();
  return outcome;
}

ConversionJob::ConversionJob(Parts parts)
    : parts_(std::move(parts)), meeting_(std::make_shared<Meeting>()) {
  if (!parts_.clock) parts_.clock = SystemClock;
}

ConversionJob::~ConversionJob() { GiveUp(); }

// What the thread has to tell in the end is made beforehand: then it can be told whatever becomes
// of the work.
void ConversionJob::Open(const JobSong& song, std::function<void(const OpenedSong&)> opened) {
  auto answer = std::make_shared<OpenedSong>();
  Start(
      [this, song, answer] {
        try {
          worker_->Open(song);
          *answer = worker_->Opened();
        } catch (const std::bad_alloc&) {
          *answer = {};
        }
      },
      [this, opened = std::move(opened), answer] {
        Finish();
        opened(*answer);
      });
}

void ConversionJob::Run(const JobSong& song, const RunRequest& request, Events events) {
  auto shared_events = std::make_shared<const Events>(std::move(events));
  auto outcome = std::make_shared<RunOutcome>();
  // Room for what a run without memory has to say.
  outcome->messages.push_back({kNoMemory, kNoMemoryTitle, BoxIcon::kExclamation});
  Start(
      [this, song, request, shared_events, outcome] {
        try {
          *outcome = worker_->Run(song, request, shared_events);
        } catch (const std::bad_alloc&) {
          outcome->result.status = RunStatus::kNoMemory;
          worker_->Close();
        }
      },
      [this, shared_events, outcome] {
        Finish();
        shared_events->ended(*outcome);
      });
}

void ConversionJob::Start(std::function<void()> work, std::function<void()> ended) {
  cancelled_ = false;
  share_ = 0;
  length_ = 0;
  begun_ = -1;
  if (worker_ == nullptr) worker_ = std::make_unique<Worker>(*this);
  thread_ = std::thread([this, work = std::move(work), last = WhileAwaited(std::move(ended))] {
    work();
    PostSurely(parts_.post, last);
  });
}

std::function<void()> ConversionJob::WhileAwaited(std::function<void()> function) const {
  return [meeting = meeting_, function = std::move(function)] {
    if (!meeting->IsAbandoned()) function();
  };
}

// The thread has posted the last thing that it had to say.
void ConversionJob::Finish() {
  if (thread_.joinable()) thread_.join();
}

void ConversionJob::Cancel() {
  cancelled_ = true;
  if (is_under_way() && parts_.end_encoders) parts_.end_encoders();
}

void ConversionJob::Discard() {
  if (!is_under_way() && worker_ != nullptr) worker_->Close();
}

void ConversionJob::GiveUp() {
  Cancel();
  meeting_->Abandon();
  Finish();
  worker_.reset();
}

JobProgress ConversionJob::Progress() const {
  JobProgress progress;
  const double begun = begun_;
  if (begun < 0) return progress;
  progress.is_rendering = true;
  progress.share = share_;
  progress.seconds = progress.share * length_;
  progress.elapsed = parts_.clock() - begun;
  return progress;
}

}  // namespace vexolo
