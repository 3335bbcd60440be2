// layer: core
// Numbers and times that people type and files hold: any text is read, and what is written is read
// as the same.
#include <cmath>
#include <cstring>
#include <string>

#include "app/time_format.h"
#include "fuzz/support/fuzz_input.h"
#include "platform/locale_format.h"

namespace {

using namespace vexolo;
using fuzz::Require;

void CheckNumber(double value) {
  Require(std::isfinite(value));
  const double again = TextToNumber(NumberToText(value));
  // 15 digits are written; so rounded, the very greatest are too large for a double.
  if (std::abs(value) < 1.79e308) Require(std::abs(again - value) <= 1e-14 * std::abs(value));
  for (const char* format : {"0", "#####0.0", "00.000", "+0;-0;=0"}) {
    const std::string text = FormatNumber(value, format, ',');
    Require(!text.empty() && text.find('.') == std::string::npos);
  }
  RoundToInt(value);
}

void CheckTime(double seconds) {
  if (!(seconds > 0 && seconds < 1e9)) return;
  for (const char separator : {',', '.'}) {
    Require(std::abs(ParseTime(FormatTime(seconds, separator)) - seconds) < 0.0011);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::Text(data, size);
  CheckNumber(TextToNumber(text));
  CheckTime(ParseTime(text));
  double any = 0;
  if (size >= sizeof any) std::memcpy(&any, data, sizeof any);
  FormatNumber(any, text.substr(0, 40), ',');
  FormatTime(any, '.');
  RoundHalfToEven(any);
  RoundToInt(any);
  if (std::isfinite(any)) CheckNumber(any);
  return 0;
}
