/// Where a conversion puts its files: folder and name scheme, filled in and cleaned.
///
/// Text operations alone, but for MakeFolderOf; any thread. Paths and texts are UTF-8.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "convert/conversion_settings.h"
#include "platform/file_io.h"
#include "platform/paths.h"

namespace vexolo {

/// What the place of the files depends on.
struct NameRequest {
  std::string folder;  ///< with or without a separator at its end; may be empty
  std::string scheme;
  std::string artist;
  std::string title;
  std::string song_path;  ///< its file name serves where the scheme gives none
};

/// The audio path without extension, as folder part (with its separator, or empty) and name part.
struct OutputBase {
  std::string folder;
  std::string name;
  std::string Path() const { return folder + name; }
};

/// "%A", "%a" in the scheme stand for the artist, "%T", "%t" for the title, both cleaned;
/// separators of either style in it make folders. Folder and result are joined without doubled
/// separators. The name is the song file's own where it comes out empty, or where all that the
/// scheme's name part asks for is missing (artist, title).
OutputBase MakeOutputBase(const NameRequest& request, PathStyle style = kNativePathStyle);

/// A text as part of a file name: what file systems refuse (\ / : * ? " < > | and control
/// characters) becomes "_".
std::string CleanedForName(std::string_view text);

std::string AudioPath(const OutputBase& base, AudioFormat format);
std::string LyricsPath(const OutputBase& base);

/// Creates the folder part, and each missing folder above it, one level at a time.
std::optional<FileError> MakeFolderOf(const OutputBase& base);

}  // namespace vexolo
