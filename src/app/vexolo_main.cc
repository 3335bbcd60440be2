/// vexolo: the desktop program.

#include <QCommandLineParser>
#include <QDesktopServices>
#include <QDir>
#include <QUrl>
#include <cstdio>
#include <exception>

#include "app/action_guard.h"
#include "app/command_line_songs.h"
#include "app/guarded_application.h"
#include "app/main_window.h"
#include "app/program.h"
#include "audio/loader.h"
#include "platform/heap.h"
#include "platform/interrupt.h"
#include "platform/locale_format.h"
#include "platform/program_folder.h"
#include "platform/registry.h"
#include "platform/settings_folder.h"
#include "widgets/file_boxes.h"
#include "widgets/message_boxes.h"
#include "widgets/palette.h"
#include "widgets/program_icon.h"

namespace {

using namespace vexolo;

void Post(std::function<void()> action) {
  QMetaObject::invokeMethod(qApp, std::move(action), Qt::QueuedConnection);
}

bool OpenDocument(const std::string& path) {
  return QDesktopServices::openUrl(QUrl::fromLocalFile(Q(path)));
}

std::string SongsFromArguments(const QApplication& application) {
  std::vector<std::string> arguments;
  for (const QString& argument : application.arguments().mid(1)) {
    arguments.push_back(argument.toStdString());
  }
  return CommandLineOf(arguments, QDir::currentPath().toStdString());
}

int RunProgram(QApplication& application, MessageBoxes& boxes, ActionGuard& guard) {
  const std::string program_folder = ProgramFolder();
  const auto library = AudioLibrary::Load(program_folder);
  const auto registry = SystemRegistry();
  QtFileDialogs files;
  Program program({.library = *library,
                   .boxes = boxes,
                   .files = files,
                   .program_folder = program_folder,
                   .settings_file = ChooseSettingsFile(program_folder, UserConfigHome()),
                   .command_line = SongsFromArguments(application),
                   .separator = DecimalSeparator(),
                   .post = Post,
                   .registry = registry.get(),
                   .open_document = OpenDocument,
                   .guard = &guard});
  frmMidiTest window(program, ProgramWindows());
  const bool runs = window.Start();
  if (runs && !program.state.quitting) application.exec();
  window.ShutDown();
  return runs ? 0 : 1;
}

int RunApplication(int argc, char** argv) {
  QtMessageBoxes boxes;
  ActionGuard guard(boxes);
  GuardedApplication application(argc, argv, guard);
  application.setApplicationName("Vexolo");
  application.setWindowIcon(ProgramIcon());
  UseDarkPalette(application);
  int status = 1;
  guard.Run([&] { status = RunProgram(application, boxes, guard); });
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  SurviveFileSizeLimit();
  ReturnFreedMemory();
  try {
    return RunApplication(argc, argv);
  } catch (const std::exception& reason) {
    // Before there is a window, or after it.
    std::fprintf(stderr, "vexolo: %s\n", reason.what());
    return 1;
  }
}
