#include "platform/file_io.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <system_error>
#include <vector>

#include "platform/paths.h"

#ifdef _WIN32
#include <cstring>

#include <io.h>
#else
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace vexolo {
namespace {

namespace fs = std::filesystem;

struct FileCloser {
  void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

/// Errors of the C library leave errno at 0 in rare cases; a failure is a failure all the same.
FileError LastError() { return MakeFileError(errno != 0 ? errno : EIO); }

FileHandle OpenFile(const fs::path& path, const char* mode) {
  errno = 0;
#ifdef _WIN32
  return FileHandle(_wfopen(path.c_str(), std::wstring(mode, mode + std::strlen(mode)).c_str()));
#else
  return FileHandle(std::fopen(path.c_str(), mode));
#endif
}

/// Without the disk's part a power cut after the rename may leave an empty file.
bool Flush(std::FILE* file, Durability durability) {
  if (std::fflush(file) != 0) return false;
  if (durability == Durability::kInSystem) return true;
#ifdef _WIN32
  return _commit(_fileno(file)) == 0;
#else
  return fsync(fileno(file)) == 0 || errno == EINVAL || errno == EROFS;
#endif
}

bool MayWrite(const fs::path& path) {
#ifdef _WIN32
  return _waccess(path.c_str(), 2) == 0;
#else
  return access(path.c_str(), W_OK) == 0;
#endif
}

std::optional<FileError> WriteAll(std::FILE* file, std::string_view content) {
  errno = 0;
  if (std::fwrite(content.data(), 1, content.size(), file) != content.size()) return LastError();
  return std::nullopt;
}

/// The file that a chain of symbolic links names, existing or not.
fs::path ResolveLinks(fs::path path) {
  constexpr int kMaxLinks = 40;  // as deep as common systems follow
  std::error_code error;
  for (int i = 0; i < kMaxLinks && fs::is_symlink(path, error); ++i) {
    const fs::path target = fs::read_symlink(path, error);
    if (error) break;
    path = path.parent_path() / target;
  }
  return path;
}

/// Short whatever the file's own name is: a long name plus a suffix may not fit the file system.
fs::path TemporaryNameBeside(const fs::path& path) {
  std::random_device random;
  char name[32];
  std::snprintf(name, sizeof name, ".vx%08x%08x.tmp", random(), random());
  return path.parent_path() / name;
}

struct TemporaryFile {
  fs::path path;
  FileHandle handle;
};

/// A new file, its name taken by nobody else.
TemporaryFile CreateBeside(const fs::path& path) {
  constexpr int kAttempts = 16;
  TemporaryFile file;
  for (int i = 0; i < kAttempts; ++i) {
    file.path = TemporaryNameBeside(path);
    file.handle = OpenFile(file.path, "wbx");
    if (file.handle || errno != EEXIST) break;
  }
  return file;
}

std::optional<FileError> WriteInPlace(const fs::path& path, std::string_view content) {
  FileHandle file = OpenFile(path, "wb");
  if (!file) return LastError();
  if (auto error = WriteAll(file.get(), content)) return error;
  return std::fclose(file.release()) == 0 ? std::nullopt : std::optional(LastError());
}

/// Fills the temporary file and closes it.
std::optional<FileError> Fill(FileHandle handle, std::string_view content, Durability durability) {
  if (auto error = WriteAll(handle.get(), content)) return error;
  if (!Flush(handle.get(), durability)) return LastError();
  return std::fclose(handle.release()) == 0 ? std::nullopt : std::optional(LastError());
}

std::optional<FileError> ReplaceFile(const fs::path& path, const fs::file_status& old_status,
                                     std::string_view content, Durability durability) {
  TemporaryFile temporary = CreateBeside(path);
  if (!temporary.handle) return LastError();
  std::error_code code;
  // Before the content goes in, so that it is never readable by more people than the old one was.
  if (fs::exists(old_status)) fs::permissions(temporary.path, old_status.permissions(), code);
  auto error = Fill(std::move(temporary.handle), content, durability);
  if (!error) {
    fs::rename(temporary.path, path, code);
    if (code) error = MakeFileError(code.value());
  }
  if (error) fs::remove(temporary.path, code);
  return error;
}

}  // namespace

FileError MakeFileError(int number) {
  return {number, number == 0 ? std::string() : std::generic_category().message(number)};
}

std::string FileErrorText(const FileError& error) {
  return "Erreur n° " + std::to_string(error.number) + "\r\n" + error.description;
}

std::optional<std::string> ReadWholeFile(const std::string& path, FileError* error,
                                         std::uintmax_t max_size) {
  constexpr std::size_t kBlock = 1u << 16;
  FileHandle file = OpenFile(ToNativePath(path), "rb");
  std::string content;
  std::vector<char> block(kBlock);
  while (file && errno == 0 && !std::feof(file.get())) {
    const std::size_t count = std::fread(block.data(), 1, block.size(), file.get());
    if (std::ferror(file.get())) errno = errno != 0 ? errno : EIO;
    content.append(block.data(), count);
    if (content.size() > max_size) errno = EFBIG;
  }
  if (file && errno == 0) return content;
  if (error != nullptr) *error = LastError();
  return std::nullopt;
}

std::optional<FileError> WriteWholeFile(const std::string& path, std::string_view content,
                                        Durability durability) {
  std::error_code code;
  const fs::path target = ResolveLinks(ToNativePath(path));
  const fs::file_status status = fs::status(target, code);
  if (fs::is_directory(status)) return MakeFileError(EISDIR);
  if (!fs::exists(status)) return ReplaceFile(target, status, content, durability);
  if (!fs::is_regular_file(status)) return WriteInPlace(target, content);
  if (!MayWrite(target)) return LastError();
  return ReplaceFile(target, status, content, durability);
}

std::optional<FileStamp> StampOf(const std::string& path, FileError* error) {
  std::error_code code;
  const fs::path native = ToNativePath(path);
  FileStamp stamp;
  const auto modified = fs::last_write_time(native, code);
  if (!code) stamp.size = fs::file_size(native, code);
#ifndef _WIN32
  struct stat status = {};
  if (!code && stat(native.c_str(), &status) != 0) code.assign(errno, std::generic_category());
  stamp.identity = status.st_ino;
#endif
  if (code) {
    if (error != nullptr) *error = MakeFileError(code.value());
    return std::nullopt;
  }
  stamp.modified = static_cast<std::int64_t>(modified.time_since_epoch().count());
  return stamp;
}

bool MeansMissing(const FileError& error) {
  return error.number == ENOENT || error.number == ENOTDIR;
}

bool IsSettled(const FileStamp& stamp) {
  using Clock = fs::file_time_type::clock;
  // Two writes within the file system's grain (a few milliseconds, two seconds on old ones) can
  // carry the same time; half a second covers the systems that settings are kept on.
  const auto modified = fs::file_time_type(Clock::duration(stamp.modified));
  return Clock::now() - modified > std::chrono::milliseconds(500);
}

bool FileExists(const std::string& path) {
  std::error_code code;
  const fs::file_status status = fs::status(ToNativePath(path), code);
  return fs::exists(status) && !fs::is_directory(status);
}

bool FolderExists(const std::string& path) {
  std::error_code code;
  return fs::is_directory(ToNativePath(path), code);
}

bool IsPlainFile(const std::string& path) {
  std::error_code code;
  return fs::is_regular_file(ToNativePath(path), code);
}

bool IsWritableFolder(const std::string& path) {
  if (!FolderExists(path)) return false;
#ifdef _WIN32
  // Rights of a folder are not in its attributes there: only trying tells.
  const TemporaryFile probe = CreateBeside(ToNativePath(path) / "probe");
  std::error_code code;
  if (!probe.handle) return false;
  fs::remove(probe.path, code);
  return true;
#else
  return access(ToNativePath(path).c_str(), W_OK | X_OK) == 0;
#endif
}

bool IsWritableFile(const std::string& path) {
  return FileExists(path) && MayWrite(ToNativePath(path));
}

std::optional<std::uintmax_t> FreeSpace(const std::string& path) {
  std::error_code code;
  fs::path place = fs::absolute(ToNativePath(path), code);
  // A file that is still to be written has no disk of its own: ask the nearest folder above it.
  while (!code && !fs::exists(place, code) && place.has_relative_path()) {
    code.clear();
    place = place.parent_path();
  }
  const fs::space_info space = fs::space(place, code);
  if (code) return std::nullopt;
  return space.available;
}

std::optional<FileError> CreateFolders(const std::string& folder,
                                       const std::function<void(const std::string&)>& on_created) {
  fs::path level;
  for (const fs::path& part : ToNativePath(folder)) {
    level /= part;
    std::error_code code;
    if (part.empty() || fs::is_directory(level, code)) continue;
    code.clear();
    const bool created = fs::create_directory(level, code);
    // Somebody else may have made it in between.
    std::error_code ignored;
    if (!created && !fs::is_directory(level, ignored)) {
      return MakeFileError(code ? code.value() : EEXIST);
    }
    if (created && on_created) on_created(FromNativePath(level));
  }
  return std::nullopt;
}

bool DeleteFile(const std::string& path) {
  std::error_code code;
  return fs::remove(ToNativePath(path), code);
}

}  // namespace vexolo
