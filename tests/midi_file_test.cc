// layer: engine
#include "engine/midi_file.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/heap_watch.h"

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

TEST(MidiFileTest, RunningStatusLastsAcrossMetaEventsAndSystemExclusives) {
  EXPECT_THAT(EventsOf(Raw("\0\x91\x3C\x40"
                           "\x05\x3C\0"
                           "\0\xFF\x59\x02\0\0"
                           "\x05\x3D\x41"
                           "\0\xF0\x01\xF7"
                           "\x05\x3E\x42"
                           "\0\xC2\x07"
                           "\x01\x08")),
              ElementsAre("0/0 91 3C 64", "5/0 91 3C 0", "10/0 91 3D 65", "10/0 F0 00 0",
                          "15/0 91 3E 66", "15/0 C2 07 0", "16/0 C2 08 0"));
}

TEST(MidiFileTest, RunningStatusDoesNotReachTheNextTrack) {
  const auto file =
      Parse(Header(1, 2, 480) + Track(Raw("\0\x90\x3C\x40")) + Track(Raw("\0\x3C\x40")));
  ASSERT_TRUE(file);
  EXPECT_THAT(Texts(*file), ElementsAre("0/0 90 3C 64"));
}

TEST(MidiFileTest, ImpossibleByteEndsItsTrackOnly) {
  const std::string good = Raw("\x0A\x90\x3C\x40");
  const std::vector<std::string> damages = {
      Raw("\x14\x90\x80\x40"),      // first data byte above 127
      Raw("\x14\x90\x3C\xFF"),      // second data byte above 127
      Raw("\x14\xC0\x90"),          // the only data byte above 127
      Raw("\x14\xF1\x80"),          // system common data above 127
      Raw("\x14\xFF\x80\x01\x01"),  // meta type above 127
  };
  for (const std::string& damage : damages) {
    std::string contents = good;
    contents.append(damage).append(good).append(kEnd);
    const auto file = Parse(Header(1, 2, 480) + Track(contents) + Track(Raw("\x0B\x91\x01\x02")));
    ASSERT_TRUE(file);
    EXPECT_THAT(Texts(*file), ElementsAre("10/0 90 3C 64", "11/1 91 01 2"));
    EXPECT_EQ(file->last_tick(), 11u) << "a delta before the damage does not count";
  }
  EXPECT_THAT(EventsOf(Raw("\0\x3C\x40\0\x90\x3C\x40")), IsEmpty()) << "no status to run on";
}

TEST(MidiFileTest, SkipsSystemCommonAndRealTimeBytes) {
  EXPECT_THAT(EventsOf(Raw("\x01\x90\x3C\x40"
                           "\x01\xF1\x11"
                           "\x01\xF2\x11\x12"
                           "\x01\xF3\x11"
                           "\x01\xF4\x01\xF5\x01\xF6"
                           "\x01\xF8\x01\xF9\x01\xFA\x01\xFB\x01\xFC\x01\xFD\x01\xFE"
                           "\x01\x3D\x41")),
              ElementsAre("1/0 90 3C 64", "15/0 90 3D 65"));
}

TEST(MidiFileTest, KeepsTemposThatCanBePlayed) {
  EXPECT_THAT(EventsOf(Raw("\0\xFF\x51\x03\x07\xA1\x20"
                           "\x01\xFF\x51\x03\0\0\0"        // would stand still
                           "\x01\xFF\x51\x02\x07\xA1"      // too short
                           "\x01\xFF\x51\0"                // empty
                           "\x01\xFF\x51\x04\0\0\x01\x55"  // too long
                           "\x01\xFF\x51\x03\xFF\xFF\xFF"  // the greatest
                           "\x01\xFF\x51\x03\x07\xA1")),   // cut off
              ElementsAre("0/0 FF 51 500000", "4/0 FF 51 1", "5/0 FF 51 16777215"));
}

TEST(MidiFileTest, LeavesOutMetaEventsThatNothingUses) {
  std::string contents;
  for (int type = 0; type < 0x80; ++type) {
    if (type == 0x2F) continue;
    contents += Raw("\0\xFF") + static_cast<char>(type) + Raw("\x03\x01\x02\x03");
  }
  EXPECT_THAT(EventsOf(contents + kEnd),
              ElementsAre("0/0 FF 01 0", "0/0 FF 05 8", "0/0 FF 51 66051", "0/0 FF 2F 0"));
}

TEST(MidiFileTest, TellsTrackNames) {
  const auto file =
      Parse(Header(1, 4, 480) + Track(Raw("\0\xFF\x03\x05Words\0\xFF\x03\x06Second") + kEnd) +
            Track(kEnd) + Track(Raw("\x0A\x90\x3C\x40\0\xFF\x03\x04\xE9\0 b")) +
            Track(Raw("\0\xFF\x03\0\0\xFF\x03\x01x")));
  ASSERT_TRUE(file);
  ASSERT_EQ(file->track_count(), 4u);
  EXPECT_EQ(file->track_name(0), "Words");
  EXPECT_EQ(file->track_name(1), "");
  EXPECT_EQ(file->track_name(2), Raw("\xE9\0 b"));
  EXPECT_EQ(file->track_name(3), "") << "the first one, though it is empty";
  EXPECT_THAT(Texts(*file), ElementsAre("0/0 FF 2F 0", "0/1 FF 2F 0", "10/2 90 3C 64"));
}

TEST(MidiFileTest, EndOfTrackEndsTheTrack) {
  const auto file = Parse(OneTrack(Raw("\0\x90\x3C\x40\x64\xFF\x2F\0\0\x90\x3D\x40")));
  ASSERT_TRUE(file);
  EXPECT_THAT(Texts(*file), ElementsAre("0/0 90 3C 64", "100/0 FF 2F 0"));
  EXPECT_EQ(file->last_tick(), 100u);
}

TEST(MidiFileTest, LastTickIsTheLastKeptEventOfAnyTrack) {
  const auto file = Parse(Header(1, 3, 480) + Track(Raw("\x32\xFF\x2F\0")) +
                          Track(Raw("\x64\x90\x3C\x40\x0A\xFF\x58\x04\x04\x02\x18\x08")) +
                          Track(Raw("\x0A\x90\x3C\x40\x7F")));
  ASSERT_TRUE(file);
  EXPECT_EQ(file->last_tick(), 100u);
}

TEST(MidiFileTest, DeltasSaturate) {
  const std::string long_delta = Raw("\xFF\xFF\xFF\x7F");  // 2^28 - 1
  std::string contents;
  for (int i = 0; i < 9; ++i) contents += long_delta + Raw("\xC0\x01");
  auto file = Parse(OneTrack(contents + Raw("\0\xC0\x02\x01\xC0\x03")));
  ASSERT_TRUE(file);
  ASSERT_THAT(file->events(), SizeIs(11));
  EXPECT_EQ(file->events()[7].tick, 8u * 0x0FFFFFFF);
  for (std::size_t i = 8; i < 11; ++i) EXPECT_EQ(file->events()[i].tick, MidiFile::kMaxTick);
  EXPECT_EQ(file->events()[10].data1, 3);
  EXPECT_EQ(file->last_tick(), MidiFile::kMaxTick);

  // Numbers of more than four bytes: leading zeros count nothing, too much is the maximum.
  EXPECT_THAT(EventsOf(Raw("\x80\x80\x80\x80\x80\x05\xC0\x01")), ElementsAre("5/0 C0 01 0"));
  EXPECT_THAT(EventsOf(std::string(5000, '\xFF') + Raw("\x7F\xC0\x01")),
              ElementsAre("2147483647/0 C0 01 0"));
  EXPECT_THAT(EventsOf(Raw("\x88\x80\x80\x80\0\xC0\x01")), ElementsAre("2147483647/0 C0 01 0"));
  EXPECT_THAT(EventsOf(Raw("\x90\x80\x80\x80\x01\xC0\x01")), ElementsAre("2147483647/0 C0 01 0"));
  EXPECT_THAT(EventsOf(Raw("\x87\xFF\xFF\xFF\x7E\xC0\x01")), ElementsAre("2147483646/0 C0 01 0"));
}

TEST(MidiFileTest, DataAreCutAtTheEndOfTheirTrack) {
  const auto file = Parse(Header(1, 4, 480) + Track(Raw("\0\xFF\x05\x0ALyric")) +
                          Track(Raw("\0\xF0\xFF\xFF\xFF\xFF\xFF\xFF\x7F\x7E\x7F")) +
                          Track(Raw("\0\xFF\x03\x09Name")) + Track(Raw("\0\xFF\x01\x01")));
  ASSERT_TRUE(file);
  EXPECT_THAT(DataOf(*file), ElementsAre("Lyric", Raw("\x7E\x7F"), ""));
  EXPECT_EQ(file->track_name(2), "Name");
}

TEST(MidiFileTest, EveryTruncationKeepsTheEventsBefore) {
  const std::string song =
      OneTrack(Raw("\0\xFF\x51\x03\x07\xA1\x20\x81\0\x90\x3C\x40\x0A\x3C\0\0\xF0\x02\x7E\xF7"
                   "\0\xFF\x05\x02la\0\xE1\x01\x02") +
               kEnd);
  const std::vector<std::string> all = Texts(*Parse(song));
  ASSERT_THAT(all, SizeIs(7));
  for (std::size_t size = 0; size < song.size(); ++size) {
    const auto file = Parse(song.substr(0, size));
    ASSERT_EQ(file != nullptr, size >= 22) << size;
    if (!file) continue;
    const std::vector<std::string> events = Texts(*file);
    ASSERT_LE(events.size(), all.size()) << size;
    EXPECT_TRUE(std::equal(events.begin(), events.end(), all.begin())) << size;
    // The last one is whole without its last byte, a length of 0.
    if (size == song.size() - 1) {
      EXPECT_EQ(events.size(), all.size());
    }
  }
}

TEST(MidiFileTest, ChunkLengthsThatLieCostNoEvents) {
  const std::string a = Raw("\0\x90\x3C\x40\0\xFF\x05\x04 la ") + kEnd;
  const std::string b = Raw("\0\x91\x3D\x41") + kEnd;
  const auto track = [](std::uint64_t length, const std::string& contents) {
    return "MTrk" + BigEndian(length, 4) + contents;
  };
  const std::vector<std::uint64_t> lengths = {
      0, 1, 2, 3, 4, 9, 10, a.size() - 1, a.size() + 1, a.size() + 9, 0x7FFFFFFF, 0xFFFFFFFF};
  for (const std::uint64_t length : lengths) {
    const auto file = Parse(Header(1, 2, 480) + track(length, a) + track(length, b));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->track_count(), 2u) << length;
    EXPECT_THAT(Texts(*file), ElementsAre("0/0 90 3C 64", "0/0 FF 05 0", "0/0 FF 2F 0",
                                          "0/1 91 3D 65", "0/1 FF 2F 0"))
        << length;
  }
}

TEST(MidiFileTest, SkipsUnknownChunksAndBytesBetweenChunks) {
  const std::string a = Track(Raw("\0\x90\x3C\x40") + kEnd);
  const std::string b = Track(Raw("\0\x91\x3D\x41") + kEnd);
  const std::string hidden = Chunk("XFIH", Track(Raw("\0\x92\x01\x01")));
  const std::vector<std::string> bodies = {
      a + b,
      hidden + a + hidden + b + hidden,
      a + Raw("\0") + b + Raw("\0"),
      Raw("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF") + a + std::string(100, '\0') + b,
      a + b + "trailing text that is no chunk",
      a + b + "XFIH" + BigEndian(0xFFFFFFFF, 4),
  };
  for (const std::string& body : bodies) {
    const auto file = Parse(Header(1, 2, 480) + body);
    ASSERT_TRUE(file);
    EXPECT_THAT(Texts(*file),
                ElementsAre("0/0 90 3C 64", "0/0 FF 2F 0", "0/1 91 3D 65", "0/1 FF 2F 0"));
  }
}

TEST(MidiFileTest, ReadsTheTracksThatAreThere) {
  for (const int told : {0, 1, 2, 3, 65535}) {
    const auto file = Parse(Header(1, told, 480) + Track(kEnd) + Track(kEnd));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->track_count(), 2u);
  }
}

TEST(MidiFileTest, EmptyTracksAreTracks) {
  const auto file = Parse(Header(1, 3, 480) + Track("") + Track("") + Track(kEnd));
  ASSERT_TRUE(file);
  EXPECT_EQ(file->track_count(), 3u);
  EXPECT_THAT(Texts(*file), ElementsAre("0/2 FF 2F 0"));
  const auto empty = Parse(Header(0, 1, 480) + Track(""));
  ASSERT_TRUE(empty);
  EXPECT_THAT(empty->events(), IsEmpty());
  EXPECT_EQ(empty->last_tick(), 0u);
}

TEST(MidiFileTest, HeaderMayBeLongerThanSixBytes) {
  const std::string values = BigEndian(1, 2) + BigEndian(1, 2) + BigEndian(480, 2);
  const std::string track = Track(Raw("\0\x90\x3C\x40"));
  EXPECT_TRUE(Parse(Chunk("MThd", values + "more") + track));
  // Lengths that lie.
  for (const std::uint64_t length : {0ull, 4ull, 7ull, 5000ull, 0xFFFFFFFFull}) {
    std::string song = "MThd";
    song.append(BigEndian(length, 4)).append(values).append(track);
    const auto file = Parse(song);
    ASSERT_TRUE(file) << length;
    EXPECT_THAT(Texts(*file), ElementsAre("0/0 90 3C 64")) << length;
  }
}

TEST(MidiFileTest, HeaderIsFoundBehindAKilobyteOfJunk) {
  const std::string song = OneTrack(Raw("\0\x90\x3C\x40"));
  EXPECT_TRUE(Parse(std::string(1, '\0') + song));
  EXPECT_TRUE(Parse(std::string(1024, 'M') + song));
  EXPECT_FALSE(Parse(std::string(1025, 'M') + song));
}

TEST(MidiFileTest, FailsWhereNothingCanBePlayed) {
  EXPECT_FALSE(MidiFile::Parse({}));
  EXPECT_FALSE(Parse("MThd"));
  EXPECT_FALSE(Parse("not a song at all"));
  EXPECT_FALSE(Parse(Header(1, 1, 480)));
  EXPECT_FALSE(Parse(Header(1, 1, 480) + Chunk("XFIH", kEnd)));
  EXPECT_FALSE(Parse(Track(kEnd)));
  for (const int division : {0, 0x8000, 0xFFFF, 0xE700, 0xE401}) {
    EXPECT_FALSE(Parse(Header(1, 1, division) + Track(kEnd))) << division;
  }
}

TEST(MidiFileTest, ReadsEveryFormat) {
  for (const int format : {0, 1, 2, 3, 65535}) {
    const auto file = Parse(Header(format, 2, 480) + Track(Raw("\x0A\x90\x3C\x40")) +
                            Track(Raw("\0\x91\x3C\x40")));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->format(), format);
    EXPECT_THAT(Texts(*file), ElementsAre("0/1 91 3C 64", "10/0 90 3C 64"));
  }
}

std::string Repeat(std::size_t count, const std::string& text) {
  std::string repeated;
  repeated.reserve(count * text.size());
  for (std::size_t i = 0; i < count; ++i) repeated += text;
  return repeated;
}

TEST(MidiFileTest, ManyTracksMergeFast) {
  constexpr std::size_t kTracks = 65536;
  const auto begin = std::chrono::steady_clock::now();
  const auto file = Parse(Header(1, 65535, 480) +
                          Repeat(kTracks + 1, Track(Raw("\x01\x90\x3C\x40\x05\x3C\0") + kEnd)));
  ASSERT_TRUE(file);
  EXPECT_EQ(file->track_count(), kTracks) << "as many as a track number can tell";
  ASSERT_EQ(file->events().size(), 3 * kTracks);
  for (std::size_t i = 0; i < kTracks; ++i) {
    ASSERT_EQ(file->events()[i].tick, 1u);
    ASSERT_EQ(file->events()[i].track, i);
    ASSERT_EQ(file->events()[kTracks + 2 * i].value, 0u);
    ASSERT_EQ(file->events()[kTracks + 2 * i + 1].data1, 0x2F);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

/// Bytes that the events and data of a file take.
std::pair<std::size_t, std::size_t> Sizes(const MidiFile& file) {
  std::size_t data = 0;
  for (const MidiEvent& event : file.events()) {
    if (file.Data(event).data()) data += file.Data(event).size() + 5;
  }
  return {file.events().size() * sizeof(MidiEvent), data};
}

TEST(MidiFileTest, MemoryStaysInProportion) {
  if (!HeapWatch::IsAvailable()) GTEST_SKIP() << "the sanitizer has its own heap";
  constexpr std::size_t kSize = 8'000'000;
  // The smallest forms of everything that is kept.
  for (const std::string& smallest :
       {Raw("\x01\x05"), Raw("\0\xF0\0"), Raw("\0\xFF\x05\0"), Raw("\0\xFF\x51\x03\0\0\x01")}) {
    for (const std::size_t tracks : {1u, 2u}) {  // two have to be merged
      const std::string song =
          Header(1, 2, 480) +
          Repeat(tracks,
                 Track(Raw("\x01\xC0\x05") + Repeat(kSize / tracks / smallest.size(), smallest)));
      const std::vector<std::uint8_t> bytes(song.begin(), song.end());
      const HeapWatch watch;
      const auto file = MidiFile::Parse(bytes);
      const std::size_t peak = watch.peak();
      ASSERT_TRUE(file);
      const auto [events, data] = Sizes(*file);
      EXPECT_GE(events, kSize / tracks / smallest.size() * tracks * sizeof(MidiEvent));
      EXPECT_GE(peak, events + data);
      EXPECT_LE(peak, tracks * events + data + 1000) << "as much again while merging";
      EXPECT_LT(peak, 20 * bytes.size());
    }
  }
  for (const std::string& smallest : {Track(""), Chunk("XFIH", ""), Raw("MTrk"), Raw("\x80")}) {
    const std::string song = Header(1, 2, 480) + Repeat(kSize / smallest.size(), smallest);
    const std::vector<std::uint8_t> bytes(song.begin(), song.end());
    const HeapWatch watch;
    const auto file = MidiFile::Parse(bytes);
    EXPECT_LT(watch.peak(), 16'000'000u);
  }
}

TEST(MidiFileTest, DamagedSongsStayInOrder) {
  const std::string song =
      Header(1, 2, 480) +
      Track(
          Raw("\0\xFF\x51\x03\x07\xA1\x20\0\xFF\x03\x04Name\x0A\xFF\x05\x02la\x0A\xFF\x05\x02le") +
          kEnd) +
      Track(Raw("\0\xF0\x05\x7E\x7F\x09\x01\xF7\x0A\x90\x3C\x40\x0A\x3C\0\0\xC0\x05") + kEnd);
  std::mt19937 random(1);
  const auto below = [&random](std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
  };
  int loaded = 0;
  for (int i = 0; i < 20000; ++i) {
    std::string damaged = song;
    for (std::size_t j = below(4); j < 4; ++j) {
      damaged[below(damaged.size())] = static_cast<char>(below(256));
    }
    const auto file = Parse(damaged);
    if (!file) continue;
    ++loaded;
    std::uint32_t last = 0;
    for (const MidiEvent& event : file->events()) {
      ASSERT_GE(event.tick, last);
      ASSERT_LT(event.track, file->track_count());
      ASSERT_GE(event.status, 0x80);
      ASSERT_LT(event.data1, 0x80);
      ASSERT_LE(file->Data(event).size(), damaged.size());
      last = event.tick;
    }
    ASSERT_EQ(file->last_tick(), last);
  }
  EXPECT_GT(loaded, 10000);
}

TEST(MidiFileParse, RefusesMoreEventsThanMusicHas) {
  const std::size_t notes = MidiFile::kMostEvents - 1;  // and the end of the track
  std::string events = Raw("\0\x90\x3C");
  for (std::size_t note = 1; note < notes; ++note) events += Raw("\x40\0\x3C");
  events += '\x40';
  const auto file = Parse(OneTrack(events + kEnd));
  ASSERT_TRUE(file);
  EXPECT_THAT(file->events(), SizeIs(MidiFile::kMostEvents));
  EXPECT_FALSE(Parse(OneTrack(events + Raw("\0\x3C\x40") + kEnd)));
}

}  // namespace
}  // namespace vexolo::engine
