#include "tools/fft.h"

#include <cmath>
#include <numbers>
#include <utility>

namespace vexolo {
namespace {

// The operators of std::complex look after infinities on every product, which costs several times
// the work itself.
std::complex<float> Product(std::complex<float> a, std::complex<float> b) {
  return {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
}

}  // namespace

Fft::Fft(std::size_t size) : size_(size), reversed_(size), rotations_(size / 2) {
  for (std::size_t i = 1; i < size; ++i) {
    reversed_[i] = reversed_[i / 2] / 2 + (i % 2) * size / 2;
  }
  for (std::size_t k = 0; k < size / 2; ++k) {
    const double angle = -2 * std::numbers::pi * static_cast<double>(k) / static_cast<double>(size);
    rotations_[k] = {static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle))};
  }
}

void Fft::Transform(std::span<std::complex<float>> values) const {
  for (std::size_t i = 0; i < size_; ++i) {
    if (i < reversed_[i]) std::swap(values[i], values[reversed_[i]]);
  }
  for (std::size_t half = 1; half < size_; half *= 2) {
    const std::size_t step = size_ / (2 * half);
    for (std::size_t start = 0; start < size_; start += 2 * half) {
      for (std::size_t k = 0; k < half; ++k) {
        const std::complex<float> odd = Product(values[start + half + k], rotations_[k * step]);
        const std::complex<float> even = values[start + k];
        values[start + k] = even + odd;
        values[start + half + k] = even - odd;
      }
    }
  }
}

BinPair SplitBin(std::span<const std::complex<float>> spectrum, std::size_t bin) {
  const std::complex<float> here = spectrum[bin];
  const std::complex<float> mirror = std::conj(spectrum[bin == 0 ? 0 : spectrum.size() - bin]);
  const std::complex<float> difference = (here - mirror) * 0.5F;
  return {(here + mirror) * 0.5F, {difference.imag(), -difference.real()}};
}

std::vector<float> HannWindow(std::size_t size) {
  std::vector<float> window(size);
  const double scale = std::sqrt(8.0 / 3.0);
  for (std::size_t i = 0; i < size; ++i) {
    const double angle = 2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(size);
    window[i] = static_cast<float>(scale * 0.5 * (1 - std::cos(angle)));
  }
  return window;
}

}  // namespace vexolo
