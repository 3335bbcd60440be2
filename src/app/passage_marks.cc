#include "app/passage_marks.h"

#include <algorithm>
#include <vector>

namespace vexolo {
namespace {

/// A place in the song in both measures.
struct Place {
  double bytes = 0;
  double ticks = 0;
};

std::vector<bass::BASS_MIDI_EVENT> TempoEvents(const bass::Api& api, bass::HSTREAM stream) {
  const bass::DWORD count =
      api.BASS_MIDI_StreamGetEvents(stream, -1, bass::MIDI_EVENT_TEMPO, nullptr);
  if (count == bass::kError32) return {};
  std::vector<bass::BASS_MIDI_EVENT> events(count);
  if (events.empty()) return {};
  const bass::DWORD filled =
      api.BASS_MIDI_StreamGetEvents(stream, -1, bass::MIDI_EVENT_TEMPO, events.data());
  events.resize(filled == bass::kError32 ? 0 : std::min(filled, count));
  return events;
}

/// Beginning, tempo changes and end, in their order: between two of them ticks are equally long.
std::vector<Place> Landmarks(const bass::Api& api, const AudioState& audio, double length) {
  std::vector<Place> places = {{}};
  for (const bass::BASS_MIDI_EVENT& event : TempoEvents(api, audio.stream)) {
    const Place place{static_cast<double>(event.pos), static_cast<double>(event.tick)};
    if (place.bytes > places.back().bytes && place.bytes < length) places.push_back(place);
  }
  places.push_back({length, static_cast<double>(audio.song_length_ticks)});
  return places;
}

double TicksAt(const std::vector<Place>& places, double bytes) {
  const auto after = std::find_if(places.begin() + 1, places.end() - 1,
                                  [bytes](const Place& place) { return place.bytes > bytes; });
  const Place& before = *std::prev(after);
  const double share = (bytes - before.bytes) / (after->bytes - before.bytes);
  return before.ticks + share * (after->ticks - before.ticks);
}

}  // namespace

PassageMarks MarksOnSlider(const bass::Api& api, const AudioState& audio) {
  PassageMarks marks;
  if (audio.stream == 0 || audio.song_length_ticks == 0) return marks;
  const double factor = audio.speed_factor;
  const bool has_start = StartInForce(audio.markers, factor, audio.song_length);
  const bool has_end = EndInForce(audio.markers, factor, audio.song_length);
  // A large song's events take a while to be gone through.
  if (!has_start && !has_end) return marks;
  const bass::QWORD length = api.BASS_ChannelGetLength(audio.stream, bass::BASS_POS_BYTE);
  if (length == bass::kError64 || length == 0) return marks;
  const std::vector<Place> places = Landmarks(api, audio, static_cast<double>(length));
  const auto share_at = [&](double seconds) {
    const bass::QWORD bytes = api.BASS_ChannelSeconds2Bytes(audio.stream, seconds);
    const double ticks = TicksAt(places, static_cast<double>(bytes));
    return std::clamp(ticks / audio.song_length_ticks, 0.0, 1.0);
  };
  if (has_start) marks.start = share_at(ActingStart(audio.markers, factor));
  if (has_end) marks.end = share_at(ActingEnd(audio.markers, factor));
  return marks;
}

}  // namespace vexolo
