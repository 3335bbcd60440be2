/// compare_render ONE.wav OTHER.wav: do two renderings of one song sound the same?
#include <cstdio>
#include <string>

#include "tools/compare_render.h"

namespace {

constexpr int kAgree = 0;
constexpr int kDiffer = 1;
constexpr int kWrongUse = 2;

constexpr const char* kUsage =
    "Usage: compare_render ONE.wav OTHER.wav\n"
    "\n"
    "Compares two renderings of one song: note onsets (3 ms), level of every second (1.5 dB) and\n"
    "level of every octave (3 dB), after one common gain. A delay counts as a difference.\n"
    "Exit status: 0 within these limits; 1 beyond one of them; 2 wrong use or unreadable file.\n";

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && (std::string(argv[1]) == "-h" || std::string(argv[1]) == "--help")) {
    std::fputs(kUsage, stdout);
    return kAgree;
  }
  if (argc != 3) {
    std::fputs(kUsage, stderr);
    return kWrongUse;
  }
  vexolo::Sound one;
  vexolo::Sound other;
  std::string error;
  if (!vexolo::ReadSound(argv[1], one, error) || !vexolo::ReadSound(argv[2], other, error)) {
    std::fprintf(stderr, "compare_render: %s\n", error.c_str());
    return kWrongUse;
  }
  if (one.sample_rate != other.sample_rate || one.channels != other.channels) {
    std::fputs("compare_render: sample rates or channels differ\n", stderr);
    return kWrongUse;
  }
  const vexolo::Comparison comparison = vexolo::Compare(one, other);
  std::fputs(vexolo::Table(comparison).c_str(), stdout);
  const auto passed = vexolo::PassedLimits(comparison, vexolo::Limits());
  std::puts(passed.empty() ? "\nWithin all limits." : "\nBeyond the limits:");
  for (const std::string& line : passed) std::printf("  %s\n", line.c_str());
  return passed.empty() ? kAgree : kDiffer;
}
