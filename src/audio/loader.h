/// Finds the audio library: the closed ones where the user has put them, else the open engine.
/// Loading belongs to the thread that starts the program; a loaded library may be asked by any.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "audio/bass.h"

namespace vexolo {

/// The table of functions and what is behind it. Lives as long as anything calls the table.
class AudioLibrary {
 public:
  virtual ~AudioLibrary() = default;

  virtual const bass::Api& api() const = 0;
  virtual bool is_open_engine() const = 0;

  /// True while sound goes nowhere because the machine has no sound device. The closed library has
  /// no such state: there BASS_Init fails.
  virtual bool OutputIsSilent() const = 0;
  /// What the system calls the sound device in use; empty where there is none or the library does
  /// not tell.
  virtual std::string OutputName() const = 0;
  /// Names and versions of what the library itself is built on, as far as it is known.
  virtual std::vector<std::string> Components() const = 0;
  /// Output blocks that came too late, as far as the library counts them.
  virtual std::uint64_t LateBlocks() const = 0;

  /// Ends the external encoders that run, without asking them; their files stay incomplete. For a
  /// run that is given up, whose encoder may not take its input any more. The closed library does
  /// not say which they are: there nothing is ended. Any thread.
  virtual void EndEncoders() {}

  /// The closed libraries are used when all three stand in `program_folder` (UTF-8, no separator at
  /// its end) and have every function of the table. In every other case the open engine serves;
  /// `problem`, where given, then says what kept complete closed libraries from being used.
  static std::unique_ptr<AudioLibrary> Load(const std::string& program_folder,
                                            std::string* problem = nullptr);
  static std::unique_ptr<AudioLibrary> OpenEngine();
};

/// A mark of a song file.
struct OutlineMark {
  std::uint32_t track;
  bool is_lyric;     ///< else a text
  std::string text;  ///< raw bytes
};

/// What a song file tells without being opened as a stream.
struct SongOutline {
  double seconds = 0;              ///< the length that a stream of it has, at its own speed
  std::vector<OutlineMark> marks;  ///< lyrics, then texts, each in time order
};

/// Reads a song file from memory, in the engine's own way whatever library plays: no bank is
/// needed, no library has to be initialised, and it takes a small part of a stream's time. Nothing
/// where the bytes hold nothing that can be played. Any thread.
std::optional<SongOutline> ReadSongOutline(std::string_view bytes);

/// The arguments that an encoder's command line is split into before it is started.
std::vector<std::string> SplitEncoderCommand(std::string_view command);

}  // namespace vexolo
