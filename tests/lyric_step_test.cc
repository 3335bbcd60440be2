// layer: core
// The words keep step with the sound: frames every 16 ms of a demo song, through the open engine.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "audio/loader.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "lyrics/lyric_scene.h"

namespace vexolo {
namespace {

constexpr bass::DWORD kBytesPerFrame = 4;
constexpr bass::QWORD kRefresh = 44100 * 16 / 1000 * kBytesPerFrame;  ///< 16 ms, in bytes

class LyricStepTest : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    ASSERT_TRUE(api_.BASS_Init(0, 44100, 0, nullptr, nullptr));
    const std::string path = std::string(VEXOLO_SONGS) + "/" + GetParam();
    stream_ = api_.BASS_MIDI_StreamCreateFile(0, path.c_str(), 0, 0,
                                              bass::BASS_STREAM_DECODE | bass::BASS_UNICODE, 44100);
    ASSERT_NE(0u, stream_);
    model_.InitLyrics(stream_, true);
    ASSERT_GT(model_.nNbParoles(), 20);
  }
  ~LyricStepTest() override {
    api_.BASS_StreamFree(stream_);
    api_.BASS_Free();
  }

  /// The syllable that the sound has reached: by the marks' places in the sound, not by ticks.
  int HeardSyllable(bass::QWORD bytes) const {
    int heard = 0;
    while (heard < model_.nNbParoles() &&
           static_cast<bass::QWORD>(model_.syllable(heard + 1).byte_position) <= bytes) {
      ++heard;
    }
    return heard;
  }

  /// Plays on to a place of the sound, with a frame every 16 ms.
  void PlayTo(bass::QWORD bytes) {
    while (position_ < bytes) {
      const bass::QWORD next = std::min(bytes, last_frame_ + kRefresh);
      std::vector<char> sound(static_cast<std::size_t>(next - position_));
      api_.BASS_ChannelGetData(stream_, sound.data(), static_cast<bass::DWORD>(sound.size()));
      position_ = next;
      if (position_ == last_frame_ + kRefresh) DrawFrame();
    }
  }
  void DrawFrame() {
    const bass::QWORD tick = api_.BASS_ChannelGetPosition(stream_, bass::BASS_POS_MIDI_TICK);
    scene_.BuildFrame(model_, glyphs_, static_cast<std::int64_t>(tick));
    last_frame_ = position_;
  }

  std::unique_ptr<AudioLibrary> library_ = AudioLibrary::OpenEngine();
  const bass::Api& api_ = library_->api();
  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  LyricScene scene_{ini_};
  LyricModel model_{api_, &scene_};
  GlyphTable glyphs_;
  bass::HSTREAM stream_ = 0;
  bass::QWORD position_ = 0;
  bass::QWORD last_frame_ = 0;
};

INSTANTIATE_TEST_SUITE_P(DemoSongs, LyricStepTest,
                         ::testing::Values("a-la-claire-fontaine.mid", "au-clair-de-la-lune.kar"),
                         [](const auto& song) {
                           return std::string(song.index == 0 ? "Fontaine" : "Lune");
                         });

TEST_P(LyricStepTest, At200RandomInstantsTheSyllableIsTheHeardOneOrAtMostAFrameLate) {
  std::mt19937 random(GetParam()[0]);
  const bass::QWORD length = api_.BASS_ChannelGetLength(stream_, bass::BASS_POS_BYTE);
  std::uniform_int_distribution<bass::QWORD> anywhere(0, length / kBytesPerFrame - 1);
  std::vector<bass::QWORD> instants;
  for (int i = 0; i < 200; ++i) instants.push_back(anywhere(random) * kBytesPerFrame);
  std::sort(instants.begin(), instants.end());
  DrawFrame();
  int changes = 0;
  for (const bass::QWORD instant : instants) {
    PlayTo(instant);
    const int shown = scene_.frame().syllable;
    const int heard = HeardSyllable(instant);
    const int heard_a_frame_ago = HeardSyllable(instant < kRefresh ? 0 : instant - kRefresh);
    EXPECT_LE(shown, heard) << instant;
    EXPECT_GE(shown, heard_a_frame_ago) << instant;
    changes += heard != heard_a_frame_ago;
  }
  EXPECT_GT(scene_.frame().syllable, 20);
  // Some instants fall right behind a syllable's start, where being late would show.
  EXPECT_GT(changes, 0);
}

TEST_P(LyricStepTest, AfterASeekTheNextFrameIsThatOfTheNewPlace) {
  for (const int number : {15, 3, 20, 1}) {
    const LyricSyllable& syllable = model_.syllable(number);
    api_.BASS_ChannelSetPosition(stream_, static_cast<bass::QWORD>(syllable.byte_position),
                                 bass::BASS_POS_BYTE);
    DrawFrame();
    EXPECT_EQ(number, scene_.frame().syllable);
  }
}

}  // namespace
}  // namespace vexolo
