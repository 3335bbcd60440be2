/// What the program is made of, apart from its windows.
#pragma once

#include <atomic>
#include <functional>
#include <new>
#include <string>
#include <utility>

#include "app/action_guard.h"
#include "app/bank_loader.h"
#include "app/program_state.h"
#include "app/song_start.h"
#include "audio/audio_binding.h"
#include "audio/bass.h"
#include "audio/loader.h"
#include "lyrics/lyric_model.h"
#include "mixer/channel_strips.h"
#include "mixer/controllers.h"
#include "mixer/knobs.h"
#include "mixer/reverb_chorus.h"
#include "mixer/song_settings.h"
#include "platform/file_dialogs.h"
#include "platform/message_box.h"
#include "platform/process.h"
#include "platform/registry.h"
#include "settings/mod_ini.h"

namespace vexolo {

/// Where the program runs.
struct ProgramEnvironment {
  AudioLibrary& library;
  MessageBoxes& boxes;
  FileDialogs& files;
  std::string program_folder;
  std::string settings_file;
  std::string command_line{};  ///< songs, as SongsOfCommandLine takes them
  char separator = '.';        ///< of decimals
  int device = -1;             ///< of the output: -1 = the system's, 0 = none
  PostToWindow post;
  /// The system's registry; null where it has none.
  Registry* registry = nullptr;
  /// Starts another program. False where that fails.
  std::function<bool(const std::string& path)> start_program = StartProgram;
  /// Opens a document (help page, folder) with the user's own program. False where that fails.
  std::function<bool(const std::string& path)> open_document = [](const std::string&) {
    return false;
  };
  ActionGuard* guard = nullptr;  ///< around the window thread's actions, where there is one
};

/// The lyric window is made after what speaks to it, and may be missing.
class LyricDisplayLink : public LyricDisplay {
 public:
  /// Window thread, while no stream is there.
  void set_display(LyricDisplay* display) { display_ = display; }

  void EffaceLyrics() override {
    if (LyricDisplay* display = display_) display->EffaceLyrics();
  }
  void DisplayLyrics(int mark_index) override {
    if (LyricDisplay* display = display_) display->DisplayLyrics(mark_index);
  }

 private:
  std::atomic<LyricDisplay*> display_{nullptr};
};

/// Hands the end of a song over to the window thread.
class PostedEndOfSong : public EndOfSongNotifier {
 public:
  explicit PostedEndOfSong(const PostToWindow& post) : post_(post) {}

  /// Hears of the end, on the window thread.
  void set_listener(std::function<void(bass::HSTREAM stream)> listener) {
    listener_ = std::move(listener);
  }
  void SongEnded(bass::HSTREAM stream) override {
    ended_ = stream;
    try {
      post_([this] { Tell(); });
    } catch (const std::bad_alloc&) {
      // Then the main timer's tick finds it.
    }
  }
  /// Tells the listener what has not been told yet. Window thread.
  void Tell() {
    const bass::HSTREAM stream = ended_.exchange(0);
    if (stream != 0 && listener_) listener_(stream);
  }

 private:
  const PostToWindow post_;
  std::atomic<bass::HSTREAM> ended_{0};
  std::function<void(bass::HSTREAM)> listener_;
};

/// Made once, in main; the windows get it by reference. Window thread only. Outlives the windows;
/// streams, bank and output have to be freed before its end (StartUp::ShutDown).
struct Program {
  explicit Program(ProgramEnvironment environment)
      : env(std::move(environment)),
        api(env.library.api()),
        ini(env.settings_file, env.boxes),
        state(api, &lyric_display),
        binding(api, state.audio, ini, env.boxes),
        settings(ini, env.separator),
        end_of_song(env.post),
        song_start(api, state, binding, ini, settings, &end_of_song),
        bank_loader(api, state.audio, binding, env.post),
        strips(api, state.mix, settings),
        knobs(api, state.mix, state.audio, settings),
        controllers(api, state.mix, state.audio, settings),
        reverb_chorus(api, state.mix, state.audio, settings) {
    binding.set_linear_gain([this] { return static_cast<float>(LinearGain(state.mix.Gain)); });
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  const ProgramEnvironment env;
  const bass::Api& api;
  ModIni ini;
  LyricDisplayLink lyric_display;
  modMidiTest state;
  AudioBinding binding;
  SongSettings settings;
  PostedEndOfSong end_of_song;
  SongStart song_start;
  BankLoader bank_loader;
  ChannelStrips strips;
  Knobs knobs;
  Controllers controllers;
  ReverbChorus reverb_chorus;
};

}  // namespace vexolo
