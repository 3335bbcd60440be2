// layer: core
#include "convert/mp3_check.h"

#include <string>

#include <gtest/gtest.h>

#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

constexpr std::size_t kFrame = 417;  ///< bytes at 128 kbit/s

std::string BigEndian(std::size_t value) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift);
  return bytes;
}

/// Ten bytes of head, then `size` more.
std::string Id3(std::size_t size) {
  std::string tag("ID3\3\0\0\0\0", 8);
  tag += static_cast<char>(size >> 7);
  tag += static_cast<char>(size & 0x7F);
  return tag + std::string(size, 'x');
}

std::string FrameOf(const std::string& content) {
  std::string frame = "\xFF\xFB\x90\x64" + content;
  frame.resize(kFrame);
  return frame;
}

/// As it is filled in at the end.
std::string InfoFrame(std::size_t bytes) {
  return FrameOf(std::string(32, '\0') + "Info" + BigEndian(0xF) + BigEndian(3) + BigEndian(bytes));
}

const std::string kSound = FrameOf("sound") + FrameOf("sound") + FrameOf("sound");

class Mp3CheckTest : public testing::Test {
 protected:
  bool Check(const std::string& content) {
    return LooksLikeFinishedMp3(folder_.Write("a.mp3", content));
  }
  TemporaryFolder folder_;
};

TEST_F(Mp3CheckTest, AFileThatIsAsLongAsItTellsIsFinished) {
  EXPECT_TRUE(Check(InfoFrame(4 * kFrame) + kSound));
  EXPECT_TRUE(Check(Id3(300) + InfoFrame(4 * kFrame) + kSound + "TAG"));
}

TEST_F(Mp3CheckTest, AFrameThatWasNeverFilledInIsNot) {
  EXPECT_FALSE(Check(FrameOf({}) + kSound));
  EXPECT_FALSE(Check(Id3(300) + FrameOf({}) + kSound));
}

TEST_F(Mp3CheckTest, AFileThatIsShorterThanItTellsIsNot) {
  EXPECT_FALSE(Check(Id3(20) + InfoFrame(4 * kFrame) + kSound.substr(1)));
}

TEST_F(Mp3CheckTest, WhatTellsNothingIsTakenAsItIs) {
  EXPECT_TRUE(Check(kSound));
  EXPECT_TRUE(Check("encoded"));
  EXPECT_TRUE(Check(std::string(5000, '\0')));
  EXPECT_TRUE(Check(""));
  EXPECT_TRUE(LooksLikeFinishedMp3(folder_ / "none.mp3"));
}

}  // namespace
}  // namespace vexolo
