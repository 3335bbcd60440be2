/// The list of songs, without its window.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vexolo {

inline constexpr std::string_view kPlayingPrefix = "-> ";
inline constexpr std::string_view kOtherPrefix = "    ";

/// Full paths and the names shown for them, in the same order: two sequences that change together.
/// Places are counted from 1, as the transport counts them; a place outside the list is ignored.
/// Window thread only.
class PlayListModel {
 public:
  /// Uniform numbers in [0, 1).
  using RandomSource = std::function<double()>;

  int count() const { return static_cast<int>(paths_.size()); }
  const std::vector<std::string>& paths() const { return paths_; }
  /// Empty for a place outside the list.
  std::string Path(int place) const;
  /// The line shown: the song's file name behind kPlayingPrefix or kOtherPrefix.
  std::string Line(int place) const;

  /// Place of the current song, from which the transport goes on; 0 = none. It may lie beyond the
  /// count at the end of the list, where the transport puts it.
  int current() const { return current_; }
  void set_current(int place) { current_ = place; }

  /// Place of the entry that is shown as playing; 0 = none.
  int playing() const { return playing_; }

  /// Adds one file to the end of the list; an empty path is ignored.
  void AjouteFichierPlayList(const std::string& path) { PlayListAdd(path); }
  void PlayListAdd(const std::string& path);

  /// Removes an entry. The current song stays current; where it is itself removed, the one before
  /// it becomes current, so that the next song is the one that followed.
  void PlayListDelete(int place) { PlayListDelete(std::vector<int>{place}); }
  /// The same for several entries, in whatever order their places are given.
  void PlayListDelete(const std::vector<int>& places);

  /// Puts entries, one behind the other in the order of the list, before the entry at `before`
  /// (beyond the last one: at the end). The current song and the playing mark go with their entry.
  /// Returns the place of the first of them, 0 where there is none; the others follow it.
  int PlayListMove(const std::vector<int>& places, int before);

  /// Makes an entry the current one and shows it as playing; 0 shows none as playing and leaves the
  /// current place alone.
  void PlayListSelect(int place);

  void Clear();

  /// Swaps each position, from the first to the last, with one that is drawn. The current song and
  /// the playing mark go with their entry.
  void Shuffle(const RandomSource& random);

  /// Grows with every change that shows.
  std::uint64_t revision() const { return revision_; }
  /// Grows when entries come, go or change places, and not when another one plays.
  std::uint64_t order_revision() const { return order_revision_; }

 private:
  bool Has(int place) const { return place >= 1 && place <= count(); }
  std::vector<bool> Chosen(const std::vector<int>& places) const;
  void Arrange(const std::vector<int>& old_places);
  void OrderChanged();

  std::vector<std::string> paths_;
  std::vector<std::string> names_;
  int current_ = 0;
  int playing_ = 0;
  std::uint64_t revision_ = 0;
  std::uint64_t order_revision_ = 0;
};

}  // namespace vexolo
