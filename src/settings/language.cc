#include "settings/language.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/text_encoding.h"

namespace vexolo {
namespace {

constexpr const char* kSection = "Vexolo";
constexpr const char* kLanguageKey = "Lng";
constexpr const char* kFallbackCode = "fr";

std::string NameIn(ModIni& ini, const std::string& language_file) {
  return ini.ReadIni(kSection, kLanguageKey, language_file);
}

/// The first file that names its language; the last one tried where none does.
std::string FindLanguageFile(ModIni& ini, const std::string& folder, const std::string& code) {
  const std::array<std::string, 3> names = {code + kLanguageExtension,
                                            std::string(kFallbackCode) + kLanguageExtension,
                                            kDefaultLanguageFile};
  std::string path;
  for (const std::string& name : names) {
    path = Join(folder, name);
    if (!NameIn(ini, path).empty()) break;
  }
  return path;
}

bool IsLanguageFile(const std::filesystem::directory_entry& entry) {
  std::error_code error;
  return entry.is_regular_file(error) &&
         FoldCase(ExtensionOf(FromNativePath(entry.path()))) == kLanguageExtension;
}

}  // namespace

bool IsAutoMuteOn(std::string_view value) { return value != "0"; }

std::optional<LanguageChoice> ChooseLanguage(ModIni& ini, const std::string& program_folder,
                                             MessageBoxes& boxes) {
  LanguageChoice choice;
  choice.save_folder = ini.ReadIni("Wave", "SaveFolder");
  choice.save_scheme = ini.ReadIni("Wave", "SaveScheme");
  const std::string code = ini.ReadIni(kSection, kLanguageKey);
  choice.first_run = code.empty();
  choice.language_file = choice.first_run ? Join(program_folder, kDefaultLanguageFile)
                                          : FindLanguageFile(ini, program_folder, code);
  choice.name = NameIn(ini, choice.language_file);
  choice.code = StemOf(choice.language_file);
  if (choice.first_run) return choice;
  if (choice.name.empty()) {
    boxes.Show("Missing " + choice.language_file, "Error", BoxIcon::kCritical);
    return std::nullopt;
  }
  choice.auto_mute = IsAutoMuteOn(ini.ReadIni(kSection, "AutoMute"));
  choice.further_flags = {true, true};
  return choice;
}

std::vector<LanguageEntry> ListLanguages(ModIni& ini, const std::string& program_folder) {
  std::vector<std::string> paths;
  std::error_code error;
  std::filesystem::directory_iterator entries(ToNativePath(program_folder), error);
  for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
    if (!IsLanguageFile(*entries)) continue;
    paths.push_back(Join(program_folder, FromNativePath(entries->path().filename())));
  }
  std::sort(paths.begin(), paths.end());
  std::vector<LanguageEntry> languages;
  for (const std::string& path : paths) {
    if (languages.size() == kMaxLanguages) break;
    const std::string name = NameIn(ini, path);
    if (!name.empty()) languages.push_back({name, StemOf(path), path});
  }
  return languages;
}

void StoreLanguage(ModIni& ini, const LanguageEntry& language) {
  ini.WriteIni(kSection, kLanguageKey, StemOf(language.path));
}

std::string ArrayKey(std::string_view array, int index) {
  return std::string(array) + "(" + std::to_string(index) + ")";
}

std::string BreakLines(std::string_view text) {
  std::string broken(text);
  std::replace(broken.begin(), broken.end(), '|', '\n');
  return broken;
}

std::string FillIn(std::string_view text, const std::vector<std::string>& values) {
  std::string filled;
  while (!text.empty()) {
    std::size_t digits = 0;
    std::size_t number = 0;
    while (text[0] == '%' && digits + 1 < text.size() && text[digits + 1] >= '0' &&
           text[digits + 1] <= '9') {
      // "%12" is "%1" followed by "2" where there are fewer than twelve values.
      const std::size_t longer = number * 10 + static_cast<std::size_t>(text[digits + 1] - '0');
      if (longer == 0 || longer > values.size()) break;
      number = longer;
      ++digits;
    }
    if (number > 0) {
      filled += values[number - 1];
    } else {
      filled += text[0];
    }
    text.remove_prefix(digits + 1);
  }
  return filled;
}

LanguageSection::LanguageSection(ModIni& ini, std::string language_file, std::string section)
    : ini_(ini), language_file_(std::move(language_file)), section_(std::move(section)) {}

std::string LanguageSection::Text(std::string_view key) const {
  return ini_.ReadIni(section_, key, language_file_);
}

std::string LanguageSection::Text(std::string_view array, int index) const {
  return Text(ArrayKey(array, index));
}

std::string LanguageSection::Message(std::string_view key,
                                     const std::vector<std::string>& values) const {
  return FillIn(BreakLines(Text(key)), values);
}

}  // namespace vexolo
