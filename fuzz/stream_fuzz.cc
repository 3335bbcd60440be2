// layer: engine
// Songs as the program uses them: any bytes make a stream or none, and a stream can be asked, moved
// about, changed and rendered in any order. No bank: what counts is the way of the events.
//
// Input: a MIDI file; its last bytes say as well what is done with it.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "audio/bass.h"
#include "engine/exports.h"

namespace {

using namespace bass;

constexpr std::size_t kSteps = 12;
constexpr QWORD kLongest = 176400ull * 60 * 60 * 24;

const Api& api = vexolo::engine::EngineApi();

void Require(bool holds) {
  if (!holds) std::abort();
}

int g_syncs = 0;

void BASS_CALLBACK Heard(HSYNC, DWORD, DWORD, void*) { ++g_syncs; }

/// As the program answers an event of the song with its own value.
void BASS_CALLBACK Answer(HSYNC, DWORD stream, DWORD data, void*) {
  ++g_syncs;
  api.BASS_MIDI_StreamEvent(stream, data >> 16, MIDI_EVENT_VOLUME, 64);
}

void CheckMarks(HSTREAM stream, DWORD type) {
  QWORD last = 0;
  BASS_MIDI_MARK mark;
  for (DWORD index = 0; api.BASS_MIDI_StreamGetMark(stream, type, index, &mark); ++index) {
    Require(mark.pos >= last || mark.pos == 0xFFFFFFFF);
    Require(mark.text != nullptr &&
            api.BASS_ChannelGetTags(stream, BASS_TAG_MIDI_TRACK + mark.track));
    last = mark.pos;
  }
}

void CheckEvents(HSTREAM stream) {
  const DWORD count = api.BASS_MIDI_StreamGetEvents(stream, -1, 0, nullptr);
  Require(count != kError32);
  std::vector<BASS_MIDI_EVENT> events(count);
  Require(api.BASS_MIDI_StreamGetEvents(stream, -1, 0, events.data()) == count);
  for (const BASS_MIDI_EVENT& event : events) Require(event.chan < 16);
}

/// One step of those that the input's end asks for.
void Step(HSTREAM stream, std::uint8_t what) {
  std::array<std::int16_t, 2048> sound;
  const QWORD length = api.BASS_ChannelGetLength(stream, BASS_POS_BYTE);
  const QWORD ticks = api.BASS_ChannelGetLength(stream, BASS_POS_MIDI_TICK);
  Require(length != kError64 && ticks != kError64);
  const DWORD size = what % 8 == 1 ? 4 : sizeof sound;
  switch (what % 8) {
    case 2:
      api.BASS_ChannelSetPosition(stream, length / 256 * what, BASS_POS_BYTE);
      break;
    case 3: {
      const QWORD tick = ticks / 256 * what;
      if (!api.BASS_ChannelSetPosition(stream, tick, BASS_POS_MIDI_TICK)) break;
      Require(api.BASS_ChannelGetPosition(stream, BASS_POS_MIDI_TICK) >= tick || length > kLongest);
      break;
    }
    case 4:
      api.BASS_MIDI_StreamEvent(stream, 0, MIDI_EVENT_TEMPO, 2000u * (what + 1u));
      break;
    case 5:
      api.BASS_MIDI_StreamEvent(stream, what / 16u, what, what * 257u);
      api.BASS_MIDI_StreamGetEvent(stream, what / 16u, what);
      break;
    case 6:
      api.BASS_ChannelSetSync(stream, BASS_SYNC_POS, length / 2, &Heard, nullptr);
      break;
    default: {
      const DWORD got = api.BASS_ChannelGetData(stream, sound.data(), size);
      Require(got == kError32 || (got <= size && got % 4 == 0));
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool ready = [] {
    vexolo::engine::SetRenderThreads(0);
    return api.BASS_Init(0, 44100, 0, nullptr, nullptr) != 0;
  }();
  Require(ready);
  const HSTREAM stream = api.BASS_MIDI_StreamCreateFile(
      1, data, 0, size, BASS_STREAM_DECODE | BASS_MIDI_DECAYEND, 44100);
  if (stream == 0) return 0;
  CheckMarks(stream, BASS_MIDI_MARK_LYRIC);
  CheckMarks(stream, BASS_MIDI_MARK_TEXT);
  CheckEvents(stream);
  api.BASS_ChannelSetSync(stream, BASS_SYNC_MIDI_EVENT | BASS_SYNC_MIXTIME, MIDI_EVENT_VOLUME,
                          &Answer, nullptr);
  api.BASS_ChannelSetSync(stream, BASS_SYNC_MIDI_LYRIC, 0, &Heard, nullptr);
  for (std::size_t i = 1; i <= std::min(kSteps, size); ++i) Step(stream, data[size - i]);
  Require(api.BASS_StreamFree(stream));
  Require(!api.BASS_StreamFree(stream));
  return 0;
}
