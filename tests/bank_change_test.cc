// layer: core
// Another bank is taken into use while a song plays, in real time, on the open engine.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/bank_loader.h"
#include "audio/audio_binding.h"
#include "audio/loader.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/level_listener.h"
#include "fakes/posted_actions.h"
#include "fakes/temporary_folder.h"
#include "song_builder.h"

namespace vexolo {
namespace {

namespace fs = std::filesystem;
using engine::testing::SongBuilder;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr double kLoudTone = 0.5;
constexpr double kSoftTone = 0.15;

class BankChangeTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(binding_.Initialise(nullptr, 0));
    binding_.set_presets_changed([this] { names_of_zero_.push_back(audio_.presets.At(0, 0)); });
  }
  ~BankChangeTest() override {
    loader_.GiveUp();
    binding_.Shutdown();
  }

  std::string Tones(const std::string& file, char first_letter, double amplitude) {
    return folder_.Write(file, NamedToneBank(first_letter, amplitude));
  }
  void Play(const std::string& song) {
    audio_.stream = CreateStream(library_->api(), false, song, 0, 0, kPlaybackFlags, 0);
    ASSERT_NE(audio_.stream, 0u);
    ASSERT_TRUE(listener_.Attach(library_->api(), audio_.stream));
    ASSERT_TRUE(library_->api().BASS_ChannelPlay(audio_.stream, 0));
  }
  /// Changes the bank as the program does; `loaded_` and `adopted_` tell when.
  void Change(const std::string& bank) {
    bool done = false;
    loader_.Load(bank, KeepBank::kInSettings, [&](bool loaded) { done = loaded; });
    ASSERT_TRUE(posted_.RunNext());
    adopted_ = Clock::now();
    ASSERT_TRUE(done);
  }

  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  std::unique_ptr<AudioLibrary> library_ = AudioLibrary::OpenEngine();
  AudioState audio_;
  AudioBinding binding_{library_->api(), audio_, ini_, boxes_};
  PostedActions posted_;
  std::atomic<Clock::time_point> loaded_{};
  BankLoader loader_{library_->api(), audio_, binding_, [this](std::function<void()> action) {
                       loaded_ = Clock::now();
                       posted_.Post(std::move(action));
                     }};
  LevelListener listener_;
  Clock::time_point adopted_;
  std::vector<std::string> names_of_zero_;
};

TEST_F(BankChangeTest, APlayingSongChangesItsSoundAtOnceAndWithoutAGap) {
  ASSERT_TRUE(binding_.ReplaceFont(Tones("a.sf2", 'A', kLoudTone)));
  Play(folder_.Write("song.mid", SongBuilder()
                                     .Control(0, 0, 91, 0)
                                     .Press(0, 0, 60, 100)
                                     .Press(0, 0, 67, 100)
                                     .End(9600)
                                     .Song()));
  ASSERT_TRUE(listener_.WaitFor(50));
  const bass::HSTREAM stream = audio_.stream;
  Change(Tones("b.sf2", 'B', kSoftTone));
  const std::size_t then = listener_.blocks().size();
  ASSERT_TRUE(listener_.WaitFor(then + 60));

  const auto blocks = listener_.blocks();
  const auto mean = [&](std::size_t from, std::size_t to) {
    double sum = 0;
    for (std::size_t i = from; i < to; ++i) sum += blocks[i].level;
    return sum / static_cast<double>(to - from);
  };
  const double before = mean(20, 50);
  const double after = mean(then + 30, then + 60);
  EXPECT_NEAR(after / before, kSoftTone / kLoudTone, 0.05);

  // The blocks vary with the beat of the two tones: the sound has changed where it stays below
  // what the old bank's softest block was.
  double softest = before;
  for (std::size_t i = 20; i < 50; ++i) softest = std::min(softest, blocks[i].level);
  const std::size_t changed = SofterFrom(blocks, then + 60, softest * 0.9);
  const double delay = Milliseconds(blocks[changed].mixed - loaded_.load()).count();
  const double gap = LongestGap(blocks, 20, then + 60, 0.2 * after);
  RecordProperty("delay_ms", std::to_string(delay));
  RecordProperty("gap_ms", std::to_string(gap));
  EXPECT_LT(delay, 200) << "from the bank being loaded to the other sound";
  EXPECT_LE(gap, 50);
  EXPECT_EQ(audio_.stream, stream) << "the song goes on";
  EXPECT_EQ(library_->api().BASS_ChannelIsActive(stream), bass::BASS_ACTIVE_PLAYING);
}

TEST_F(BankChangeTest, TheInstrumentNamesAreRenewed) {
  ASSERT_TRUE(binding_.ReplaceFont(Tones("a.sf2", 'A', kLoudTone)));
  Change(Tones("b.sf2", 'B', kSoftTone));
  EXPECT_EQ(names_of_zero_, (std::vector<std::string>{"Aone0", "Bone0"}));
  EXPECT_EQ(audio_.presets.At(8, 1), "Bone3");
  EXPECT_EQ(audio_.presets.At(128, 8), "Bone5");
  EXPECT_EQ(audio_.presets.At(1, 1), "");
  EXPECT_EQ(audio_.presets.highest_bank, 8);
}

TEST_F(BankChangeTest, ARealSongGoesOnWithAnotherRealBank) {
  const std::string large = "/usr/share/sounds/sf2/FluidR3_GM.sf2";
  if (!fs::exists(large)) GTEST_SKIP() << "needs " << large;
  ASSERT_TRUE(binding_.ReplaceFont(VEXOLO_TEST_BANK));
  const std::string before = audio_.presets.At(0, 0);
  Play(std::string(VEXOLO_SONGS) + "/a-la-claire-fontaine.mid");
  ASSERT_TRUE(listener_.WaitFor(300));
  const std::size_t then = listener_.blocks().size();
  const auto begin = Clock::now();
  Change(large);
  const double loading = Milliseconds(loaded_.load() - begin).count();
  const double adopting = Milliseconds(adopted_ - loaded_.load()).count();
  const std::size_t changed = listener_.blocks().size();
  ASSERT_TRUE(listener_.WaitFor(changed + 100));
  const auto blocks = listener_.blocks();
  // How late blocks were mixed is told, not judged: a busy machine has its own waits.
  const auto longest_wait = [&](std::size_t from, std::size_t to) {
    double longest = 0;
    for (std::size_t i = from; i < to; ++i) {
      longest = std::max(longest, Milliseconds(blocks[i].mixed - blocks[i - 1].mixed).count());
    }
    return longest;
  };
  RecordProperty("loading_ms", std::to_string(loading));
  RecordProperty("taking_into_use_ms", std::to_string(adopting));
  RecordProperty("longest_wait_before_ms", std::to_string(longest_wait(1, then)));
  RecordProperty("longest_wait_during_ms", std::to_string(longest_wait(then, changed)));
  RecordProperty("longest_wait_after_ms", std::to_string(longest_wait(changed, changed + 100)));
  EXPECT_LT(adopting, 200);
  EXPECT_LT(LongestGap(blocks, then, changed + 100, 5), 50);
  EXPECT_NE(audio_.presets.At(0, 0), before);
  EXPECT_NE(audio_.presets.At(0, 0), "");
}

}  // namespace
}  // namespace vexolo
