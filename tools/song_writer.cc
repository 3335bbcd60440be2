#include "song_writer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <stdexcept>

namespace vexolo::songs {
namespace {

enum Rank { kRelease, kMeta, kSystem, kControl, kWord, kStrike };

constexpr char kMetaStatus = '\xFF';
constexpr Tick kTail = 2 * kBeat;  ///< from the last event to the end of the track

struct Letter {
  char32_t code;
  std::array<unsigned char, 3> bytes;  ///< by code page; 0 = lacking
};

constexpr std::array kLetters = {
    Letter{U'À', {0xC0, 0xB7, 0xCB}}, Letter{U'Â', {0xC2, 0xB6, 0xE5}},
    Letter{U'Ç', {0xC7, 0x80, 0x82}}, Letter{U'É', {0xC9, 0x90, 0x83}},
    Letter{U'Ê', {0xCA, 0xD2, 0xE6}}, Letter{U'à', {0xE0, 0x85, 0x88}},
    Letter{U'â', {0xE2, 0x83, 0x89}}, Letter{U'ç', {0xE7, 0x87, 0x8D}},
    Letter{U'è', {0xE8, 0x8A, 0x8F}}, Letter{U'é', {0xE9, 0x82, 0x8E}},
    Letter{U'ê', {0xEA, 0x88, 0x90}}, Letter{U'ë', {0xEB, 0x89, 0x91}},
    Letter{U'î', {0xEE, 0x8C, 0x94}}, Letter{U'ï', {0xEF, 0x8B, 0x95}},
    Letter{U'ô', {0xF4, 0x93, 0x99}}, Letter{U'ù', {0xF9, 0x97, 0x9D}},
    Letter{U'û', {0xFB, 0x96, 0x9E}}, Letter{U'œ', {0x9C, 0x00, 0xCF}},
};

char EncodeLetter(char32_t code, CodePage code_page) {
  if (code < 0x80) return static_cast<char>(code);
  const auto letter = std::find_if(kLetters.begin(), kLetters.end(),
                                   [code](const Letter& each) { return each.code == code; });
  const unsigned char byte =
      letter == kLetters.end() ? 0 : letter->bytes[static_cast<std::size_t>(code_page)];
  if (byte == 0) throw std::invalid_argument("a letter that the code page lacks");
  return static_cast<char>(byte);
}

std::string Bytes(std::initializer_list<int> values) {
  std::string bytes;
  for (const int value : values) bytes += static_cast<char>(value);
  return bytes;
}

std::string BigEndian(std::uint32_t value, int size) {
  std::string bytes;
  for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
    bytes += static_cast<char>(value >> shift);
  return bytes;
}

std::string VariableLength(std::uint32_t value) {
  std::string bytes(1, static_cast<char>(value & 0x7F));
  while (value >>= 7) bytes.insert(bytes.begin(), static_cast<char>((value & 0x7F) | 0x80));
  return bytes;
}

std::string MetaBytes(int type, std::string_view bytes) {
  return Bytes({kMetaStatus, type}) + VariableLength(static_cast<std::uint32_t>(bytes.size())) +
         std::string(bytes);
}

void CheckRange(int value, int low, int high) {
  if (value < low || value > high) throw std::out_of_range("a MIDI value out of its range");
}

/// Track chunk of sorted events, with running status.
std::string TrackChunk(const std::vector<Event>& events) {
  std::string body;
  Tick now = 0;
  char running = 0;
  for (const Event& event : events) {
    body += VariableLength(static_cast<std::uint32_t>(event.tick - now));
    now = event.tick;
    const char status = event.bytes.front();
    const bool channel_message = static_cast<unsigned char>(status) < 0xF0;
    body += channel_message && status == running ? event.bytes.substr(1) : event.bytes;
    running = channel_message ? status : 0;
  }
  body += VariableLength(kTail) + MetaBytes(0x2F, "");
  return "MTrk" + BigEndian(static_cast<std::uint32_t>(body.size()), 4) + body;
}

void SortEvents(std::vector<Event>& events) {
  std::stable_sort(events.begin(), events.end(), [](const Event& left, const Event& right) {
    return left.tick != right.tick ? left.tick < right.tick : left.rank < right.rank;
  });
}

}  // namespace

Tick Beats(double quarters) { return static_cast<Tick>(std::lround(quarters * kBeat)); }

std::string Encode(std::string_view utf8, CodePage code_page) {
  std::string encoded;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    char32_t code = lead;
    if (lead >= 0x80) {
      if (lead < 0xC0 || lead >= 0xE0 || i + 1 >= utf8.size())
        throw std::invalid_argument("a character that no song needs");
      code = (lead & 0x1Fu) << 6 | (static_cast<unsigned char>(utf8[++i]) & 0x3Fu);
    }
    encoded += EncodeLetter(code, code_page);
  }
  return encoded;
}

void Track::Note(Tick tick, Tick length, int key, int velocity) {
  CheckRange(key, 0, 127);
  CheckRange(velocity, 1, 127);
  CheckRange(length, 1, 1 << 20);
  notes_.push_back({tick, length, key, velocity});
}

void Track::Control(Tick tick, Controller controller, int value) {
  CheckRange(value, 0, 127);
  events_.push_back({tick, kControl, Bytes({0xB0 | channel_, controller, value})});
}

void Track::Program(Tick tick, int program) {
  CheckRange(program, 0, 127);
  events_.push_back({tick, kControl, Bytes({0xC0 | channel_, program})});
}

void Track::Bend(Tick tick, int value) {
  CheckRange(value, -8192, 8191);
  const int raw = value + 8192;
  events_.push_back({tick, kControl, Bytes({0xE0 | channel_, raw & 0x7F, raw >> 7})});
}

void Track::Set(Tick tick, const Sound& sound) {
  Program(tick, sound.program);
  Control(tick, kVolume, sound.volume);
  Control(tick, kPan, sound.pan);
  Control(tick, kExpression, sound.expression);
  Control(tick, kReverbSend, sound.reverb);
  Control(tick, kChorusSend, sound.chorus);
}

void Track::Rpn(Tick tick, int number, int coarse, int fine) {
  Control(tick, kRpnCoarse, 0);
  Control(tick, kRpnFine, number);
  Control(tick, kDataEntry, coarse);
  Control(tick, kDataEntryFine, fine);
  Control(tick, kRpnCoarse, 127);
  Control(tick, kRpnFine, 127);
}

void Track::Ramp(Tick from, Tick to, Controller controller, int first, int last, int steps) {
  for (int i = 0; i < steps; ++i) {
    Control(from + (to - from) * i / (steps - 1), controller,
            first + (last - first) * i / (steps - 1));
  }
}

void Track::Meta(Tick tick, MetaType type, std::string_view bytes) {
  const int rank = type == kTrackName ? kMeta : kWord;
  events_.push_back({tick, rank, MetaBytes(type, bytes)});
}

void Track::Tempo(Tick tick, double beats_per_minute) {
  const auto tempo = static_cast<std::uint32_t>(std::lround(60e6 / beats_per_minute));
  events_.push_back({tick, kMeta, MetaBytes(0x51, BigEndian(tempo, 3))});
}

void Track::TimeSignature(Tick tick, int numerator, int denominator_power) {
  events_.push_back({tick, kMeta, MetaBytes(0x58, Bytes({numerator, denominator_power, 24, 8}))});
}

void Track::SystemExclusive(Tick tick, std::string_view bytes) {
  const std::string packet = std::string(bytes) + '\xF7';
  events_.push_back(
      {tick, kSystem, '\xF0' + VariableLength(static_cast<std::uint32_t>(packet.size())) + packet});
}

std::vector<Event> Track::Events() const {
  std::vector<Event> events = {{0, kMeta, MetaBytes(kTrackName, name_)}};
  events.insert(events.end(), events_.begin(), events_.end());
  std::vector<SoundingNote> notes = notes_;
  std::stable_sort(notes.begin(), notes.end(),
                   [](const SoundingNote& a, const SoundingNote& b) { return a.tick < b.tick; });
  std::map<int, Tick> next_strike;
  for (auto note = notes.rbegin(); note != notes.rend(); ++note) {
    const auto next = next_strike.find(note->key);
    Tick end = note->tick + note->length;
    if (next != next_strike.end()) {
      if (next->second == note->tick) continue;  // struck twice at once: once is enough
      end = std::min(end, next->second);
    }
    next_strike[note->key] = note->tick;
    events.push_back({note->tick, kStrike, Bytes({0x90 | channel_, note->key, note->velocity})});
    events.push_back({end, kRelease, Bytes({0x80 | channel_, note->key, 64})});
  }
  SortEvents(events);
  return events;
}

std::string Serialize(const Song& song) {
  std::vector<std::vector<Event>> chunks;
  if (song.format == 0) chunks.emplace_back();
  for (const Track& track : song.tracks) {
    std::vector<Event> events = track.Events();
    if (song.format != 0) {
      chunks.push_back(std::move(events));
      continue;
    }
    const bool first = chunks[0].empty();
    chunks[0].insert(chunks[0].end(), events.begin() + (first ? 0 : 1), events.end());
  }
  std::string file = "MThd" + BigEndian(6, 4) +
                     BigEndian(static_cast<std::uint32_t>(song.format), 2) +
                     BigEndian(static_cast<std::uint32_t>(chunks.size()), 2) + BigEndian(kBeat, 2);
  for (std::vector<Event>& events : chunks) {
    SortEvents(events);
    file += TrackChunk(events);
  }
  return file;
}

}  // namespace vexolo::songs
