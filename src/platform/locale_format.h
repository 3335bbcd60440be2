/// Numbers as the program writes and reads them. Formats take the decimal separator as a parameter;
/// readers take both. Free functions without state; any thread unless said otherwise.
#pragma once

#include <string>
#include <string_view>

namespace vexolo {

/// "," or ".": the decimal separator of the user's locale, "." where the locale is unknown or has
/// another one. Reads the environment: ask once, at start, and hand it on.
char DecimalSeparator();

/// `value` in a format of up to three sections separated by ";": for positive values, for negative
/// ones (written without sign of their own) and for zero. A section holds "0" (a digit, also a
/// leading or trailing zero) and "#" (a digit where there is one), one "." for the separator, and
/// other characters, which stand for themselves. Without a section for them negative values get
/// "-", zero is written as a positive value. A value that rounds to zero counts as zero.
/// Halves are rounded away from zero, on the 15 digits that a double holds. A value that is not
/// finite is written as 0.
///
///     FormatNumber(75.5, "00.000", ',')     "75,500"
///     FormatNumber(-3, "+0;-0;=0", ',')     "-3"
///     FormatNumber(0.26, "#####0.0", ',')   "0,3"
std::string FormatNumber(double value, std::string_view format, char separator);

/// The plain conversion: at most 15 digits, always ".", no zero before it, and a blank in the place
/// of the sign for values that are not negative: " 1", " 1.5", " .5", "-.5". Very large and very
/// small values use an exponent (" 1E+15"). A value that is not finite gives " 0".
std::string NumberToText(double value);

/// The number at the beginning of `text`, after blanks: sign, digits with at most one "," or ".",
/// exponent. 0 where there is none or it is too large for a double.
double TextToNumber(std::string_view text);

/// To the nearest whole number, halves to the even one, whatever the rounding mode of the machine.
double RoundHalfToEven(double value);

/// The same as an int, at most the type's ends; 0 for NaN.
int RoundToInt(double value);

}  // namespace vexolo
