/// The program's hold on the audio library: output, SoundFont, stream, tempo.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "audio/audio_state.h"
#include "audio/bass.h"
#include "platform/message_box.h"
#include "settings/mod_ini.h"

namespace vexolo {

inline constexpr bass::DWORD kOutputRate = 44100;  ///< frames a second
inline constexpr int kOutputChannels = 2;
inline constexpr bass::DWORD kPlaybackFlags = bass::BASS_MIDI_DECAYEND;
inline constexpr bass::DWORD kConversionFlags = bass::BASS_STREAM_DECODE | bass::BASS_MIDI_DECAYEND;
inline constexpr const char* kDefaultBank = "Orvanel.SF2";  ///< in the program folder

// Thin wrappers, one library call each, results unchanged.

/// Adds the wide-path flag. `path` is UTF-8.
bass::HSTREAM CreateStream(const bass::Api& api, bool mem, const std::string& path,
                           bass::QWORD offset, bass::QWORD length, bass::DWORD flags,
                           bass::DWORD freq);
bool SetStreamPosition(const bass::Api& api, bass::DWORD handle, bass::QWORD position,
                       bass::DWORD mode);
double SecondsOf(const bass::Api& api, bass::DWORD handle, bass::QWORD bytes);
bass::HSYNC SetStreamSync(const bass::Api& api, bass::DWORD handle, bass::DWORD type,
                          bass::QWORD param, bass::SYNCPROC* proc, void* user);

// Tempo. Both are short and may run on the mixing thread, on the stream that is being mixed.

/// Reads the tempo in force on `stream` into the base tempo. To be called where that is the song's
/// own: before the program has sent one, after a seek, and when the song's tempo changes. A stream
/// that does not answer leaves the base tempo alone.
void RefreshBaseTempo(const bass::Api& api, bass::HSTREAM stream, AudioState& audio);

/// Sends base tempo x speed factor, to the nearest whole number. Nothing is sent without a stream
/// or where the product is no tempo. When window and mixing thread meet here, what is sent last is
/// made of the latest two values.
void ApplyTempo(const bass::Api& api, bass::HSTREAM stream, const AudioState& audio);

/// Which bank to load when the program starts.
struct BankAtStart {
  std::string path;           ///< UTF-8, empty when the user has to choose
  bool user_chooses = false;  ///< the options dialog's choice of a bank is to be opened
};

/// The bank that the settings name, else kDefaultBank in `program_folder`; the user chooses where
/// that file is not there.
BankAtStart FindBankAtStart(ModIni& ini, const std::string& program_folder);

/// False, after a message, for a path that is longer than the settings file can give back
/// (ModIni::kMaxLength characters). To be asked when a bank is chosen.
bool AcceptBankPath(const std::string& path, MessageBoxes& boxes);

/// Whether a bank taken into use is kept in the settings for the next start.
enum class KeepBank { kInSettings, kForThisRun };

/// Output and SoundFont. Belongs to the window thread, but for LoadBank.
class AudioBinding {
 public:
  AudioBinding(const bass::Api& api, AudioState& audio, ModIni& ini, MessageBoxes& boxes);

  /// After the version check: makes sure of the encoder add-on, opens the output (`device` -1 = the
  /// system's, 0 = none; `window` = the main window's native handle) and takes over the library's
  /// default font where it has one. False after an error report: the program must shut down.
  bool Initialise(void* window, int device = -1);

  /// Linear volume that the Gain setting asks for; a new bank gets it before it is heard. Without
  /// one banks keep their own volume.
  void set_linear_gain(std::function<float()> linear_gain) {
    linear_gain_ = std::move(linear_gain);
  }
  /// Called when the preset names have changed (the channel settings dialog shows them).
  void set_presets_changed(std::function<void()> presets_changed) {
    presets_changed_ = std::move(presets_changed);
  }

  /// Opens a bank, which may take seconds; 0 where it cannot be opened. Any thread.
  bass::HSOUNDFONT LoadBank(const std::string& path) const;

  /// Takes a bank into use, for new streams and the current one, which changes its sound as it
  /// plays; frees the previous one. With a `font` of 0 nothing changes and false is returned.
  bool AdoptBank(bass::HSOUNDFONT font, const std::string& path,
                 KeepBank keep = KeepBank::kInSettings);

  /// Both of the above.
  bool ReplaceFont(const std::string& path, KeepBank keep = KeepBank::kInSettings);

  /// Stops and frees the current stream, if any. Waits for callbacks that are running.
  void FreeStream();

  /// Frees stream, font, output and plugins, in this order.
  void Shutdown();

 private:
  void RebuildPresetNames();

  const bass::Api& api_;
  AudioState& audio_;
  ModIni& ini_;
  MessageBoxes& boxes_;
  std::function<float()> linear_gain_;
  std::function<void()> presets_changed_;
};

}  // namespace vexolo
