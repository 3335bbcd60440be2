#include "faults/whole_run.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <utility>

#include "app/action_guard.h"
#include "app/conversion_series.h"
#include "app/main_timer.h"
#include "app/program.h"
#include "app/start_up.h"
#include "app/transport.h"
#include "audio/loader.h"
#include "fakes/fake_file_dialogs.h"
#include "fakes/fake_window_thread.h"
#include "faults/fault_points.h"
#include "mixer/options.h"
#include "playlist/list_file.h"

namespace vexolo::faults {
namespace {

/// Windows that are not there.
class NoWindows : public StartUpWindows,
                  public TransportView,
                  public ConversionView,
                  public MainTimerView {
 public:
  std::function<void()> play;
  std::function<void()> ask_for_bank;
  std::function<void(ConversionForm&)> fill_in;

  void ChooseFirstLanguage() override {}
  void LoadLanguage() override {}
  bool BuildSkin() override { return true; }
  void DrawKnobs() override {}
  void DispSoloMute() override {}
  void RestorePlace() override {}
  void CreateCompanion(Companion) override {}
  void RestoreLastList() override {}
  void BougeFilles() override {}
  void* ShowMainWindow() override { return nullptr; }
  void ShowCompanionAgain(Companion) override {}
  void DispMix() override {}
  void AfficherMarqueurs() override {}
  void ChooseBank() override { ask_for_bank(); }
  void ShowTitle(const std::string&) override {}
  void ProcessMessages() override {}
  void Action_Play() override { play(); }
  void StopTimers() override {}
  void UnloadCompanion(Companion) override {}
  void UnloadDialogs() override {}
  void UnhookWindows() override {}
  void ReleaseSkin() override {}

  void DrawPlay(bool) override {}
  void DrawRepeat(int) override {}
  void DrawMix() override {}
  void ShowTime() override {}
  void EnableTimer(bool) override {}
  std::optional<std::string> AskTime(const std::string&) override { return "0:00.010"; }

  void ShowTags(ConversionForm& form, bool) override { fill_in(form); }
  void ShowRun() override {}
  void EndRun() override {}
  void TellConverted() override {}
  void EnableTimerEncodage(bool) override {}
  void ShowSummary(const std::string&, const std::string&) override {}

  void DispMiscButtons() override {}
  void DispLeds() override {}
  void DrawVuMeters(const VuMeter&) override {}
  void DrawMeters(const std::array<int, kChannels>&) override {}
  void RefreshChannels() override {}
  double slider_maximum() const override { return 1000; }
  void MoveSlider(double) override {}
  void ShowBankInfo(const std::string&) override {}
};

/// One run of the program: its parts, and what a user does to them.
class Run {
 public:
  Run(const Place& place, Outcome& outcome)
      : place_(place), outcome_(outcome), boxes_(outcome), guard_(boxes_) {}

  /// Like main(): what the program is made of may be what memory is missing for.
  void FromStartToEnd() {
    guard_.Run([&] {
      library_ = AudioLibrary::OpenEngine();
      MakeParts();
    });
    if (parts_ == nullptr) return;
    const bool starts = guard_.Run([&] {
      if (parts_->start_up.Run()) Done("started");
    });
    if (starts && Has("started")) Use();
    guard_.Run([&] { parts_->series.ShutDown(); });
    guard_.Run([&] { parts_->start_up.ShutDown(); });
    const Quiet quiet;
    parts_.reset();
  }

 private:
  /// In the order in which they depend on each other.
  struct Parts {
    explicit Parts(Run& run)
        : program({.library = *run.library_,
                   .boxes = run.boxes_,
                   .files = run.files_,
                   .program_folder = run.place_.program(),
                   .settings_file = run.place_.settings(),
                   .command_line = run.place_.command_line(),
                   .separator = '.',
                   .post = run.Poster()}),
          transport({program.api, program.state, program.song_start, program.settings, program.ini,
                     run.boxes_, run.windows_, &program.lyric_display, '.'}),
          start_up({program.api, program.state, program.binding, program.bank_loader, program.ini,
                    program.settings, run.boxes_, run.windows_, run.place_.program(),
                    program.env.command_line, -1}),
          timer(program.api, program.state, run.windows_, '.'),
          series({program.api, program.state, program.song_start, program.settings, program.ini,
                  run.boxes_, transport, run.windows_, run.windows_, program.env.post,
                  run.place_.program(), '.'}) {
      program.end_of_song.set_listener(
          [this](bass::HSTREAM stream) { transport.EndOfSong(stream); });
      run.windows_.play = [this] { transport.Action_Play(); };
      run.windows_.ask_for_bank = [&run] { run.boxes_.Show("the choice of a bank", {}, {}); };
    }

    Program program;
    Transport transport;
    StartUp start_up;
    MainTimer timer;
    ConversionSeries series;
  };

  void MakeParts() { parts_ = std::make_unique<Parts>(*this); }

  /// What another thread posts is an action like any other.
  PostToWindow Poster() {
    return [this, post = thread_.Poster()](std::function<void()> action) {
      post([this, action = std::move(action)] { guard_.Run(action); });
    };
  }

  void Done(const std::string& what) {
    const Quiet quiet;
    outcome_.done.push_back(what);
  }
  bool Has(const std::string& what) const {
    return std::find(outcome_.done.begin(), outcome_.done.end(), what) != outcome_.done.end();
  }

  void Use() {
    Play();
    ChangeTheMix();
    KeepTheList();
    GoToTheNextSong();
    Convert(AudioFormat::kWav, "converts to WAV");
    Convert(AudioFormat::kMp3, "converts to MP3");
  }

  double Seconds() {
    const bass::Api& api = parts_->program.api;
    const bass::HSTREAM stream = parts_->program.state.audio.stream;
    const bass::QWORD bytes = api.BASS_ChannelGetPosition(stream, bass::BASS_POS_BYTE);
    return bytes == bass::kError64 ? 0 : api.BASS_ChannelBytes2Seconds(stream, bytes);
  }

  void Play() {
    if (WaitFor([&] { return parts_->program.state.playing && Seconds() > 0.05; })) Done("plays");
  }

  void ChangeTheMix() {
    Program& program = parts_->program;
    guard_.Run([&] {
      program.strips.PicSM_MouseDown(20, 1);
      program.strips.PicSM_Click(20, program.state.audio.stream);
    });
    guard_.Run([&] { program.knobs.Step(kGainKnob, -2, false); });
    guard_.Run([&] { program.knobs.Step(kSpeedKnob, 1, false); });
    guard_.Run([&] { program.controllers.ChooseInstrument(3, {0, 1}); });
    guard_.Run([&] { parts_->transport.Action_PunchIn(); });
    guard_.Run([&] { parts_->transport.Action_Repeat(); });
    guard_.Run([&] { SwitchAutoMute(program.ini, program.state.mix, false); });
  }

  void KeepTheList() {
    PlayListModel& list = parts_->program.state.playlist;
    guard_.Run([&] {
      list.AjouteFichierPlayList(place_.song(2));
      if (SauvePlayList(place_.list(), list, boxes_)) Done("keeps the list");
    });
    guard_.Run([&] {
      PlayListModel again;
      if (LoadPlayList(place_.list(), again, boxes_) && again.paths() == list.paths()) {
        Done("finds the list again");
      }
    });
  }

  /// At its end a song gives way to the next one by itself.
  void GoToTheNextSong() {
    const PlayListModel& list = parts_->program.state.playlist;
    if (list.count() < 2) return;
    // The song is not to be repeated any more.
    parts_->program.state.repeat_mode = kPlayListOnce;
    guard_.Run([&] { parts_->transport.SliderReleased(970, 1000); });
    if (WaitFor([&] { return list.current() == 2 && Seconds() > 0; })) Done("goes on");
  }

  void Convert(AudioFormat format, const char* what) {
    windows_.fill_in = [&, format](ConversionForm& form) {
      form.boxes.format = format;
      form.boxes.folder = place_.output();
      form.boxes.scheme = format == AudioFormat::kWav ? "wav" : "mp3";
      form.boxes.comment = std::string(1, '-');
      form.Confirm(false, boxes_);
    };
    guard_.Run([&] { parts_->series.Action_Record(); });
    if (WaitFor([&] { return !parts_->series.is_under_way(); })) Done(what);
  }

  /// Whether the program is at something that goes on by itself.
  bool IsUnderWay() const {
    return parts_->program.bank_loader.loading() || parts_->program.state.playing ||
           parts_->series.is_under_way();
  }

  bool WaitFor(const std::function<bool()>& is_true) {
    bool came = false;
    return Await(
        outcome_,
        [&] {
          guard_.Run([&] { thread_.RunUntil(is_true, std::chrono::milliseconds(20)); });
          guard_.Run([&] {
            parts_->program.end_of_song.Tell();
            parts_->timer.Tick();
          });
          guard_.Run([&] { came = is_true(); });
          return came;
        },
        [&] { return IsUnderWay(); });
  }

  const Place& place_;
  Outcome& outcome_;
  NotedBoxes boxes_;
  ActionGuard guard_;
  FakeFileDialogs files_;
  FakeWindowThread thread_;
  NoWindows windows_;
  std::unique_ptr<AudioLibrary> library_;
  std::unique_ptr<Parts> parts_;
};

}  // namespace

bool SurvivesLackOfMemory() { return true; }

std::size_t SampleSize() { return 25; }

Outcome RunProgram(const Place& place) {
  Outcome outcome;
  auto run = [&] {
    const Quiet quiet;
    return std::make_unique<Run>(place, outcome);
  }();
  run->FromStartToEnd();
  const Quiet quiet;
  run.reset();
  return outcome;
}

}  // namespace vexolo::faults
