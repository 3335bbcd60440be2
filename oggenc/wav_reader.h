/// WAV sound from a stream that cannot be rewound.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vexolo::oggenc {

struct WavFormat {
  int channels = 0;     ///< 1 or 2
  int sample_rate = 0;  ///< Hz
};

constexpr int kMinSampleRate = 8000;
constexpr int kMaxSampleRate = 192000;

/// Reads 16-bit PCM, plain or extensible, with any chunks before the sound.
///
/// Lengths in the header are not trusted: a program that writes into a pipe cannot know them. The
/// sound goes on to the end of the stream, unless the header tells of chunks after it; then it
/// ends where the header says.
class WavReader {
 public:
  /// Does not own `input`.
  explicit WavReader(std::FILE* input) : input_(input) {}

  /// Reads up to the first sample. False, with error() set, where this is not such a sound.
  bool ReadHeader();
  const WavFormat& format() const { return format_; }

  /// Fills `samples` (interleaved) with as many whole frames as fit and are left; returns their
  /// number, 0 at the end. An unfinished frame at the end is dropped. error() is set if the stream
  /// fails.
  std::size_t ReadFrames(std::span<std::int16_t> samples);

  /// One line without a line break; empty as long as all is well.
  const std::string& error() const { return error_; }

 private:
  bool Fail(const char* message);
  bool ReadBytes(std::span<std::uint8_t> bytes);
  bool Skip(std::uint64_t count);
  bool ReadFormatChunk(std::uint32_t size);
  void BeginSound(std::uint32_t size);

  std::FILE* input_;
  WavFormat format_;
  std::string error_;
  std::uint64_t position_ = 0;          ///< bytes read so far
  std::uint64_t form_end_ = 0;          ///< byte after the RIFF form, as the header says
  std::optional<std::uint64_t> bytes_;  ///< bytes of sound left, where the header is trusted
  std::vector<std::uint8_t> buffer_;
};

}  // namespace vexolo::oggenc
