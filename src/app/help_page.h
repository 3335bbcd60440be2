/// Where the help stands.
#pragma once

#include <string>

namespace vexolo {

/// The page of the language in use, in the program folder's "help"; where there is none in that
/// language, the English one. `language_file`: full path; the default language file is French.
/// Empty where there is no help at all. Looks at the disk; any thread.
std::string HelpPage(const std::string& program_folder, const std::string& language_file);

}  // namespace vexolo
