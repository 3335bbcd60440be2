/// vexolo: the desktop program.

#include <QApplication>
#include <QCommandLineParser>
#include <QDesktopServices>
#include <QDir>
#include <QUrl>

#include "app/command_line_songs.h"
#include "app/main_window.h"
#include "app/program.h"
#include "audio/loader.h"
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

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  application.setApplicationName("Vexolo");
  application.setWindowIcon(ProgramIcon());
  UseDarkPalette(application);
  const std::string program_folder = ProgramFolder();
  const auto library = AudioLibrary::Load(program_folder);
  const auto registry = SystemRegistry();
  QtMessageBoxes boxes;
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
                   .open_document = OpenDocument});
  frmMidiTest window(program, ProgramWindows());
  const bool runs = window.Start();
  if (runs && !program.state.quitting) application.exec();
  window.ShutDown();
  return runs ? 0 : 1;
}
