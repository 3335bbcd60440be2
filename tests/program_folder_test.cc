// layer: core
#include "platform/program_folder.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace vexolo {
namespace {

TEST(ProgramFolder, HoldsTheRunningProgram) {
  const std::filesystem::path folder(ProgramFolder());
  EXPECT_TRUE(folder.is_absolute());
  EXPECT_TRUE(std::filesystem::equivalent(
      folder / std::filesystem::read_symlink("/proc/self/exe").filename(), "/proc/self/exe"));
  EXPECT_NE(ProgramFolder().back(), '/');
}

TEST(ProgramFolder, DoesNotDependOnTheCurrentFolder) {
  const std::string before = ProgramFolder();
  const auto current = std::filesystem::current_path();
  std::filesystem::current_path("/");
  EXPECT_EQ(ProgramFolder(), before);
  std::filesystem::current_path(current);
}

}  // namespace
}  // namespace vexolo
