/// Arithmetic in the templates of vector sources.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <variant>

namespace skin_renderer {

using Value = std::variant<double, std::string>;
using Variables = std::map<std::string, Value, std::less<>>;

/// Evaluates `text`: numbers, 'texts', variables, ( ), ! and unary -, * / %, + -, comparisons, &&,
/// ||, a ? b : c, and the functions
///   sin cos (degrees) abs floor round sqrt   of one number
///   min max                                  of two numbers
///   mix(colour, colour, share)               a colour between two, "#rrggbb"
///   dot(code, row, column)                   1 where the LED font has a dot
/// Throws std::runtime_error with a text that says what is wrong.
Value Evaluate(std::string_view text, const Variables& variables);

/// As Evaluate, for what has to be a number.
double EvaluateNumber(std::string_view text, const Variables& variables);

/// A number with at most three decimals, or the text itself.
std::string ToText(const Value& value);

/// "#rrggbb" between two such colours; share 0 = the first, 1 = the second.
std::string MixColours(const std::string& first, const std::string& second, double share);

}  // namespace skin_renderer
