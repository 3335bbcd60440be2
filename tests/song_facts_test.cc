// layer: core
#include "playlist/song_facts.h"

#include <chrono>
#include <mutex>
#include <stdexcept>

#include <gtest/gtest.h>

namespace vexolo {
namespace {

using namespace std::chrono_literals;
using Paths = std::vector<std::string>;

/// Reads songs when the test says so, and writes down which.
class SongFactsTest : public ::testing::Test {
 protected:
  SongFacts Read(const std::string& path) {
    while (held_) std::this_thread::sleep_for(1ms);
    const std::lock_guard lock(mutex_);
    read_.push_back(path);
    if (path == "/throws.mid") throw std::runtime_error("no song");
    return {static_cast<double>(path.size()), "title of " + path, "artist"};
  }
  Paths WhatWasRead() {
    const std::lock_guard lock(mutex_);
    return read_;
  }
  void ReadAll() {
    held_ = false;
    const auto end = std::chrono::steady_clock::now() + 10s;
    while (table_.reading() && std::chrono::steady_clock::now() < end) {
      table_.Collect();
      std::this_thread::sleep_for(1ms);
    }
    ASSERT_FALSE(table_.reading());
  }

  std::mutex mutex_;
  Paths read_;
  std::atomic<bool> held_{false};
  SongFactsTable table_{[this](const std::string& path) { return Read(path); }};
};

TEST_F(SongFactsTest, SongsAreReadInTheOrderOfTheListAndEachOnce) {
  table_.Want({"/b.mid", "/a.mid", "/b.mid"});
  EXPECT_TRUE(table_.reading());
  ReadAll();
  EXPECT_EQ(WhatWasRead(), (Paths{"/b.mid", "/a.mid"}));
  ASSERT_NE(table_.Find("/a.mid"), nullptr);
  EXPECT_EQ(*table_.Find("/a.mid"), (SongFacts{6, "title of /a.mid", "artist"}));
  EXPECT_EQ(table_.Find("/c.mid"), nullptr);
  EXPECT_EQ(table_.TotalLength({"/b.mid", "/a.mid", "/b.mid", "/c.mid"}), 18);
}

TEST_F(SongFactsTest, NothingIsReadTwiceWhenTheListChanges) {
  table_.Want({"/a.mid", "/b.mid"});
  ReadAll();
  table_.Want({"/b.mid", "/a.mid", "/c.mid"});
  EXPECT_NE(table_.Find("/a.mid"), nullptr);
  ReadAll();
  EXPECT_EQ(WhatWasRead(), (Paths{"/a.mid", "/b.mid", "/c.mid"}));
}

TEST_F(SongFactsTest, ASongThatComesAgainIsReadAgain) {
  table_.Want({"/a.mid"});
  ReadAll();
  table_.Want({});
  EXPECT_EQ(table_.Find("/a.mid"), nullptr);
  table_.Want({"/a.mid"});
  ReadAll();
  EXPECT_EQ(WhatWasRead(), (Paths{"/a.mid", "/a.mid"}));
}

TEST_F(SongFactsTest, SongsThatHaveGoneAreNotRead) {
  held_ = true;
  table_.Want({"/a.mid", "/b.mid", "/c.mid"});
  table_.Want({"/c.mid"});
  ReadAll();
  for (const std::string& path : WhatWasRead()) EXPECT_NE(path, "/b.mid");
  EXPECT_EQ(table_.Find("/a.mid"), nullptr);
  EXPECT_NE(table_.Find("/c.mid"), nullptr);
}

TEST_F(SongFactsTest, WhatIsLookedAtComesFirst) {
  held_ = true;
  table_.Want({"/a.mid", "/b.mid", "/c.mid", "/d.mid"});
  table_.Prefer({"/d.mid", "/unknown.mid"});
  ReadAll();
  const Paths read = WhatWasRead();
  const auto place = [&](const char* path) {
    return std::find(read.begin(), read.end(), path) - read.begin();
  };
  EXPECT_LT(place("/d.mid"), place("/b.mid"));
  EXPECT_LT(place("/b.mid"), place("/c.mid"));
  EXPECT_EQ(std::count(read.begin(), read.end(), "/unknown.mid"), 0);
}

TEST_F(SongFactsTest, ASongThatCannotBeReadIsKnownToHaveNoFacts) {
  table_.Want({"/throws.mid", "/a.mid"});
  ReadAll();
  ASSERT_NE(table_.Find("/throws.mid"), nullptr);
  EXPECT_EQ(*table_.Find("/throws.mid"), SongFacts());
  EXPECT_EQ(table_.TotalLength({"/throws.mid", "/a.mid"}), 6);
}

TEST_F(SongFactsTest, StoppingLeavesTheRestUnread) {
  held_ = true;
  table_.Want({"/a.mid", "/b.mid"});
  held_ = false;
  table_.Stop();
  EXPECT_FALSE(table_.reading());
  const auto count = WhatWasRead().size();
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(WhatWasRead().size(), count);
}

TEST_F(SongFactsTest, TenThousandSongsAreAskedForAndSummedQuickly) {
  held_ = true;
  Paths paths;
  for (int i = 0; i < 10'000; ++i) paths.push_back("/music/folder/" + std::to_string(i) + ".mid");
  const auto start = std::chrono::steady_clock::now();
  table_.Want(paths);
  const auto wanted = std::chrono::steady_clock::now();
  table_.TotalLength(paths);
  const auto summed = std::chrono::steady_clock::now();
  RecordProperty("want_us", static_cast<int>((wanted - start) / 1us));
  RecordProperty("total_us", static_cast<int>((summed - wanted) / 1us));
  EXPECT_LT(wanted - start, 100ms);
  EXPECT_LT(summed - wanted, 100ms);
  held_ = false;
}

TEST(FormatLength, ShowsMinutesAndHours) {
  EXPECT_EQ(FormatLength(0), "0:00");
  EXPECT_EQ(FormatLength(5), "0:05");
  EXPECT_EQ(FormatLength(185), "3:05");
  EXPECT_EQ(FormatLength(59.6), "1:00");
  EXPECT_EQ(FormatLength(3723), "1:02:03");
  EXPECT_EQ(FormatLength(359999), "99:59:59");
  EXPECT_EQ(FormatLength(-1), "0:00");
  EXPECT_EQ(FormatLength(std::numeric_limits<double>::quiet_NaN()), "0:00");
  EXPECT_EQ(FormatLength(std::numeric_limits<double>::infinity()), "0:00");
  EXPECT_EQ(FormatLength(1e300), FormatLength(1e9));
}

TEST(CountText, TellsSongsAndTime) {
  const CountTexts texts = {"nothing|here", "one song, %2", "%1 songs, %2", "reading"};
  EXPECT_EQ(CountText(texts, 0, 0, false), "nothing\nhere");
  EXPECT_EQ(CountText(texts, 1, 65, false), "one song, 1:05");
  EXPECT_EQ(CountText(texts, 17, 3723, false), "17 songs, 1:02:03");
  EXPECT_EQ(CountText(texts, 17, 65, true), "17 songs, 1:05 (reading)");
  EXPECT_EQ(CountText({}, 3, 65, true), "");
}

}  // namespace
}  // namespace vexolo
