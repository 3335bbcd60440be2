/// A bank of a few hundred bytes, for tests: built from its tables, so that any of them can be
/// bent.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vexolo::engine {

inline std::string Word(std::uint32_t value) {
  return {static_cast<char>(value), static_cast<char>(value >> 8)};
}

inline std::string DoubleWord(std::uint32_t value) { return Word(value) + Word(value >> 16); }

inline std::string Chunk(const std::string& id, const std::string& contents) {
  return id + DoubleWord(static_cast<std::uint32_t>(contents.size())) + contents +
         std::string(contents.size() % 2, '\0');
}

inline std::string Fixed(std::string text) {
  text.resize(20);
  return text;
}

inline std::string PresetRecord(const std::string& name, std::uint32_t program, std::uint32_t bank,
                                std::uint32_t bag) {
  return Fixed(name) + Word(program) + Word(bank) + Word(bag) + std::string(12, '\0');
}

inline std::string InstrumentRecord(const std::string& name, std::uint32_t bag) {
  return Fixed(name) + Word(bag);
}

inline std::string Pair(std::uint32_t first, std::uint32_t second) {
  return Word(first) + Word(second);
}

inline std::string SampleRecord(std::uint32_t start, std::uint32_t end, std::uint32_t type = 1) {
  return Fixed("wave") + DoubleWord(start) + DoubleWord(end) + DoubleWord(start + 8) +
         DoubleWord(end - 8) + DoubleWord(44100) + "\x3C" + std::string(3, '\0') + Word(type);
}

/// One preset (program 5 of bank 3), one instrument, one looped square wave.
struct SmallBank {
  std::vector<std::pair<std::string, std::string>> info = {
      {"ifil", Pair(2, 1)},
      {"isng", std::string("EMU8000\0", 8)},
      {"INAM", std::string("Small\0", 6)},
      {"ICOP", std::string("Nobody\0\0", 8)},
      {"ICMT", std::string("One wave\0\0", 10)},
  };
  std::string samples = Wave();
  std::string phdr = PresetRecord("Square", 5, 3, 0) + PresetRecord("EOP", 0, 0, 1);
  std::string pbag = Pair(0, 0) + Pair(1, 0);
  std::string pmod = std::string(10, '\0');
  std::string pgen = Pair(41, 0) + Pair(0, 0);
  std::string inst = InstrumentRecord("Square", 0) + InstrumentRecord("EOI", 1);
  std::string ibag = Pair(0, 0) + Pair(2, 0);
  std::string imod = std::string(10, '\0');
  std::string igen = Pair(54, 1) + Pair(53, 0) + Pair(0, 0);
  std::string shdr = SampleRecord(0, 64) + SampleRecord(0, 0, 0);

  static std::string Wave() {
    std::string wave;
    for (int i = 0; i < 64 + 46; ++i) wave += Word(i < 64 ? (i / 8 % 2 == 0 ? 0x2000 : 0xE000) : 0);
    return wave;
  }

  std::string Info() const {
    std::string contents = "INFO";
    for (const auto& [id, text] : info) contents += Chunk(id, text);
    return Chunk("LIST", contents);
  }

  std::string Samples() const { return Chunk("LIST", "sdta" + Chunk("smpl", samples)); }

  std::string Parameters() const {
    return Chunk("LIST", "pdta" + Chunk("phdr", phdr) + Chunk("pbag", pbag) + Chunk("pmod", pmod) +
                             Chunk("pgen", pgen) + Chunk("inst", inst) + Chunk("ibag", ibag) +
                             Chunk("imod", imod) + Chunk("igen", igen) + Chunk("shdr", shdr));
  }

  std::string Bytes() const { return Chunk("RIFF", "sfbk" + Info() + Samples() + Parameters()); }
};

}  // namespace vexolo::engine
