#include "oggenc/wav_reader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace vexolo::oggenc {
namespace {

constexpr std::uint32_t kUnknownLength = 0xFFFFFFFF;
constexpr unsigned kFormatPcm = 1;
constexpr unsigned kFormatExtensible = 0xFFFE;
constexpr std::uint32_t kPlainFormatSize = 16;
constexpr std::uint32_t kExtensibleFormatSize = 40;
/// A format chunk longer than this is no format chunk.
constexpr std::uint32_t kMaxFormatSize = 4096;

/// What follows the two bytes of the format tag in the sub-format of an extensible header.
constexpr std::array<std::uint8_t, 14> kSubFormatTail = {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                                         0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

unsigned Read16(const std::uint8_t* bytes) { return bytes[0] | bytes[1] << 8U; }

std::uint32_t Read32(const std::uint8_t* bytes) {
  return Read16(bytes) | static_cast<std::uint32_t>(Read16(bytes + 2)) << 16U;
}

bool IsName(const std::uint8_t* bytes, const char* name) {
  return std::memcmp(bytes, name, 4) == 0;
}

}  // namespace

bool WavReader::Fail(const char* message) {
  error_ = message;
  return false;
}

bool WavReader::ReadBytes(std::span<std::uint8_t> bytes) {
  const std::size_t count = std::fread(bytes.data(), 1, bytes.size(), input_);
  position_ += count;
  if (count == bytes.size()) return true;
  if (std::ferror(input_) != 0) {
    error_ = std::string("cannot read: ") + std::generic_category().message(errno);
    return false;
  }
  return Fail(position_ == 0 ? "no sound came in" : "the header is cut short");
}

bool WavReader::Skip(std::uint64_t count) {
  std::array<std::uint8_t, 4096> waste;
  while (count > 0) {
    const std::size_t step = std::min<std::uint64_t>(count, waste.size());
    if (!ReadBytes({waste.data(), step})) return false;
    count -= step;
  }
  return true;
}

bool WavReader::ReadHeader() {
  std::array<std::uint8_t, 12> form;
  if (!ReadBytes(form)) return false;
  if (!IsName(form.data(), "RIFF") && !IsName(form.data(), "RF64")) {
    return Fail("this is not a WAV file");
  }
  if (!IsName(form.data() + 8, "WAVE")) return Fail("this is not a WAV file");
  form_end_ = 8 + static_cast<std::uint64_t>(Read32(form.data() + 4));
  while (true) {
    std::array<std::uint8_t, 8> chunk;
    if (!ReadBytes(chunk)) return false;
    const std::uint32_t size = Read32(chunk.data() + 4);
    const std::uint64_t padding = size % 2;
    if (IsName(chunk.data(), "data")) {
      if (format_.channels == 0) return Fail("the sound comes before its format");
      BeginSound(size);
      return true;
    }
    if (IsName(chunk.data(), "fmt ")) {
      if (!ReadFormatChunk(size) || !Skip(padding)) return false;
    } else if (!Skip(size + padding)) {
      return false;
    }
  }
}

bool WavReader::ReadFormatChunk(std::uint32_t size) {
  if (size < kPlainFormatSize || size > kMaxFormatSize) return Fail("the format is damaged");
  std::vector<std::uint8_t> chunk(size);
  if (!ReadBytes(chunk)) return false;
  unsigned tag = Read16(chunk.data());
  if (tag == kFormatExtensible && size >= kExtensibleFormatSize &&
      std::equal(kSubFormatTail.begin(), kSubFormatTail.end(), chunk.begin() + 26)) {
    tag = Read16(chunk.data() + 24);
  }
  const unsigned channels = Read16(chunk.data() + 2);
  const std::uint32_t rate = Read32(chunk.data() + 4);
  const unsigned bits = Read16(chunk.data() + 14);
  if (tag != kFormatPcm || bits != 16) return Fail("the sound is not 16-bit PCM");
  if (channels < 1 || channels > 2) return Fail("the sound is neither mono nor stereo");
  if (rate < kMinSampleRate || rate > kMaxSampleRate) {
    return Fail("the sample rate is not between 8000 and 192000 Hz");
  }
  format_ = {static_cast<int>(channels), static_cast<int>(rate)};
  return true;
}

void WavReader::BeginSound(std::uint32_t size) {
  // More of the form after the sound means that whoever wrote the header knew both lengths.
  const std::uint64_t padded_end = position_ + size + size % 2;
  const bool known = size != 0 && size != kUnknownLength &&
                     form_end_ != 8 + static_cast<std::uint64_t>(kUnknownLength);
  if (known && form_end_ > padded_end) bytes_ = size;
}

std::size_t WavReader::ReadFrames(std::span<std::int16_t> samples) {
  const std::size_t frame_size = 2 * static_cast<std::size_t>(format_.channels);
  std::size_t wanted = samples.size() / format_.channels * frame_size;
  if (bytes_) wanted = std::min<std::uint64_t>(wanted, *bytes_);
  buffer_.resize(wanted);
  const std::size_t count = std::fread(buffer_.data(), 1, wanted, input_);
  position_ += count;
  if (bytes_) *bytes_ -= count;
  if (count < wanted && std::ferror(input_) != 0) {
    error_ = std::string("cannot read: ") + std::generic_category().message(errno);
  }
  const std::size_t frames = count / frame_size;
  for (std::size_t i = 0; i < frames * format_.channels; ++i) {
    samples[i] = static_cast<std::int16_t>(Read16(buffer_.data() + 2 * i));
  }
  return frames;
}

}  // namespace vexolo::oggenc
