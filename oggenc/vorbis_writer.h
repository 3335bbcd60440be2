/// An Ogg Vorbis file, written from beginning to end.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include <vorbis/codec.h>

#include "oggenc/options.h"
#include "oggenc/wav_reader.h"

namespace vexolo::oggenc {

/// Encodes 16-bit sound to a file. The order of calls is Open, Write any number of times, Finish;
/// after a false return no more of them. A file that was not finished stays as it is.
/// Equal calls give equal files: the stream's serial number is made from the format and the tags.
class VorbisWriter {
 public:
  VorbisWriter() = default;
  VorbisWriter(const VorbisWriter&) = delete;
  VorbisWriter& operator=(const VorbisWriter&) = delete;
  ~VorbisWriter();

  /// Creates or empties the file and writes the headers. `bitrate` is nominal, in kbit/s; where the
  /// encoder has no mode for it, the nearest that it has is taken.
  bool Open(const std::string& path, const WavFormat& format, int bitrate,
            const std::vector<Comment>& comments);

  /// `samples` holds whole interleaved frames.
  bool Write(std::span<const std::int16_t> samples);

  /// Encodes what is left, ends the stream and closes the file. Only its true return says that the
  /// file is complete on the disk.
  bool Finish();

  /// One line without a line break; empty as long as all is well.
  const std::string& error() const { return error_; }

 private:
  bool Fail(const std::string& what);
  bool FailWithErrno(const char* what);
  bool StartEncoder(const WavFormat& format, int bitrate, const std::vector<Comment>& comments);
  bool WriteHeaders();
  bool WritePage(const ogg_page& page);
  /// Takes every finished packet out of the encoder and writes every full page.
  bool Drain();

  std::FILE* file_ = nullptr;
  int channels_ = 0;
  bool encoder_started_ = false;
  vorbis_info info_{};
  vorbis_comment comment_{};
  vorbis_dsp_state state_{};
  vorbis_block block_{};
  ogg_stream_state stream_{};
  std::string error_;
};

}  // namespace vexolo::oggenc
