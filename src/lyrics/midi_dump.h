/// A readable listing of a song file's chunks and events, for finding out what is in a file.
///
/// Independent of the audio engine: the whole file is read into memory and walked with readers of
/// its own. Texts are the file's own bytes; lines end with CR LF, as in a text file of Windows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

namespace vexolo {

/// Thrown by the readers below where bytes are asked for beyond the limit.
struct MidiPastEnd {};

/// Bytes with a cursor. Numbers are big-endian. What is read moves the cursor; nothing is ever read
/// beyond the limit, which is at first the end of the bytes.
class MidiBytes {
 public:
  /// `bytes` must outlive this object.
  explicit MidiBytes(std::string_view bytes) : bytes_(bytes), limit_(bytes.size()) {}

  std::size_t size() const { return bytes_.size(); }
  std::size_t cursor() const { return cursor_; }
  /// Both at most size().
  void MoveTo(std::size_t position) { cursor_ = position; }
  void set_limit(std::size_t limit) { limit_ = limit; }
  std::string_view Slice(std::size_t first, std::size_t count) const {
    return bytes_.substr(first, count);
  }

  std::uint32_t ReadByte();
  std::uint32_t ReadWord() { return ReadNumber(2); }
  std::uint32_t Read3() { return ReadNumber(3); }
  std::uint32_t ReadDWord() { return ReadNumber(4); }
  std::string ReadString(std::size_t length);
  /// Seven bits a byte, most significant first, while the top bit is set. Beyond 32 bits the top
  /// is lost.
  std::uint32_t ReadVarLen();

 private:
  std::uint32_t ReadNumber(int bytes);

  std::string_view bytes_;
  std::size_t cursor_ = 0;
  std::size_t limit_;
};

/// What the header chunk says. One track for format 0, whatever stands in the file.
struct MidiDumpHeader {
  std::uint32_t format = 0;
  std::uint32_t tracks = 0;
  std::uint32_t division = 0;
};

/// Takes one text of the listing, as DumpLine below does.
using MidiDumpLine = std::function<void(std::string_view)>;

/// Lists a file that is in memory: every line after the path, then an empty text to close the
/// listing. Nothing at all, not even the empty text, and no result when the file does not begin
/// with a header chunk of length 6. Lengths are unsigned and cut at the chunk around them; a chunk
/// that ends in the middle of something is given up.
std::optional<MidiDumpHeader> DumpMidiBytes(std::string_view bytes, const MidiDumpLine& dump_line);

/// The listing of a file to any stream, path line included. False when the file cannot be read or
/// is no MIDI file (the path line is written all the same).
bool DumpMidiFile(const std::string& path, std::ostream& out);

/// Writes listings beside the songs: path + ".txt". Song loading uses it. File errors are ignored.
/// Belongs to one thread.
class MidiDump {
 public:
  /// `enabled`: the setting "Debug_MidiTxt". Nothing is written without it.
  explicit MidiDump(bool enabled) : enabled_(enabled) {}

  void set_enabled(bool enabled) { enabled_ = enabled; }

  /// The whole listing of one song. After a bad header the listing stays open until the next dump
  /// (or the end of this object) closes it. Where the listing cannot be made nothing is written.
  void MidiFileDump(const std::string& path);

  /// An empty text closes the listing. The first text after that is a path: it opens path + ".txt"
  /// and is its first line. Any other text is a line; a leading "§" (0xA7) is written as a tab.
  void DumpLine(std::string_view text);

  bool listing_open() const { return listing_.is_open(); }

 private:
  bool enabled_;
  std::ofstream listing_;
};

}  // namespace vexolo
