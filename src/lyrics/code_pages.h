/// Which code page the words of a song are written in, and their conversion. Three 8-bit pages are
/// detected; UTF-8 can only be forced.
///
/// Lyric bytes stay raw in the model; what is shown or written passes through ConvertLyricText.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

namespace vexolo {

/// Code pages by their number. A song without any high character has none.
inline constexpr std::int16_t kCodePageNone = -1;
inline constexpr std::int16_t kCodePageWindows = 0;
inline constexpr std::int16_t kCodePageDos = 1;
inline constexpr std::int16_t kCodePageMacintosh = 2;
inline constexpr std::int16_t kCodePageUtf8 = 3;

/// The statistics over a song's texts, the page found by them and the page forced by the user.
/// Fed by the thread that builds the lyric model; read by whoever shows lyrics, after that. The
/// forced page may change at any time, from any thread.
class LyricCodePages {
 public:
  /// Counts the accented letters of one text and decides anew. Seven letters (à ç é è ê ë ù) are
  /// looked for under the code that each page gives them; the greatest count wins, the lower page
  /// in a tie. Code 136 is both "ê" of DOS and "à" of Macintosh and counts for DOS. The text
  /// "*RAZ*" resets the statistics instead.
  void DetectCodePage(std::string_view text);

  /// `text` in Windows-1252: from the forced page, else from the detected one. Unchanged for
  /// Windows or no page. From UTF-8, what has no place in Windows-1252 becomes "?", and marks of
  /// byte order are left out.
  std::string ConvertLyricText(std::string_view text) const;
  /// The same, appended to `converted`: takes memory only where that has no room.
  void AppendConverted(std::string_view text, std::string& converted) const;

  std::int16_t detected() const { return detected_; }
  void set_detected(std::int16_t page) { detected_ = page; }

  /// Negative: go by detection.
  std::int16_t forced() const { return forced_.load(std::memory_order_relaxed); }
  void set_forced(std::int16_t page) { forced_.store(page, std::memory_order_relaxed); }

  /// How many known letters of a page (0..2) were seen.
  std::int16_t count(int page) const { return counts_[static_cast<std::size_t>(page)]; }

 private:
  std::array<std::int16_t, 3> counts_{};
  std::int16_t detected_ = kCodePageNone;
  std::atomic<std::int16_t> forced_{kCodePageNone};
};

}  // namespace vexolo
