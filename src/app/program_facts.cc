#include "app/program_facts.h"

#include "convert/encoder_command.h"
#include "platform/process.h"

namespace vexolo {

SystemInfo GatherFacts(const Program& program) {
  const ProgramEnvironment& env = program.env;
  SystemInfo info;
  info.machine = GatherSystemFacts();
  info.sound_device = env.library.OutputName();
  info.is_silent = env.library.OutputIsSilent();
  info.library_version = program.api.BASS_GetVersion();
  info.components = env.library.Components();
  info.bank = program.state.audio.font_path;
  info.lame = FindProgram(EncoderProgram(AudioFormat::kMp3, env.program_folder));
  info.ogg_enc = FindProgram(EncoderProgram(AudioFormat::kOgg, env.program_folder));
  return info;
}

}  // namespace vexolo
