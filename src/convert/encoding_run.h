/// One conversion: from the song as it is mixed to the finished file, and the lyrics file beside
/// it.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "audio/bass.h"
#include "convert/conversion_settings.h"
#include "convert/encoder_command.h"
#include "convert/lyrics_file.h"
#include "convert/output_name.h"
#include "platform/file_io.h"
#include "platform/message_box.h"

namespace vexolo {

/// The song, as far as the run needs it. The program's song start stands behind this.
class SongToConvert {
 public:
  virtual ~SongToConvert() = default;

  /// Puts a rendering stream in place of what plays: with the user's mix, placed at the start
  /// marker, and with the end-of-run handler attached, which stops the stream. 0 where the song
  /// cannot be opened; the library's error code of this thread then tells why.
  virtual bass::HSTREAM OpenForRendering() = 0;
  /// Expected length of the audio at the speed in force, without the decay after it. Asked once the
  /// stream is open.
  virtual double RenderedSeconds() const = 0;
  /// Whether the end-of-run handler has run.
  virtual bool EndHasRun() const = 0;
  /// What the lyrics file depends on; the line length is the run's own.
  virtual LyricsFileOptions LyricsOptions() const = 0;
  /// Frees the stream and restores what the run has changed. Called once after each
  /// OpenForRendering.
  virtual void Close() = 0;
};

/// What the run says to the user, as the language file has it ("|" and "%1" are seen to here).
struct RunTexts {
  std::string overwrite;        ///< "OverWriteText"; "%1" is the audio path
  std::string overwrite_title;  ///< "OverWriteTitle"
  std::string cannot_open;      ///< "MidiReadError"; "%1" is the song's path
};

struct RunRequest {
  ConversionSettings settings;
  std::string song_path;
  std::string program_folder;  ///< where the encoders stand
  RunTexts texts;
};

enum class RunStatus {
  kDone,
  kRefused,           ///< the file is there and is not to be overwritten
  kCannotMakeFolder,  ///< see file_error
  kFieldRefused,      ///< see field
  kIsTheSong,         ///< the audio file would replace the song itself
  kCannotOpenSong,    ///< see audio_error
  kTooLong,           ///< a WAV file cannot hold it
  kNoSpace,           ///< the disk cannot hold it
  kCannotStart,       ///< the encoder; see audio_error
  kEncoderFailed,     ///< during the run: gone, or the disk is full; see audio_error
  kNoMemory,          ///< the run was given up for want of it; what an encoder has written stays
  kCancelled,
  kLyricsNotWritten,  ///< the audio is complete; see file_error
};

struct RunResult {
  RunStatus status = RunStatus::kDone;
  std::string audio_path;
  std::string lyrics_path;  ///< empty where none was written
  double seconds = 0;       ///< of audio that was rendered
  int audio_error = 0;      ///< the library's code
  FileError file_error;
  std::optional<CommandField> field;
};

/// Hears after each block which share (0..1) is done, and once more where the encoder has failed:
/// whoever cancels may have ended it. False cancels the run. Calls nothing of the library.
using RunProgress = std::function<bool(double share)>;

/// The whole run, on the calling thread. Failures have been shown in `boxes`, but for a refused
/// overwrite and a cancelled run, which say nothing. Runs of different songs may go on at the same
/// time on threads of their own.
RunResult RunConversion(const bass::Api& api, SongToConvert& song, const RunRequest& request,
                        MessageBoxes& boxes, const RunProgress& progress = {});

/// Where the run will put its files.
OutputBase OutputBaseOf(const RunRequest& request);

/// Least size of the finished file that can be told beforehand, in bytes.
double ExpectedBytes(AudioFormat format, const std::string& rate, double seconds);

}  // namespace vexolo
