/// What the about box says. Window thread only.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "settings/language.h"
#include "settings/mod_ini.h"

namespace vexolo {

/// Major, minor and revision number of the program.
inline constexpr std::array<int, 3> kProgramNumbers = {VEXOLO_VERSION_MAJOR, VEXOLO_VERSION_MINOR,
                                                       VEXOLO_VERSION_REVISION};

/// What is credited, in the order of the lines. The names stand for what the program was made to
/// work with; which library is in use is told by the system information.
inline constexpr std::array<std::string_view, 4> kCredits = {"Vexolo", "BASS v2.4", "Lame 3.96.1",
                                                             "OggEnc v2.84 (libvorbis 1.2.0)"};

/// "Version", with the numbers in "%1", "%2" and "%3".
std::string VersionText(const LanguageSection& about,
                        const std::array<int, 3>& numbers = kProgramNumbers);

/// One line for each credit: its name, then its maker's notice ("Notice(i)") where there is one.
std::array<std::string, 4> CreditLines(const LanguageSection& about);

/// "CopyrightInfo", with the credits in "%1" to "%4".
std::string CreditsText(const LanguageSection& about);

/// "Disclaimer1" to "Disclaimer4", a line each; empty ones are left out.
std::string DisclaimerText(const LanguageSection& about);

/// Whether the box is to be shown at every start: only "AboutAtOpen" = "1" says so.
bool IsAboutShownAtOpen(ModIni& ini);
void StoreAboutAtOpen(ModIni& ini, bool shown);

}  // namespace vexolo
