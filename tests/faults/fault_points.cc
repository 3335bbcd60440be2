#include "faults/fault_points.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include <dirent.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vexolo::faults {
namespace {

constexpr int kWatchedFiles = 4096;
constexpr std::size_t kLongestFolder = 4096;

// Plain memory without a constructor: the functions below are called before any of ours has run.
constinit std::atomic<bool> armed = false;
constinit std::atomic<bool> failed = false;
constinit Fault fault;
constinit std::array<std::atomic<std::uint64_t>, kKinds> counts{};
constinit std::array<char, kLongestFolder> watched_folder{};
constinit std::array<std::atomic<Kind>, kWatchedFiles> kind_of_file{};
constinit std::array<std::atomic<bool>, kWatchedFiles> is_watched{};
constinit thread_local int quiet = 0;
constinit std::array<std::uint64_t, kMostOrigins> origins{};

/// A number for the innermost callers, those in this file left out.
std::uint64_t Origin() {
  constexpr int kOwnFrames = 3;
  constexpr int kFrames = 12;
  std::array<void*, kOwnFrames + kFrames> frames;
  const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
  std::uint64_t hash = 0xCBF29CE484222325;
  for (int i = kOwnFrames; i < count; ++i) {
    hash = (hash ^ reinterpret_cast<std::uintptr_t>(frames[static_cast<std::size_t>(i)])) *
           0x100000001B3;
  }
  return hash;
}

void PrintCallers() {
  const Quiet no_counting;
  std::array<void*, 32> frames;
  const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
  backtrace_symbols_fd(frames.data(), count, STDERR_FILENO);
}

bool IsUnderFolder(const char* path) {
  if (path == nullptr) return false;
  if (path[0] != '/') return true;
  return std::string_view(path).starts_with(watched_folder.data());
}

void Watch(int file, Kind kind) {
  if (file < 0 || file >= kWatchedFiles) return;
  kind_of_file[static_cast<std::size_t>(file)] = kind;
  is_watched[static_cast<std::size_t>(file)] = true;
}

void Forget(int file) {
  if (file >= 0 && file < kWatchedFiles) is_watched[static_cast<std::size_t>(file)] = false;
}

bool Fails(Kind kind, int error) {
  if (!ShouldFail(kind)) return false;
  errno = error;
  return true;
}

bool PathFails(const char* path, int error) {
  return IsUnderFolder(path) && Fails(Kind::kFile, error);
}

bool FileFails(int file, int error) {
  if (file < 0 || file >= kWatchedFiles || !is_watched[static_cast<std::size_t>(file)]) {
    return false;
  }
  return Fails(kind_of_file[static_cast<std::size_t>(file)], error);
}

bool StreamFails(std::FILE* file, int error) { return FileFails(fileno(file), error); }

/// The toolkit's own threads, that draw and speak to the session bus, are left alone: it waits for
/// ever for one that could not be made.
bool IsToolkit(const void* caller) {
  Dl_info module{};
  return dladdr(caller, &module) != 0 && module.dli_fname != nullptr &&
         std::string_view(module.dli_fname).find("libQt6") != std::string_view::npos;
}

/// The system's own function behind the one of ours that has its name.
template <typename Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void* Allocate(std::size_t size, std::size_t alignment) {
  if (ShouldFail(Kind::kMemory)) return nullptr;
  if (size == 0) size = 1;
  if (alignment <= __STDCPP_DEFAULT_NEW_ALIGNMENT__) return std::malloc(size);
  return std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

void* AllocateOrThrow(std::size_t size, std::size_t alignment) {
  if (void* block = Allocate(size, alignment)) return block;
  throw std::bad_alloc();
}

constexpr std::size_t kUsual = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

/// Where it was loaded before a program: VEXOLO_FAULT=kind:number[+], VEXOLO_FAULT_FOLDER.
[[gnu::constructor]] void ArmByEnvironment() {
  const char* what = std::getenv("VEXOLO_FAULT");
  const char* folder = std::getenv("VEXOLO_FAULT_FOLDER");
  if (what == nullptr || folder == nullptr) return;
  constexpr std::array<std::string_view, kKinds> kNames = {"file", "memory", "process", "device"};
  const std::string_view text(what);
  for (std::size_t kind = 0; kind < kNames.size(); ++kind) {
    if (!text.starts_with(kNames[kind])) continue;
    Arm({static_cast<Kind>(kind), std::strtoull(what + kNames[kind].size() + 1, nullptr, 10),
         text.ends_with('+')},
        folder);
  }
}

/// Such a program tells at its end how many operations there were, unless one was to fail.
[[gnu::destructor]] void TellByEnvironment() {
  if (std::getenv("VEXOLO_FAULT") == nullptr || fault.number != 0) return;
  std::fprintf(stderr, "%llu operations\n", static_cast<unsigned long long>(Count(fault.kind)));
}

}  // namespace

void Arm(const Fault& wanted, const std::string& folder) {
  armed = false;
  failed = false;
  fault = wanted;
  for (auto& count : counts) count = 0;
  Origin();  // the first call loads what it needs
  std::strncpy(watched_folder.data(), folder.c_str(), kLongestFolder - 1);
  armed = true;
}

void Disarm() { armed = false; }

std::uint64_t Count(Kind kind) { return counts[static_cast<std::size_t>(kind)]; }

std::vector<std::uint64_t> Origins() {
  const std::size_t count = std::min<std::size_t>(Count(fault.kind), kMostOrigins);
  return {origins.begin(), origins.begin() + static_cast<std::ptrdiff_t>(count)};
}

bool HasFailed() { return failed; }

bool ShouldFail(Kind kind) {
  if (!armed || quiet > 0) return false;
  const std::uint64_t number = ++counts[static_cast<std::size_t>(kind)];
  if (kind != fault.kind) return false;
  if (fault.number == 0) {
    const Quiet no_counting;
    if (number <= kMostOrigins) origins[number - 1] = Origin();
    return false;
  }
  const bool fails = fault.all_after ? number >= fault.number : number == fault.number;
  if (fails && !failed.exchange(true)) PrintCallers();
  return fails;
}

Quiet::Quiet() { ++quiet; }
Quiet::~Quiet() { --quiet; }

}  // namespace vexolo::faults

// ---- Memory

using vexolo::faults::Kind;

void* operator new(std::size_t size) {
  return vexolo::faults::AllocateOrThrow(size, vexolo::faults::kUsual);
}
void* operator new[](std::size_t size) {
  return vexolo::faults::AllocateOrThrow(size, vexolo::faults::kUsual);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return vexolo::faults::AllocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return vexolo::faults::AllocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return vexolo::faults::Allocate(size, vexolo::faults::kUsual);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return vexolo::faults::Allocate(size, vexolo::faults::kUsual);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, std::align_val_t) noexcept { std::free(block); }
void operator delete[](void* block, std::align_val_t) noexcept { std::free(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }

// ---- The system's functions

/// Defines the function of a name: fails where `fails` says so, else calls the system's.
#define VEXOLO_FAULT_POINT(result, name, parameters, arguments, fails, failure) \
  result name parameters {                                                      \
    static const auto next = vexolo::faults::Next<result parameters>(#name);    \
    if (fails) return failure;                                                  \
    return next arguments;                                                      \
  }

namespace vexolo::faults {
namespace {

/// The mode that some calls of open() have behind the flags.
mode_t ModeOf(int flags, std::va_list arguments) {
  return (flags & (O_CREAT | O_TMPFILE)) != 0 ? static_cast<mode_t>(va_arg(arguments, int)) : 0;
}

int OpenWith(int (*next)(const char*, int, ...), const char* path, int flags, mode_t mode) {
  const bool is_watched_path = IsUnderFolder(path);
  if (is_watched_path && Fails(Kind::kFile, EMFILE)) return -1;
  const int file = next(path, flags, mode);
  if (is_watched_path) Watch(file, Kind::kFile);
  return file;
}

std::FILE* OpenStreamWith(std::FILE* (*next)(const char*, const char*), const char* path,
                          const char* mode) {
  const bool is_watched_path = IsUnderFolder(path);
  if (is_watched_path && Fails(Kind::kFile, EMFILE)) return nullptr;
  std::FILE* file = next(path, mode);
  if (is_watched_path && file != nullptr) Watch(fileno(file), Kind::kFile);
  return file;
}

}  // namespace
}  // namespace vexolo::faults

extern "C" {

using namespace vexolo::faults;  // NOLINT(google-build-using-namespace): names of the system only

int open(const char* path, int flags, ...) {
  static const auto next = Next<int(const char*, int, ...)>("open");
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = ModeOf(flags, arguments);
  va_end(arguments);
  return OpenWith(next, path, flags, mode);
}

std::FILE* fopen(const char* path, const char* mode) {
  static const auto next = Next<std::FILE*(const char*, const char*)>("fopen");
  return OpenStreamWith(next, path, mode);
}

std::FILE* fopen64(const char* path, const char* mode) {
  static const auto next = Next<std::FILE*(const char*, const char*)>("fopen64");
  return OpenStreamWith(next, path, mode);
}

size_t fread(void* to, size_t size, size_t count, std::FILE* file) {
  static const auto next = Next<size_t(void*, size_t, size_t, std::FILE*)>("fread");
  if (!StreamFails(file, EIO)) return next(to, size, count, file);
  file->_flags |= 0x20;  // what ferror() looks at
  return 0;
}

size_t fwrite(const void* from, size_t size, size_t count, std::FILE* file) {
  static const auto next = Next<size_t(const void*, size_t, size_t, std::FILE*)>("fwrite");
  if (!StreamFails(file, ENOSPC)) return next(from, size, count, file);
  file->_flags |= 0x20;
  return 0;
}

// The file is closed all the same, as the system does it.
int fclose(std::FILE* file) {
  static const auto next = Next<int(std::FILE*)>("fclose");
  const bool fails = StreamFails(file, ENOSPC);
  Forget(fileno(file));
  const int result = next(file);
  if (!fails) return result;
  errno = ENOSPC;
  return EOF;
}

int close(int file) {
  static const auto next = Next<int(int)>("close");
  Forget(file);
  return next(file);
}

VEXOLO_FAULT_POINT(int, fflush, (std::FILE * file), (file),
                   file != nullptr && StreamFails(file, ENOSPC), EOF)
VEXOLO_FAULT_POINT(ssize_t, read, (int file, void* to, size_t size), (file, to, size),
                   FileFails(file, EIO), -1)
VEXOLO_FAULT_POINT(ssize_t, write, (int file, const void* from, size_t size), (file, from, size),
                   FileFails(file, ENOSPC), -1)
VEXOLO_FAULT_POINT(ssize_t, writev, (int file, const iovec* parts, int count), (file, parts, count),
                   FileFails(file, ENOSPC), -1)
VEXOLO_FAULT_POINT(off64_t, lseek64, (int file, off64_t offset, int from) noexcept,
                   (file, offset, from), FileFails(file, EIO), -1)
VEXOLO_FAULT_POINT(int, fsync, (int file), (file), FileFails(file, EIO), -1)
VEXOLO_FAULT_POINT(int, rename, (const char* from, const char* to) noexcept, (from, to),
                   PathFails(to, EIO), -1)
VEXOLO_FAULT_POINT(int, remove, (const char* path) noexcept, (path), PathFails(path, EIO), -1)
VEXOLO_FAULT_POINT(int, unlink, (const char* path) noexcept, (path), PathFails(path, EIO), -1)
VEXOLO_FAULT_POINT(int, mkdir, (const char* path, mode_t mode) noexcept, (path, mode),
                   PathFails(path, ENOSPC), -1)
VEXOLO_FAULT_POINT(int, truncate, (const char* path, off_t size) noexcept, (path, size),
                   PathFails(path, EIO), -1)
VEXOLO_FAULT_POINT(int, stat, (const char* path, struct stat* facts) noexcept, (path, facts),
                   PathFails(path, EIO), -1)
VEXOLO_FAULT_POINT(int, lstat, (const char* path, struct stat* facts) noexcept, (path, facts),
                   PathFails(path, EIO), -1)
VEXOLO_FAULT_POINT(int, access, (const char* path, int how) noexcept, (path, how),
                   PathFails(path, EIO), -1)
VEXOLO_FAULT_POINT(int, statvfs, (const char* path, struct statvfs* facts) noexcept, (path, facts),
                   PathFails(path, EIO), -1)
VEXOLO_FAULT_POINT(DIR*, opendir, (const char* path), (path), PathFails(path, EMFILE), nullptr)
VEXOLO_FAULT_POINT(int, fchmodat, (int folder, const char* path, mode_t mode, int flags) noexcept,
                   (folder, path, mode, flags), PathFails(path, EPERM), -1)

int pipe2(int ends[2], int flags) noexcept {
  static const auto next = Next<int(int*, int)>("pipe2");
  if (Fails(Kind::kProcess, EMFILE)) return -1;
  const int result = next(ends, flags);
  if (result == 0) Watch(ends[1], Kind::kProcess);
  return result;
}

int posix_spawn(pid_t* child, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const* arguments,
                char* const* environment) {
  static const auto next = Next<decltype(posix_spawn)>("posix_spawn");
  if (Fails(Kind::kProcess, EAGAIN)) return EAGAIN;
  return next(child, path, actions, attributes, arguments, environment);
}

int posix_spawnp(pid_t* child, const char* name, const posix_spawn_file_actions_t* actions,
                 const posix_spawnattr_t* attributes, char* const* arguments,
                 char* const* environment) {
  static const auto next = Next<decltype(posix_spawnp)>("posix_spawnp");
  if (Fails(Kind::kProcess, EAGAIN)) return EAGAIN;
  return next(child, name, actions, attributes, arguments, environment);
}

VEXOLO_FAULT_POINT(pid_t, waitpid, (pid_t child, int* how, int options), (child, how, options),
                   Fails(Kind::kProcess, ECHILD), -1)
VEXOLO_FAULT_POINT(int, waitid, (idtype_t which, id_t child, siginfo_t* info, int options),
                   (which, child, info, options), Fails(Kind::kProcess, ECHILD), -1)

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                   void* argument) noexcept {
  static const auto next = Next<decltype(pthread_create)>("pthread_create");
  if (!IsToolkit(__builtin_return_address(0)) && Fails(Kind::kProcess, EAGAIN)) return EAGAIN;
  return next(thread, attributes, start, argument);
}

}  // extern "C"
