/// vexolo-convert without its process: songs to finished files, from a command line.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "app/convert_report.h"
#include "audio/bass.h"

namespace vexolo {

/// What the command needs of the world around it.
struct ConvertEnvironment {
  const bass::Api& api;
  ConvertStreams streams;
  std::string program_folder;
  std::string settings_file;
  char decimal_separator = '.';
  /// Whether Ctrl-C was pressed. Asked from several threads; may be empty.
  std::function<bool()> is_interrupted;
  ConvertReport::Clock clock;  ///< empty: the system's
};

/// Runs the command; `arguments` follow the program's name. Returns the exit status: 0 all songs
/// are converted, 1 some are not, 2 wrong usage, 130 interrupted. The library is opened without
/// sound output and closed again.
int RunConvertCommand(const std::vector<std::string>& arguments,
                      const ConvertEnvironment& environment);

}  // namespace vexolo
