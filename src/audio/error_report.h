/// What went wrong in the audio library, as the user is told.
#pragma once

#include <string>

#include "audio/bass.h"
#include "platform/message_box.h"

namespace vexolo {

/// The library's name for an error number: "BASS_ERROR_FILEFORM", or "Erreur 10 ?" where the table
/// has none.
std::string AudioErrorName(int code);

/// Shows `text` with the number and the name of the calling thread's most recent error, in an
/// exclamation box titled "Error". Window thread.
void ReportAudioError(const bass::Api& api, MessageBoxes& boxes, const std::string& text);

/// Whether the library is of the version that this program speaks to. If not, a critical box has
/// said so, and the program is to end.
bool CheckAudioVersion(const bass::Api& api, MessageBoxes& boxes);

}  // namespace vexolo
