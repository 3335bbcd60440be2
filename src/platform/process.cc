#include "platform/process.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "platform/file_io.h"
#include "platform/paths.h"

namespace vexolo {

namespace {

constexpr int kPipeBytes = 1 << 20;

/// A file descriptor that closes itself.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  ~Descriptor() { Reset(); }
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    Reset();
    number_ = std::exchange(other.number_, -1);
    return *this;
  }

  int Get() const { return number_; }
  void Reset() {
    if (number_ >= 0) close(number_);
    number_ = -1;
  }

 private:
  int number_;
};

/// While it lives a write to a closed pipe raises no SIGPIPE in this thread, whatever the program
/// has decided about that signal; one that was pending before stays pending.
class PipeSignalBlock {
 public:
  PipeSignalBlock() {
    sigemptyset(&pipe_);
    sigaddset(&pipe_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    was_pending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &pipe_, &old_mask_);
  }
  ~PipeSignalBlock() {
    const int error = errno;
    if (raised_ && !was_pending_) {
      const timespec no_time{};
      while (sigtimedwait(&pipe_, nullptr, &no_time) == -1 && errno == EINTR) {
      }
    }
    pthread_sigmask(SIG_SETMASK, &old_mask_, nullptr);
    errno = error;
  }
  PipeSignalBlock(const PipeSignalBlock&) = delete;
  PipeSignalBlock& operator=(const PipeSignalBlock&) = delete;

  void Raised() { raised_ = true; }

 private:
  sigset_t pipe_;
  sigset_t old_mask_;
  bool was_pending_ = false;
  bool raised_ = false;
};

/// The environment of this program with some variables in place of its own; ended by null. Points
/// into `replacements`.
std::vector<char*> Environment(const std::vector<std::string>& replacements) {
  std::vector<char*> variables;
  for (char** own = environ; *own != nullptr; ++own) {
    const std::string_view variable(*own);
    const std::string_view name = variable.substr(0, variable.find('=') + 1);
    const bool is_replaced =
        std::any_of(replacements.begin(), replacements.end(),
                    [&](const std::string& other) { return other.starts_with(name); });
    if (name.empty() || !is_replaced) variables.push_back(*own);
  }
  for (const std::string& replacement : replacements) {
    variables.push_back(const_cast<char*>(replacement.c_str()));
  }
  variables.push_back(nullptr);
  return variables;
}

/// What the child does between its start and the program: standard streams, nothing else open.
class SpawnPlan {
 public:
  SpawnPlan(int input, const std::string& printed_to) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawnattr_init(&attributes_);
    const bool dropped = printed_to.empty();
    const int flags = dropped ? O_WRONLY : O_WRONLY | O_CREAT | O_TRUNC;
    ok_ = posix_spawn_file_actions_adddup2(&actions_, input, STDIN_FILENO) == 0 &&
          posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO,
                                           dropped ? "/dev/null" : printed_to.c_str(), flags,
                                           0666) == 0 &&
          posix_spawn_file_actions_adddup2(&actions_, STDOUT_FILENO, STDERR_FILENO) == 0 &&
          posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1) == 0;
    // Signals as a program expects them, whatever this thread blocks or this program ignores.
    sigset_t none;
    sigemptyset(&none);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    sigaddset(&defaults, SIGXFSZ);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &defaults);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnPlan() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnPlan(const SpawnPlan&) = delete;
  SpawnPlan& operator=(const SpawnPlan&) = delete;

  /// The new process, or -1.
  pid_t Run(const std::vector<std::string>& arguments,
            const std::vector<std::string>& environment) const {
    if (!ok_) return -1;
    std::vector<char*> argv;
    for (const std::string& argument : arguments) {
      if (argument.find('\0') != std::string::npos) return -1;
      argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    std::vector<char*> variables = Environment(environment);
    const bool is_path = arguments[0].find('/') != std::string::npos;
    pid_t child = -1;
    const int error = (is_path ? posix_spawn : posix_spawnp)(
        &child, argv[0], &actions_, &attributes_, argv.data(), variables.data());
    return error == 0 ? child : -1;
  }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
  bool ok_ = false;
};

}  // namespace

struct Process::State {
  pid_t child = -1;
  Descriptor input;

  std::mutex mutex;  ///< guards what follows
  bool ended = false;
  int status = 0;
  int waiting = 0;  ///< threads that wait for the end without holding the mutex

  /// Collects the child where it has ended, or where `block` is set. Needs the mutex.
  void Collect(bool block) {
    if (ended) return;
    int how = 0;
    pid_t result = -1;
    do {
      result = waitpid(child, &how, block ? 0 : WNOHANG);
    } while (result == -1 && errno == EINTR);
    if (result == 0) return;
    ended = true;
    // A child that somebody else has collected can tell nothing any more.
    status = result == -1 ? -1 : WIFSIGNALED(how) ? -WTERMSIG(how) : WEXITSTATUS(how);
  }
};

Process::Process(std::unique_ptr<State> state) : state_(std::move(state)) {}

Process::~Process() {
  CloseInput();
  Wait();
}

std::unique_ptr<Process> Process::Start(const std::vector<std::string>& arguments,
                                        const std::string& printed_to,
                                        const std::vector<std::string>& environment) {
  if (arguments.empty() || arguments[0].empty()) return nullptr;
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return nullptr;
  const Descriptor read_end(ends[0]);
  auto state = std::make_unique<State>();
  state->input = Descriptor(ends[1]);
  // Where the system refuses so much, its usual size serves as well, only less smoothly.
  fcntl(ends[1], F_SETPIPE_SZ, kPipeBytes);
  state->child = SpawnPlan(read_end.Get(), printed_to).Run(arguments, environment);
  if (state->child < 0) return nullptr;
  return std::unique_ptr<Process>(new Process(std::move(state)));
}

bool Process::Write(std::span<const std::uint8_t> bytes) {
  PipeSignalBlock block;
  while (!bytes.empty()) {
    const ssize_t taken = write(state_->input.Get(), bytes.data(), bytes.size());
    if (taken >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(taken));
    } else if (errno == EPIPE) {
      block.Raised();
      return false;
    } else if (errno != EINTR) {
      return false;
    }
  }
  return state_->input.Get() >= 0;
}

void Process::CloseInput() { state_->input.Reset(); }

bool Process::Running() {
  const std::lock_guard lock(state_->mutex);
  // While another thread waits, collecting is left to it: the number stays the child's own.
  if (state_->waiting == 0) {
    state_->Collect(/*block=*/false);
    return !state_->ended;
  }
  if (state_->ended) return false;
  siginfo_t info{};
  const int looked =
      waitid(P_PID, static_cast<id_t>(state_->child), &info, WEXITED | WNOHANG | WNOWAIT);
  return looked == 0 && info.si_pid == 0;
}

int Process::Wait() {
  std::unique_lock lock(state_->mutex);
  if (state_->ended) return state_->status;
  ++state_->waiting;
  lock.unlock();
  siginfo_t info;
  while (waitid(P_PID, static_cast<id_t>(state_->child), &info, WEXITED | WNOWAIT) == -1 &&
         errno == EINTR) {
  }
  lock.lock();
  --state_->waiting;
  state_->Collect(/*block=*/true);
  return state_->status;
}

void Process::Kill() {
  const std::lock_guard lock(state_->mutex);
  if (!state_->ended) kill(state_->child, SIGKILL);
}

bool StartProgram(const std::string& path) {
  std::unique_ptr<Process> process = Process::Start({path});
  if (process == nullptr) return false;
  process->CloseInput();
  // Somebody has to collect the child when it ends, and nobody waits for that.
  std::thread([process = std::move(process)] { process->Wait(); }).detach();
  return true;
}

std::string FindProgram(const std::string& name) {
  const auto is_program = [](const std::string& path) {
    return FileExists(path) && access(path.c_str(), X_OK) == 0;
  };
  if (name.empty()) return {};
  if (name.find('/') != std::string::npos) return is_program(name) ? name : std::string();
  const char* variable = std::getenv("PATH");
  std::string_view folders = variable == nullptr ? "" : variable;
  while (!folders.empty()) {
    const std::size_t length = std::min(folders.find(':'), folders.size());
    std::string path = Join(folders.substr(0, length), name);
    if (is_program(path)) return path;
    folders.remove_prefix(std::min(length + 1, folders.size()));
  }
  return {};
}

}  // namespace vexolo
