#include "app/help_page.h"

#include "platform/file_io.h"
#include "platform/paths.h"
#include "settings/language.h"

namespace vexolo {
namespace {

std::string LanguageCode(const std::string& language_file) {
  const std::string stem = StemOf(language_file);
  return stem == StemOf(kDefaultLanguageFile) ? "fr" : stem;
}

}  // namespace

std::string HelpPage(const std::string& program_folder, const std::string& language_file) {
  const std::string folder = Join(program_folder, "help");
  for (const std::string& code : {LanguageCode(language_file), std::string("en")}) {
    std::string page = Join(folder, code + ".html");
    if (FileExists(page)) return page;
  }
  return {};
}

}  // namespace vexolo
