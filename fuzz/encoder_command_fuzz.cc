// layer: core
// The encoders' command lines: a line that is not refused says what was meant, to the splitting and
// to the encoder's own reading of its options.
//
// Input, between zero bytes: program, rate, artist, title, album, year, track, genre, comment,
// output.
#include <algorithm>
#include <string>
#include <vector>

#include "audio/loader.h"
#include "convert/encoder_command.h"
#include "fuzz/support/fuzz_input.h"
#include "oggenc/options.h"

namespace {

using namespace vexolo;
using fuzz::Require;

void CheckOggenc(const EncoderRequest& request, std::vector<std::string> arguments) {
  arguments.erase(arguments.begin());
  oggenc::Options options;
  std::string error;
  const bool can_be_named = !request.output.empty() && request.output != "-";
  Require(oggenc::ParseOptions(arguments, options, error) == can_be_named);
  if (!can_be_named) return;
  Require(options.output == request.output);
  std::vector<oggenc::Comment> meant;
  const auto add = [&](const char* name, const std::string& value) {
    if (!value.empty()) meant.push_back({name, oggenc::ToUtf8(value)});
  };
  add("ARTIST", request.tags.artist);
  add("TITLE", request.tags.title);
  add("ALBUM", request.tags.album);
  add("DATE", request.tags.year);
  add("TRACKNUMBER", request.tags.track);
  add("GENRE", request.tags.genre);
  add("comment", request.tags.comment);
  Require(options.comments == meant);
}

void Check(const EncoderRequest& request) {
  const auto bad = BadField(request);
  const auto arguments = SplitEncoderCommand(EncoderCommand(request));
  Require((arguments == EncoderArguments(request)) == !bad);
  if (bad) {
    Require(!FieldName(*bad).empty());
  } else if (request.format == AudioFormat::kOgg) {
    CheckOggenc(request, arguments);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> fields = fuzz::SplitAtZeros(fuzz::Text(data, size));
  fields.resize(10);
  EncoderRequest request = {
      AudioFormat::kMp3,
      fields[0],
      fields[1],
      {fields[2], fields[3], fields[4], fields[5], fields[6], fields[7], fields[8]},
      fields[9]};
  Check(request);
  request.format = AudioFormat::kOgg;
  Check(request);
  return 0;
}
