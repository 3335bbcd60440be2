#include "engine/song.h"

#include <algorithm>

namespace vexolo::engine {
namespace {

constexpr std::uint8_t kMeta = 0xFF;
constexpr std::uint8_t kMetaText = 0x01;
constexpr std::uint8_t kMetaLyric = 0x05;
constexpr std::uint8_t kMetaTempo = 0x51;

class NullSink final : public EventSink {
 public:
  void Note(int, int, int) override {}
  void KeyPressure(int, int, int) override {}
  void ChannelPressure(int, int) override {}
  void Controller(int, int, int) override {}
  void Mode(int, bass::DWORD) override {}
  void ValueChanged(int, ChannelValue) override {}
  void EffectChanged(EffectParameter) override {}
  void TempoChanged(std::uint32_t) override {}
  void SystemReset() override {}
};

bool IsSystemExclusive(const MidiEvent& event) { return event.status == 0xF0; }

void Advance(const MidiFile& file, std::size_t begin, std::size_t end, ControlState* state) {
  NullSink sink;
  for (std::size_t index = begin; index < end; ++index) {
    const MidiEvent& event = file.events()[index];
    if (event.command() == 0x90 || event.command() == 0x80) continue;
    Interpret(*state, event, IsSystemExclusive(event) ? file.Data(event) : std::string_view(),
              sink);
  }
}

std::vector<TempoChange> TempoChanges(const MidiFile& file) {
  std::vector<TempoChange> changes;
  for (const MidiEvent& event : file.events()) {
    if (event.status == kMeta && event.data1 == kMetaTempo) {
      changes.push_back({event.tick, event.value});
    }
  }
  return changes;
}

}  // namespace

std::shared_ptr<const Song> Song::Parse(std::span<const std::uint8_t> bytes) {
  auto file = MidiFile::Parse(bytes);
  if (file == nullptr) return nullptr;
  return std::shared_ptr<const Song>(new Song(std::move(file)));
}

Song::Song(std::unique_ptr<const MidiFile> file)
    : file_(std::move(file)), time_line_(file_->division(), TempoChanges(*file_)) {
  const auto& events = file_->events();
  for (std::uint32_t index = 0; index < events.size(); ++index) {
    if (events[index].status != kMeta) continue;
    if (events[index].data1 == kMetaLyric) lyrics_.push_back(index);
    if (events[index].data1 == kMetaText) texts_.push_back(index);
  }
  ControlState state = ControlState::Initial();
  for (std::size_t begin = 0; begin < events.size(); begin += kCheckpointEvery) {
    checkpoints_.push_back(state);
    Advance(*file_, begin, std::min(begin + kCheckpointEvery, events.size()), &state);
  }
  checkpoints_.push_back(state);
}

std::size_t Song::FirstEventAt(std::uint32_t tick) const {
  const auto& list = events();
  const auto place = std::lower_bound(
      list.begin(), list.end(), tick,
      [](const MidiEvent& event, std::uint32_t wanted) { return event.tick < wanted; });
  return static_cast<std::size_t>(place - list.begin());
}

ControlState Song::StateBefore(std::size_t end, const ControlState& survivors) const {
  const std::size_t checkpoint = end / kCheckpointEvery;
  ControlState state = checkpoints_[checkpoint];
  Advance(*file_, checkpoint * kCheckpointEvery, end, &state);
  for (int channel = 0; channel < kChannels; ++channel) {
    for (const ChannelValue kept : {ChannelValue::kMixLevel, ChannelValue::kTranspose}) {
      const auto which = static_cast<std::size_t>(kept);
      state.channel[channel].value[which] = survivors.channel[channel].value[which];
    }
  }
  return state;
}

}  // namespace vexolo::engine
