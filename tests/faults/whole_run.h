/// The program from its start to its end: it loads a bank and a song, plays, changes the mix,
/// saves, goes on to the next song, and converts. There are two such runs, each in a program of its
/// own: without windows (whole_run.cc) and with them (window_run.cc).
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "platform/message_box.h"

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
  /// The first song, as the program is started with it.
  std::string command_line() const;
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

/// Boxes that write down what they say, and agree to everything.
class NotedBoxes : public MessageBoxes {
 public:
  explicit NotedBoxes(Outcome& outcome) : outcome_(outcome) {}
  void Show(const std::string& text, const std::string& title, BoxIcon icon) override;
  bool AskYesNo(const std::string&, const std::string&) override { return true; }

 private:
  Outcome& outcome_;
};

/// Calls `comes` again and again until it is true, which is returned; or false, because a message
/// has told why it will never be, or the program has stood still, or it takes too long.
bool Await(const Outcome& outcome, const std::function<bool()>& comes,
           const std::function<bool()>& is_under_way);

/// Runs of one test, unless more are asked for: as many as do not take long.
std::size_t SampleSize();

/// No, where the toolkit takes part: it ends the program, wherever it finds no memory.
bool SurvivesLackOfMemory();

/// One run. Ends in any case; what does not come about within some seconds is given up.
Outcome RunProgram(const Place& place);

}  // namespace vexolo::faults
