#include "convert/output_name.h"

#include <algorithm>
#include <vector>

namespace vexolo {

namespace {

constexpr std::string_view kRefused = "\\/:*?\"<>|";

bool IsBlank(std::string_view text) {
  return text.find_first_not_of(' ') == std::string_view::npos;
}

/// One level of the scheme with its placeholders replaced.
struct Expanded {
  std::string text;
  bool asked = false;     ///< it has placeholders
  bool answered = false;  ///< one of them at least stands for something
};

/// In one pass: a title that holds "%A" stays as it is.
Expanded Expand(std::string_view part, const std::string& artist, const std::string& title) {
  Expanded result;
  while (!part.empty()) {
    const std::string* value = nullptr;
    if (part.starts_with("%A") || part.starts_with("%a")) value = &artist;
    if (part.starts_with("%T") || part.starts_with("%t")) value = &title;
    if (value == nullptr) {
      result.text += part.front();
      part.remove_prefix(1);
      continue;
    }
    result.asked = true;
    result.answered = result.answered || !IsBlank(*value);
    result.text += *value;
    part.remove_prefix(2);
  }
  // The folder itself and the one above it have these names; only the scheme may mean them.
  if (result.asked && (result.text == "." || result.text == "..")) {
    result.text.assign(result.text.size(), '_');
  }
  return result;
}

/// Every run of separators becomes one; the two that begin a network folder stay.
std::string WithSingleSeparators(std::string_view path, PathStyle style) {
  const char separator = SeparatorOf(style);
  std::string result;
  if (style == PathStyle::kWindows && path.starts_with("\\\\")) {
    result += separator;
    path.remove_prefix(1);
  }
  const std::size_t kept = result.size();
  for (const char character : path) {
    const bool repeats = result.size() > kept && result.back() == separator;
    if (character != separator || !repeats) result += character;
  }
  return result;
}

}  // namespace

std::string CleanedForName(std::string_view text) {
  std::string cleaned;
  for (std::size_t index = 0; index < text.size(); ++index) {
    const auto byte = static_cast<unsigned char>(text[index]);
    const auto next = static_cast<unsigned char>(index + 1 < text.size() ? text[index + 1] : 0);
    if (byte < 0x20 || byte == 0x7F || kRefused.find(text[index]) != std::string_view::npos) {
      cleaned += '_';
    } else if (byte == 0xC2 && next >= 0x80 && next < 0xA0) {
      cleaned += '_';
      ++index;
    } else {
      cleaned += text[index];
    }
  }
  if (cleaned == "." || cleaned == "..") cleaned.assign(cleaned.size(), '_');
  return cleaned;
}

OutputBase MakeOutputBase(const NameRequest& request, PathStyle style) {
  const char separator = SeparatorOf(style);
  const std::string artist = CleanedForName(request.artist);
  const std::string title = CleanedForName(request.title);

  std::string path;
  std::string_view rest = request.scheme;
  for (std::size_t cut = rest.find_first_of("\\/"); cut != std::string_view::npos;
       cut = rest.find_first_of("\\/")) {
    path += Expand(rest.substr(0, cut), artist, title).text + separator;
    rest.remove_prefix(cut + 1);
  }
  const Expanded name = Expand(rest, artist, title);
  const bool is_missing = IsBlank(name.text) || (name.asked && !name.answered);
  path += is_missing ? StemOf(request.song_path, style) : name.text;

  if (!request.folder.empty()) {
    path.insert(0, Join(request.folder, "", style));
  } else if (request.scheme.find_first_of("\\/") != 0) {
    // A level that came out empty must not turn a relative place into the root.
    path.erase(0, path.find_first_not_of(separator));
  }
  path = WithSingleSeparators(path, style);

  const std::size_t last = path.rfind(separator);
  const std::size_t split = last == std::string::npos ? 0 : last + 1;
  return {path.substr(0, split), path.substr(split)};
}

std::string AudioPath(const OutputBase& base, AudioFormat format) {
  return base.Path().append(AudioExtension(format));
}

std::string LyricsPath(const OutputBase& base) { return base.Path() + kLyricsExtension; }

std::optional<FileError> MakeFolderOf(const OutputBase& base) {
  if (base.folder.empty()) return std::nullopt;
  return CreateFolders(base.folder);
}

}  // namespace vexolo
