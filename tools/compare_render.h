/// How far two renderings of one song lie apart: note onsets, level, spectrum.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace vexolo {

/// Interleaved samples, full scale 1.
struct Sound {
  int sample_rate = 0;  ///< Hz
  int channels = 0;
  std::vector<float> samples;

  std::size_t frames() const { return channels == 0 ? 0 : samples.size() / channels; }
};

/// Reads a 16-bit WAV file. On failure returns false and puts one line into `error`.
bool ReadSound(const std::string& path, Sound& sound, std::string& error);

/// Levels are RMS, in dB relative to full scale (a full-scale sine has -3 dB).
/// Differences are OTHER minus ONE, after the common gain has been taken out of OTHER. Nothing is
/// shifted in time.
struct OnsetReport {
  std::size_t count = 0;    ///< onsets found in either sound, counted once a band
  std::size_t missing = 0;  ///< of those, without a counterpart within kOnsetSearchMs
  double offset_ms = 0;     ///< median of the signed differences: OTHER is late by so much
  double median_ms = 0;     ///< of the differences without their sign
  double percentile95_ms = 0;
  double max_ms = 0;
  double max_at = 0;  ///< s
};

struct LevelReport {
  std::size_t seconds = 0;  ///< that were loud enough to be compared
  double max_db = 0;        ///< largest difference of either side, without its sign
  double max_at = 0;        ///< s, start of that second
};

struct BandReport {
  double centre = 0;        ///< Hz
  double one_db = 0;        ///< level over the whole song
  double other_db = 0;      ///< the same, after the common gain
  double difference = 0;    ///< dB; 0 where neither is loud enough to be compared
  double worst_second = 0;  ///< dB, difference of the worst single second, with its sign
  double worst_at = 0;      ///< s
};

constexpr std::size_t kBandCount = 10;

struct Comparison {
  double length_one = 0;  ///< s
  double length_other = 0;
  double gain_db = 0;  ///< OTHER over ONE, from the RMS of what both have
  OnsetReport onsets;
  LevelReport level;
  std::array<BandReport, kBandCount> bands;
};

constexpr double kOnsetSearchMs = 40;
constexpr double kSecondFloorDb = -60;  ///< quieter seconds are not compared
constexpr double kBandFloorDb = -75;    ///< quieter octaves are not compared

struct Limits {
  double onset_ms = 3;
  double level_db = 1.5;
  double band_db = 3;
  double missing_part = 0.02;  ///< of the onsets
  double tail = 15;            ///< s by which one may be longer: notes that die away
};

/// Both need the same sample rate and the same number of channels. Compares as long as both last.
Comparison Compare(const Sound& one, const Sound& other);

/// One line for each limit that is passed; empty where the renderings agree.
std::vector<std::string> PassedLimits(const Comparison& comparison, const Limits& limits);

/// The table that the program prints.
std::string Table(const Comparison& comparison);

}  // namespace vexolo
