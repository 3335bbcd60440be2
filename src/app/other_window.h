/// How the other windows are plugged into the main one.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/companions.h"
#include "lyrics/lyric_model.h"
#include "widgets/companion_window.h"

namespace vexolo {

class frmMidiTest;

/// A window beside the main one, and what it wants to hear. Functions may be empty.
struct PluggedCompanion {
  std::unique_ptr<CompanionWindow> window;
  LyricDisplay* lyrics = nullptr;          ///< the lyric window's side for the lyric model
  std::function<void()> refresh_channels;  ///< ten times a second while a song plays
  std::function<void()> mix_drawn;         ///< a song has been opened, with its settings
  std::function<void()> presets_changed;   ///< another bank is in use
  std::function<void(int mode)> draw_repeat;
  /// The list of songs: adds files, folders and lists as soon as they have been gone through, and
  /// tells the place of the last song that came, 0 where none did.
  std::function<void(std::vector<std::string> paths, std::function<void(int last_place)> added)>
      add_dropped;
  std::function<void()> restore_last_list;  ///< once the command line has been dealt with
};

/// The options dialog. It lives as long as this.
struct PluggedOptions {
  std::shared_ptr<void> dialog;
  std::function<void()> open;             ///< without waiting
  std::function<void()> run_first_start;  ///< waits
  std::function<void()> run_bank_choice;  ///< waits
  std::function<void()> load_language;
  std::function<void(const std::string& text)> show_bank_info;
  std::function<void(bool loading, const std::string& notice)> show_bank_loading;
  std::function<void(bool enabled)> enable;  ///< disabled while a song is converted
};

/// The about box, which lives as long as this.
struct PluggedAbout {
  std::shared_ptr<void> dialog;
  std::function<void()> open;  ///< without waiting
  std::function<void()> load_language;
};

/// Conversion of the current song or of the whole list.
struct PluggedConversion {
  std::function<void()> action_record;
  /// `TimerEncodage`: every 250 ms while frmMidiTest::EnableTimerEncodage(true) is in force.
  std::function<void()> timer_tick;
  std::function<void()> load_language;
  /// The program ends: nothing is converted any more.
  std::function<void()> unload;
};

/// Makes the windows, each when the main window needs it. An empty function: there is no such
/// window, and its button says so.
struct OtherWindows {
  std::array<std::function<PluggedCompanion(frmMidiTest&)>, kCompanions.size()> companions;
  std::function<PluggedOptions(frmMidiTest&)> options;
  std::function<PluggedConversion(frmMidiTest&)> conversion;
  std::function<PluggedAbout(frmMidiTest&)> about;
};

/// Those that the program has.
OtherWindows ProgramWindows();

}  // namespace vexolo
