#include "app/main_keys.h"

#include <algorithm>
#include <array>

namespace vexolo {
namespace {

struct KeyBinding {
  int key;
  KeyModifiers modifiers;
  MainCommand command;
};
constexpr std::array<KeyBinding, 12> kBindings = {{
    {kKeyF1, KeyModifiers::kNone, MainCommand::kHelp},
    {kKeySpace, KeyModifiers::kNone, MainCommand::kPlayOrStop},
    {kKeyLeft, KeyModifiers::kNone, MainCommand::kSeekBack},
    {kKeyRight, KeyModifiers::kNone, MainCommand::kSeekForward},
    {kKeyUp, KeyModifiers::kNone, MainCommand::kKnobUp},
    {kKeyDown, KeyModifiers::kNone, MainCommand::kKnobDown},
    {kKeyPageUp, KeyModifiers::kNone, MainCommand::kPreviousSong},
    {kKeyPageDown, KeyModifiers::kNone, MainCommand::kNextSong},
    {kKeyO, KeyModifiers::kCtrl, MainCommand::kOpenSongs},
    {kKeyR, KeyModifiers::kCtrl, MainCommand::kRecord},
    {kKeyL, KeyModifiers::kCtrl, MainCommand::kLyrics},
    {kKeyP, KeyModifiers::kCtrl, MainCommand::kPlayList},
}};

constexpr double kBeforeEnd = 0.1;  ///< seconds

}  // namespace

MainCommand CommandOfKey(int key, KeyModifiers modifiers) {
  for (const KeyBinding& binding : kBindings) {
    if (binding.key == key && binding.modifiers == modifiers) return binding.command;
  }
  return MainCommand::kNone;
}

bool RepeatsWhileHeld(MainCommand command) {
  return command == MainCommand::kSeekBack || command == MainCommand::kSeekForward ||
         command == MainCommand::kKnobUp || command == MainCommand::kKnobDown;
}

double SoughtPosition(double position, double step, double length) {
  return std::clamp(position + step, 0.0, std::max(length - kBeforeEnd, 0.0));
}

}  // namespace vexolo
