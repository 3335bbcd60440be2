// layer: core
// Options of vexolo-convert: any arguments are taken or refused with one line, and what is taken is
// within its range.
#include <cmath>
#include <string>

#include "app/convert_options.h"
#include "fuzz/support/fuzz_input.h"
#include "mixer/mix_state.h"

namespace {

using namespace vexolo;
using fuzz::Require;

template <typename Number>
void CheckRange(const std::optional<Number>& value, double lowest, double highest) {
  Require(!value || (*value >= lowest && *value <= highest));
}

void Check(const ConvertOptions& options) {
  CheckRange(options.transpose, -kMaxTranspose, kMaxTranspose);
  CheckRange(options.gain, -kMaxGain, kMaxGain);
  CheckRange(options.tempo, kSlowestTempo, kFastestTempo);
  CheckRange(options.max_length, 0, 99);
  Require(!options.start || (std::isfinite(*options.start) && *options.start >= 0));
  Require(!options.end || (std::isfinite(*options.end) && *options.end >= 0));
  Require(options.jobs >= 1 && options.jobs <= 64);
  const bool converts =
      options.task == ConvertOptions::Task::kConvert || options.task == ConvertOptions::Task::kDump;
  if (converts) Require(!options.inputs.empty());
  for (const std::string& input : options.inputs) Require(!input.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string error;
  const auto options = ParseConvertOptions(fuzz::SplitAtZeros(fuzz::Text(data, size)), &error);
  Require(options.has_value() == error.empty());
  for (const char c : error) Require(static_cast<unsigned char>(c) >= ' ');
  if (options) Check(*options);
  return 0;
}
