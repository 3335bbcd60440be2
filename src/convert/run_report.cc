#include "convert/run_report.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "platform/file_io.h"
#include "platform/paths.h"

namespace vexolo {

namespace {

/// With less than this left, a file that could not be written was not written for want of room.
constexpr std::uintmax_t kNoRoom = 64u << 10;

struct CauseKeys {
  const char* reason;
  const char* error;  ///< null = the reason serves
};
/// By cause.
constexpr std::array<CauseKeys, 13> kKeys = {{
    {nullptr, nullptr},
    {"Reason.Exists", nullptr},
    {"Reason.Cancelled", nullptr},
    {"Reason.Unreadable", nullptr},
    {"Reason.NotWritable", "Error.NotWritable"},
    {"Reason.DiskFull", "Error.DiskFull"},
    {"Reason.TooLong", nullptr},
    {"Reason.IsTheSong", nullptr},
    {"Reason.NoEncoder", "Error.NoEncoder"},
    {"Reason.EncoderFailed", "Error.EncoderFailed"},
    {"Reason.Field", nullptr},
    {"Reason.NoLyrics", nullptr},
    {"Reason.NoMemory", nullptr},
}};
static_assert(kKeys.size() == static_cast<std::size_t>(RunCause::kNoMemory) + 1);

const CauseKeys& KeysOf(RunCause cause) { return kKeys[static_cast<std::size_t>(cause)]; }

bool HasNoRoom(const std::string& path) {
  const std::string folder = FolderOf(path);
  const auto free = FreeSpace(folder.empty() ? "." : folder);
  return free && *free < kNoRoom;
}

/// Of a file that could not be written, or not to its end, by whoever writes it.
RunCause PlaceCause(const std::string& path, RunCause otherwise) {
  if (!CanBeWritten(path)) return RunCause::kNotWritable;
  return HasNoRoom(path) ? RunCause::kDiskFull : otherwise;
}

RunCause FileCause(const FileError& error) {
  return error.number == ENOSPC ? RunCause::kDiskFull : RunCause::kNotWritable;
}

std::string EncoderName(AudioFormat format) { return FileNameOf(EncoderProgram(format, ".")); }

/// The caption of a field of the dialog, without its mnemonic.
std::string FieldCaption(const LanguageSection& texts, CommandField field) {
  if (field == CommandField::kOutput || field == CommandField::kProgram) {
    return std::string(FieldName(field));
  }
  std::string caption = texts.Text("Label", static_cast<int>(field));
  std::erase(caption, '&');
  return caption;
}

}  // namespace

bool CanBeWritten(const std::string& path) {
  if (FolderExists(path)) return false;
  if (FileExists(path)) return IsWritableFile(path);
  const std::string folder = FolderOf(path);
  return IsWritableFolder(folder.empty() ? "." : folder);
}

RunCause CauseOf(const RunResult& result, AudioFormat format) {
  switch (result.status) {
    case RunStatus::kDone:
      return RunCause::kNone;
    case RunStatus::kRefused:
      return RunCause::kExists;
    case RunStatus::kCancelled:
      return RunCause::kCancelled;
    case RunStatus::kCannotMakeFolder:
      return FileCause(result.file_error);
    case RunStatus::kFieldRefused:
      return RunCause::kField;
    case RunStatus::kIsTheSong:
      return RunCause::kIsTheSong;
    case RunStatus::kCannotOpenSong:
      return RunCause::kUnreadable;
    case RunStatus::kTooLong:
      return RunCause::kTooLong;
    case RunStatus::kNoSpace:
      return RunCause::kDiskFull;
    case RunStatus::kCannotStart:
      if (format != AudioFormat::kWav) return RunCause::kNoEncoder;
      return PlaceCause(result.audio_path, RunCause::kNotWritable);
    case RunStatus::kEncoderFailed:
      // A WAV file that could not be written to its end has met a limit, of the user's or of files.
      return PlaceCause(result.audio_path, format == AudioFormat::kWav ? RunCause::kDiskFull
                                                                       : RunCause::kEncoderFailed);
    case RunStatus::kLyricsNotWritten:
      return RunCause::kNoLyrics;
    case RunStatus::kNoMemory:
      return RunCause::kNoMemory;
  }
  return RunCause::kNone;
}

std::string ReasonText(const LanguageSection& texts, RunCause cause, const RunResult& result,
                       AudioFormat format) {
  if (cause == RunCause::kNone) return {};
  std::string value;
  if (cause == RunCause::kNoEncoder) value = EncoderName(format);
  if (cause == RunCause::kField && result.field) value = FieldCaption(texts, *result.field);
  return texts.Message(KeysOf(cause).reason, {value});
}

std::string ErrorText(const LanguageSection& texts, RunCause cause, const RunResult& result,
                      AudioFormat format, std::string_view song) {
  if (cause == RunCause::kNone || cause == RunCause::kExists || cause == RunCause::kCancelled) {
    return {};
  }
  const bool speaks_of_encoder = cause == RunCause::kNoEncoder || cause == RunCause::kEncoderFailed;
  const bool speaks_of_folder = cause == RunCause::kNotWritable;
  const std::string value = speaks_of_encoder  ? EncoderName(format)
                            : speaks_of_folder ? FolderOf(result.audio_path)
                                               : result.audio_path;
  if (const char* key = KeysOf(cause).error) return texts.Message(key, {value});
  return texts.Message("Summary.Line",
                       {FileNameOf(song), ReasonText(texts, cause, result, format)});
}

void ConversionSummary::Add(std::string_view song, RunCause cause, const std::string& reason,
                            const RunResult& result) {
  if (cause == RunCause::kNone || cause == RunCause::kNoLyrics) {
    ++converted_;
    if (folder_.empty()) folder_ = FolderOf(result.audio_path);
  }
  if (cause == RunCause::kCancelled) Cancelled();
  if (cause == RunCause::kNone) return;
  const bool is_skipped = cause == RunCause::kExists || cause == RunCause::kCancelled;
  auto& lines = cause == RunCause::kNoLyrics ? incomplete_ : is_skipped ? skipped_ : failed_;
  lines.push_back({FileNameOf(song), reason});
}

std::string ConversionSummary::Text(const LanguageSection& texts) const {
  std::string text;
  const auto add = [&](const char* key, int count, const std::vector<Line>& lines) {
    if (!text.empty()) text += "\n";
    text += texts.Message(key, {std::to_string(count)}) + "\n";
    for (const Line& line : lines) {
      const std::string said = texts.Message("Summary.Line", {line.song, line.reason});
      text.append("  ").append(said).append("\n");
    }
  };
  add("Summary.Done", converted(), incomplete_);
  if (skipped() > 0) add("Summary.Skipped", skipped(), skipped_);
  if (failed() > 0) add("Summary.Failed", failed(), failed_);
  if (cancelled_) text.append("\n").append(texts.Message("Summary.Cancelled")).append("\n");
  return text;
}

}  // namespace vexolo
