#include "mixer/options.h"

#include <algorithm>
#include <cstddef>

namespace vexolo {
namespace {

template <typename Match>
int IndexOf(const std::vector<LanguageEntry>& entries, Match match) {
  const auto found = std::find_if(entries.begin(), entries.end(), match);
  return found == entries.end() ? -1 : static_cast<int>(found - entries.begin());
}

}  // namespace

LanguageList ListLanguagesToChoose(ModIni& ini, const std::string& program_folder,
                                   const std::string& language_file) {
  LanguageList list;
  list.entries = ListLanguages(ini, program_folder);
  list.selected = IndexOf(list.entries, [&](const auto& e) { return e.path == language_file; });
  if (list.selected >= 0) return list;
  const std::string name = LanguageSection(ini, language_file, "VEXOLO").Text("Lng");
  list.selected = IndexOf(list.entries, [&](const auto& e) { return e.name == name; });
  return list;
}

bool SwitchLanguage(ModIni& ini, LanguageList& list, int index, std::string& language_file) {
  if (index < 0 || static_cast<std::size_t>(index) >= list.entries.size()) return false;
  const LanguageEntry& language = list.entries[static_cast<std::size_t>(index)];
  list.selected = index;
  language_file = language.path;
  StoreLanguage(ini, language);
  return true;
}

void SwitchAutoMute(ModIni& ini, MixState& mix, bool on) {
  mix.AutoMute = on;
  ini.WriteIni("Vexolo", "AutoMute", on ? "1" : "0");
}

}  // namespace vexolo
