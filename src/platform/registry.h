/// The system's registry: texts under a root, a key's path and a value's name.
#pragma once

#include <memory>
#include <optional>
#include <string>

namespace vexolo {

enum class RegistryRoot { kLocalMachine, kCurrentUser };

/// An interface, so that tests can stand in for it. Window thread only.
class Registry {
 public:
  virtual ~Registry() = default;
  /// The text of one value (UTF-8); nothing where the key or the value is missing or is no text.
  /// The parts of a key's path are separated by "\".
  virtual std::optional<std::string> Read(RegistryRoot root, const std::string& key,
                                          const std::string& value) = 0;
};

/// The registry of this system; null where the system has none.
std::unique_ptr<Registry> SystemRegistry();

}  // namespace vexolo
