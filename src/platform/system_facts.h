/// What there is to say about the machine. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vexolo {

/// What is not known is empty or 0. Texts are UTF-8 and for people to read.
struct SystemFacts {
  std::string system;        ///< name and version of the operating system
  std::string kernel;        ///< with the machine's architecture
  std::string processor;     ///< its model
  unsigned processors = 0;   ///< that run at the same time
  std::uint64_t memory = 0;  ///< bytes
};

SystemFacts GatherSystemFacts();

// What GatherSystemFacts reads on Linux, given the content of the file.

/// "PRETTY_NAME" of os-release, without its quotes.
std::string SystemName(std::string_view os_release);
/// The model of cpuinfo's first processor.
std::string ProcessorModel(std::string_view cpuinfo);
/// A value of meminfo, such as "MemTotal", in bytes.
std::uint64_t MemoryBytes(std::string_view meminfo, std::string_view name);

}  // namespace vexolo
