// layer: engine
#include "engine/midi_file.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <new>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vexolo::engine {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// Bytes of a text literal, embedded NULs included.
template <std::size_t kSize>
std::string Raw(const char (&text)[kSize]) {
  return {text, kSize - 1};
}

std::string BigEndian(std::uint64_t value, int bytes) {
  std::string text;
  for (int i = bytes - 1; i >= 0; --i) text += static_cast<char>(value >> (8 * i) & 0xFF);
  return text;
}

std::string LittleEndian(std::uint32_t value) {
  std::string text = BigEndian(value, 4);
  std::ranges::reverse(text);
  return text;
}

std::string Chunk(const std::string& name, const std::string& contents) {
  return name + BigEndian(contents.size(), 4) + contents;
}

std::string Header(int format, int tracks, int division) {
  return Chunk("MThd", BigEndian(static_cast<std::uint64_t>(format), 2) +
                           BigEndian(static_cast<std::uint64_t>(tracks), 2) +
                           BigEndian(static_cast<std::uint64_t>(division), 2));
}

std::string Track(const std::string& contents) { return Chunk("MTrk", contents); }

const std::string kEnd = Raw("\0\xFF\x2F\0");

std::string OneTrack(const std::string& contents) { return Header(0, 1, 480) + Track(contents); }

std::unique_ptr<const MidiFile> Parse(const std::string& bytes) {
  // A copy of exactly this size, so that reading behind the end shows.
  std::vector<std::uint8_t> copy(bytes.begin(), bytes.end());
  return MidiFile::Parse(copy);
}

/// An event as text: tick, track, status, first and second value.
std::string Text(const MidiEvent& event) {
  char text[64];
  std::snprintf(text, sizeof text, "%u/%u %02X %02X %u", event.tick, event.track, event.status,
                event.data1, event.value);
  return text;
}

std::vector<std::string> Texts(const MidiFile& file) {
  std::vector<std::string> texts;
  for (const MidiEvent& event : file.events()) texts.push_back(Text(event));
  return texts;
}

/// Events of a file with this one track.
std::vector<std::string> EventsOf(const std::string& contents) {
  const auto file = Parse(OneTrack(contents));
  return file ? Texts(*file) : std::vector<std::string>{"null"};
}

std::vector<std::string> DataOf(const MidiFile& file) {
  std::vector<std::string> texts;
  for (const MidiEvent& event : file.events()) texts.emplace_back(file.Data(event));
  return texts;
}

TEST(MidiFileTest, ReadsEveryKindOfChannelMessage) {
  EXPECT_THAT(EventsOf(Raw("\0\x80\x3C\x01"
                           "\x0A\x91\x3D\x02"
                           "\0\xA2\x3E\x03"
                           "\0\xB3\x07\x64"
                           "\0\xC4\x05"
                           "\0\xD5\x06"
                           "\x81\0\xEF\x7F\x01") +
                       kEnd),
              ElementsAre("0/0 80 3C 1", "10/0 91 3D 2", "10/0 A2 3E 3", "10/0 B3 07 100",
                          "10/0 C4 05 0", "10/0 D5 06 0", "138/0 EF 7F 1", "138/0 FF 2F 0"));
}

TEST(MidiFileTest, TellsChannelAndCommand) {
  const auto file = Parse(OneTrack(Raw("\0\x9A\x3C\x40") + kEnd));
  ASSERT_TRUE(file);
  EXPECT_EQ(file->events()[0].channel(), 10);
  EXPECT_EQ(file->events()[0].command(), 0x90);
}

TEST(MidiFileTest, TellsTheHeadersValues) {
  const auto file = Parse(Header(1, 2, 96) + Track(kEnd) + Track(kEnd));
  ASSERT_TRUE(file);
  EXPECT_EQ(file->format(), 1);
  EXPECT_EQ(file->division(), 96);
  EXPECT_EQ(file->track_count(), 2u);
  EXPECT_EQ(Parse(Header(1, 1, 0xE728) + Track(kEnd))->division(), 0xE728);
}

TEST(MidiFileTest, MergesTracksByTickThenTrackThenOrder) {
  const auto file = Parse(Header(1, 3, 480) + Track(Raw("\x0A\x90\1\1\0\x90\2\1\x0A\x90\3\1")) +
                          Track(Raw("\0\x91\4\1\x0A\x91\5\1\0\x91\6\1")) +
                          Track(Raw("\x0A\x92\7\1\x0A\x92\x08\1")));
  ASSERT_TRUE(file);
  EXPECT_THAT(Texts(*file),
              ElementsAre("0/1 91 04 1", "10/0 90 01 1", "10/0 90 02 1", "10/1 91 05 1",
                          "10/1 91 06 1", "10/2 92 07 1", "20/0 90 03 1", "20/2 92 08 1"));
  EXPECT_EQ(file->last_tick(), 20u);
}

TEST(MidiFileTest, KeepsBytesOfTextsAndSystemExclusives) {
  const auto file = Parse(OneTrack(Raw("\0\xFF\x01\x03"
                                       "a\0b"
                                       "\0\xFF\x05\0"
                                       "\0\xF0\x05\x7E\x7F\x09\x01\xF7"
                                       "\0\xF7\x02\xF3\x01") +
                                   kEnd));
  ASSERT_TRUE(file);
  EXPECT_THAT(DataOf(*file),
              ElementsAre(Raw("a\0b"), "", Raw("\x7E\x7F\x09\x01\xF7"), Raw("\xF3\x01"), ""));
  EXPECT_STREQ(file->Data(file->events()[0]).data(), "a");
  for (std::size_t i = 0; i < 4; ++i) {
    const std::string_view data = file->Data(file->events()[i]);
    EXPECT_EQ(data.data()[data.size()], '\0');
  }
}

TEST(MidiFileTest, ReadsRiffWrappedFiles) {
  const std::string song = OneTrack(Raw("\0\x90\x3C\x40") + kEnd);
  const auto wrapped = [](const std::string& chunks) {
    return "RIFF" + LittleEndian(static_cast<std::uint32_t>(chunks.size() + 4)) + "RMID" + chunks;
  };
  const auto chunk = [](const std::string& name, const std::string& contents) {
    return name + LittleEndian(static_cast<std::uint32_t>(contents.size())) + contents +
           (contents.size() % 2 ? Raw("\0") : "");
  };
  const auto length = [](std::size_t value) {
    return LittleEndian(static_cast<std::uint32_t>(value));
  };
  const std::vector<std::string> files = {
      wrapped(chunk("data", song)),
      wrapped(chunk("LIST", std::string(5001, 'x')) + chunk("data", song)),
      wrapped(chunk("data", song) + chunk("LIST", Track(Raw("\0\x90\1\1")))),
      wrapped("data" + length(0) + song),
      wrapped("data" + length(0xFFFFFFFF) + song),
      wrapped("data" + length(song.size() + 1000) + song),
      wrapped("LIST" + length(0xFFFFFFFF) + song),
  };
  for (const std::string& bytes : files) {
    const auto file = Parse(bytes);
    ASSERT_TRUE(file);
    EXPECT_THAT(Texts(*file), ElementsAre("0/0 90 3C 64", "0/0 FF 2F 0"));
  }
  EXPECT_FALSE(Parse(wrapped("")));
  EXPECT_FALSE(Parse(wrapped(chunk("data", ""))));
  EXPECT_FALSE(Parse(wrapped("LIST" + length(0xFFFFFFFF))));
}

}  // namespace
}  // namespace vexolo::engine
