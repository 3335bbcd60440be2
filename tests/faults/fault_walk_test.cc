// Makes every operation of a run of the program fail, one after the other: nothing crashes, nothing
// hangs, no setting is lost, and where something was not done the user has been told.
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "fakes/temporary_folder.h"
#include "faults/fault_points.h"
#include "faults/whole_run.h"
#include "settings/ini_document.h"

namespace vexolo::faults {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kLongestRun{240};
constexpr int kRunsAtOnce = 12;

std::string ReadFile(const std::string& path) {
  std::ostringstream content;
  content << std::ifstream(path, std::ios::binary).rdbuf();
  return content.str();
}

/// What a run has left behind.
struct Result {
  std::vector<std::string> lines;  ///< of the report
  std::string end;                 ///< how the process has ended; empty = as it should
  std::map<std::string, std::string> files;
  std::string callers;  ///< of the operation that failed

  bool Has(const std::string& line) const {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
  }
  std::vector<std::string> StartingWith(const std::string& prefix) const {
    std::vector<std::string> found;
    for (const std::string& line : lines) {
      if (line.starts_with(prefix)) found.push_back(line.substr(prefix.size()));
    }
    return found;
  }
  std::uint64_t Number(const std::string& prefix) const {
    const auto found = StartingWith(prefix);
    return found.empty() ? 0 : std::stoull(found[0]);
  }
};

/// A run in a process and a folder of its own.
class ChildRun {
 public:
  explicit ChildRun(const Fault& fault) : fault_(fault), place_(Furnish(folder_.path())) {
    std::fflush(nullptr);
    process_ = fork();
    if (process_ == 0) RunHere();
  }

  const Fault& fault() const { return fault_; }

  /// Nothing while it is still under way.
  std::optional<Result> Take() {
    int how = 0;
    const pid_t ended = waitpid(process_, &how, WNOHANG);
    const bool is_late = std::chrono::steady_clock::now() - begun_ > kLongestRun;
    if (ended == 0 && !is_late) return std::nullopt;
    Result result;
    if (ended == 0) {
      kill(process_, SIGKILL);
      waitpid(process_, &how, 0);
      result.end = "it hangs";
    } else if (WIFSIGNALED(how)) {
      result.end = std::string("ended by signal ") + strsignal(WTERMSIG(how));
    } else if (WEXITSTATUS(how) != 0) {
      result.end = "exit status " + std::to_string(WEXITSTATUS(how));
    }
    Collect(result);
    return result;
  }

 private:
  [[noreturn]] void RunHere() {
    if (std::freopen((place_.root + "/callers").c_str(), "w", stderr) == nullptr) _exit(2);
    Arm(fault_, place_.root);
    const Outcome outcome = RunProgram(place_);
    Disarm();
    std::ofstream report(place_.root + "/report");
    for (const std::string& what : outcome.done) report << what << '\n';
    for (std::string box : outcome.boxes) {
      std::replace(box.begin(), box.end(), '\n', ' ');
      report << "box " << box << '\n';
    }
    for (int kind = 0; kind < kKinds; ++kind) {
      report << "count " << kind << ' ' << Count(static_cast<Kind>(kind)) << '\n';
    }
    if (HasFailed()) report << "failed\n";
    if (fault_.number == 0) {
      for (const std::uint64_t origin : Origins()) report << "origin " << origin << '\n';
    }
    report.close();
    _exit(0);
  }

  void Collect(Result& result) {
    result.callers = ReadFile(place_.root + "/callers");
    std::istringstream report(ReadFile(place_.root + "/report"));
    for (std::string line; std::getline(report, line);) result.lines.push_back(line);
    for (const auto& entry : fs::recursive_directory_iterator(place_.root)) {
      if (!entry.is_regular_file()) continue;
      const std::string path = entry.path().string();
      std::string content = ReadFile(path);
      // So that runs of different folders can be compared.
      for (std::size_t at; (at = content.find(place_.root)) != std::string::npos;) {
        content.replace(at, place_.root.size(), "ROOT");
      }
      result.files[path.substr(place_.root.size() + 1)] = std::move(content);
    }
  }

  const Fault fault_;
  const TemporaryFolder folder_;
  const Place place_;
  const std::chrono::steady_clock::time_point begun_ = std::chrono::steady_clock::now();
  pid_t process_ = -1;
};

Result RunAlone(const Fault& fault) {
  ChildRun run(fault);
  while (true) {
    if (auto result = run.Take()) return *result;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

/// The numbers of the operations that get a fault. By VEXOLO_FAULT_WALK in the environment: "all";
/// "places" for the first and the last operation of each way through the program; "10-99" for these
/// numbers; unset for a few of the places, evenly chosen.
std::vector<std::uint64_t> Numbers(const Result& reference) {
  const char* variable = std::getenv("VEXOLO_FAULT_WALK");
  const std::string wish = variable == nullptr ? "" : variable;
  const std::vector<std::string> origins = reference.StartingWith("origin ");
  const std::size_t dash = wish.find('-');
  std::uint64_t first = 1;
  std::uint64_t last = origins.size();
  if (dash != std::string::npos) {
    first = std::stoull(wish.substr(0, dash));
    last = std::min<std::uint64_t>(last, std::stoull(wish.substr(dash + 1)));
  }
  std::map<std::string, std::pair<std::uint64_t, std::uint64_t>> ends;
  std::set<std::uint64_t> chosen;
  for (std::uint64_t number = first; number <= last; ++number) {
    ends.try_emplace(origins[number - 1], number, number).first->second.second = number;
    if (wish == "all" || dash != std::string::npos) chosen.insert(number);
  }
  for (const auto& [origin, end] : ends) chosen.insert({end.first, end.second});
  std::vector<std::uint64_t> numbers(chosen.begin(), chosen.end());
  const std::size_t sample = SampleSize();
  if (!wish.empty() || numbers.size() <= sample) return numbers;
  for (std::size_t i = 0; i < sample; ++i) {
    numbers[i] = numbers[i * (numbers.size() - 1) / (sample - 1)];
  }
  numbers.resize(sample);
  return numbers;
}

/// Every key of a settings file has the value that it had before or the one that it was given.
void ExpectSettingsKept(const std::string& name, const Result& result, const std::string& before,
                        const Result& reference) {
  const auto file = result.files.find(name);
  ASSERT_NE(file, result.files.end()) << name << " is gone";
  const IniDocument kept = IniDocument::Parse(file->second);
  const IniDocument old = IniDocument::Parse(before);
  const IniDocument given = IniDocument::Parse(reference.files.at(name));
  std::istringstream lines(before);
  std::string section;
  for (std::string line; std::getline(lines, line);) {
    line.erase(line.find_last_not_of("\r") + 1);
    if (line.starts_with('[')) {
      section = line.substr(1, line.size() - 2);
      continue;
    }
    const std::string key = line.substr(0, line.find('='));
    const auto value = kept.Get(section, key);
    EXPECT_TRUE(value == old.Get(section, key) || value == given.Get(section, key))
        << name << ": " << section << "/" << key << " is " << value.value_or("missing");
  }
}

class FaultWalk {
 public:
  explicit FaultWalk(Kind kind) : kind_(kind), before_(Before()), reference_(RunAlone({kind})) {}

  void Walk(bool all_after) {
    ASSERT_EQ(reference_.end, "");
    ASSERT_TRUE(reference_.StartingWith("box ").empty()) << reference_.StartingWith("box ")[0];
    ASSERT_EQ(reference_.files.count("output/wav.wav"), 1u);
    std::deque<std::uint64_t> numbers;
    for (const std::uint64_t number : Numbers(reference_)) numbers.push_back(number);
    std::printf("%zu of %llu operations\n", numbers.size(),
                static_cast<unsigned long long>(reference_.StartingWith("origin ").size()));
    std::deque<std::unique_ptr<ChildRun>> runs;
    int fired = 0;
    while (!numbers.empty() || !runs.empty()) {
      if (!numbers.empty() && runs.size() < kRunsAtOnce) {
        runs.push_back(std::make_unique<ChildRun>(Fault{kind_, numbers.front(), all_after}));
        numbers.pop_front();
      }
      for (auto run = runs.begin(); run != runs.end();) {
        const auto result = (*run)->Take();
        if (result) Check((*run)->fault(), *result);
        fired += result && result->Has("failed");
        run = result ? runs.erase(run) : run + 1;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    // How many operations a run has varies a little with time: timers tick.
    std::printf("%d of them failed\n", fired);
    EXPECT_GT(fired, 0);
  }

 private:
  static std::map<std::string, std::string> Before() {
    const TemporaryFolder folder;
    const Place place = Furnish(folder.path());
    return {{"program/Vexolo.ini", ReadFile(place.settings())},
            {"songs/1.zvn", ReadFile(place.song_settings(1))},
            {"songs/2.zvn", ReadFile(place.song_settings(2))}};
  }

  void Check(const Fault& fault, const Result& result) {
    const std::string told = "operation " + std::to_string(fault.number) + Told(result);
    SCOPED_TRACE(told);
    if (std::getenv("VEXOLO_FAULT_TELL") != nullptr) std::puts(told.c_str());
    EXPECT_EQ(result.end, "");
    for (const auto& [name, content] : before_) {
      ExpectSettingsKept(name, result, content, reference_);
    }
    ExpectListKept(result);
    if (!result.StartingWith("box ").empty() || !result.end.empty()) return;
    // Nothing was reported: everything has been done, and rightly.
    for (const char* what : {"started", "plays", "keeps the list", "finds the list again",
                             "goes on", "converts to WAV", "converts to MP3"}) {
      EXPECT_TRUE(result.Has(what)) << what << ": not done, and nobody was told";
    }
    for (const char* name :
         {"output/wav.wav", "output/wav.kok", "output/mp3.mp3", "output/mp3.kok"}) {
      const auto file = result.files.find(name);
      EXPECT_TRUE(file != result.files.end() && file->second == reference_.files.at(name))
          << name << " is not what it should be, and nobody was told";
    }
  }

  void ExpectListKept(const Result& result) {
    const auto list = result.files.find("songs/list.zvp");
    ASSERT_NE(list, result.files.end());
    const auto lines = std::count(list->second.begin(), list->second.end(), '\n');
    EXPECT_TRUE(lines == 1 || lines == 2) << list->second;
  }

  static std::string Told(const Result& result) {
    std::string told = ":";
    for (const std::string& line : result.lines) {
      if (line.starts_with("count ") || line.starts_with("origin ")) continue;
      told += line.starts_with("box ") ? " \"" + line.substr(4) + "\"" : " " + line + ",";
    }
    return told + "\n" + result.callers;
  }

  const Kind kind_;
  const std::map<std::string, std::string> before_;
  const Result reference_;
};

TEST(FaultWalkTest, Files) { FaultWalk(Kind::kFile).Walk(false); }
TEST(FaultWalkTest, FilesFromThereOn) { FaultWalk(Kind::kFile).Walk(true); }
TEST(FaultWalkTest, Memory) {
  if (!SurvivesLackOfMemory() && std::getenv("VEXOLO_FAULT_WALK") == nullptr) {
    GTEST_SKIP() << "the toolkit ends the program where it finds no memory";
  }
  FaultWalk(Kind::kMemory).Walk(false);
}
TEST(FaultWalkTest, Processes) { FaultWalk(Kind::kProcess).Walk(false); }
TEST(FaultWalkTest, ProcessesFromThereOn) { FaultWalk(Kind::kProcess).Walk(true); }
TEST(FaultWalkTest, Device) { FaultWalk(Kind::kDevice).Walk(false); }
TEST(FaultWalkTest, DeviceFromThereOn) { FaultWalk(Kind::kDevice).Walk(true); }

}  // namespace
}  // namespace vexolo::faults
