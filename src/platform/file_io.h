/// Whole-file reading, atomic writing and the few questions that the program asks about folders.
/// Paths are UTF-8. Nothing throws; every function may be called from any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vexolo {

/// The system's own number and wording. User messages read "Erreur n° " + number + line break +
/// description.
struct FileError {
  int number = 0;  ///< errno, or 0 for no error
  std::string description;
};

/// The error of the given errno value.
FileError MakeFileError(int number);

/// "Erreur n° " + number + "\r\n" + description.
std::string FileErrorText(const FileError& error);

/// Settings and list files beyond this many bytes are refused (EFBIG).
inline constexpr std::uintmax_t kMaxTextFileSize = 64u << 20;

/// The whole content of a file. Nothing on failure, with `error` (where given) filled in.
std::optional<std::string> ReadWholeFile(const std::string& path, FileError* error = nullptr,
                                         std::uintmax_t max_size = UINTMAX_MAX);

/// What a finished write promises. Either way a crash of the program leaves the old content or the
/// new one; kOnDisk holds for a power cut as well, and costs the time that the disk takes.
enum class Durability { kOnDisk, kInSystem };

/// Replaces the content of a file, or creates it, so that a reader and a crash find either the old
/// content or the new one: written beside it under a temporary name, flushed, renamed.
/// An existing file keeps its permissions; a symbolic link stays and its target is replaced. A
/// read-only file is refused. What is no plain file (a device, a pipe) is written in place. On
/// failure the old content stays and the temporary file is removed.
std::optional<FileError> WriteWholeFile(const std::string& path, std::string_view content,
                                        Durability durability = Durability::kOnDisk);

/// What tells one state of a file on disk from another.
struct FileStamp {
  std::int64_t modified = 0;  ///< in ticks of the file clock
  std::uintmax_t size = 0;
  std::uintmax_t identity = 0;  ///< number of the file itself; a replaced file has another
  bool operator==(const FileStamp&) const = default;
};

/// Nothing where the file does not exist or cannot be looked at; `error` (where given) tells which.
std::optional<FileStamp> StampOf(const std::string& path, FileError* error = nullptr);

/// An error that says that there is no such file, rather than that it cannot be got at.
bool MeansMissing(const FileError& error);

/// True when `stamp` is older than the clock's grain, so that a later change must show in it.
bool IsSettled(const FileStamp& stamp);

bool FileExists(const std::string& path);    ///< a file that is no folder
bool FolderExists(const std::string& path);  ///< a folder
/// A file that is neither a folder nor a pipe, a socket or a device: reading it does not wait.
bool IsPlainFile(const std::string& path);

/// True when the folder exists and files can be made in it.
bool IsWritableFolder(const std::string& path);

/// True when the file exists and may be written.
bool IsWritableFile(const std::string& path);

/// Bytes that the user may still write on the disk that holds `path` (a folder or a file in it).
/// Nothing where that cannot be found out.
std::optional<std::uintmax_t> FreeSpace(const std::string& path);

/// Creates `folder` and the missing folders above it, one level at a time from the top.
/// `on_created` hears of each folder made, so that a caller may undo. An existing folder is no
/// error; a file in the way is one.
std::optional<FileError> CreateFolders(
    const std::string& folder, const std::function<void(const std::string&)>& on_created = {});

/// False where there was nothing to delete or it could not be deleted.
bool DeleteFile(const std::string& path);

}  // namespace vexolo
