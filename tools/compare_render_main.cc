/// compare_render [--onsets|--sound] ONE.wav OTHER.wav: do two renderings of one song sound the
/// same?
#include <cstdio>
#include <limits>
#include <string>

#include "tools/compare_render.h"

namespace {

constexpr int kAgree = 0;
constexpr int kDiffer = 1;
constexpr int kWrongUse = 2;

constexpr const char* kUsage =
    "Usage: compare_render [--onsets|--sound] ONE.wav OTHER.wav\n"
    "\n"
    "Compares two renderings of one song: note onsets (3 ms), level of every second (1.5 dB) and\n"
    "level of every octave (3 dB), after one common gain. A delay counts as a difference.\n"
    "Onsets of slow instruments, or of notes that sound over each other, cannot be told to a\n"
    "millisecond: --onsets judges only the onsets (of a song of clicks), --sound only the rest.\n"
    "Exit status: 0 within these limits; 1 beyond one of them; 2 wrong use or unreadable file.\n";

vexolo::Limits LimitsFor(const std::string& only) {
  constexpr double kNone = std::numeric_limits<double>::infinity();
  vexolo::Limits limits;
  if (only == "--sound") limits.onset_ms = limits.missing_part = kNone;
  if (only == "--onsets") limits.level_db = limits.band_db = kNone;
  return limits;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && (std::string(argv[1]) == "-h" || std::string(argv[1]) == "--help")) {
    std::fputs(kUsage, stdout);
    return kAgree;
  }
  const std::string only = argc == 4 ? argv[1] : "";
  if (argc != 3 && only != "--onsets" && only != "--sound") {
    std::fputs(kUsage, stderr);
    return kWrongUse;
  }
  const char* const* files = argv + argc - 2;
  vexolo::Sound one;
  vexolo::Sound other;
  std::string error;
  if (!vexolo::ReadSound(files[0], one, error) || !vexolo::ReadSound(files[1], other, error)) {
    std::fprintf(stderr, "compare_render: %s\n", error.c_str());
    return kWrongUse;
  }
  if (one.sample_rate != other.sample_rate || one.channels != other.channels) {
    std::fputs("compare_render: sample rates or channels differ\n", stderr);
    return kWrongUse;
  }
  const vexolo::Comparison comparison = vexolo::Compare(one, other);
  std::fputs(vexolo::Table(comparison).c_str(), stdout);
  const auto passed = vexolo::PassedLimits(comparison, LimitsFor(only));
  std::puts(passed.empty() ? "\nWithin all limits." : "\nBeyond the limits:");
  for (const std::string& line : passed) std::printf("  %s\n", line.c_str());
  return passed.empty() ? kAgree : kDiffer;
}
