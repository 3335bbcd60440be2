/// The open engine behind the audio library's interface.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "audio/bass.h"
#include "engine/encoder.h"

namespace vexolo::engine {

/// The engine's functions. Valid for the whole run.
const bass::Api& EngineApi();

/// How processes are started for BASS_Encode_Start; without a starter such calls fail with 37.
/// To be set before the first stream.
void SetProcessStarter(ProcessStarter starter);

/// How many threads render a song that an encoder takes, the one that pulls included; 0 = that one
/// alone, which then does not run ahead. At first as many as the machine has processors. Counts for
/// streams that are created afterwards.
void SetRenderThreads(int threads);

/// True while sound goes nowhere because the machine has no sound device.
bool OutputIsSilent();

/// What the system calls the sound device in use; empty where there is none.
std::string OutputName();

/// Names and versions of the libraries that the engine is built on.
std::vector<std::string> Components();

/// Output blocks that came too late since BASS_Init.
std::uint64_t LateBlocks();

}  // namespace vexolo::engine
