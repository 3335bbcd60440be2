/// The command lines that start the external encoders. All text is UTF-8. No function here keeps
/// anything; any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "convert/conversion_settings.h"
#include "platform/paths.h"

namespace vexolo {

struct EncoderRequest {
  AudioFormat format = AudioFormat::kMp3;  ///< MP3 or Ogg
  std::string program;                     ///< the encoder, as it is started
  std::string rate;                        ///< kbit/s; a text that is not in the list counts as 128
  SongTags tags;
  std::string output;  ///< audio path
};

/// How the encoder of a format is started: the one in the program folder. On systems with a search
/// path `lame` stands alone (to be looked for there) where the program folder has none; `oggenc`
/// is never looked for elsewhere, for another one does not understand this command line.
std::string EncoderProgram(AudioFormat format, const std::string& program_folder,
                           PathStyle style = kNativePathStyle);

/// The command line. Tag values stand between quotes as they are; empty ones are left out.
std::string EncoderCommand(const EncoderRequest& request);

/// The arguments that the command line is meant to be split into.
std::vector<std::string> EncoderArguments(const EncoderRequest& request);

/// What keeps a command line from saying what it means: a quote inside a value, or a backslash at
/// its end.
enum class CommandField {
  kArtist,
  kTitle,
  kAlbum,
  kYear,
  kTrack,
  kGenre,
  kComment,
  kOutput,   ///< the audio path
  kProgram,  ///< the encoder's own path
};

/// The caption of a field: "Artiste", "Titre", ... "Fichier", "Programme".
std::string_view FieldName(CommandField field);

/// The first field of which the encoder would not get what was meant; nothing where splitting the
/// line gives back the intended arguments.
std::optional<CommandField> BadField(const EncoderRequest& request);

}  // namespace vexolo
