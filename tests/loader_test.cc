// layer: core
#include "audio/loader.h"

#include <cstdlib>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "audio/error_report.h"
#include "fakes/fake_message_boxes.h"

namespace vexolo {
namespace {

namespace fs = std::filesystem;

class LoaderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "vexolo-loader-XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
  }
  void TearDown() override { fs::remove_all(folder_); }

  void Put(const std::string& name) {
    fs::copy_file(fs::path(VEXOLO_FAKE_LIBRARIES) / name, folder_ / name);
  }

  fs::path folder_;
};

TEST_F(LoaderTest, AnEmptyFolderGivesTheOpenEngine) {
  const auto library = AudioLibrary::Load(folder_.string());
  EXPECT_TRUE(library->is_open_engine());
  EXPECT_EQ(library->api().BASS_GetVersion() >> 16, bass::BASSVERSION);
}

TEST_F(LoaderTest, TheOpenEngineNamesWhatItIsBuiltOn) {
  const auto library = AudioLibrary::OpenEngine();
  EXPECT_THAT(library->Components(),
              testing::ElementsAre(testing::MatchesRegex("FluidSynth [0-9.]+"),
                                   testing::MatchesRegex("RtAudio [0-9.]+")));
  ASSERT_TRUE(library->api().BASS_Init(0, 44100, 0, nullptr, nullptr));
  EXPECT_EQ(library->OutputName(), "") << "no device was asked for";
  library->api().BASS_Free();
}

TEST_F(LoaderTest, TwoOfTheThreeAreNotEnough) {
  Put("libbass.so");
  Put("libbassmidi.so");
  std::string problem;
  EXPECT_TRUE(AudioLibrary::Load(folder_.string(), &problem)->is_open_engine());
  EXPECT_EQ(problem, "");
}

TEST_F(LoaderTest, AllThreeAreUsedEachForItsOwnFunctions) {
  Put("libbass.so");
  Put("libbassmidi.so");
  Put("libbassenc.so");
  std::string problem;
  const auto library = AudioLibrary::Load(folder_.string(), &problem);
  ASSERT_FALSE(library->is_open_engine()) << problem;
  EXPECT_EQ(library->api().BASS_GetVersion(), 0x02030406u);
  EXPECT_EQ(library->api().BASS_ErrorGetCode(), 41);
  EXPECT_EQ(library->api().BASS_Encode_IsActive(0), 7u);
  EXPECT_EQ(library->api().BASS_MIDI_FontInit("x", 0), 0u);
  EXPECT_FALSE(library->OutputIsSilent());
  EXPECT_EQ(library->OutputName(), "");
  EXPECT_TRUE(library->Components().empty());
}

TEST_F(LoaderTest, ALibraryThatMissesAFunctionIsNotUsed) {
  Put("libbass.so");
  Put("libbassenc.so");
  fs::copy_file(fs::path(VEXOLO_FAKE_LIBRARIES) / "libbassenc.so", folder_ / "libbassmidi.so");
  std::string problem;
  EXPECT_TRUE(AudioLibrary::Load(folder_.string(), &problem)->is_open_engine());
  EXPECT_EQ(problem, "libbassmidi.so: no BASS_MIDI_StreamCreateFile");
}

TEST_F(LoaderTest, AFileThatIsNoLibraryIsNotUsed) {
  Put("libbass.so");
  Put("libbassenc.so");
  fs::copy_file(fs::path(VEXOLO_SONGS) / "README.md", folder_ / "libbassmidi.so");
  std::string problem;
  EXPECT_TRUE(AudioLibrary::Load(folder_.string(), &problem)->is_open_engine());
  EXPECT_EQ(problem, "libbassmidi.so: cannot be loaded");
}

TEST_F(LoaderTest, AnotherVersionIsRefusedWithBothNumbers) {
  Put("libbass.so");
  Put("libbassmidi.so");
  Put("libbassenc.so");
  const auto library = AudioLibrary::Load(folder_.string());
  FakeMessageBoxes boxes;
  EXPECT_FALSE(CheckAudioVersion(library->api(), boxes));
  ASSERT_EQ(boxes.shown.size(), 1u);
  EXPECT_EQ(boxes.shown[0].text, "La DLL Bass est en 2030406 alors que nous attendions la 204");
  EXPECT_EQ(boxes.shown[0].title, "");
  EXPECT_EQ(boxes.shown[0].icon, BoxIcon::kCritical);
}

TEST(AudioVersion, TheMinorNumbersDoNotMatter) {
  for (const bass::DWORD version : {0x02040000u, 0x0204FFFFu, 0x02041103u}) {
    static bass::DWORD told;
    told = version;
    bass::Api api{};
    api.BASS_GetVersion = [] { return told; };
    FakeMessageBoxes boxes;
    EXPECT_TRUE(CheckAudioVersion(api, boxes));
    EXPECT_TRUE(boxes.shown.empty());
  }
}

TEST(AudioVersion, TheVersionsBesideStopTheProgram) {
  for (const auto& [version, text] : std::vector<std::pair<bass::DWORD, std::string>>{
           {0x02030A0Bu, "2030A0B"}, {0x02050000u, "2050000"}}) {
    static bass::DWORD told;
    told = version;
    bass::Api api{};
    api.BASS_GetVersion = [] { return told; };
    FakeMessageBoxes boxes;
    EXPECT_FALSE(CheckAudioVersion(api, boxes));
    ASSERT_EQ(boxes.shown.size(), 1u);
    EXPECT_EQ(boxes.shown[0].text,
              "La DLL Bass est en " + text + " alors que nous attendions la 204");
  }
}

TEST(SplitEncoderCommand, GivesTheArgumentsThatAProcessWouldGet) {
  EXPECT_EQ(SplitEncoderCommand(R"("C:\Prog\lame.exe" -h --ta "Moi et toi" - "D:\Out\a.mp3")"),
            (std::vector<std::string>{R"(C:\Prog\lame.exe)", "-h", "--ta", "Moi et toi", "-",
                                      R"(D:\Out\a.mp3)"}));
}

}  // namespace
}  // namespace vexolo
