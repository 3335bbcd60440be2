#include "app/time_format.h"

#include <cmath>

#include "platform/locale_format.h"

namespace vexolo {

std::string FormatTime(double seconds, char separator) {
  if (!(seconds > 0) || !std::isfinite(seconds)) seconds = 0;
  const double minutes = std::floor(std::floor(seconds) / 60);
  return FormatNumber(minutes, "0", separator) + ":" +
         FormatNumber(seconds - minutes * 60, "00.000", separator);
}

double ParseTime(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return TextToNumber(text);
  return TextToNumber(text.substr(0, colon)) * 60 + TextToNumber(text.substr(colon + 1));
}

}  // namespace vexolo
