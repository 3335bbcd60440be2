/// Path rules as text operations, with the style as a parameter, so that both are tested on any
/// machine. No function here touches the file system; any thread. Paths are UTF-8.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace vexolo {

/// kWindows: "\" separates ("/" is understood as well, as the system does), drive letters and
/// network names exist. kPosix: "/" alone separates and "\" is an ordinary character.
enum class PathStyle { kWindows, kPosix };

#ifdef _WIN32
inline constexpr PathStyle kNativePathStyle = PathStyle::kWindows;
#else
inline constexpr PathStyle kNativePathStyle = PathStyle::kPosix;
#endif

/// "\" or "/".
char SeparatorOf(PathStyle style);

/// What stands before the last separator, without it; a root keeps its separator ("/a" gives "/",
/// "D:\a" gives "D:\"). Empty where the path has no separator.
std::string FolderOf(std::string_view path, PathStyle style = kNativePathStyle);

/// What stands after the last separator.
std::string FileNameOf(std::string_view path, PathStyle style = kNativePathStyle);

/// The file name before its last "."; the whole file name where it has none.
std::string StemOf(std::string_view path, PathStyle style = kNativePathStyle);

/// The file name from its last "." on, with it; empty where it has none.
std::string ExtensionOf(std::string_view path, PathStyle style = kNativePathStyle);

/// The path with `extension` (which begins with its ".", or is empty) in place of its own, or added
/// where it has none. A dot in a folder's name is no extension.
std::string ReplaceExtension(std::string_view path, std::string_view extension,
                             PathStyle style = kNativePathStyle);

/// Folder and name with exactly one separator between them; the name alone where the folder is
/// empty. `name` is taken as it stands, absolute or not.
std::string Join(std::string_view folder, std::string_view name,
                 PathStyle style = kNativePathStyle);

/// Windows: the second character is ":" or the path begins with "\\". Posix: it begins with "/".
bool IsAbsolute(std::string_view path, PathStyle style = kNativePathStyle);

/// The parts of `text` between separators of either style, on every system; empty parts are left
/// out. Name schemes are cut into folders this way.
std::vector<std::string> SplitAtSeparators(std::string_view text);

/// To and from the standard library's path, whose narrow form is not UTF-8 everywhere.
std::filesystem::path ToNativePath(std::string_view path);
std::string FromNativePath(const std::filesystem::path& path);

}  // namespace vexolo
