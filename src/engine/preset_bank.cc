#include "engine/preset_bank.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "engine/sound_font_tables.h"

namespace vexolo::engine {
namespace {

using namespace sf2;  // NOLINT(google-build-using-namespace): this file is about that form

constexpr std::uint64_t kListHead = 12;  ///< "LIST", length, type
constexpr std::uint64_t kRiffHead = 8;
constexpr std::size_t kBagRecord = 4;
constexpr std::size_t kProgramAt = 20;
constexpr std::size_t kBankAt = 22;
constexpr std::size_t kSampleLinkAt = 42;

using Bytes = std::vector<std::uint8_t>;

void AppendWord(Bytes& to, std::size_t value) {
  to.push_back(static_cast<std::uint8_t>(value));
  to.push_back(static_cast<std::uint8_t>(value >> 8));
}

void AppendDoubleWord(Bytes& to, std::size_t value) {
  AppendWord(to, value & 0xFFFF);
  AppendWord(to, value >> 16);
}

void AppendText(Bytes& to, std::string_view text) {
  for (const char c : text) to.push_back(static_cast<std::uint8_t>(c));
}

void SetWord(std::uint8_t* bytes, std::size_t value) {
  bytes[0] = static_cast<std::uint8_t>(value);
  bytes[1] = static_cast<std::uint8_t>(value >> 8);
}

/// Copies from whole tables into small ones, giving everything new numbers in the order in which it
/// is first met.
class PresetCopy {
 public:
  bool ReadTables(ByteSource& bank, const ChunkPlace& list) {
    Tables places;
    if (!FindTables(bank, list, &places)) return false;
    for (int table = 0; table < kTables; ++table) {
      whole_[table].resize(places[table].size);
      if (!bank.Read(places[table].offset, whole_[table])) return false;
    }
    return true;
  }

  std::optional<std::size_t> Find(int bank_number, int program) const {
    for (std::size_t index = 0; index + 1 < Records(whole_, kPhdr); ++index) {
      const std::uint8_t* record = Record(kPhdr, index);
      if (Word(record + kProgramAt) == program && Word(record + kBankAt) == bank_number) {
        return index;
      }
    }
    return std::nullopt;
  }

  /// The list "pdta" with this preset alone.
  Bytes Copy(std::size_t preset) {
    const std::vector<std::size_t> instruments = CopyLevel(kPresetLevel, {preset});
    const std::vector<std::size_t> samples = CopyLevel(kInstrumentLevel, instruments);
    for (const std::size_t sample : samples) {
      AppendRecord(kShdr, sample);
      SetWord(LastRecord(kShdr) + kSampleLinkAt, 0);
    }
    AppendEmptyRecord(kShdr);
    return Pack();
  }

 private:
  using TableBytes = std::array<Bytes, kTables>;

  static std::size_t Records(const TableBytes& tables, Table table) {
    return tables[table].size() / kTableForms[table].record;
  }
  const std::uint8_t* Record(Table table, std::size_t index) const {
    return whole_[table].data() + index * kTableForms[table].record;
  }
  std::uint8_t* LastRecord(Table table) {
    return small_[table].data() + small_[table].size() - kTableForms[table].record;
  }
  void AppendRecord(Table table, std::size_t index) {
    const std::uint8_t* record = Record(table, index);
    small_[table].insert(small_[table].end(), record, record + kTableForms[table].record);
  }
  void AppendEmptyRecord(Table table) {
    small_[table].resize(small_[table].size() + kTableForms[table].record);
  }

  /// Copies these headers with their zones; says what they play.
  std::vector<std::size_t> CopyLevel(const Level& level, const std::vector<std::size_t>& headers) {
    std::vector<std::size_t> targets;
    for (const std::size_t header : headers) {
      const std::size_t first = Word(Record(level.headers, header) + level.bag_index);
      const std::size_t end = Word(Record(level.headers, header + 1) + level.bag_index);
      AppendRecord(level.headers, header);
      SetWord(LastRecord(level.headers) + level.bag_index, Records(small_, level.bags));
      for (std::size_t zone = first; zone < end; ++zone) CopyZone(level, zone, targets);
    }
    AppendEmptyRecord(level.headers);
    SetWord(LastRecord(level.headers) + level.bag_index, Records(small_, level.bags));
    AppendBag(level);
    AppendEmptyRecord(level.generators);
    AppendEmptyRecord(level.modulators);
    return targets;
  }

  /// A zone that begins where the copied generators and modulators end.
  void AppendBag(const Level& level) {
    AppendWord(small_[level.bags], Records(small_, level.generators));
    AppendWord(small_[level.bags], Records(small_, level.modulators));
  }

  void CopyZone(const Level& level, std::size_t zone, std::vector<std::size_t>& targets) {
    AppendBag(level);
    const std::uint8_t* bag = Record(level.bags, zone);
    const std::uint8_t* next = bag + kBagRecord;
    for (std::size_t index = Word(bag); index < Word(next); ++index) {
      AppendRecord(level.generators, index);
      std::uint8_t* copy = LastRecord(level.generators);
      if (Word(copy) != level.link_generator) continue;
      SetWord(copy + 2, NumberOf(Word(copy + 2), targets));
      break;  // what stands behind the target counts for nothing
    }
    for (std::size_t index = Word(bag + 2); index < Word(next + 2); ++index) {
      AppendRecord(level.modulators, index);
    }
  }

  static std::size_t NumberOf(std::size_t target, std::vector<std::size_t>& targets) {
    const auto found = std::find(targets.begin(), targets.end(), target);
    const auto number = static_cast<std::size_t>(found - targets.begin());
    if (found == targets.end()) targets.push_back(target);
    return number;
  }

  Bytes Pack() const {
    Bytes contents;
    for (int table = 0; table < kTables; ++table) {
      AppendText(contents, kTableForms[table].id);
      AppendDoubleWord(contents, small_[table].size());
      contents.insert(contents.end(), small_[table].begin(), small_[table].end());
    }
    Bytes list;
    AppendText(list, "LIST");
    AppendDoubleWord(list, contents.size() + 4);
    AppendText(list, "pdta");
    list.insert(list.end(), contents.begin(), contents.end());
    return list;
  }

  TableBytes whole_;
  TableBytes small_;
};

}  // namespace

PresetBank::PresetBank(ByteSource& bank, std::uint64_t begin, std::vector<std::uint8_t> tables)
    : bank_(bank), begin_(begin), tables_(std::move(tables)) {}

std::unique_ptr<PresetBank> PresetBank::Make(ByteSource& bank, const SoundFontHeader& header,
                                             int bank_number, int program) {
  PresetCopy copy;
  if (!copy.ReadTables(bank, header.parameters)) return nullptr;
  const std::optional<std::size_t> preset = copy.Find(bank_number, program);
  if (!preset) return nullptr;
  return std::unique_ptr<PresetBank>(
      new PresetBank(bank, header.parameters.offset - kListHead, copy.Copy(*preset)));
}

// The length of the whole form stands at its beginning and is the one thing there that changes.
bool PresetBank::Read(std::uint64_t offset, std::span<std::uint8_t> to) {
  if (offset > size() || to.size() > size() - offset) return false;
  const std::uint64_t before =
      offset < begin_ ? std::min<std::uint64_t>(to.size(), begin_ - offset) : 0;
  if (before > 0 && !bank_.Read(offset, to.first(before))) return false;
  if (before < to.size()) {
    const std::uint64_t from = offset + before - begin_;
    std::copy_n(tables_.begin() + static_cast<std::ptrdiff_t>(from), to.size() - before,
                to.begin() + static_cast<std::ptrdiff_t>(before));
  }
  const std::uint64_t length = size() - kRiffHead;
  for (std::uint64_t byte = 0; byte < 4; ++byte) {
    const std::uint64_t at = byte + 4;
    if (at >= offset && at < offset + to.size()) {
      to[at - offset] = static_cast<std::uint8_t>(length >> (8 * byte));
    }
  }
  return true;
}

}  // namespace vexolo::engine
