/// vexolo-convert: songs to finished files, from the command line.

#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "app/convert_command.h"
#include "audio/loader.h"
#include "platform/interrupt.h"
#include "platform/locale_format.h"
#include "platform/program_folder.h"
#include "platform/settings_folder.h"
#include "platform/terminal.h"

namespace {

int Run(int argc, char** argv) {
  using namespace vexolo;
  SurviveFileSizeLimit();
  const InterruptWatch interrupt;
  const std::string program_folder = ProgramFolder();
  std::string problem;
  const auto library = AudioLibrary::Load(program_folder, &problem);
  if (!problem.empty()) std::cerr << "vexolo-convert: " << problem << std::endl;
  const ConvertEnvironment environment = {
      library->api(),
      {std::cout, std::cerr, IsTerminal(stdout), IsTerminal(stderr)},
      program_folder,
      ChooseSettingsFile(program_folder, UserConfigHome()),
      DecimalSeparator(),
      [&] { return interrupt.IsRequested(); },
      {}};
  return RunConvertCommand(std::vector<std::string>(argv + 1, argv + argc), environment);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const std::exception& reason) {
    std::fprintf(stderr, "vexolo-convert: %s\n", reason.what());
    return vexolo::kExitFailed;
  }
}
