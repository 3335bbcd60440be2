/// A mixer on a fake stream: state, settings file and library that most mixer tests need.
#pragma once

#include <string>
#include <vector>

#include "audio/audio_state.h"
#include "fakes/fake_bass.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "mixer/mix_state.h"
#include "mixer/song_settings.h"
#include "settings/mod_ini.h"

namespace vexolo {

struct MixerBench {
  MixerBench() {
    settings.SetSong(folder / "Tune.kar");
    audio.stream = bass.AddStream({});
    audio.font = bass.AddFont({});
  }

  /// The events sent since the last time, "channel event parameter".
  std::vector<std::string> TakeEvents() {
    std::vector<std::string> events;
    for (const auto& call : bass.Calls<FakeBass::StreamEvent>()) {
      events.push_back(std::to_string(call.chan) + " " + std::to_string(call.event) + " " +
                       std::to_string(call.param));
    }
    bass.ClearCalls();
    return events;
  }

  std::string Saved(const std::string& section, const std::string& key) {
    return ini.ReadIni(section, key, settings.path());
  }

  TemporaryFolder folder;
  FakeMessageBoxes boxes;
  ModIni ini{folder / "Vexolo.ini", boxes};
  SongSettings settings{ini, '.'};
  FakeBass bass;
  MixState state;
  AudioState audio;
};

}  // namespace vexolo
