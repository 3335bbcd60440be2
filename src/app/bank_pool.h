/// SoundFont banks for several songs at a time.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <utility>

#include "audio/bass.h"

namespace vexolo {

/// Gives each song a bank with its own Gain. A bank's volume holds for every stream that plays it,
/// so songs share one only where they agree on the Gain: as most songs have none, the bank is
/// usually opened once. Any thread.
class BankPool {
 public:
  /// `open` opens the bank (0 = it cannot be); the library must outlive this object.
  BankPool(const bass::Api& api, std::function<bass::HSOUNDFONT()> open)
      : api_(api), open_(std::move(open)) {}
  ~BankPool();
  BankPool(const BankPool&) = delete;
  BankPool& operator=(const BankPool&) = delete;

  /// The bank for a Gain in decibels, its volume set; 0 where it cannot be opened, with the
  /// library's error code for this thread.
  bass::HSOUNDFONT ForGain(int gain);

 private:
  const bass::Api& api_;
  const std::function<bass::HSOUNDFONT()> open_;
  std::mutex mutex_;
  std::map<int, bass::HSOUNDFONT> banks_;
};

}  // namespace vexolo
