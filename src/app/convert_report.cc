#include "app/convert_report.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <ostream>
#include <utility>

#include "platform/text_encoding.h"

namespace vexolo {

namespace {

constexpr double kDrawEvery = 0.1;   ///< seconds
constexpr double kFirstGuess = 0.5;  ///< seconds; a time left that is told earlier means nothing
constexpr int kBarWidth = 40;
constexpr const char* kEraseLine = "\r\x1B[K";

constexpr std::array<const char*, 3> kOutcomes = {"converted", "failed", "interrupted"};

/// Three decimals after a point, whatever the locale.
std::string JsonNumber(double value) {
  std::array<char, 64> digits;
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                    std::chars_format::fixed, 3);
  return {digits.data(), result.ptr};
}

/// "1:05" of minutes and seconds.
std::string ClockText(double seconds) {
  const auto whole = static_cast<long>(std::ceil(seconds));
  std::array<char, 32> text;
  std::snprintf(text.data(), text.size(), "%ld:%02ld", whole / 60, whole % 60);
  return text.data();
}

}  // namespace

std::string JsonText(std::string_view text) {
  const std::string utf8 = IsValidUtf8(text) ? std::string(text) : Utf8FromWindows1252(text);
  std::string json = "\"";
  for (const char character : utf8) {
    if (character == '"' || character == '\\') {
      json.append("\\").append(1, character);
    } else if (static_cast<unsigned char>(character) < 0x20) {
      std::array<char, 8> escape;
      std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(character));
      json += escape.data();
    } else {
      json += character;
    }
  }
  return json + '"';
}

ConvertReport::ConvertReport(const ConvertStreams& streams, const ConvertOptions& options,
                             std::size_t songs, std::size_t workers, Clock clock)
    : streams_(streams),
      json_(options.json),
      shows_bar_(streams.err_is_terminal && !options.quiet),
      shows_lines_(!options.quiet && !options.json &&
                   !(streams.out_is_terminal && streams.err_is_terminal)),
      songs_(songs),
      clock_(std::move(clock)),
      begin_(clock_()),
      last_drawn_(begin_),
      shares_(workers, 0.0),
      begun_(workers, begin_) {}

void ConvertReport::Progress(std::size_t worker, double share) {
  if (!shows_bar_) return;
  const std::lock_guard lock(mutex_);
  shares_[worker] = share;
  const double now = clock_();
  if (now - last_drawn_ < kDrawEvery) return;
  last_drawn_ = now;
  DrawBar();
}

void ConvertReport::Add(std::size_t worker, const SongReport& report) {
  const std::lock_guard lock(mutex_);
  const double now = clock_();
  const double taken = now - std::exchange(begun_[worker], now);
  shares_[worker] = 0;
  EraseBar();
  switch (report.outcome) {
    case SongReport::Outcome::kConverted:
      ++converted_;
      if (shows_lines_) streams_.out << report.audio_path << std::endl;
      break;
    case SongReport::Outcome::kFailed:
      ++failed_;
      streams_.err << "vexolo-convert: " << report.song << ": " << report.reason << std::endl;
      break;
    case SongReport::Outcome::kInterrupted:
      ++interrupted_;
      break;
  }
  if (json_) WriteJson(report, taken);
  DrawBar();
}

int ConvertReport::Finish() {
  const std::lock_guard lock(mutex_);
  interrupted_ = songs_ - converted_ - failed_;
  EraseBar();
  if (json_) {
    streams_.out << R"({"summary":{"songs":)" << songs_ << R"(,"converted":)" << converted_
                 << R"(,"failed":)" << failed_ << R"(,"interrupted":)" << interrupted_
                 << R"(,"elapsed":)" << JsonNumber(clock_() - begin_) << "}}" << std::endl;
  }
  if (shows_bar_) {
    streams_.err << converted_ << (converted_ == 1 ? " song" : " songs") << " converted, "
                 << failed_ << " failed, " << ClockText(clock_() - begin_) << std::endl;
  }
  if (interrupted_ > 0) {
    streams_.err << "vexolo-convert: interrupted" << std::endl;
    return kExitInterrupted;
  }
  return failed_ > 0 ? kExitFailed : kExitDone;
}

void ConvertReport::DrawBar() {
  const double done = static_cast<double>(converted_ + failed_) +
                      std::accumulate(shares_.begin(), shares_.end(), 0.0);
  if (!shows_bar_ || songs_ == 0) return;
  const double share = std::clamp(done / static_cast<double>(songs_), 0.0, 1.0);
  const auto full = static_cast<std::size_t>(share * kBarWidth);
  const double elapsed = clock_() - begin_;
  std::string line = kEraseLine;
  line.append("[").append(full, '#').append(kBarWidth - full, ' ').append("] ");
  line += std::to_string(static_cast<int>(share * 100)) + " %  " +
          std::to_string(converted_ + failed_) + "/" + std::to_string(songs_);
  if (share > 0 && elapsed > kFirstGuess) {
    line += "  " + ClockText(elapsed * (1 - share) / share) + " left";
  }
  streams_.err << line << std::flush;
}

void ConvertReport::EraseBar() {
  if (shows_bar_) streams_.err << kEraseLine << std::flush;
}

void ConvertReport::WriteJson(const SongReport& report, double seconds_taken) {
  std::string line = R"({"song":)" + JsonText(report.song) + R"(,"status":")" +
                     kOutcomes[static_cast<std::size_t>(report.outcome)] + '"';
  const bool is_converted = report.outcome == SongReport::Outcome::kConverted;
  if (is_converted) line += R"(,"output":)" + JsonText(report.audio_path);
  if (!report.lyrics_path.empty()) line += R"(,"lyrics":)" + JsonText(report.lyrics_path);
  if (is_converted) {
    line += R"(,"artist":)" + JsonText(report.artist) + R"(,"title":)" + JsonText(report.title) +
            R"(,"seconds":)" + JsonNumber(report.seconds);
  }
  if (!report.reason.empty()) line += R"(,"error":)" + JsonText(report.reason);
  streams_.out << line << R"(,"elapsed":)" << JsonNumber(seconds_taken) << "}" << std::endl;
}

}  // namespace vexolo
