/// What the list tells of a song besides its name, read beside the window.
#pragma once

#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "playlist/background_worker.h"

namespace vexolo {

/// Texts are UTF-8.
struct SongFacts {
  double length = 0;   ///< seconds at the song's own speed; 0 where the song cannot be read
  std::string title;   ///< that the song gives itself; often empty
  std::string artist;  ///< the same
  bool operator==(const SongFacts&) const = default;
};

/// Reads the facts of one song file; called on the worker's thread. Of a file that is no song it
/// gives none.
using ReadSongFacts = std::function<SongFacts(const std::string& path)>;

/// Facts of the songs that are wanted: known, or on their way. Window thread only.
class SongFactsTable {
 public:
  explicit SongFactsTable(ReadSongFacts read);

  /// Says which songs are in the list. Those that are new are read, in this order; what is known of
  /// others is forgotten, so that a song that comes again is read again.
  void Want(const std::vector<std::string>& paths);

  /// Those of the songs that are still to be read come next: they are looked at.
  void Prefer(const std::vector<std::string>& paths);

  /// Takes over what has been read. True where there was something.
  bool Collect();

  /// Whether songs are still to be read.
  bool reading() const { return unknown_ > 0; }

  /// Null while the song is not known.
  const SongFacts* Find(const std::string& path) const;

  /// Seconds of all songs together; one that stands in `paths` twice counts twice.
  double TotalLength(const std::vector<std::string>& paths) const;

  /// Ends the reading for good; waits for the song under way.
  void Stop();

 private:
  struct Entry {
    SongFacts facts;
    bool known = false;
  };
  struct Read {
    std::string path;
    SongFacts facts;
  };

  void Queue(const std::vector<std::string>& first, const std::vector<std::string>& all);

  std::unordered_map<std::string, Entry> entries_;
  std::vector<std::string> wanted_;  ///< each path once, in the order of the list
  std::size_t unknown_ = 0;
  BackgroundWorker<std::string, Read> worker_;
};

/// "3:05", from an hour on "1:02:03"; to the nearest second.
std::string FormatLength(double seconds);

/// The texts of a language for the line below the list: none, one and several songs, with "%1" for
/// how many and "%2" for the time that they take together.
struct CountTexts {
  std::string none;
  std::string one;
  std::string several;
  std::string reading;  ///< stands behind the others while songs are read
};

std::string CountText(const CountTexts& texts, int count, double total_length, bool reading);

}  // namespace vexolo
