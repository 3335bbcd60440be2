#include "convert/mp3_check.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

#include "platform/paths.h"

namespace vexolo {
namespace {

constexpr std::size_t kTagHead = 10;   ///< of an ID3 tag, version 2
constexpr std::size_t kFrameHead = 4;  ///< of a frame
/// The smallest first frame of those that our bitrates give; empty ones are zeros that far.
constexpr std::size_t kLooked = 96;

using Frame = std::array<unsigned char, kLooked>;

std::uint32_t BigEndian(const unsigned char* bytes) {
  return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
         std::uint32_t{bytes[2]} << 8 | bytes[3];
}

/// Where the first frame begins.
std::uint64_t FirstFrame(std::ifstream& file) {
  std::array<unsigned char, kTagHead> head{};
  file.read(reinterpret_cast<char*>(head.data()), head.size());
  if (!file || head[0] != 'I' || head[1] != 'D' || head[2] != '3') return 0;
  const std::uint64_t size = std::uint64_t{head[6]} << 21 | std::uint64_t{head[7]} << 14 |
                             std::uint64_t{head[8]} << 7 | head[9];
  return kTagHead + size;
}

bool IsFrame(const Frame& frame) {
  return frame[0] == 0xFF && (frame[1] & 0xE6) == 0xE2;  // layer III
}

/// What the frame says of the number of bytes from itself on; 0 = nothing.
std::uint32_t ToldBytes(const Frame& frame) {
  constexpr std::uint32_t kHasFrames = 1;
  constexpr std::uint32_t kHasBytes = 2;
  for (const std::string_view name : {"Info", "Xing"}) {
    const auto found =
        std::search(frame.begin() + kFrameHead, frame.begin() + 40, name.begin(), name.end());
    if (found == frame.begin() + 40) continue;
    const unsigned char* field = &*found + name.size();
    const std::uint32_t flags = BigEndian(field);
    if ((flags & kHasBytes) == 0) return 0;
    return BigEndian(field + ((flags & kHasFrames) != 0 ? 8 : 4));
  }
  return 0;
}

}  // namespace

bool LooksLikeFinishedMp3(const std::string& path) {
  std::ifstream file(ToNativePath(path), std::ios::binary);
  const std::uint64_t place = FirstFrame(file);
  Frame frame{};
  file.clear();
  file.seekg(static_cast<std::streamoff>(place));
  file.read(reinterpret_cast<char*>(frame.data()), frame.size());
  if (!file || !IsFrame(frame)) return true;
  const bool is_empty = std::all_of(frame.begin() + kFrameHead, frame.end(),
                                    [](unsigned char byte) { return byte == 0; });
  if (is_empty) return false;
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(ToNativePath(path), error);
  return error || size >= place + ToldBytes(frame);
}

}  // namespace vexolo
