// layer: engine
#include "engine/preset_bank.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/sound_font.h"
#include "engine/sound_font_synth.h"
#include "small_bank.h"
#include "tone_bank.h"

namespace vexolo::engine {
namespace {

std::vector<std::uint8_t> BytesOf(const std::string& text) { return {text.begin(), text.end()}; }

std::vector<std::uint8_t> FileBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return BytesOf({std::istreambuf_iterator<char>(file), {}});
}

/// A bank in memory with what the check says of it.
struct Bank {
  explicit Bank(std::vector<std::uint8_t> contents) : bytes(std::move(contents)), source(bytes) {
    EXPECT_TRUE(LooksLikeSoundFont(source, &header));
  }

  std::unique_ptr<PresetBank> Preset(int bank, int program) {
    return PresetBank::Make(source, header, bank, program);
  }

  std::vector<std::uint8_t> bytes;
  MemorySource source;
  SoundFontHeader header;
};

std::vector<std::uint8_t> AllOf(ByteSource& source) {
  std::vector<std::uint8_t> bytes(source.size());
  EXPECT_TRUE(source.Read(0, bytes));
  return bytes;
}

TEST(PresetBank, IsABankOfOnePreset) {
  Bank whole(FileBytes(VEXOLO_TEST_BANK));
  ASSERT_EQ(whole.header.presets, 136u);
  const auto preset = whole.Preset(0, 48);
  ASSERT_NE(preset, nullptr);
  const std::vector<std::uint8_t> bytes = AllOf(*preset);
  SoundFontHeader header;
  ASSERT_TRUE(LooksLikeSoundFont(bytes, &header));
  EXPECT_EQ(header.presets, 1u);
  EXPECT_EQ(header.name, whole.header.name);
  EXPECT_EQ(header.comment, whole.header.comment);
  EXPECT_EQ(header.size, bytes.size());
  EXPECT_LT(header.parameters.size, whole.header.parameters.size / 20);
  EXPECT_LT(header.samples.size, whole.header.samples.size / 5);
  EXPECT_GT(header.samples.size, 10000u);
}

TEST(PresetBank, HasItsOwnSamplesEachWithSilenceBehindIt) {
  Bank whole(BytesOf(testing::ToneBank()));
  constexpr std::uint64_t kFrames = 416;  // of each tone
  int index = 0;
  for (const testing::Tone& tone : testing::kTones) {
    const auto preset = whole.Preset(tone.bank, tone.program);
    ASSERT_NE(preset, nullptr) << tone.bank << ":" << tone.program;
    const std::vector<std::uint8_t> bytes = AllOf(*preset);
    SoundFontHeader header;
    ASSERT_TRUE(LooksLikeSoundFont(bytes, &header));
    ASSERT_EQ(header.samples.size, 2 * (kFrames + 46));
    const auto* own = bytes.data() + header.samples.offset;
    const auto* theirs =
        whole.bytes.data() + whole.header.samples.offset + 2 * (kFrames + 46) * index;
    EXPECT_TRUE(std::equal(own, own + 2 * kFrames, theirs));
    EXPECT_TRUE(std::all_of(own + 2 * kFrames, own + header.samples.size,
                            [](std::uint8_t byte) { return byte == 0; }));
    ++index;
  }
}

TEST(PresetBank, KeepsTheLowBytesOf24BitSamples) {
  SmallBank bank;
  const std::string plain = bank.Bytes();
  const std::size_t samples_end = plain.find("pdta") - 8;
  std::string low;
  for (std::size_t i = 0; i < bank.samples.size() / 2; ++i) low += static_cast<char>(i + 1);
  std::string bytes = plain;
  const std::string chunk = Chunk("sm24", low);
  bytes.insert(samples_end, chunk);
  const auto add = [&](std::size_t at) {
    std::uint32_t size = 0;
    for (int i = 3; i >= 0; --i) size = size << 8 | static_cast<std::uint8_t>(bytes[at + i]);
    bytes.replace(at, 4, DoubleWord(size + static_cast<std::uint32_t>(chunk.size())));
  };
  add(4);
  add(bytes.find("sdta") - 4);
  Bank whole(BytesOf(bytes));
  const auto preset = whole.Preset(3, 5);
  ASSERT_NE(preset, nullptr);
  const std::vector<std::uint8_t> copy = AllOf(*preset);
  ASSERT_TRUE(LooksLikeSoundFont(copy, nullptr));
  const std::string text(copy.begin(), copy.end());
  const std::size_t at = text.find("sm24");
  ASSERT_NE(at, std::string::npos);
  EXPECT_EQ(text.substr(at + 8, 64), low.substr(0, 64));
  EXPECT_EQ(text.substr(at + 8 + 64, 46), std::string(46, '\0'));
}

TEST(PresetBank, CanBeReadInAnyPieces) {
  Bank whole(BytesOf(testing::ToneBank()));
  const auto preset = whole.Preset(8, 1);
  ASSERT_NE(preset, nullptr);
  const std::vector<std::uint8_t> expected = AllOf(*preset);
  for (const std::size_t piece : {1u, 3u, 7u, 64u}) {
    std::vector<std::uint8_t> bytes(expected.size());
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
      const std::size_t count = std::min(piece, bytes.size() - at);
      ASSERT_TRUE(preset->Read(at, std::span(bytes).subspan(at, count)));
    }
    EXPECT_EQ(bytes, expected) << piece;
  }
  std::vector<std::uint8_t> beyond(2);
  EXPECT_FALSE(preset->Read(preset->size() - 1, beyond));
  EXPECT_FALSE(preset->Read(preset->size() + 1, {}));
}

TEST(PresetBank, APresetThatPlaysNothingIsNone) {
  SmallBank bank;
  bank.igen = Pair(54, 1) + Pair(21, 0) + Pair(0, 0);  // an instrument without a sample
  Bank whole(BytesOf(bank.Bytes()));
  EXPECT_EQ(whole.header.presets, 1u);
  EXPECT_EQ(whole.Preset(3, 5), nullptr);
}

TEST(PresetBank, OverlappingSamplesDoNotGrowBeyondWhatAFileCanHold) {
  constexpr std::uint32_t kSamples = 40000;
  constexpr std::uint32_t kFrames = 32768;  // all of them the same
  SmallBank bank;
  bank.samples = std::string(2 * (kFrames + 46), '\0');
  bank.inst = InstrumentRecord("Many", 0) + InstrumentRecord("EOI", kSamples);
  bank.ibag.clear();
  bank.igen.clear();
  bank.shdr.clear();
  for (std::uint32_t i = 0; i < kSamples; ++i) {
    bank.ibag += Pair(i, 0);
    bank.igen += Pair(53, i);
    bank.shdr += SampleRecord(0, kFrames);
  }
  bank.ibag += Pair(kSamples, 0);
  bank.shdr += SampleRecord(0, 0, 0);
  Bank whole(BytesOf(bank.Bytes()));
  EXPECT_EQ(whole.header.presets, 1u);
  EXPECT_EQ(whole.Preset(3, 5), nullptr);
}

TEST(PresetBank, EveryPresetOfABankIsFoundAndNoOther) {
  Bank whole(BytesOf(testing::ToneBank()));
  for (const testing::Tone& tone : testing::kTones) {
    const auto preset = whole.Preset(tone.bank, tone.program);
    ASSERT_NE(preset, nullptr) << tone.bank << ":" << tone.program;
    EXPECT_TRUE(LooksLikeSoundFont(AllOf(*preset), nullptr));
  }
  EXPECT_EQ(whole.Preset(0, 2), nullptr);
  EXPECT_EQ(whole.Preset(9, 0), nullptr);
}

TEST(PresetBank, WhatStandsBehindAZonesTargetIsLeftOut) {
  SmallBank bank;
  bank.igen = Pair(54, 1) + Pair(53, 0) + Pair(53, 900) + Pair(0, 0);
  bank.ibag = Pair(0, 0) + Pair(3, 0);
  Bank whole(BytesOf(bank.Bytes()));
  const auto preset = whole.Preset(3, 5);
  ASSERT_NE(preset, nullptr);
  EXPECT_TRUE(LooksLikeSoundFont(AllOf(*preset), nullptr));
}

/// Plays the same on a channel of the whole bank and on the channel alone.
class ChannelSynthTest : public ::testing::Test {
 protected:
  void SetUp() override {
    SoundFont::Error error;
    font_ = SoundFont::Load(VEXOLO_TEST_BANK, &error, SoundFont::Samples::kWhenPlayed);
    ASSERT_NE(font_, nullptr);
    whole_ = font_->CreateSynth();
    ASSERT_NE(whole_, nullptr);
  }

  std::shared_ptr<SoundFont> font_;
  std::unique_ptr<SoundFontSynth> whole_;
  DryBlock block_;
};

TEST_F(ChannelSynthTest, SoundsLikeTheChannelOfTheWholeBank) {
  constexpr int kPrograms[] = {0, 19, 40, 43, 48, 56, 73, 89};
  for (const int channel : {0, 9}) {
    const auto whole = font_->CreateSynth();
    const auto alone = font_->CreateChannelSynth(channel);
    ASSERT_NE(alone, nullptr);
    int step = 0;
    double loudest = 0;
    for (const int program : kPrograms) {
      for (ChannelEvents* synth :
           {static_cast<ChannelEvents*>(whole.get()), static_cast<ChannelEvents*>(alone.get())}) {
        synth->Preset(channel, 0, channel == 9 ? 0 : program, channel == 9);
        synth->NoteOn(channel, 40 + program % 12, 100);
        synth->NoteOn(channel, 47 + program % 12, 90);
        synth->PitchWheel(channel, 8192 + 100 * program % 8000);
        synth->Controller(channel, 1, program);
      }
      // Longer than the way to a sample's loop, and than the notes' decay.
      for (int frames = 0; frames < 80000;) {
        const int now = 1 + (step * 37) % kMaxBlock;
        if (frames < 30000 && frames + now >= 30000) {
          for (const int key : {40 + program % 12, 47 + program % 12}) {
            whole->NoteOff(channel, key);
            alone->NoteOff(channel, key);
          }
        }
        std::array<float, kMaxBlock> left;
        std::array<float, kMaxBlock> right;
        whole->Render(block_, now);
        const bool sounds = alone->Render(left.data(), right.data(), now);
        for (int i = 0; i < now; ++i) {
          ASSERT_EQ(left[i], block_.left[channel][i]) << program << " at " << frames + i;
          ASSERT_EQ(right[i], block_.right[channel][i]);
          ASSERT_TRUE(sounds || left[i] == 0);
          loudest = std::max(loudest, static_cast<double>(std::abs(left[i])));
        }
        frames += now;
        ++step;
      }
    }
    EXPECT_GT(loudest, 0.02);
    EXPECT_EQ(alone->ActiveVoices(), whole->ActiveVoices());
  }
}

TEST_F(ChannelSynthTest, IsSilentWithoutPresetAndAfterAReset) {
  const auto alone = font_->CreateChannelSynth(3);
  ASSERT_NE(alone, nullptr);
  std::array<float, kMaxBlock> left;
  std::array<float, kMaxBlock> right;
  alone->NoteOn(3, 60, 127);
  EXPECT_FALSE(alone->Render(left.data(), right.data(), kMaxBlock));
  alone->Preset(3, 0, 0, false);
  alone->NoteOn(3, 60, 127);
  EXPECT_TRUE(alone->Render(left.data(), right.data(), kMaxBlock));
  EXPECT_GT(alone->ActiveVoices(), 0);
  alone->Reset();
  EXPECT_EQ(alone->ActiveVoices(), 0);
  left.fill(99);
  EXPECT_FALSE(alone->Render(left.data(), right.data(), kMaxBlock));
  EXPECT_EQ(left, (std::array<float, kMaxBlock>{}));
  alone->NoteOn(3, 60, 127);
  EXPECT_TRUE(alone->Render(left.data(), right.data(), kMaxBlock)) << "presets stay";
}

TEST_F(ChannelSynthTest, OfTwoPresetsInOnePlaceTheSameOnePlays) {
  SmallBank bank;
  // The second one plays an octave higher.
  bank.phdr = PresetRecord("First", 5, 3, 0) + PresetRecord("Second", 5, 3, 1) +
              PresetRecord("EOP", 0, 0, 3);
  bank.pbag = Pair(0, 0) + Pair(1, 0) + Pair(3, 0) + Pair(3, 0);
  bank.phdr.replace(bank.phdr.size() - 14, 2, Word(2));
  bank.pbag = Pair(0, 0) + Pair(1, 0) + Pair(3, 0);
  bank.pgen = Pair(41, 0) + Pair(51, 12) + Pair(41, 0) + Pair(0, 0);
  const std::string path = ::testing::TempDir() + "two_presets.sf2";
  std::ofstream(path, std::ios::binary) << bank.Bytes();
  SoundFont::Error error;
  const auto font = SoundFont::Load(path, &error);
  ASSERT_NE(font, nullptr);
  const auto whole = font->CreateSynth();
  const auto alone = font->CreateChannelSynth(0);
  std::array<float, kMaxBlock> left;
  std::array<float, kMaxBlock> right;
  whole->Preset(0, 3, 5, false);
  alone->Preset(0, 3, 5, false);
  whole->NoteOn(0, 60, 127);
  alone->NoteOn(0, 60, 127);
  whole->Render(block_, kMaxBlock);
  ASSERT_TRUE(alone->Render(left.data(), right.data(), kMaxBlock));
  EXPECT_EQ(left, block_.left[0]);
  std::filesystem::remove(path);
}

}  // namespace
}  // namespace vexolo::engine
