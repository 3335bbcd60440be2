// layer: core
#include "app/post_to_window.h"

#include <functional>
#include <new>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/program.h"

namespace vexolo {
namespace {

/// A window thread that has no memory for what is posted until `refusals` are used up.
struct ShortOfMemory {
  PostToWindow Poster() {
    return [this](std::function<void()> action) {
      if (refusals-- > 0) throw std::bad_alloc();
      posted.push_back(std::move(action));
    };
  }
  int refusals = 0;
  std::vector<std::function<void()>> posted;
};

TEST(PostToWindowTest, WhatTheWindowMustNotMissIsPostedOnceThereIsMemory) {
  ShortOfMemory window{.refusals = 3, .posted = {}};
  int done = 0;
  PostSurely(window.Poster(), [&] { ++done; });
  ASSERT_EQ(window.posted.size(), 1u);
  window.posted[0]();
  EXPECT_EQ(done, 1);
}

TEST(PostedEndOfSongTest, AnEndIsToldOnce) {
  ShortOfMemory window;
  PostedEndOfSong end(window.Poster());
  std::vector<bass::HSTREAM> told;
  end.set_listener([&](bass::HSTREAM stream) { told.push_back(stream); });
  end.SongEnded(7);
  ASSERT_EQ(window.posted.size(), 1u);
  window.posted[0]();
  end.Tell();  // the main timer's tick
  EXPECT_THAT(told, ::testing::ElementsAre(7u));
}

TEST(PostedEndOfSongTest, AnEndThatCouldNotBePostedIsFoundByTheTimer) {
  ShortOfMemory window{.refusals = 1, .posted = {}};
  PostedEndOfSong end(window.Poster());
  std::vector<bass::HSTREAM> told;
  end.set_listener([&](bass::HSTREAM stream) { told.push_back(stream); });
  end.SongEnded(7);
  EXPECT_TRUE(window.posted.empty());
  end.Tell();
  EXPECT_THAT(told, ::testing::ElementsAre(7u));
}

}  // namespace
}  // namespace vexolo
