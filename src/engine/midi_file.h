/// Standard MIDI files: bytes in, one sorted event list out.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vexolo::engine {

/// One event, in the form in which it stands in the file. 12 bytes.
struct MidiEvent {
  std::uint32_t tick;   ///< at most kMaxTick
  std::uint32_t value;  ///< channel messages: second data byte; tempo: microseconds per quarter
                        ///< note (never 0); system exclusive and text: see MidiFile::Data
  std::uint16_t track;
  std::uint8_t status;  ///< 0x80..0xEF with the channel, 0xF0 or 0xF7 system exclusive, 0xFF meta
  std::uint8_t data1;   ///< first data byte; for meta events the type
  std::uint8_t channel() const { return status & 0x0F; }
  std::uint8_t command() const { return status & 0xF0; }
};

/// A parsed song. Immutable: any thread may read it.
///
/// Read are formats 0, 1 and 2 (its tracks side by side), bare or wrapped in RIFF "RMID"; running
/// status (kept across meta events and system exclusive, as many writers expect), tracks that end
/// without an end-of-track event, chunks whose length lies (the data that are there count), unknown
/// chunks, junk before "MThd" up to 1 KB, and fewer or more tracks than the header says. A track in
/// which an impossible byte turns up keeps the events before it.
///
/// Events are kept where something uses them: channel messages, system exclusive, tempo, text,
/// lyrics, end of track. They are sorted by tick; at the same tick by track, then in file order.
class MidiFile {
 public:
  static constexpr std::uint32_t kMaxTick = 0x7FFFFFFF;

  /// No music has as many, and all that is made of an event has to find room in memory.
  static constexpr std::size_t kMostEvents = 5'000'000;

  /// Null where nothing can be played: no header, a division that means nothing, no track chunk,
  /// or more than kMostEvents events that are kept.
  /// Never throws for the contents; memory stays below 20 x the size of `bytes` + 16 MB.
  static std::unique_ptr<const MidiFile> Parse(std::span<const std::uint8_t> bytes);

  std::uint16_t format() const { return format_; }
  std::uint16_t division() const { return division_; }  ///< as in the header, never 0
  std::size_t track_count() const { return track_names_.size(); }

  /// Name of a track (meta event 3, the first one), raw bytes; empty where it has none.
  const std::string& track_name(std::size_t track) const { return track_names_[track]; }

  const std::vector<MidiEvent>& events() const { return events_; }

  /// Bytes of a system exclusive event (without 0xF0, with the closing 0xF7 where there is one; a
  /// 0xF7 packet: all its bytes) or of a text or lyric (NUL-terminated behind its end, so that
  /// data() serves as a C string).
  std::string_view Data(const MidiEvent& event) const;

  /// Tick of the last event, end of track included.
  std::uint32_t last_tick() const { return last_tick_; }

 private:
  friend class MidiFileParser;
  MidiFile() = default;
  std::uint16_t format_ = 0;
  std::uint16_t division_ = 0;
  std::uint32_t last_tick_ = 0;
  std::vector<std::string> track_names_;
  std::vector<MidiEvent> events_;
  std::vector<char> data_;  ///< packed: 32-bit length, bytes, NUL
};

}  // namespace vexolo::engine
