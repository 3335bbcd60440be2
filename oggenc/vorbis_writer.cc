#include "oggenc/vorbis_writer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include <vorbis/vorbisenc.h>

namespace vexolo::oggenc {
namespace {

/// Frames handed to the encoder at a time; more would only grow its buffer.
constexpr std::size_t kFramesAtATime = 1024;

/// Quality that comes near a nominal rate, in kbit/s per channel, for sample rates at which the
/// encoder offers no choice by rate.
constexpr std::array<std::pair<float, float>, 12> kQualityOfRate{{{22.5F, -0.1F},
                                                                  {32, 0.0F},
                                                                  {40, 0.1F},
                                                                  {48, 0.2F},
                                                                  {56, 0.3F},
                                                                  {64, 0.4F},
                                                                  {80, 0.5F},
                                                                  {96, 0.6F},
                                                                  {112, 0.7F},
                                                                  {128, 0.8F},
                                                                  {160, 0.9F},
                                                                  {250, 1.0F}}};

float QualityOfRate(float rate) {
  for (std::size_t i = 1; i < kQualityOfRate.size(); ++i) {
    const auto [low_rate, low] = kQualityOfRate[i - 1];
    const auto [high_rate, high] = kQualityOfRate[i];
    if (rate < high_rate) {
      return low + (high - low) * std::max(0.0F, (rate - low_rate) / (high_rate - low_rate));
    }
  }
  return kQualityOfRate.back().second;
}

/// Readies `info` for a nominal rate in kbit/s. Leaves it cleared on failure.
bool InitAtRate(vorbis_info& info, const WavFormat& format, int bitrate) {
  vorbis_info_init(&info);
  if (vorbis_encode_init(&info, format.channels, format.sample_rate, -1, 1000L * bitrate, -1) ==
      0) {
    return true;
  }
  vorbis_info_clear(&info);
  return false;
}

/// As InitAtRate, with the nearest rate that the encoder has at this sample rate; by quality where
/// it has none.
bool InitNearRate(vorbis_info& info, const WavFormat& format, int bitrate) {
  for (int distance = 0; distance <= kMaxBitrate; ++distance) {
    if (bitrate > distance && InitAtRate(info, format, bitrate - distance)) return true;
    if (InitAtRate(info, format, bitrate + distance)) return true;
  }
  vorbis_info_init(&info);
  const float quality =
      QualityOfRate(static_cast<float>(bitrate) / static_cast<float>(format.channels));
  if (vorbis_encode_init_vbr(&info, format.channels, format.sample_rate, quality) == 0) return true;
  vorbis_info_clear(&info);
  return false;
}

/// 32-bit FNV-1a over everything that shapes the file but the sound.
class SerialNumber {
 public:
  void Add(const std::string& text) {
    for (const char c : text) Mix(static_cast<unsigned char>(c));
    Mix(0);
  }
  void Add(int value) { Add(std::to_string(value)); }
  int value() const { return static_cast<int>(hash_); }

 private:
  void Mix(unsigned char byte) { hash_ = (hash_ ^ byte) * 16777619U; }

  std::uint32_t hash_ = 2166136261U;
};

}  // namespace

VorbisWriter::~VorbisWriter() {
  // Reached open only after a failure, which has been told of.
  if (file_ != nullptr) static_cast<void>(std::fclose(file_));
  if (!encoder_started_) return;
  ogg_stream_clear(&stream_);
  vorbis_block_clear(&block_);
  vorbis_dsp_clear(&state_);
  vorbis_comment_clear(&comment_);
  vorbis_info_clear(&info_);
}

bool VorbisWriter::Fail(const std::string& what) {
  error_ = what;
  return false;
}

bool VorbisWriter::FailWithErrno(const char* what) {
  return Fail(std::string(what) + ": " + std::generic_category().message(errno));
}

bool VorbisWriter::Open(const std::string& path, const WavFormat& format, int bitrate,
                        const std::vector<Comment>& comments) {
  file_ = std::fopen(path.c_str(), "wb");
  if (file_ == nullptr) return FailWithErrno("cannot create the file");
  return StartEncoder(format, bitrate, comments) && WriteHeaders();
}

bool VorbisWriter::StartEncoder(const WavFormat& format, int bitrate,
                                const std::vector<Comment>& comments) {
  if (!InitNearRate(info_, format, bitrate)) {
    return Fail("the encoder has no mode for " + std::to_string(format.sample_rate) + " Hz");
  }
  channels_ = format.channels;
  SerialNumber serial;
  serial.Add(format.channels);
  serial.Add(format.sample_rate);
  serial.Add(bitrate);
  vorbis_comment_init(&comment_);
  for (const Comment& comment : comments) {
    const std::string line = comment.name + "=" + comment.value;
    vorbis_comment_add(&comment_, line.c_str());
    serial.Add(line);
  }
  vorbis_analysis_init(&state_, &info_);
  vorbis_block_init(&state_, &block_);
  ogg_stream_init(&stream_, serial.value());
  encoder_started_ = true;
  return true;
}

bool VorbisWriter::WriteHeaders() {
  ogg_packet identification;
  ogg_packet comments;
  ogg_packet codebooks;
  if (vorbis_analysis_headerout(&state_, &comment_, &identification, &comments, &codebooks) != 0) {
    return Fail("the encoder cannot make the headers");
  }
  ogg_stream_packetin(&stream_, &identification);
  ogg_stream_packetin(&stream_, &comments);
  ogg_stream_packetin(&stream_, &codebooks);
  // The sound has to begin on a page of its own.
  ogg_page page;
  while (ogg_stream_flush(&stream_, &page) != 0) {
    if (!WritePage(page)) return false;
  }
  return true;
}

bool VorbisWriter::WritePage(const ogg_page& page) {
  const auto put = [this](const unsigned char* bytes, long size) {
    return std::fwrite(bytes, 1, static_cast<std::size_t>(size), file_) ==
           static_cast<std::size_t>(size);
  };
  if (put(page.header, page.header_len) && put(page.body, page.body_len)) return true;
  return FailWithErrno("cannot write the file");
}

bool VorbisWriter::Write(std::span<const std::int16_t> samples) {
  while (!samples.empty()) {
    const std::size_t frames = std::min(samples.size() / channels_, kFramesAtATime);
    if (frames == 0) return Fail("a frame is incomplete");
    float** const planes = vorbis_analysis_buffer(&state_, static_cast<int>(frames));
    for (std::size_t i = 0; i < frames; ++i) {
      for (int c = 0; c < channels_; ++c) {
        planes[c][i] = static_cast<float>(samples[i * channels_ + c]) / 32768.0F;
      }
    }
    vorbis_analysis_wrote(&state_, static_cast<int>(frames));
    if (!Drain()) return false;
    samples = samples.subspan(frames * channels_);
  }
  return true;
}

bool VorbisWriter::Drain() {
  while (vorbis_analysis_blockout(&state_, &block_) == 1) {
    vorbis_analysis(&block_, nullptr);
    vorbis_bitrate_addblock(&block_);
    ogg_packet packet;
    while (vorbis_bitrate_flushpacket(&state_, &packet) == 1) {
      ogg_stream_packetin(&stream_, &packet);
      ogg_page page;
      while (ogg_stream_pageout(&stream_, &page) != 0) {
        if (!WritePage(page)) return false;
      }
    }
  }
  return true;
}

bool VorbisWriter::Finish() {
  vorbis_analysis_wrote(&state_, 0);
  if (!Drain()) return false;
  std::FILE* const file = std::exchange(file_, nullptr);
  if (std::fclose(file) != 0) return FailWithErrno("cannot write the file");
  return true;
}

}  // namespace vexolo::oggenc
