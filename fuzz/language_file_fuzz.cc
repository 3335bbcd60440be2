// layer: core
// Language files: any bytes are a language or none, and every text that is taken from them can be
// shown.
#include <string>

#include "fuzz/support/fuzz_input.h"
#include "platform/text_encoding.h"
#include "settings/language.h"

namespace {

using namespace vexolo;
using fuzz::Require;

void CheckText(const std::string& text, std::size_t most) {
  Require(IsValidUtf8(text));
  Require(CountCharacters(text) <= most);
}

void CheckSection(const LanguageSection& section) {
  for (const char* key : {"Titre", "Error.NoEncoder", "Lng", "Run.Caption", ""}) {
    if (*key == '\0') continue;
    const std::string text = section.Text(key);
    CheckText(text, ModIni::kMaxLength);
    // Every character may be "%1", which is then as long as its value.
    const std::string message = section.Message(key, {"Été", "%2", ""});
    CheckText(message, 3 * ModIni::kMaxLength);
    Require(message.find('|') == std::string::npos);
  }
  CheckText(section.Text("SM", 3), ModIni::kMaxLength);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::OneFile file("xx.lng");
  file.Write(fuzz::Text(data, size));
  fuzz::NoBoxes boxes;
  ModIni ini(file.folder() + "/none.ini", boxes);
  const auto languages = ListLanguages(ini, file.folder());
  const std::string name = ini.ReadIni("Vexolo", "Lng", file.path());
  Require(languages.size() == (name.empty() ? 0 : 1));
  if (!languages.empty()) Require(languages[0].code == "xx" && languages[0].name == name);
  CheckText(name, ModIni::kMaxLength);
  for (const char* section : {"Main", "Tags", "Vexolo"}) {
    CheckSection(LanguageSection(ini, file.path(), section));
  }
  return 0;
}
