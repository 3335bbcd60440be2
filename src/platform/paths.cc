#include "platform/paths.h"

namespace vexolo {
namespace {

bool IsSeparator(char character, PathStyle style) {
  return character == '/' || (style == PathStyle::kWindows && character == '\\');
}

/// Where the file name begins.
std::size_t NameStart(std::string_view path, PathStyle style) {
  std::size_t start = path.size();
  while (start > 0 && !IsSeparator(path[start - 1], style)) --start;
  return start;
}

}  // namespace

char SeparatorOf(PathStyle style) { return style == PathStyle::kWindows ? '\\' : '/'; }

std::string FolderOf(std::string_view path, PathStyle style) {
  const std::size_t start = NameStart(path, style);
  if (start == 0) return {};
  const bool is_root = start == 1 || (style == PathStyle::kWindows && start == 3 && path[1] == ':');
  return std::string(path.substr(0, is_root ? start : start - 1));
}

std::string FileNameOf(std::string_view path, PathStyle style) {
  return std::string(path.substr(NameStart(path, style)));
}

std::string StemOf(std::string_view path, PathStyle style) {
  const std::string name = FileNameOf(path, style);
  return name.substr(0, name.rfind('.'));
}

std::string ExtensionOf(std::string_view path, PathStyle style) {
  const std::string name = FileNameOf(path, style);
  const std::size_t dot = name.rfind('.');
  return dot == std::string::npos ? std::string() : name.substr(dot);
}

std::string ReplaceExtension(std::string_view path, std::string_view extension, PathStyle style) {
  path.remove_suffix(ExtensionOf(path, style).size());
  return std::string(path).append(extension);
}

std::string Join(std::string_view folder, std::string_view name, PathStyle style) {
  std::string path(folder);
  if (!path.empty() && !IsSeparator(path.back(), style)) path += SeparatorOf(style);
  return path.append(name);
}

bool IsAbsolute(std::string_view path, PathStyle style) {
  if (style == PathStyle::kPosix) return path.starts_with('/');
  return path.starts_with("\\\\") || (path.size() > 1 && path[1] == ':');
}

std::vector<std::string> SplitAtSeparators(std::string_view text) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of("\\/"), text.size());
    if (end > 0) parts.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return parts;
}

std::filesystem::path ToNativePath(std::string_view path) {
  return std::filesystem::path(std::u8string(path.begin(), path.end()));
}

std::string FromNativePath(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

}  // namespace vexolo
