/// Whether an MP3 encoder came to its end.
#pragma once

#include <string>

namespace vexolo {

/// Encoders put an empty frame before the sound and fill it in last, with what they then know of
/// it. Some end as if all were well where that failed, or where the end of the sound before it was
/// not written. False for a file whose first frame is still empty, or is filled in and tells of
/// more bytes than there are. True for all else, what cannot be read or is no MP3 included.
bool LooksLikeFinishedMp3(const std::string& path);

}  // namespace vexolo
