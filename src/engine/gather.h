/// Gathering small blocks into large pieces, so that a block costs no system call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace vexolo::engine {

/// One thread at a time.
class Gather {
 public:
  static constexpr std::size_t kPieceBytes = 65536;
  /// Takes a piece; false where it could not take all of it.
  using Sink = std::function<bool(std::span<const std::uint8_t>)>;

  Gather() { piece_.reserve(kPieceBytes); }

  /// Adds a block of any size; pieces of exactly kPieceBytes go to the sink. False once the sink
  /// has refused one; what was not taken is dropped, then and later.
  bool Add(std::span<const std::uint8_t> bytes, const Sink& sink);

  /// Hands over what is left. False where the sink refuses, or has refused before.
  bool Flush(const Sink& sink);

 private:
  std::vector<std::uint8_t> piece_;
  bool refused_ = false;
};

}  // namespace vexolo::engine
