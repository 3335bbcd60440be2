/// What vexolo-convert tells while it works and at the end.
#pragma once

#include <functional>
#include <iosfwd>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "app/song_converter.h"

namespace vexolo {

/// Where it is told, and who reads there.
struct ConvertStreams {
  std::ostream& out;
  std::ostream& err;
  bool out_is_terminal = false;
  bool err_is_terminal = false;
};

inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitInterrupted = 130;

/// Text as a JSON string, quotes included. Bytes that are not UTF-8 count as Windows-1252.
std::string JsonText(std::string_view text);

/// `out`: one line a song (its audio path) unless both streams are read at a terminal, or JSON.
/// `err`: failures, and the progress bar where it is read at a terminal. Any thread.
class ConvertReport {
 public:
  /// Seconds that have passed since some moment.
  using Clock = std::function<double()>;

  /// `songs`: how many there are; `workers`: how many at a time.
  ConvertReport(const ConvertStreams& streams, const ConvertOptions& options, std::size_t songs,
                std::size_t workers, Clock clock);

  /// A worker has done this share (0..1) of its song.
  void Progress(std::size_t worker, double share);
  /// A worker's song is finished, one way or the other.
  void Add(std::size_t worker, const SongReport& report);
  /// Tells the sum of it all and gives the exit status. Songs that were never begun count as
  /// interrupted.
  int Finish();

 private:
  void DrawBar();
  void EraseBar();
  void WriteJson(const SongReport& report, double seconds_taken);

  std::mutex mutex_;
  ConvertStreams streams_;
  const bool json_;
  const bool shows_bar_;
  const bool shows_lines_;
  const std::size_t songs_;
  const Clock clock_;
  const double begin_;
  double last_drawn_;
  std::vector<double> shares_;  ///< of the songs under way, by worker
  std::vector<double> begun_;   ///< when each worker's song began
  std::size_t converted_ = 0;
  std::size_t failed_ = 0;
  std::size_t interrupted_ = 0;
};

}  // namespace vexolo
