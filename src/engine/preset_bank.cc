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

constexpr std::uint64_t kRiffHead = 12;  ///< "RIFF", length, type
constexpr std::uint64_t kListHead = 12;  ///< "LIST", length, type
constexpr std::uint64_t kChunkHead = 8;  ///< name, length
constexpr std::size_t kBagRecord = 4;
constexpr std::size_t kProgramAt = 20;
constexpr std::size_t kBankAt = 22;

// Of a sample's record.
constexpr std::size_t kStartAt = 20;
constexpr std::size_t kEndAt = 24;
constexpr std::size_t kLoopAt = 28;
constexpr std::size_t kLoopEndAt = 32;
constexpr std::size_t kLinkAt = 42;
constexpr std::size_t kTypeAt = 44;
constexpr std::uint16_t kRomSample = 0x8000;

/// Silence that has to follow each sample.
constexpr std::uint32_t kGuardFrames = 46;

/// With their low bytes these fit into a file whose sizes have 32 bits, and the tables too. Samples
/// that overlap may ask for more than the whole bank has.
constexpr std::uint64_t kMostFrames = 1u << 30;

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

void SetDoubleWord(std::uint8_t* bytes, std::uint32_t value) {
  for (int byte = 0; byte < 4; ++byte) bytes[byte] = static_cast<std::uint8_t>(value >> (8 * byte));
}

void SetWord(std::uint8_t* bytes, std::size_t value) {
  bytes[0] = static_cast<std::uint8_t>(value);
  bytes[1] = static_cast<std::uint8_t>(value >> 8);
}

/// The part of the sample data that a sample takes up, in frames.
struct SampleRange {
  std::uint32_t begin;
  std::uint32_t frames;
};

/// Where a loop point goes that stood at `loop`. A place that makes no sense there makes none here.
std::uint32_t MovedLoop(std::uint32_t loop, const SampleRange& from, std::uint32_t to,
                        std::uint32_t all_frames) {
  if (loop > all_frames) return 0xFFFFFFFF;
  if (loop < from.begin) return to > 0 ? to - 1 : to;
  return to + std::min(loop - from.begin, from.frames + 1);
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
    for (std::size_t index = Records(whole_, kPhdr) - 1; index-- > 0;) {
      const std::uint8_t* record = Record(kPhdr, index);
      if (Word(record + kProgramAt) == program && Word(record + kBankAt) == bank_number) {
        return index;
      }
    }
    return std::nullopt;
  }

  /// Fills the small tables with this preset alone.
  void Copy(std::size_t preset, std::uint32_t all_frames) {
    const std::vector<std::size_t> instruments = CopyLevel(kPresetLevel, {preset});
    const std::vector<std::size_t> samples = CopyLevel(kInstrumentLevel, instruments);
    for (const std::size_t sample : samples) CopySample(sample, all_frames);
    AppendEmptyRecord(kShdr);
  }

  /// The samples in their new order, each to be followed by the guard.
  const std::vector<SampleRange>& samples() const { return samples_; }
  /// Of all of them; not to be used beyond kMostFrames.
  std::uint64_t frames() const { return frames_; }

  /// The list "pdta" of the small tables.
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

  void CopySample(std::size_t sample, std::uint32_t all_frames) {
    AppendRecord(kShdr, sample);
    std::uint8_t* record = LastRecord(kShdr);
    SetWord(record + kLinkAt, 0);
    if ((Word(record + kTypeAt) & kRomSample) != 0) return;  // not in the file
    const std::uint32_t start = DoubleWord(record + kStartAt);
    const SampleRange range = {start, DoubleWord(record + kEndAt) - start};
    const auto place = static_cast<std::uint32_t>(frames_);
    for (const std::size_t loop : {kLoopAt, kLoopEndAt}) {
      SetDoubleWord(record + loop, MovedLoop(DoubleWord(record + loop), range, place, all_frames));
    }
    SetDoubleWord(record + kStartAt, place);
    SetDoubleWord(record + kEndAt, place + range.frames);
    samples_.push_back(range);
    frames_ += std::uint64_t{range.frames} + kGuardFrames;
  }

  TableBytes whole_;
  TableBytes small_;
  std::vector<SampleRange> samples_;
  std::uint64_t frames_ = 0;
};

/// Puts the pieces of the bank together.
class Assembly {
 public:
  Assembly() { Append(Bytes(kRiffHead)); }

  void Append(Bytes bytes) {
    const std::uint64_t size = bytes.size();
    pieces_.push_back({end_, size, std::move(bytes), 0});
    end_ += size;
  }

  void AppendFromWhole(std::uint64_t place, std::uint64_t size) {
    if (size == 0) return;
    pieces_.push_back({end_, size, {}, place});
    end_ += size;
  }

  /// Samples of so many bytes a frame, which stand at `place` in the whole bank.
  void AppendSamples(const PresetCopy& copy, std::uint64_t place, std::uint32_t frame_bytes) {
    for (const SampleRange& sample : copy.samples()) {
      AppendFromWhole(place + std::uint64_t{sample.begin} * frame_bytes,
                      std::uint64_t{sample.frames} * frame_bytes);
      Append(Bytes(kGuardFrames * frame_bytes));
    }
    if (copy.frames() * frame_bytes % 2 != 0) Append(Bytes(1));
  }

  std::vector<PresetBank::Piece> Finish() {
    Bytes& head = pieces_.front().bytes;
    head.clear();
    AppendText(head, "RIFF");
    AppendDoubleWord(head, end_ - kChunkHead);
    AppendText(head, "sfbk");
    return std::move(pieces_);
  }

 private:
  std::vector<PresetBank::Piece> pieces_;
  std::uint64_t end_ = 0;
};

/// Place of the samples' low bytes in a bank of 24 bits; 0 where there are none that fit.
std::uint64_t FindLowBytes(ByteSource& bank, const SoundFontHeader& header) {
  const std::uint64_t end = header.parameters.offset - kListHead;
  ChunkWalk walk(bank, header.samples.offset - kChunkHead, end);
  Chunk chunk;
  if (!walk.Next(&chunk) || walk.AtEnd() || !walk.Next(&chunk) || chunk.id != "sm24") return 0;
  const std::uint32_t half = header.samples.size / 2;
  return chunk.place.size == half + half % 2 ? chunk.place.offset : 0;
}

std::size_t Even(std::size_t size) { return size + size % 2; }

/// The list "sdta" up to its first sample.
Bytes SampleListHead(std::uint32_t frames, bool low_bytes) {
  const std::size_t high = std::size_t{frames} * 2;
  const std::size_t low = low_bytes ? kChunkHead + Even(frames) : 0;
  Bytes head;
  AppendText(head, "LIST");
  AppendDoubleWord(head, 4 + kChunkHead + high + low);
  AppendText(head, "sdtasmpl");
  AppendDoubleWord(head, high);
  return head;
}

}  // namespace

PresetBank::PresetBank(ByteSource& bank, std::vector<Piece> pieces)
    : bank_(bank), pieces_(std::move(pieces)) {}

std::unique_ptr<PresetBank> PresetBank::Make(ByteSource& bank, const SoundFontHeader& header,
                                             int bank_number, int program) {
  PresetCopy copy;
  if (!copy.ReadTables(bank, header.parameters)) return nullptr;
  const std::optional<std::size_t> preset = copy.Find(bank_number, program);
  if (!preset) return nullptr;
  copy.Copy(*preset, header.samples.size / 2);
  if (copy.samples().empty() || copy.frames() > kMostFrames) return nullptr;
  const auto frames = static_cast<std::uint32_t>(copy.frames());
  const std::uint64_t low_bytes = FindLowBytes(bank, header);
  Assembly assembly;
  assembly.AppendFromWhole(kRiffHead, header.samples.offset - kChunkHead - kListHead - kRiffHead);
  assembly.Append(SampleListHead(frames, low_bytes != 0));
  assembly.AppendSamples(copy, header.samples.offset, 2);
  if (low_bytes != 0) {
    Bytes head;
    AppendText(head, "sm24");
    AppendDoubleWord(head, Even(frames));
    assembly.Append(std::move(head));
    assembly.AppendSamples(copy, low_bytes, 1);
  }
  assembly.Append(copy.Pack());
  return std::make_unique<PresetBank>(bank, assembly.Finish());
}

bool PresetBank::Read(std::uint64_t offset, std::span<std::uint8_t> to) {
  if (offset > size() || to.size() > size() - offset) return false;
  auto piece = std::upper_bound(
      pieces_.begin(), pieces_.end(), offset,
      [](std::uint64_t place, const Piece& candidate) { return place < candidate.begin; });
  for (--piece; !to.empty(); ++piece) {
    const std::uint64_t from = offset - piece->begin;
    const std::size_t count = std::min<std::uint64_t>(to.size(), piece->size - from);
    const std::span<std::uint8_t> part = to.first(count);
    if (piece->bytes.empty()) {
      if (!bank_.Read(piece->place_in_whole + from, part)) return false;
    } else {
      std::copy_n(piece->bytes.begin() + static_cast<std::ptrdiff_t>(from), count, part.begin());
    }
    offset += count;
    to = to.subspan(count);
  }
  return true;
}

}  // namespace vexolo::engine
