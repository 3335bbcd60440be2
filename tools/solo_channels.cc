/// solo_channels SONG FOLDER [--clicks]: writes a song for each channel that plays in SONG, with
/// only that channel's notes, so that two renderings can be compared without other notes sounding
/// over them. With --clicks every program becomes a wood block, whose beginning can be told to a
/// fraction of a millisecond.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "engine/midi_file.h"

namespace {

using vexolo::engine::MidiEvent;
using vexolo::engine::MidiFile;

constexpr std::uint8_t kWoodBlock = 115;

bool IsNote(const MidiEvent& event) { return event.command() == 0x90 || event.command() == 0x80; }

void PutNumber(std::string* out, std::uint32_t value, int bytes) {
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
    out->push_back(static_cast<char>(value >> shift));
  }
}

void PutLength(std::string* out, std::uint32_t value) {
  std::string reversed(1, static_cast<char>(value & 0x7F));
  while ((value >>= 7) != 0) reversed.push_back(static_cast<char>((value & 0x7F) | 0x80));
  out->append(reversed.rbegin(), reversed.rend());
}

/// What the file says of an event, without the time before it; empty for what plays no part.
std::string Message(const MidiFile& file, const MidiEvent& event, bool clicks) {
  std::string out(1, static_cast<char>(event.status));
  if (event.status < 0xF0) {
    const bool replaced = clicks && event.command() == 0xC0;
    out.push_back(static_cast<char>(replaced ? kWoodBlock : event.data1));
    if (event.command() != 0xC0 && event.command() != 0xD0) {
      out.push_back(static_cast<char>(event.value));
    }
  } else if (event.status == 0xF0) {
    const std::string_view data = file.Data(event);
    PutLength(&out, static_cast<std::uint32_t>(data.size()));
    out.append(data);
  } else if (event.status == 0xFF && event.data1 == 0x51) {
    out += "\x51\x03";
    PutNumber(&out, event.value, 3);
  } else {
    out.clear();
  }
  return out;
}

std::string Solo(const MidiFile& file, int channel, bool clicks) {
  std::string track;
  std::uint32_t tick = 0;
  for (const MidiEvent& event : file.events()) {
    if (IsNote(event) && event.channel() != channel) continue;
    const std::string message = Message(file, event, clicks);
    if (message.empty()) continue;
    PutLength(&track, event.tick - tick);
    track += message;
    tick = event.tick;
  }
  PutLength(&track, file.last_tick() - tick);
  track.append("\xFF\x2F\x00", 3);
  std::string song = "MThd";
  PutNumber(&song, 6, 4);
  PutNumber(&song, 0, 2);
  PutNumber(&song, 1, 2);
  PutNumber(&song, file.division(), 2);
  song += "MTrk";
  PutNumber(&song, static_cast<std::uint32_t>(track.size()), 4);
  return song + track;
}

}  // namespace

int main(int argc, char** argv) {
  const bool clicks = argc == 4 && std::strcmp(argv[3], "--clicks") == 0;
  if (argc != 3 && !clicks) {
    std::fputs("Usage: solo_channels SONG FOLDER [--clicks]\n", stderr);
    return 2;
  }
  std::ifstream in(argv[1], std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
  const auto file =
      MidiFile::Parse({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
  if (file == nullptr) {
    std::fprintf(stderr, "solo_channels: %s cannot be read\n", argv[1]);
    return 1;
  }
  std::array<bool, 16> plays{};
  for (const MidiEvent& event : file->events()) {
    if (IsNote(event)) plays[event.channel()] = true;
  }
  for (int channel = 0; channel < 16; ++channel) {
    if (!plays[channel]) continue;
    const std::string name = "channel-" + std::to_string(channel) + ".mid";
    std::ofstream out(std::string(argv[2]) + "/" + name, std::ios::binary);
    out << Solo(*file, channel, clicks);
    if (!out.flush()) return 1;
    std::puts(name.c_str());
  }
  return 0;
}
