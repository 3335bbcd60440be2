// layer: tool
#include <gtest/gtest.h>

#include "oggenc/wav_reader.h"
#include "wav_bytes.h"

namespace vexolo::oggenc {
namespace {

/// A stream with the given content, and a reader on it.
class Input {
 public:
  explicit Input(const std::string& content) : file_(std::tmpfile()), reader_(file_) {
    std::fwrite(content.data(), 1, content.size(), file_);
    std::rewind(file_);
  }
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  ~Input() { std::fclose(file_); }

  WavReader& reader() { return reader_; }

  std::vector<std::int16_t> Rest() {
    std::vector<std::int16_t> all;
    std::vector<std::int16_t> block(10);
    while (const std::size_t frames = reader_.ReadFrames(block)) {
      all.insert(all.end(), block.begin(),
                 block.begin() + static_cast<long>(frames) * reader_.format().channels);
    }
    return all;
  }

 private:
  std::FILE* file_;
  WavReader reader_;
};

const std::vector<std::int16_t> kSamples = {0, 1, -1, 32767, -32768, 258, -259, 12345, 3, 4, 5, 6};

void ExpectSound(const std::string& wav, const std::vector<std::int16_t>& samples) {
  Input input(wav);
  ASSERT_TRUE(input.reader().ReadHeader()) << input.reader().error();
  EXPECT_EQ(input.Rest(), samples);
  EXPECT_EQ(input.reader().error(), "");
}

std::string HeaderError(const std::string& wav) {
  Input input(wav);
  EXPECT_FALSE(input.reader().ReadHeader());
  return input.reader().error();
}

TEST(OggencWavReader, ReadsFormatAndSamples) {
  Input input(PlainWav(kSamples, 2, 44100));
  ASSERT_TRUE(input.reader().ReadHeader());
  EXPECT_EQ(input.reader().format().channels, 2);
  EXPECT_EQ(input.reader().format().sample_rate, 44100);
  EXPECT_EQ(input.Rest(), kSamples);
}

TEST(OggencWavReader, ReadsMono) {
  Input input(PlainWav(kSamples, 1, 8000));
  ASSERT_TRUE(input.reader().ReadHeader());
  EXPECT_EQ(input.reader().format().channels, 1);
  EXPECT_EQ(input.reader().format().sample_rate, 8000);
  EXPECT_EQ(input.Rest(), kSamples);
}

TEST(OggencWavReader, GoesToTheEndWhereLengthsAreUnknownOrFalse) {
  for (const std::uint32_t length : {0U, 0xFFFFFFFFU, 4U, 0x7FFFFFFFU, 0xFFFFFFF0U}) {
    SCOPED_TRACE(length);
    ExpectSound(PipedWav(kSamples, 2, 44100, length), kSamples);
  }
}

TEST(OggencWavReader, GoesToTheEndWhereTheLengthsPassed32Bits) {
  // As if the sound had 4 GiB + 8 bytes: both lengths keep their low 32 bits.
  const std::string wav = "RIFF" + Bytes32(36 + 8) + "WAVE" + FormatChunk(2, 44100) + "data" +
                          Bytes32(8) + SampleBytes(kSamples);
  ExpectSound(wav, kSamples);
}

TEST(OggencWavReader, LeavesOutChunksAfterTheSound) {
  ExpectSound(Form(FormatChunk(2, 44100) + Chunk("data", SampleBytes(kSamples)) +
                   Chunk("LIST", "INFOISFT....")),
              kSamples);
}

TEST(OggencWavReader, SkipsChunksBeforeTheSound) {
  ExpectSound(Form(Chunk("JUNK", "odd") + FormatChunk(2, 44100) +
                   Chunk("LIST", std::string(10001, 'x')) + Chunk("data", SampleBytes(kSamples))),
              kSamples);
}

TEST(OggencWavReader, ReadsTheExtensibleFormat) {
  const std::string guid_tail("\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71", 14);
  const std::string head = Bytes16(0xFFFE) + Bytes16(2) + Bytes32(48000) + Bytes32(192000) +
                           Bytes16(4) + Bytes16(16) + Bytes16(22) + Bytes16(16) + Bytes32(3);
  ExpectSound(
      Form(Chunk("fmt ", head + Bytes16(1) + guid_tail) + Chunk("data", SampleBytes(kSamples))),
      kSamples);
  EXPECT_EQ(HeaderError(Form(Chunk("fmt ", head + Bytes16(3) + guid_tail) + Chunk("data", ""))),
            "the sound is not 16-bit PCM");
  EXPECT_EQ(HeaderError(
                Form(Chunk("fmt ", head + Bytes16(1) + std::string(14, 'x')) + Chunk("data", ""))),
            "the sound is not 16-bit PCM");
}

TEST(OggencWavReader, AcceptsTheFormOfLongFiles) {
  std::string wav = PipedWav(kSamples, 2, 44100, 0xFFFFFFFF);
  wav.replace(0, 4, "RF64");
  wav.insert(12, Chunk("ds64", std::string(28, '\0')));
  ExpectSound(wav, kSamples);
}

TEST(OggencWavReader, DropsAnUnfinishedFrame) {
  for (const char* const rest : {"a", "ab", "abc"}) {
    ExpectSound(PipedWav(kSamples, 2, 44100, 0) + rest, kSamples);
  }
  ExpectSound(PipedWav(kSamples, 1, 44100, 0) + "a", kSamples);
}

TEST(OggencWavReader, ReadsNoSoundAtAll) { ExpectSound(PlainWav({}, 2, 44100), {}); }

TEST(OggencWavReader, SaysWhatIsWrong) {
  EXPECT_EQ(HeaderError(""), "no sound came in");
  EXPECT_EQ(HeaderError("RIFF"), "the header is cut short");
  EXPECT_EQ(HeaderError("MThd" + std::string(40, 'x')), "this is not a WAV file");
  EXPECT_EQ(HeaderError("RIFF" + Bytes32(50) + "sfbk" + std::string(50, 'x')),
            "this is not a WAV file");
  EXPECT_EQ(HeaderError(Form(Chunk("data", SampleBytes(kSamples)))),
            "the sound comes before its format");
  EXPECT_EQ(HeaderError(Form(Chunk("fmt ", "short"))), "the format is damaged");
  EXPECT_EQ(HeaderError("RIFF" + Bytes32(0) + "WAVEfmt " + Bytes32(0xFFFFFFF0)),
            "the format is damaged");
  EXPECT_EQ(HeaderError(Form(FormatChunk(2, 44100))), "the header is cut short");
  EXPECT_EQ(HeaderError(Form(FormatChunk(2, 44100) + "JUNK" + Bytes32(0xFFFFFFFF))),
            "the header is cut short");
  EXPECT_EQ(HeaderError(Form(FormatChunk(2, 44100, 3) + Chunk("data", ""))),
            "the sound is not 16-bit PCM");
  EXPECT_EQ(HeaderError(Form(FormatChunk(2, 44100, 1, 24) + Chunk("data", ""))),
            "the sound is not 16-bit PCM");
  for (const unsigned channels : {0U, 3U}) {
    EXPECT_EQ(HeaderError(Form(FormatChunk(channels, 44100) + Chunk("data", ""))),
              "the sound is neither mono nor stereo");
  }
  for (const unsigned rate : {0U, 7999U, 192001U}) {
    EXPECT_EQ(HeaderError(Form(FormatChunk(2, rate) + Chunk("data", ""))),
              "the sample rate is not between 8000 and 192000 Hz");
  }
}

TEST(OggencWavReader, TellsWhenTheStreamFails) {
  std::FILE* const folder = std::fopen("/", "rb");
  if (folder == nullptr) GTEST_SKIP() << "a folder cannot be opened as a file here";
  WavReader reader(folder);
  EXPECT_FALSE(reader.ReadHeader());
  EXPECT_EQ(reader.error().rfind("cannot read: ", 0), 0U) << reader.error();
  std::fclose(folder);
}

}  // namespace
}  // namespace vexolo::oggenc
