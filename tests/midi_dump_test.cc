// layer: core
#include "lyrics/midi_dump.h"

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

std::string Bytes(std::initializer_list<int> bytes) {
  std::string text;
  for (const int byte : bytes) text += static_cast<char>(byte);
  return text;
}

std::string Number(std::uint32_t value) {
  return Bytes({static_cast<int>(value >> 24), static_cast<int>(value >> 16 & 255),
                static_cast<int>(value >> 8 & 255), static_cast<int>(value & 255)});
}

std::string Chunk(const std::string& id, const std::string& data) {
  return id + Number(static_cast<std::uint32_t>(data.size())) + data;
}

const std::string kHeader = "MThd" + Number(6) + Bytes({0, 1, 0, 2, 0, 96});

std::vector<std::string> Dump(const std::string& file) {
  std::vector<std::string> lines;
  DumpMidiBytes(file, [&lines](std::string_view text) { lines.emplace_back(text); });
  return lines;
}

/// The lines of the events of one track, without the ones around them.
std::vector<std::string> Events(const std::string& data) {
  const std::vector<std::string> all = Dump(kHeader + Chunk("MTrk", data));
  EXPECT_EQ("MTrk Chunk", all.at(3));
  EXPECT_EQ("\r\nTrack1", all.at(4));
  EXPECT_EQ("==[ End of MTrk Chunk ]==", all.at(all.size() - 3));
  return {all.begin() + 5, all.end() - 3};
}

/// What one event that follows a delta of 0 is listed as.
std::vector<std::string> Event(std::initializer_list<int> bytes) {
  std::vector<std::string> lines = Events(Bytes({0}) + Bytes(bytes));
  EXPECT_EQ("\xA7Tick=0", lines.at(0));
  lines.erase(lines.begin());
  return lines;
}

// ---- Readers

TEST(MidiBytes, NumbersAreBigEndian) {
  const std::string bytes = Bytes({1, 1, 2, 1, 2, 3, 1, 2, 3, 4, 0x81, 0x00, 0x7F});
  MidiBytes in(bytes);
  EXPECT_EQ(1u, in.ReadByte());
  EXPECT_EQ(0x0102u, in.ReadWord());
  EXPECT_EQ(0x010203u, in.Read3());
  EXPECT_EQ(0x01020304u, in.ReadDWord());
  EXPECT_EQ(128u, in.ReadVarLen());
  EXPECT_EQ(127u, in.ReadVarLen());
  EXPECT_EQ(bytes.size(), in.cursor());
}

TEST(MidiBytes, NothingIsReadBeyondTheLimit) {
  MidiBytes in("abcdef");
  in.set_limit(3);
  EXPECT_EQ("ab", in.ReadString(2));
  EXPECT_THROW(in.ReadString(2), MidiPastEnd);
  EXPECT_EQ("c", in.ReadString(1));
  EXPECT_THROW(in.ReadByte(), MidiPastEnd);
  in.MoveTo(5);
  EXPECT_THROW(in.ReadString(0), MidiPastEnd);
}

// ---- Header and chunks

TEST(MidiDump, HeaderIsListedWithoutSpaceAfterFormat) {
  EXPECT_THAT(Dump(kHeader), ElementsAre("Format1", "2 track(s)", "96 Ticks / Noire",
                                         "====[ End of file ]====", ""));
}

TEST(MidiDump, FormatZeroHasOneTrack) {
  const auto header =
      DumpMidiBytes("MThd" + Number(6) + Bytes({0, 0, 0, 5, 1, 0}), [](std::string_view) {});
  ASSERT_TRUE(header);
  EXPECT_EQ(0u, header->format);
  EXPECT_EQ(1u, header->tracks);
  EXPECT_EQ(256u, header->division);
}

TEST(MidiDump, HeaderOfAnotherLengthOrIdOrCutShortListsNothing) {
  EXPECT_THAT(Dump("MThd" + Number(8) + std::string(8, '\0')), IsEmpty());
  EXPECT_THAT(Dump("RIFF" + Number(6) + std::string(6, '\0')), IsEmpty());
  for (std::size_t length = 0; length < kHeader.size(); ++length) {
    EXPECT_THAT(Dump(kHeader.substr(0, length)), IsEmpty()) << length;
  }
}

TEST(MidiDump, UnknownChunkIsListedAndSkipped) {
  const auto lines = Dump(kHeader + Chunk("XFIH", "abc") + Chunk("MTrk", ""));
  EXPECT_THAT(
      std::vector<std::string>(lines.begin() + 3, lines.end()),
      ElementsAre("XFIH Chunk", "Unknown XFIH Chunk", "==[ End of XFIH Chunk ]==", "MTrk Chunk",
                  "\r\nTrack1", "==[ End of MTrk Chunk ]==", "====[ End of file ]====", ""));
}

TEST(MidiDump, TracksAreCountedAndEachStartsAtTickZeroWithoutRunningStatus) {
  const auto lines =
      Dump(kHeader + Chunk("MTrk", Bytes({5, 0xC0, 1})) + Chunk("MTrk", Bytes({3, 7})));
  EXPECT_THAT(std::vector<std::string>(lines.begin() + 3, lines.end()),
              ElementsAre("MTrk Chunk", "\r\nTrack1", "\xA7Tick=5", "Chan0\tProgram1",
                          "==[ End of MTrk Chunk ]==", "MTrk Chunk", "\r\nTrack2", "\xA7Tick=3",
                          "Error on Running Status", "Goto TrackEnd",
                          "==[ End of MTrk Chunk ]==", "====[ End of file ]====", ""));
}

TEST(MidiDump, ChunkLengthPastTheEndIsReportedAndTheChunkIsCut) {
  const auto lines = Dump(kHeader + "MTrk" + Number(0xFFFFFFFF) + Bytes({0, 0xC0, 1}));
  EXPECT_THAT(
      std::vector<std::string>(lines.begin() + 3, lines.end()),
      ElementsAre("MTrk Chunk", "Incorrect length : 4294967295", "\r\nTrack1", "\xA7Tick=0",
                  "Chan0\tProgram1", "==[ End of MTrk Chunk ]==", "====[ End of file ]====", ""));
}

TEST(MidiDump, RestTooShortForAChunkEndsTheFile) {
  const auto lines = Dump(kHeader + "MTrk" + Bytes({0, 0}));
  EXPECT_THAT(std::vector<std::string>(lines.begin() + 3, lines.end()),
              ElementsAre("====[ End of file ]====", ""));
}

// ---- Events

TEST(MidiDump, TicksAddUp) {
  EXPECT_THAT(Events(Bytes({0x81, 0x00, 0xC1, 4, 10, 5})),
              ElementsAre("\xA7Tick=128", "Chan1\tProgram4", "\xA7Tick=138", "Chan1\tProgram5"));
}

TEST(MidiDump, ChannelEvents) {
  EXPECT_THAT(Event({0x83, 60, 64}), ElementsAre("Chan3\tNote60\tOFF"));
  EXPECT_THAT(Event({0x9F, 60, 100}), ElementsAre("Chan15\tNote60\tON Vel100"));
  EXPECT_THAT(Event({0x90, 60, 0}), ElementsAre("Chan0\tNote60\tOFF"));
  EXPECT_THAT(Event({0xA2, 60, 5}), ElementsAre("Chan2\tNote60\tAfterTouch5"));
  EXPECT_THAT(Event({0xB9, 7, 127}), ElementsAre("Chan9\tCC#7\t=127"));
  EXPECT_THAT(Event({0xC4, 33}), ElementsAre("Chan4\tProgram33"));
  EXPECT_THAT(Event({0xD4, 12}), ElementsAre("Chan4\tAfterTouch12"));
  EXPECT_THAT(Event({0xE0, 3, 64}), ElementsAre("Chan0\tPitch Wheel8195"));
}

TEST(MidiDump, DataByteAbove127GivesUpTheTrack) {
  EXPECT_THAT(Event({0x90, 60, 128, 0, 0xC0, 1}), ElementsAre("Goto TrackEnd"));
  EXPECT_THAT(Event({0x90, 200, 1}), ElementsAre("Goto TrackEnd"));
  EXPECT_THAT(Event({0xC0, 255}), ElementsAre("Goto TrackEnd"));
  EXPECT_THAT(Event({0xF2, 1, 200}), ElementsAre("Goto TrackEnd"));
}

TEST(MidiDump, EventCutByTheChunkGivesUpTheTrack) {
  EXPECT_THAT(Event({0x90, 60}), ElementsAre("Goto TrackEnd"));
  EXPECT_THAT(Events(Bytes({0x81})), ElementsAre("Goto TrackEnd"));
  EXPECT_THAT(Event({0xFF}), ElementsAre("Goto TrackEnd"));
  EXPECT_THAT(Event({0xF0, 1, 2}), ElementsAre("Goto TrackEnd"));
}

TEST(MidiDump, TheNextChunkIsNotReadByATrackThatIsCut) {
  const auto lines = Dump(kHeader + Chunk("MTrk", Bytes({0, 0x90, 60})) + Chunk("MTrk", ""));
  EXPECT_THAT(std::vector<std::string>(lines.begin() + 6, lines.begin() + 9),
              ElementsAre("Goto TrackEnd", "==[ End of MTrk Chunk ]==", "MTrk Chunk"));
}

TEST(MidiDump, RunningStatusRepeatsTheLastChannelStatus) {
  EXPECT_THAT(Event({0x90, 60, 100, 10, 60, 0}),
              ElementsAre("Chan0\tNote60\tON Vel100", "\xA7Tick=10", "Chan0\tNote60\tOFF"));
}

TEST(MidiDump, RunningStatusAfterAMetaEventIsAnError) {
  EXPECT_THAT(Event({0x90, 60, 100, 0, 0xFF, 0x01, 1, 'a', 0, 60, 0}),
              ElementsAre("Chan0\tNote60\tON Vel100", "\xA7Tick=0", "Text \"a\"", "\xA7Tick=0",
                          "Error on Running Status", "Goto TrackEnd"));
}

TEST(MidiDump, SystemEvents) {
  EXPECT_THAT(Event({0xF1, 5}), ElementsAre("Time Code5"));
  EXPECT_THAT(Event({0xF2, 1, 2}), ElementsAre("Song Position Pointer258"));
  EXPECT_THAT(Event({0xF3, 9}), ElementsAre("Song Select9"));
  EXPECT_THAT(Event({0xF4}), ElementsAre("F4 ???"));
  EXPECT_THAT(Event({0xF5}), ElementsAre("F5 ???"));
  EXPECT_THAT(Event({0xF6}), ElementsAre("Tune Request"));
  EXPECT_THAT(Event({0xF7}), ElementsAre("EOX"));
  for (int status = 0xF8; status <= 0xFE; ++status) EXPECT_THAT(Event({status}), IsEmpty());
}

TEST(MidiDump, SystemExclusiveRunsToItsEndAndItsStoredLengthIsPartOfIt) {
  EXPECT_THAT(Event({0xF0, 4, 0x7E, 0x7F, 0x41, 0xF7}),
              ElementsAre("SysEx\t(6)",
                          "F0 04 7E 7F 41 F7                                \xF0 ~\x7F"
                          "A\xF7"));
}

TEST(MidiDump, SystemExclusiveEndedByAStatusLeavesThatStatusToTheNextEvent) {
  // The byte left over is read as the next delta, as it stands.
  EXPECT_THAT(Event({0xF0, 1, 0x81, 0x00, 0xC0, 1}),
              ElementsAre("SysEx\t(2)", "F0 01                                            \xF0 ",
                          "\xA7Tick=128", "Chan0\tProgram1"));
}

// ---- Meta events

TEST(MidiDump, TextMetaEvents) {
  const char* const kLabels[] = {"Text",  "Copyright", "Track Name", "Instrument Name",
                                 "Lyric", "Marker",    "CuePoint"};
  for (int type = 1; type <= 7; ++type) {
    EXPECT_THAT(Event({0xFF, type, 3, 'a', '\xE9', 'c'}),
                ElementsAre(std::string(kLabels[type - 1]) + " \"a\xE9"
                                                             "c\""));
  }
  EXPECT_THAT(Event({0xFF, 5, 0}), ElementsAre("Lyric \"\""));
}

TEST(MidiDump, NumberMetaEvents) {
  EXPECT_THAT(Event({0xFF, 0x00, 2, 1, 2}), ElementsAre("Sequence #258"));
  EXPECT_THAT(Event({0xFF, 0x20, 1, 9}), ElementsAre("MidiChannel =9"));
  EXPECT_THAT(Event({0xFF, 0x21, 1, 200}), ElementsAre("MidiPort =200"));
  EXPECT_THAT(Event({0xFF, 0x51, 3, 7, 0xA1, 0x20}), ElementsAre("Tempo =500000"));
  EXPECT_THAT(Event({0xFF, 0x54, 5, 97, 2, 3, 4, 50}), ElementsAre("SMPTE = 97:02:03.04 50"));
}

TEST(MidiDump, TrackEndNeedsNoLengthAndReadsNoData) {
  EXPECT_THAT(Event({0xFF, 0x2F, 0}), ElementsAre("Track End"));
  EXPECT_THAT(Event({0xFF, 0x2F, 9, 0, 0xC0, 1}),
              ElementsAre("Track End", "\xA7Tick=0", "Chan0\tProgram1"));
}

TEST(MidiDump, SixEightPrintsSixThenNineThenTheRestRunTogether) {
  EXPECT_THAT(Event({0xFF, 0x58, 4, 6, 3, 24, 8}),
              ElementsAre("Time Signature =6 /9  Metronome =248"));
}

TEST(MidiDump, KeySignatureTakes128OffAbove63) {
  EXPECT_THAT(Event({0xFF, 0x59, 2, 2, 1}), ElementsAre("Key Signature =2 Mineur =1"));
  EXPECT_THAT(Event({0xFF, 0x59, 2, 63, 0}), ElementsAre("Key Signature =63 Mineur =0"));
  EXPECT_THAT(Event({0xFF, 0x59, 2, 64, 0}), ElementsAre("Key Signature =-64 Mineur =0"));
  EXPECT_THAT(Event({0xFF, 0x59, 2, 254, 0}), ElementsAre("Key Signature =126 Mineur =0"));
}

TEST(MidiDump, SpecificAndUnknownMetaEventsAreDumped) {
  EXPECT_THAT(Event({0xFF, 0x7F, 2, 'A', 31}),
              ElementsAre("Specific (2 )", "41 1F                                            A "));
  EXPECT_THAT(
      Event({0xFF, 0x60, 1, 'B'}),
      ElementsAre("Unknown Meta Event96", "42                                               B"));
  EXPECT_THAT(Event({0xFF, 0x60, 0}), ElementsAre("Unknown Meta Event96"));
}

TEST(MidiDump, RequiredLengthThatDoesNotMatchGivesUpTheTrack) {
  const struct {
    int type, length;
  } kRequired[] = {{0x00, 2}, {0x20, 1}, {0x21, 1}, {0x51, 3}, {0x54, 5}, {0x58, 4}, {0x59, 2}};
  for (const auto& required : kRequired) {
    for (const int length : {required.length - 1, required.length + 1}) {
      EXPECT_THAT(Event({0xFF, required.type, length, 0, 0, 0, 0, 0, 0}),
                  ElementsAre("Goto TrackEnd"));
    }
  }
}

TEST(MidiDump, MetaTextLongerThanTheChunkIsCut) {
  EXPECT_THAT(Event({0xFF, 0x01, 200, 'a', 'b'}), ElementsAre("Text \"ab\""));
}

TEST(MidiDump, MetaTextLongerThan255BytesIsMisread) {
  // Length 0x82 0x00 (256) is read as 130: the second byte of the length counts as text.
  std::string data = Bytes({0, 0xFF, 1, 0x82, 0x00}) + std::string(129, 'a');
  data += Bytes({0, 0xC0, 1});
  EXPECT_THAT(
      Events(data),
      ElementsAre("\xA7Tick=0", "Text \"" + std::string(1, '\0') + std::string(129, 'a') + "\"",
                  "\xA7Tick=0", "Chan0\tProgram1"));
}

TEST(MidiDump, HexLinesHoldSixteenBytesAndHideControlCharactersAnd255) {
  std::string data = Bytes({0, 0xFF, 0x7F, 18});
  for (int i = 0; i < 16; ++i) data += static_cast<char>(i < 8 ? i + 28 : i + 240);
  data += "yz";
  const auto lines = Events(data);
  EXPECT_THAT(lines, ElementsAre("\xA7Tick=0", "Specific (18 )",
                                 "1C 1D 1E 1F 20 21 22 23 F8 F9 FA FB FC FD FE FF "
                                 "      !\"#\xF8\xF9\xFA\xFB\xFC\xFD\xFE ",
                                 "79 7A " + std::string(42, ' ') + " yz"));
}

// ---- Style chunk

std::string Ctab(const std::string& rest) {
  return Chunk("Ctab", Bytes({3}) + "Strings " + Bytes({11}) + rest);
}

TEST(MidiDump, StyleChunkListsItsSectionsAndParts) {
  const std::string casm =
      Chunk("CASM", Chunk("CSEG", Chunk("Sdec", "Main A") + Ctab("xy") + Chunk("Cntt", "Q")) +
                        Chunk("ABCD", "Z"));
  const auto lines = Dump(kHeader + casm);
  const std::vector<std::string> expected = {
      "CASM Chunk",
      "CSEG CASM Section",
      "CASM Sdec Section",
      "Sdec\t\"Main A\"",
      "CASM Ctab Section",
      "Ctab\tChannel=3\tDestination Channel=11\t\"Strings \"",
      "78 79 " + std::string(42, ' ') + " xy",
      "CASM Cntt Section",
      "Unknown Cntt section (1)",
      "51 " + std::string(45, ' ') + " Q",
      "ABCD CASM Section",
      "Unknown ABCD section (1)",
      "5A " + std::string(45, ' ') + " Z",
      "==[ End of CASM Chunk ]==",
      "====[ End of file ]====",
      ""};
  EXPECT_THAT(std::vector<std::string>(lines.begin() + 3, lines.end()), ElementsAreArray(expected));
}

TEST(MidiDump, StyleLengthsAreCutAtWhatEnclosesThem) {
  const std::string part = "Sdec" + Number(0xFFFFFFFF) + "abc";
  const std::string section = "CSEG" + Number(static_cast<std::uint32_t>(part.size())) + part;
  const auto lines = Dump(kHeader + Chunk("CASM", section) + Chunk("JUNK", "tail"));
  EXPECT_THAT(std::vector<std::string>(lines.begin() + 4, lines.begin() + 8),
              ElementsAre("CSEG CASM Section", "CASM Sdec Section", "Sdec\t\"abc\"",
                          "==[ End of CASM Chunk ]=="));
}

TEST(MidiDump, StyleChunkThatEndsInAHeaderOrARecordIsGivenUp) {
  for (const std::string& data :
       {std::string("CSE"), "CSEG" + Number(20) + "Sd", "CSEG" + Number(20) + "Ctab" + Number(9)}) {
    const auto lines = Dump(kHeader + Chunk("CASM", data) + Chunk("JUNK", "tail"));
    ASSERT_GE(lines.size(), 6u);
    EXPECT_THAT(std::vector<std::string>(lines.end() - 6, lines.end() - 2),
                ElementsAre("==[ End of CASM Chunk ]==", "JUNK Chunk", "Unknown JUNK Chunk",
                            "==[ End of JUNK Chunk ]=="));
  }
}

// ---- Listing files

class MidiDumpFileTest : public ::testing::Test {
 protected:
  TemporaryFolder folder_;
  MidiDump dump_{true};
};

TEST_F(MidiDumpFileTest, ListingStandsBesideTheSongWithTxtAfterTheWholeName) {
  const std::string path =
      folder_.Write("song.kar", kHeader + Chunk("MTrk", Bytes({0, 0xFF, 5, 2, '\xE9', 'a'})));
  dump_.MidiFileDump(path);
  EXPECT_FALSE(dump_.listing_open());
  EXPECT_EQ(path +
                "\r\nFormat1\r\n2 track(s)\r\n96 Ticks / Noire\r\nMTrk Chunk\r\n\r\nTrack1\r\n"
                "\tTick=0\r\nLyric \"\xE9"
                "a\"\r\n==[ End of MTrk Chunk ]==\r\n"
                "====[ End of file ]====\r\n",
            folder_.Read("song.kar.txt"));
}

TEST_F(MidiDumpFileTest, BadHeaderLeavesOnlyThePathLineAndTheListingOpenUntilTheNextDump) {
  const std::string bad = folder_.Write("bad.mid", "MThd" + Number(7) + "1234567");
  const std::string good = folder_.Write("good.mid", kHeader);
  dump_.MidiFileDump(bad);
  EXPECT_TRUE(dump_.listing_open());
  dump_.MidiFileDump(good);
  EXPECT_FALSE(dump_.listing_open());
  EXPECT_EQ(bad + "\r\n", folder_.Read("bad.mid.txt"));
  EXPECT_TRUE(folder_.Read("good.mid.txt").ends_with("====[ End of file ]====\r\n"));
}

TEST_F(MidiDumpFileTest, MissingOrEmptySongWritesOnlyThePathLine) {
  const std::string empty = folder_.Write("empty.mid", "");
  dump_.MidiFileDump(empty);
  dump_.MidiFileDump(folder_ / "missing.mid");
  dump_.DumpLine("");
  EXPECT_EQ(empty + "\r\n", folder_.Read("empty.mid.txt"));
  EXPECT_EQ((folder_ / "missing.mid") + "\r\n", folder_.Read("missing.mid.txt"));
}

TEST_F(MidiDumpFileTest, NothingIsWrittenUnlessEnabled) {
  MidiDump off(false);
  off.MidiFileDump(folder_.Write("song.mid", kHeader));
  EXPECT_EQ(1u, folder_.CountEntries());
}

TEST_F(MidiDumpFileTest, AnOlderListingIsReplaced) {
  const std::string path = folder_.Write("song.mid", kHeader);
  folder_.Write("song.mid.txt", std::string(5000, 'x'));
  dump_.MidiFileDump(path);
  EXPECT_EQ(path + "\r\nFormat1\r\n2 track(s)\r\n96 Ticks / Noire\r\n====[ End of file ]====\r\n",
            folder_.Read("song.mid.txt"));
}

TEST_F(MidiDumpFileTest, ListingThatCannotBeMadeIsLeftOut) {
  const std::string path = folder_.Write("song.mid", kHeader);
  std::filesystem::create_directory(path + ".txt");
  dump_.MidiFileDump(path);
  EXPECT_FALSE(dump_.listing_open());
  EXPECT_EQ(2u, folder_.CountEntries());
  dump_.MidiFileDump(folder_.Write("next.mid", kHeader));
  EXPECT_TRUE(folder_.Read("next.mid.txt").ends_with("====[ End of file ]====\r\n"));
}

TEST_F(MidiDumpFileTest, OnlyALeadingMarkerBecomesATab) {
  dump_.DumpLine(folder_ / "a");
  dump_.DumpLine("\xA7x\xA7");
  dump_.DumpLine("y\xA7");
  dump_.DumpLine("");
  EXPECT_TRUE(folder_.Read("a.txt").ends_with("\r\n\tx\xA7\r\ny\xA7\r\n"));
}

TEST_F(MidiDumpFileTest, AccentsOfThePathAreWrittenInTheListingsCodePage) {
  const std::string path = folder_.Write("\xC3\xA9t\xC3\xA9.mid", kHeader);
  dump_.MidiFileDump(path);
  EXPECT_NE(std::string::npos,
            folder_.Read("\xC3\xA9t\xC3\xA9.mid.txt").find("/\xE9t\xE9.mid\r\n"));
}

TEST_F(MidiDumpFileTest, AnyStreamTakesTheSameListing) {
  const std::string path = folder_.Write("song.mid", kHeader + Chunk("MTrk", Bytes({0, 0xC0, 1})));
  dump_.MidiFileDump(path);
  std::ostringstream out;
  EXPECT_TRUE(DumpMidiFile(path, out));
  EXPECT_EQ(folder_.Read("song.mid.txt"), out.str());
  std::ostringstream nothing;
  EXPECT_FALSE(DumpMidiFile(folder_ / "missing", nothing));
  EXPECT_EQ((folder_ / "missing") + "\r\n", nothing.str());
}

}  // namespace
}  // namespace vexolo
