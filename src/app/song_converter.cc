#include "app/song_converter.h"

#include <filesystem>
#include <system_error>

#include "app/song_conversion.h"
#include "audio/error_report.h"
#include "convert/bitrates.h"
#include "convert/run_report.h"
#include "mixer/knobs.h"
#include "platform/file_io.h"
#include "platform/paths.h"
#include "settings/language.h"

namespace vexolo {

namespace {

namespace fs = std::filesystem;

constexpr const char* kNoMemory = "memory has run out";

/// Encoders would take a name that begins with "-" for an option; a full path never does.
std::string Absolute(const std::string& path) {
  std::error_code error;
  const fs::path absolute = fs::absolute(ToNativePath(path.empty() ? "." : path), error);
  return error ? path : FromNativePath(absolute.lexically_normal());
}

/// The same text for every way to name a file, whether it exists or not.
std::string OneNameOf(const std::string& path) {
  std::error_code error;
  const fs::path canonical = fs::weakly_canonical(ToNativePath(path), error);
  return error ? path : FromNativePath(canonical);
}

std::string WithError(const std::string& text, int code) {
  return text + " (" + AudioErrorName(code) + ")";
}

std::string EncoderName(AudioFormat format) {
  return format == AudioFormat::kMp3 ? "lame" : "oggenc";
}

std::string CannotStart(AudioFormat format, const RunResult& result) {
  if (format == AudioFormat::kWav) {
    return WithError(result.audio_path + " cannot be written", result.audio_error);
  }
  const std::string places = format == AudioFormat::kMp3
                                 ? "in the program's folder or on the search path"
                                 : "in the program's folder";
  return WithError(EncoderName(format) + " cannot be started; it is looked for " + places,
                   result.audio_error);
}

std::string EncoderFailed(AudioFormat format, const RunResult& result) {
  // An encoder on its own cannot tell us more than that it has ended.
  if (!CanBeWritten(result.audio_path)) return result.audio_path + " cannot be written";
  const std::string who = format == AudioFormat::kWav ? result.audio_path : EncoderName(format);
  return WithError(who + (format == AudioFormat::kWav ? " could not be written to its end"
                                                      : " ended before the file was complete"),
                   result.audio_error);
}

/// Why a run failed, in one line; empty where it did not.
std::string ReasonOf(const RunResult& result, AudioFormat format) {
  switch (result.status) {
    case RunStatus::kDone:
    case RunStatus::kCancelled:
      return {};
    case RunStatus::kRefused:
      return result.audio_path + " is there already (-y replaces it)";
    case RunStatus::kCannotMakeFolder:
      return "the folder of " + result.audio_path +
             " cannot be made: " + result.file_error.description;
    case RunStatus::kFieldRefused:
      return "the field \"" + std::string(FieldName(*result.field)) +
             "\" has a quote in it or ends with a backslash, which the encoder cannot be given";
    case RunStatus::kIsTheSong:
      return result.audio_path + " is the song itself";
    case RunStatus::kCannotOpenSong:
      return WithError("cannot be read", result.audio_error);
    case RunStatus::kTooLong:
      return "is too long for a WAV file, which holds 4 GB";
    case RunStatus::kNoSpace:
      return "the disk has no room for " + result.audio_path;
    case RunStatus::kCannotStart:
      return CannotStart(format, result);
    case RunStatus::kEncoderFailed:
      return EncoderFailed(format, result);
    case RunStatus::kNoMemory:
      return kNoMemory;
    case RunStatus::kLyricsNotWritten:
      return "the lyrics file could not be written: " + result.file_error.description;
  }
  return {};
}

}  // namespace

std::string OutputClaims::Claim(const std::string& path, const std::string& song) {
  const std::lock_guard lock(mutex_);
  const auto [place, is_new] = songs_.emplace(OneNameOf(path), song);
  return is_new ? std::string() : place->second;
}

ConvertDefaults LoadConvertDefaults(ModIni& ini) {
  const ConversionSettings settings = LoadConversionSettings(ini);
  return {settings.rate, settings.make_lyrics_file,
          CleanedLineLength(std::to_string(settings.max_line_length)),
          IsAutoMuteOn(ini.ReadIni("Vexolo", "AutoMute"))};
}

/// The song that the converter has opened already: its names had to be known before the run.
class SongConverter::OpenSong : public SongConversion {
 public:
  OpenSong(SongConverter& converter, const std::string& song)
      : SongConversion(converter.song_.state, converter.song_.start, song),
        stream_(converter.song_.state.audio.stream) {}

  bass::HSTREAM OpenForRendering() override { return stream_; }

 private:
  const bass::HSTREAM stream_;
};

SongConverter::SongConverter(const ConvertContext& context)
    : context_(context),
      boxes_(context.options.overwrite),
      song_(context.api, context.settings_file, context.decimal_separator, boxes_) {
  song_.state.conversion.max_line_length =
      context.options.max_length.value_or(context.defaults.max_length);
  song_.state.mix.AutoMute = context.options.auto_mute.value_or(context.defaults.auto_mute);
}

SongReport SongConverter::Convert(const std::string& song, const RunProgress& progress) {
  SongReport report;
  report.song = song;
  report.reason = Open(song);
  if (report.reason.empty()) {
    const RunRequest request = MakeRequest(song);
    report.artist = request.settings.tags.artist;
    report.title = request.settings.tags.title;
    report.audio_path = AudioPath(OutputBaseOf(request), request.settings.format);
    const std::string other = context_.claims.Claim(report.audio_path, song);
    if (!other.empty()) {
      report.reason = report.audio_path + " is the file of " + other + " already";
    } else {
      OpenSong open(*this, song);
      const RunResult result = RunConversion(context_.api, open, request, boxes_, progress);
      report.lyrics_path = result.lyrics_path;
      report.seconds = result.seconds;
      report.reason = ReasonOf(result, request.settings.format);
      if (result.status == RunStatus::kCancelled) {
        report.outcome = SongReport::Outcome::kInterrupted;
      }
    }
  }
  song_.start.CloseSong();
  if (!report.reason.empty()) report.outcome = SongReport::Outcome::kFailed;
  return report;
}

std::string SongConverter::Open(const std::string& song) {
  if (!FileExists(song)) return "there is no such file";
  SongStartOptions options;
  options.use = SongUse::kConversion;
  options.own_bank = true;
  options.use_song_settings = !context_.options.ignore_song_settings;
  options.adjust_mix = [this](MixState& mix) { AdjustMix(mix); };
  options.adjust_markers = [this](Markers& markers) { AdjustMarkers(markers); };
  if (song_.start.Start(song, options) != SongStartResult::kStarted) {
    return WithError("cannot be read", context_.api.BASS_ErrorGetCode());
  }
  return song_.state.audio.font == 0 ? "the SoundFont cannot be opened" : std::string();
}

void SongConverter::AdjustMix(MixState& mix) {
  const ConvertOptions& options = context_.options;
  stored_factor_ = SpeedFactor(mix.Tempo);
  if (options.transpose) mix.Transpose = *options.transpose;
  if (options.tempo) mix.Tempo = *options.tempo;
  if (options.gain) mix.Gain = *options.gain;
  for (int channel = 0; channel < kChannels; ++channel) {
    const bool is_muted = (options.mute >> channel & 1U) != 0;
    if (is_muted) mix.ChannelMute[static_cast<std::size_t>(channel)] = 1;
  }
  song_.state.audio.font = context_.banks.ForGain(mix.Gain);
}

void SongConverter::AdjustMarkers(Markers& markers) {
  const ConvertOptions& options = context_.options;
  const double factor = song_.state.audio.speed_factor;
  RescaleForSpeed(markers, stored_factor_, factor);
  if (!options.start && !options.end) return;
  // What the song's settings keep switched off does not come back with the other marker.
  if (!markers.on) markers = {};
  markers.on = true;
  if (options.start) markers.start = StoredTime(*options.start, factor);
  if (options.end) markers.end = StoredTime(*options.end, factor);
}

RunRequest SongConverter::MakeRequest(const std::string& song) const {
  const ConvertOptions& options = context_.options;
  const ConvertDefaults& defaults = context_.defaults;
  RunRequest request;
  request.song_path = song;
  request.program_folder = context_.program_folder;
  ConversionSettings& settings = request.settings;
  settings.folder = Absolute(options.output_folder ? *options.output_folder : FolderOf(song));
  settings.scheme = options.name_scheme;
  settings.format = options.format;
  settings.rate = options.rate.value_or(defaults.rate);
  settings.make_lyrics_file = options.lyrics.value_or(defaults.lyrics);
  settings.max_line_length = options.max_length.value_or(defaults.max_length);
  settings.tags = {options.artist.value_or(song_.Text(song_.state.lyrics.artist())),
                   options.title.value_or(song_.Text(song_.state.lyrics.title())),
                   options.album,
                   options.year,
                   options.track,
                   options.genre,
                   options.comment};
  return request;
}

}  // namespace vexolo
