#include "about/about_texts.h"

#include <cstddef>

namespace vexolo {
namespace {

constexpr const char* kSettings = "Vexolo";
constexpr const char* kAtOpen = "AboutAtOpen";
constexpr int kDisclaimers = 4;

}  // namespace

std::string VersionText(const LanguageSection& about, const std::array<int, 3>& numbers) {
  return about.Message("Version", {std::to_string(numbers[0]), std::to_string(numbers[1]),
                                   std::to_string(numbers[2])});
}

std::array<std::string, 4> CreditLines(const LanguageSection& about) {
  std::array<std::string, 4> lines;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    lines[i] = kCredits[i];
    const std::string notice = about.Message(ArrayKey("Notice", static_cast<int>(i)));
    if (!notice.empty()) lines[i] += " – " + notice;
  }
  return lines;
}

std::string CreditsText(const LanguageSection& about) {
  const std::array<std::string, 4> lines = CreditLines(about);
  return about.Message("CopyrightInfo", {lines.begin(), lines.end()});
}

std::string DisclaimerText(const LanguageSection& about) {
  std::string text;
  for (int i = 1; i <= kDisclaimers; ++i) {
    const std::string line = about.Message("Disclaimer" + std::to_string(i));
    if (!text.empty() && !line.empty()) text += "\n";
    text += line;
  }
  return text;
}

bool IsAboutShownAtOpen(ModIni& ini) { return ini.ReadIni(kSettings, kAtOpen) == "1"; }

void StoreAboutAtOpen(ModIni& ini, bool shown) {
  ini.WriteIni(kSettings, kAtOpen, shown ? "1" : "0");
}

}  // namespace vexolo
