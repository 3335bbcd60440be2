/// The form of a SoundFont 2 file, looked at before a synthesiser reads it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <mutex>
#include <span>
#include <string>

namespace vexolo::engine {

/// Bytes at any place of something with a known size.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  virtual std::uint64_t size() const = 0;

  /// Copies `to.size()` bytes that start at `offset`. False where they cannot be had in full; what
  /// `to` holds is then undefined.
  virtual bool Read(std::uint64_t offset, std::span<std::uint8_t> to) = 0;
};

/// Bytes in memory, which the caller keeps alive.
class MemorySource : public ByteSource {
 public:
  explicit MemorySource(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}
  std::uint64_t size() const override { return bytes_.size(); }
  bool Read(std::uint64_t offset, std::span<std::uint8_t> to) override;

 private:
  std::span<const std::uint8_t> bytes_;
};

/// A file, held open from construction on. Several threads may read from it.
class FileSource : public ByteSource {
 public:
  explicit FileSource(const std::string& path);  ///< UTF-8
  bool is_open() const { return open_; }
  std::uint64_t size() const override { return size_; }
  bool Read(std::uint64_t offset, std::span<std::uint8_t> to) override;

 private:
  std::mutex mutex_;
  std::ifstream file_;
  std::uint64_t size_ = 0;
  bool open_ = false;
};

/// Where the contents of a chunk stand.
struct ChunkPlace {
  std::uint64_t offset = 0;
  std::uint32_t size = 0;
};

/// What the check learns on its way.
struct SoundFontHeader {
  std::string name;       ///< INAM, up to the first NUL; the same for the other texts
  std::string copyright;  ///< ICOP
  std::string comment;    ///< ICMT
  std::uint32_t presets = 0;
  ChunkPlace samples;     ///< contents of "smpl"
  ChunkPlace parameters;  ///< contents of the list "pdta", without its type
  std::uint64_t size =
      0;  ///< of the RIFF form with its header; what follows it is none of the bank
};

/// Whether the bytes are a SoundFont 2 bank that a reader may safely follow:
/// a RIFF form "sfbk" with the lists "INFO", "sdta" and "pdta" in this order and inside the file;
/// "ifil" of major version 2; the nine tables of "pdta" in their order, whole records each; every
/// index in them rising and inside the table it points into; samples inside "smpl" and not
/// compressed. Loop points are not looked at: banks in use carry nonsense there for samples that
/// are not looped, and synthesisers mend it.
///
/// It also refuses banks that would make a reader's work or memory explode: more than 65,536
/// records in a table, or more than a million pairs of a preset's zone with one of its
/// instrument's zones.
///
/// Reads no sample data; memory stays below 1 MB whatever the file claims. `header` may be null and
/// is filled where the answer is true.
bool LooksLikeSoundFont(ByteSource& source, SoundFontHeader* header);

/// The same for bytes in memory.
bool LooksLikeSoundFont(std::span<const std::uint8_t> bytes, SoundFontHeader* header);

}  // namespace vexolo::engine
