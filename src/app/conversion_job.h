/// The part of a conversion that takes time, on a thread of its own, so that the window answers.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "app/post_to_window.h"
#include "audio/bass.h"
#include "audio/markers.h"
#include "convert/encoding_run.h"
#include "convert/run_progress.h"
#include "lyrics/code_pages.h"
#include "mixer/song_mix.h"
#include "platform/message_box.h"

namespace vexolo {

/// What the window has set for a song.
struct UserMix {
  SongMix mix;
  Markers markers;
  std::int16_t code_page = kCodePageNone;  ///< forced, of its lyrics
  bool operator==(const UserMix&) const = default;
};

/// A song to be opened for rendering.
struct JobSong {
  std::string path;
  bass::HSOUNDFONT font = 0;  ///< the bank in use
  bool auto_mute = false;
  /// Where the window shows this song's mix; else it comes from the settings beside the song.
  std::optional<UserMix> user_mix;
  bool operator==(const JobSong&) const = default;
};

/// An open song, as the window learns of it.
struct OpenedSong {
  bass::HSTREAM stream = 0;  ///< 0 = it cannot be opened, and the rest says nothing
  std::string artist;        ///< UTF-8
  std::string title;
  UserMix user;  ///< the song's own part of the mix included
  double speed_factor = 1;
  std::int32_t base_tempo = 500000;  ///< microseconds a quarter note
  double length = 0;                 ///< seconds
  std::uint32_t length_ticks = 0;
};

/// A message that a run would have shown.
struct RunMessage {
  std::string text;
  std::string title;
  BoxIcon icon = BoxIcon::kNone;
};

struct RunOutcome {
  RunResult result;
  std::vector<RunMessage> messages;  ///< not shown yet
};

/// Opens and converts one song at a time. Every function belongs to the window thread; so do the
/// functions that are called back, none of which is called after GiveUp. They may call this object,
/// but not destroy it.
class ConversionJob {
 public:
  struct Parts {
    const bass::Api& api;
    PostToWindow post;  ///< what it gets too late to run is dropped
    std::string settings_file;
    char separator = '.';  ///< of decimals
    /// Ends an encoder that may not take its input any more; may be empty.
    std::function<void()> end_encoders{};
    /// Seconds that have passed since some moment, on any thread; empty: the system's.
    std::function<double()> clock{};
  };

  /// What a run has the window do.
  struct Events {
    /// To put away what plays: the song is about to be opened. The run waits.
    std::function<void()> replace;
    /// The overwrite question; the run waits.
    std::function<bool(const std::string& text, const std::string& title)> ask;
    /// The song is open, or cannot be opened.
    std::function<void(const OpenedSong& song)> opened;
    /// All is over; the stream is freed.
    std::function<void(const RunOutcome& outcome)> ended;
  };

  explicit ConversionJob(Parts parts);
  ~ConversionJob();
  ConversionJob(const ConversionJob&) = delete;
  ConversionJob& operator=(const ConversionJob&) = delete;

  /// Opens a song and keeps it open for Run. Not while something is under way.
  void Open(const JobSong& song, std::function<void(const OpenedSong&)> opened);

  /// Converts a song: the one that is open already, where it is the very same, else it is opened.
  /// The question comes before that. Not while something is under way.
  void Run(const JobSong& song, const RunRequest& request, Events events);

  /// Ends the run soon; its file is removed, unless it is complete already. Does nothing where none
  /// is under way.
  void Cancel();

  /// Closes the song that Open has opened, where no run has taken it.
  void Discard();

  /// Cancels, waits for the thread and closes the song; nobody is called back any more. For the end
  /// of the program.
  void GiveUp();

  /// Between the call of Open or Run and the call back at its end.
  bool is_under_way() const { return thread_.joinable(); }

  JobProgress Progress() const;

 private:
  struct Meeting;
  class Worker;

  /// Runs `work`, which throws nothing, on the thread, then `ended` on the window thread.
  void Start(std::function<void()> work, std::function<void()> ended);
  /// The function as it may be posted: it does nothing once the window has gone.
  std::function<void()> WhileAwaited(std::function<void()> function) const;
  /// Worker: the function runs on the window thread.
  void Tell(std::function<void()> function) { parts_.post(WhileAwaited(std::move(function))); }
  void Finish();

  Parts parts_;
  std::unique_ptr<Worker> worker_;  ///< used by the thread while there is one
  std::thread thread_;
  std::shared_ptr<Meeting> meeting_;
  std::atomic<bool> cancelled_{false};
  std::atomic<double> share_{0};
  std::atomic<double> length_{0};  ///< seconds that the audio will have
  std::atomic<double> begun_{-1};  ///< by the clock; negative = not yet
};

}  // namespace vexolo
