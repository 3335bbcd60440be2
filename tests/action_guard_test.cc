// layer: core
#include "app/action_guard.h"

#include <cerrno>
#include <new>
#include <stdexcept>
#include <system_error>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"
#include "platform/file_io.h"

namespace vexolo {
namespace {

class ActionGuardTest : public testing::Test {
 protected:
  FakeMessageBoxes boxes_;
  ActionGuard guard_{boxes_};
};

TEST_F(ActionGuardTest, AnActionThatEndsIsNoneOfItsBusiness) {
  bool done = false;
  EXPECT_TRUE(guard_.Run([&] { done = true; }));
  EXPECT_TRUE(done);
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(ActionGuardTest, MissingMemoryIsToldInTheLanguageOfTheWindow) {
  guard_.set_no_memory_text("No memory left");
  EXPECT_FALSE(guard_.Run([] { throw std::bad_alloc(); }));
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_EQ("No memory left", boxes_.shown[0].text);
  EXPECT_EQ(BoxIcon::kExclamation, boxes_.shown[0].icon);
}

TEST_F(ActionGuardTest, MissingMemoryIsToldBeforeALanguageIsLoadedToo) {
  EXPECT_FALSE(guard_.Run([] { throw std::bad_alloc(); }));
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_FALSE(boxes_.shown[0].text.empty());
}

TEST_F(ActionGuardTest, AMissingThreadIsToldInTheSystemsWords) {
  EXPECT_FALSE(guard_.Run([] { throw std::system_error(EAGAIN, std::generic_category()); }));
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_EQ(FileErrorText(MakeFileError(EAGAIN)), boxes_.shown[0].text);
}

TEST_F(ActionGuardTest, WhatElseIsThrownIsTold) {
  EXPECT_FALSE(guard_.Run([] { throw std::runtime_error("the reason"); }));
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_EQ("the reason", boxes_.shown[0].text);
}

class BrokenBoxes : public MessageBoxes {
 public:
  void Show(const std::string&, const std::string&, BoxIcon) override { throw std::bad_alloc(); }
  bool AskYesNo(const std::string&, const std::string&) override { return false; }
};

TEST(ActionGuardWithoutBoxesTest, AMessageThatCannotBeShownEndsNothing) {
  BrokenBoxes boxes;
  ActionGuard guard(boxes);
  EXPECT_FALSE(guard.Run([] { throw std::bad_alloc(); }));
}

}  // namespace
}  // namespace vexolo
