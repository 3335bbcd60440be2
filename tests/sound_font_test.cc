// layer: engine
#include "engine/sound_font.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/sound_font_synth.h"
#include "small_bank.h"

namespace vexolo::engine {
namespace {

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// A file of its own for each test, gone afterwards.
class SoundFontTest : public testing::Test {
 protected:
  void TearDown() override { std::filesystem::remove(path_); }

  std::string Write(const std::string& bytes) {
    std::ofstream(path_, std::ios::binary | std::ios::trunc) << bytes;
    return path_;
  }

  static float Loudest(SoundFontSynth& synth) {
    auto block = std::make_unique<DryBlock>();
    float loudest = 0;
    for (int i = 0; i < 20; ++i) {
      synth.Render(*block, kMaxBlock);
      const auto& samples = block->left[0];
      loudest = std::max(loudest, *std::max_element(samples.begin(), samples.end()));
    }
    return loudest;
  }

  std::string path_ = testing::TempDir() + "bank \xC3\xA9t\xC3\xA9 " +
                      testing::UnitTest::GetInstance()->current_test_info()->name() + ".sf2";
};

TEST_F(SoundFontTest, SaysWhatTheBankSaysOfItself) {
  SoundFont::Error error = SoundFont::Error::kFormat;
  const auto font = SoundFont::Load(VEXOLO_TEST_BANK, &error);
  ASSERT_NE(font, nullptr);
  EXPECT_EQ(error, SoundFont::Error::kNone);
  EXPECT_EQ(font->info().name, "TimGM6mb1.sf2");
  EXPECT_EQ(font->info().copyright, "");
  EXPECT_EQ(font->info().comment, "");
  EXPECT_EQ(font->info().presets, 136u);
  EXPECT_EQ(font->info().sample_bytes, 5764336u);
  EXPECT_EQ(font->volume.load(), 1.0f);
}

TEST_F(SoundFontTest, NamesItsPresets) {
  SoundFont::Error error;
  const auto font = SoundFont::Load(VEXOLO_TEST_BANK, &error);
  ASSERT_NE(font, nullptr);
  EXPECT_STREQ(font->PresetName(0, 0), "Piano 1");
  EXPECT_STREQ(font->PresetName(0, 128), "Standard");
  EXPECT_EQ(font->PresetName(0, 77), nullptr);
  EXPECT_EQ(font->PresetName(-1, 0), nullptr);
  EXPECT_EQ(font->PresetName(128, 0), nullptr);
  EXPECT_EQ(font->PresetName(0, -1), nullptr);
  EXPECT_EQ(font->PresetName(0, 129), nullptr);
}

TEST_F(SoundFontTest, TellsAMissingFileFromABadOne) {
  SoundFont::Error error = SoundFont::Error::kNone;
  EXPECT_EQ(SoundFont::Load(path_, &error), nullptr);
  EXPECT_EQ(error, SoundFont::Error::kOpen);
  EXPECT_EQ(SoundFont::Load(testing::TempDir(), &error), nullptr);
  EXPECT_EQ(error, SoundFont::Error::kOpen);
  EXPECT_EQ(SoundFont::Load(Write(""), &error), nullptr);
  EXPECT_EQ(error, SoundFont::Error::kFormat);
  EXPECT_EQ(SoundFont::Load(Write("RIFF\x04\0\0\0WAVE"), &error), nullptr);
  EXPECT_EQ(error, SoundFont::Error::kFormat);
}

TEST_F(SoundFontTest, LoadsFromAPathWithAccentsAndIgnoresWhatFollowsTheBank) {
  SoundFont::Error error;
  const auto font = SoundFont::Load(Write(ReadFile(VEXOLO_TEST_BANK) + "more"), &error);
  ASSERT_NE(font, nullptr);
  EXPECT_EQ(font->info().presets, 136u);
}

TEST_F(SoundFontTest, ATruncatedBankIsRefused) {
  const std::string bytes = ReadFile(VEXOLO_TEST_BANK);
  SoundFont::Error error;
  EXPECT_EQ(SoundFont::Load(Write(bytes.substr(0, bytes.size() - 2)), &error), nullptr);
  EXPECT_EQ(error, SoundFont::Error::kFormat);
}

TEST_F(SoundFontTest, NewSynthesisersWorkAfterTheFileIsOverwritten) {
  const std::string bytes = ReadFile(VEXOLO_TEST_BANK);
  SoundFont::Error error;
  const auto font = SoundFont::Load(Write(bytes), &error);
  ASSERT_NE(font, nullptr);
  Write(std::string(bytes.size(), '\xFF'));
  const auto synth = font->CreateSynth();
  ASSERT_NE(synth, nullptr);
  synth->NoteOn(0, 60, 100);
  EXPECT_GT(Loudest(*synth), 0.01f);
}

TEST_F(SoundFontTest, ASynthesiserOutlivesEveryOtherHolderOfItsBank) {
  SoundFont::Error error;
  auto font = SoundFont::Load(VEXOLO_TEST_BANK, &error);
  ASSERT_NE(font, nullptr);
  const std::weak_ptr<SoundFont> watched = font;
  auto synth = font->CreateSynth();
  synth->NoteOn(0, 60, 100);
  font.reset();
  EXPECT_FALSE(watched.expired());
  EXPECT_GT(Loudest(*synth), 0.01f);
  synth.reset();
  EXPECT_TRUE(watched.expired());
}

TEST_F(SoundFontTest, ASpareSoundsLikeOneMadeOnDemand) {
  SoundFont::Error error;
  const auto font = SoundFont::Load(VEXOLO_TEST_BANK, &error);
  ASSERT_NE(font, nullptr);
  font->Prepare();
  font->Prepare();
  const auto spare = font->CreateSynth();
  const auto made = font->CreateSynth();
  ASSERT_NE(spare, nullptr);
  ASSERT_NE(made, nullptr);
  for (SoundFontSynth* synth : {spare.get(), made.get()}) synth->NoteOn(0, 60, 100);
  const float loudest = Loudest(*spare);
  EXPECT_GT(loudest, 0.01f);
  EXPECT_EQ(Loudest(*made), loudest);
}

TEST_F(SoundFontTest, ABankWithASpareLetsGoOfIt) {
  SoundFont::Error error;
  auto font = SoundFont::Load(VEXOLO_TEST_BANK, &error);
  ASSERT_NE(font, nullptr);
  font->Prepare();
  const std::weak_ptr<SoundFont> watched = font;
  font.reset();
  EXPECT_TRUE(watched.expired());
}

TEST_F(SoundFontTest, ThreadsMayLoadAndMakeAtOnce) {
  std::vector<std::thread> threads;
  std::vector<float> loudest(4);
  for (float& level : loudest) {
    threads.emplace_back([&level] {
      SoundFont::Error error;
      const auto font = SoundFont::Load(VEXOLO_TEST_BANK, &error);
      std::thread preparing([&font] { font->Prepare(); });
      const auto synth = font->CreateSynth();
      preparing.join();
      synth->NoteOn(0, 60, 100);
      level = Loudest(*synth);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_GT(loudest[0], 0.01f);
  EXPECT_THAT(loudest, testing::Each(loudest[0]));
}

TEST_F(SoundFontTest, PlaysABankOfOneWave) {
  SoundFont::Error error;
  const auto font = SoundFont::Load(Write(SmallBank().Bytes()), &error);
  ASSERT_NE(font, nullptr);
  EXPECT_EQ(font->info().name, "Small");
  EXPECT_EQ(font->info().copyright, "Nobody");
  EXPECT_EQ(font->info().comment, "One wave");
  EXPECT_EQ(font->info().presets, 1u);
  EXPECT_STREQ(font->PresetName(5, 3), "Square");
  EXPECT_EQ(font->PresetName(5, 0), nullptr);
  const auto synth = font->CreateSynth();
  synth->NoteOn(0, 60, 127);  // no preset 0 in any bank: the channel is silent
  EXPECT_EQ(Loudest(*synth), 0.0f);
  synth->Preset(0, 3, 5, false);
  synth->NoteOn(0, 60, 127);
  EXPECT_GT(Loudest(*synth), 0.05f);
}

TEST_F(SoundFontTest, AChannelWithoutPresetIgnoresNotes) {
  SoundFont::Error error;
  const auto font = SoundFont::Load(Write(SmallBank().Bytes()), &error);
  ASSERT_NE(font, nullptr);
  const auto synth = font->CreateSynth();
  synth->Preset(0, 3, 5, false);
  synth->Preset(0, 3, 6, false);
  synth->NoteOn(0, 60, 127);
  EXPECT_EQ(Loudest(*synth), 0.0f);
  EXPECT_FALSE(synth->Audible(0));
  EXPECT_EQ(synth->ActiveVoices(), 0);
  synth->Reset();
  synth->NoteOn(0, 60, 127);
  EXPECT_EQ(Loudest(*synth), 0.0f);
}

}  // namespace
}  // namespace vexolo::engine
