/// The program without its windows, from its start to its end: it loads a bank and a song, plays,
/// changes the mix, saves, converts, and goes on to the next song.
#pragma once

#include <string>
#include <vector>

namespace vexolo::faults {

/// Where a run takes place. Everything that the program may touch stands in one folder.
struct Place {
  std::string root;
  std::string program() const { return root + "/program"; }
  std::string settings() const { return program() + "/Vexolo.ini"; }
  std::string song(int number) const { return root + "/songs/" + std::to_string(number) + ".mid"; }
  std::string song_settings(int number) const {
    return root + "/songs/" + std::to_string(number) + ".zvn";
  }
  std::string list() const { return root + "/songs/list.zvp"; }
  std::string output() const { return root + "/output/"; }
};

/// Puts program folder, settings, two songs with theirs and a list into the empty folder `root`.
Place Furnish(const std::string& root);

/// What the user has seen and got.
struct Outcome {
  std::vector<std::string> boxes;  ///< texts of the messages
  /// What was asked for and done, in order: "started", "plays", "seeks", ... What is missing has
  /// not been done.
  std::vector<std::string> done;
};

/// One run. Ends in any case; what does not come about within some seconds is given up.
Outcome RunProgram(const Place& place);

}  // namespace vexolo::faults
