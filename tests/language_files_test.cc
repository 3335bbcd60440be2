// layer: core
// The language files that are shipped: complete, uncut, and fit for the places where they stand.
#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"
#include "platform/file_io.h"
#include "platform/text_encoding.h"
#include "settings/language.h"

namespace vexolo {
namespace {

constexpr const char* kFolder = VEXOLO_SOURCES "/src/resources/languages/";
constexpr const char* kNoBreakSpace = "\u00A0";

struct Entry {
  std::string section;
  std::string key;
  std::string text;  ///< as it stands in the file
  std::string name() const { return "[" + section + "] " + key; }
};

using Texts = std::vector<Entry>;
using Names = std::vector<std::string>;

/// Reads the lines by itself, so that nothing which the program would cut or drop goes unseen.
Texts Read(const std::string& path) {
  Texts texts;
  std::string section;
  std::istringstream lines(ReadWholeFile(path, nullptr, 1 << 20).value_or(""));
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line[0] == ';') continue;
    if (line[0] == '[') {
      section = line.substr(1, line.find(']') - 1);
      continue;
    }
    const std::size_t equals = line.find('=');
    EXPECT_NE(equals, std::string::npos) << path << ": " << line;
    if (equals == std::string::npos) continue;
    texts.push_back({section, line.substr(0, equals), line.substr(equals + 1)});
  }
  return texts;
}

Names NamesOf(const Texts& texts) {
  Names names;
  for (const Entry& entry : texts) names.push_back(entry.name());
  return names;
}

/// "%1", "%2", ... in order of their numbers, each as often as it stands there.
std::vector<char> Placeholders(const std::string& text) {
  std::vector<char> numbers;
  for (std::size_t at = text.find('%'); at != std::string::npos; at = text.find('%', at + 1)) {
    if (at + 1 < text.size() && text[at + 1] >= '1' && text[at + 1] <= '9') {
      numbers.push_back(text[at + 1]);
    }
  }
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

bool IsForDialogFilters(const std::string& key) {
  return key.ends_with(".Filter") || key.starts_with("Ext");
}

/// Shown in the LED font, which has the characters 32 to 127.
bool IsForTheLedDisplay(const Entry& entry) {
  static const std::set<std::string> keys = {"Titre(0)", "Titre(1)",  "Titre(n)", "Titre(z)",
                                             "Encodage", "Converted", "NoSound",  "BankLoading"};
  return entry.section == "Main" && keys.contains(entry.key);
}

class LanguageFiles : public testing::TestWithParam<const char*> {
 protected:
  std::string path() const { return kFolder + std::string(GetParam()) + ".lng"; }

  const Texts french_ = Read(std::string(kFolder) + "fr.lng");
  const Texts texts_ = Read(path());
  FakeMessageBoxes boxes_;
  ModIni ini_{"unused", boxes_};
};

TEST_P(LanguageFiles, HaveTheKeysOfFrenchInTheSameOrder) {
  ASSERT_FALSE(french_.empty());
  EXPECT_EQ(NamesOf(texts_), NamesOf(french_));
}

TEST_P(LanguageFiles, HaveNoKeyTwice) {
  std::set<std::string> seen;
  for (const Entry& entry : texts_) {
    EXPECT_TRUE(seen.insert(FoldCase(entry.name())).second) << entry.name();
  }
}

TEST_P(LanguageFiles, AreReadAsTheyStandEmptyAndCutNowhere) {
  EXPECT_TRUE(IsValidUtf8(ReadWholeFile(path(), nullptr, 1 << 20).value_or("")));
  for (const Entry& entry : texts_) {
    EXPECT_NE(entry.text, "") << entry.name();
    EXPECT_EQ(ini_.ReadIni(entry.section, entry.key, path()), entry.text)
        << entry.name() << ": " << CountCharacters(entry.text) << " characters";
  }
}

TEST_P(LanguageFiles, FillInAndBreakWhereFrenchDoes) {
  ASSERT_EQ(texts_.size(), french_.size());
  for (std::size_t i = 0; i < texts_.size(); ++i) {
    const std::string& french = french_[i].text;
    const std::string& text = texts_[i].text;
    EXPECT_EQ(Placeholders(text), Placeholders(french)) << texts_[i].name() << ": " << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '|'),
              std::count(french.begin(), french.end(), '|'))
        << texts_[i].name() << ": " << text;
  }
}

/// A menu's or a dialog's texts, which share their access keys, stand in one section; a name before
/// a dot ("Menu.Close") sets a group of its own apart.
TEST_P(LanguageFiles, HaveAccessKeysThatAreUniqueInTheirWindow) {
  std::map<std::string, std::string> owners;
  for (const Entry& entry : texts_) {
    const std::size_t mark = entry.text.find('&');
    if (mark == std::string::npos) continue;
    ASSERT_LT(mark + 1, entry.text.size()) << entry.name();
    const char letter = entry.text[mark + 1];
    EXPECT_TRUE((letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
                (letter >= '0' && letter <= '9'))
        << entry.name() << ": an access key that every keyboard has";
    EXPECT_EQ(entry.text.find('&', mark + 1), std::string::npos) << entry.name();
    const std::size_t dot = entry.key.find('.');
    const std::string group = dot == std::string::npos ? "" : entry.key.substr(0, dot);
    const std::string place = entry.section + "/" + group + "/" + FoldCase(std::string(1, letter));
    const auto [owner, is_new] = owners.emplace(place, entry.key);
    EXPECT_TRUE(is_new) << entry.name() << " and " << owner->second << ": " << letter;
  }
}

TEST_P(LanguageFiles, KeepToTheLedFontWhereItShowsThem) {
  int checked = 0;
  for (const Entry& entry : texts_) {
    if (!IsForTheLedDisplay(entry)) continue;
    ++checked;
    for (const char character : entry.text) {
      EXPECT_TRUE(character >= ' ' && character <= '~') << entry.name() << ": " << entry.text;
    }
  }
  EXPECT_EQ(checked, 8);
}

TEST_P(LanguageFiles, UseTypographicApostrophesAndEllipses) {
  for (const Entry& entry : texts_) {
    if (IsForDialogFilters(entry.key) || IsForTheLedDisplay(entry)) continue;
    EXPECT_EQ(entry.text.find('\''), std::string::npos) << entry.name() << ": write ’";
    EXPECT_EQ(entry.text.find("..."), std::string::npos) << entry.name() << ": write …";
  }
}

INSTANTIATE_TEST_SUITE_P(Shipped, LanguageFiles, testing::Values("fr", "en", "es", "de"),
                         [](const auto& test) { return std::string(test.param); });

TEST(FrenchLanguageFile, SetsANoBreakSpaceBeforeDoublePunctuation) {
  for (const Entry& entry : Read(std::string(kFolder) + "fr.lng")) {
    if (IsForDialogFilters(entry.key) || IsForTheLedDisplay(entry)) continue;
    // Not "minutes:secondes", whose colon is the one of the clock.
    const std::string text = std::regex_replace(entry.text, std::regex("minutes:secondes"), "");
    for (const std::string mark : {":", ";", "!", "?", "»"}) {
      for (std::size_t at = text.find(mark); at != std::string::npos;
           at = text.find(mark, at + 1)) {
        EXPECT_TRUE(text.substr(0, at).ends_with(kNoBreakSpace)) << entry.name() << ": " << text;
      }
    }
  }
}

/// Every name that a window or a message asks for.
Names RequiredNames() {
  struct Section {
    const char* name;
    Names keys;
  };
  const std::vector<Section> sections = {
      {"Vexolo", {"Lng"}},
      {"Main",
       {"Caption",
        "ClipLed",
        "Position",
        "BPM",
        "Tempo",
        "Muet",
        "Solo",
        "Encodage",
        "Droite",
        "Gauche",
        "Gain",
        "SF2CMD.Filter",
        "SF2CMD.DialogTitle",
        "SM(Start-1)",
        "SM(Start-0)",
        "SM(End-1)",
        "SM(End-0)",
        "Titre(0)",
        "Titre(1)",
        "Titre(n)",
        "Titre(z)",
        "Main.Caption",
        "Extmid",
        "ExtSF2",
        "OverWriteText",
        "OverWriteTitle",
        "MidiReadError",
        "Knob(Gain)",
        "Knob(Transpose)",
        "Knob(Speed)",
        "SF2LoadInfo",
        "SF2NoneInfo"}},
      {"Temps", {"Caption", "Abandon", "Validation", "Raz"}},
      {"Reglage", {"Caption", "Volume", "Pan", "Reverb", "Chorus", "Bank", "Program", "Drum"}},
      {"Reverb", {"Caption", "FrameReverb", "FrameChorus"}},
      {"Options",
       {"Caption", "SfInfo", "Replace", "Langue", "chkAutoMute", "SfVersion", "Onglet(0)",
        "Onglet(1)", "Onglet(2)", "Onglet(3)"}},
      {"Paroles", {"Caption"}},
      {"Tags",
       {"Caption", "Validation", "Abandon", "Tous", "ConfirmAll", "NullGenre", "FrameKok",
        "CheckKOK", "FrameTags", "FrameRec", "NotaBene", "CaractLigne", "OptionWav", "OptionMP3",
        "OptionOgg", "Kbps", "Brut", "Compresse", "SaveFolder"}},
      {"PlayList",
       {"Caption", "M3ULOADCMD.Filter", "M3ULOADCMD.DialogTitle", "M3USAVECMD.Filter",
        "M3USAVECMD.DialogTitle", "MIDOPENCMD.Filter", "MIDOPENCMD.DialogTitle"}},
      {"About",
       {"Caption", "Version", "Description", "Copyright", "chkOK", "cmdOK", "SysInfo", "Disclaimer",
        "Disclaimer1", "Disclaimer2", "Disclaimer3", "Disclaimer4", "CopyrightInfo",
        "CopyrightTitle"}},
  };
  struct Array {
    const char* section;
    const char* name;
    int first;
    int last;
  };
  constexpr Array kArrays[] = {{"Main", "SM", 0, 47},
                               {"Main", "Vol", 0, 18},
                               {"Reverb", "Ctrl", 1, 11},
                               {"Tags", "Label", 0, 7},
                               {"PlayList", "SM", 0, 7}};
  Names names;
  for (const Section& section : sections) {
    for (const std::string& key : section.keys)
      names.push_back(Entry{section.name, key, ""}.name());
  }
  for (const Array& array : kArrays) {
    for (int i = array.first; i <= array.last; ++i) {
      names.push_back(Entry{array.section, ArrayKey(array.name, i), ""}.name());
    }
  }
  return names;
}

TEST(FrenchLanguageFile, HasEveryTextThatTheWindowsAskFor) {
  const Names names = NamesOf(Read(std::string(kFolder) + "fr.lng"));
  const std::set<std::string> present(names.begin(), names.end());
  for (const std::string& name : RequiredNames()) EXPECT_TRUE(present.contains(name)) << name;
}

/// What one window's source files say about texts.
struct Asked {
  std::set<std::string> sections;  ///< none where the section comes from elsewhere
  std::set<std::string> keys;      ///< Text("Caption")
  std::set<std::string> arrays;    ///< Text("SM", index)
};

/// By file name without extension: a header may name the section and its source the keys.
std::map<std::string, Asked> AskedBySources(const Texts& french) {
  std::set<std::string> sections;
  for (const Entry& entry : french) sections.insert(entry.section);
  // Section("Tags"), LanguageSection(ini, file, "Tags"), constexpr const char* kSection = "Tags"
  static const std::regex naming(
      R"re((?:\bSection\(|\bLanguageSection\b[^;"]*|\bk\w*Section\w* = )"([^"]*)")re");
  static const std::regex call(R"re(\b(?:Text|Message)\(\s*"([^"]+)"\s*([,)]))re");
  static const std::regex array_call(R"re(\bText\(\s*"([^"]+)"\s*,)re");
  std::map<std::string, Asked> asked;
  for (const auto& file : std::filesystem::recursive_directory_iterator(VEXOLO_SOURCES "/src")) {
    const std::string extension = file.path().extension().string();
    if (extension != ".cc" && extension != ".h") continue;
    const std::string source = ReadWholeFile(file.path().string(), nullptr, 1 << 22).value_or("");
    Asked& window = asked[(file.path().parent_path() / file.path().stem()).string()];
    for (std::sregex_iterator at(source.begin(), source.end(), naming), end; at != end; ++at) {
      if (sections.contains((*at)[1])) window.sections.insert((*at)[1]);
    }
    for (std::sregex_iterator at(source.begin(), source.end(), call), end; at != end; ++at) {
      window.keys.insert((*at)[1]);
    }
    for (std::sregex_iterator at(source.begin(), source.end(), array_call), end; at != end; ++at) {
      window.keys.erase((*at)[1]);
      window.arrays.insert((*at)[1]);
    }
  }
  return asked;
}

TEST(FrenchLanguageFile, HasEveryTextThatTheSourcesName) {
  const Texts french = Read(std::string(kFolder) + "fr.lng");
  int checked = 0;
  for (const auto& [file, window] : AskedBySources(french)) {
    const auto has = [&](const auto& fits) {
      return std::any_of(french.begin(), french.end(), [&](const Entry& entry) {
        return (window.sections.empty() || window.sections.contains(entry.section)) &&
               fits(entry.key);
      });
    };
    for (const std::string& key : window.keys) {
      EXPECT_TRUE(has([&](const std::string& name) { return name == key; })) << file << ": " << key;
      ++checked;
    }
    for (const std::string& array : window.arrays) {
      EXPECT_TRUE(has([&](const std::string& name) { return name.starts_with(array + "("); }))
          << file << ": " << array << "(...)";
      ++checked;
    }
  }
  EXPECT_GT(checked, 0);
}

TEST(ProgramFolder, HoldsTheLanguagesAndFrenchAsTheDefault) {
  FakeMessageBoxes boxes;
  ModIni ini("unused", boxes);
  Names names;
  for (const LanguageEntry& language : ListLanguages(ini, VEXOLO_PROGRAM_FOLDER)) {
    names.push_back(language.name);
  }
  EXPECT_EQ(names, (Names{"Deutsch", "English", "Español", "Français"}));
  const std::string folder = std::string(VEXOLO_PROGRAM_FOLDER) + "/";
  const auto french = ReadWholeFile(std::string(kFolder) + "fr.lng", nullptr, 1 << 20);
  ASSERT_TRUE(french);
  EXPECT_EQ(ReadWholeFile(folder + kDefaultLanguageFile, nullptr, 1 << 20), french);
  EXPECT_EQ(ReadWholeFile(folder + "fr.lng", nullptr, 1 << 20), french);
}

}  // namespace
}  // namespace vexolo
