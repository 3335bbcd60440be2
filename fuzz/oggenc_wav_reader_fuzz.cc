// layer: oggenc
// The Vorbis encoder's sound: any bytes are read to their end or refused, in blocks of any size.
#include <array>
#include <cstdio>

#include "fuzz/support/fuzz_input.h"
#include "oggenc/wav_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using vexolo::fuzz::Require;
  if (size == 0) return 0;
  std::FILE* const input = fmemopen(const_cast<std::uint8_t*>(data), size, "rb");
  Require(input != nullptr);
  vexolo::oggenc::WavReader reader(input);
  const bool is_sound = reader.ReadHeader();
  Require(is_sound == reader.error().empty());
  if (is_sound) {
    const auto& format = reader.format();
    Require(format.channels == 1 || format.channels == 2);
    Require(format.sample_rate >= vexolo::oggenc::kMinSampleRate &&
            format.sample_rate <= vexolo::oggenc::kMaxSampleRate);
    std::array<std::int16_t, 67> samples;
    const auto channels = static_cast<std::size_t>(format.channels);
    std::size_t total = 0;
    // Room for two samples at least; otherwise the next byte of the input says how much.
    for (std::size_t i = 0, frames = 1; frames > 0; ++i) {
      const std::size_t room = 2 + data[i % size] % (samples.size() - 1);
      frames = reader.ReadFrames({samples.data(), room});
      Require(frames <= room / channels);
      total += frames;
    }
    Require(total * channels * sizeof(std::int16_t) <= size);
    Require(reader.ReadFrames(samples) == 0);
  }
  std::fclose(input);
  return 0;
}
