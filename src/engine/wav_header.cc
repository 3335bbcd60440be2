#include "engine/wav_header.h"

#include <algorithm>
#include <string_view>

#include "engine/time_line.h"

namespace vexolo::engine {

namespace {

class Cursor {
 public:
  explicit Cursor(WavHeader& header) : at_(header.begin()) {}

  void Name(std::string_view name) { at_ = std::copy(name.begin(), name.end(), at_); }
  void Number(std::uint32_t value, int bytes) {
    for (; bytes > 0; --bytes, value >>= 8) *at_++ = static_cast<std::uint8_t>(value & 0xFF);
  }

 private:
  WavHeader::iterator at_;
};

}  // namespace

WavHeader MakeWavHeader(std::uint32_t riff_length, std::uint32_t data_length) {
  constexpr std::uint32_t kPcm = 1;
  constexpr std::uint32_t kChannels = 2;
  constexpr std::uint32_t kBits = 16;
  WavHeader header{};
  Cursor cursor(header);
  cursor.Name("RIFF");
  cursor.Number(riff_length, 4);
  cursor.Name("WAVEfmt ");
  cursor.Number(16, 4);
  cursor.Number(kPcm, 2);
  cursor.Number(kChannels, 2);
  cursor.Number(kSampleRate, 4);
  cursor.Number(kSampleRate * kFrameBytes, 4);
  cursor.Number(kFrameBytes, 2);
  cursor.Number(kBits, 2);
  cursor.Name("data");
  cursor.Number(data_length, 4);
  return header;
}

WavHeader MakeWavHeader(std::uint32_t data_length) {
  return MakeWavHeader(data_length + kWavHeaderBytes - 8, data_length);
}

}  // namespace vexolo::engine
