// layer: core
#include "app/bank_loader.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_bass.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/posted_actions.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class BankLoaderTest : public testing::Test {
 protected:
  void Load(const std::string& path) {
    loader_.Load(path, KeepBank::kInSettings, [this, path](bool loaded) {
      told_.push_back(path + (loaded ? " loaded" : " failed"));
    });
  }
  std::vector<std::string> Opened() {
    std::vector<std::string> paths;
    for (const auto& call : bass_.Calls<FakeBass::FontInit>()) paths.push_back(call.path);
    return paths;
  }

  FakeBass bass_;
  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  PostedActions posted_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  AudioState audio_;
  AudioBinding binding_{bass_.api(), audio_, ini_, boxes_};
  BankLoader loader_{bass_.api(), audio_, binding_,
                     [this](std::function<void()> action) { posted_.Post(std::move(action)); }};
  std::vector<std::string> told_;
};

TEST_F(BankLoaderTest, TheBankIsTakenIntoUseOnTheWindowThread) {
  Load("/b/One.sf2");
  EXPECT_TRUE(loader_.loading());
  EXPECT_EQ(0u, audio_.font);
  ASSERT_TRUE(posted_.RunNext());
  EXPECT_FALSE(loader_.loading());
  EXPECT_NE(0u, audio_.font);
  EXPECT_EQ("/b/One.sf2", ini_.ReadIni("SF2", "Base"));
  EXPECT_THAT(told_, ElementsAre("/b/One.sf2 loaded"));
}

TEST_F(BankLoaderTest, ABankThatCannotBeOpenedChangesNothing) {
  bass_.Fail("BASS_MIDI_FontInit", bass::BASS_ERROR_FILEOPEN);
  Load("/b/None.sf2");
  ASSERT_TRUE(posted_.RunNext());
  EXPECT_EQ(0u, audio_.font);
  EXPECT_EQ("", ini_.ReadIni("SF2", "Base"));
  EXPECT_THAT(told_, ElementsAre("/b/None.sf2 failed"));
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(BankLoaderTest, TheLatestChoiceWins) {
  Load("/b/One.sf2");
  Load("/b/Two.sf2");
  Load("/b/Three.sf2");
  ASSERT_TRUE(posted_.RunNext());
  EXPECT_TRUE(loader_.loading());
  ASSERT_TRUE(posted_.RunNext());
  EXPECT_THAT(Opened(), ElementsAre("/b/One.sf2", "/b/Three.sf2"));
  EXPECT_THAT(told_, ElementsAre("/b/Three.sf2 loaded"));
  EXPECT_EQ("/b/Three.sf2", audio_.font_path);
  EXPECT_EQ(1u, bass_.Calls<FakeBass::FontFree>().size());
}

TEST_F(BankLoaderTest, WhatNeedsABankWaitsForTheFirstOne) {
  std::vector<std::string> done;
  loader_.WhenReady([&] { done.push_back("nothing on its way"); });
  EXPECT_THAT(done, ElementsAre("nothing on its way"));
  Load("/b/One.sf2");
  loader_.WhenReady([&] { done.push_back("first"); });
  loader_.WhenReady([&] { done.push_back("second"); });
  EXPECT_EQ(1u, done.size());
  ASSERT_TRUE(posted_.RunNext());
  EXPECT_THAT(done, ElementsAre("nothing on its way", "second"));
  Load("/b/Two.sf2");  // beside one that sounds
  loader_.WhenReady([&] { done.push_back("third"); });
  EXPECT_EQ("third", done.back());
  ASSERT_TRUE(posted_.RunNext());
}

TEST_F(BankLoaderTest, WhatWaitsIsCalledEvenWhereTheBankFails) {
  bass_.Fail("BASS_MIDI_FontInit", bass::BASS_ERROR_FILEFORM);
  Load("/b/One.sf2");
  bool called = false;
  loader_.WhenReady([&] { called = true; });
  ASSERT_TRUE(posted_.RunNext());
  EXPECT_TRUE(called);
}

TEST_F(BankLoaderTest, WhatIsForgottenIsNotCalled) {
  Load("/b/One.sf2");
  bool called = false;
  loader_.WhenReady([&] { called = true; });
  loader_.Forget();
  ASSERT_TRUE(posted_.RunNext());
  EXPECT_FALSE(called);
}

TEST_F(BankLoaderTest, GivingUpFreesWhatHasArrived) {
  Load("/b/One.sf2");
  loader_.GiveUp();
  EXPECT_EQ(0u, audio_.font);
  EXPECT_EQ(1u, bass_.Calls<FakeBass::FontFree>().size());
  ASSERT_TRUE(posted_.RunNext());  // too late
  EXPECT_THAT(told_, IsEmpty());
  EXPECT_EQ(0u, audio_.font);
}

TEST(BankLoader, WhatIsPostedAfterItsEndDoesNothing) {
  FakeBass bass;
  TemporaryFolder folder;
  FakeMessageBoxes boxes;
  PostedActions posted;
  ModIni ini(folder / "Vexolo.ini", boxes);
  AudioState audio;
  AudioBinding binding(bass.api(), audio, ini, boxes);
  {
    BankLoader loader(bass.api(), audio, binding,
                      [&](std::function<void()> action) { posted.Post(std::move(action)); });
    loader.Load("/b/One.sf2", KeepBank::kForThisRun);
  }
  ASSERT_TRUE(posted.RunNext());
  EXPECT_EQ(0u, audio.font);
}

}  // namespace
}  // namespace vexolo
