/// The main window over a fake library, in a program folder of its own.
#pragma once

#include <QApplication>
#include <QTest>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "app/main_window.h"
#include "app/program.h"
#include "fakes/fake_bass.h"
#include "fakes/fake_file_dialogs.h"
#include "fakes/fake_library.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"

namespace vexolo {

/// A companion window that notes what it is told.
class FakeCompanion : public CompanionWindow {
 public:
  FakeCompanion(frmMidiTest& main, const char* section)
      : CompanionWindow(main.context(), &main, section) {
    resize(100, 50);
  }
  void LoadLanguage() override { ++captions_loaded; }
  int captions_loaded = 0;
};

struct MainWindowBench {
  MainWindowBench() {
    namespace fs = std::filesystem;
    const fs::path languages = fs::path(VEXOLO_SOURCES) / "src/resources/languages";
    for (const char* code : {"fr", "en", "es", "de"}) {
      const std::string name = std::string(code) + ".lng";
      fs::copy_file(languages / name, folder / name);
    }
    fs::copy_file(languages / "fr.lng", folder / "vexolo.dll");
    folder.Write("Orvanel.SF2", "bank");
    std::filesystem::create_directory(folder / "help");
    folder.Write("help/fr.html", "<p>Aide");
    folder.Write("Vexolo.ini", "[Vexolo]\r\nLng=fr\r\n");
    bass.song.values[{0, bass::MIDI_EVENT_TEMPO}] = 500000;
  }
  ~MainWindowBench() {
    Quit();
    std::filesystem::current_path(folder_at_start);
  }

  /// Starts the program and waits until the bank is there.
  bool Start(const std::string& command_line = {}) {
    Make(command_line);
    const bool runs = window->Start();
    if (runs) WaitForBank();
    return runs;
  }
  void Make(const std::string& command_line = {}) {
    Quit();
    program = std::make_unique<Program>(ProgramEnvironment{
        .library = real_library ? *real_library : library,
        .boxes = boxes,
        .files = files,
        .program_folder = folder.path(),
        .settings_file = folder / "Vexolo.ini",
        .command_line = command_line,
        .separator = ',',
        .device = real_library ? 0 : -1,  // the real one in silence
        .post = [this](std::function<void()> action) { Post(std::move(action)); },
        .registry = registry,
        .start_program = [this](const std::string& path) { return start_program(path); },
        .open_document =
            [this](const std::string& path) {
              opened.push_back(path);
              return can_open;
            }});
    window = std::make_unique<frmMidiTest>(*program, others);
  }
  /// To the window thread, or put aside until Release. Any thread.
  void Post(std::function<void()> action) {
    const std::lock_guard lock(held_mutex);
    if (holds_posts) {
      held.push_back(std::move(action));
    } else {
      QMetaObject::invokeMethod(qApp, std::move(action), Qt::QueuedConnection);
    }
  }
  /// Lets what was put aside go on its way.
  void Release() {
    const std::lock_guard lock(held_mutex);
    holds_posts = false;
    for (auto& action : held) {
      QMetaObject::invokeMethod(qApp, std::move(action), Qt::QueuedConnection);
    }
    held.clear();
  }
  void WaitForBank() {
    EXPECT_TRUE(QTest::qWaitFor([&] { return !program->bank_loader.loading(); }));
  }
  /// As by the window's close box.
  void Quit() {
    if (window) window->close();
    window.reset();
    program.reset();
  }

  /// Plugs a fake companion in.
  void AddCompanion(Companion companion) {
    others.companions[static_cast<std::size_t>(companion)] = [this, companion](frmMidiTest& main) {
      PluggedCompanion plugged;
      plugged.window = std::make_unique<FakeCompanion>(main, InfoOf(companion).place_section);
      return plugged;
    };
  }

  /// A song of that name, which exists; its path.
  std::string Song(const std::string& name) { return folder.Write(name, "song"); }
  void AddSongs(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
      program->state.playlist.AjouteFichierPlayList(Song(name));
    }
  }

  SpriteButton& Button(int index) { return window->panel().sm(index); }
  KnobWidget& Knob(int index) { return window->panel().potard(index); }
  void Click(int index, Qt::MouseButton with = Qt::LeftButton) {
    QTest::mouseClick(&Button(index), with);
  }
  /// A press in the middle, a way in pixels to the right and up, and the release.
  void Drag(int knob, int right, int up) {
    const QPoint from = Knob(knob).rect().center();
    QTest::mousePress(&Knob(knob), Qt::LeftButton, {}, from);
    QTest::mouseMove(&Knob(knob), from + QPoint(right, -up));
    QTest::mouseRelease(&Knob(knob), Qt::LeftButton, {}, from + QPoint(right, -up));
  }
  modMidiTest& state() { return program->state; }
  bass::HSTREAM Stream() { return program->state.audio.stream; }
  /// Path of the song that is open; empty without one.
  std::string Playing() { return Stream() == 0 ? std::string() : bass.stream(Stream()).path; }
  std::string Setting(const std::string& section, const std::string& key) {
    return program->ini.ReadIni(section, key);
  }

  const std::filesystem::path folder_at_start = std::filesystem::current_path();
  FakeBass bass;
  TemporaryFolder folder;
  FakeMessageBoxes boxes;
  FakeFileDialogs files;
  OtherWindows others;
  FakeLibrary library{bass};
  std::unique_ptr<AudioLibrary> real_library;  ///< used instead, where there is one
  Registry* registry = nullptr;
  std::function<bool(const std::string&)> start_program = [](const std::string&) { return false; };
  bool can_open = true;
  std::mutex held_mutex;
  bool holds_posts = false;
  std::vector<std::function<void()>> held;
  std::vector<std::string> opened;  ///< documents
  std::unique_ptr<Program> program;
  std::unique_ptr<frmMidiTest> window;
};

}  // namespace vexolo
