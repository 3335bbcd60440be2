#include "engine/sound_font_check.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <vector>

#include "engine/sound_font_tables.h"

namespace vexolo::engine {
namespace {

using namespace sf2;  // NOLINT(google-build-using-namespace): this file is about that form

constexpr std::uint64_t kMaxZonePairs = 1'000'000;
constexpr std::uint32_t kMaxModulatorsOfZone = 1024;
constexpr std::uint32_t kMaxText = 65536;

constexpr std::uint16_t kRomSample = 0x8000;
constexpr std::uint16_t kCompressedSample = 0x10;

/// The records of a table, read in blocks.
class RecordReader {
 public:
  RecordReader(ByteSource& source, const ChunkPlace& place, std::uint32_t record)
      : source_(source), record_(record), at_(place.offset), left_(place.size / record) {}

  /// The next record, valid until the next call; null at the end or where it cannot be read.
  const std::uint8_t* Next() {
    if (position_ == filled_ && !Fill()) return nullptr;
    const std::uint8_t* record = &block_[position_];
    position_ += record_;
    return record;
  }

 private:
  bool Fill() {
    const std::uint32_t records =
        std::min(left_, static_cast<std::uint32_t>(block_.size()) / record_);
    position_ = 0;
    filled_ = records * record_;
    if (records == 0 || !source_.Read(at_, std::span(block_).first(filled_))) {
      left_ = filled_ = 0;
      return false;
    }
    at_ += filled_;
    left_ -= records;
    return true;
  }

  ByteSource& source_;
  std::uint32_t record_;
  std::uint64_t at_;
  std::uint32_t left_;
  std::array<std::uint8_t, 4096> block_;
  std::uint32_t position_ = 0;
  std::uint32_t filled_ = 0;
};

std::uint32_t Records(const Tables& tables, Table table) {
  return tables[table].size / kTableForms[table].record;
}

RecordReader Reader(ByteSource& source, const Tables& tables, Table table) {
  return RecordReader(source, tables[table], kTableForms[table].record);
}

bool ReadText(ByteSource& source, const ChunkPlace& place, std::string* text) {
  std::vector<std::uint8_t> bytes(std::min(place.size, kMaxText));
  if (!source.Read(place.offset, bytes)) return false;
  text->assign(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
  return true;
}

bool CheckVersion(ByteSource& source, const ChunkPlace& place) {
  std::array<std::uint8_t, 4> version;
  return place.size == version.size() && source.Read(place.offset, version) &&
         Word(version.data()) == 2;
}

bool CheckInfo(ByteSource& source, const ChunkPlace& info, SoundFontHeader* header) {
  bool version = false;
  ChunkWalk walk = Inside(source, info);
  Chunk chunk;
  while (!walk.AtEnd()) {
    if (!walk.Next(&chunk)) return false;
    std::string* text = chunk.id == "INAM"   ? &header->name
                        : chunk.id == "ICOP" ? &header->copyright
                        : chunk.id == "ICMT" ? &header->comment
                                             : nullptr;
    if (text != nullptr && !ReadText(source, chunk.place, text)) return false;
    if (chunk.id == "ifil") {
      if (!CheckVersion(source, chunk.place)) return false;
      version = true;
    }
  }
  return version;
}

/// Goes through headers, zones and generators of one level side by side.
class LevelCheck {
 public:
  LevelCheck(ByteSource& source, const Tables& tables, const Level& level)
      : tables_(tables),
        level_(level),
        headers_(Reader(source, tables, level.headers)),
        bags_(Reader(source, tables, level.bags)),
        generators_(Reader(source, tables, level.generators)) {}

  /// `weights` says what each target counts; empty: 1 each. On success `sums` holds the count of
  /// each header's zones.
  bool Run(std::span<const std::uint32_t> weights, std::vector<std::uint32_t>* sums) {
    weights_ = weights;
    const std::uint8_t* header = headers_.Next();
    if (header == nullptr || Word(header + level_.bag_index) != 0 || !FirstBag()) return false;
    while ((header = headers_.Next()) != nullptr) {
      std::uint64_t sum = 0;
      if (!CheckZones(Word(header + level_.bag_index), &sum)) return false;
      total_ += sum;
      if (total_ > kMaxZonePairs) return false;
      sums->push_back(static_cast<std::uint32_t>(sum));
    }
    return sums->size() + 1 == Records(tables_, level_.headers) &&
           bag_ + 1 == Records(tables_, level_.bags) && EndsAt(level_.generators, generator_) &&
           EndsAt(level_.modulators, modulator_);
  }

 private:
  bool FirstBag() {
    const std::uint8_t* bag = bags_.Next();
    return bag != nullptr && Word(bag) == 0 && Word(bag + 2) == 0;
  }

  /// The zones of one header, up to the next header's first.
  bool CheckZones(std::uint32_t end, std::uint64_t* sum) {
    if (end < bag_) return false;
    for (; bag_ < end; ++bag_) {
      const std::uint8_t* next = bags_.Next();
      if (next == nullptr) return false;
      const std::uint32_t modulator = Word(next + 2);
      if (modulator < modulator_ || modulator - modulator_ > kMaxModulatorsOfZone) return false;
      modulator_ = modulator;
      int target = kNoTarget;
      if (!CheckGenerators(Word(next), &target)) return false;
      if (target != kNoTarget) {
        *sum += weights_.empty() ? 1 : weights_[static_cast<std::uint32_t>(target)];
      }
    }
    return true;
  }

  /// The generators of one zone; `target` is what the zone plays.
  bool CheckGenerators(std::uint32_t end, int* target) {
    if (end < generator_) return false;
    for (; generator_ < end; ++generator_) {
      const std::uint8_t* generator = generators_.Next();
      if (generator == nullptr) return false;
      if (Word(generator) != level_.link_generator || *target != kNoTarget) continue;
      *target = Word(generator + 2);
      // The last record of the target table only ends it.
      if (static_cast<std::uint32_t>(*target) + 1 >= Records(tables_, level_.targets)) return false;
    }
    return true;
  }

  /// The record that ends a table may be missing.
  bool EndsAt(Table table, std::uint32_t index) const {
    const std::uint32_t records = Records(tables_, table);
    return index == records || index + 1 == records;
  }

  static constexpr int kNoTarget = -1;

  const Tables& tables_;
  const Level& level_;
  RecordReader headers_;
  RecordReader bags_;
  RecordReader generators_;
  std::span<const std::uint32_t> weights_;
  std::uint32_t bag_ = 0;
  std::uint32_t generator_ = 0;
  std::uint32_t modulator_ = 0;
  std::uint64_t total_ = 0;
};

bool CheckSamples(ByteSource& source, const Tables& tables, std::uint32_t sample_bytes) {
  RecordReader reader = Reader(source, tables, kShdr);
  for (std::uint32_t left = Records(tables, kShdr) - 1; left > 0; --left) {
    const std::uint8_t* sample = reader.Next();
    if (sample == nullptr) return false;
    const std::uint32_t start = DoubleWord(sample + 20);
    const std::uint32_t end = DoubleWord(sample + 24);
    const std::uint16_t type = Word(sample + 44);
    if ((type & kCompressedSample) != 0) return false;
    if ((type & kRomSample) == 0 && (start > end || end > sample_bytes / 2)) return false;
  }
  return true;
}

bool CheckParameters(ByteSource& source, SoundFontHeader* header) {
  Tables tables;
  if (!FindTables(source, header->parameters, &tables)) return false;
  std::vector<std::uint32_t> instrument_zones;
  std::vector<std::uint32_t> preset_zones;
  if (!LevelCheck(source, tables, kInstrumentLevel).Run({}, &instrument_zones) ||
      !LevelCheck(source, tables, kPresetLevel).Run(instrument_zones, &preset_zones)) {
    return false;
  }
  header->presets = Records(tables, kPhdr) - 1;
  return CheckSamples(source, tables, header->samples.size);
}

bool FindSamples(ByteSource& source, const ChunkPlace& list, ChunkPlace* samples) {
  Chunk chunk;
  if (!Inside(source, list).Next(&chunk) || chunk.id != "smpl") return false;
  *samples = chunk.place;
  return true;
}

}  // namespace

bool MemorySource::Read(std::uint64_t offset, std::span<std::uint8_t> to) {
  if (offset > bytes_.size() || to.size() > bytes_.size() - offset) return false;
  std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(offset), to.size(), to.begin());
  return true;
}

FileSource::FileSource(const std::string& path) {
  const std::filesystem::path file(std::u8string(path.begin(), path.end()));
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) return;
  file_.open(file, std::ios::binary);
  file_.seekg(0, std::ios::end);
  const std::streamoff end = file_.tellg();
  open_ = file_.good() && end >= 0;
  if (open_) size_ = static_cast<std::uint64_t>(end);
}

bool FileSource::Read(std::uint64_t offset, std::span<std::uint8_t> to) {
  const std::lock_guard lock(mutex_);
  if (!open_ || offset > size_ || to.size() > size_ - offset) return false;
  file_.clear();
  file_.seekg(static_cast<std::streamoff>(offset));
  file_.read(reinterpret_cast<char*>(to.data()), static_cast<std::streamsize>(to.size()));
  return file_.good();
}

bool LooksLikeSoundFont(ByteSource& source, SoundFontHeader* header) {
  std::array<std::uint8_t, 12> head;
  if (source.size() < head.size() || !source.Read(0, head)) return false;
  const std::string_view text(reinterpret_cast<const char*>(head.data()), head.size());
  const std::uint64_t size = DoubleWord(&head[4]) + std::uint64_t{8};
  if (!text.starts_with("RIFF") || !text.ends_with("sfbk") || size > source.size()) return false;

  SoundFontHeader found;
  found.size = size;
  ChunkWalk walk(source, head.size(), size);
  ChunkPlace info;
  ChunkPlace sample_list;
  if (!walk.NextList("INFO", &info) || !walk.NextList("sdta", &sample_list) ||
      !walk.NextList("pdta", &found.parameters) || !CheckInfo(source, info, &found) ||
      !FindSamples(source, sample_list, &found.samples) || !CheckParameters(source, &found)) {
    return false;
  }
  if (header != nullptr) *header = std::move(found);
  return true;
}

bool LooksLikeSoundFont(std::span<const std::uint8_t> bytes, SoundFontHeader* header) {
  MemorySource source(bytes);
  return LooksLikeSoundFont(source, header);
}

}  // namespace vexolo::engine
