// layer: gui
#include "platform/file_dialogs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "widgets/file_boxes.h"

namespace vexolo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

TEST(FilterPairs, AreCutAtTheBars) {
  EXPECT_THAT(
      FilterPairs("Songs|*.mid;*.kar|All|*.*"),
      ElementsAre(Pair("Songs", ElementsAre("*.mid", "*.kar")), Pair("All", ElementsAre("*.*"))));
}

TEST(FilterPairs, ADescriptionWithoutPatternsIsLeftOut) {
  EXPECT_THAT(FilterPairs("Songs|*.mid|All"), ElementsAre(Pair("Songs", ElementsAre("*.mid"))));
  EXPECT_THAT(FilterPairs("Songs|"), IsEmpty());
  EXPECT_THAT(FilterPairs(""), IsEmpty());
}

TEST(ToolkitFilters, ShowThePatternsOnce) {
  EXPECT_EQ(ToolkitFilters("Songs (*.mid;*.kar)|*.mid;*.kar|All|*.*"),
            (QStringList{"Songs (*.mid *.kar)", "All (*)"}));
}

}  // namespace
}  // namespace vexolo
