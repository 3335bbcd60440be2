/// WAV files as byte strings, right or wrong, for the tests of whatever reads them.
#pragma once

#include <cmath>
#include <cstdint>
#include <numbers>
#include <string>
#include <vector>

namespace vexolo {

inline std::string Bytes16(unsigned value) {
  return {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8 & 0xFF)};
}

inline std::string Bytes32(std::uint32_t value) {
  return Bytes16(value & 0xFFFF) + Bytes16(value >> 16);
}

inline std::string Chunk(const std::string& name, const std::string& content) {
  return name + Bytes32(static_cast<std::uint32_t>(content.size())) + content +
         std::string(content.size() % 2, '\0');
}

inline std::string FormatChunk(unsigned channels, std::uint32_t rate, unsigned tag = 1,
                               unsigned bits = 16) {
  const unsigned frame = channels * bits / 8;
  return Chunk("fmt ", Bytes16(tag) + Bytes16(channels) + Bytes32(rate) + Bytes32(rate * frame) +
                           Bytes16(frame) + Bytes16(bits));
}

inline std::string SampleBytes(const std::vector<std::int16_t>& samples) {
  std::string bytes;
  for (const std::int16_t s : samples) bytes += Bytes16(static_cast<std::uint16_t>(s));
  return bytes;
}

/// A form around `chunks` whose length is right.
inline std::string Form(const std::string& chunks) {
  return "RIFF" + Bytes32(static_cast<std::uint32_t>(chunks.size() + 4)) + "WAVE" + chunks;
}

/// As a program writes into a pipe: both lengths are `length`, whatever follows.
inline std::string PipedWav(const std::vector<std::int16_t>& samples, unsigned channels,
                            std::uint32_t rate, std::uint32_t length) {
  return "RIFF" + Bytes32(length) + "WAVE" + FormatChunk(channels, rate) + "data" +
         Bytes32(length) + SampleBytes(samples);
}

inline std::string PlainWav(const std::vector<std::int16_t>& samples, unsigned channels,
                            std::uint32_t rate) {
  return Form(FormatChunk(channels, rate) + Chunk("data", SampleBytes(samples)));
}

/// A steady tone at a fifth of full scale, the same in every channel.
inline std::vector<std::int16_t> Tone(std::size_t frames, unsigned channels, double rate,
                                      double frequency = 440) {
  std::vector<std::int16_t> samples;
  for (std::size_t i = 0; i < frames; ++i) {
    const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
    samples.insert(samples.end(), channels,
                   static_cast<std::int16_t>(std::lround(6553 * std::sin(phase))));
  }
  return samples;
}

}  // namespace vexolo
