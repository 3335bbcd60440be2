// Signals and measurements for tests of the sound path. Everything at 44100 Hz.
#pragma once

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>
#include <random>
#include <vector>

namespace vexolo::engine::testing {

inline constexpr double kRate = 44100.0;

struct Sound {
  std::vector<float> left, right;

  Sound() = default;
  explicit Sound(int frames)
      : left(static_cast<std::size_t>(frames)), right(static_cast<std::size_t>(frames)) {}
  int frames() const { return static_cast<int>(left.size()); }
  bool operator==(const Sound&) const = default;
};

inline int Frames(double seconds) { return static_cast<int>(std::lround(seconds * kRate)); }

inline Sound Impulse(double seconds, float amount = 1.0F) {
  Sound sound(Frames(seconds));
  sound.left[0] = sound.right[0] = amount;
  return sound;
}

inline Sound Sine(double seconds, double hertz, double amount = 1.0) {
  Sound sound(Frames(seconds));
  for (int i = 0; i < sound.frames(); ++i) {
    const double value = amount * std::sin(2.0 * std::numbers::pi * hertz * i / kRate);
    sound.left[i] = sound.right[i] = static_cast<float>(value);
  }
  return sound;
}

/// Noise of the given RMS, the sides independent of each other.
inline Sound Noise(double seconds, double rms = 0.1, unsigned seed = 1) {
  Sound sound(Frames(seconds));
  std::mt19937 random(seed);
  std::normal_distribution<double> normal(0.0, rms);
  for (int i = 0; i < sound.frames(); ++i) {
    sound.left[i] = static_cast<float>(normal(random));
    sound.right[i] = static_cast<float>(normal(random));
  }
  return sound;
}

inline double Decibels(double ratio) { return 20.0 * std::log10(ratio); }

inline double Rms(const std::vector<float>& samples, int from, int to) {
  double sum = 0.0;
  for (int i = from; i < to; ++i) sum += static_cast<double>(samples[i]) * samples[i];
  return std::sqrt(sum / (to - from));
}

inline double Rms(const std::vector<float>& samples) {
  return Rms(samples, 0, static_cast<int>(samples.size()));
}

inline float Peak(const std::vector<float>& samples, int from, int to) {
  float peak = 0.0F;
  for (int i = from; i < to; ++i) peak = std::max(peak, std::abs(samples[i]));
  return peak;
}

inline float Peak(const std::vector<float>& samples) {
  return Peak(samples, 0, static_cast<int>(samples.size()));
}

/// The largest step between neighbours.
inline float LargestStep(const std::vector<float>& samples, int from, int to) {
  float step = 0.0F;
  for (int i = from + 1; i < to; ++i) step = std::max(step, std::abs(samples[i] - samples[i - 1]));
  return step;
}

/// First sample that reaches a share of the peak.
inline int Onset(const std::vector<float>& samples, double share) {
  const float threshold = static_cast<float>(share) * Peak(samples);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (std::abs(samples[i]) >= threshold && threshold > 0.0F) return static_cast<int>(i);
  }
  return -1;
}

/// Milliseconds for a fall of 60 dB, from -5 to -35 dB of the backward-integrated response
/// (Schroeder), by linear regression.
inline double ReverbTime(const std::vector<float>& response) {
  std::vector<double> energy(response.size());
  double sum = 0.0;
  for (std::size_t i = response.size(); i-- > 0;) {
    sum += static_cast<double>(response[i]) * response[i];
    energy[i] = sum;
  }
  double n = 0, sx = 0, sy = 0, sxx = 0, sxy = 0;
  for (std::size_t i = 0; i < energy.size(); ++i) {
    const double db = 10.0 * std::log10(energy[i] / energy[0]);
    if (db > -5.0 || db < -35.0) continue;
    const double x = static_cast<double>(i);
    n += 1, sx += x, sy += db, sxx += x * x, sxy += x * db;
  }
  const double slope = (n * sxy - sx * sy) / (n * sxx - sx * sx);
  return -60.0 / slope / kRate * 1000.0;
}

/// In place; the size is a power of two.
inline void Fourier(std::vector<std::complex<double>>& data) {
  const std::size_t size = data.size();
  for (std::size_t i = 1, j = 0; i < size; ++i) {
    std::size_t bit = size >> 1;
    for (; (j & bit) != 0; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i < j) std::swap(data[i], data[j]);
  }
  for (std::size_t length = 2; length <= size; length *= 2) {
    const auto turn = std::polar(1.0, -2.0 * std::numbers::pi / static_cast<double>(length));
    for (std::size_t start = 0; start < size; start += length) {
      std::complex<double> factor = 1.0;
      for (std::size_t i = start; i < start + length / 2; ++i) {
        const auto odd = data[i + length / 2] * factor;
        data[i + length / 2] = data[i] - odd;
        data[i] += odd;
        factor *= turn;
      }
    }
  }
}

/// Energy of every bin of a signal padded to a power of two.
class Spectrum {
 public:
  explicit Spectrum(const std::vector<float>& samples) {
    std::size_t size = 1;
    while (size < samples.size()) size *= 2;
    std::vector<std::complex<double>> data(size);
    for (std::size_t i = 0; i < samples.size(); ++i) data[i] = samples[i];
    Fourier(data);
    energy_.resize(size / 2);
    for (std::size_t i = 0; i < size / 2; ++i) energy_[i] = std::norm(data[i]);
    hertz_per_bin_ = kRate / static_cast<double>(size);
  }

  /// Mean energy of the bins between two frequencies.
  double Mean(double from, double to) const {
    const auto first = static_cast<std::size_t>(from / hertz_per_bin_);
    const auto last = std::min(static_cast<std::size_t>(to / hertz_per_bin_) + 1, energy_.size());
    double sum = 0.0;
    for (std::size_t i = first; i < last; ++i) sum += energy_[i];
    return sum / static_cast<double>(last - first);
  }

  const std::vector<double>& energy() const { return energy_; }
  double hertz_per_bin() const { return hertz_per_bin_; }

 private:
  std::vector<double> energy_;
  double hertz_per_bin_ = 0.0;
};

/// Lengths of blocks that add up to `frames`: all of one length, or random ones up to 512.
inline std::vector<int> EqualBlocks(int frames, int block) {
  std::vector<int> blocks(static_cast<std::size_t>(frames / block), block);
  if (frames % block != 0) blocks.push_back(frames % block);
  return blocks;
}

inline std::vector<int> RandomBlocks(int frames, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<int> blocks;
  while (frames > 0) {
    // Short ones as often as long ones.
    const int highest = (random() & 1U) != 0 ? 512 : 40;
    const int block = std::min(frames, 1 + static_cast<int>(random() % highest));
    blocks.push_back(block);
    frames -= block;
  }
  return blocks;
}

/// What a unit with Process(in left, in right, out left, out right, frames) makes of a sound.
template <typename Unit>
Sound RunUnit(Unit& unit, const Sound& in, const std::vector<int>& blocks) {
  Sound out(in.frames());
  int done = 0;
  for (const int block : blocks) {
    unit.Process(in.left.data() + done, in.right.data() + done, out.left.data() + done,
                 out.right.data() + done, block);
    done += block;
  }
  return out;
}

template <typename Unit>
Sound RunUnit(Unit& unit, const Sound& in) {
  return RunUnit(unit, in, EqualBlocks(in.frames(), 441));
}

}  // namespace vexolo::engine::testing
