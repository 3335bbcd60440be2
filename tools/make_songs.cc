// Writes the demo songs into a folder: make_songs FOLDER
#include <iostream>

#include "song_list.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: make_songs FOLDER\n";
    return 2;
  }
  if (!vexolo::songs::WriteSongs(argv[1])) {
    std::cerr << "make_songs: cannot write the songs into " << argv[1] << '\n';
    return 1;
  }
  return 0;
}
