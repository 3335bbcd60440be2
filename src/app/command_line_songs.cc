#include "app/command_line_songs.h"

#include <algorithm>
#include <utility>

namespace vexolo {

std::string StripQuotes(std::string_view text) {
  const std::size_t start = text.find_first_not_of(' ');
  if (start == std::string_view::npos) return {};
  text = text.substr(start, text.find_last_not_of(' ') - start + 1);
  if (text.starts_with('"')) text.remove_prefix(1);
  if (text.ends_with('"')) text.remove_suffix(1);
  return std::string(text);
}

std::vector<std::string> SongsOfCommandLine(std::string_view command_line) {
  const bool has_quote = command_line.find('"') != std::string_view::npos;
  const std::string_view between = has_quote ? "\" \"" : " ";
  std::vector<std::string> songs;
  for (;;) {
    const std::size_t end = std::min(command_line.find(between), command_line.size());
    std::string song = StripQuotes(command_line.substr(0, end));
    if (!song.empty()) songs.push_back(std::move(song));
    if (end == command_line.size()) return songs;
    command_line.remove_prefix(end + between.size());
  }
}

std::string CommandLineOf(const std::vector<std::string>& arguments,
                          std::string_view current_folder, PathStyle style) {
  std::string command_line;
  for (const std::string& argument : arguments) {
    if (argument.empty()) continue;
    if (!command_line.empty()) command_line += ' ';
    const std::string path =
        IsAbsolute(argument, style) ? argument : Join(current_folder, argument, style);
    command_line.append("\"").append(path).append("\"");
  }
  return command_line;
}

}  // namespace vexolo
