#include "engine/midi_file.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "engine/time_line.h"

namespace vexolo::engine {
namespace {

using Bytes = std::span<const std::uint8_t>;

// What lies behind is left out: offsets into the data of a bigger file might not fit 32 bits.
constexpr std::size_t kMaxFileSize = std::size_t{1} << 30;
constexpr std::size_t kMaxJunk = 1024;
constexpr std::size_t kMaxTracks = 0x10000;
constexpr std::size_t kChunkHeader = 8;
constexpr std::size_t kFileHeader = kChunkHeader + 6;

constexpr std::uint8_t kSystemExclusive = 0xF0;
constexpr std::uint8_t kPacket = 0xF7;
constexpr std::uint8_t kFirstRealTime = 0xF8;
constexpr std::uint8_t kMeta = 0xFF;

constexpr std::uint8_t kText = 0x01;
constexpr std::uint8_t kTrackName = 0x03;
constexpr std::uint8_t kLyric = 0x05;
constexpr std::uint8_t kEndOfTrack = 0x2F;
constexpr std::uint8_t kTempo = 0x51;

/// Data bytes behind the statuses 0x80, 0x90 .. 0xE0, and behind 0xF0 .. 0xF7.
constexpr std::array<std::uint8_t, 7> kChannelDataBytes = {2, 2, 2, 2, 1, 1, 2};
constexpr std::array<std::uint8_t, 8> kSystemDataBytes = {0, 1, 2, 1, 0, 0, 0, 0};

std::uint32_t BigEndian16(Bytes bytes, std::size_t at) {
  return std::uint32_t{bytes[at]} << 8 | bytes[at + 1];
}

std::uint32_t BigEndian32(Bytes bytes, std::size_t at) {
  return BigEndian16(bytes, at) << 16 | BigEndian16(bytes, at + 2);
}

std::uint32_t LittleEndian32(Bytes bytes, std::size_t at) {
  return std::uint32_t{bytes[at + 3]} << 24 | std::uint32_t{bytes[at + 2]} << 16 |
         std::uint32_t{bytes[at + 1]} << 8 | bytes[at];
}

bool StandsAt(Bytes bytes, std::size_t at, std::string_view name) {
  return at <= bytes.size() && bytes.size() - at >= name.size() &&
         std::memcmp(bytes.data() + at, name.data(), name.size()) == 0;
}

/// Place of a chunk name at or behind `from`; the size of `bytes` where there is none.
std::size_t Find(Bytes bytes, std::size_t from, std::string_view name) {
  const Bytes rest = bytes.subspan(std::min(from, bytes.size()));
  const auto found = std::search(rest.begin(), rest.end(), name.begin(), name.end());
  return bytes.size() - static_cast<std::size_t>(rest.end() - found);
}

/// Contents of the "data" chunk of a RIFF "RMID" file; all other files as they are.
Bytes Unwrap(Bytes bytes) {
  if (!StandsAt(bytes, 0, "RIFF") || !StandsAt(bytes, 8, "RMID")) return bytes;
  std::size_t at = 12;
  while (at + kChunkHeader <= bytes.size()) {
    const std::size_t length = LittleEndian32(bytes, at + 4);
    const bool is_data = StandsAt(bytes, at, "data");
    at += kChunkHeader;
    if (is_data) {
      const Bytes rest = bytes.subspan(at);
      return length < kFileHeader ? rest : rest.first(std::min(length, rest.size()));
    }
    if (length > bytes.size() - at) break;
    at += length + length % 2;
  }
  return bytes;
}

/// Whether what stands at `at` can be a chunk: a track, or another name with a length that fits.
bool IsChunk(Bytes bytes, std::size_t at) {
  if (at > bytes.size() || bytes.size() - at < kChunkHeader) return false;
  if (StandsAt(bytes, at, "MTrk")) return true;
  const Bytes name = bytes.subspan(at, 4);
  return std::ranges::all_of(name, [](std::uint8_t c) { return c >= 0x20 && c < 0x7F; }) &&
         BigEndian32(bytes, at + 4) <= bytes.size() - at - kChunkHeader;
}

/// Where the chunk at `at` ends. A length is believed where the file or another chunk follows;
/// otherwise the chunk reaches to the next track or to the end of the file.
std::size_t ChunkEnd(Bytes bytes, std::size_t at) {
  const std::size_t begin = at + kChunkHeader;
  const std::size_t length = BigEndian32(bytes, at + 4);
  if (length <= bytes.size() - begin) {
    const std::size_t end = begin + length;
    if (end == bytes.size() || IsChunk(bytes, end)) return end;
  }
  return Find(bytes, begin, "MTrk");
}

/// Contents of the track chunks from `at` on.
std::vector<Bytes> FindTracks(Bytes bytes, std::size_t at) {
  std::vector<Bytes> tracks;
  while (tracks.size() < kMaxTracks) {
    if (!IsChunk(bytes, at)) at = Find(bytes, at, "MTrk");
    if (!IsChunk(bytes, at)) break;
    const std::size_t end = ChunkEnd(bytes, at);
    const std::size_t begin = at + kChunkHeader;
    if (StandsAt(bytes, at, "MTrk")) tracks.push_back(bytes.subspan(begin, end - begin));
    at = end;
  }
  return tracks;
}

/// Reads one track and tells `sink` what has to be kept, until the end of the track or a byte that
/// cannot stand where it stands.
template <class Sink>
class TrackReader {
 public:
  TrackReader(Bytes bytes, std::uint16_t track, Sink& sink)
      : bytes_(bytes), track_(track), sink_(sink) {}

  void Read() {
    while (ReadEvent()) {
    }
  }

 private:
  /// False where the track ends.
  bool ReadEvent() {
    const auto delta = ReadNumber();
    if (!delta || bytes_.empty()) return false;
    tick_ = std::min(tick_ + *delta, MidiFile::kMaxTick);
    if (bytes_[0] >= 0x80) {
      const std::uint8_t status = bytes_[0];
      bytes_ = bytes_.subspan(1);
      if (status >= kSystemExclusive) return ReadSystem(status);
      running_status_ = status;
    }
    return running_status_ != 0 && ReadChannelMessage();
  }

  bool ReadChannelMessage() {
    const std::size_t count = kChannelDataBytes[(running_status_ >> 4) - 8u];
    if (!AreDataBytes(count)) return false;
    sink_.Add({tick_, count == 2 ? bytes_[1] : 0u, track_, running_status_, bytes_[0]});
    bytes_ = bytes_.subspan(count);
    return true;
  }

  bool ReadSystem(std::uint8_t status) {
    if (status == kMeta) return ReadMeta();
    if (status >= kFirstRealTime) return true;
    if (status == kSystemExclusive || status == kPacket) {
      const auto data = ReadData();
      if (data) sink_.AddData({tick_, 0, track_, status, 0}, *data);
      return data.has_value();
    }
    const std::size_t count = kSystemDataBytes[status - kSystemExclusive];
    if (!AreDataBytes(count)) return false;
    bytes_ = bytes_.subspan(count);
    return true;
  }

  bool ReadMeta() {
    if (!AreDataBytes(1)) return false;
    const std::uint8_t type = bytes_[0];
    bytes_ = bytes_.subspan(1);
    const auto data = ReadData();
    if (type == kEndOfTrack) {
      sink_.Add({tick_, 0, track_, kMeta, type});
      return false;
    }
    if (!data) return false;
    if (type == kText || type == kLyric) {
      sink_.AddData({tick_, 0, track_, kMeta, type}, *data);
    } else if (type == kTrackName) {
      sink_.SetName(track_, *data);
    } else if (type == kTempo && data->size() >= 3) {
      const std::uint32_t tempo = BigEndian16(*data, 0) << 8 | (*data)[2];
      if (tempo != 0) sink_.Add({tick_, tempo, track_, kMeta, type});
    }
    return true;
  }

  /// Variable-length number, at most kMaxTick; nothing where the track ends within it.
  std::optional<std::uint32_t> ReadNumber() {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
      const bool fits = number <= MidiFile::kMaxTick >> 7;
      number = fits ? number << 7 | (bytes_[i] & 0x7Fu) : MidiFile::kMaxTick;
      if (bytes_[i] < 0x80) {
        bytes_ = bytes_.subspan(i + 1);
        return number;
      }
    }
    return std::nullopt;
  }

  /// A length and as many bytes, fewer where the track ends before.
  std::optional<Bytes> ReadData() {
    const auto length = ReadNumber();
    if (!length) return std::nullopt;
    const Bytes data = bytes_.first(std::min<std::size_t>(*length, bytes_.size()));
    bytes_ = bytes_.subspan(data.size());
    return data;
  }

  bool AreDataBytes(std::size_t count) const {
    return bytes_.size() >= count &&
           std::ranges::all_of(bytes_.first(count), [](std::uint8_t c) { return c < 0x80; });
  }

  Bytes bytes_;  ///< what has not been read yet
  const std::uint16_t track_;
  Sink& sink_;
  std::uint32_t tick_ = 0;
  std::uint8_t running_status_ = 0;
};

template <class Sink>
void ReadTracks(const std::vector<Bytes>& tracks, Sink& sink) {
  for (std::size_t i = 0; i < tracks.size(); ++i) {
    TrackReader<Sink>(tracks[i], static_cast<std::uint16_t>(i), sink).Read();
  }
}

constexpr std::size_t PackedSize(std::size_t length) { return sizeof(std::uint32_t) + length + 1; }

/// Counts first, so that memory is taken once and no more than is needed.
struct CountingSink {
  std::size_t events = 0;
  std::size_t data = 0;

  void Add(const MidiEvent&) { ++events; }
  void AddData(const MidiEvent&, Bytes bytes) {
    ++events;
    data += PackedSize(bytes.size());
  }
  void SetName(std::uint16_t, Bytes) {}
};

}  // namespace

namespace {

bool IsEarlier(const MidiEvent& a, const MidiEvent& b) { return a.tick < b.tick; }

/// Sorts by tick, digit by digit from the lowest on; events of the same tick keep their order.
void SortByTick(std::vector<MidiEvent>& events, std::uint32_t last_tick) {
  constexpr int kDigitBits = 11;
  constexpr std::uint32_t kDigits = 1U << kDigitBits;
  std::vector<MidiEvent> sorted(events.size());
  for (int shift = 0; shift < 32 && last_tick >> shift != 0; shift += kDigitBits) {
    const auto digit = [shift](const MidiEvent& event) {
      return (event.tick >> shift) & (kDigits - 1);
    };
    std::array<std::size_t, kDigits + 1> places{};
    for (const MidiEvent& event : events) ++places[digit(event) + 1];
    for (std::uint32_t value = 1; value < kDigits; ++value) places[value] += places[value - 1];
    for (const MidiEvent& event : events) sorted[places[digit(event)]++] = event;
    std::swap(events, sorted);
  }
}

}  // namespace

class MidiFileParser {
 public:
  static std::unique_ptr<const MidiFile> Parse(Bytes bytes) {
    bytes = Unwrap(bytes.first(std::min(bytes.size(), kMaxFileSize)));
    const std::size_t header = Find(bytes, 0, "MThd");
    if (header > kMaxJunk || bytes.size() - header < kFileHeader) return nullptr;
    bytes = bytes.subspan(header);
    const auto division = static_cast<std::uint16_t>(BigEndian16(bytes, 12));
    if (!TimeLine::IsDivision(division)) return nullptr;
    const std::vector<Bytes> tracks = FindTracks(bytes, HeaderEnd(bytes));
    if (tracks.empty()) return nullptr;

    MidiFileParser parser;
    parser.file_->format_ = static_cast<std::uint16_t>(BigEndian16(bytes, 8));
    parser.file_->division_ = division;
    if (!parser.Read(tracks)) return nullptr;
    return std::move(parser.file_);
  }

  void Add(const MidiEvent& event) {
    file_->events_.push_back(event);
    file_->last_tick_ = std::max(file_->last_tick_, event.tick);
  }

  void AddData(MidiEvent event, Bytes bytes) {
    std::vector<char>& data = file_->data_;
    event.value = static_cast<std::uint32_t>(data.size());
    const auto length = static_cast<std::uint32_t>(bytes.size());
    std::array<char, sizeof length> packed_length;
    std::memcpy(packed_length.data(), &length, sizeof length);
    data.insert(data.end(), packed_length.begin(), packed_length.end());
    data.insert(data.end(), bytes.begin(), bytes.end());
    data.push_back('\0');
    Add(event);
  }

  void SetName(std::uint16_t track, Bytes bytes) {
    if (named_[track]) return;
    named_[track] = true;
    file_->track_names_[track].assign(bytes.begin(), bytes.end());
  }

 private:
  MidiFileParser() : file_(new MidiFile) {}

  /// Where the header's length leads to; the tracks are looked for behind its known part where
  /// nothing stands there.
  static std::size_t HeaderEnd(Bytes bytes) {
    const std::size_t length = BigEndian32(bytes, 4);
    const bool fits = length <= bytes.size() - kChunkHeader;
    return fits && IsChunk(bytes, kChunkHeader + length) ? kChunkHeader + length : kFileHeader;
  }

  /// False where there are too many events.
  bool Read(const std::vector<Bytes>& tracks) {
    CountingSink count;
    ReadTracks(tracks, count);
    if (count.events > MidiFile::kMostEvents) return false;
    file_->events_.reserve(count.events);
    file_->data_.reserve(count.data);
    file_->track_names_.resize(tracks.size());
    named_.resize(tracks.size());
    ReadTracks(tracks, *this);
    if (!std::ranges::is_sorted(file_->events_, IsEarlier)) {
      SortByTick(file_->events_, file_->last_tick_);
    }
    return true;
  }

  std::unique_ptr<MidiFile> file_;
  std::vector<bool> named_;
};

std::unique_ptr<const MidiFile> MidiFile::Parse(std::span<const std::uint8_t> bytes) {
  return MidiFileParser::Parse(bytes);
}

std::string_view MidiFile::Data(const MidiEvent& event) const {
  const bool is_text = event.status == kMeta && (event.data1 == kText || event.data1 == kLyric);
  if (!is_text && event.status != kSystemExclusive && event.status != kPacket) return {};
  std::uint32_t length = 0;
  const char* packed = data_.data() + event.value;
  std::memcpy(&length, packed, sizeof length);
  return {packed + sizeof length, length};
}

}  // namespace vexolo::engine
