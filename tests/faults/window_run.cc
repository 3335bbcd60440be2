#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <functional>
#include <memory>
#include <utility>

#include "app/action_guard.h"
#include "app/guarded_application.h"
#include "app/main_window.h"
#include "app/program.h"
#include "audio/loader.h"
#include "fakes/fake_file_dialogs.h"
#include "faults/fault_points.h"
#include "faults/whole_run.h"
#include "playlist/list_file.h"
#include "widgets/palette.h"

namespace vexolo::faults {
namespace {

constexpr int kMuteOfChannel4 = 20;
constexpr int kRecord = 36;
constexpr int kPunchIn = 39;
constexpr int kRepeat = 42;
constexpr int kInterval = 20;  ///< milliseconds between two looks at what waits for an answer

/// Sees the window of a conversion come and go: it may be there for an instant only.
class EndOfRun : public QObject {
 public:
  bool eventFilter(QObject*, QEvent* event) override {
    hidden = hidden || event->type() == QEvent::Hide;
    return false;
  }
  bool hidden = false;
};

/// One run of the program with its windows on a screen that nobody sees.
class WindowRun {
 public:
  WindowRun(const Place& place, Outcome& outcome)
      : place_(place), outcome_(outcome), boxes_(outcome), guard_(boxes_) {}

  /// Like main(): what the program is made of may be what memory is missing for.
  void FromStartToEnd() {
    MakeApplication();
    guard_.Run([&] {
      library_ = AudioLibrary::OpenEngine();
      MakeParts();
    });
    if (window_ == nullptr) return;
    bool starts = false;
    guard_.Run([&] { starts = window_->Start(); });
    if (starts) {
      Done("started");
      window_->findChild<QDialog*>("RunDialog")->installEventFilter(&run_);
      Use();
    }
    guard_.Run([&] { window_->ShutDown(); });
    const Quiet quiet;
    window_.reset();
    program_.reset();
  }

 private:
  /// What the toolkit needs for itself is no business of the program's.
  void MakeApplication() {
    const Quiet quiet;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    application_ = std::make_unique<GuardedApplication>(argument_count_, arguments_.data(), guard_);
    application_->setQuitOnLastWindowClosed(false);
    UseDarkPalette(*application_);
    // A dialog that waits runs a loop of its own: this reaches it.
    QObject::connect(&answers_, &QTimer::timeout, &answers_, [this] {
      QMetaObject::invokeMethod(
          &answers_, [this] { Answer(); }, Qt::QueuedConnection);
    });
    answers_.start(kInterval);
  }

  void MakeParts() {
    program_ = std::make_unique<Program>(ProgramEnvironment{
        .library = *library_,
        .boxes = boxes_,
        .files = files_,
        .program_folder = place_.program(),
        .settings_file = place_.settings(),
        .command_line = place_.command_line(),
        .separator = '.',
        .post =
            [](std::function<void()> action) {
              QMetaObject::invokeMethod(qApp, std::move(action), Qt::QueuedConnection);
            },
        .guard = &guard_});
    window_ = std::make_unique<frmMidiTest>(*program_, ProgramWindows());
  }

  void Done(const std::string& what) {
    const Quiet quiet;
    outcome_.done.push_back(what);
  }
  void Tell(const std::string& what) {
    const Quiet quiet;
    outcome_.boxes.push_back(what);
  }

  /// Whoever waits for an answer gets one.
  void Answer() {
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (dialog == nullptr) return;
    if (dialog->objectName() == "Tags") {
      FillIn(*dialog);
    } else if (auto* time = dialog->findChild<QLineEdit*>(); time != nullptr) {
      time->setText("0:00.010");
      QTest::keyClick(time, Qt::Key_Return);
    } else {
      Tell("a dialog: " + dialog->windowTitle().toStdString());
      dialog->close();
    }
  }
  void FillIn(QDialog& dialog) {
    const bool is_wav = format_ == AudioFormat::kWav;
    dialog.findChild<QRadioButton*>(is_wav ? "OptionWav" : "OptionMP3")->click();
    Type(dialog, "RecFolder", place_.output());
    Type(dialog, "Scheme", is_wav ? "wav" : "mp3");
    Type(dialog, "TextCommentaire", "-");
    QTest::mouseClick(dialog.findChild<QPushButton*>("Validation"), Qt::LeftButton);
    if (dialog.isVisible()) dialog.close();  // what it does not take it has said
  }
  static void Type(QDialog& dialog, const char* name, const std::string& text) {
    auto* box = dialog.findChild<QLineEdit*>(name);
    box->setText(QString::fromStdString(text));
    emit box->textEdited(box->text());
    emit box->editingFinished();
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
    const bass::HSTREAM stream = program_->state.audio.stream;
    const bass::QWORD bytes = program_->api.BASS_ChannelGetPosition(stream, bass::BASS_POS_BYTE);
    return bytes == bass::kError64 ? 0 : program_->api.BASS_ChannelBytes2Seconds(stream, bytes);
  }

  void Play() {
    if (WaitFor([&] { return program_->state.playing && Seconds() > 0.05; })) Done("plays");
  }

  void Click(int button) {
    QTest::mouseClick(&window_->panel().sm(button), Qt::LeftButton);
    QTest::qWait(1);
  }
  void ChangeTheMix() {
    MainPanelWidget& panel = window_->panel();
    Click(kMuteOfChannel4);
    QTest::keyClick(&panel.potard(kGainKnob), Qt::Key_Down);
    QTest::keyClick(&panel.potard(kSpeedKnob), Qt::Key_Up);
    guard_.Run([&] { program_->controllers.ChooseInstrument(3, {0, 1}); });
    Click(kPunchIn);
    Click(kRepeat);
  }

  void KeepTheList() {
    PlayListModel& list = program_->state.playlist;
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
    const PlayListModel& list = program_->state.playlist;
    if (list.count() < 2) return;
    program_->state.repeat_mode = kPlayListOnce;
    PositionSlider& slider = window_->panel().slider();
    const QPoint at(slider.width() * 97 / 100, slider.height() / 2);
    QTest::mouseClick(&slider, Qt::LeftButton, {}, at);
    if (WaitFor([&] { return list.current() == 2 && Seconds() > 0; })) Done("goes on");
  }

  void Convert(AudioFormat format, const char* what) {
    format_ = format;
    run_.hidden = false;
    const std::size_t told = outcome_.boxes.size();
    Click(kRecord);
    // The user waits for the end as long as nothing is said.
    waits_for_run_ = [this, told] { return outcome_.boxes.size() == told; };
    if (WaitFor([&] { return run_.hidden; })) Done(what);
    waits_for_run_ = [] { return false; };
  }

  bool WaitFor(const std::function<bool()>& is_true) {
    bool came = false;
    return Await(
        outcome_,
        [&] {
          QTest::qWait(kInterval);
          guard_.Run([&] { came = is_true(); });
          return came;
        },
        [&] {
          return program_->bank_loader.loading() || program_->state.playing ||
                 program_->state.converting || waits_for_run_();
        });
  }

  const Place& place_;
  Outcome& outcome_;
  NotedBoxes boxes_;
  ActionGuard guard_;
  FakeFileDialogs files_;
  std::array<char, 7> name_ = {'v', 'e', 'x', 'o', 'l', 'o', '\0'};
  std::array<char*, 2> arguments_ = {name_.data(), nullptr};
  int argument_count_ = 1;
  std::unique_ptr<GuardedApplication> application_;
  QTimer answers_;
  AudioFormat format_ = AudioFormat::kWav;  ///< to be chosen
  EndOfRun run_;
  std::function<bool()> waits_for_run_ = [] { return false; };
  std::unique_ptr<AudioLibrary> library_;
  std::unique_ptr<Program> program_;
  std::unique_ptr<frmMidiTest> window_;
};

}  // namespace

bool SurvivesLackOfMemory() { return false; }

std::size_t SampleSize() { return 6; }

Outcome RunProgram(const Place& place) {
  Outcome outcome;
  auto run = [&] {
    const Quiet quiet;
    return std::make_unique<WindowRun>(place, outcome);
  }();
  run->FromStartToEnd();
  const Quiet quiet;
  run.reset();
  return outcome;
}

}  // namespace vexolo::faults
