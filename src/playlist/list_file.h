/// List files (".m3u", ".zvp"): one song path per line. Paths are UTF-8. What takes a list,
/// settings or message boxes belongs to the window thread; the rest are pure functions for any
/// thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/message_box.h"
#include "platform/paths.h"
#include "platform/text_encoding.h"
#include "playlist/play_list_model.h"
#include "settings/mod_ini.h"

namespace vexolo {

/// The songs that the content of a list file names, in order. `list_path` is the file's own path:
/// relative entries are put after its folder, entries that begin with "\" after its drive. Lines
/// are trimmed of spaces; comments ("#") and lines that name no song are skipped. Any bytes are
/// taken, UTF-8 or Windows-1252.
///
/// With PathStyle::kPosix, lists written on Windows load as well: "\" separates in entries that are
/// not absolute, and one that begins with it is put after the root; entries with a drive or network
/// name are taken as they stand, for there is no place to look for them.
std::vector<std::string> ParseList(std::string_view bytes, std::string_view list_path,
                                   PathStyle style = kNativePathStyle);

/// The same for a list of this machine. Names of files are any bytes where "/" separates: a list
/// that is not UTF-8, but whose bytes name files that are there, is taken as it stands. May look
/// for some files; any thread.
std::vector<std::string> SongsOfList(std::string_view bytes, std::string_view list_path);

/// True when the last four characters are, in upper case, ".MID", ".KAR" or "MIDI".
bool IsSongName(std::string_view path);

/// Each path on a line of its own, ended by "\r\n".
std::string FormatList(const std::vector<std::string>& paths);

/// Adds the songs of a list file to the list. False after a message box where the file cannot be
/// read; the list is then as it was.
bool LoadPlayList(const std::string& path, PlayListModel& list, MessageBoxes& boxes);

/// Writes the list: in the encoding of the file that is replaced, else in UTF-8. False after a
/// message box where it cannot be written; an existing file is then as it was.
bool SauvePlayList(const std::string& path, const PlayListModel& list, MessageBoxes& boxes);

/// Keep the folder of the list ("Lst") or song ("Mid") that was chosen last.
void StoreListFolder(ModIni& ini, std::string_view list_path);
void StoreSongFolder(ModIni& ini, std::string_view song_path);

/// "mid,kar" gives "*.mid;*.kar"; an empty list of extensions stands for "mid,kar".
std::string SongPattern(std::string_view extensions);

/// The song filter of a language file with "%1" and "%2" filled in by the pattern.
std::string SongFilter(std::string_view filter, std::string_view extensions);

/// The list filter of a language file: "%1" is ".zvp", "%2" its pattern, "%3" ".m3u", "%4" its
/// pattern.
std::string ListFilter(std::string_view filter);

/// What a file dialog returned, as full paths: a single text is a path; of several the first is the
/// folder of the names that follow, unless these are full paths themselves.
std::vector<std::string> ChosenFiles(const std::vector<std::string>& chosen,
                                     PathStyle style = kNativePathStyle);

}  // namespace vexolo
