#include "app/separate_song.h"

#include "platform/text_encoding.h"

namespace vexolo {

SeparateSong::SeparateSong(const bass::Api& api, const std::string& settings_file, char separator,
                           MessageBoxes& boxes)
    : ini(settings_file, boxes),
      state(api, nullptr),
      binding(api, state.audio, ini, boxes),
      settings(ini, separator),
      start(api, state, binding, ini, settings, nullptr) {}

SeparateSong::~SeparateSong() { start.CloseSong(); }

std::string SeparateSong::Text(std::string_view bytes) const {
  return Utf8FromWindows1252(state.lyrics.ConvertLyricText(bytes));
}

}  // namespace vexolo
