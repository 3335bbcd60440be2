// layer: core
#include "platform/process.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "engine/encoder.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using ::testing::HasSubstr;
using Bytes = std::vector<std::uint8_t>;
using Arguments = std::vector<std::string>;

Bytes Ramp(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
  return bytes;
}

std::string TestPath(const std::string& name) {
  return testing::TempDir() + "/" + testing::UnitTest::GetInstance()->current_test_info()->name() +
         "_" + name;
}

std::string ReadAll(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

int OpenDescriptors() {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    count += entry.exists() || entry.is_symlink() ? 1 : 0;
  }
  return count;
}

bool HasChildren() { return waitid(P_ALL, 0, nullptr, WEXITED | WNOHANG | WNOWAIT) == 0; }

bool EndsWithin(Process& process, milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (process.Running()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(milliseconds(1));
  }
  return true;
}

/// Every test ends without a child and with the descriptors that it began with.
class ProcessTest : public testing::Test {
 protected:
  void TearDown() override {
    EXPECT_FALSE(HasChildren());
    EXPECT_EQ(OpenDescriptors(), descriptors_);
  }
  const int descriptors_ = OpenDescriptors();
};

TEST_F(ProcessTest, FeedsStandardInputAndKeepsWhatIsPrinted) {
  const std::string path = TestPath("copy");
  const Bytes bytes = Ramp(5'000'000);
  auto process = Process::Start({"cat"}, path);
  ASSERT_NE(process, nullptr);
  for (std::size_t at = 0; at < bytes.size(); at += 100'000) {
    ASSERT_TRUE(process->Write(std::span(bytes).subspan(at, 100'000)));
  }
  EXPECT_TRUE(process->Running());
  process->CloseInput();
  EXPECT_EQ(process->Wait(), 0);
  EXPECT_FALSE(process->Running());
  EXPECT_EQ(process->Wait(), 0);
  const std::string copy = ReadAll(path);
  EXPECT_TRUE(std::equal(copy.begin(), copy.end(), bytes.begin(), bytes.end(),
                         [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; }));
}

TEST_F(ProcessTest, ErrorsArePrintedToTheSameFile) {
  const std::string path = TestPath("printed");
  auto process = Process::Start({"sh", "-c", "echo out; echo err >&2"}, path);
  ASSERT_NE(process, nullptr);
  EXPECT_EQ(process->Wait(), 0);
  EXPECT_EQ(ReadAll(path), "out\nerr\n");
}

TEST_F(ProcessTest, ArgumentsArriveUntouchedByAnyShell) {
  const std::string path = TestPath("printed");
  auto process =
      Process::Start({"printf", "%s|", "a b", "$HOME", "`id`", "x;y", "\"q\"", "é", "", "*"}, path);
  ASSERT_NE(process, nullptr);
  EXPECT_EQ(process->Wait(), 0);
  EXPECT_EQ(ReadAll(path), "a b|$HOME|`id`|x;y|\"q\"|é||*|");
}

TEST_F(ProcessTest, VariablesTakeThePlaceOfOurs) {
  setenv("VEXOLO_TEST_VARIABLE", "ours", 1);
  setenv("VEXOLO_TEST_VARIABLE_2", "kept", 1);
  const std::string printed = TestPath("printed");
  auto process = Process::Start({"/usr/bin/env"}, printed, {"VEXOLO_TEST_VARIABLE=theirs"});
  unsetenv("VEXOLO_TEST_VARIABLE");
  unsetenv("VEXOLO_TEST_VARIABLE_2");
  ASSERT_NE(process, nullptr);
  EXPECT_EQ(process->Wait(), 0);
  const std::string variables = ReadAll(printed);
  EXPECT_THAT(variables, HasSubstr("VEXOLO_TEST_VARIABLE=theirs\n"));
  EXPECT_THAT(variables, ::testing::Not(HasSubstr("=ours\n")));
  EXPECT_THAT(variables, HasSubstr("VEXOLO_TEST_VARIABLE_2=kept\n"));
  EXPECT_THAT(variables, HasSubstr("PATH="));
}

TEST_F(ProcessTest, ExitStatusAndSignal) {
  EXPECT_EQ(Process::Start({"true"})->Wait(), 0);
  EXPECT_EQ(Process::Start({"false"})->Wait(), 1);
  EXPECT_EQ(Process::Start({"sh", "-c", "exit 77"})->Wait(), 77);
  EXPECT_EQ(Process::Start({"sh", "-c", "kill -TERM $$"})->Wait(), -SIGTERM);
}

TEST_F(ProcessTest, MissingProgramIsAFailedStart) {
  EXPECT_EQ(Process::Start({"no-such-program-anywhere"}), nullptr);
  EXPECT_EQ(Process::Start({"/no/such/program"}), nullptr);
  EXPECT_EQ(Process::Start({""}), nullptr);
  EXPECT_EQ(Process::Start({}), nullptr);
  EXPECT_EQ(Process::Start({"/"}), nullptr);
  EXPECT_EQ(Process::Start({"printf", std::string("a\0b", 3)}), nullptr);
  EXPECT_EQ(Process::Start({"true"}, "/no such folder/printed"), nullptr);
}

TEST_F(ProcessTest, FileThatIsNoProgramIsAFailedStart) {
  const std::string path = TestPath("text");
  std::ofstream(path) << "#!/no/such/interpreter\n";
  EXPECT_EQ(Process::Start({path}), nullptr);
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  EXPECT_EQ(Process::Start({path}), nullptr);
}

TEST_F(ProcessTest, SearchPathServesOnlyNamesWithoutAFolder) {
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path("/usr");
  auto relative = Process::Start({"bin/true"});
  auto missing = Process::Start({"./true"});
  std::filesystem::current_path(before);
  ASSERT_NE(relative, nullptr);
  EXPECT_EQ(relative->Wait(), 0);
  EXPECT_EQ(missing, nullptr);
}

TEST_F(ProcessTest, ProcessThatStopsReadingEndsTheWriting) {
  auto process = Process::Start({"head", "-c", "100"});
  ASSERT_NE(process, nullptr);
  EXPECT_FALSE(process->Write(Ramp(4'000'000)));
  EXPECT_EQ(process->Wait(), 0);
  EXPECT_FALSE(process->Write(Ramp(10)));
}

TEST_F(ProcessTest, WritingToADeadProcessRaisesNoSignal) {
  // The default action of the signal would end this program.
  struct sigaction old {};
  struct sigaction defaults {};
  defaults.sa_handler = SIG_DFL;
  ASSERT_EQ(sigaction(SIGPIPE, &defaults, &old), 0);
  auto process = Process::Start({"true"});
  ASSERT_NE(process, nullptr);
  ASSERT_TRUE(EndsWithin(*process, milliseconds(5000)));
  for (int round = 0; round < 3; ++round) EXPECT_FALSE(process->Write(Ramp(10)));
  sigset_t pending;
  sigpending(&pending);
  EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
  sigset_t mask;
  pthread_sigmask(SIG_SETMASK, nullptr, &mask);
  EXPECT_EQ(sigismember(&mask, SIGPIPE), 0);
  sigaction(SIGPIPE, &old, nullptr);
}

TEST_F(ProcessTest, SignalThatWasPendingBeforeStaysPending) {
  sigset_t pipe;
  sigset_t old;
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipe, &old);
  raise(SIGPIPE);
  auto process = Process::Start({"true"});
  ASSERT_NE(process, nullptr);
  ASSERT_TRUE(EndsWithin(*process, milliseconds(5000)));
  EXPECT_FALSE(process->Write(Ramp(10)));
  const timespec no_time{};
  EXPECT_EQ(sigtimedwait(&pipe, nullptr, &no_time), SIGPIPE);
  pthread_sigmask(SIG_SETMASK, &old, nullptr);
}

TEST_F(ProcessTest, KilledWhileItIsWrittenTo) {
  auto process = Process::Start({"sleep", "60"});
  ASSERT_NE(process, nullptr);
  std::atomic<bool> written = true;
  std::thread writer([&] { written = process->Write(Ramp(8'000'000)); });
  std::this_thread::sleep_for(milliseconds(30));
  EXPECT_TRUE(process->Running());
  process->Kill();
  writer.join();
  EXPECT_FALSE(written);
  EXPECT_EQ(process->Wait(), -SIGKILL);
  process->Kill();
}

TEST_F(ProcessTest, ClosedInputTakesNothing) {
  auto process = Process::Start({"cat"});
  ASSERT_NE(process, nullptr);
  process->CloseInput();
  process->CloseInput();
  EXPECT_FALSE(process->Write(Ramp(1)));
  EXPECT_FALSE(process->Write({}));
  EXPECT_EQ(process->Wait(), 0);
}

TEST_F(ProcessTest, DestructorEndsTheInputAndWaits) {
  const std::string path = TestPath("copy");
  {
    auto process = Process::Start({"cat"}, path);
    ASSERT_NE(process, nullptr);
    EXPECT_TRUE(process->Write(Ramp(1000)));
  }
  EXPECT_EQ(ReadAll(path).size(), 1000u);
}

TEST_F(ProcessTest, ChildInheritsNothingButItsStandardStreams) {
  const std::string path = TestPath("printed");
  const int open_for_children = open("/dev/null", O_RDONLY);  // without O_CLOEXEC
  auto other = Process::Start({"cat"});
  auto process = Process::Start({"ls", "/proc/self/fd"}, path);
  ASSERT_NE(process, nullptr);
  EXPECT_EQ(process->Wait(), 0);
  EXPECT_EQ(ReadAll(path), "0\n1\n2\n3\n") << "3 is the folder that is being listed";
  close(open_for_children);
}

TEST_F(ProcessTest, ChildFindsSignalsAsAProgramExpectsThem) {
  struct sigaction old {};
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignore, &old);
  sigset_t all;
  sigset_t old_mask;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &old_mask);
  const std::string path = TestPath("printed");
  auto process = Process::Start({"grep", "-E", "^Sig(Blk|Ign)", "/proc/self/status"}, path);
  pthread_sigmask(SIG_SETMASK, &old_mask, nullptr);
  sigaction(SIGPIPE, &old, nullptr);
  ASSERT_NE(process, nullptr);
  EXPECT_EQ(process->Wait(), 0);
  const std::string status = ReadAll(path);
  EXPECT_THAT(status, HasSubstr("SigBlk:\t0000000000000000"));
  const auto ignored = std::stoull(status.substr(status.find("SigIgn:\t") + 8), nullptr, 16);
  EXPECT_EQ(ignored >> (SIGPIPE - 1) & 1, 0u);
}

TEST_F(ProcessTest, WorksWithoutStandardStreamsOfItsOwn) {
  const std::string path = TestPath("copy");
  const pid_t child = fork();
  if (child == 0) {
    close(STDIN_FILENO);
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
    auto process = Process::Start({"cat"}, path);
    const bool good = process != nullptr && process->Write(Ramp(1000));
    process->CloseInput();
    _exit(good && process->Wait() == 0 ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(ReadAll(path).size(), 1000u);
}

TEST_F(ProcessTest, InputHoldsEnoughToWorkAhead) {
  auto process = Process::Start({"sleep", "60"});
  ASSERT_NE(process, nullptr);
  std::atomic<bool> done = false;
  std::thread writer([&] {
    process->Write(Ramp(1 << 20));  // sixteen times the usual size of a pipe
    done = true;
  });
  const auto end = std::chrono::steady_clock::now() + milliseconds(2000);
  while (!done && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(milliseconds(1));
  }
  EXPECT_TRUE(done);
  process->Kill();
  writer.join();
}

TEST_F(ProcessTest, RunningAndWaitFromOtherThreads) {
  for (int round = 0; round < 20; ++round) {
    auto process = Process::Start({"cat"});
    ASSERT_NE(process, nullptr);
    std::vector<std::thread> threads;
    std::atomic<int> ended_well = 0;
    for (int thread = 0; thread < 2; ++thread) {
      threads.emplace_back([&] { ended_well += process->Wait() == 0 ? 1 : 0; });
      threads.emplace_back([&] {
        while (process->Running()) std::this_thread::yield();
        ended_well += process->Wait() == 0 ? 1 : 0;
      });
    }
    EXPECT_TRUE(process->Write(Ramp(100'000)));
    EXPECT_TRUE(process->Running());
    process->CloseInput();
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(ended_well, 4);
  }
}

TEST_F(ProcessTest, AThousandStartsLeaveNothingBehind) {
  const auto begin = std::chrono::steady_clock::now();
  for (int start = 0; start < 1000; ++start) {
    auto process = Process::Start({"/bin/true"});
    ASSERT_NE(process, nullptr);
    if (start % 3 == 0) process->CloseInput();
    if (start % 2 == 0) {
      EXPECT_EQ(process->Wait(), 0);
    }
  }
  const std::chrono::duration<double, std::milli> passed = std::chrono::steady_clock::now() - begin;
  RecordProperty("milliseconds_per_start_and_end", std::to_string(passed.count() / 1000));
  for (int start = 0; start < 100; ++start) {
    EXPECT_EQ(Process::Start({"/no/such/program"}), nullptr);
  }
}

/// The engine's view of a process, as the program hands it over.
class EngineProcess final : public engine::ChildProcess {
 public:
  explicit EngineProcess(std::unique_ptr<Process> process) : process_(std::move(process)) {}
  bool Write(std::span<const std::uint8_t> bytes) override { return process_->Write(bytes); }
  bool Running() override { return process_->Running(); }
  void CloseInput() override { process_->CloseInput(); }
  int Wait() override { return process_->Wait(); }

 private:
  std::unique_ptr<Process> process_;
};

engine::ProcessStarter PrintingTo(const std::string& path) {
  return [path](const Arguments& arguments) -> std::unique_ptr<engine::ChildProcess> {
    auto process = Process::Start(arguments, path);
    if (process == nullptr) return nullptr;
    return std::make_unique<EngineProcess>(std::move(process));
  };
}

TEST_F(ProcessTest, EncoderFeedsARealProgram) {
  const std::string path = TestPath("copy");
  auto encoder = engine::CreateProcessEncoder({"cat"}, PrintingTo(path));
  ASSERT_NE(encoder, nullptr);
  for (int block = 0; block < 100; ++block) encoder->Write(Ramp(17'640));
  EXPECT_TRUE(encoder->IsActive());
  EXPECT_TRUE(encoder->Finish());
  EXPECT_FALSE(encoder->IsActive());
  const std::string copy = ReadAll(path);
  ASSERT_EQ(copy.size(), 44u + 100 * 17'640);
  EXPECT_EQ(copy.substr(0, 8), std::string("RIFF\0\0\0\0", 8));
  EXPECT_EQ(copy.substr(36, 8), std::string("data\0\0\0\0", 8));
}

TEST_F(ProcessTest, EncoderWhoseProgramQuitsEarly) {
  for (const Arguments& program : {Arguments{"true"}, Arguments{"head", "-c", "100"}}) {
    auto encoder = engine::CreateProcessEncoder(program, PrintingTo(""));
    ASSERT_NE(encoder, nullptr);
    // The program may not have got round to ending yet: what it left unread is noticed in time.
    for (int block = 0; block < 200 && encoder->IsActive(); ++block) encoder->Write(Ramp(17'640));
    EXPECT_FALSE(encoder->IsActive());
    EXPECT_FALSE(encoder->Finish());
  }
}

TEST_F(ProcessTest, EncoderWhoseProgramIsMissing) {
  EXPECT_EQ(engine::CreateProcessEncoder({"no-such-program-anywhere"}, PrintingTo("")), nullptr);
}

/// A program of the test's own.
std::string Script(const TemporaryFolder& folder, const std::string& name,
                   const std::string& content) {
  const std::string path = folder.Write(name, "#!/bin/sh\n" + content);
  fs::permissions(path, fs::perms::owner_all);
  return path;
}

TEST(StartProgram, GoesItsOwnWay) {
  const TemporaryFolder folder;
  const std::string done = folder / "done";
  ASSERT_TRUE(StartProgram(Script(folder, "a tool", "cat; echo ready > '" + done + "'\n")));
  for (int i = 0; i < 500 && folder.Read("done") != "ready\n"; ++i) {
    std::this_thread::sleep_for(milliseconds(10));
  }
  EXPECT_EQ(folder.Read("done"), "ready\n");
}

TEST(StartProgram, NothingToStart) {
  const TemporaryFolder folder;
  EXPECT_FALSE(StartProgram(folder / "missing"));
  EXPECT_FALSE(StartProgram(""));
  EXPECT_FALSE(StartProgram(folder.Write("plain.txt", "no program")));
}

TEST(FindProgram, OnTheSearchPath) {
  const TemporaryFolder first;
  const TemporaryFolder second;
  first.Write("tool", "no program");
  const std::string tool = Script(second, "tool", "");
  const std::string path = std::getenv("PATH");
  setenv("PATH", (first.path() + "::" + second.path() + ":" + path).c_str(), 1);
  EXPECT_EQ(FindProgram("tool"), tool);
  EXPECT_NE(FindProgram("sh"), "");
  EXPECT_EQ(FindProgram("no-such-program-anywhere"), "");
  EXPECT_EQ(FindProgram(""), "");
  setenv("PATH", path.c_str(), 1);
  EXPECT_EQ(FindProgram("tool"), "");
}

TEST(FindProgram, AtItsPath) {
  const TemporaryFolder folder;
  const std::string tool = Script(folder, "tool", "");
  EXPECT_EQ(FindProgram(tool), tool);
  EXPECT_EQ(FindProgram(folder.Write("plain.txt", "")), "");
  EXPECT_EQ(FindProgram(folder / "missing"), "");
  EXPECT_EQ(FindProgram(folder.path()), "");
}

}  // namespace
}  // namespace vexolo
