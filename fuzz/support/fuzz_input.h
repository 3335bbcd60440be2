/// What the fuzz targets have in common.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/message_box.h"

namespace vexolo::fuzz {

inline void Require(bool holds) {
  if (!holds) std::abort();
}

inline std::string_view Text(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// The pieces between zero bytes: arguments and fields, none of which can hold one.
inline std::vector<std::string> SplitAtZeros(std::string_view bytes) {
  std::vector<std::string> pieces;
  for (;;) {
    const std::size_t end = bytes.find('\0');
    pieces.emplace_back(bytes.substr(0, end));
    if (end == std::string_view::npos) return pieces;
    bytes.remove_prefix(end + 1);
  }
}

/// Nothing that is read may bring a message up.
class NoBoxes : public MessageBoxes {
 public:
  void Show(const std::string&, const std::string&, BoxIcon) override { std::abort(); }
  bool AskYesNo(const std::string&, const std::string&) override { std::abort(); }
};

/// A folder with one file for the whole run, gone with it.
class OneFile {
 public:
  explicit OneFile(const char* name) : path_(folder_ / name) {
    std::filesystem::create_directory(folder_);
  }
  ~OneFile() {
    std::error_code error;
    std::filesystem::remove_all(folder_, error);
  }
  OneFile(const OneFile&) = delete;
  OneFile& operator=(const OneFile&) = delete;

  void Write(std::string_view bytes) const {
    std::ofstream(path_, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    Age();
  }
  /// A file that has just changed is parsed for each key; one that is old only once.
  void Age() const {
    std::error_code error;
    const auto now = std::filesystem::file_time_type::clock::now();
    std::filesystem::last_write_time(path_, now - std::chrono::hours(1), error);
  }

  std::string path() const { return path_.string(); }
  std::string folder() const { return folder_.string(); }

 private:
  const std::filesystem::path folder_ = std::filesystem::temp_directory_path() /
                                        ("vexolo-fuzz-" + std::to_string(std::random_device()()));
  const std::filesystem::path path_;
};

}  // namespace vexolo::fuzz
