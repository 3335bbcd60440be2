#include "platform/file_dialogs.h"

namespace vexolo {
namespace {

std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> pieces;
  while (true) {
    const std::size_t end = text.find(separator);
    pieces.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos) return pieces;
    text.remove_prefix(end + 1);
  }
}

}  // namespace

std::vector<std::pair<std::string, std::vector<std::string>>> FilterPairs(std::string_view filter) {
  std::vector<std::pair<std::string, std::vector<std::string>>> pairs;
  const std::vector<std::string> pieces = Split(filter, '|');
  for (std::size_t i = 0; i + 1 < pieces.size(); i += 2) {
    std::vector<std::string> patterns;
    for (std::string& pattern : Split(pieces[i + 1], ';')) {
      if (!pattern.empty()) patterns.push_back(std::move(pattern));
    }
    if (!patterns.empty()) pairs.emplace_back(pieces[i], std::move(patterns));
  }
  return pairs;
}

}  // namespace vexolo
