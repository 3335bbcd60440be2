#include "engine/gather.h"

#include <algorithm>

namespace vexolo::engine {

bool Gather::Add(std::span<const std::uint8_t> bytes, const Sink& sink) {
  while (!bytes.empty() && !refused_) {
    const std::size_t count = std::min(bytes.size(), kPieceBytes - piece_.size());
    piece_.insert(piece_.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
    bytes = bytes.subspan(count);
    if (piece_.size() == kPieceBytes) Flush(sink);
  }
  return !refused_;
}

bool Gather::Flush(const Sink& sink) {
  if (!refused_ && !piece_.empty()) refused_ = !sink(piece_);
  piece_.clear();
  return !refused_;
}

}  // namespace vexolo::engine
