#include "app/bank_pool.h"

#include "mixer/knobs.h"

namespace vexolo {

BankPool::~BankPool() {
  for (const auto& [gain, bank] : banks_) api_.BASS_MIDI_FontFree(bank);
}

bass::HSOUNDFONT BankPool::ForGain(int gain) {
  const std::lock_guard lock(mutex_);
  const auto place = banks_.find(gain);
  if (place != banks_.end()) return place->second;
  const bass::HSOUNDFONT bank = open_();
  if (bank == 0) return 0;
  ApplyLevels(api_, bank, gain);
  banks_.emplace(gain, bank);
  return bank;
}

}  // namespace vexolo
