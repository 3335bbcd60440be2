/// The canonical header in front of samples.
#pragma once

#include <array>
#include <cstdint>

namespace vexolo::engine {

inline constexpr std::uint32_t kWavHeaderBytes = 44;
/// Both lengths of a header whose end is not known yet. All bits set would do as well, but `lame`
/// takes that for a real length and writes it into the tags.
inline constexpr std::uint32_t kUnknownLength = 0;
inline constexpr std::uint32_t kFrameBytes = 4;

using WavHeader = std::array<std::uint8_t, kWavHeaderBytes>;

/// "RIFF", "WAVE", "fmt " (16 bytes: PCM, stereo, 44100 Hz, 16 bits) and "data", little-endian.
/// `riff_length` counts the bytes behind its own field (data length + 36).
WavHeader MakeWavHeader(std::uint32_t riff_length, std::uint32_t data_length);

/// The header in front of `data_length` bytes of samples.
WavHeader MakeWavHeader(std::uint32_t data_length);

}  // namespace vexolo::engine
