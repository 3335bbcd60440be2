/// Listens to a stream of the real engine while it plays: how loud it is, and when.
#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "audio/bass.h"
#include "tone_bank.h"

namespace vexolo {

/// What a stream sounds like, in blocks of 10 ms. The stream must end before this object.
class LevelListener {
 public:
  static constexpr int kFrames = 441;  ///< of a block

  struct Block {
    std::chrono::steady_clock::time_point mixed;
    double level = 0;  ///< root mean square of the left side
  };

  /// False where the stream takes no listener.
  bool Attach(const bass::Api& api, bass::HSTREAM stream) {
    blocks_.reserve(10000);
    return api.BASS_ChannelSetDSP(stream, &LevelListener::Hear, this, 0) != 0;
  }
  std::vector<Block> blocks() const {
    const std::lock_guard lock(mutex_);
    return blocks_;
  }
  /// At most ten seconds; false where so many have not come.
  bool WaitFor(std::size_t count) const {
    for (int i = 0; i < 2000; ++i) {
      if (blocks().size() >= count) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
  }

 private:
  static void BASS_CALLBACK Hear(bass::HDSP, bass::DWORD, void* buffer, bass::DWORD length,
                                 void* user) {
    auto* listener = static_cast<LevelListener*>(user);
    const std::lock_guard lock(listener->mutex_);
    const auto* samples = static_cast<const std::int16_t*>(buffer);
    for (bass::DWORD frame = 0; frame < length / 4; ++frame) {
      const double sample = samples[2 * frame];
      listener->sum_ += sample * sample;
      if (++listener->frames_ < kFrames) continue;
      listener->blocks_.push_back(
          {std::chrono::steady_clock::now(), std::sqrt(listener->sum_ / kFrames)});
      listener->sum_ = 0;
      listener->frames_ = 0;
    }
  }

  mutable std::mutex mutex_;
  std::vector<Block> blocks_;
  double sum_ = 0;
  int frames_ = 0;
};

/// Milliseconds of the longest part of [from, to) that is softer than `least`.
inline double LongestGap(const std::vector<LevelListener::Block>& blocks, std::size_t from,
                         std::size_t to, double least) {
  double longest = 0;
  double gap = 0;
  for (std::size_t i = from; i < to; ++i) {
    gap = blocks[i].level < least ? gap + 10 : 0;
    longest = std::max(longest, gap);
  }
  return longest;
}

/// The first of the blocks up to `to` from which on all stay below `level`.
inline std::size_t SofterFrom(const std::vector<LevelListener::Block>& blocks, std::size_t to,
                              double level) {
  while (to > 0 && blocks[to - 1].level < level) --to;
  return to;
}

/// A bank of pure tones whose presets are called "Aone0", "Aone1", ... in place of "Tone0".
inline std::string NamedToneBank(char first_letter, double amplitude) {
  std::string bytes = engine::testing::ToneBank(amplitude);
  for (std::size_t at = bytes.find("Tone"); at != std::string::npos; at = bytes.find("Tone", at)) {
    bytes[at] = first_letter;
  }
  return bytes;
}

}  // namespace vexolo
