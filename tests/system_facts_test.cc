// layer: core
#include "platform/system_facts.h"

#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vexolo {
namespace {

TEST(SystemFacts, NameOfTheSystem) {
  EXPECT_EQ(SystemName("NAME=\"x\"\nPRETTY_NAME=\"Debian GNU/Linux 12\"\nID=debian\n"),
            "Debian GNU/Linux 12");
  EXPECT_EQ(SystemName("PRETTY_NAME='One'"), "One");
  EXPECT_EQ(SystemName("PRETTY_NAME=Plain\r\n"), "Plain");
  EXPECT_EQ(SystemName("PRETTY_NAME=\""), "\"");
  EXPECT_EQ(SystemName("NAME=x\n"), "");
  EXPECT_EQ(SystemName(""), "");
}

TEST(SystemFacts, ModelOfTheProcessor) {
  EXPECT_EQ(ProcessorModel("processor\t: 0\nmodel\t\t: 85\nmodel name\t: Some CPU @ 2.0GHz\n"
                           "model name\t: Other\n"),
            "Some CPU @ 2.0GHz");
  EXPECT_EQ(ProcessorModel("processor : 0\n\nModel : A board\n"), "A board");
  EXPECT_EQ(ProcessorModel("model name"), "");
  EXPECT_EQ(ProcessorModel(""), "");
}

TEST(SystemFacts, Memory) {
  EXPECT_EQ(MemoryBytes("MemFree: 5 kB\nMemTotal:       16384 kB\n", "MemTotal"), 16384u * 1024);
  EXPECT_EQ(MemoryBytes("MemTotal: much\n", "MemTotal"), 0u);
  EXPECT_EQ(MemoryBytes("MemTotal: 99999999999999999999999 kB\n", "MemTotal"), 0u);
  EXPECT_EQ(MemoryBytes("MemTotal: 18446744073709551615 kB\n", "MemTotal"), 0u);
  EXPECT_EQ(MemoryBytes("", "MemTotal"), 0u);
}

TEST(SystemFacts, ThisMachine) {
  const SystemFacts facts = GatherSystemFacts();
  EXPECT_FALSE(facts.system.empty());
  EXPECT_FALSE(facts.kernel.empty());
  EXPECT_EQ(facts.processors, std::thread::hardware_concurrency());
  EXPECT_GT(facts.memory, 64u << 20);
}

}  // namespace
}  // namespace vexolo
