// layer: oggenc
// Options of the Vorbis encoder: any arguments are taken or refused with one line.
#include <string>

#include "fuzz/support/fuzz_input.h"
#include "oggenc/options.h"
#include "platform/text_encoding.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vexolo;
  using fuzz::Require;
  const auto arguments = fuzz::SplitAtZeros(fuzz::Text(data, size));
  oggenc::Options options;
  std::string error;
  const bool taken = oggenc::ParseOptions(arguments, options, error);
  Require(taken == error.empty());
  for (const char c : error) Require(static_cast<unsigned char>(c) >= ' ');
  if (!taken) return 0;
  Require(options.bitrate >= oggenc::kMinBitrate && options.bitrate <= oggenc::kMaxBitrate);
  if (options.task == oggenc::Options::Task::kEncode) Require(!options.output.empty());
  for (const oggenc::Comment& comment : options.comments) {
    Require(!comment.name.empty() && comment.name.find('=') == std::string::npos);
    Require(IsValidUtf8(comment.value));
  }
  return 0;
}
