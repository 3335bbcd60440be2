#include "engine/sound_font_tables.h"

#include <algorithm>

namespace vexolo::engine::sf2 {
namespace {

constexpr std::uint32_t kMaxRecords = 65536;

}  // namespace

std::uint16_t Word(const std::uint8_t* bytes) {
  return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

std::uint32_t DoubleWord(const std::uint8_t* bytes) {
  return Word(bytes) | static_cast<std::uint32_t>(Word(bytes + 2)) << 16;
}

bool ChunkWalk::Next(Chunk* chunk) {
  std::array<std::uint8_t, 8> head;
  if (end_ - std::min(at_, end_) < head.size() || !source_.Read(at_, head)) return false;
  chunk->id.assign(head.begin(), head.begin() + 4);
  chunk->place = {at_ + head.size(), DoubleWord(&head[4])};
  if (chunk->place.size > end_ - chunk->place.offset) return false;
  at_ = chunk->place.offset + chunk->place.size;
  at_ += at_ % 2;
  return true;
}

bool ChunkWalk::NextList(std::string_view type, ChunkPlace* place) {
  Chunk chunk;
  std::array<std::uint8_t, 4> found;
  if (!Next(&chunk) || chunk.id != "LIST" || chunk.place.size < found.size() ||
      !source_.Read(chunk.place.offset, found) ||
      !std::equal(found.begin(), found.end(), type.begin(), type.end())) {
    return false;
  }
  *place = {chunk.place.offset + found.size(),
            chunk.place.size - static_cast<std::uint32_t>(found.size())};
  return true;
}

ChunkWalk Inside(ByteSource& source, const ChunkPlace& place) {
  return ChunkWalk(source, place.offset, place.offset + place.size);
}

bool FindTables(ByteSource& source, const ChunkPlace& list, Tables* tables) {
  ChunkWalk walk = Inside(source, list);
  for (int table = 0; table < kTables; ++table) {
    const TableForm& form = kTableForms[table];
    Chunk chunk;
    if (!walk.Next(&chunk) || chunk.id != form.id || chunk.place.size % form.record != 0 ||
        chunk.place.size / form.record < form.minimum ||
        chunk.place.size / form.record > kMaxRecords) {
      return false;
    }
    (*tables)[table] = chunk.place;
  }
  return true;
}

}  // namespace vexolo::engine::sf2
