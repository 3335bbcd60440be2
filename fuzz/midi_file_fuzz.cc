// layer: engine
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "engine/midi_file.h"
#include "engine/time_line.h"

namespace vexolo::engine {
namespace {

constexpr std::uint8_t kMeta = 0xFF;
constexpr std::uint8_t kTempo = 0x51;

void Require(bool condition) {
  if (!condition) std::abort();
}

/// Checks what every file promises; tells its tempo changes.
std::vector<TempoChange> CheckEvents(const MidiFile& file, std::size_t size) {
  std::vector<TempoChange> changes;
  std::uint32_t last = 0;
  std::size_t data_size = 0;
  for (const MidiEvent& event : file.events()) {
    Require(event.tick >= last && event.tick <= MidiFile::kMaxTick);
    Require(event.track < file.track_count());
    Require(event.status >= 0x80 && event.data1 < 0x80);
    const std::string_view data = file.Data(event);
    if (data.data()) Require(std::strlen(data.data()) <= data.size());
    data_size += std::string(data).size();
    if (event.status == kMeta && event.data1 == kTempo) {
      Require(event.value > 0 && event.value <= 0xFFFFFF);
      changes.push_back({event.tick, event.value});
    } else if (event.status < 0xF0) {
      Require(event.value < 0x80);
    }
    last = event.tick;
  }
  for (std::size_t i = 0; i < file.track_count(); ++i) data_size += file.track_name(i).size();
  Require(file.last_tick() == last);
  Require(data_size <= size && file.events().size() <= size / 2);
  return changes;
}

void CheckTick(const TimeLine& line, std::uint32_t tick, TempoRatio from, TempoRatio to) {
  const std::uint64_t frame = line.FrameOfTick(tick, from);
  Require(line.FrameOfTick(tick + 1, from) >= frame);
  const std::uint32_t greatest = line.TickOfFrame(frame, from);
  Require(greatest >= tick);
  Require(line.FrameOfTick(greatest, from) == frame);
  Require(line.Rescale(frame, from, to) == line.FrameOfTick(greatest, to));
  Require(line.TempoAt(tick) > 0);
}

}  // namespace
}  // namespace vexolo::engine

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vexolo::engine;
  const auto file = MidiFile::Parse({data, size});
  if (!file) return 0;
  const TimeLine line(file->division(), CheckEvents(*file, size));
  const TempoRatio faster{100000, 461538};
  const TempoRatio slower{900001, 500000};
  for (const MidiEvent& event : file->events()) {
    CheckTick(line, event.tick, faster, slower);
    CheckTick(line, event.tick, slower, faster);
  }
  return 0;
}
