/// What is dropped on a window: songs, folders of songs and list files, in any mixture.
#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_io.h"
#include "playlist/background_worker.h"

namespace vexolo {

/// The songs that dropped files stand for.
struct DroppedSongs {
  std::vector<std::string> songs;
  std::optional<FileError> error;  ///< of the first folder or list that could not be read
};

/// True for a list file, told by its extension.
bool IsListFile(std::string_view path);

/// The songs in the order of `paths`. A folder stands for its songs and then those of its
/// subfolders, both in the order in which people count ("2.mid" before "10.mid"); what is hidden
/// (".name") and what is no song is left out there. A list file stands for the songs it names.
/// Every other file stands for itself, song or not. May take long; any thread.
DroppedSongs ExpandDropped(const std::vector<std::string>& paths,
                           const std::atomic<bool>& cancelled);

/// Whether a name comes before another in a listing: without regard to case, numbers by their
/// value.
bool ComesBefore(std::string_view name, std::string_view other);

/// Expands what is dropped, one drop after the other, beside the window.
using DropWorker = BackgroundWorker<std::vector<std::string>, DroppedSongs>;

}  // namespace vexolo
