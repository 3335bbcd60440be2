/// How the heap deals with what is freed.
#pragma once

namespace vexolo {

/// From now on memory that is freed goes back to the system soon, whichever thread had it. Else the
/// heap keeps, for each thread that has ever opened a song, about as much as the largest one took.
/// For the beginning of a program. Does nothing where the system's heap has no such choice.
void ReturnFreedMemory();

}  // namespace vexolo
