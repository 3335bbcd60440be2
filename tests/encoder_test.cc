// layer: engine
#include "engine/encoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#ifdef __linux__
#include <csignal>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "engine/gather.h"
#include "engine/wav_encoder.h"
#include "engine/wav_header.h"

namespace vexolo::engine {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::StartsWith;
using Bytes = std::vector<std::uint8_t>;

Bytes Ramp(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
  return bytes;
}

std::uint32_t Number(const Bytes& bytes, std::size_t at) {
  return static_cast<std::uint32_t>(bytes.at(at)) |
         static_cast<std::uint32_t>(bytes.at(at + 1)) << 8 |
         static_cast<std::uint32_t>(bytes.at(at + 2)) << 16 |
         static_cast<std::uint32_t>(bytes.at(at + 3)) << 24;
}

constexpr std::size_t kRiffLength = 4;
constexpr std::size_t kDataLength = 40;

std::string TestPath(const std::string& name) {
  return testing::TempDir() + "/" + testing::UnitTest::GetInstance()->current_test_info()->name() +
         "_" + name;
}

Bytes ReadAll(const std::string& path) {
  std::ifstream file(std::filesystem::path(std::u8string(path.begin(), path.end())),
                     std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(WavHeader, IsTheCanonicalOne) {
  const WavHeader header = MakeWavHeader(1000);
  const Bytes wanted = {'R', 'I', 'F',  'F',  0x0C, 0x04, 0,    0,    'W',  'A', 'V',
                        'E', 'f', 'm',  't',  ' ',  16,   0,    0,    0,    1,   0,
                        2,   0,   0x44, 0xAC, 0,    0,    0x10, 0xB1, 0x02, 0,   4,
                        0,   16,  0,    'd',  'a',  't',  'a',  0xE8, 0x03, 0,   0};
  EXPECT_THAT(header, ElementsAreArray(wanted));
}

TEST(Gather, PassesOnWholePiecesAndTheRest) {
  Gather gather;
  Bytes taken;
  std::vector<std::size_t> sizes;
  const Gather::Sink sink = [&](std::span<const std::uint8_t> piece) {
    taken.insert(taken.end(), piece.begin(), piece.end());
    sizes.push_back(piece.size());
    return true;
  };
  const Bytes bytes = Ramp(3 * Gather::kPieceBytes + 5);
  const std::span all(bytes);
  EXPECT_TRUE(gather.Add(all.first(100), sink));
  EXPECT_TRUE(sizes.empty());
  EXPECT_TRUE(gather.Add(all.subspan(100), sink));
  EXPECT_TRUE(gather.Flush(sink));
  EXPECT_TRUE(gather.Flush(sink));
  EXPECT_EQ(taken, bytes);
  EXPECT_THAT(sizes, ElementsAre(Gather::kPieceBytes, Gather::kPieceBytes, Gather::kPieceBytes, 5));
}

TEST(Gather, AfterARefusalNothingGoesOn) {
  Gather gather;
  int calls = 0;
  const Gather::Sink refuse = [&](std::span<const std::uint8_t>) {
    ++calls;
    return false;
  };
  EXPECT_FALSE(gather.Add(Ramp(5 * Gather::kPieceBytes), refuse));
  EXPECT_FALSE(gather.Add(Ramp(5 * Gather::kPieceBytes), refuse));
  EXPECT_FALSE(gather.Flush(refuse));
  EXPECT_EQ(calls, 1);
}

TEST(WavEncoder, WritesHeaderAndSamples) {
  const std::string path = TestPath("a.wav");
  const Bytes samples = Ramp(200'000);
  auto encoder = CreateWavEncoder(path);
  ASSERT_NE(encoder, nullptr);
  for (std::size_t at = 0; at < samples.size(); at += 10'000) {
    encoder->Write(std::span(samples).subspan(at, 10'000));
    EXPECT_TRUE(encoder->IsActive());
  }
  EXPECT_TRUE(encoder->Finish());
  EXPECT_FALSE(encoder->IsActive());
  EXPECT_TRUE(encoder->Finish());

  const Bytes file = ReadAll(path);
  ASSERT_EQ(file.size(), 44 + samples.size());
  const WavHeader header = MakeWavHeader(200'000);
  EXPECT_TRUE(std::equal(header.begin(), header.end(), file.begin()));
  EXPECT_TRUE(std::equal(samples.begin(), samples.end(), file.begin() + 44));
  EXPECT_EQ(Number(file, kRiffLength), 200'036u);
}

TEST(WavEncoder, DestructorCompletesTheFile) {
  const std::string path = TestPath("a.wav");
  CreateWavEncoder(path)->Write(Ramp(400));
  const Bytes file = ReadAll(path);
  ASSERT_EQ(file.size(), 444u);
  EXPECT_EQ(Number(file, kDataLength), 400u);
}

TEST(WavEncoder, FileWithoutSamples) {
  const std::string path = TestPath("a.wav");
  EXPECT_TRUE(CreateWavEncoder(path)->Finish());
  const Bytes file = ReadAll(path);
  ASSERT_EQ(file.size(), 44u);
  EXPECT_EQ(Number(file, kRiffLength), 36u);
  EXPECT_EQ(Number(file, kDataLength), 0u);
}

TEST(WavEncoder, PathIsUtf8AndAnOlderFileIsReplaced) {
  const std::string path = TestPath("Hélène – дом.wav");
  {
    std::ofstream old(std::filesystem::path(std::u8string(path.begin(), path.end())));
    old << std::string(5000, 'x');
  }
  auto encoder = CreateWavEncoder(path);
  ASSERT_NE(encoder, nullptr);
  encoder->Write(Ramp(8));
  EXPECT_TRUE(encoder->Finish());
  EXPECT_EQ(ReadAll(path).size(), 52u);
}

TEST(WavEncoder, NullWhereTheFileCannotBeCreated) {
  EXPECT_EQ(CreateWavEncoder(TestPath("no such folder/a.wav")), nullptr);
  EXPECT_EQ(CreateWavEncoder(testing::TempDir()), nullptr);
  EXPECT_EQ(CreateWavEncoder(std::string()), nullptr);
}

TEST(WavEncoder, WriteAfterFinishIsDropped) {
  const std::string path = TestPath("a.wav");
  auto encoder = CreateWavEncoder(path);
  EXPECT_TRUE(encoder->Finish());
  encoder->Write(Ramp(100'000));
  EXPECT_TRUE(encoder->Finish());
  encoder.reset();
  EXPECT_EQ(ReadAll(path).size(), 44u);
}

/// A disk that is full after `room` bytes, or fails where it is told to.
struct FakeDisk {
  Bytes file;
  std::size_t room = SIZE_MAX;
  bool fail_rewrite = false;
  bool fail_close = false;
  bool closed = false;
};

class FakeTarget final : public WavTarget {
 public:
  explicit FakeTarget(FakeDisk& disk) : disk_(disk) {}
  std::uint64_t Append(std::span<const std::uint8_t> bytes) override {
    const std::size_t count = std::min(bytes.size(), disk_.room - disk_.file.size());
    disk_.file.insert(disk_.file.end(), bytes.begin(),
                      bytes.begin() + static_cast<std::ptrdiff_t>(count));
    return count;
  }
  bool Rewrite(std::span<const std::uint8_t> bytes) override {
    if (disk_.fail_rewrite) return false;
    std::copy(bytes.begin(), bytes.end(), disk_.file.begin());
    return true;
  }
  bool Close(std::uint64_t length) override {
    disk_.file.resize(length);
    disk_.closed = true;
    return !disk_.fail_close;
  }

 private:
  FakeDisk& disk_;
};

std::unique_ptr<Encoder> EncoderOn(FakeDisk& disk, std::uint64_t max_file_bytes = 0xFFFFFFFFu) {
  return CreateWavEncoder(std::make_unique<FakeTarget>(disk), max_file_bytes);
}

TEST(WavEncoder, FullDiskMakesItInactiveAndTheHeaderFitsWhatIsThere) {
  FakeDisk disk;
  disk.room = 100'003;
  auto encoder = EncoderOn(disk);
  encoder->Write(Ramp(60'000));
  EXPECT_TRUE(encoder->IsActive());
  encoder->Write(Ramp(100'000));
  EXPECT_FALSE(encoder->IsActive());
  encoder->Write(Ramp(100'000));
  EXPECT_FALSE(encoder->Finish());
  EXPECT_FALSE(encoder->Finish());
  EXPECT_TRUE(disk.closed);
  constexpr std::uint32_t kWholeFrames = (100'003 - 44) / 4 * 4;
  EXPECT_EQ(disk.file.size(), 44 + kWholeFrames);
  EXPECT_EQ(Number(disk.file, kDataLength), kWholeFrames);
  EXPECT_EQ(Number(disk.file, kRiffLength), kWholeFrames + 36);
}

TEST(WavEncoder, DiskThatFillsUpInTheLastPieceIsNoticedAtFinish) {
  FakeDisk disk;
  disk.room = 1000;
  auto encoder = EncoderOn(disk);
  encoder->Write(Ramp(2000));
  EXPECT_FALSE(encoder->Finish());
  EXPECT_FALSE(encoder->IsActive());
  EXPECT_EQ(disk.file.size(), 1000u);
  EXPECT_EQ(Number(disk.file, kDataLength), 956u);
}

TEST(WavEncoder, NullWhereThereIsNoRoomForTheHeader) {
  FakeDisk disk;
  disk.room = 43;
  EXPECT_EQ(EncoderOn(disk), nullptr);
}

TEST(WavEncoder, FailuresAtTheEndAreReported) {
  FakeDisk no_header;
  no_header.fail_rewrite = true;
  EXPECT_FALSE(EncoderOn(no_header)->Finish());
  EXPECT_TRUE(no_header.closed);
  FakeDisk no_close;
  no_close.fail_close = true;
  EXPECT_FALSE(EncoderOn(no_close)->Finish());
}

TEST(WavEncoder, StopsWhereAHeaderCanTellNoMore) {
  FakeDisk disk;
  auto encoder = EncoderOn(disk, 44 + 1003);
  encoder->Write(Ramp(1000));
  EXPECT_TRUE(encoder->IsActive());
  encoder->Write(Ramp(4));
  EXPECT_FALSE(encoder->IsActive());
  EXPECT_FALSE(encoder->Finish());
  EXPECT_EQ(disk.file.size(), 1044u);
  EXPECT_EQ(Number(disk.file, kDataLength), 1000u);
}

TEST(WavEncoder, BlockAcrossTheLimitIsTakenAsFarAsItFits) {
  FakeDisk disk;
  auto encoder = EncoderOn(disk, 44 + 100'000);
  const Bytes samples = Ramp(150'000);
  encoder->Write(samples);
  EXPECT_FALSE(encoder->IsActive());
  EXPECT_FALSE(encoder->Finish());
  ASSERT_EQ(disk.file.size(), 100'044u);
  EXPECT_TRUE(std::equal(disk.file.begin() + 44, disk.file.end(), samples.begin()));
}

#ifdef __linux__
TEST(WavEncoder, FullDeviceTakesNoHeader) { EXPECT_EQ(CreateWavEncoder("/dev/full"), nullptr); }

TEST(WavEncoder, FileThatMayNotGrowKeepsAFittingHeader) {
  const std::string path = TestPath("a.wav");
  const pid_t child = fork();
  if (child == 0) {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{150'001, 150'001};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(9);
    auto encoder = CreateWavEncoder(path);
    const Bytes samples = Ramp(100'000);
    int blocks = 0;
    while (encoder->IsActive() && blocks < 10) {
      encoder->Write(samples);
      ++blocks;
    }
    const bool finished = encoder->Finish();
    _exit(!finished && blocks == 2 ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  const Bytes file = ReadAll(path);
  ASSERT_EQ(file.size(), 150'000u);
  EXPECT_EQ(Number(file, kDataLength), 149'956u);
  EXPECT_EQ(Number(file, kRiffLength), 149'992u);
}
#endif

/// What a fake process saw, and how it behaves.
struct FakeProgram {
  std::vector<std::string> arguments;
  Bytes input;
  std::vector<std::string> log;
  std::atomic<bool> running = true;
  std::size_t appetite = SIZE_MAX;  ///< takes so many bytes, then reads no more
  int status = 0;
};

class FakeProcess final : public ChildProcess {
 public:
  explicit FakeProcess(FakeProgram& program) : program_(program) {}
  bool Write(std::span<const std::uint8_t> bytes) override {
    const std::size_t count = std::min(bytes.size(), program_.appetite - program_.input.size());
    program_.input.insert(program_.input.end(), bytes.begin(),
                          bytes.begin() + static_cast<std::ptrdiff_t>(count));
    program_.log.push_back("write");
    return count == bytes.size();
  }
  bool Running() override { return program_.running; }
  void CloseInput() override { program_.log.push_back("close"); }
  int Wait() override {
    program_.log.push_back("wait");
    program_.running = false;
    return program_.status;
  }

 private:
  FakeProgram& program_;
};

ProcessStarter Starter(FakeProgram& program) {
  return [&program](const std::vector<std::string>& arguments) {
    program.arguments = arguments;
    return std::make_unique<FakeProcess>(program);
  };
}

TEST(ProcessEncoder, FeedsAHeaderOfUnknownLengthAndTheSamples) {
  FakeProgram program;
  auto encoder = CreateProcessEncoder({"lame", "-", "a b.mp3"}, Starter(program));
  ASSERT_NE(encoder, nullptr);
  EXPECT_THAT(program.arguments, ElementsAre("lame", "-", "a b.mp3"));
  const Bytes samples = Ramp(300'000);
  for (std::size_t at = 0; at < samples.size(); at += 7500) {
    encoder->Write(std::span(samples).subspan(at, 7500));
  }
  EXPECT_TRUE(encoder->IsActive());
  EXPECT_TRUE(encoder->Finish());
  EXPECT_FALSE(encoder->IsActive());
  ASSERT_EQ(program.input.size(), 44 + samples.size());
  EXPECT_EQ(Number(program.input, kRiffLength), 0u);
  EXPECT_EQ(Number(program.input, kDataLength), 0u);
  WavHeader unknown = MakeWavHeader(0, 0);
  EXPECT_TRUE(std::equal(unknown.begin(), unknown.end(), program.input.begin()));
  EXPECT_TRUE(std::equal(samples.begin(), samples.end(), program.input.begin() + 44));
}

TEST(ProcessEncoder, FinishWritesTheRestThenClosesThenWaits) {
  FakeProgram program;
  auto encoder = CreateProcessEncoder({"lame"}, Starter(program));
  encoder->Write(Ramp(4));
  EXPECT_TRUE(encoder->Finish());
  EXPECT_TRUE(encoder->Finish());
  EXPECT_THAT(program.log, ElementsAre("write", "close", "wait"));
  EXPECT_EQ(program.input.size(), 48u);
}

TEST(ProcessEncoder, DestructorFinishes) {
  FakeProgram program;
  CreateProcessEncoder({"lame"}, Starter(program))->Write(Ramp(4));
  EXPECT_THAT(program.log, ElementsAre("write", "close", "wait"));
}

TEST(ProcessEncoder, NullWhereNothingStarts) {
  FakeProgram program;
  EXPECT_EQ(CreateProcessEncoder({}, Starter(program)), nullptr);
  EXPECT_EQ(CreateProcessEncoder({"lame"}, ProcessStarter()), nullptr);
  EXPECT_EQ(CreateProcessEncoder({"lame"}, [](const auto&) { return nullptr; }), nullptr);
}

TEST(ProcessEncoder, InactiveOnceTheProcessReadsNoMore) {
  FakeProgram program;
  program.appetite = 100'000;
  auto encoder = CreateProcessEncoder({"lame"}, Starter(program));
  encoder->Write(Ramp(90'000));
  EXPECT_TRUE(encoder->IsActive());
  encoder->Write(Ramp(90'000));
  EXPECT_FALSE(encoder->IsActive());
  const std::size_t writes = program.log.size();
  encoder->Write(Ramp(500'000));
  EXPECT_EQ(program.log.size(), writes);
  EXPECT_FALSE(encoder->Finish());
}

TEST(ProcessEncoder, InactiveOnceTheProcessHasEnded) {
  FakeProgram program;
  auto encoder = CreateProcessEncoder({"lame"}, Starter(program));
  program.running = false;
  EXPECT_FALSE(encoder->IsActive());
  encoder->Write(Ramp(500'000));
  EXPECT_TRUE(program.input.empty());
  EXPECT_FALSE(encoder->Finish());
}

TEST(ProcessEncoder, ProcessThatEndsEarlyLeftSomethingOutWhateverItReports) {
  FakeProgram program;
  auto encoder = CreateProcessEncoder({"lame"}, Starter(program));
  encoder->Write(Ramp(100));
  program.running = false;
  EXPECT_FALSE(encoder->Finish());
}

TEST(ProcessEncoder, FailureOfTheProcessIsReported) {
  for (const int status : {1, 255, -9}) {
    FakeProgram program;
    program.status = status;
    auto encoder = CreateProcessEncoder({"lame"}, Starter(program));
    encoder->Write(Ramp(100));
    EXPECT_FALSE(encoder->Finish()) << status;
  }
}

TEST(ProcessEncoder, IsActiveFromAnotherThreadWhileWriting) {
  FakeProgram program;
  auto encoder = CreateProcessEncoder({"lame"}, Starter(program));
  std::atomic<bool> done = false;
  std::thread watcher([&] {
    while (!done) encoder->IsActive();
  });
  for (int block = 0; block < 500; ++block) encoder->Write(Ramp(1764));
  EXPECT_TRUE(encoder->Finish());
  done = true;
  watcher.join();
  EXPECT_EQ(program.input.size(), 44u + 500 * 1764);
}

}  // namespace
}  // namespace vexolo::engine
