// layer: engine
#include "engine/sound_font_check.h"

#include <algorithm>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "small_bank.h"

namespace vexolo::engine {
namespace {

bool Passes(const std::string& bytes, SoundFontHeader* header = nullptr) {
  return LooksLikeSoundFont(
      std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()), header);
}

/// A bank after one change.
bool PassesWith(const std::function<void(SmallBank&)>& change) {
  SmallBank bank;
  change(bank);
  return Passes(bank.Bytes());
}

/// Counts what is asked of it; the file it plays may be larger than memory.
class CountingSource : public ByteSource {
 public:
  CountingSource(std::string head, std::uint64_t size) : head_(std::move(head)), size_(size) {}
  std::uint64_t size() const override { return size_; }
  bool Read(std::uint64_t offset, std::span<std::uint8_t> to) override {
    largest = std::max(largest, to.size());
    total += to.size();
    ++calls;
    for (std::size_t i = 0; i < to.size(); ++i) {
      to[i] = offset + i < head_.size() ? static_cast<std::uint8_t>(head_[offset + i]) : 0;
    }
    return offset + to.size() <= size_;
  }

  std::size_t largest = 0;
  std::size_t total = 0;
  int calls = 0;

 private:
  std::string head_;
  std::uint64_t size_;
};

TEST(SoundFontCheckTest, TellsWhatABankSaysOfItself) {
  SoundFontHeader header;
  const std::string bytes = SmallBank().Bytes();
  ASSERT_TRUE(Passes(bytes, &header));
  EXPECT_EQ(header.name, "Small");
  EXPECT_EQ(header.copyright, "Nobody");
  EXPECT_EQ(header.comment, "One wave");
  EXPECT_EQ(header.presets, 1u);
  EXPECT_EQ(header.size, bytes.size());
  EXPECT_EQ(header.samples.size, 220u);
  EXPECT_EQ(bytes.substr(header.samples.offset, 220), SmallBank().samples);
  EXPECT_EQ(bytes.substr(header.parameters.offset, 4), "phdr");
  EXPECT_EQ(header.parameters.offset + header.parameters.size, bytes.size());
}

TEST(SoundFontCheckTest, AcceptsARealBank) {
  FileSource file(VEXOLO_TEST_BANK);
  ASSERT_TRUE(file.is_open());
  SoundFontHeader header;
  EXPECT_TRUE(LooksLikeSoundFont(file, &header));
  EXPECT_EQ(header.name, "TimGM6mb1.sf2");
  EXPECT_EQ(header.presets, 136u);
}

TEST(SoundFontCheckTest, ReadsNoSampleData) {
  SmallBank bank;
  bank.samples.resize(10'000'000);
  const std::string bytes = bank.Bytes();
  CountingSource source(bytes, bytes.size());
  EXPECT_TRUE(LooksLikeSoundFont(source, nullptr));
  EXPECT_LT(source.total, 5000u);
}

TEST(SoundFontCheckTest, RefusesEveryTruncation) {
  const std::string bytes = SmallBank().Bytes();
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    EXPECT_FALSE(Passes(bytes.substr(0, size))) << size;
  }
}

TEST(SoundFontCheckTest, AcceptsBytesAfterTheBank) {
  EXPECT_TRUE(Passes(SmallBank().Bytes() + "more"));
}

TEST(SoundFontCheckTest, RefusesOtherForms) {
  const std::string bytes = SmallBank().Bytes();
  EXPECT_FALSE(Passes("RIFX" + bytes.substr(4)));
  EXPECT_FALSE(Passes(bytes.substr(0, 8) + "WAVE" + bytes.substr(12)));
}

TEST(SoundFontCheckTest, WantsTheThreeListsInTheirOrder) {
  const SmallBank bank;
  const auto form = [](const std::string& lists) { return Chunk("RIFF", "sfbk" + lists); };
  EXPECT_TRUE(Passes(form(bank.Info() + bank.Samples() + bank.Parameters())));
  EXPECT_FALSE(Passes(form(bank.Samples() + bank.Parameters())));
  EXPECT_FALSE(Passes(form(bank.Info() + bank.Parameters())));
  EXPECT_FALSE(Passes(form(bank.Info() + bank.Samples())));
  EXPECT_FALSE(Passes(form(bank.Samples() + bank.Info() + bank.Parameters())));
}

TEST(SoundFontCheckTest, WantsVersionTwo) {
  EXPECT_TRUE(PassesWith([](SmallBank& bank) { bank.info[0].second = Pair(2, 4); }));
  EXPECT_FALSE(PassesWith([](SmallBank& bank) { bank.info[0].second = Pair(1, 0); }));
  EXPECT_FALSE(PassesWith([](SmallBank& bank) { bank.info[0].second = Pair(3, 0); }));
  EXPECT_FALSE(PassesWith([](SmallBank& bank) { bank.info[0].second = Word(2); }));
  EXPECT_FALSE(PassesWith([](SmallBank& bank) { bank.info.erase(bank.info.begin()); }));
}

TEST(SoundFontCheckTest, WantsEveryTableInItsPlaceAndInWholeRecords) {
  const std::string bytes = SmallBank().Bytes();
  for (const char* id : {"phdr", "pbag", "pmod", "pgen", "inst", "ibag", "imod", "igen", "shdr"}) {
    std::string other = bytes;
    other.replace(other.find(id), 4, "junk");
    EXPECT_FALSE(Passes(other)) << id;
  }
  for (std::string SmallBank::*table :
       {&SmallBank::phdr, &SmallBank::pbag, &SmallBank::pmod, &SmallBank::pgen, &SmallBank::inst,
        &SmallBank::ibag, &SmallBank::imod, &SmallBank::igen, &SmallBank::shdr}) {
    EXPECT_FALSE(PassesWith([&](SmallBank& bank) { (bank.*table).append(2, '\0'); }));
  }
}

TEST(SoundFontCheckTest, WantsAtLeastOnePresetInstrumentAndSample) {
  EXPECT_FALSE(PassesWith([](SmallBank& bank) { bank.phdr.resize(38); }));
  EXPECT_FALSE(PassesWith([](SmallBank& bank) { bank.inst.resize(22); }));
  EXPECT_FALSE(PassesWith([](SmallBank& bank) { bank.shdr.resize(46); }));
}

TEST(SoundFontCheckTest, FollowsTheIndexesOfThePresets) {
  EXPECT_FALSE(PassesWith([](SmallBank& bank) {  // first zone not the first
    bank.phdr = PresetRecord("", 0, 0, 1) + PresetRecord("EOP", 0, 0, 1);
  }));
  EXPECT_FALSE(PassesWith([](SmallBank& bank) {  // beyond the zones
    bank.phdr = PresetRecord("", 0, 0, 0) + PresetRecord("EOP", 0, 0, 2);
  }));
  EXPECT_FALSE(PassesWith([](SmallBank& bank) {  // falling
    bank.phdr = PresetRecord("", 0, 0, 0) + PresetRecord("", 1, 0, 1) + PresetRecord("", 2, 0, 0) +
                PresetRecord("EOP", 0, 0, 1);
  }));
  EXPECT_FALSE(PassesWith([](SmallBank& bank) { bank.pbag = Pair(0, 0) + Pair(3, 0); }));
  EXPECT_FALSE(PassesWith([](SmallBank& bank) { bank.pbag = Pair(0, 0) + Pair(1, 7); }));
  EXPECT_FALSE(PassesWith([](SmallBank& bank) { bank.pbag = Pair(1, 0) + Pair(0, 0); }));
}

TEST(SoundFontCheckTest, FollowsTheIndexesOfTheInstruments) {
  EXPECT_FALSE(PassesWith(
      [](SmallBank& bank) { bank.inst = InstrumentRecord("", 0) + InstrumentRecord("EOI", 9); }));
  EXPECT_FALSE(PassesWith([](SmallBank& bank) { bank.ibag = Pair(0, 0) + Pair(65535, 0); }));
  EXPECT_FALSE(PassesWith([](SmallBank& bank) { bank.ibag = Pair(0, 0) + Pair(2, 65535); }));
}

TEST(SoundFontCheckTest, WantsTheNamedInstrumentAndSampleToExist) {
  EXPECT_FALSE(PassesWith([](SmallBank& bank) { bank.pgen = Pair(41, 1) + Pair(0, 0); }));
  EXPECT_FALSE(
      PassesWith([](SmallBank& bank) { bank.igen = Pair(54, 1) + Pair(53, 1) + Pair(0, 0); }));
}

TEST(SoundFontCheckTest, TheRecordsThatEndGeneratorsAndModulatorsMayBeMissing) {
  EXPECT_TRUE(PassesWith([](SmallBank& bank) {
    bank.pmod = bank.imod = "";
    bank.pgen.resize(4);
    bank.igen.resize(8);
  }));
}

TEST(SoundFontCheckTest, AcceptsZonesWithoutTarget) {
  EXPECT_TRUE(PassesWith([](SmallBank& bank) {
    bank.phdr = PresetRecord("", 0, 0, 0) + PresetRecord("EOP", 0, 0, 3);
    bank.pbag = Pair(0, 0) + Pair(0, 0) + Pair(0, 0) + Pair(1, 0);
  }));
}

TEST(SoundFontCheckTest, WantsSamplesInsideTheSampleData) {
  EXPECT_TRUE(PassesWith(
      [](SmallBank& bank) { bank.shdr = SampleRecord(0, 110) + SampleRecord(0, 0, 0); }));
  EXPECT_FALSE(PassesWith(
      [](SmallBank& bank) { bank.shdr = SampleRecord(0, 111) + SampleRecord(0, 0, 0); }));
  EXPECT_FALSE(PassesWith(
      [](SmallBank& bank) { bank.shdr = SampleRecord(65, 64) + SampleRecord(0, 0, 0); }));
  EXPECT_TRUE(PassesWith([](SmallBank& bank) {  // in a ROM
    bank.shdr = SampleRecord(0, 9999, 0x8001) + SampleRecord(0, 0, 0);
  }));
  EXPECT_FALSE(PassesWith([](SmallBank& bank) {  // compressed
    bank.shdr = SampleRecord(0, 64, 0x11) + SampleRecord(0, 0, 0);
  }));
}

TEST(SoundFontCheckTest, RefusesBanksThatGrowBeyondMeasure) {
  SmallBank bank;  // 2,000 preset zones, each with an instrument of 1,000 zones
  const int kPresetZones = 2000;
  const int kInstrumentZones = 1000;
  bank.phdr = PresetRecord("", 0, 0, 0) + PresetRecord("EOP", 0, 0, kPresetZones);
  bank.inst = InstrumentRecord("", 0) + InstrumentRecord("EOI", kInstrumentZones);
  bank.pbag = bank.pgen = bank.ibag = bank.igen = "";
  for (int i = 0; i <= kPresetZones; ++i) bank.pbag += Pair(i, 0), bank.pgen += Pair(41, 0);
  for (int i = 0; i <= kInstrumentZones; ++i) bank.ibag += Pair(i, 0), bank.igen += Pair(53, 0);
  EXPECT_FALSE(Passes(bank.Bytes()));
}

TEST(SoundFontCheckTest, AnswersHugeClaimsQuicklyAndInLittleMemory) {
  const SmallBank bank;
  const std::string huge = DoubleWord(0xFFFFFFFF);
  const std::string claims[] = {
      "RIFF" + huge + "sfbk" + bank.Info() + bank.Samples() + "LIST" + huge + "pdta" + "phdr" +
          huge,
      "RIFF" + huge + "sfbk" + "LIST" + huge + "INFO" + "ICMT" + huge,
      "RIFF" + huge + "sfbk" + bank.Info() + bank.Samples() + "LIST" + DoubleWord(0xFFFF0000) +
          "pdta" + "phdr" + DoubleWord(38 * 100'000'000u),
  };
  for (const std::string& claim : claims) {
    CountingSource source(claim, std::uint64_t{1} << 32);
    EXPECT_FALSE(LooksLikeSoundFont(source, nullptr));
    EXPECT_LE(source.largest, 65536u);
    EXPECT_LT(source.calls, 1000);
  }
}

TEST(SoundFontCheckTest, EveryChangedByteIsAnsweredWithoutHarm) {
  const std::string bytes = SmallBank().Bytes();
  int refused = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    for (const char value : {'\0', '\x7F', '\xFF'}) {
      std::string changed = bytes;
      changed[i] = value;
      refused += Passes(changed) ? 0 : 1;
    }
  }
  EXPECT_GT(refused, 100);
}

TEST(FileSourceTest, SaysWhatItCannotOpen) {
  EXPECT_FALSE(FileSource(testing::TempDir() + "no such bank.sf2").is_open());
  EXPECT_FALSE(FileSource(testing::TempDir()).is_open());
}

TEST(FileSourceTest, ReadsWithinTheFileOnly) {
  FileSource file(VEXOLO_TEST_BANK);
  std::array<std::uint8_t, 4> bytes{};
  EXPECT_TRUE(file.Read(0, bytes));
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "RIFF");
  EXPECT_TRUE(file.Read(file.size() - 4, bytes));
  EXPECT_FALSE(file.Read(file.size() - 3, bytes));
  EXPECT_FALSE(file.Read(~std::uint64_t{0}, bytes));
  EXPECT_TRUE(file.Read(8, bytes));
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "sfbk");
}

}  // namespace
}  // namespace vexolo::engine
