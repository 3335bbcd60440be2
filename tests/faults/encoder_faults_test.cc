// Makes every operation of an encoder fail, one after the other: the file is what it should be, or
// the conversion says that it is not.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/convert_command.h"
#include "audio/loader.h"
#include "fakes/temporary_folder.h"
#include "song_builder.h"
#include "tone_bank.h"

namespace vexolo::faults {
namespace {

namespace fs = std::filesystem;

class EncoderFaultsTest : public testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(folder_ / "program");
    fs::create_directories(folder_ / "out");
    folder_.Write("program/Orvanel.SF2", engine::testing::ToneBank());
    engine::testing::SongBuilder song;
    song.Tempo(0, 500000).Note(0, 200, 3, 60);
    song_ = folder_.Write("tune.mid", song.Song());
  }

  /// Puts a script into the program folder that runs `encoder` with its n-th operation failing.
  void Furnish(const std::string& name, const std::string& encoder, int number) {
    const std::string log = folder_ / "log";
    fs::remove(log);
    const std::string script =
        folder_.Write("program/" + name, "#!/bin/sh\nVEXOLO_FAULT=file:" + std::to_string(number) +
                                             " VEXOLO_FAULT_FOLDER='" + (folder_ / "out") +
                                             "' LD_PRELOAD='" VEXOLO_FAULT_POINTS "' exec '" +
                                             encoder + "' \"$@\" 2>'" + log + "'\n");
    fs::permissions(script, fs::perms::owner_all);
  }

  int Convert(const std::string& format) {
    fs::remove_all(folder_ / "out");
    fs::create_directories(folder_ / "out");
    errors_.str({});
    std::ostringstream out;
    return RunConvertCommand({"-f", format, "-o", folder_ / "out", "-n", "sound", song_},
                             {library_->api(),
                              {out, errors_, false, false},
                              folder_ / "program",
                              folder_ / "Vexolo.ini",
                              '.',
                              {},
                              {}});
  }

  /// Every operation, or the first, the last and some between them, as by VEXOLO_FAULT_WALK.
  static std::vector<int> Numbers(int operations) {
    const char* wish = std::getenv("VEXOLO_FAULT_WALK");
    std::vector<int> numbers;
    for (int number = 1; number <= operations; ++number) {
      if (wish != nullptr || number <= 3 || number > operations - 7 || number % 16 == 0) {
        numbers.push_back(number);
      }
    }
    return numbers;
  }

  void Walk(const std::string& name, const std::string& encoder, const std::string& format) {
    const std::string file = "out/sound." + format;
    Furnish(name, encoder, 0);
    ASSERT_EQ(Convert(format), 0) << errors_.str();
    const std::string expected = folder_.Read(file);
    ASSERT_GT(expected.size(), 2000u);
    const std::string log = folder_.Read("log");
    const std::size_t told = log.rfind(" operations");
    ASSERT_NE(told, std::string::npos) << log;
    const int operations = std::stoi(log.substr(log.rfind('\n', told) + 1));
    const std::vector<int> numbers = Numbers(operations);
    int failed = 0;
    for (const int number : numbers) {
      Furnish(name, encoder, number);
      const int status = Convert(format);
      failed += status != 0;
      EXPECT_NE(folder_.Read("log").find("fault_points"), std::string::npos)
          << number << " did not fail";
      EXPECT_EQ(errors_.str().find("vexolo-convert: ") == std::string::npos, status == 0) << number;
      if (status == 0) {
        // Streams of Ogg carry a number made by chance: their sizes have to do.
        const std::string content = folder_.Read(file);
        EXPECT_EQ(content.size(), expected.size()) << number;
        EXPECT_TRUE(format == "ogg" || content == expected) << number;
      }
    }
    EXPECT_GT(failed, 0);
    std::printf("%zu of %d operations, %d conversions failed and said so\n", numbers.size(),
                operations, failed);
  }

  TemporaryFolder folder_;
  std::unique_ptr<AudioLibrary> library_ = AudioLibrary::OpenEngine();
  std::string song_;
  std::ostringstream errors_;
};

TEST_F(EncoderFaultsTest, Mp3) {
  const std::string lame = "/usr/bin/lame";
  if (!fs::exists(lame)) GTEST_SKIP() << "there is no " << lame;
  Walk("lame", lame, "mp3");
}

TEST_F(EncoderFaultsTest, Ogg) { Walk("oggenc", VEXOLO_PROGRAM_FOLDER "/oggenc", "ogg"); }

}  // namespace
}  // namespace vexolo::faults
