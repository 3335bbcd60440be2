/// The keyboard of the main window. Pure; any thread.
#pragma once

namespace vexolo {

/// Keys by their codes; letters and other keys that mean nothing here have their own.
enum KeyCode : int {
  kKeySpace = 32,
  kKeyPageUp = 33,
  kKeyPageDown = 34,
  kKeyLeft = 37,
  kKeyUp = 38,
  kKeyRight = 39,
  kKeyDown = 40,
  kKeyL = 'L',
  kKeyO = 'O',
  kKeyP = 'P',
  kKeyR = 'R',
  kKeyF1 = 112,
};

enum class KeyModifiers { kNone, kCtrl, kOther };

enum class MainCommand {
  kNone,
  kHelp,  ///< when the key is released; all others when it goes down
  kPlayOrStop,
  kSeekBack,
  kSeekForward,
  kKnobUp,  ///< the focused knob, by one step
  kKnobDown,
  kPreviousSong,
  kNextSong,
  kOpenSongs,
  kRecord,
  kLyrics,
  kPlayList,
};

inline constexpr double kSeekStep = 5;  ///< seconds

/// What a key does; most do nothing.
MainCommand CommandOfKey(int key, KeyModifiers modifiers);

/// Whether a key that is held down goes on.
bool RepeatsWhileHeld(MainCommand command);

/// Where a seek by `step` seconds goes: from 0 to the end of a song, which is not reached (its end
/// would be the next thing to happen).
double SoughtPosition(double position, double step, double length);

}  // namespace vexolo
