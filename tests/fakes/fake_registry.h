/// A registry made of a map.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/registry.h"

namespace vexolo {

class FakeRegistry : public Registry {
 public:
  std::optional<std::string> Read(RegistryRoot root, const std::string& key,
                                  const std::string& value) override {
    asked.push_back(key + "|" + value);
    if (root != RegistryRoot::kLocalMachine) return std::nullopt;
    const auto found = values.find({key, value});
    if (found == values.end()) return std::nullopt;
    return found->second;
  }

  std::map<std::pair<std::string, std::string>, std::string> values;  ///< under local machine
  std::vector<std::string> asked;                                     ///< "key|value"
};

}  // namespace vexolo
