/// What became of the songs of a conversion, in the user's words.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "convert/encoding_run.h"
#include "settings/language.h"

namespace vexolo {

/// Why a song has no finished file, or not all of it.
enum class RunCause {
  kNone,
  kExists,
  kCancelled,
  kUnreadable,
  kNotWritable,
  kDiskFull,
  kTooLong,
  kIsTheSong,
  kNoEncoder,
  kEncoderFailed,
  kField,
  kNoLyrics,
  kNoMemory,
};

/// Looks at the disk to tell an encoder that failed from a place that takes no file. Right after
/// the run; any thread.
RunCause CauseOf(const RunResult& result, AudioFormat format);

/// A file can be put there, or the one that is there replaced. Any thread.
bool CanBeWritten(const std::string& path);

/// The cause in one line without the path; empty for none. `texts`: section "Tags".
std::string ReasonText(const LanguageSection& texts, RunCause cause, const RunResult& result,
                       AudioFormat format);

/// The cause as a message of its own; `song`: path. Empty where there is nothing to say (none, a
/// refused question, a cancelled run).
std::string ErrorText(const LanguageSection& texts, RunCause cause, const RunResult& result,
                      AudioFormat format, std::string_view song);

/// The report at the end of a whole list.
class ConversionSummary {
 public:
  /// `reason` as ReasonText gives it.
  void Add(std::string_view song, RunCause cause, const std::string& reason,
           const RunResult& result);

  /// The user has ended the run before the end of the list.
  void Cancelled() { cancelled_ = true; }

  int converted() const { return converted_; }
  int skipped() const { return static_cast<int>(skipped_.size()); }
  int failed() const { return static_cast<int>(failed_.size()); }
  /// Where the first finished file stands; empty where none does.
  const std::string& folder() const { return folder_; }

  /// Counts, each followed by a line for every song that there is something to say about. Lines end
  /// with "\n".
  std::string Text(const LanguageSection& texts) const;

 private:
  struct Line {
    std::string song;
    std::string reason;
  };
  int converted_ = 0;
  bool cancelled_ = false;
  std::vector<Line> incomplete_;  ///< converted, but for the lyrics file
  std::vector<Line> skipped_;
  std::vector<Line> failed_;
  std::string folder_;
};

}  // namespace vexolo
