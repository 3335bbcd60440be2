/// A discrete Fourier transform for measurements.
#pragma once

#include <complex>
#include <cstddef>
#include <span>
#include <vector>

namespace vexolo {

/// In-place radix-2 transform of one size, a power of two. Not scaled: a sine of amplitude 1 on a
/// bin comes out as size / 2.
class Fft {
 public:
  explicit Fft(std::size_t size);
  std::size_t size() const { return size_; }
  void Transform(std::span<std::complex<float>> values) const;

 private:
  std::size_t size_;
  std::vector<std::size_t> reversed_;           ///< index with its bits in reverse order
  std::vector<std::complex<float>> rotations_;  ///< exp(-2 pi i k / size), k < size / 2
};

/// Spectra of two real signals from one transform of first + i second; the bin is below size / 2.
struct BinPair {
  std::complex<float> first;
  std::complex<float> second;
};
BinPair SplitBin(std::span<const std::complex<float>> spectrum, std::size_t bin);

/// Hann window whose squares have the mean 1, so that windowed power is power.
std::vector<float> HannWindow(std::size_t size);

}  // namespace vexolo
