/// The words of a song with their times: a list of syllables and the lines they form.
///
/// Built once when a song is loaded, from the marks of the stream; not touched while it plays. The
/// lyric window, the conversion and the melody search of the mixer read it.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "audio/bass.h"
#include "lyrics/code_pages.h"

namespace vexolo {

/// What the model needs of the lyric window.
class LyricDisplay {
 public:
  virtual ~LyricDisplay() = default;
  /// Starts afresh with a new song. Window thread.
  virtual void EffaceLyrics() = 0;
  /// A mark of the lyrics is reached. Called on the thread that runs syncs: may set fields, nothing
  /// that waits or draws.
  virtual void DisplayLyrics(int mark_index) = 0;
};

#pragma pack(push, 4)
/// One syllable. 32 bytes without a gap, so read `time` by value.
struct LyricSyllable {
  std::int32_t line;           ///< the line it belongs to, from 1
  std::int32_t column;         ///< characters of the line before it
  std::int32_t length;         ///< characters, after clean-up
  double time;                 ///< seconds
  std::int32_t mark_index;     ///< among the marks of the chosen type, of all tracks, from 0
  std::int32_t byte_position;  ///< of the mark in the stream
  std::int32_t tick;
};
#pragma pack(pop)
static_assert(sizeof(LyricSyllable) == 32);

/// All texts are raw bytes in the song's own code page; ConvertLyricText makes them readable.
///
/// The object is the user value of the syncs that InitLyrics installs: it may not be moved and must
/// outlive those streams. Everything but LyricSyncProc belongs to the thread that loads songs.
class LyricModel {
 public:
  static constexpr int kGrowthStep = 100;

  /// `display` may be null where nothing is shown.
  LyricModel(const bass::Api& api, LyricDisplay* display);
  LyricModel(const LyricModel&) = delete;
  LyricModel& operator=(const LyricModel&) = delete;

  /// Forgets lyric track, detected and forced code page. Song loading calls it before anything is
  /// rebuilt.
  void ResetForSong();

  /// The entry point of song loading, after the stream has been created: resets the display,
  /// chooses the track, builds the lists and, when a song is loaded and has lyrics, has the display
  /// told of each mark. Moves the stream about and leaves it where it was. A song without lyrics,
  /// or a stream that answers nothing, gives empty lists and no sync.
  void InitLyrics(bass::HSTREAM stream, bool song_loaded);

  /// Takes the track with most lyric marks or, when strictly more are found, the one with most text
  /// marks.
  void ChooseLyricTrack(bass::HSTREAM stream);

  /// Fills syllables, lines, title and artist from the chosen track. One seek for each syllable and
  /// one back to the stream's position.
  void BuildLyrics(bass::HSTREAM stream);

  /// Number of tracks: the first n whose name the engine does not give.
  int CountTracks(bass::HSTREAM stream) const;

  // ---- Source of the lyrics. The three are safe to read from any thread.

  /// Track whose marks are the lyrics; -1 = none. Tracks beyond 32767 cannot be chosen.
  std::int16_t nCanalLyrics() const { return canal_lyrics_.load(std::memory_order_relaxed); }
  /// 2 = lyric marks, 3 = text marks, -1 = not chosen.
  std::int32_t mark_type() const { return mark_type_.load(std::memory_order_relaxed); }
  /// The sync that belongs to the mark type; 0 = not chosen.
  std::int32_t sync_type() const { return sync_type_.load(std::memory_order_relaxed); }

  // ---- Syllables, numbered from 1.

  int nNbParoles() const { return static_cast<int>(syllables_.size()); }
  const LyricSyllable& syllable(int number) const {
    return syllables_[static_cast<std::size_t>(number - 1)];
  }
  const std::vector<LyricSyllable>& syllables() const { return syllables_; }
  /// Room in the list: 100 at first, 100 more when the list is full.
  int syllable_capacity() const { return syllable_capacity_; }

  // ---- Lines, numbered from 1.

  int line_count() const { return static_cast<int>(line_texts_.size()); }
  const std::string& line_text(int number) const { return line_texts_[Place(number)]; }
  std::int32_t line_start_byte(int number) const { return line_start_bytes_[Place(number)]; }
  std::int32_t line_start_tick(int number) const { return line_start_ticks_[Place(number)]; }
  float line_start_time(int number) const { return line_start_times_[Place(number)]; }
  /// Room in the four arrays: 100 at first, 100 more when only one place is left, one step earlier
  /// than the syllable list.
  int line_capacity() const { return line_capacity_; }
  /// Running minimum of the ticks between line starts. It starts at 0 and is only ever lowered, so
  /// it stays 0 while line starts do not decrease; the scroll speed of the window relies on that.
  std::int32_t minimum_line_gap() const { return minimum_line_gap_; }

  /// What followed the first and the second "@T", trimmed of spaces.
  const std::string& title() const { return title_; }
  const std::string& artist() const { return artist_; }

  /// Characters from which a line is broken at the next space; 0 = no limit. Holds from the next
  /// BuildLyrics on.
  std::int16_t max_line_length() const { return max_line_length_; }
  void set_max_line_length(std::int16_t characters) { max_line_length_ = characters; }

  LyricCodePages& code_pages() { return code_pages_; }
  const LyricCodePages& code_pages() const { return code_pages_; }

  // ---- Operations on the code page state, under the names the rest of the program knows.

  void DetectCodePage(std::string_view text) { code_pages_.DetectCodePage(text); }
  std::string ConvertLyricText(std::string_view text) const {
    return code_pages_.ConvertLyricText(text);
  }

 private:
  /// User value of a sync: the model and the mark type that the sync was installed for. One for
  /// each type, as long-lived as the model, so that a late callback never finds a dead one.
  struct SyncUser {
    LyricModel* model;
    std::int32_t mark_type;
  };
  class Builder;

  static void BASS_CALLBACK LyricSyncProc(bass::HSYNC sync, bass::DWORD channel, bass::DWORD data,
                                          void* user);
  static std::size_t Place(int number) { return static_cast<std::size_t>(number - 1); }
  void Clear();

  const bass::Api& api_;
  LyricDisplay* const display_;
  std::array<SyncUser, 2> sync_users_;

  std::atomic<std::int16_t> canal_lyrics_ = -1;
  std::atomic<std::int32_t> mark_type_ = -1;
  std::atomic<std::int32_t> sync_type_ = 0;

  std::vector<LyricSyllable> syllables_;
  int syllable_capacity_ = 0;
  std::vector<std::string> line_texts_;
  std::vector<std::int32_t> line_start_bytes_;
  std::vector<std::int32_t> line_start_ticks_;
  std::vector<float> line_start_times_;
  int line_capacity_ = 0;
  std::int32_t minimum_line_gap_ = 0;
  std::string title_;
  std::string artist_;
  std::int16_t max_line_length_ = 0;
  LyricCodePages code_pages_;
};

}  // namespace vexolo
