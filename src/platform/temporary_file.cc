#include "platform/temporary_file.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/paths.h"

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace vexolo {
namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

FileError LastError() { return MakeFileError(errno != 0 ? errno : EIO); }

/// The file is made by this call or not at all.
FileHandle CreatePrivate(const std::filesystem::path& path) {
  errno = 0;
#ifdef _WIN32
  const int file = _wopen(path.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY | _O_NOINHERIT,
                          _S_IREAD | _S_IWRITE);
  return FileHandle(file < 0 ? nullptr : _fdopen(file, "wb"));
#else
  const int file =
      open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
  return FileHandle(file < 0 ? nullptr : fdopen(file, "wb"));
#endif
}

std::string RandomName() {
  std::random_device random;
  char name[32];
  std::snprintf(name, sizeof name, "zvt%08x.tmp", random());
  return name;
}

}  // namespace

std::string MakeTempFile() {
  constexpr int kAttempts = 16;
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
  if (error) return {};
  for (int i = 0; i < kAttempts; ++i) {
    const std::filesystem::path path = folder / RandomName();
    if (CreatePrivate(path)) return FromNativePath(path);
    if (errno != EEXIST) break;
  }
  return {};
}

std::optional<FileError> WriteNewPrivateFile(const std::string& path, std::string_view content) {
  FileHandle file = CreatePrivate(ToNativePath(path));
  if (!file) return LastError();
  if (std::fwrite(content.data(), 1, content.size(), file.get()) != content.size()) {
    return LastError();
  }
  return std::fclose(file.release()) == 0 ? std::nullopt : std::optional(LastError());
}

}  // namespace vexolo
