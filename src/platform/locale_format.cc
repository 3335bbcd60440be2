#include "platform/locale_format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <locale>
#include <stdexcept>
#include <vector>

namespace vexolo {
namespace {

constexpr int kSignificantDigits = 15;

/// A finite value as decimal digits: 0.d1d2d3... x 10^point. No digits = zero.
struct Digits {
  std::string digits;
  int point = 0;
};

Digits DigitsOf(double magnitude) {
  if (!std::isfinite(magnitude) || magnitude == 0) return {};
  std::array<char, 64> buffer;
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), magnitude,
                                 std::chars_format::scientific, kSignificantDigits - 1)
                       .ptr;
  const std::string_view text(buffer.data(), static_cast<std::size_t>(end - buffer.data()));
  const std::size_t mark = text.find('e');
  int exponent = 0;
  const std::size_t sign = text[mark + 1] == '+' ? 1 : 0;
  std::from_chars(text.data() + mark + 1 + sign, text.data() + text.size(), exponent);
  Digits result;
  result.digits = text.substr(0, 1);
  result.digits += text.substr(2, mark - 2);
  result.point = exponent + 1;
  return result;
}

/// Cuts to `decimals` places after the point, halves up.
void RoundTo(Digits& number, int decimals) {
  const int kept = number.point + decimals;
  if (kept >= static_cast<int>(number.digits.size())) return;
  const bool up = kept >= 0 && number.digits[static_cast<std::size_t>(kept)] >= '5';
  number.digits.resize(static_cast<std::size_t>(std::max(kept, 0)));
  if (!up) return;
  std::size_t i = number.digits.size();
  while (i > 0 && number.digits[i - 1] == '9') number.digits[--i] = '0';
  if (i > 0) {
    ++number.digits[i - 1];
  } else {
    number.digits.insert(number.digits.begin(), '1');
    ++number.point;
  }
}

bool IsZero(const Digits& number) {
  return number.digits.find_first_not_of('0') == std::string::npos;
}

char DigitAt(const Digits& number, int place) {
  const bool inside = place >= 0 && place < static_cast<int>(number.digits.size());
  return inside ? number.digits[static_cast<std::size_t>(place)] : '0';
}

/// One section of a format: literal text, places, literal text.
struct Section {
  std::string_view before;
  std::string_view after;
  int min_integer_digits = 0;
  int min_decimals = 0;
  int max_decimals = 0;
  bool has_places = false;
  bool has_point = false;
};

Section ParseSection(std::string_view text) {
  Section section;
  const std::size_t start = std::min(text.find_first_of("0#."), text.size());
  const std::size_t end = std::min(text.find_first_not_of("0#.", start), text.size());
  section.before = text.substr(0, start);
  section.after = text.substr(end);
  section.has_places = start < end;
  for (const char place : text.substr(start, end - start)) {
    if (place == '.') {
      section.has_point = true;
    } else if (!section.has_point) {
      section.min_integer_digits += place == '0' || section.min_integer_digits > 0 ? 1 : 0;
    } else {
      ++section.max_decimals;
      if (place == '0') section.min_decimals = section.max_decimals;
    }
  }
  return section;
}

std::string Write(const Digits& number, const Section& section, char separator) {
  std::string text(section.before);
  if (section.has_places) {
    for (int i = std::max(number.point, section.min_integer_digits); i > 0; --i) {
      text += DigitAt(number, number.point - i);
    }
    if (section.has_point) text += separator;
    int decimals = section.max_decimals;
    while (decimals > section.min_decimals && DigitAt(number, number.point + decimals - 1) == '0') {
      --decimals;
    }
    for (int i = 0; i < decimals; ++i) text += DigitAt(number, number.point + i);
  }
  return text.append(section.after);
}

std::vector<std::string_view> SplitSections(std::string_view format) {
  std::vector<std::string_view> sections;
  for (;;) {
    const std::size_t end = format.find(';');
    sections.push_back(format.substr(0, end));
    if (end == std::string_view::npos) return sections;
    format.remove_prefix(end + 1);
  }
}

bool IsDigit(char character) { return character >= '0' && character <= '9'; }

std::size_t SkipDigits(std::string_view text, std::size_t at) {
  while (at < text.size() && IsDigit(text[at])) ++at;
  return at;
}

/// The part of `text` (which has no blanks and no sign in front) that is a number, with "." for its
/// separator; empty for none.
std::string LeadingNumber(std::string_view text) {
  std::size_t end = SkipDigits(text, 0);
  std::string number(text.substr(0, end));
  std::size_t digits = end;
  if (end < text.size() && (text[end] == '.' || text[end] == ',')) {
    const std::size_t decimals_end = SkipDigits(text, end + 1);
    number += '.';
    number += text.substr(end + 1, decimals_end - end - 1);
    digits += decimals_end - end - 1;
    end = decimals_end;
  }
  if (digits == 0) return {};
  if (end < text.size() && (text[end] == 'e' || text[end] == 'E')) {
    std::size_t start = end + 1;
    if (start < text.size() && (text[start] == '+' || text[start] == '-')) ++start;
    const std::size_t exponent_end = SkipDigits(text, start);
    if (exponent_end > start) number += text.substr(end, exponent_end - end);
  }
  return number;
}

}  // namespace

char DecimalSeparator() {
  try {
    const std::locale locale("");
    const char separator = std::use_facet<std::numpunct<char>>(locale).decimal_point();
    return separator == ',' ? ',' : '.';
  } catch (const std::runtime_error&) {
    return '.';  // a locale that is named in the environment but not installed
  }
}

std::string FormatNumber(double value, std::string_view format, char separator) {
  const std::vector<std::string_view> sections = SplitSections(format);
  const bool has_negative = sections.size() > 1 && !sections[1].empty();
  const bool negative = value < 0;
  Section section = ParseSection(sections[negative && has_negative ? 1 : 0]);
  Digits number = DigitsOf(std::fabs(value));
  RoundTo(number, section.max_decimals);
  if (IsZero(number)) {
    section = ParseSection(sections[sections.size() > 2 && !sections[2].empty() ? 2 : 0]);
    return Write({}, section, separator);
  }
  const std::string text = Write(number, section, separator);
  return negative && !has_negative ? "-" + text : text;
}

std::string NumberToText(double value) {
  const Digits number = DigitsOf(std::fabs(value));
  if (IsZero(number)) return " 0";
  std::string text(1, value < 0 ? '-' : ' ');
  const std::size_t last = number.digits.find_last_not_of('0');
  const std::string digits = number.digits.substr(0, last + 1);
  const int count = static_cast<int>(digits.size());
  const int exponent = number.point - 1;
  if (exponent < -4 || exponent >= kSignificantDigits) {
    text += digits[0];
    if (count > 1) text.append(".").append(digits, 1);
    text += exponent < 0 ? "E-" : "E+";
    if (std::abs(exponent) < 10) text += '0';
    return text + std::to_string(std::abs(exponent));
  }
  for (int i = std::min(number.point, 0); i < std::max(number.point, count); ++i) {
    if (i == number.point) text += '.';
    text += i < count ? DigitAt(number, i) : '0';
  }
  return text;
}

double TextToNumber(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  const std::string number = LeadingNumber(text);
  double value = 0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
  if (result.ec != std::errc() || !std::isfinite(value)) return 0;
  return negative && value != 0 ? -value : value;
}

double RoundHalfToEven(double value) {
  const double below = std::floor(value);
  const double rest = value - below;
  if (rest < 0.5) return below;
  if (rest > 0.5) return below + 1;
  return std::fmod(below, 2) == 0 ? below : below + 1;
}

int RoundToInt(double value) {
  if (std::isnan(value)) return 0;
  constexpr double kLowest = std::numeric_limits<int>::min();
  constexpr double kHighest = std::numeric_limits<int>::max();
  return static_cast<int>(RoundHalfToEven(std::clamp(value, kLowest, kHighest)));
}

}  // namespace vexolo
