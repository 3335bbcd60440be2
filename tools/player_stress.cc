/// player_stress BANK SECONDS SEED SONG...: the player without its windows, on the real engine in
/// silence, used by a hand that never rests: play, stop, seek, next, previous, knobs, controllers,
/// effects, solo and mute, markers, repeat, another bank, conversions. Its choices come from the
/// seed. Once a minute it lets everything go and looks at the memory; exit status 1 where that
/// has grown. Made to be built with a sanitizer, which judges the rest.
///
/// As player_soak it is linked with an output that plays as fast as the machine renders.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <functional>
#include <iostream>
#include <mutex>
#include <random>
#include <string>
#include <thread>

#include <unistd.h>

#include "app/conversion_series.h"
#include "app/main_timer.h"
#include "app/program.h"
#include "app/transport.h"
#include "audio/loader.h"
#include "tools/soak/restless_hand.h"

namespace {

using namespace vexolo;
namespace fs = std::filesystem;

constexpr double kWarmUp = 300;  ///< seconds; banks, voices and streams that are kept ready

/// Overwrites every second file that is there.
class Boxes : public MessageBoxes {
 public:
  void Show(const std::string& text, const std::string&, BoxIcon) override {
    std::cerr << text << std::endl;
  }
  bool AskYesNo(const std::string&, const std::string&) override { return yes_ = !yes_; }

 private:
  bool yes_ = false;
};

class NoFiles : public FileDialogs {
 public:
  std::vector<std::string> OpenFiles(const FileQuestion&) override { return {}; }
  std::string OpenFile(const FileQuestion&) override { return {}; }
  std::string SaveFile(const FileQuestion&) override { return {}; }
  std::string ChooseFolder(const std::string&, const std::string&) override { return {}; }
};

class View : public TransportView, public MainTimerView, public ConversionView {
 public:
  explicit View(std::mt19937& random) : random_(random) {}

  void ShowTitle(const std::string&) override {}
  void DrawPlay(bool) override {}
  void DrawRepeat(int) override {}
  void AfficherMarqueurs() override {}
  void DrawMix() override {}
  void ShowTime() override {}
  void EnableTimer(bool) override {}
  /// Both markers within the first seconds of the song.
  std::optional<std::string> AskTime(const std::string&) override {
    if (random_() % 4 == 0) return std::nullopt;
    return "0:" + std::to_string(random_() % 30) + ".250";
  }
  void DispMiscButtons() override {}
  void DispLeds() override {}
  void DrawVuMeters(const VuMeter&) override {}
  void DrawMeters(const std::array<int, kChannels>&) override {}
  void RefreshChannels() override {}
  void MoveSlider(double) override {}
  double slider_maximum() const override { return 1000; }
  void ShowBankInfo(const std::string&) override {}

  void ShowTags(ConversionForm& form, bool) override {
    const auto choice = random_() % 8;
    if (choice == 0) return;
    form.boxes.format =
        std::array{AudioFormat::kWav, AudioFormat::kMp3, AudioFormat::kOgg}[random_() % 3];
    form.boxes.make_lyrics_file = choice != 1;
    Boxes boxes;
    form.Confirm(choice == 2, boxes);
  }
  void ShowRun() override {}
  void EndRun() override {}
  void EnableTimerEncodage(bool enabled) override { timer_runs_ = enabled; }
  void TellConverted() override {}
  void ShowSummary(const std::string&, const std::string&) override {}

  bool timer_runs() const { return timer_runs_; }

 private:
  std::mt19937& random_;
  bool timer_runs_ = false;
};

/// The window thread's messages.
class Messages {
 public:
  void Post(std::function<void()> message) {
    const std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(message));
  }
  void Run() {
    for (;;) {
      std::function<void()> message;
      {
        const std::lock_guard lock(mutex_);
        if (waiting_.empty()) return;
        message = std::move(waiting_.front());
        waiting_.pop_front();
      }
      message();
    }
  }

 private:
  std::mutex mutex_;
  std::deque<std::function<void()>> waiting_;
};

/// Songs copied to a folder of their own: their settings are written beside them.
class Folder {
 public:
  Folder() { fs::create_directories(path_); }
  ~Folder() { fs::remove_all(path_); }
  std::string Copy(const fs::path& song) const {
    const fs::path copy = path_ / song.filename();
    fs::copy_file(song, copy, fs::copy_options::overwrite_existing);
    return copy.string();
  }
  std::string operator/(const char* name) const { return (path_ / name).string(); }

 private:
  const fs::path path_ = fs::temp_directory_path() / ("vexolo-stress-" + std::to_string(getpid()));
};

/// The player in use.
class Hand {
 public:
  Hand(Program& program, Messages& messages, std::string bank, unsigned seed)
      : program_(program), messages_(messages), bank_(std::move(bank)), random_(seed) {
    program_.end_of_song.set_listener(
        [this](bass::HSTREAM stream) { transport_.EndOfSong(stream); });
  }
  ~Hand() {
    series_.ShutDown();
    program_.end_of_song.set_listener({});
  }
  Hand(const Hand&) = delete;
  Hand& operator=(const Hand&) = delete;

  void Step() {
    RunMessages();
    Act();
    if (Draw(4) == 0) timer_.Tick();
    constexpr std::array kPauses = {0, 0, 1, 2, 5, 20, 60, 200};  // milliseconds
    std::this_thread::sleep_for(
        std::chrono::milliseconds(kPauses[static_cast<std::size_t>(Draw(kPauses.size()))]));
  }

  /// Nothing is open and nothing under way.
  void Rest() {
    for (;;) {
      RunMessages();
      if (series_.is_under_way()) {
        series_.Cancel();
      } else if (!program_.bank_loader.loading()) {
        break;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    transport_.Action_Stop();
    std::this_thread::sleep_for(std::chrono::seconds(3));  // the engine frees beside its callers
    RunMessages();
  }

  void Report() const {
    std::printf("%d actions, %d conversions, %llu late blocks\n", actions_, conversions_,
                static_cast<unsigned long long>(program_.env.library.LateBlocks()));
  }

 private:
  void RunMessages() {
    messages_.Run();
    if (view_.timer_runs()) series_.TimerEncodage_Timer();
  }

  void Act() {
    ++actions_;
    switch (Draw(24)) {
      case 0:
      case 1:
        return transport_.Action_Play();
      case 2:
        return transport_.Action_Stop();
      case 3:
        return transport_.Action_Next();
      case 4:
        return transport_.Action_Prev();
      case 5:
      case 6:
        transport_.SliderPressed();
        return transport_.SliderReleased(Draw(1001), 1000);
      case 7:
        return transport_.SeekBy(Draw(21) - 10);
      case 8:
      case 9:
        return ClickStrip();
      case 10:
        return transport_.Action_Repeat();
      case 11:
        return Draw(20) == 0 ? ChangeBank() : transport_.Action_Punch();
      case 12:
        return Draw(2) == 0 ? transport_.Action_PunchIn() : transport_.Action_PunchOut();
      case 13:
      case 14:
        return TurnController();
      case 15:
        return TurnEffect();
      case 16:
        return Convert();
      default:
        return TurnKnob();
    }
  }

  int Draw(std::size_t count) { return static_cast<int>(random_() % count); }
  int DrawButton() { return Draw(5) == 0 ? kRightButton : kLeftButton; }
  void TurnKnob() {
    const double old_factor = program_.state.audio.speed_factor;
    program_.knobs.Potard_MouseDown(Draw(kKnobs), DrawButton(), 0, 0);
    for (int i = 0; i < 5; ++i) program_.knobs.Potard_MouseMove(Draw(81) - 40, Draw(81) - 40);
    program_.knobs.Potard_MouseUp();
    transport_.SpeedChanged(old_factor);
  }
  void TurnController() {
    program_.controllers.ControllerDown(Draw(kFirstSongEntry), DrawButton(), 0, 0, false,
                                        Draw(2) == 0);
    for (int i = 0; i < 5; ++i) {
      program_.controllers.ControllerMove(Draw(81) - 40, Draw(81) - 40);
    }
    program_.controllers.ControllerUp();
  }
  void TurnEffect() {
    ReverbChorus& effects = program_.reverb_chorus;
    const int kind = 1 + Draw(kSongKinds);
    if (Draw(6) == 0) return effects.Reset(kind);
    if (Draw(6) == 0) return effects.SetBypass(Draw(2) == 0, Draw(2) == 0);
    effects.ControllerDown(kind, 0, 0, Draw(2) == 0, false);
    for (int i = 0; i < 5; ++i) effects.ControllerMove(Draw(81) - 40, Draw(81) - 40);
    effects.ControllerUp();
  }
  void ClickStrip() {
    const int button = Draw(32);
    program_.strips.PicSM_MouseDown(button, Draw(4) == 0 ? kRightButton : kLeftButton);
    program_.strips.PicSM_Click(button, program_.state.audio.stream);
  }
  void ChangeBank() { program_.bank_loader.Load(bank_, KeepBank::kForThisRun); }
  /// A conversion that is under way is cancelled sometimes.
  void Convert() {
    if (series_.is_under_way()) {
      if (Draw(8) == 0) series_.Cancel();
      return;
    }
    if (program_.bank_loader.loading()) return;
    ++conversions_;
    series_.Action_Record();
  }

  Program& program_;
  Messages& messages_;
  const std::string bank_;
  std::mt19937 random_;
  View view_{random_};
  Transport transport_{{program_.api, program_.state, program_.song_start, program_.settings,
                        program_.ini, program_.env.boxes, view_, nullptr, program_.env.separator}};
  MainTimer timer_{program_.api, program_.state, view_, program_.env.separator};
  ConversionSeries series_{{.api = program_.api,
                            .state = program_.state,
                            .song_start = program_.song_start,
                            .settings = program_.settings,
                            .ini = program_.ini,
                            .boxes = program_.env.boxes,
                            .transport = transport_,
                            .transport_view = view_,
                            .view = view_,
                            .post = program_.env.post,
                            .program_folder = program_.env.program_folder,
                            .separator = program_.env.separator,
                            .end_encoders = [this] { program_.env.library.EndEncoders(); }}};
  int actions_ = 0;
  int conversions_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  // A sanitizer may end the program at its exit.
  if (std::setvbuf(stdout, nullptr, _IOLBF, 0) != 0) return 2;
  char* end = nullptr;
  const double seconds = argc < 5 ? 0 : std::strtod(argv[2], &end);
  char* end_of_seed = nullptr;
  const auto seed = argc < 5 ? 0 : std::strtoul(argv[3], &end_of_seed, 10);
  if (argc < 5 || *end != '\0' || seconds <= 0 || *end_of_seed != '\0') {
    std::fputs("Usage: player_stress BANK SECONDS SEED SONG...\n", stderr);
    return 2;
  }
  const Folder folder;
  const auto library = AudioLibrary::OpenEngine();
  Boxes boxes;
  NoFiles files;
  Messages messages;
  fs::create_symlink(VEXOLO_PROGRAM_FOLDER "/oggenc", folder / "oggenc");
  Program program(
      {.library = *library,
       .boxes = boxes,
       .files = files,
       .program_folder = folder / "",
       .settings_file = folder / "Vexolo.ini",
       .post = [&](std::function<void()> message) { messages.Post(std::move(message)); }});
  program.ini.WriteIni("Wave", "SaveFolder", folder / "out/");
  if (!program.binding.Initialise(nullptr, 0)) return 1;
  if (!program.binding.ReplaceFont(argv[1], KeepBank::kForThisRun)) {
    std::fputs("player_stress: the bank cannot be opened\n", stderr);
    return 1;
  }
  for (int i = 4; i < argc; ++i) {
    program.state.playlist.AjouteFichierPlayList(folder.Copy(argv[i]));
  }
  bool is_flat = false;
  {
    Hand hand(program, messages, argv[1], static_cast<unsigned>(seed));
    is_flat = UseAndWatch(hand, seconds, kWarmUp);
  }
  program.bank_loader.GiveUp();
  program.binding.Shutdown();
  return is_flat ? 0 : 1;
}
