/// Songs as nobody would write them, made to break whoever reads them.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vexolo {

struct HostileSong {
  std::string name;    ///< of its file, with extension; as hostile as what is in it
  std::string family;  ///< "Titles", "Tracks", ...
  std::function<std::string()> bytes;
};

/// Always the same ones. The biggest have some ten megabytes.
std::vector<HostileSong> HostileSongs();

}  // namespace vexolo
