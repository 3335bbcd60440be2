// layer: core
#include "about/system_info.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"
#include "fakes/fake_registry.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

using Box = FakeMessageBoxes::Box;
using ::testing::ElementsAre;

constexpr const char* kToolKey = "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO";
constexpr const char* kFolderKey = "SOFTWARE\\Microsoft\\Shared Tools Location";
const Box kNotAvailable = {"Les informations système ne sont pas disponibles actuellement", "",
                           BoxIcon::kInformation};

class StartSysInfoTest : public testing::Test {
 protected:
  void Start() {
    StartSysInfo(
        registry_,
        [this](const std::string& path) {
          started_.push_back(path);
          return starts_;
        },
        boxes_);
  }

  TemporaryFolder folder_;
  FakeRegistry registry_;
  FakeMessageBoxes boxes_;
  bool starts_ = true;
  std::vector<std::string> started_;
};

TEST_F(StartSysInfoTest, TheFirstKeyHoldsTheToolsPath) {
  registry_.values[{kToolKey, "PATH"}] = "C:\\Tools\\info.exe";
  registry_.values[{kFolderKey, "MSINFO"}] = folder_.path();
  folder_.Write("MSINFO32.EXE", "");
  Start();
  EXPECT_THAT(started_, ElementsAre("C:\\Tools\\info.exe"));
  EXPECT_TRUE(boxes_.shown.empty());
  EXPECT_THAT(registry_.asked, ElementsAre(std::string(kToolKey) + "|PATH"));
}

TEST_F(StartSysInfoTest, TheSecondKeyHoldsTheToolsFolder) {
  registry_.values[{kFolderKey, "MSINFO"}] = folder_.path();
  const std::string tool = folder_.Write("MSINFO32.EXE", "");
  Start();
  EXPECT_THAT(started_, ElementsAre(tool));
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(StartSysInfoTest, WithNeitherKeyNothingIsStarted) {
  Start();
  EXPECT_TRUE(started_.empty());
  EXPECT_THAT(boxes_.shown, ElementsAre(kNotAvailable));
  EXPECT_THAT(registry_.asked,
              ElementsAre(std::string(kToolKey) + "|PATH", std::string(kFolderKey) + "|MSINFO"));
}

TEST_F(StartSysInfoTest, AFolderWithoutTheToolCountsAsNone) {
  registry_.values[{kFolderKey, "MSINFO"}] = folder_.path();
  Start();
  EXPECT_TRUE(started_.empty());
  EXPECT_THAT(boxes_.shown, ElementsAre(kNotAvailable));
}

TEST_F(StartSysInfoTest, AToolThatDoesNotStartIsNotAvailable) {
  registry_.values[{kToolKey, "PATH"}] = "C:\\Tools\\info.exe";
  starts_ = false;
  Start();
  EXPECT_THAT(boxes_.shown, ElementsAre(kNotAvailable));
}

TEST_F(StartSysInfoTest, AValueIsReadWithAFlag) {
  registry_.values[{"Key", "Value"}] = "";
  std::string text = "before";
  EXPECT_FALSE(GetKeyValue(registry_, RegistryRoot::kLocalMachine, "Key", "Other", &text));
  EXPECT_FALSE(GetKeyValue(registry_, RegistryRoot::kCurrentUser, "Key", "Value", &text));
  EXPECT_EQ(text, "before");
  EXPECT_TRUE(GetKeyValue(registry_, RegistryRoot::kLocalMachine, "Key", "Value", &text));
  EXPECT_EQ(text, "");
}

#ifndef _WIN32
TEST(SystemRegistry, ThisSystemHasNone) { EXPECT_EQ(SystemRegistry(), nullptr); }
#endif

class SystemInfoRowsTest : public testing::Test {
 protected:
  std::vector<SystemInfoRow> Rows(const SystemInfo& info) {
    const LanguageSection texts(ini_, VEXOLO_SOURCES "/src/resources/languages/fr.lng", "SysInfo");
    return SystemInfoRows(texts, info, ',');
  }

  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
};

TEST_F(SystemInfoRowsTest, EveryFactHasItsRow) {
  SystemInfo info;
  info.machine = {"Debian 12", "Linux 6.1 x86_64", "A processor", 8, 16ull << 30};
  info.sound_device = "default (ALSA)";
  info.open_gl = "4.5 softpipe";
  info.toolkit = "Qt 6.4.2";
  info.library_version = 0x02040F03;
  info.components = {"FluidSynth 2.3.1", "RtAudio 5.2.0"};
  info.bank = "/banks/a.sf2";
  info.lame = "/usr/bin/lame";
  info.ogg_enc = "/opt/oggenc";
  const std::string program = std::to_string(VEXOLO_VERSION_MAJOR) + "." +
                              std::to_string(VEXOLO_VERSION_MINOR) + "." +
                              std::to_string(VEXOLO_VERSION_REVISION);
  EXPECT_EQ(Rows(info), (std::vector<SystemInfoRow>{
                            {"Système", "Debian 12 (Linux 6.1 x86_64)"},
                            {"Processeur", "A processor"},
                            {"Cœurs", "8"},
                            {"Mémoire", "16384\u00a0Mo"},
                            {"Sortie audio", "default (ALSA)"},
                            {"OpenGL", "4.5 softpipe"},
                            {"Vexolo", program + " (Qt 6.4.2)"},
                            {"Bibliothèque audio", "2.4.15.3 (FluidSynth 2.3.1, RtAudio 5.2.0)"},
                            {"SoundFont", "/banks/a.sf2"},
                            {"Encodeur MP3", "/usr/bin/lame"},
                            {"Encodeur Ogg", "/opt/oggenc"},
                        }));
}

TEST_F(SystemInfoRowsTest, WhatIsMissingIsSaid) {
  SystemInfo info;
  info.is_silent = true;
  std::vector<SystemInfoRow> rows = Rows(info);
  ASSERT_EQ(rows.size(), 11u);
  EXPECT_EQ(rows[0].value, "inconnu");
  EXPECT_EQ(rows[3].value, "inconnu");
  EXPECT_EQ(rows[4].value, "non disponible");
  EXPECT_EQ(rows[7].value, "0.0.0.0");
  EXPECT_EQ(rows[10].value, "non disponible");
  info.is_silent = false;
  EXPECT_EQ(Rows(info)[4].value, "inconnu") << "a device that has no name";
}

TEST(SystemInfoText, ALineForEachFact) {
  EXPECT_EQ(SystemInfoText({{"a", "1"}, {"b", "2"}}), "a: 1\nb: 2\n");
  EXPECT_EQ(SystemInfoText({}), "");
}

}  // namespace
}  // namespace vexolo
