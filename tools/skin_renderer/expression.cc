#include "tools/skin_renderer/expression.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <stdexcept>
#include <vector>

#include "tools/skin_renderer/led_font.h"

namespace skin_renderer {
namespace {

[[noreturn]] void Fail(const std::string& what) { throw std::runtime_error(what); }

double Number(const Value& value) {
  const double* number = std::get_if<double>(&value);
  if (number == nullptr) Fail("'" + std::get<std::string>(value) + "' is no number");
  return *number;
}

std::string Text(const Value& value) {
  const std::string* text = std::get_if<std::string>(&value);
  if (text == nullptr) Fail(ToText(value) + " is no text");
  return *text;
}

double Radians(double degrees) { return degrees * std::numbers::pi / 180; }

using Arguments = std::vector<Value>;

struct Function {
  std::string_view name;
  std::size_t arguments;
  Value (*call)(const Arguments&);
};

constexpr std::array kFunctions{
    Function{"sin", 1, [](const Arguments& a) -> Value { return std::sin(Radians(Number(a[0]))); }},
    Function{"cos", 1, [](const Arguments& a) -> Value { return std::cos(Radians(Number(a[0]))); }},
    Function{"abs", 1, [](const Arguments& a) -> Value { return std::abs(Number(a[0])); }},
    Function{"floor", 1, [](const Arguments& a) -> Value { return std::floor(Number(a[0])); }},
    Function{"round", 1, [](const Arguments& a) -> Value { return std::round(Number(a[0])); }},
    Function{"sqrt", 1, [](const Arguments& a) -> Value { return std::sqrt(Number(a[0])); }},
    Function{"min", 2,
             [](const Arguments& a) -> Value { return std::min(Number(a[0]), Number(a[1])); }},
    Function{"max", 2,
             [](const Arguments& a) -> Value { return std::max(Number(a[0]), Number(a[1])); }},
    Function{"mix", 3,
             [](const Arguments& a) -> Value {
               return MixColours(Text(a[0]), Text(a[1]), Number(a[2]));
             }},
    Function{"dot", 3,
             [](const Arguments& a) -> Value {
               return LedDot(static_cast<int>(Number(a[0])), static_cast<int>(Number(a[1])),
                             static_cast<int>(Number(a[2])))
                          ? 1.0
                          : 0.0;
             }},
};

constexpr std::string_view kBlanks = " \t\r\n";

bool IsNameStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
bool IsNamePart(char c) { return IsNameStart(c) || (c >= '0' && c <= '9'); }

/// Recursive descent, one function for each rank of operators.
class Parser {
 public:
  Parser(std::string_view text, const Variables& variables) : rest_(text), variables_(variables) {}

  Value ParseAll() {
    Value value = ParseChoice();
    SkipBlanks();
    if (!rest_.empty()) Fail("cannot read '" + std::string(rest_) + "'");
    return value;
  }

 private:
  void SkipBlanks() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(kBlanks), rest_.size()));
  }

  bool Take(std::string_view token) {
    SkipBlanks();
    if (!rest_.starts_with(token)) return false;
    rest_.remove_prefix(token.size());
    return true;
  }

  void Expect(std::string_view token) {
    if (!Take(token)) Fail("'" + std::string(token) + "' is missing");
  }

  // Both branches are evaluated; nothing here has effects.
  Value ParseChoice() {
    Value condition = ParseOr();
    if (!Take("?")) return condition;
    Value first = ParseChoice();
    Expect(":");
    Value second = ParseChoice();
    return Number(condition) != 0 ? first : second;
  }

  Value ParseOr() {
    Value left = ParseAnd();
    while (Take("||")) {
      const Value right = ParseAnd();
      left = Number(left) != 0 || Number(right) != 0 ? 1.0 : 0.0;
    }
    return left;
  }

  Value ParseAnd() {
    Value left = ParseComparison();
    while (Take("&&")) {
      const Value right = ParseComparison();
      left = Number(left) != 0 && Number(right) != 0 ? 1.0 : 0.0;
    }
    return left;
  }

  Value ParseComparison() {
    Value left = ParseSum();
    if (Take("==")) return left == ParseSum() ? 1.0 : 0.0;
    if (Take("!=")) return left != ParseSum() ? 1.0 : 0.0;
    if (Take("<=")) return Number(left) <= Number(ParseSum()) ? 1.0 : 0.0;
    if (Take(">=")) return Number(left) >= Number(ParseSum()) ? 1.0 : 0.0;
    if (Take("<")) return Number(left) < Number(ParseSum()) ? 1.0 : 0.0;
    if (Take(">")) return Number(left) > Number(ParseSum()) ? 1.0 : 0.0;
    return left;
  }

  Value ParseSum() {
    Value left = ParseProduct();
    while (true) {
      if (Take("+")) {
        left = Number(left) + Number(ParseProduct());
      } else if (Take("-")) {
        left = Number(left) - Number(ParseProduct());
      } else {
        return left;
      }
    }
  }

  Value ParseProduct() {
    Value left = ParseSign();
    while (true) {
      if (Take("*")) {
        left = Number(left) * Number(ParseSign());
      } else if (Take("/")) {
        left = Number(left) / Number(ParseSign());
      } else if (Take("%")) {
        left = std::fmod(Number(left), Number(ParseSign()));
      } else {
        return left;
      }
    }
  }

  Value ParseSign() {
    if (Take("-")) return -Number(ParseSign());
    if (!rest_.starts_with("!=") && Take("!")) return Number(ParseSign()) == 0 ? 1.0 : 0.0;
    return ParseAtom();
  }

  Value ParseAtom() {
    if (Take("(")) {
      Value value = ParseChoice();
      Expect(")");
      return value;
    }
    SkipBlanks();
    if (rest_.empty()) Fail("an expression ends too early");
    if (rest_.front() == '\'') return ParseText();
    if (IsNameStart(rest_.front())) return ParseName();
    return ParseNumber();
  }

  Value ParseText() {
    const std::size_t end = rest_.find('\'', 1);
    if (end == std::string_view::npos) Fail("a text has no end");
    const std::string text(rest_.substr(1, end - 1));
    rest_.remove_prefix(end + 1);
    return text;
  }

  Value ParseNumber() {
    double number = 0;
    const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), number);
    if (error != std::errc()) Fail("cannot read '" + std::string(rest_) + "'");
    rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
    return number;
  }

  Value ParseName() {
    const auto end = std::find_if_not(rest_.begin(), rest_.end(), IsNamePart);
    const std::string_view name(rest_.begin(), end);
    rest_.remove_prefix(name.size());
    if (Take("(")) return Call(name);
    const auto variable = variables_.find(name);
    if (variable == variables_.end()) Fail("no variable '" + std::string(name) + "'");
    return variable->second;
  }

  Value Call(std::string_view name) {
    Arguments arguments;
    do {
      arguments.push_back(ParseChoice());
    } while (Take(","));
    Expect(")");
    const auto function = std::find_if(kFunctions.begin(), kFunctions.end(),
                                       [&](const Function& f) { return f.name == name; });
    if (function == kFunctions.end() || function->arguments != arguments.size()) {
      Fail("no function '" + std::string(name) + "' of that many arguments");
    }
    return function->call(arguments);
  }

  std::string_view rest_;
  const Variables& variables_;
};

std::array<int, 3> Components(const std::string& colour) {
  std::array<int, 3> parts{};
  if (colour.size() != 7 || colour[0] != '#') Fail("'" + colour + "' is no colour");
  for (std::size_t i = 0; i < 3; ++i) {
    const char* begin = colour.data() + 1 + 2 * i;
    if (std::from_chars(begin, begin + 2, parts[i], 16).ptr != begin + 2) {
      Fail("'" + colour + "' is no colour");
    }
  }
  return parts;
}

}  // namespace

Value Evaluate(std::string_view text, const Variables& variables) {
  return Parser(text, variables).ParseAll();
}

double EvaluateNumber(std::string_view text, const Variables& variables) {
  return Number(Evaluate(text, variables));
}

std::string ToText(const Value& value) {
  if (const std::string* text = std::get_if<std::string>(&value)) return *text;
  const double thousandths = std::round(std::get<double>(value) * 1000);
  char digits[64];
  const auto end = std::to_chars(digits, digits + sizeof digits, thousandths / 1000).ptr;
  return std::string(digits, end);
}

std::string MixColours(const std::string& first, const std::string& second, double share) {
  const std::array<int, 3> a = Components(first);
  const std::array<int, 3> b = Components(second);
  std::array<int, 3> mixed{};
  for (std::size_t i = 0; i < 3; ++i) {
    mixed[i] = std::clamp(static_cast<int>(std::lround(a[i] + (b[i] - a[i]) * share)), 0, 255);
  }
  char text[8];
  std::snprintf(text, sizeof text, "#%02x%02x%02x", static_cast<unsigned>(mixed[0]),
                static_cast<unsigned>(mixed[1]), static_cast<unsigned>(mixed[2]));
  return text;
}

}  // namespace skin_renderer
