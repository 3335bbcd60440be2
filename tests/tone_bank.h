/// A bank of pure tones, each preset at a pitch of its own, so that a measured frequency tells
/// which one sounds.
#pragma once

#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <string>

#include "small_bank.h"

namespace vexolo::engine::testing {

struct Tone {
  int bank;
  int program;
  int period;  ///< frames, at key 60
};

/// How far the pressure of a key bends a note of the first tone, in cents.
inline constexpr int kPressureCents = 99;

/// At key 60, in hertz: 441, 551.25, 882, 1102.5, 1764, 2205.
inline constexpr std::array<Tone, 6> kTones = {{
    {0, 0, 100},
    {0, 1, 80},
    {8, 0, 50},
    {8, 1, 40},
    {128, 0, 25},
    {128, 8, 20},
}};

inline constexpr double HertzOf(int bank, int program) {
  for (const Tone& tone : kTones) {
    if (tone.bank == bank && tone.program == program) return 44100.0 / tone.period;
  }
  return 0;
}

/// Bytes of the bank; `amplitude` up to 1.0.
inline std::string ToneBank(double amplitude = 0.5) {
  constexpr int kLoop = 400;  // a whole number of periods of each tone
  constexpr int kAround = 8;
  SmallBank bank;
  bank.samples.clear();
  bank.phdr.clear();
  bank.pbag.clear();
  bank.pgen.clear();
  bank.inst.clear();
  bank.ibag.clear();
  bank.imod.clear();
  bank.igen.clear();
  bank.shdr.clear();
  std::uint32_t start = 0;
  std::uint32_t index = 0;
  for (const Tone& tone : kTones) {
    for (int i = 0; i < kLoop + 2 * kAround + 46; ++i) {
      const double phase = 2 * std::numbers::pi * i / tone.period;
      const bool inside = i < kLoop + 2 * kAround;
      const auto value = std::lround(inside ? 32767 * amplitude * std::sin(phase) : 0);
      bank.samples += Word(static_cast<std::uint32_t>(value));
    }
    bank.phdr += PresetRecord("Tone" + std::to_string(index), static_cast<unsigned>(tone.program),
                              static_cast<unsigned>(tone.bank), index);
    bank.pbag += Pair(index, 0);
    bank.pgen += Pair(41, index);
    bank.inst += InstrumentRecord("Tone" + std::to_string(index), index);
    bank.ibag += Pair(2 * index, index == 0 ? 0 : 1);
    bank.igen += Pair(54, 1) + Pair(53, index);
    bank.shdr += SampleRecord(start, start + kLoop + 2 * kAround);
    start += kLoop + 2 * kAround + 46;
    ++index;
  }
  bank.phdr += PresetRecord("EOP", 0, 0, index);
  bank.pbag += Pair(index, 0);
  bank.pgen += Pair(0, 0);
  bank.inst += InstrumentRecord("EOI", index);
  bank.ibag += Pair(2 * index, 1);
  bank.imod +=
      Pair(10, 52) + Pair(kPressureCents, 0) + Word(0);  // the key's pressure on the tuning
  bank.imod += std::string(10, '\0');
  bank.igen += Pair(0, 0);
  bank.shdr += SampleRecord(0, 0, 0);
  return bank.Bytes();
}

}  // namespace vexolo::engine::testing
