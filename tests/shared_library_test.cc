// layer: core
#include "platform/shared_library.h"

#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace vexolo {
namespace {

TEST(SharedLibrary, FindsFunctionsAndSaysWhereThereAreNone) {
  const auto library = SharedLibrary::Open("libm.so.6");
  ASSERT_NE(library, nullptr);
  const auto cosine = library->Get<double (*)(double)>("cos");
  ASSERT_NE(cosine, nullptr);
  EXPECT_EQ(cosine(0.0), 1.0);
  EXPECT_EQ(library->Symbol("no_such_symbol_in_here"), nullptr);
}

TEST(SharedLibrary, NullWhereThereIsNoLibrary) {
  EXPECT_EQ(SharedLibrary::Open("/no such folder/library.so"), nullptr);
  EXPECT_EQ(SharedLibrary::Open(""), nullptr);
  EXPECT_EQ(SharedLibrary::Open(testing::TempDir()), nullptr);
  const std::string path = testing::TempDir() + "/not_a_library.so";
  std::ofstream(path) << "This is text.";
  EXPECT_EQ(SharedLibrary::Open(path), nullptr);
}

TEST(SharedLibrary, CanBeOpenedTwice) {
  auto first = SharedLibrary::Open("libm.so.6");
  const auto second = SharedLibrary::Open("libm.so.6");
  first.reset();
  ASSERT_NE(second, nullptr);
  EXPECT_NE(second->Symbol("sin"), nullptr);
}

}  // namespace
}  // namespace vexolo
