#include "lyrics/midi_dump.h"

#include <algorithm>
#include <array>
#include <ostream>

#include "platform/file_io.h"
#include "platform/paths.h"
#include "platform/text_encoding.h"

namespace vexolo {

namespace {

constexpr char kTabMarker = '\xA7';  // "§"
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::uint32_t kNoRunningStatus = 0xF8;

/// The rest of the track makes no sense.
struct GiveUpTrack {};

constexpr std::array<std::string_view, 8> kTextLabels = {
    "", "Text ", "Copyright ", "Track Name ", "Instrument Name ", "Lyric ", "Marker ", "CuePoint "};

std::string Part(std::string_view text) { return std::string(text); }
std::string Part(const char* text) { return text; }
std::string Part(std::uint32_t number) { return std::to_string(number); }
std::string Part(int number) { return std::to_string(number); }

template <typename... Parts>
std::string Joined(const Parts&... parts) {
  return (Part(parts) + ...);
}

std::string Quoted(std::string_view text) { return Joined("\"", text, "\""); }

std::string TwoDigits(std::uint32_t number) {
  std::string text = std::to_string(number);
  if (text.size() < 2) text.insert(text.begin(), '0');
  return text;
}

/// A listing is a text file of Windows. A name that has no place in its code page stays as it is.
std::string PathLine(const std::string& path) { return Windows1252FromUtf8(path).value_or(path); }

std::string Line(std::string_view text) {
  std::string line(text);
  if (line.starts_with(kTabMarker)) line.front() = '\t';
  line += kLineEnd;
  return line;
}

/// "00 01 ... " in 48 columns, a space, the characters.
std::string HexLine(std::string_view bytes) {
  constexpr std::size_t kColumns = 48;
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string line;
  for (const char byte : bytes) {
    const auto code = static_cast<unsigned char>(byte);
    line += kDigits[code >> 4];
    line += kDigits[code & 15];
    line += ' ';
  }
  line.resize(kColumns + 1, ' ');
  for (const char byte : bytes) {
    const auto code = static_cast<unsigned char>(byte);
    line += code < 32 || code > 254 ? ' ' : byte;
  }
  return line;
}

class Walker {
 public:
  Walker(std::string_view bytes, const MidiDumpLine& dump_line) : in_(bytes), dump_(dump_line) {}

  std::optional<MidiDumpHeader> Run() {
    const std::optional<MidiDumpHeader> header = Header();
    if (!header) return std::nullopt;
    while (in_.cursor() < in_.size()) Chunk();
    dump_("====[ End of file ]====");
    dump_("");
    return header;
  }

 private:
  std::optional<MidiDumpHeader> Header() {
    MidiDumpHeader header;
    try {
      const std::string id = in_.ReadString(4);
      if (in_.ReadDWord() != 6 || id != "MThd") return std::nullopt;
      header.format = in_.ReadWord();
      header.tracks = in_.ReadWord();
      header.division = in_.ReadWord();
    } catch (const MidiPastEnd&) {
      return std::nullopt;
    }
    dump_(Joined("Format", header.format));
    dump_(Joined(header.tracks, " track(s)"));
    dump_(Joined(header.division, " Ticks / Noire"));
    if (header.format == 0) header.tracks = 1;
    return header;
  }

  void Chunk() {
    std::string id;
    std::uint32_t length = 0;
    in_.set_limit(in_.size());
    try {
      id = in_.ReadString(4);
      length = in_.ReadDWord();
    } catch (const MidiPastEnd&) {
      in_.MoveTo(in_.size());
      return;
    }
    dump_(Joined(id, " Chunk"));
    if (length > in_.size() - in_.cursor()) dump_(Joined("Incorrect length : ", length));
    chunk_end_ = CutEnd(length, in_.size());
    in_.set_limit(chunk_end_);
    if (id == "MTrk") {
      Track();
    } else if (id == "CASM") {
      Casm();
    } else {
      dump_(Joined("Unknown ", id, " Chunk"));
    }
    in_.MoveTo(chunk_end_);
    dump_(Joined("==[ End of ", id, " Chunk ]=="));
  }

  /// End of something `length` bytes long that starts at the cursor and lies in something else.
  std::size_t CutEnd(std::uint32_t length, std::size_t outer_end) const {
    if (in_.cursor() >= outer_end) return outer_end;
    return in_.cursor() + std::min<std::size_t>(length, outer_end - in_.cursor());
  }

  /// First to last inclusive.
  void HexDumpRange(std::size_t first, std::size_t last) {
    constexpr std::size_t kBytesALine = 16;
    for (std::size_t place = first; place <= last; place += kBytesALine) {
      dump_(HexLine(in_.Slice(place, std::min(kBytesALine, last - place + 1))));
    }
  }

  /// From the cursor to before `end`; the cursor stays.
  void HexDumpTo(std::size_t end) {
    if (in_.cursor() < end) HexDumpRange(in_.cursor(), end - 1);
  }

  // ---- Style chunk

  void Casm() {
    try {
      while (in_.cursor() < chunk_end_) CasmSection();
    } catch (const MidiPastEnd&) {
      return;
    }
  }

  void CasmSection() {
    const std::string id = in_.ReadString(4);
    const std::uint32_t length = in_.ReadDWord();
    const std::size_t end = CutEnd(length, chunk_end_);
    dump_(Joined(id, " CASM Section"));
    if (id == "CSEG") {
      while (in_.cursor() < end) CasmPart(end);
    } else {
      Unknown(id, length, end);
    }
    in_.MoveTo(end);
  }

  void CasmPart(std::size_t section_end) {
    const std::string id = in_.ReadString(4);
    const std::uint32_t length = in_.ReadDWord();
    const std::size_t end = CutEnd(length, section_end);
    dump_(Joined("CASM ", id, " Section"));
    if (id == "Sdec") {
      const std::size_t available = end > in_.cursor() ? end - in_.cursor() : 0;
      dump_(Joined(id, "\t", Quoted(in_.ReadString(available))));
    } else if (id == "Ctab") {
      const std::uint32_t source = in_.ReadByte();
      const std::string name = in_.ReadString(8);
      const std::uint32_t destination = in_.ReadByte();
      dump_(Joined(id, "\tChannel=", source, "\tDestination Channel=", destination, "\t",
                   Quoted(name)));
      HexDumpTo(end);
    } else {
      Unknown(id, length, end);
    }
    in_.MoveTo(end);
  }

  void Unknown(const std::string& id, std::uint32_t length, std::size_t end) {
    dump_(Joined("Unknown ", id, " section (", length, ")"));
    HexDumpTo(end);
  }

  // ---- Tracks

  void Track() {
    ++track_;
    tick_ = 0;
    running_status_ = kNoRunningStatus;
    dump_(Joined(kLineEnd, "Track", track_));
    try {
      while (in_.cursor() < chunk_end_) Event();
    } catch (const GiveUpTrack&) {
      dump_("Goto TrackEnd");
    } catch (const MidiPastEnd&) {
      dump_("Goto TrackEnd");
    }
  }

  void Event() {
    tick_ += in_.ReadVarLen();
    dump_(Joined(std::string_view(&kTabMarker, 1), "Tick=", tick_));
    std::uint32_t status = in_.ReadByte();
    if (status < 128) {
      in_.MoveTo(in_.cursor() - 1);
      if ((running_status_ >> 4) == 0xF) {
        dump_("Error on Running Status");
        throw GiveUpTrack();
      }
      status = running_status_;
    } else {
      running_status_ = status;
    }
    if ((status >> 4) == 0xF) {
      SystemEvent(status);
    } else {
      dump_(ChannelEvent(status));
    }
  }

  std::uint32_t ReadData() {
    const std::uint32_t data = in_.ReadByte();
    if (data > 127) throw GiveUpTrack();
    return data;
  }

  std::string ChannelEvent(std::uint32_t status) {
    const std::string head = Joined("Chan", status & 15, "\t");
    const std::uint32_t kind = status >> 4;
    const std::uint32_t first = ReadData();
    if (kind == 12) return Joined(head, "Program", first);
    if (kind == 13) return Joined(head, "AfterTouch", first);
    const std::uint32_t second = ReadData();
    if (kind == 11) return Joined(head, "CC#", first, "\t=", second);
    if (kind == 14) return Joined(head, "Pitch Wheel", second * 128 + first);
    const std::string note = Joined(head, "Note", first, "\t");
    if (kind == 10) return Joined(note, "AfterTouch", second);
    if (kind == 8 || second == 0) return Joined(note, "OFF");
    return Joined(note, "ON Vel", second);
  }

  void SystemEvent(std::uint32_t status) {
    switch (status) {
      case 0xF0:
        return SystemExclusive();
      case 0xF1:
        return dump_(Joined("Time Code", ReadData()));
      case 0xF2: {
        const std::uint32_t high = ReadData();
        return dump_(Joined("Song Position Pointer", high * 256 + ReadData()));
      }
      case 0xF3:
        return dump_(Joined("Song Select", ReadData()));
      case 0xF4:
        return dump_("F4 ???");
      case 0xF5:
        return dump_("F5 ???");
      case 0xF6:
        return dump_("Tune Request");
      case 0xF7:
        return dump_("EOX");
      case 0xFF:
        return MetaEvent();
      default:
        return;
    }
  }

  /// Up to the next status byte; the length that is stored in a file is taken as data.
  void SystemExclusive() {
    const std::size_t start = in_.cursor() - 1;
    std::uint32_t byte = 0;
    while (byte < 128) byte = in_.ReadByte();
    if (byte != 0xF7) in_.MoveTo(in_.cursor() - 1);
    const std::size_t length = in_.cursor() - start;
    dump_(Joined("SysEx\t(", std::to_string(length), ")"));
    HexDumpRange(start, start + length - 1);
  }

  // ---- Meta events. The length is one byte here, not a variable-length number.

  void MetaEvent() {
    const std::uint32_t type = in_.ReadByte();
    const std::uint32_t length = in_.ReadByte();
    if (type >= 1 && type < kTextLabels.size()) {
      dump_(Joined(kTextLabels[type], Quoted(in_.ReadString(Available(length)))));
      return;
    }
    switch (type) {
      case 0x00:
        Require(length, 2);
        return dump_(Joined("Sequence #", in_.ReadWord()));
      case 0x20:
        Require(length, 1);
        return dump_(Joined("MidiChannel =", in_.ReadByte()));
      case 0x21:
        Require(length, 1);
        return dump_(Joined("MidiPort =", in_.ReadByte()));
      case 0x2F:
        return dump_("Track End");
      case 0x51:
        Require(length, 3);
        return dump_(Joined("Tempo =", in_.Read3()));
      case 0x54:
        Require(length, 5);
        return Smpte();
      case 0x58:
        Require(length, 4);
        return TimeSignature();
      case 0x59:
        Require(length, 2);
        return KeySignature();
      case 0x7F:
        return OtherMeta(Joined("Specific (", length, " )"), length);
      default:
        return OtherMeta(Joined("Unknown Meta Event", type), length);
    }
  }

  void Require(std::uint32_t length, std::uint32_t required) {
    if (length != required) throw GiveUpTrack();
  }

  std::size_t Available(std::uint32_t length) const {
    return std::min<std::size_t>(length, chunk_end_ - in_.cursor());
  }

  void Smpte() {
    std::array<std::string, 5> fields;
    for (std::string& field : fields) field = TwoDigits(in_.ReadByte());
    dump_(Joined("SMPTE = ", fields[0], ":", fields[1], ":", fields[2], ".", fields[3], " ",
                 fields[4]));
  }

  /// The denominator is listed as the square of its stored exponent, and the clocks and thirty-
  /// seconds run together: readers of these listings know them so.
  void TimeSignature() {
    const std::uint32_t numerator = in_.ReadByte();
    const std::uint32_t exponent = in_.ReadByte();
    const std::uint32_t clocks = in_.ReadByte();
    const std::uint32_t thirty_seconds = in_.ReadByte();
    dump_(Joined("Time Signature =", numerator, " /", exponent * exponent, "  Metronome =", clocks,
                 thirty_seconds));
  }

  /// The sign rule, 128 from 64 on, is a habit of these listings as well.
  void KeySignature() {
    const int first = static_cast<int>(in_.ReadByte());
    const int sharps = first > 63 ? first - 128 : first;
    dump_(Joined("Key Signature =", sharps, " Mineur =", in_.ReadByte()));
  }

  void OtherMeta(const std::string& line, std::uint32_t length) {
    const std::size_t end = in_.cursor() + Available(length);
    dump_(line);
    HexDumpTo(end);
    in_.MoveTo(end);
  }

  MidiBytes in_;
  const MidiDumpLine& dump_;
  std::size_t chunk_end_ = 0;
  std::uint32_t track_ = 0;
  std::uint32_t tick_ = 0;
  std::uint32_t running_status_ = kNoRunningStatus;
};

/// An unreadable file is an empty one.
std::string LoadFileToBuffer(const std::string& path) {
  return ReadWholeFile(path).value_or(std::string());
}

}  // namespace

std::uint32_t MidiBytes::ReadByte() {
  if (cursor_ >= limit_) throw MidiPastEnd();
  return static_cast<unsigned char>(bytes_[cursor_++]);
}

std::uint32_t MidiBytes::ReadNumber(int bytes) {
  std::uint32_t value = 0;
  for (int i = 0; i < bytes; ++i) value = value * 256 + ReadByte();
  return value;
}

std::string MidiBytes::ReadString(std::size_t length) {
  if (cursor_ > limit_ || length > limit_ - cursor_) throw MidiPastEnd();
  std::string text(bytes_.substr(cursor_, length));
  cursor_ += length;
  return text;
}

std::uint32_t MidiBytes::ReadVarLen() {
  std::uint32_t value = 0;
  std::uint32_t byte = 128;
  while (byte >= 128) {
    byte = ReadByte();
    value = value * 128 + (byte & 127);
  }
  return value;
}

std::optional<MidiDumpHeader> DumpMidiBytes(std::string_view bytes, const MidiDumpLine& dump_line) {
  return Walker(bytes, dump_line).Run();
}

bool DumpMidiFile(const std::string& path, std::ostream& out) {
  const std::string buffer = LoadFileToBuffer(path);
  out << PathLine(path) << kLineEnd;
  const auto write = [&out](std::string_view text) {
    if (!text.empty()) out << Line(text);
  };
  return DumpMidiBytes(buffer, write).has_value();
}

void MidiDump::MidiFileDump(const std::string& path) {
  const std::string buffer = LoadFileToBuffer(path);
  DumpLine("");
  DumpLine(path);
  if (!listing_open()) return;
  DumpMidiBytes(buffer, [this](std::string_view text) { DumpLine(text); });
}

void MidiDump::DumpLine(std::string_view text) {
  if (!enabled_) return;
  if (text.empty()) {
    if (listing_open()) listing_.close();
    listing_.clear();
    return;
  }
  if (!listing_open()) {
    const std::string path(text);
    listing_.open(ToNativePath(path + ".txt"), std::ios::binary | std::ios::trunc);
    listing_ << PathLine(path) << kLineEnd;
    return;
  }
  listing_ << Line(text);
}

}  // namespace vexolo
