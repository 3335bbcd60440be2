#include "tools/skin_renderer/template.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace skin_renderer {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr int kMostIncludes = 16;

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

/// Takes `word` and the blank behind it off the front of a command.
bool TakeWord(std::string_view& command, std::string_view word) {
  if (!command.starts_with(word)) return false;
  const std::string_view rest = command.substr(word.size());
  if (!rest.empty() && kBlanks.find(rest.front()) == std::string_view::npos) return false;
  command = Trim(rest);
  return true;
}

std::string ReadSource(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  if (!file) throw std::runtime_error("cannot read " + path);
  return content.str();
}

struct Tag {
  std::size_t begin = 0;  ///< of "{{"
  std::size_t end = 0;    ///< behind "}}"
  std::string_view command;
};

/// The next command from `from` on; begin = text.size() where there is none.
Tag NextTag(std::string_view text, std::size_t from) {
  const std::size_t begin = text.find("{{", from);
  if (begin == std::string_view::npos) return {text.size(), text.size(), {}};
  const std::size_t end = text.find("}}", begin);
  if (end == std::string_view::npos) throw std::runtime_error("a command has no end");
  return {begin, end + 2, Trim(text.substr(begin + 2, end - begin - 2))};
}

bool IsCommand(std::string_view command, std::string_view word) { return TakeWord(command, word); }

/// What stands between a "for" or "if" and its "end".
struct Block {
  std::string_view body;
  std::string_view otherwise;  ///< behind "else"
  std::size_t end = 0;         ///< behind the "end" command
};

Block FindBlock(std::string_view text, std::size_t from) {
  std::size_t otherwise = std::string_view::npos;
  std::size_t body_end = std::string_view::npos;
  int depth = 1;
  for (Tag tag = NextTag(text, from); tag.begin < text.size(); tag = NextTag(text, tag.end)) {
    if (IsCommand(tag.command, "for") || IsCommand(tag.command, "if")) ++depth;
    if (depth == 1 && tag.command == "else") {
      body_end = tag.begin;
      otherwise = tag.end;
    }
    if (tag.command != "end" || --depth > 0) continue;
    Block block;
    block.end = tag.end;
    if (body_end == std::string_view::npos) {
      block.body = text.substr(from, tag.begin - from);
    } else {
      block.body = text.substr(from, body_end - from);
      block.otherwise = text.substr(otherwise, tag.begin - otherwise);
    }
    return block;
  }
  throw std::runtime_error("an 'end' is missing");
}

class Expander {
 public:
  Expander(const std::string& folder, Variables& variables)
      : folder_(folder), variables_(variables) {}

  void ExpandFile(const std::string& file) {
    if (++depth_ > kMostIncludes) throw std::runtime_error(file + " includes itself");
    const std::string text = ReadSource(folder_ + "/" + file);
    try {
      Run(text);
    } catch (const std::runtime_error& error) {
      throw std::runtime_error(file + ": " + error.what());
    }
    --depth_;
  }

  void Run(std::string_view text) {
    std::size_t position = 0;
    while (position < text.size()) {
      const Tag tag = NextTag(text, position);
      result_.append(text.substr(position, tag.begin - position));
      position = tag.begin < text.size() ? RunCommand(text, tag) : tag.end;
    }
  }

  std::string Result() { return std::move(result_); }

 private:
  std::size_t RunCommand(std::string_view text, const Tag& tag) {
    std::string_view command = tag.command;
    try {
      if (command.starts_with('#')) return tag.end;
      if (TakeWord(command, "include")) {
        ExpandFile(std::string(command));
        return tag.end;
      }
      if (TakeWord(command, "set")) {
        Set(command);
        return tag.end;
      }
      if (TakeWord(command, "for")) return RunLoop(text, tag.end, command);
      if (TakeWord(command, "if")) {
        const Block block = FindBlock(text, tag.end);
        Run(EvaluateNumber(command, variables_) != 0 ? block.body : block.otherwise);
        return block.end;
      }
      result_ += ToText(Evaluate(command, variables_));
    } catch (const std::runtime_error& error) {
      throw std::runtime_error("{{" + std::string(tag.command) + "}}: " + error.what());
    }
    return tag.end;
  }

  void Set(std::string_view command) {
    const std::size_t equals = command.find('=');
    if (equals == std::string_view::npos) throw std::runtime_error("'=' is missing");
    variables_.insert_or_assign(std::string(Trim(command.substr(0, equals))),
                                Evaluate(command.substr(equals + 1), variables_));
  }

  std::size_t RunLoop(std::string_view text, std::size_t body_begin, std::string_view command) {
    const std::size_t in = command.find(" in ");
    const std::size_t dots = command.find("..");
    if (in == std::string_view::npos || dots == std::string_view::npos) {
      throw std::runtime_error("a loop reads 'for name in first..last'");
    }
    const std::string name(Trim(command.substr(0, in)));
    const int first =
        static_cast<int>(EvaluateNumber(command.substr(in + 4, dots - in - 4), variables_));
    const int last = static_cast<int>(EvaluateNumber(command.substr(dots + 2), variables_));
    const Block block = FindBlock(text, body_begin);
    for (int i = first; i <= last; ++i) {
      variables_.insert_or_assign(name, static_cast<double>(i));
      Run(block.body);
    }
    return block.end;
  }

  const std::string& folder_;
  Variables& variables_;
  std::string result_;
  int depth_ = 0;
};

}  // namespace

std::string Expand(const std::string& folder, const std::string& file, Variables& variables) {
  Expander expander(folder, variables);
  expander.ExpandFile(file);
  return expander.Result();
}

std::string ExpandText(std::string_view text, const std::string& folder, Variables& variables) {
  Expander expander(folder, variables);
  expander.Run(text);
  return expander.Result();
}

}  // namespace skin_renderer
