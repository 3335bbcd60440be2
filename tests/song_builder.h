/// Standard MIDI files for tests, put together event by event.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace vexolo::engine::testing {

/// Events may be added in any order; at one tick of one track they stand in the order of the calls.
/// A track ends at its last event, or where End says.
class SongBuilder {
 public:
  explicit SongBuilder(int division = 480) : division_(division) {}

  SongBuilder& Add(std::uint32_t tick, std::string bytes, int track = 0) {
    tracks_[track].events.emplace_back(tick, std::move(bytes));
    return *this;
  }

  SongBuilder& Press(std::uint32_t tick, int channel, int key, int velocity, int track = 0) {
    return Add(tick, Bytes({0x90 | channel, key, velocity}), track);
  }
  SongBuilder& Release(std::uint32_t tick, int channel, int key, int track = 0) {
    return Add(tick, Bytes({0x80 | channel, key, 64}), track);
  }
  SongBuilder& Note(std::uint32_t tick, std::uint32_t length, int channel, int key,
                    int velocity = 100, int track = 0) {
    return Press(tick, channel, key, velocity, track).Release(tick + length, channel, key, track);
  }
  SongBuilder& KeyPressure(std::uint32_t tick, int channel, int key, int value) {
    return Add(tick, Bytes({0xA0 | channel, key, value}));
  }
  SongBuilder& ChannelPressure(std::uint32_t tick, int channel, int value) {
    return Add(tick, Bytes({0xD0 | channel, value}));
  }
  SongBuilder& Control(std::uint32_t tick, int channel, int controller, int value, int track = 0) {
    return Add(tick, Bytes({0xB0 | channel, controller, value}), track);
  }
  SongBuilder& Program(std::uint32_t tick, int channel, int program, int track = 0) {
    return Add(tick, Bytes({0xC0 | channel, program}), track);
  }
  SongBuilder& Pitch(std::uint32_t tick, int channel, int value, int track = 0) {
    return Add(tick, Bytes({0xE0 | channel, value & 0x7F, value >> 7}), track);
  }
  SongBuilder& Tempo(std::uint32_t tick, int tempo, int track = 0) {
    return Meta(tick, 0x51, Bytes({tempo >> 16, tempo >> 8, tempo}), track);
  }
  SongBuilder& Text(std::uint32_t tick, const std::string& text, int track = 0) {
    return Meta(tick, 0x01, text, track);
  }
  SongBuilder& Lyric(std::uint32_t tick, const std::string& text, int track = 0) {
    return Meta(tick, 0x05, text, track);
  }
  SongBuilder& Name(const std::string& text, int track = 0) { return Meta(0, 0x03, text, track); }
  /// `bytes` without the opening 0xF0, with the closing 0xF7.
  SongBuilder& SystemExclusive(std::uint32_t tick, const std::vector<int>& bytes, int track = 0) {
    return Add(tick, '\xF0' + Number(bytes.size()) + Bytes(bytes), track);
  }
  SongBuilder& GmReset(std::uint32_t tick) {
    return SystemExclusive(tick, {0x7E, 0x7F, 0x09, 0x01, 0xF7});
  }
  SongBuilder& GsReset(std::uint32_t tick) {
    return SystemExclusive(tick, {0x41, 0x10, 0x42, 0x12, 0x40, 0x00, 0x7F, 0x00, 0x41, 0xF7});
  }
  SongBuilder& XgReset(std::uint32_t tick) {
    return SystemExclusive(tick, {0x43, 0x10, 0x4C, 0x00, 0x00, 0x7E, 0x00, 0xF7});
  }
  SongBuilder& End(std::uint32_t tick, int track = 0) {
    tracks_[track].end = tick;
    return *this;
  }

  std::string Song() const {
    const int count = tracks_.empty() ? 1 : tracks_.rbegin()->first + 1;
    std::string song = "MThd" + Big(6, 4) + Big(1, 2) + Big(static_cast<std::uint32_t>(count), 2) +
                       Big(static_cast<std::uint32_t>(division_), 2);
    for (int track = 0; track < count; ++track) {
      const auto place = tracks_.find(track);
      const std::string events = Events(place == tracks_.end() ? Track() : place->second);
      song += "MTrk" + Big(static_cast<std::uint32_t>(events.size()), 4) + events;
    }
    return song;
  }

 private:
  struct Track {
    std::vector<std::pair<std::uint32_t, std::string>> events;
    std::uint32_t end = 0;
  };

  static std::string Bytes(const std::vector<int>& values) {
    std::string bytes;
    for (const int value : values) bytes += static_cast<char>(value);
    return bytes;
  }

  static std::string Big(std::uint32_t value, int count) {
    std::string bytes;
    for (int i = count - 1; i >= 0; --i) bytes += static_cast<char>(value >> (8 * i));
    return bytes;
  }

  static std::string Number(std::size_t value) {
    std::string bytes;
    for (int shift = 21; shift > 0; shift -= 7) {
      if (value >> shift != 0) bytes += static_cast<char>(0x80 | (value >> shift & 0x7F));
    }
    bytes += static_cast<char>(value & 0x7F);
    return bytes;
  }

  SongBuilder& Meta(std::uint32_t tick, int type, const std::string& data, int track) {
    return Add(tick, Bytes({0xFF, type}) + Number(data.size()) + data, track);
  }

  static std::string Events(Track track) {
    std::ranges::stable_sort(track.events, {}, [](const auto& event) { return event.first; });
    std::string bytes;
    std::uint32_t at = 0;
    for (const auto& [tick, event] : track.events) {
      bytes += Number(tick - at) + event;
      at = tick;
    }
    return bytes + Number(std::max(track.end, at) - at) + Bytes({0xFF, 0x2F, 0x00});
  }

  int division_;
  std::map<int, Track> tracks_;
};

}  // namespace vexolo::engine::testing
