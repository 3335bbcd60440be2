// layer: core
#include "lyrics/lyric_scene.h"

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "audio/loader.h"
#include "fakes/fake_bass.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "support/heap_watch.h"

namespace vexolo {
namespace {

using ::testing::ElementsAre;

constexpr float kNear = 1e-4f;
constexpr float kWidth = 0.5f;  ///< of every character

GlyphTable EvenGlyphs() {
  GlyphTable glyphs;
  for (GlyphMetrics& glyph : glyphs) glyph.cell_increment_x = kWidth;
  glyphs['['].black_box_height = 0.9f;
  return glyphs;
}

void ExpectColour(const Rgb& colour, float red, float green, float blue, const std::string& what) {
  EXPECT_NEAR(red, colour.red, kNear) << what;
  EXPECT_NEAR(green, colour.green, kNear) << what;
  EXPECT_NEAR(blue, colour.blue, kNear) << what;
}

class LyricSceneTest : public ::testing::Test {
 protected:
  LyricSceneTest() { scene_.EffaceLyrics(); }

  /// A song whose syllables are 100 ticks apart, the first one at tick 100.
  void Load(const std::vector<std::string>& syllables) {
    FakeBass::Song song;
    song.track_names = {"", "words"};
    song.bytes_per_tick = 1;
    auto& marks = song.marks[bass::BASS_MIDI_MARK_LYRIC];
    for (const std::string& text : syllables) {
      marks.push_back({1, static_cast<bass::DWORD>(100 * (marks.size() + 1)), text});
    }
    song.length = 100 * (marks.size() + 2);
    model_.ResetForSong();
    model_.InitLyrics(bass_.AddStream(song), true);
  }

  const LyricFrame& Frame(std::int64_t tick) { return scene_.BuildFrame(model_, glyphs_, tick); }

  std::vector<std::string> Texts(std::int64_t tick) {
    const LyricFrame& frame = Frame(tick);
    std::vector<std::string> texts;
    for (const LyricText& text : frame.texts) texts.emplace_back(frame.Text(text));
    return texts;
  }

  std::string StoredZoom() { return ini_.ReadIni("Lyrics", "Zoom"); }

  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  FakeBass bass_;
  LyricScene scene_{ini_};
  LyricModel model_{bass_.api(), &scene_};
  GlyphTable glyphs_ = EvenGlyphs();
};

// ---- Colours and measures.

TEST(LyricColours, ThreeComponentsComeOutOfOneValue) {
  ExpectColour(RGB2CouleurRVB(0x000000), 0, 0, 0, "black");
  ExpectColour(RGB2CouleurRVB(0xFFFFFF), 1, 1, 1, "white");
  ExpectColour(RGB2CouleurRVB(0x0000FF), 1, 0, 0, "the low byte is red");
  ExpectColour(RGB2CouleurRVB(0x00FF00), 0, 1, 0, "the middle one green");
  ExpectColour(RGB2CouleurRVB(0xFF0000), 0, 0, 1, "the high one blue");
  ExpectColour(RGB2CouleurRVB(ColourValue(64, 192, 51)), 64 / 255.0f, 192 / 255.0f, 0.2f, "mixed");
  ExpectColour(RGB2CouleurRVB(0xAB000000), 0, 0, 0, "what lies above the 24 bits has no say");
}

TEST(LyricColours, TheFirstThemeIsTheWindowsOwn) {
  const LyricTheme& theme = kLyricThemes[0];
  EXPECT_EQ(ColourValue(128, 0, 0), theme.background);
  EXPECT_EQ(ColourValue(128, 128, 128), theme.sung);
  EXPECT_EQ(ColourValue(255, 255, 255), theme.flash);
  EXPECT_EQ(ColourValue(64, 192, 192), theme.unsung);
  EXPECT_EQ(ColourValue(64, 32, 32), theme.spare);
}

TEST(LyricColours, EveryThemeTellsItsTextsFromItsBackground) {
  for (const LyricTheme& theme : kLyricThemes) {
    const Rgb ground = RGB2CouleurRVB(theme.background);
    for (const std::uint32_t value : {theme.sung, theme.flash, theme.unsung}) {
      const Rgb ink = RGB2CouleurRVB(value);
      const float apart =
          std::max({std::abs(ink.red - ground.red), std::abs(ink.green - ground.green),
                    std::abs(ink.blue - ground.blue)});
      EXPECT_GT(apart, 0.25f) << std::hex << value;
    }
  }
}

TEST(GlyphTable, TextsAreAsWideAsTheirCharactersAndAsHighAsTheHighest) {
  GlyphTable glyphs;
  glyphs['a'] = {.black_box_height = 0.5f, .cell_increment_x = 0.25f};
  glyphs['b'] = {.black_box_height = 0.75f, .cell_increment_x = 0.5f};
  glyphs[0xE9] = {.black_box_height = 0.7f, .cell_increment_x = 1.0f};
  EXPECT_FLOAT_EQ(0, TextWidth3D(glyphs, ""));
  EXPECT_FLOAT_EQ(0, TextHeight3D(glyphs, ""));
  EXPECT_FLOAT_EQ(1.75f, TextWidth3D(glyphs, "ab\xE9"));
  EXPECT_FLOAT_EQ(0.75f, TextHeight3D(glyphs, "ab\xE9"));
  EXPECT_FLOAT_EQ(0.7f, TextHeight3D(glyphs, "a\xE9"));
}

// ---- The current syllable.

TEST_F(LyricSceneTest, WithoutSyllablesNoneIsCurrent) {
  Load({});
  EXPECT_EQ(0, CurrentSyllable(model_, 0));
  EXPECT_EQ(0, CurrentSyllable(model_, 1000000));
  EXPECT_TRUE(Frame(500).texts.empty());
}

TEST_F(LyricSceneTest, TheCurrentSyllableIsTheLastOneReached) {
  Load({"a", "b", "c", "d", "e", "f", "g"});
  EXPECT_EQ(0, CurrentSyllable(model_, 0));
  EXPECT_EQ(0, CurrentSyllable(model_, 99));
  for (int number = 1; number <= 7; ++number) {
    EXPECT_EQ(number, CurrentSyllable(model_, number * 100));
    EXPECT_EQ(number, CurrentSyllable(model_, number * 100 + 1));
    EXPECT_EQ(number, CurrentSyllable(model_, number * 100 + 99));
  }
  EXPECT_EQ(7, CurrentSyllable(model_, std::int64_t{1} << 40));
}

TEST_F(LyricSceneTest, AnyNumberOfSyllablesGivesWhatAWalkThroughThemGives) {
  std::mt19937 random(5);
  for (int count = 1; count < 60; ++count) {
    FakeBass::Song song;
    song.track_names = {"", "words"};
    song.bytes_per_tick = 1;
    auto& marks = song.marks[bass::BASS_MIDI_MARK_LYRIC];
    bass::DWORD at = 1;
    for (int i = 0; i < count; ++i) {
      at += static_cast<bass::DWORD>(1 + random() % 5);
      marks.push_back({1, at, "x"});
    }
    song.length = at + 1;
    model_.ResetForSong();
    model_.InitLyrics(bass_.AddStream(song), true);
    for (std::int64_t tick = 0; tick <= static_cast<std::int64_t>(at) + 2; ++tick) {
      int walked = 0;
      while (walked < count && model_.syllable(walked + 1).tick <= tick) ++walked;
      ASSERT_EQ(walked, CurrentSyllable(model_, tick)) << count << " at " << tick;
    }
  }
}

TEST_F(LyricSceneTest, OfSyllablesAtOneTickOneOfThemIsCurrent) {
  FakeBass::Song song;
  song.track_names = {"", "words"};
  song.bytes_per_tick = 1;
  song.marks[bass::BASS_MIDI_MARK_LYRIC] = {
      {1, 10, "a"}, {1, 20, "b"}, {1, 20, "c"}, {1, 20, "d"}, {1, 30, "e"}};
  song.length = 100;
  model_.InitLyrics(bass_.AddStream(song), true);
  EXPECT_EQ(20, model_.syllable(CurrentSyllable(model_, 20)).tick);
  EXPECT_EQ(20, model_.syllable(CurrentSyllable(model_, 25)).tick);
  EXPECT_EQ(1, CurrentSyllable(model_, 19));
  EXPECT_EQ(5, CurrentSyllable(model_, 30));
}

// ---- Which lines, and how.

TEST_F(LyricSceneTest, BeforeTheFirstSyllableTheFirstEightLinesWaitInTealBelowTheMiddle) {
  Load({"/one", "/two", "/three", "/four", "/five", "/six", "/seven", "/eight", "/nine", "/ten"});
  const LyricFrame& frame = Frame(50);
  EXPECT_EQ(0, frame.syllable);
  EXPECT_EQ(0, frame.line);
  ASSERT_EQ(8u, frame.texts.size());
  EXPECT_EQ("one", frame.Text(frame.texts.front()));
  EXPECT_EQ("eight", frame.Text(frame.texts.back()));
  for (const LyricText& text : frame.texts) {
    EXPECT_LT(text.y, 0);
    EXPECT_NEAR(0.5f + 0.1f * text.y, text.z, kNear);
    ExpectColour(text.colour, 64 / 255.0f, 192 / 255.0f, 192 / 255.0f, "teal");
  }
}

TEST_F(LyricSceneTest, SevenLinesBeforeTheCurrentOneAndSevenAfterItAreDrawn) {
  std::vector<std::string> lines;
  for (int line = 1; line <= 30; ++line) lines.push_back("/L" + std::to_string(line));
  Load(lines);
  EXPECT_THAT(Texts(1550), ElementsAre("L8", "L9", "L10", "L11", "L12", "L13", "L14", "L15", "L16",
                                       "L17", "L18", "L19", "L20", "L21", "L22"));
  EXPECT_THAT(Texts(250), ElementsAre("L1", "L2", "L3", "L4", "L5", "L6", "L7", "L8", "L9"));
  EXPECT_THAT(Texts(2950),
              ElementsAre("L22", "L23", "L24", "L25", "L26", "L27", "L28", "L29", "L30"));
}

TEST_F(LyricSceneTest, TheCurrentLineComesInThreePiecesThatFollowEachOther) {
  Load({"Hel", "lo ", "world", "/x"});
  const LyricFrame& frame = Frame(250);
  ASSERT_EQ(4u, frame.texts.size());
  EXPECT_EQ("Hel", frame.Text(frame.texts[0]));
  EXPECT_EQ("lo ", frame.Text(frame.texts[1]));
  EXPECT_EQ("world", frame.Text(frame.texts[2]));
  EXPECT_NEAR(-11 * kWidth / 2, frame.texts[0].x, kNear);
  EXPECT_NEAR(-11 * kWidth / 2 + 3 * kWidth, frame.texts[1].x, kNear);
  EXPECT_NEAR(-11 * kWidth / 2 + 6 * kWidth, frame.texts[2].x, kNear);
  for (int i = 1; i < 3; ++i) {
    EXPECT_EQ(frame.texts[0].y, frame.texts[static_cast<std::size_t>(i)].y);
    EXPECT_EQ(frame.texts[0].z, frame.texts[static_cast<std::size_t>(i)].z);
  }
}

TEST_F(LyricSceneTest, PiecesWithoutCharactersAreLeftOut) {
  Load({"Hel", "lo"});
  EXPECT_THAT(Texts(150), ElementsAre("Hel", "lo"));  // nothing before the first syllable
  EXPECT_THAT(Texts(250), ElementsAre("Hel", "lo"));  // nothing after the last one
}

TEST_F(LyricSceneTest, AfterTheLastSyllableTheLastLineStaysCurrentAndSung) {
  Load({"/one", "/Hel", "lo ", "you"});
  scene_.DisplayLyrics(3);
  const LyricFrame& frame = Frame(1000000);
  EXPECT_EQ(4, frame.syllable);
  EXPECT_EQ(2, frame.line);
  ASSERT_EQ(3u, frame.texts.size());
  const LyricText& sung = frame.texts[1];
  const LyricText& last = frame.texts[2];
  EXPECT_EQ("Hello ", frame.Text(sung));
  EXPECT_EQ("you", frame.Text(last));
  const float d = 0.0005f * (1000000 - 200);
  const float f = 1 / (0.1f * d + 1);
  ExpectColour(sung.colour, 128 / 255.0f, f * 128 / 255.0f, f * 128 / 255.0f, "sung");
  ExpectColour(last.colour, 1, 1, 1, "the last syllable flashes");
}

TEST_F(LyricSceneTest, ALineThatLostItsLastSpaceToABreakIsDrawnAsItIs) {
  model_.set_max_line_length(3);
  Load({"abc ", "de"});
  ASSERT_EQ("abc", model_.line_text(1));
  ASSERT_EQ(4, model_.syllable(1).length);
  EXPECT_THAT(Texts(100), ElementsAre("abc", "de"));
}

TEST_F(LyricSceneTest, ASyllableOfAnEmptyLineAtTheEndDrawsOnlyTheLinesBefore) {
  Load({"one", "\n", "\n"});
  ASSERT_EQ(1, model_.line_count());
  ASSERT_EQ(2, model_.syllable(3).line);
  const LyricFrame& frame = Frame(350);
  EXPECT_EQ(2, frame.line);
  ASSERT_EQ(1u, frame.texts.size());
  EXPECT_EQ("one", frame.Text(frame.texts[0]));
}

TEST_F(LyricSceneTest, WithoutASongOnlyTheBackgroundIsThere) {
  Load({"one", "/two"});
  const LyricFrame& frame = scene_.BuildFrame(model_, glyphs_, std::nullopt);
  EXPECT_TRUE(frame.texts.empty());
  ExpectColour(frame.background, 128 / 255.0f, 0, 0, "background");
}

// ---- Scrolling.

TEST_F(LyricSceneTest, TheScrollFactorIsTheConstantWhileTheSmallestGapStaysZero) {
  Load({"/one", "/two", "/three"});
  EXPECT_EQ(0, scene_.scroll_factor());
  Frame(0);
  EXPECT_FLOAT_EQ(0.0005f, scene_.scroll_factor());
  scene_.EffaceLyrics();
  EXPECT_EQ(0, scene_.scroll_factor());
}

TEST_F(LyricSceneTest, ASongOfOneLineDoesNotScroll) {
  Load({"one ", "line"});
  const LyricFrame& frame = Frame(5000);
  EXPECT_EQ(0, scene_.scroll_factor());
  ASSERT_EQ(2u, frame.texts.size());
  EXPECT_EQ(0, frame.texts[0].y);
  EXPECT_FLOAT_EQ(0.5f, frame.texts[0].z);
}

TEST_F(LyricSceneTest, ALineStandsStillInDepthUntilItStartsAndRecedesThen) {
  Load({"/one", "/two"});
  EXPECT_NEAR(0.5f, Frame(100).texts[0].z, kNear);
  EXPECT_NEAR(0, Frame(100).texts[0].y, kNear);
  const LyricFrame& later = Frame(2100);  // 2000 ticks: d = 1
  EXPECT_NEAR(1, later.texts[0].y, kNear);
  EXPECT_NEAR(0.5f - 1.1f, later.texts[0].z, kNear);
}

TEST_F(LyricSceneTest, ALineThatStartsInThisTickHasTheBackgroundsColourWhereItIsSung) {
  Load({"one ", "two", "/three"});
  ExpectColour(Frame(100).texts[0].colour, 128 / 255.0f, 0, 0, "fade 0");
}

// ---- The flash.

TEST_F(LyricSceneTest, ASyllableTurnsWhiteAndBackLinearlyOverOneSecond) {
  Load({"/one", "/two ", "three"});
  scene_.set_refresh_interval(16);
  scene_.DisplayLyrics(1);
  EXPECT_FLOAT_EQ(1.0f, scene_.flash_remaining());
  const std::int64_t tick = 250;
  const float f = 1 / (0.1f * 0.0005f * 50 + 1);
  const float sung = f * 128 / 255.0f;
  for (int passed = 0; passed <= 70; ++passed) {
    const float r = std::max(0.0f, 1.0f - 0.016f * static_cast<float>(passed));
    const LyricFrame& frame = Frame(tick);
    ASSERT_EQ("two ", frame.Text(frame.texts[1]));
    ExpectColour(frame.texts[1].colour, (1 - r) * 128 / 255.0f + r, (1 - r) * sung + r,
                 (1 - r) * sung + r, "after ticks: " + std::to_string(passed));
    scene_.Tick();
  }
  EXPECT_EQ(0, scene_.flash_remaining());
}

TEST_F(LyricSceneTest, MissedTicksAreMadeUpFor) {
  scene_.set_refresh_interval(20);
  scene_.DisplayLyrics(1);
  scene_.Tick(5);
  EXPECT_NEAR(0.9f, scene_.flash_remaining(), kNear);
}

TEST_F(LyricSceneTest, OnlyTwoNumbersAreStoredWhenAMarkIsReached) {
  const std::string before = folder_.Read("Vexolo.ini");
  HeapWatch watch;
  scene_.DisplayLyrics(17);
  EXPECT_EQ(0u, watch.count());
  EXPECT_EQ(17, scene_.mark_index());
  EXPECT_EQ(1.0f, scene_.flash_remaining());
  EXPECT_EQ(before, folder_.Read("Vexolo.ini"));
}

TEST_F(LyricSceneTest, NoFlashIsLostWhileTheTimerRuns) {
  scene_.set_refresh_interval(1);
  std::atomic<bool> stop = false;
  std::atomic<int> ticks = 0;
  std::thread timer([&] {
    while (!stop) {
      scene_.Tick();
      ++ticks;
    }
  });
  for (int mark = 0; mark < 5000; ++mark) {
    const int before = ticks;
    scene_.DisplayLyrics(mark);
    const float remaining = scene_.flash_remaining();
    const int passed = ticks - before + 1;  // one may be under way
    EXPECT_GE(remaining, 0.999f - 0.001f * static_cast<float>(passed));
  }
  stop = true;
  timer.join();
}

// ---- Zoom.

TEST_F(LyricSceneTest, ANewSceneStandsNear) {
  LyricScene fresh(ini_);
  EXPECT_EQ(5, fresh.zoom());
  EXPECT_EQ(10.0f, fresh.distance());
  EXPECT_EQ(0.0f, fresh.flash_remaining());
}

TEST_F(LyricSceneTest, TheZoomComesFromTheSettings) {
  EXPECT_EQ(5, scene_.zoom());
  EXPECT_EQ(15.0f, scene_.distance());
  const std::pair<const char*, int> cases[] = {{"0", 0},  {"9", 9},       {"3", 3}, {"12", 9},
                                               {"-4", 0}, {"rubbish", 0}, {"", 5},  {"1e99", 9}};
  for (const auto& [stored, zoom] : cases) {
    ini_.WriteIni("Lyrics", "Zoom", stored);
    scene_.EffaceLyrics();
    EXPECT_EQ(zoom, scene_.zoom()) << stored;
    EXPECT_EQ(static_cast<float>(zoom) + 10, scene_.distance()) << stored;
  }
}

TEST_F(LyricSceneTest, DigitsOfTheNumericPadSetTheZoom) {
  const std::pair<LyricKey, float> cases[] = {
      {LyricKey::kPad1, 19}, {LyricKey::kPad2, 18}, {LyricKey::kPad3, 17}, {LyricKey::kPad4, 16},
      {LyricKey::kPad5, 15}, {LyricKey::kPad6, 14}, {LyricKey::kPad7, 13}, {LyricKey::kPad8, 12},
      {LyricKey::kPad9, 11}, {LyricKey::kPad0, 10}};
  for (const auto& [key, distance] : cases) {
    scene_.KeyDown(key);
    EXPECT_EQ(distance, scene_.distance());
    EXPECT_EQ(std::to_string(static_cast<int>(distance) - 10), StoredZoom());
    EXPECT_EQ(distance, Frame(0).distance);
  }
}

TEST_F(LyricSceneTest, MinusRaisesTheZoomAndPlusLowersIt) {
  scene_.KeyDown(LyricKey::kPadMinus);
  EXPECT_EQ(6, scene_.zoom());
  EXPECT_EQ("6", StoredZoom());
  scene_.KeyDown(LyricKey::kPadPlus);
  scene_.KeyDown(LyricKey::kPadPlus);
  EXPECT_EQ(4, scene_.zoom());
  EXPECT_EQ("4", StoredZoom());
}

TEST_F(LyricSceneTest, MinusAtNineAndPlusAtZeroChangeNothing) {
  scene_.KeyDown(LyricKey::kPad1);
  scene_.KeyDown(LyricKey::kPadMinus);
  EXPECT_EQ(9, scene_.zoom());
  EXPECT_EQ(19.0f, scene_.distance());
  scene_.KeyDown(LyricKey::kPad0);
  scene_.KeyDown(LyricKey::kPadPlus);
  EXPECT_EQ(0, scene_.zoom());
  EXPECT_EQ(10.0f, scene_.distance());
}

TEST_F(LyricSceneTest, EveryKeyWritesTheZoom) {
  LyricScene fresh(ini_);
  fresh.KeyDown(LyricKey::kOther);
  EXPECT_EQ("5", StoredZoom());
  EXPECT_EQ(15.0f, fresh.distance());
}

// ---- Themes and code pages.

TEST_F(LyricSceneTest, AThemeChangesTheColoursAndNothingElse) {
  Load({"/one", "/two"});
  const LyricText before = Frame(150).texts[1];
  scene_.set_theme(1);
  const LyricFrame& frame = Frame(150);
  const Rgb unsung = RGB2CouleurRVB(kLyricThemes[1].unsung);
  ExpectColour(frame.texts[1].colour, unsung.red, unsung.green, unsung.blue, "theme 1");
  EXPECT_EQ(before.x, frame.texts[1].x);
  EXPECT_EQ(before.y, frame.texts[1].y);
  for (const int wrong : {-1, kLyricThemeCount, 1000}) {
    scene_.set_theme(wrong);
    EXPECT_EQ(0, scene_.theme());
  }
}

TEST_F(LyricSceneTest, AForcedCodePageActsOnTheNextFrameWithoutTouchingTheModel) {
  Load({"caf\x8E ", "\xC3\xA9t\xC3\xA9"});
  const auto stored = model_.syllables().size();
  model_.code_pages().set_forced(kCodePageMacintosh);
  EXPECT_EQ("caf\xE9 ", Texts(150)[0]);
  model_.code_pages().set_forced(kCodePageUtf8);
  EXPECT_THAT(Texts(250), ElementsAre("caf? ", "\xE9t\xE9"));
  EXPECT_EQ("caf\x8E \xC3\xA9t\xC3\xA9", model_.line_text(1));
  EXPECT_EQ(stored, model_.syllables().size());
}

TEST_F(LyricSceneTest, ColumnsAreCountedInRawBytesAndPiecesConvertedOnTheirOwn) {
  Load({"\xC3\xA9t\xC3\xA9 ", "d'ao\xC3\xBBt ", "fini"});
  model_.code_pages().set_forced(kCodePageUtf8);
  const LyricFrame& frame = Frame(250);
  ASSERT_EQ(3u, frame.texts.size());
  EXPECT_EQ(6, model_.syllable(2).column);
  EXPECT_EQ("\xE9t\xE9 ", frame.Text(frame.texts[0]));
  EXPECT_EQ("d'ao\xFBt ", frame.Text(frame.texts[1]));
  EXPECT_EQ("fini", frame.Text(frame.texts[2]));
  EXPECT_NEAR(-15 * kWidth / 2, frame.texts[0].x, kNear);
  EXPECT_NEAR(-15 * kWidth / 2 + 4 * kWidth, frame.texts[1].x, kNear);
}

// ---- What a frame costs.

TEST_F(LyricSceneTest, NothingIsAllocatedOnceASongHasBegun) {
  if (!HeapWatch::IsAvailable()) GTEST_SKIP() << "the heap is not watched here";
  std::vector<std::string> syllables;
  for (int i = 0; i < 600; ++i) {
    syllables.push_back(std::string(i % 6 == 0 ? "/" : "") +
                        std::string(static_cast<std::size_t>(1 + i % 37), 'a') + "\xC3\xA9 ");
  }
  Load(syllables);
  for (const std::int16_t page : {kCodePageNone, kCodePageDos, kCodePageUtf8}) {
    model_.code_pages().set_forced(page);
    Frame(0);
    HeapWatch watch;
    for (std::int64_t tick = 0; tick < 61000; tick += 37) Frame(tick);
    EXPECT_EQ(0u, watch.count()) << page;
  }
}

// ---- The demo song, worked out by hand. Every character is 0.5 wide, so a line of n characters
// begins at -n/4; y is 0.0005 a tick. Lines 1 to 7 start at 7680 and then every 3840 ticks.

class FontaineScene : public ::testing::Test {
 protected:
  static constexpr bass::DWORD kDecode = bass::BASS_STREAM_DECODE;

  void SetUp() override {
    const bass::Api& api = library_->api();
    ASSERT_TRUE(api.BASS_Init(0, 44100, 0, nullptr, nullptr));
    const std::string path = std::string(VEXOLO_SONGS) + "/a-la-claire-fontaine.mid";
    stream_ =
        api.BASS_MIDI_StreamCreateFile(0, path.c_str(), 0, 0, kDecode | bass::BASS_UNICODE, 44100);
    ASSERT_NE(0u, stream_);
    model_.InitLyrics(stream_, true);
    ASSERT_EQ(25, model_.line_count());
  }
  ~FontaineScene() override {
    library_->api().BASS_StreamFree(stream_);
    library_->api().BASS_Free();
  }

  void ExpectText(std::size_t number, const std::string& text, float x, float y, float z) {
    ASSERT_LT(number, frame_->texts.size()) << text;
    const LyricText& at = frame_->texts[number];
    EXPECT_EQ(text, frame_->Text(at));
    EXPECT_NEAR(x, at.x, kNear) << text;
    EXPECT_NEAR(y, at.y, kNear) << text;
    EXPECT_NEAR(z, at.z, kNear) << text;
  }
  void ExpectColourOf(std::size_t number, float red, float green, float blue) {
    ASSERT_LT(number, frame_->texts.size());
    const LyricText& at = frame_->texts[number];
    ExpectColour(at.colour, red, green, blue, std::string(frame_->Text(at)));
  }
  void ExpectTeal(std::size_t number) { ExpectColourOf(number, 0.250980f, 0.752941f, 0.752941f); }

  void Flash(float seconds) {
    scene_.set_refresh_interval(1);
    scene_.DisplayLyrics(0);
    scene_.Tick(static_cast<int>(1000 - 1000 * seconds));
  }

  std::unique_ptr<AudioLibrary> library_ = AudioLibrary::OpenEngine();
  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  LyricScene scene_{ini_};
  LyricModel model_{library_->api(), &scene_};
  GlyphTable glyphs_ = EvenGlyphs();
  bass::HSTREAM stream_ = 0;
  const LyricFrame* frame_ = nullptr;
};

TEST_F(FontaineScene, AtTheStart) {
  frame_ = &scene_.BuildFrame(model_, glyphs_, 0);
  EXPECT_EQ(15.0f, frame_->distance);
  EXPECT_EQ(0, frame_->syllable);
  ASSERT_EQ(8u, frame_->texts.size());
  ExpectText(0, "\xC0 la claire fontaine", -5, -3.84f, 0.116f);
  ExpectText(1, "M'en allant promener,", -5.25f, -5.76f, -0.076f);
  ExpectText(2, "J'ai trouv\xE9 l'eau si belle", -6.5f, -7.68f, -0.268f);
  ExpectText(3, "Que je m'y suis baign\xE9.", -5.75f, -9.6f, -0.46f);
  ExpectText(4, "Il y a longtemps que je t'aime,", -7.75f, -11.52f, -0.652f);
  ExpectText(5, "Jamais je ne t'oublierai.", -6.25f, -13.44f, -0.844f);
  ExpectText(6, "Sous les feuilles d'un ch\xEAne", -7, -15.36f, -1.036f);
  ExpectText(7,
             "Je me suis fait s\xE9"
             "cher,",
             -5.75f, -17.28f, -1.228f);
  for (std::size_t i = 0; i < 8; ++i) ExpectTeal(i);
}

// At 7680 the first line is at its place, and what is sung of it has the background's colour: only
// the flash makes its first syllable white.
TEST_F(FontaineScene, AtTheFirstSyllable) {
  Flash(1);
  frame_ = &scene_.BuildFrame(model_, glyphs_, 7680);
  EXPECT_EQ(1, frame_->syllable);
  EXPECT_EQ(1, frame_->line);
  ASSERT_EQ(9u, frame_->texts.size());
  ExpectText(0, "\xC0 ", -5, 0, 0.5f);
  ExpectColourOf(0, 1, 1, 1);
  ExpectText(1, "la claire fontaine", -4, 0, 0.5f);
  ExpectTeal(1);
  ExpectText(2, "M'en allant promener,", -5.25f, -1.92f, 0.308f);
  ExpectTeal(2);
  ExpectText(8,
             "Je me suis fait s\xE9"
             "cher,",
             -5.75f, -13.44f, -0.844f);
}

// 10320 lies between "fon" (10080) and "tai" (10560), 2640 ticks into the line: d = 1.32,
// z = 0.5 - 1.452, f = 1 / 1.132 = 0.883392; green of the sung colour f x 128/255 = 0.443428.
TEST_F(FontaineScene, InTheMiddleOfALine) {
  Flash(0.5f);
  frame_ = &scene_.BuildFrame(model_, glyphs_, 10320);
  EXPECT_EQ(5, frame_->syllable);
  ASSERT_EQ(10u, frame_->texts.size());
  ExpectText(0, "\xC0 la claire ", -5, 1.32f, -0.952f);
  ExpectColourOf(0, 0.501961f, 0.443428f, 0.443428f);
  ExpectText(1, "fon", 1, 1.32f, -0.952f);
  ExpectColourOf(1, 0.750980f, 0.721714f, 0.721714f);
  ExpectText(2, "taine", 2.5f, 1.32f, -0.952f);
  ExpectTeal(2);
  ExpectText(3, "M'en allant promener,", -5.25f, -0.6f, 0.44f);
}

// 19440 is 240 ticks into the fourth line: d = 0.12, f = 1 / 1.012 = 0.988142. The lines before it
// are 3840 ticks apart: d = 5.88, 3.96, 2.04 and f = 0.629723, 0.716332, 0.830565.
TEST_F(FontaineScene, WithSungLinesAbove) {
  frame_ = &scene_.BuildFrame(model_, glyphs_, 19440);
  EXPECT_EQ(21, frame_->syllable);
  EXPECT_EQ(4, frame_->line);
  ASSERT_EQ(12u, frame_->texts.size());  // lines 1 to 11, the fourth in two pieces
  ExpectText(0, "\xC0 la claire fontaine", -5, 5.88f, -5.968f);
  ExpectColourOf(0, 0.501961f, 0.316096f, 0.316096f);
  ExpectText(1, "M'en allant promener,", -5.25f, 3.96f, -3.856f);
  ExpectColourOf(1, 0.501961f, 0.359571f, 0.359571f);
  ExpectText(2, "J'ai trouv\xE9 l'eau si belle", -6.5f, 2.04f, -1.744f);
  ExpectColourOf(2, 0.501961f, 0.416911f, 0.416911f);
  ExpectText(3, "Que ", -5.75f, 0.12f, 0.368f);
  ExpectColourOf(3, 0.501961f, 0.496009f, 0.496009f);
  ExpectText(4, "je m'y suis baign\xE9.", -3.75f, 0.12f, 0.368f);
  ExpectTeal(4);
  ExpectText(5, "Il y a longtemps que je t'aime,", -7.75f, -1.8f, 0.32f);
  ExpectTeal(5);
}

// 107560 is 1000 ticks after the last syllable ("rai.", 106560) and 3880 after the start of its
// line: d = 1.94, f = 1 / 1.194 = 0.837521. With a quarter of the flash left: 0.25 + 0.75 x sung.
TEST_F(FontaineScene, AfterTheLastSyllable) {
  Flash(0.25f);
  frame_ = &scene_.BuildFrame(model_, glyphs_, 107560);
  EXPECT_EQ(model_.nNbParoles(), frame_->syllable);
  EXPECT_EQ(25, frame_->line);
  ASSERT_EQ(9u, frame_->texts.size());  // lines 18 to 25, the last in two pieces
  ExpectText(0, "Jamais je ne t'oublierai.", -6.25f, 15.38f, -16.418f);
  ExpectText(6, "Jamais je ne t'oublierai.", -6.25f, 3.86f, -3.746f);
  ExpectText(7, "Jamais je ne t'oublie", -6.25f, 1.94f, -1.634f);
  ExpectColourOf(7, 0.501961f, 0.420403f, 0.420403f);
  ExpectText(8, "rai.", 4.25f, 1.94f, -1.634f);
  ExpectColourOf(8, 0.626471f, 0.565302f, 0.565302f);
}

}  // namespace
}  // namespace vexolo
