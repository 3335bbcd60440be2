/// player_stress BANK SECONDS SONG...: the player without its windows, on the real engine in
/// silence, used by a hand that never rests: play, stop, seek, next, previous, knobs, solo and
/// mute, repeat, another bank. Made to be built with a sanitizer, which does the judging.
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

#include "app/main_timer.h"
#include "app/program.h"
#include "app/transport.h"
#include "audio/loader.h"

namespace {

using namespace vexolo;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

class NoBoxes : public MessageBoxes {
 public:
  void Show(const std::string& text, const std::string&, BoxIcon) override {
    std::cerr << text << std::endl;
  }
  bool AskYesNo(const std::string&, const std::string&) override { return false; }
};

class NoFiles : public FileDialogs {
 public:
  std::vector<std::string> OpenFiles(const FileQuestion&) override { return {}; }
  std::string OpenFile(const FileQuestion&) override { return {}; }
  std::string SaveFile(const FileQuestion&) override { return {}; }
  std::string ChooseFolder(const std::string&, const std::string&) override { return {}; }
};

class NoView : public TransportView, public MainTimerView {
 public:
  void ShowTitle(const std::string&) override {}
  void DrawPlay(bool) override {}
  void DrawRepeat(int) override {}
  void AfficherMarqueurs() override {}
  void DrawMix() override {}
  void ShowTime() override {}
  void EnableTimer(bool) override {}
  std::optional<std::string> AskTime(const std::string&) override { return "0:02.000"; }
  void DispMiscButtons() override {}
  void DispLeds() override {}
  void DrawVuMeters(const VuMeter&) override {}
  void DrawMeters(const std::array<int, kChannels>&) override {}
  void RefreshChannels() override {}
  void MoveSlider(double) override {}
  double slider_maximum() const override { return 1000; }
  void ShowBankInfo(const std::string&) override {}
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

class Hand {
 public:
  Hand(Program& program, Transport& transport, std::string bank)
      : program_(program), transport_(transport), bank_(std::move(bank)) {}

  void Act() {
    ++actions_;
    switch (Draw(16)) {
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
      default:
        return TurnKnob();
    }
  }
  int actions() const { return actions_; }

 private:
  int Draw(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
  void TurnKnob() {
    const double old_factor = program_.state.audio.speed_factor;
    const int knob = Draw(kKnobs);
    program_.knobs.Potard_MouseDown(knob, Draw(5) == 0 ? kRightButton : kLeftButton, 0, 0);
    for (int i = 0; i < 5; ++i) program_.knobs.Potard_MouseMove(Draw(81) - 40, Draw(81) - 40);
    program_.knobs.Potard_MouseUp();
    transport_.SpeedChanged(old_factor);
  }
  void ClickStrip() {
    const int button = Draw(32);
    program_.strips.PicSM_MouseDown(button, Draw(4) == 0 ? kRightButton : kLeftButton);
    program_.strips.PicSM_Click(button, program_.state.audio.stream);
  }
  void ChangeBank() { program_.bank_loader.Load(bank_, KeepBank::kForThisRun); }

  Program& program_;
  Transport& transport_;
  std::string bank_;
  std::mt19937 random_{1};
  int actions_ = 0;
};

void Use(Program& program, Messages& messages, const std::string& bank, double seconds) {
  NoView view;
  Transport transport({program.api, program.state, program.song_start, program.settings,
                       program.ini, program.env.boxes, view, nullptr, program.env.separator});
  program.end_of_song.set_listener([&](bass::HSTREAM stream) { transport.EndOfSong(stream); });
  MainTimer timer(program.api, program.state, view, program.env.separator);
  Hand hand(program, transport, bank);
  const auto end = Clock::now() + std::chrono::duration<double>(seconds);
  for (int step = 0; Clock::now() < end; ++step) {
    messages.Run();
    if (step % 3 == 0) hand.Act();
    if (step % 5 == 0) timer.Tick();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  program.end_of_song.set_listener({});
  std::printf("%d actions, %llu late blocks\n", hand.actions(),
              static_cast<unsigned long long>(program.env.library.LateBlocks()));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fputs("Usage: player_stress BANK SECONDS SONG...\n", stderr);
    return 2;
  }
  const Folder folder;
  const auto library = AudioLibrary::OpenEngine();
  NoBoxes boxes;
  NoFiles files;
  Messages messages;
  Program program(
      {.library = *library,
       .boxes = boxes,
       .files = files,
       .program_folder = folder / "",
       .settings_file = folder / "Vexolo.ini",
       .post = [&](std::function<void()> message) { messages.Post(std::move(message)); }});
  if (!program.binding.Initialise(nullptr, 0)) return 1;
  if (!program.binding.ReplaceFont(argv[1], KeepBank::kForThisRun)) {
    std::fputs("player_stress: the bank cannot be opened\n", stderr);
    return 1;
  }
  for (int i = 3; i < argc; ++i) {
    program.state.playlist.AjouteFichierPlayList(folder.Copy(argv[i]));
  }
  Use(program, messages, argv[1], std::atof(argv[2]));
  program.bank_loader.GiveUp();
  program.binding.Shutdown();
  return 0;
}
