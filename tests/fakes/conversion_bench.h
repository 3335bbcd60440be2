/// The program's real windows over the open engine, in a program folder of its own, without sound.
#pragma once

#include <QApplication>
#include <QDialog>
#include <QPushButton>
#include <QTest>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/main_window.h"
#include "app/program.h"
#include "audio/loader.h"
#include "fakes/fake_file_dialogs.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"

namespace vexolo {

struct ConversionBench {
  /// `bank` and `oggenc`: paths; they are linked into the program folder.
  ConversionBench(const std::string& bank, const std::string& oggenc) {
    namespace fs = std::filesystem;
    for (const char* code : {"fr", "en", "es", "de"}) {
      const std::string name = std::string(code) + ".lng";
      fs::copy_file(fs::path(VEXOLO_SOURCES) / "src/resources/languages" / name, folder / name);
    }
    fs::copy_file(folder / "fr.lng", folder / "vexolo.dll");
    fs::create_symlink(bank, folder / "Orvanel.SF2");
    fs::create_symlink(oggenc, folder / "oggenc");
    folder.Write("Vexolo.ini", "[Vexolo]\r\nLng=fr\r\n");
  }
  ~ConversionBench() {
    Quit();
    std::filesystem::current_path(folder_at_start);
  }

  bool Start() {
    program = std::make_unique<Program>(ProgramEnvironment{
        .library = *library,
        .boxes = message_boxes != nullptr ? *message_boxes : boxes,
        .files = files,
        .program_folder = folder.path(),
        .settings_file = folder / "Vexolo.ini",
        .separator = ',',
        .device = 0,
        .post = [](std::function<void()> action) {
          QMetaObject::invokeMethod(qApp, std::move(action), Qt::QueuedConnection);
        }});
    window = std::make_unique<frmMidiTest>(*program, ProgramWindows());
    return window->Start() &&
           QTest::qWaitFor([this] { return !program->bank_loader.loading(); }, 30000);
  }
  /// As by the window's close box.
  void Quit() {
    if (window) window->close();
    window.reset();
    program.reset();
  }

  /// Copies a song into a folder of songs and adds it to the list; its path.
  std::string AddSong(const std::string& song, const std::string& name) {
    std::string path = folder / name;
    std::filesystem::copy_file(song, path);
    program->state.playlist.AjouteFichierPlayList(path);
    return path;
  }

  void ClickRecord() { QTest::mouseClick(&window->panel().sm(36), Qt::LeftButton); }

  /// The dialog runs a loop of its own: `use` is called in it.
  void RecordAnd(const std::function<void(QDialog& dialog)>& use) {
    QTimer::singleShot(0, window.get(), [this, use] { UseTags(use, 400); });
    ClickRecord();
  }
  static void Click(const QDialog& dialog, const char* name) {
    QTest::mouseClick(dialog.findChild<QPushButton*>(name), Qt::LeftButton);
  }

  const std::filesystem::path folder_at_start = std::filesystem::current_path();
  TemporaryFolder folder;
  FakeMessageBoxes boxes;
  FakeFileDialogs files;
  MessageBoxes* message_boxes = nullptr;  ///< others than `boxes`
  std::unique_ptr<AudioLibrary> library = AudioLibrary::OpenEngine();
  std::unique_ptr<Program> program;
  std::unique_ptr<frmMidiTest> window;

 private:
  void UseTags(const std::function<void(QDialog&)>& use, int tries) {
    auto* dialog = window->findChild<QDialog*>("Tags");
    if (dialog != nullptr && dialog->isVisible()) {
      use(*dialog);
    } else if (tries > 0) {
      QTimer::singleShot(25, window.get(), [this, use, tries] { UseTags(use, tries - 1); });
    }
  }
};

}  // namespace vexolo
