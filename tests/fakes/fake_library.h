/// The audio library over the fake's functions.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "audio/loader.h"
#include "fakes/fake_bass.h"

namespace vexolo {

class FakeLibrary : public AudioLibrary {
 public:
  explicit FakeLibrary(FakeBass& bass) : bass_(bass) {}
  const bass::Api& api() const override { return bass_.api(); }
  bool is_open_engine() const override { return true; }
  bool OutputIsSilent() const override { return is_silent; }
  std::string OutputName() const override { return output_name; }
  std::vector<std::string> Components() const override { return components; }
  std::uint64_t LateBlocks() const override { return 0; }

  bool is_silent = false;
  std::string output_name = "Fake device";
  std::vector<std::string> components;

 private:
  FakeBass& bass_;
};

}  // namespace vexolo
