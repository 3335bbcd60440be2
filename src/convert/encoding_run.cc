#include "convert/encoding_run.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>

#include "audio/error_report.h"
#include "convert/bitrates.h"
#include "convert/mp3_check.h"
#include "platform/locale_format.h"
#include "settings/language.h"

namespace vexolo {

namespace {

constexpr bass::DWORD kBlockBytes = 1024;
constexpr double kBytesPerSecond = 44100.0 * 4;
constexpr double kWavHeaderBytes = 44;
constexpr double kMaxWavBytes = 4294967295.0;
constexpr const char* kBoxTitle = "Error";
constexpr const char* kEncodingProblem = "Problème d'encodage";
constexpr const char* kNoMemory = "Mémoire insuffisante.";

std::string RefusedFieldText(CommandField field) {
  return "Le champ \"" + std::string(FieldName(field)) +
         "\" contient un guillemet ou se termine par \"\\\" : l'encodeur ne peut pas le recevoir.";
}

std::string CannotOpenText(const RunRequest& request) {
  const std::string text = FillIn(BreakLines(request.texts.cannot_open), {request.song_path});
  return text.empty() ? request.song_path : text;
}

bool IsSameFile(const std::string& a, const std::string& b) {
  std::error_code error;
  return std::filesystem::equivalent(ToNativePath(a), ToNativePath(b), error);
}

/// One run on its way; a step that fails says so and leaves the reason in the result.
class Run {
 public:
  Run(const bass::Api& api, SongToConvert& song, const RunRequest& request, MessageBoxes& boxes,
      const RunProgress& progress)
      : api_(api), song_(song), request_(request), boxes_(boxes), progress_(progress) {}

  RunResult Execute() {
    try {
      if (Prepare()) {
        is_open_ = true;
        stream_ = song_.OpenForRendering();
        Convert();
      }
    } catch (const std::bad_alloc&) {
      if (encoder_ != 0) api_.BASS_Encode_Stop(encoder_);
      Fail(RunStatus::kNoMemory, kNoMemory);
    }
    if (is_open_) song_.Close();
    return std::move(result_);
  }

 private:
  void Convert() {
    if (stream_ == 0) {
      FailAudio(RunStatus::kCannotOpenSong, CannotOpenText(request_));
    } else if (HasRoom() && StartEncoder()) {
      Render();
      StopEncoder();
      WriteLyrics();
    }
  }

  AudioFormat format() const { return request_.settings.format; }

  void Fail(RunStatus status, const std::string& text) {
    result_.status = status;
    boxes_.Show(text, kBoxTitle, BoxIcon::kExclamation);
  }

  void FailFile(RunStatus status, const FileError& error) {
    result_.file_error = error;
    Fail(status, FileErrorText(error));
  }

  /// To be called right after the call that failed.
  void FailAudio(RunStatus status, const std::string& text) {
    result_.status = status;
    result_.audio_error = api_.BASS_ErrorGetCode();
    ReportAudioError(api_, boxes_, text);
  }

  /// Everything that can be known without the song.
  bool Prepare() {
    const OutputBase base = OutputBaseOf(request_);
    result_.audio_path = AudioPath(base, format());
    lyrics_path_ = LyricsPath(base);
    if (format() != AudioFormat::kWav) {
      command_ = {format(), EncoderProgram(format(), request_.program_folder),
                  request_.settings.rate, request_.settings.tags, result_.audio_path};
      result_.field = BadField(command_);
    }
    if (result_.field) {
      Fail(RunStatus::kFieldRefused, RefusedFieldText(*result_.field));
      return false;
    }
    if (const auto error = MakeFolderOf(base)) {
      FailFile(RunStatus::kCannotMakeFolder, *error);
      return false;
    }
    if (IsSameFile(result_.audio_path, request_.song_path)) {
      FailFile(RunStatus::kIsTheSong, MakeFileError(EEXIST));
      return false;
    }
    return MayOverwrite();
  }

  bool MayOverwrite() {
    before_ = StampOf(result_.audio_path);
    if (!FileExists(result_.audio_path)) return true;
    const std::string text = FillIn(BreakLines(request_.texts.overwrite), {result_.audio_path});
    if (boxes_.AskYesNo(text, request_.texts.overwrite_title)) return true;
    result_.status = RunStatus::kRefused;
    return false;
  }

  bool HasRoom() {
    const double bytes = ExpectedBytes(format(), request_.settings.rate, song_.RenderedSeconds());
    if (format() == AudioFormat::kWav && bytes > kMaxWavBytes) {
      FailFile(RunStatus::kTooLong, MakeFileError(EFBIG));
      return false;
    }
    const std::string folder = FolderOf(result_.audio_path);
    const auto free = FreeSpace(folder.empty() ? "." : folder);
    const double replaced = before_ ? static_cast<double>(before_->size) : 0;
    if (!free || bytes <= static_cast<double>(*free) + replaced) return true;
    FailFile(RunStatus::kNoSpace, MakeFileError(ENOSPC));
    return false;
  }

  bool StartEncoder() {
    const bool is_wav = format() == AudioFormat::kWav;
    const std::string command = is_wav ? result_.audio_path : EncoderCommand(command_);
    const bass::DWORD flags = is_wav ? bass::BASS_ENCODE_PCM : bass::BASS_ENCODE_AUTOFREE;
    encoder_ = api_.BASS_Encode_Start(stream_, command.c_str(), flags, nullptr, nullptr);
    if (encoder_ == 0) FailAudio(RunStatus::kCannotStart, kEncodingProblem);
    return encoder_ != 0;
  }

  /// The encoder takes the data as it passes.
  void Render() {
    const double expected = song_.RenderedSeconds() * kBytesPerSecond;
    std::array<char, kBlockBytes> block;
    double done = 0;
    while (api_.BASS_ChannelIsActive(stream_) == bass::BASS_ACTIVE_PLAYING) {
      encoder_lives_ = api_.BASS_Encode_IsActive(encoder_) == 1;
      if (!encoder_lives_) break;
      const bass::DWORD got = api_.BASS_ChannelGetData(stream_, block.data(), kBlockBytes);
      if (got == bass::kError32) {
        render_error_ = api_.BASS_ErrorGetCode();
        break;
      }
      done += got;
      share_ = expected > 0 ? std::min(done / expected, 1.0) : 0;
      if (IsCancelled()) break;
    }
    // The last block of a song that is cut out may end a little before what was expected.
    if (!cancelled_ && encoder_lives_ && share_ < 1) {
      share_ = 1;
      IsCancelled();
    }
    result_.seconds = done / kBytesPerSecond;
  }

  bool IsCancelled() {
    if (progress_ && !progress_(share_)) cancelled_ = true;
    return cancelled_;
  }

  void StopEncoder() {
    bool is_complete = api_.BASS_Encode_Stop(std::exchange(encoder_, 0)) != 0;
    // An encoder may have been freed by itself at the end of its stream.
    if (!is_complete && song_.EndHasRun()) {
      is_complete = api_.BASS_ErrorGetCode() == bass::BASS_ERROR_HANDLE;
    }
    // Whoever cancels may end the encoder as well.
    if (cancelled_ || ((!is_complete || !encoder_lives_) && IsCancelled())) {
      result_.status = RunStatus::kCancelled;
    } else if (!is_complete || !encoder_lives_) {
      FailAudio(RunStatus::kEncoderFailed, kEncodingProblem);
    } else if (!song_.EndHasRun()) {
      FailRender();
    } else if (format() == AudioFormat::kMp3 && !LooksLikeFinishedMp3(result_.audio_path)) {
      Fail(RunStatus::kEncoderFailed, kEncodingProblem);
    }
    // What an encoder that failed has written stays; what is left of a cancelled run does not. A
    // file that was there before and that the encoder never came to write is none of ours.
    if (cancelled_ && StampOf(result_.audio_path) != before_) DeleteFile(result_.audio_path);
  }

  /// The sound has ended before the song.
  void FailRender() {
    if (render_error_ == bass::BASS_ERROR_MEM) {
      Fail(RunStatus::kNoMemory, kNoMemory);
    } else {
      result_.audio_error = render_error_;
      Fail(RunStatus::kEncoderFailed, kEncodingProblem);
    }
  }

  /// Only the stopped stream has its marks at their final places.
  void WriteLyrics() {
    if (!request_.settings.make_lyrics_file || cancelled_ || !song_.EndHasRun()) return;
    LyricsFileOptions options = song_.LyricsOptions();
    options.max_length = request_.settings.max_line_length;
    const auto error = WriteLyricsFile(lyrics_path_, LyricsFileText(api_, stream_, options));
    if (!error) {
      result_.lyrics_path = lyrics_path_;
    } else if (result_.status == RunStatus::kDone) {
      FailFile(RunStatus::kLyricsNotWritten, *error);
    }
  }

  const bass::Api& api_;
  SongToConvert& song_;
  const RunRequest& request_;
  MessageBoxes& boxes_;
  const RunProgress& progress_;

  RunResult result_;
  std::string lyrics_path_;
  EncoderRequest command_;
  std::optional<FileStamp> before_;  ///< of the audio file, where there was one
  bass::HSTREAM stream_ = 0;
  bass::HENCODE encoder_ = 0;
  double share_ = 0;
  bool is_open_ = false;  ///< the song, or an attempt was made
  bool encoder_lives_ = true;
  int render_error_ = bass::BASS_OK;
  bool cancelled_ = false;
};

}  // namespace

OutputBase OutputBaseOf(const RunRequest& request) {
  const ConversionSettings& settings = request.settings;
  return MakeOutputBase({settings.folder, settings.scheme, settings.tags.artist,
                         settings.tags.title, request.song_path});
}

double ExpectedBytes(AudioFormat format, const std::string& rate, double seconds) {
  if (format == AudioFormat::kWav) return kWavHeaderBytes + seconds * kBytesPerSecond;
  const double bytes = TextToNumber(BitrateInUse(rate)) * 1000 / 8 * seconds;
  // Vorbis needs less than its nominal rate where the music is simple.
  return format == AudioFormat::kOgg ? bytes / 2 : bytes;
}

RunResult RunConversion(const bass::Api& api, SongToConvert& song, const RunRequest& request,
                        MessageBoxes& boxes, const RunProgress& progress) {
  return Run(api, song, request, boxes, progress).Execute();
}

}  // namespace vexolo
