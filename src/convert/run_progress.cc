#include "convert/run_progress.h"

#include <algorithm>
#include <cmath>

#include "platform/locale_format.h"

namespace vexolo {

namespace {

/// Seconds of rendering before which time and speed are guesses.
constexpr double kFirstGuess = 0.5;

/// "1:05"; a second that has begun counts.
std::string MinutesAndSeconds(double seconds) {
  const double whole = std::ceil(std::max(seconds, 0.0));
  const double minutes = std::floor(whole / 60);
  return FormatNumber(minutes, "0", '.') + ":" + FormatNumber(whole - minutes * 60, "00", '.');
}

std::string SpeedNumber(double speed, char separator) {
  return FormatNumber(speed, speed < 10 ? "0.0" : "0", separator);
}

}  // namespace

ProgressTexts TextsOfProgress(const SeriesProgress& progress, const LanguageSection& texts,
                              char separator) {
  const JobProgress& job = progress.job;
  ProgressTexts shown;
  shown.song = texts.Message("Run.Song", {progress.song});
  if (progress.count > 1) {
    shown.count = texts.Message("Run.Count",
                                {std::to_string(progress.number), std::to_string(progress.count)});
  }
  shown.bar = static_cast<int>(std::lround(std::clamp(job.share, 0.0, 1.0) * kFullBar));
  const bool is_known = job.is_rendering && job.elapsed >= kFirstGuess;
  if (progress.cancelling) {
    shown.left = texts.Message("Run.Cancelling");
  } else if (job.share >= 1) {
    shown.left = texts.Message("Run.Finishing");
  } else if (const auto left = job.SecondsLeft(); is_known && left) {
    shown.left = texts.Message("Run.Left", {MinutesAndSeconds(*left)});
  }
  if (is_known && job.Speed() > 0) {
    shown.speed = texts.Message("Run.Speed", {SpeedNumber(job.Speed(), separator)});
  }
  return shown;
}

}  // namespace vexolo
