/// The order in which the program starts and ends.
#pragma once

#include <string>
#include <utility>

#include "app/bank_loader.h"
#include "app/companions.h"
#include "app/program_state.h"
#include "audio/audio_binding.h"
#include "audio/bass.h"
#include "mixer/song_settings.h"
#include "platform/message_box.h"
#include "settings/mod_ini.h"

namespace vexolo {

/// What start and end of the program need of the windows. Window thread.
class StartUpWindows {
 public:
  virtual ~StartUpWindows() = default;

  // In the order of the start.

  /// The options dialog's choice of a language, before any other window is there; returns when the
  /// dialog is closed. What the user has chosen is in the record by then.
  virtual void ChooseFirstLanguage() = 0;
  virtual void LoadLanguage() = 0;
  /// Makes the nine bitmaps ready. False where one of them is missing.
  virtual bool BuildSkin() = 0;
  virtual void DrawKnobs() = 0;
  virtual void DispSoloMute() = 0;
  virtual void RestorePlace() = 0;
  virtual void CreateCompanion(Companion companion) = 0;
  virtual void BougeFilles() = 0;
  /// The main window gets its native handle, which is returned, and is painted.
  virtual void* ShowMainWindow() = 0;
  virtual void ShowCompanionAgain(Companion companion) = 0;
  virtual void DispMix() = 0;
  virtual void AfficherMarqueurs() = 0;
  /// The options dialog's choice of a bank; returns when the dialog is closed.
  virtual void ChooseBank() = 0;
  /// The list as it was left, behind the songs of the command line; none of it is played.
  virtual void RestoreLastList() = 0;
  virtual void ShowTitle(const std::string& song_path) = 0;
  virtual void ProcessMessages() = 0;
  virtual void Action_Play() = 0;

  // In the order of the end.

  /// No timer ticks any more, and the main window is out of sight.
  virtual void StopTimers() = 0;
  virtual void UnloadCompanion(Companion companion) = 0;
  virtual void UnloadDialogs() = 0;
  /// What the message hook has replaced is put back.
  virtual void UnhookWindows() = 0;
  virtual void ReleaseSkin() = 0;
};

/// Window thread only.
class StartUp {
 public:
  struct Parts {
    const bass::Api& api;
    modMidiTest& state;
    AudioBinding& binding;
    BankLoader& bank_loader;
    ModIni& ini;
    SongSettings& settings;
    MessageBoxes& boxes;
    StartUpWindows& windows;
    std::string program_folder;
    std::string command_line;  ///< songs, as SongsOfCommandLine takes them
    int device = -1;           ///< of the output: -1 = the system's, 0 = none
  };

  /// What the parts refer to must outlive this object.
  explicit StartUp(Parts parts) : parts_(std::move(parts)) {}

  /// Starts the program. The bank is loaded beside the window, so that it may still be on its way
  /// when this returns; the first song waits for it. False after a message: the program cannot
  /// run, and is to be shut down.
  bool Run();

  /// Ends the program, whether Run has done all of its work or not.
  void ShutDown();

 private:
  bool ReadLanguageAndOptions();
  void LoadMixer();
  void CreateCompanions();
  void ShowCompanionsAgain();
  bool StartAudio();
  void ReadOptions();
  void LoadBankAtStart();
  void BankIsThere(bool loaded);
  void TakeCommandLine();
  void PlayLastSong();

  Parts parts_;
};

}  // namespace vexolo
